// zel-cli: the headless tool for scripts, batch work and checks. It only wires the libraries together.

#include "app/cli/command.h"
#include "app/parse_arguments.h"

#include <csignal>

int main(int argc, char** argv) {
#ifdef SIGXFSZ
    // A file that reaches the file-size limit must fail its write (the push then goes on in memory), not end
    // the program.
    std::signal(SIGXFSZ, SIG_IGN);
#endif
    CLI::App app{"ZEL command-line tool: process and inspect LIF logs and waveforms"};
    app.require_subcommand(1);

    zel::cli::CommandRunner run;
    zel::cli::addWaveCommand(app, run);
    zel::cli::addInfoCommand(app, run);
    zel::cli::addRepairCommand(app, run);
    zel::cli::addScopeCommand(app, run);
    zel::cli::addStartupCommand(app, run);
    zel::cli::addMonitorCommand(app, run);
    zel::cli::addExportCommand(app, run);
    zel::cli::addRecoverCommand(app, run);
    zel::cli::addNextNameCommand(app, run);
    zel::cli::addPushCommand(app, run);
    zel::cli::addPageCommand(app, run);
    zel::cli::addAnalysisCommands(app, run);
    zel::cli::addClassifyCommand(app, run);
    zel::cli::addSiteCommands(app, run);
    zel::cli::addLogEditCommands(app, run);
    zel::cli::addSitePictureCommands(app, run);
    zel::cli::addArrangeCommand(app, run);
    zel::cli::addCondCalCommand(app, run);
    zel::cli::addWaveMathCommand(app, run);

    if (const auto exitCode = zel::parseArguments(app, argc, argv)) return *exitCode;
    return run ? run() : 2;
}
