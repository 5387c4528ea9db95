// zel-cli export: the data export of each log, loaded quietly as a batch load does.
#include "app/cli/command.h"
#include "app/jobs/batch.h"
#include "app/jobs/quiet_log.h"

#include "common/clock.h"
#include "common/console_host.h"
#include "log/data_export.h"
#include "log/load_file.h"
#include "log/raw_log_format.h"
#include "program/settings_model.h"

#include <iostream>
#include <memory>
#include <string>
#include <vector>

namespace zel::cli {

namespace {

struct ExportArgs {
    std::vector<std::string> files;
    std::string to;
};

// One file; the path of the export or nullopt (the reasons went to err through the host).
std::optional<std::string> exportOne(const std::string& file, const std::string& to, Host& host) {
    const auto l = jobs::loadQuietly(file, host, to);
    if (!l) return std::nullopt;
    if (!to.empty()) return l->result.exportPath;
    return ExportDataText(l->log, l->arrays, l->ctx, "", host, l->result.pointValues); // beside the raw log
}

int runExport(const ExportArgs& args) {
    ConsoleHost host(std::cerr);
    return jobs::runBatch("export", args.files, std::cout, [&](const std::string& file, std::string& text) {
        const auto written = exportOne(file, args.to, host);
        if (written) text = *written;
        return written.has_value();
    });
}

} // namespace

void addExportCommand(CLI::App& app, CommandRunner& run) {
    auto args = std::make_shared<ExportArgs>();
    auto* cmd = app.add_subcommand(
        "export", "Write the data export (.lif.dat.txt, .o2.dat.txt or .clr.dat.txt) of each raw log");
    cmd->add_option("FILE", args->files, "raw logs")->required();
    cmd->add_option("--to", args->to, "folder for the exports (default: beside each raw log)")
        ->check(CLI::ExistingDirectory);
    cmd->callback([args, &run] { run = [args] { return runExport(*args); }; });
}

} // namespace zel::cli
