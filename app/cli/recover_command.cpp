// zel-cli recover: a push that ended without a save, rebuilt from its temporary point file.
#include "app/cli/command.h"

#include "common/clock.h"
#include "common/console_host.h"
#include "common/date_time.h"
#include "log/recovery.h"
#include "log/run_log.h"
#include "program/settings_model.h"
#include "settings/data_root.h"

#include <iostream>
#include <memory>
#include <string>

namespace zel::cli {

namespace {

struct RecoverArgs {
    std::string temp;
    std::string log;
};

int runRecover(const RecoverArgs& args) {
    ConsoleHost host(std::cerr);
    SystemClock clock;
    cZEL_Data log{host, clock};
    LogArrays arrays;
    RawLogContext ctx;
    const RecoveryResult r = RecoverFromTempFile(args.temp, args.log, log, arrays, ctx, host,
                                                 program::OptionsFileLoadProcessing());
    if (!r.ok) {
        std::cerr << "zel-cli recover: " << args.temp << " could not be recovered\n";
        return 1;
    }
    std::cout << "recovered: " << r.recoveredPath << '\n';
    std::cout << "points: " << r.points << '\n';
    // The recovered log is a log of the run like any other: it gets its run-log entry.
    std::cout << "run_log: " << WriteRunLog(dataRoot(), log, clock, false) << '\n';
    std::cout << "time_start: " << formatDateTime(r.timeStart, "yyyy-mm-dd hh:nn:ss")
              << (r.startFromCreation ? " (created)" : " (last written; no creation time)") << '\n';
    std::cout << "time_stop: " << formatDateTime(r.timeStop, "yyyy-mm-dd hh:nn:ss") << " (last written)\n";
    std::cout << "from_log: " << args.log << ": " << r.fromHeaderLog << '\n';
    if (r.droppedBytes > 0)
        std::cout << "dropped: " << r.droppedBytes << " bytes of a last point cut short\n";
    return 0;
}

} // namespace

void addRecoverCommand(CLI::App& app, CommandRunner& run) {
    auto args = std::make_shared<RecoverArgs>();
    auto* cmd =
        app.add_subcommand("recover", "Rebuild a push from its temporary point file (.lif.raw.bin.temp)");
    cmd->add_option("TEMPFILE", args->temp, "temporary point file, or an HD board side file (.lif.raw.hd)")
        ->required()
        ->check(CLI::ExistingFile);
    cmd->add_option("--log", args->log, "a raw log of the same set-up, for the header")
        ->required()
        ->check(CLI::ExistingFile);
    cmd->callback([args, &run] { run = [args] { return runRecover(*args); }; });
}

} // namespace zel::cli
