// zel-cli next-name: the log name the program proposes after a given one.
#include "app/cli/command.h"

#include "log/log_naming.h"

#include <iostream>
#include <memory>
#include <string>

namespace zel::cli {

namespace {

struct NextNameArgs {
    std::string name;
    int mode = 0;
    bool colour = false;
    bool o2 = false;
};

constexpr int kBirchMode = 1;

} // namespace

void addNextNameCommand(CLI::App& app, CommandRunner& run) {
    auto args = std::make_shared<NextNameArgs>();
    auto* cmd =
        app.add_subcommand("next-name", "Print the log name proposed after NAME (\"\" for the first)");
    cmd->add_option("NAME", args->name, "previous log name")->required();
    cmd->add_option("--mode", args->mode, "operating mode (1: Birch)")->check(CLI::Range(0, 99));
    cmd->add_flag("--colour", args->colour, "colour mode");
    cmd->add_flag("--o2", args->o2, "O2 mode");
    cmd->callback([args, &run] {
        run = [args] {
            const NamingMode mode = args->colour               ? NamingMode::Colour
                                    : args->o2                 ? NamingMode::O2
                                    : args->mode == kBirchMode ? NamingMode::Birch
                                                               : NamingMode::Lif;
            std::cout << nextLogName(args->name, mode) << '\n';
            return 0;
        };
    });
}

} // namespace zel::cli
