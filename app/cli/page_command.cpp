// zel-cli page: the log page of each raw log as PDF and/or JPG, drawn by the same renderer as the program's
// own pages, without a display.
#include "app/cli/command.h"
#include "app/cli/log_callouts.h"
#include "app/cli/offscreen_gui.h"
#include "app/jobs/batch.h"
#include "app/jobs/quiet_log.h"
#include "app/jobs/site_jobs.h"

#include "app/plot/log_page.h"
#include "app/plot/plot_settings_view.h"
#include "common/clock.h"
#include "common/console_host.h"
#include "common/date_time.h"
#include "log/load_file.h"
#include "log/plot_companion.h"
#include "log/raw_log_format.h"
#include "program/log_mode_look.h"
#include "program/settings_model.h"
#include "settings/data_root.h"
#include "site/log_summary.h"

#include <filesystem>
#include <iostream>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace zel::cli {

namespace {

struct PageArgs {
    std::vector<std::string> files;
    std::string to;
    bool pdf = false;
    bool jpg = false;
    int dpi = 150;
    std::optional<int> pageName; // unset: the options file's "optBatchJPGName"
};

// Where a page of the log goes: DIR/<log name>.<extension> (or <date>_<log name> as pageName asks), or
// beside the raw log.
std::string outputPath(const cZEL_Data& log, const std::string& file, const std::string& to, const char* ext,
                       int pageName) {
    namespace fs = std::filesystem;
    const fs::path dir = to.empty() ? fs::path(file).parent_path() : fs::path(to);
    std::string name = log.File_Title_NoExt();
    if (name.empty()) name = fs::path(file).filename().string();
    name = site::pageBaseName(name, formatDateTime(log.Time_Start(), "yyyy-mm-dd"), pageName);
    return (dir / (name + ext)).string();
}

// One file: the pages written, or the reason it failed (the load's own messages went to the host).
bool pageOne(const std::string& file, const PageArgs& args, Host& host, std::vector<std::string>& written,
             std::string& reason) {
    const auto loaded = jobs::loadQuietly(file, host);
    if (!loaded) {
        reason = "not loaded";
        return false;
    }
    cZEL_Data& log = loaded->log;
    LogArrays& arrays = loaded->arrays;
    RawLogContext& ctx = loaded->ctx;

    // The channel labels, model name and page font of the mode the log was made in.
    const program::LogModeLook look = program::logModeLook(ctx.modeId, log.mode(), 0);

    // The log's own plot settings and its latest callout scheme, when its companion has them.
    const std::string plt = log.File_FullPath_Plt();
    const plot::PlotSettings settings = plot::plotSettingsFromIni(plt);
    takeLatestCalloutScheme(log);

    program::SettingsModel options;
    options.readOptionsFile(optionsFilePath());
    plot::LogPageRequest request;
    request.settings = settings;
    request.labels = look.labels;
    request.birchMode = ctx.birchMode;
    request.modelName = look.model;
    request.fontPoints = look.pageFont;
    request.company = options.text(program::control::kAdv, program::control::kCompany);
    request.logoPath = options.text(program::control::kAdv, program::control::kLogoFile);
    request.calloutFluorColour =
        options.checked(program::control::kWaveMath, program::control::kCalloutFluorColour);
    const plot::LogPage page(log, arrays, request);

    std::string error;
    if (args.pdf) {
        const std::string out = outputPath(log, file, args.to, ".pdf", *args.pageName);
        if (!page.writePdf(out, error)) {
            reason = error;
            return false;
        }
        written.push_back(out);
    }
    if (args.jpg) {
        const std::string out = outputPath(log, file, args.to, ".jpg", *args.pageName);
        if (!page.writeJpg(out, error, args.dpi)) {
            reason = error;
            return false;
        }
        written.push_back(out);
    }
    return true;
}

int runPage(PageArgs args) {
    OffscreenGui gui;
    if (!args.pageName) args.pageName = jobs::fileUtilityOptions(optionsFilePath()).pageName;

    ConsoleHost host(std::cerr);
    return jobs::runBatch("page", args.files, std::cerr, [&](const std::string& file, std::string& text) {
        std::vector<std::string> written;
        if (!pageOne(file, args, host, written, text)) return false;
        for (const auto& w : written)
            text += (text.empty() ? "" : " ") + w;
        return true;
    });
}

} // namespace

void addPageCommand(CLI::App& app, CommandRunner& run) {
    auto args = std::make_shared<PageArgs>();
    auto* cmd = app.add_subcommand("page", "Write the log page of each raw log as PDF and/or JPG");
    cmd->add_option("FILE", args->files, "raw logs")->required();
    cmd->add_option("--to", args->to, "folder for the pages (default: beside each raw log)")
        ->check(CLI::ExistingDirectory);
    auto* format = cmd->add_option_group("format", "at least one of --pdf, --jpg");
    format->add_flag("--pdf", args->pdf, "write <name>.pdf");
    format->add_flag("--jpg", args->jpg, "write <name>.jpg (one file a page)");
    format->require_option(1, 2);
    cmd->add_option("--dpi", args->dpi, "resolution of the JPG pages (default 150)")
        ->check(CLI::Range(36, 600));
    cmd->add_option("--page-name", args->pageName,
                    "0: <name>.jpg, 1: <yyyy-mm-dd>_<name>.jpg by the push's date (default: the options "
                    "file's optBatchJPGName)")
        ->check(CLI::Range(0, 1));
    cmd->callback([args, &run] { run = [args] { return runPage(*args); }; });
}

} // namespace zel::cli
