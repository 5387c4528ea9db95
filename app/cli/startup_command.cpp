#include "app/cli/startup_command.h"

#include "app/cli/core_app.h"

#include "common/clock.h"
#include "common/console_host.h"
#include "common/windows1252.h"
#include "instruments/field/field_instruments.h"
#include "instruments/platform/event_loop_host.h"
#include "settings/data_root.h"
#include "settings/startup/command_line.h"
#include "settings/startup/platform_network.h"
#include "settings/startup/startup_sequence.h"

#include <QCoreApplication>
#include <nlohmann/json.hpp>

#include <filesystem>
#include <iostream>
#include <memory>
#include <ostream>
#include <sstream>

namespace zel::cli {

namespace {

// Collects the splash texts; messages (the PC address check) are not part of the answer.
class StepsHost : public ConsoleHost {
public:
    explicit StepsHost(std::ostream& sink) : ConsoleHost(sink) {}
    void progress(std::string_view text) override { steps.emplace_back(text); }
    std::vector<std::string> steps;
};

// No device answers and nothing is sent: the sequence shows what it shows on a PC without instruments.
class SilentNetwork : public NetworkProbe {
public:
    bool answersEcho(const std::string&) override { return false; }
    std::vector<std::string> localAddresses() override { return {}; }
};

bool isExistingFile(const std::string& path) {
    std::error_code ec;
    return std::filesystem::is_regular_file(path, ec);
}

nlohmann::ordered_json settingsJson(const StartupSettings& s, const std::vector<std::string>& steps) {
    nlohmann::ordered_json j;
    j["mode"] = s.mode;
    j["model"] = windows1252ToUtf8(s.model);
    j["labels"] = s.labels;
    j["page_font"] = s.pageFont;
    j["scope_address"] = s.scopeAddress;
    j["scope_resource"] = s.scopeResource;
    j["re_scale"] = s.reScale;
    j["averaging"] = s.averaging;
    j["y_scale"] = s.yScale;
    j["colour"] = s.colour;
    j["o2"] = s.o2;
    j["hd"] = s.hd;
    j["wtm"] = s.wtm;
    j["file_mode"] = s.fileMode;
    j["pressure_flow"] = s.pressureFlow;
    j["unlock"] = s.unlock;
    j["single_instance"] = s.singleInstance;
    j["start_file"] = s.startFile;
    j["steps"] = steps;
    return j;
}

void print(const nlohmann::ordered_json& j, std::ostream& out) {
    // A path from the command line need not be valid UTF-8.
    out << j.dump(2, ' ', false, nlohmann::json::error_handler_t::replace) << '\n';
}

} // namespace

void runStartupAtOnce(StartupSequence& sequence) {
    sequence.start();
    // The ticks are given at once: the waits only order the steps.
    for (int i = 0; i < 100 && sequence.state() == StartupSequence::State::Running; ++i)
        sequence.tick();
}

int runStartupDryRun(const std::vector<std::string>& arguments, std::ostream& out) {
    const StartupSettings s = parseArguments(arguments, isExistingFile);

    std::ostringstream discarded;
    StepsHost host(discarded);
    SystemClock clock;
    NoInstruments instruments;
    SilentNetwork network;
    StartupSequence sequence(s, {host, clock, instruments, network});
    runStartupAtOnce(sequence);
    print(settingsJson(s, host.steps), out);
    return 0;
}

int runStartup(const std::vector<std::string>& arguments, std::ostream& out) {
    qtApp();
    StepsHost steps(std::cerr);
    platform::EventLoopHost host(steps);
    SystemClock clock;
    FieldInstruments instruments(host, clock, optionsFilePath());
    StartupSettings s = parseArguments(arguments, isExistingFile);
    applyAddresses(instruments.Config, s);
    SystemNetwork network;
    StartupSequence sequence(s, {host, clock, instruments, network});
    runStartupAtOnce(sequence);

    nlohmann::ordered_json j = settingsJson(s, steps.steps);
    j["opened"] = {{"scope", instruments.ScopeOpen()},
                   {"hd", instruments.HdBoardOpen()},
                   {"depth", instruments.DepthOpen()},
                   {"display", instruments.DisplayOpen()},
                   {"gps", instruments.GpsOpen()}};
    instruments.Close();
    print(j, out);
    return 0;
}

void addStartupCommand(CLI::App& app, CommandRunner& run) {
    struct Args {
        bool dryRun = false;
        std::vector<std::string> arguments;
    };
    // Shared with the callback, which CLI11 keeps: the options write into it while parsing.
    auto args = std::make_shared<Args>();
    auto* cmd = app.add_subcommand(
        "startup",
        "Resolve the program's command line (switches, log to open) and print the start-up as JSON");
    cmd->add_flag("--dry-run", args->dryRun, "open nothing; only resolve and list the steps");
    cmd->add_option("args", args->arguments,
                    "the program's arguments: switches such as /MODE2, a log to open");
    cmd->callback([args, &run] {
        run = [args] {
            return args->dryRun ? runStartupDryRun(args->arguments, std::cout)
                                : runStartup(args->arguments, std::cout);
        };
    });
}

} // namespace zel::cli
