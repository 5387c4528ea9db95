#include "app/zel/qt_host.h"

#include "app/plot/qt_text.h"

#include <QApplication>
#include <QFileDialog>
#include <QInputDialog>
#include <QMessageBox>
#include <QPushButton>

#include <vector>

namespace zel::gui {

namespace {

QString qs(std::string_view s) {
    return toQt(s);
}

struct ButtonMap {
    QMessageBox::StandardButton qt;
    MsgResult result;
};

// In the order the box shows them; the first is the default, as Enter answers in the original boxes.
std::vector<ButtonMap> buttonsOf(MsgButtons b) {
    using Q = QMessageBox;
    switch (b) {
    case MsgButtons::Ok: return {{Q::Ok, MsgResult::Ok}};
    case MsgButtons::OkCancel: return {{Q::Ok, MsgResult::Ok}, {Q::Cancel, MsgResult::Cancel}};
    case MsgButtons::AbortRetryIgnore:
        return {{Q::Abort, MsgResult::Abort}, {Q::Retry, MsgResult::Retry}, {Q::Ignore, MsgResult::Ignore}};
    case MsgButtons::YesNoCancel:
        return {{Q::Yes, MsgResult::Yes}, {Q::No, MsgResult::No}, {Q::Cancel, MsgResult::Cancel}};
    case MsgButtons::YesNo: return {{Q::Yes, MsgResult::Yes}, {Q::No, MsgResult::No}};
    case MsgButtons::RetryCancel: return {{Q::Retry, MsgResult::Retry}, {Q::Cancel, MsgResult::Cancel}};
    }
    return {{Q::Ok, MsgResult::Ok}};
}

QMessageBox::Icon iconOf(MsgIcon icon) {
    switch (icon) {
    case MsgIcon::Critical: return QMessageBox::Critical;
    case MsgIcon::Question: return QMessageBox::Question;
    case MsgIcon::Exclamation: return QMessageBox::Warning;
    case MsgIcon::Information: return QMessageBox::Information;
    case MsgIcon::None: break;
    }
    return QMessageBox::NoIcon;
}

// Closing a box with its window button answers as Escape does: Cancel or No when the box has one, else
// its only button.
MsgResult escapeResult(MsgButtons b) {
    switch (b) {
    case MsgButtons::Ok: return MsgResult::Ok;
    case MsgButtons::YesNo: return MsgResult::No;
    case MsgButtons::AbortRetryIgnore: return MsgResult::Abort;
    default: return MsgResult::Cancel;
    }
}

} // namespace

QStringList qtNameFilters(std::string_view filter) {
    QStringList out;
    const QStringList parts = qs(filter).split(QLatin1Char('|'));
    for (qsizetype i = 0; i + 1 < parts.size(); i += 2) {
        QString pattern = parts[i + 1];
        pattern.replace(QLatin1Char(';'), QLatin1Char(' '));
        out << parts[i] + QStringLiteral(" (") + pattern + QLatin1Char(')');
    }
    return out;
}

QString displayText(std::string_view text) {
    QString s = qs(text);
    s.replace(QStringLiteral("\r\n"), QStringLiteral("\n"));
    s.replace(QLatin1Char('\r'), QLatin1Char('\n'));
    return s;
}

QtHost::~QtHost() {
    while (busyDepth_ > 0)
        setBusy(false);
}

MsgResult QtHost::message(std::string_view text, MsgButtons buttons, MsgIcon icon, std::string_view title) {
    QMessageBox box(parent_);
    box.setWindowTitle(title.empty() ? QStringLiteral("ZEL") : qs(title));
    box.setText(displayText(text));
    box.setIcon(iconOf(icon));
    const std::vector<ButtonMap> map = buttonsOf(buttons);
    QMessageBox::StandardButtons set;
    for (const ButtonMap& m : map)
        set |= m.qt;
    box.setStandardButtons(set);
    box.setDefaultButton(map.front().qt);
    // A busy pointer must not hide that the program waits for an answer.
    const bool busy = busyDepth_ > 0;
    if (busy) QApplication::setOverrideCursor(Qt::ArrowCursor);
    box.exec();
    if (busy) QApplication::restoreOverrideCursor();
    const auto* clicked = box.clickedButton();
    for (const ButtonMap& m : map)
        if (clicked && clicked == box.button(m.qt)) return m.result;
    return escapeResult(buttons);
}

std::optional<std::string> QtHost::input(std::string_view prompt, std::string_view title,
                                         std::string_view defaultText) {
    QInputDialog dialog(parent_);
    dialog.setWindowTitle(title.empty() ? QStringLiteral("ZEL") : qs(title));
    dialog.setLabelText(displayText(prompt));
    dialog.setTextValue(qs(defaultText));
    if (dialog.exec() != QDialog::Accepted) return std::nullopt;
    return fromQt(dialog.textValue());
}

std::optional<FileDialogResult> QtHost::openFileDialog(const FileDialogRequest& request) {
    return fileDialog(request, false);
}

std::optional<FileDialogResult> QtHost::saveFileDialog(const FileDialogRequest& request) {
    return fileDialog(request, true);
}

std::optional<FileDialogResult> QtHost::fileDialog(const FileDialogRequest& request, bool save) {
    QFileDialog dialog(parent_, qs(request.title), qs(request.initialDir));
    // The same dialog on every desktop, and one the tests can drive.
    dialog.setOption(QFileDialog::DontUseNativeDialog, true);
    dialog.setAcceptMode(save ? QFileDialog::AcceptSave : QFileDialog::AcceptOpen);
    dialog.setFileMode(save ? QFileDialog::AnyFile : QFileDialog::ExistingFile);
    const QStringList filters = qtNameFilters(request.filter);
    if (!filters.isEmpty()) {
        dialog.setNameFilters(filters);
        const int index = request.filterIndex;
        if (index >= 1 && index <= filters.size()) dialog.selectNameFilter(filters[index - 1]);
    }
    if (!request.fileName.empty()) dialog.selectFile(qs(request.fileName));
    if (dialog.exec() != QDialog::Accepted || dialog.selectedFiles().isEmpty()) return std::nullopt;
    FileDialogResult r;
    r.path = dialog.selectedFiles().front().toStdString();
    const qsizetype chosen = filters.indexOf(dialog.selectedNameFilter());
    r.filterIndex = chosen >= 0 ? static_cast<int>(chosen) + 1 : 1;
    return r;
}

void QtHost::progress(std::string_view text) {
    if (progressSink) progressSink(qs(text));
}

void QtHost::beep() {
    QApplication::beep();
}

void QtHost::setBusy(bool busy) {
    if (busy) {
        QApplication::setOverrideCursor(Qt::WaitCursor);
        ++busyDepth_;
    } else if (busyDepth_ > 0) {
        QApplication::restoreOverrideCursor();
        --busyDepth_;
    }
}

} // namespace zel::gui
