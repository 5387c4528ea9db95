#include "app/sim/display_sim.h"

#include "app/sim/display_terminal_sim.h"

#include <QCoreApplication>
#include <QTimer>
#include <nlohmann/json.hpp>

#include <iostream>
#include <vector>

namespace zel::sim {

namespace {

struct DisplayArgs {
    std::string transcript;
    bool silent = false;
    std::vector<int> keys;
    int keysAfterMs = 300;
};

int runDisplay(const DisplayArgs& a) {
    PtyDevice pty;
    if (!pty.open()) {
        std::cerr << "zel-sim display: " << pty.error() << '\n';
        return 1;
    }
    Transcript transcript(a.transcript);
    DisplayTerminal terminal({a.silent, a.keys, a.keysAfterMs}, pty, transcript);
    pty.onReceive([&](std::string_view b) { terminal.receive(b); });
    nlohmann::ordered_json j;
    j["display"] = {{"pty", pty.path()}};
    std::cout << j.dump() << std::endl;
    return QCoreApplication::exec();
}

} // namespace

void addDisplaySim(CLI::App& app, std::function<int()>& run) {
    auto args = std::make_shared<DisplayArgs>();
    CLI::App* sc = app.add_subcommand("display", "Field display on a pseudo-terminal. Prints "
                                                 "{\"display\": {\"pty\": PATH}} once open.");
    sc->add_option("--transcript", args->transcript,
                   "File receiving every command and text run the display is sent, one a line");
    sc->add_flag("--silent", args->silent, "Do not answer the status request (a display that cannot send)");
    sc->add_option("--keys", args->keys,
                   "Key codes (193 or more) pressed once the program has asked for the status")
        ->delimiter(',');
    sc->add_option("--keys-after-ms", args->keysAfterMs, "Delay before the keys are pressed")
        ->capture_default_str();
    sc->callback([args, &run] { run = [args] { return runDisplay(*args); }; });
}

} // namespace zel::sim
