#include "app/sim/hd_sim.h"

#include "app/sim/hd_board_sim.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTimer>
#include <nlohmann/json.hpp>

#include <cmath>
#include <iostream>
#include <vector>

namespace zel::sim {

namespace {

struct HdArgs {
    std::string host = "127.0.0.1";
    int commandPort = 0;
    int recordPort = 0;
    int secondPort = 0;
    std::string transcript;
    int intervalMs = 100;
    double rateFtPerS = 0.5;
    std::uint32_t seed = 1;
    bool silent = false;
    double conductivityV = -1; // negative: from the site model
};

int runHd(const HdArgs& a) {
    Transcript transcript(a.transcript);
    SiteModel site(a.seed);
    HdBoardOptions o;
    o.host = a.host;
    o.commandPort = a.commandPort;
    o.recordPort = a.recordPort;
    o.secondPort = a.secondPort;
    o.intervalMs = a.intervalMs;
    o.silent = a.silent;
    o.conductivityV = a.conductivityV;
    QElapsedTimer clock;
    clock.start();
    ProbeFeed feed;
    feed.depthFt = [&] { return a.rateFtPerS * clock.elapsed() / 1000.0; };
    HdBoardSim board(o, transcript, site, feed);
    std::string error;
    if (!board.listen(error)) {
        std::cerr << "zel-sim hd: " << error << '\n';
        return 1;
    }
    nlohmann::ordered_json j;
    j["hd"] = board.ports();
    std::cout << j.dump() << std::endl;
    return QCoreApplication::exec();
}

} // namespace

void addHdSim(CLI::App& app, std::function<int()>& run) {
    auto args = std::make_shared<HdArgs>();
    CLI::App* sc = app.add_subcommand(
        "hd", "Network data board on TCP: commands, records, second stream. Prints {\"hd\": {\"command\": C, "
              "\"record\": R, \"second\": S}} once listening.");
    sc->add_option("--host", args->host, "Address to listen on")->capture_default_str();
    const auto port = [&](const char* name, int& value, const char* what) {
        sc->add_option(name, value, what)->capture_default_str()->check(CLI::Range(0, 65535));
    };
    port("--command-port", args->commandPort,
         "Command port, CR-ended text (0 = any free; the board uses 5000)");
    port("--record-port", args->recordPort, "Record port (0 = any free; the board uses 5001)");
    port("--second-port", args->secondPort, "Second data port (0 = any free; the board uses 5002)");
    sc->add_option("--transcript", args->transcript, "File receiving every command, one a line");
    sc->add_option("--interval-ms", args->intervalMs, "Time between records while streaming")
        ->capture_default_str()
        ->check(CLI::Range(1, 60000));
    sc->add_option("--rate", args->rateFtPerS, "Push rate behind the simulated signals, feet per second")
        ->capture_default_str();
    sc->add_option("--seed", args->seed, "Seed of the site model")->capture_default_str();
    sc->add_flag("--silent", args->silent, "Never answer \"Stat\" (a board whose replies are lost)");
    sc->add_option("--conductivity-v", args->conductivityV,
                   "Fixed volts of the 5-volt analogue columns instead of the site model's conductivity")
        ->check(CLI::Range(0.0, 5.0));
    sc->callback([args, &run] { run = [args] { return runHd(*args); }; });
}

} // namespace zel::sim
