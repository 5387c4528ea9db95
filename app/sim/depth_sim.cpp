#include "app/sim/depth_sim.h"

#include "app/sim/depth_board_sim.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QTimer>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <iostream>
#include <memory>

namespace zel::sim {

namespace {

struct DepthArgs {
    std::string transcript;
    bool ad4 = false;
    double rateFtPerS = 0.5;
    double startFt = 0;
    double maxFt = 60;
    double calMvPerVPerIn = 1.0;
    double countsPerFt = 1000;
    int ad4IntervalMs = 200;
    double blowsPerIn = 2;
    std::uint32_t seed = 1;
    int noiseEvery = 0; // a line of line noise before every Nth reading (0: none)
};

int runDepth(const DepthArgs& a) {
    PtyDevice pty;
    if (!pty.open()) {
        std::cerr << "zel-sim depth: " << pty.error() << '\n';
        return 1;
    }
    Transcript transcript(a.transcript);
    SiteModel site(a.seed);
    // This simulator's probe starts down with the board's stream (or at once for the AD4) and keeps the
    // host's time.
    QElapsedTimer clock;
    bool started = a.ad4;
    clock.start();
    ProbeFeed feed;
    feed.depthFt = [&] {
        const double t = started ? clock.elapsed() / 1000.0 : 0.0;
        return std::min(a.maxFt, a.startFt + a.rateFtPerS * t);
    };
    std::unique_ptr<DepthBoardSim> board;
    std::unique_ptr<Ad4Sim> ad4;
    if (a.ad4) {
        ad4 = std::make_unique<Ad4Sim>(a.countsPerFt, a.ad4IntervalMs, pty, transcript, feed);
        pty.onReceive([&](std::string_view b) { ad4->receive(b); });
    } else {
        DepthBoardOptions o;
        o.calMvPerVPerIn = a.calMvPerVPerIn;
        o.blowsPerIn = a.blowsPerIn;
        o.noiseEvery = a.noiseEvery;
        board = std::make_unique<DepthBoardSim>(o, pty, transcript, site, feed);
        board->onStreamStart = [&] {
            if (!started) clock.restart();
            started = true;
        };
        pty.onReceive([&](std::string_view b) { board->receive(b); });
    }
    nlohmann::ordered_json j;
    j["depth"] = {{"pty", pty.path()}, {"source", a.ad4 ? "ad4" : "interface"}};
    std::cout << j.dump() << std::endl;
    return QCoreApplication::exec();
}

} // namespace

void addDepthSim(CLI::App& app, std::function<int()>& run) {
    auto args = std::make_shared<DepthArgs>();
    CLI::App* sc = app.add_subcommand(
        "depth", "Depth interface board (or, with --ad4, the AD4 counter) on a pseudo-terminal. Prints "
                 "{\"depth\": {\"pty\": PATH, \"source\": ...}} once open.");
    sc->add_option("--transcript", args->transcript, "File receiving every command line the board receives");
    sc->add_flag("--ad4", args->ad4, "Send AD4 counter frames instead of the interface board's stream");
    sc->add_option("--rate", args->rateFtPerS, "Push rate, feet per second")->capture_default_str();
    sc->add_option("--start-depth", args->startFt, "Depth when the stream starts, feet")
        ->capture_default_str();
    sc->add_option("--max-depth", args->maxFt, "Depth where the push stops, feet")->capture_default_str();
    sc->add_option("--cal", args->calMvPerVPerIn, "String pot calibration, mV per V per inch")
        ->capture_default_str();
    sc->add_option("--counts-per-ft", args->countsPerFt, "AD4 counts per foot")->capture_default_str();
    sc->add_option("--ad4-interval-ms", args->ad4IntervalMs, "Time between AD4 frames")
        ->capture_default_str()
        ->check(CLI::Range(10, 60000));
    sc->add_option("--blows-per-in", args->blowsPerIn,
                   "Hammer blows per inch of the push, counted on the \"N\" line (register 19)")
        ->capture_default_str();
    sc->add_option("--seed", args->seed, "Seed of the site model")->capture_default_str();
    sc->add_option("--noise-every", args->noiseEvery,
                   "Interface board: a malformed line (line noise) before every Nth reading; 0 none")
        ->capture_default_str()
        ->check(CLI::Range(0, 1000000));
    sc->callback([args, &run] { run = [args] { return runDepth(*args); }; });
}

} // namespace zel::sim
