#include "app/cli/info_command.h"

#include "common/console_host.h"
#include "log/raw_log_reader.h"

#include <iostream>
#include <memory>
#include <ostream>
#include <sstream>

namespace zel::cli {

int runRepair(const std::string& path, std::ostream& out, std::ostream& err) {
    std::ostringstream shown;
    ConsoleHost host(shown, ConsoleHost::Policy::Default);
    const TrailerRepairReport r = CheckAndRepairTrailer(path, host, true);
    if (!r.ok) {
        err << "zel-cli repair: " << path << ": " << r.error << '\n';
        return 1;
    }
    out << "file: " << path << '\n';
    out << "size: " << r.fileSize << " bytes\n";
    out << "text part: " << r.textLength << " bytes (\"Appended\" at offset " << r.textLength - 10 << ")\n";
    if (r.hdBoard) {
        out << "trailer: none (HD-board log)\n";
        out << "result: nothing to check, nothing done\n";
        return 0;
    }
    out << "trailer: " << (r.trailer ? std::to_string(*r.trailer) : std::string("missing")) << '\n';
    if (!r.mismatch && r.blockOffset != r.textLength)
        out << "result: the trailer points just past the \"DATA=Binary Appended\" line with the whole data "
               "block behind it (the \"Appended\" at offset "
            << r.textLength - 10 << " stands in a value), nothing done\n";
    else if (!r.mismatch)
        out << "result: the trailer matches the text part, nothing done\n";
    else
        out << "result: the trailer did not match the text part; trailer rewritten to " << r.textLength
            << ", text part unchanged\n";
    return 0;
}

void addRepairCommand(CLI::App& app, CommandRunner& run) {
    auto path = std::make_shared<std::string>();
    auto* cmd = app.add_subcommand("repair", "Check a raw log's trailer against its text part and mend it");
    cmd->add_option("FILE", *path, "raw log")->required();
    cmd->callback([path, &run] { run = [path] { return runRepair(*path, std::cout, std::cerr); }; });
}

} // namespace zel::cli
