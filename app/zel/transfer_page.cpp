#include "app/zel/transfer_page.h"

#include "app/zel/form_widgets.h"

#include <QLabel>

#include <filesystem>
#include <system_error>

namespace zel::gui {

TransferPage::TransferPage() {
    namespace t = transfer_control;
    auto* form = new QFormLayout(this);
    checkBox(form, t::kCopyAfterPush, "Copy each recorded push to the folder below");
    lineEdit(form, t::kFolder, "Folder");
    auto* note = new QLabel("The raw log, its plot settings and its data export are "
                            "copied as soon as the push "
                            "is written; the originals stay where they were recorded.");
    note->setWordWrap(true);
    form->addRow(note);
}

int CopyPushFiles(const acq::RecordedFiles& files, const std::string& folder, Host& host) {
    namespace fs = std::filesystem;
    std::error_code ec;
    fs::create_directories(folder, ec);
    if (!fs::is_directory(folder, ec)) {
        host.message("The push's files could not be copied: the folder " + folder + " cannot be made.",
                     MsgButtons::Ok, MsgIcon::Exclamation, "Transfer");
        return 0;
    }
    int copied = 0;
    for (const std::string* f : {&files.rawLog, &files.companion, &files.dataExport}) {
        if (f->empty()) continue;
        const fs::path to = fs::path(folder) / fs::path(*f).filename();
        if (fs::equivalent(*f, to, ec)) continue; // the push was recorded into that folder already
        ec.clear();
        fs::copy_file(*f, to, fs::copy_options::overwrite_existing, ec);
        if (ec)
            host.message("The file " + *f + " could not be copied to " + folder + ": " + ec.message(),
                         MsgButtons::Ok, MsgIcon::Exclamation, "Transfer");
        else
            ++copied;
    }
    return copied;
}

} // namespace zel::gui
