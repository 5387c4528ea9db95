#include "app/sim/rig_sim.h"

#include "app/sim/depth_board_sim.h"
#include "app/sim/display_terminal_sim.h"
#include "app/sim/gps_receiver_sim.h"
#include "app/sim/hd_board_sim.h"
#include "app/sim/presflow_unit_sim.h"
#include "app/sim/probe.h"
#include "app/sim/rig_operator.h"
#include "app/sim/scope_model.h"
#include "app/sim/scope_server.h"
#include "app/sim/site_model.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QTimer>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <memory>
#include <optional>

namespace zel::sim {

namespace {

struct RigArgs {
    std::string host = "127.0.0.1";
    int portmapPort = 0;
    std::string site;
    std::uint32_t seed = 1;
    double rateFtPerS = 0.06;
    double rodFt = 4.0;
    double rodPauseS = -1.0;
    bool hd = false;
    bool ad4 = false;
    int sweepMs = 20;
    int darkAcquisitions = 1;
    int reAcquisitions = 1;
    double reScale = 1.0;
    std::string scopeDump;
    std::vector<int> scopeStall; // record, milliseconds
    int depthNoiseEvery = 0;
    double calMvPerVPerIn = 1.0;
    double condMsPerV = 100.0;
    double countsPerFt = 1000;
    int ad4IntervalMs = 200;
    int gpsIntervalMs = 1000;
    std::string transcripts;
    std::vector<std::string> holds; // "DEPTH:SECONDS"
};

// The rig's clock: the depth source's stream moves the probe on (so the readings, not the host's
// timing, decide where it is); while no stream runs, the host's time does.
class RigClock {
public:
    explicit RigClock(Probe& probe) : probe_(probe) {
        sinceStream_.start();
        QObject::connect(&idle_, &QTimer::timeout, [this] {
            if (sinceStream_.elapsed() > 3 * kIdleMs) probe_.advance(kIdleMs / 1000.0);
        });
        idle_.start(kIdleMs);
    }
    void streamed(double seconds) {
        sinceStream_.restart();
        probe_.advance(seconds);
    }

private:
    static constexpr int kIdleMs = 100;
    Probe& probe_;
    QElapsedTimer sinceStream_;
    QTimer idle_;
};

std::optional<double> holdNumber(std::string_view t) {
    double v = 0.0;
    const auto [end, ec] = std::from_chars(t.data(), t.data() + t.size(), v);
    if (t.empty() || ec != std::errc() || end != t.data() + t.size() || !std::isfinite(v))
        return std::nullopt;
    return v;
}

std::string transcriptPath(const RigArgs& a, const char* name) {
    return a.transcripts.empty() ? std::string() : (std::filesystem::path(a.transcripts) / name).string();
}

int runRig(const RigArgs& a) {
    Site site = defaultSite();
    if (!a.site.empty()) {
        std::string error;
        auto loaded = loadSite(a.site, error);
        if (!loaded) {
            std::cerr << "zel-sim rig: " << error << '\n';
            return 1;
        }
        site = std::move(*loaded);
    }
    if (!a.transcripts.empty()) {
        std::error_code ec;
        std::filesystem::create_directories(a.transcripts, ec);
    }
    const SiteModel model(site, a.seed);
    ProbeMotion motion;
    motion.rateFtPerS = a.rateFtPerS;
    motion.rodFt = a.rodFt;
    motion.rodPauseS = a.rodPauseS;
    motion.bottomFt = site.bottomFt;
    motion.seed = a.seed;
    for (const std::string& hold : a.holds) {
        const auto colon = hold.find(':');
        const std::string_view text = hold;
        const auto depth = holdNumber(text.substr(0, colon));
        const auto seconds =
            colon == std::string::npos ? std::optional<double>(60.0) : holdNumber(text.substr(colon + 1));
        if (!depth || !seconds || *depth < 0 || *seconds < 0 || *seconds > 86400) {
            std::cerr << "zel-sim rig: --hold " << hold << ": expected DEPTH[:SECONDS]\n";
            return 1;
        }
        motion.holds.emplace_back(*depth, *seconds);
    }
    std::sort(motion.holds.begin(), motion.holds.end());
    Probe probe(motion);
    RigClock rigClock(probe);
    ProbeFeed seen; // what every instrument but the depth source sees
    seen.depthFt = [&probe] { return probe.depthFt(); };
    seen.pushStarted = [&probe] { probe.start(); };
    ProbeFeed depthFeed = seen; // the depth source's stream also moves the rig's clock
    depthFeed.streamed = [&rigClock](double s) { rigClock.streamed(s); };

    // The oscilloscope.
    QElapsedTimer scopeClock;
    scopeClock.start();
    ScopeSimOptions scopeOptions;
    scopeOptions.sweepMs = a.sweepMs;
    scopeOptions.seed = a.seed;
    scopeOptions.darkAcquisitions = a.darkAcquisitions;
    scopeOptions.reAcquisitions = a.reAcquisitions;
    scopeOptions.reScale = a.reScale;
    if (a.scopeStall.size() == 2) {
        scopeOptions.stallRecord = a.scopeStall[0];
        scopeOptions.stallMs = a.scopeStall[1];
    }
    ScopeModel scope(model, scopeOptions, [&scopeClock] { return scopeClock.elapsed(); });
    scope.probeDepth = seen.depthFt;
    scope.onPushStart = seen.pushStarted;
    std::ofstream dump;
    if (!a.scopeDump.empty()) {
        dump.open(a.scopeDump, std::ios::binary | std::ios::trunc);
        scope.onCurve = [&dump](const CurveSent& c) { dump << curveJsonLine(c) << '\n' << std::flush; };
    }
    ScopeServer scopeServer(scope, "inst0", transcriptPath(a, "scope.txt"));
    std::string error;
    if (!scopeServer.listen(QString::fromStdString(a.host), {static_cast<std::uint16_t>(a.portmapPort), 0, 0},
                            error)) {
        std::cerr << "zel-sim rig: scope: " << error << '\n';
        return 1;
    }

    // The serial instruments, each on its own pseudo-terminal.
    PtyDevice depthPty, pfPty, gpsPty, displayPty;
    for (auto* pty : {&depthPty, &pfPty, &gpsPty, &displayPty})
        if (!pty->open()) {
            std::cerr << "zel-sim rig: " << pty->error() << '\n';
            return 1;
        }
    Transcript depthTranscript(transcriptPath(a, "depth.txt")),
        pfTranscript(transcriptPath(a, "presflow.txt")), gpsTranscript(transcriptPath(a, "gps.txt")),
        displayTranscript(transcriptPath(a, "display.txt")), hdTranscript(transcriptPath(a, "hd.txt"));
    std::unique_ptr<DepthBoardSim> board;
    std::unique_ptr<Ad4Sim> ad4;
    if (a.ad4) {
        ad4 = std::make_unique<Ad4Sim>(a.countsPerFt, a.ad4IntervalMs, depthPty, depthTranscript, depthFeed);
        depthPty.onReceive([&](std::string_view b) { ad4->receive(b); });
    } else {
        DepthBoardOptions o;
        o.calMvPerVPerIn = a.calMvPerVPerIn;
        o.condMsPerV = a.condMsPerV;
        o.noiseEvery = a.depthNoiseEvery;
        board = std::make_unique<DepthBoardSim>(o, depthPty, depthTranscript, model, depthFeed);
        depthPty.onReceive([&](std::string_view b) { board->receive(b); });
    }
    PresFlowUnitSim presFlow({}, pfPty, pfTranscript, model, seen, a.seed);
    pfPty.onReceive([&](std::string_view b) { presFlow.receive(b); });
    GpsFix fix;
    fix.latitude = site.lat;
    fix.longitude = site.lon;
    fix.altitudeM = site.altM;
    fix.wanderM = 1.2;
    GpsReceiverSim gps(fix, a.gpsIntervalMs, a.seed, gpsPty);
    gpsPty.onReceive([&](std::string_view b) { gpsTranscript.line(printable(b)); });
    DisplayTerminal display({}, displayPty, displayTranscript);
    displayPty.onReceive([&](std::string_view b) { display.receive(b); });

    std::unique_ptr<HdBoardSim> hd;
    if (a.hd) {
        HdBoardOptions o;
        o.host = a.host;
        o.condMsPerV = a.condMsPerV;
        o.reScale = a.reScale;
        o.darkReads = a.darkAcquisitions;
        hd = std::make_unique<HdBoardSim>(o, hdTranscript, model, seen);
        if (!hd->listen(error)) {
            std::cerr << "zel-sim rig: data board: " << error << '\n';
            return 1;
        }
    }

    RigOperator rigOperator;
    rigOperator.placeInTube = [&presFlow](double feet) { presFlow.setTube(feet); };
    if (!rigOperator.listen(QString::fromStdString(a.host), error)) {
        std::cerr << "zel-sim rig: " << error << '\n';
        return 1;
    }

    const auto ports = scopeServer.ports();
    nlohmann::ordered_json j;
    j["scope"] = {{"portmap", ports.portmap}, {"vxi11", ports.vxi11}, {"socket", ports.socket}};
    j["depth"] = {{"pty", depthPty.path()}, {"source", a.ad4 ? "ad4" : "interface"}};
    j["presflow"] = {{"pty", pfPty.path()}};
    j["gps"] = {{"pty", gpsPty.path()}};
    j["display"] = {{"pty", displayPty.path()}};
    if (hd) j["hd"] = hd->ports();
    j["operator"] = {{"port", rigOperator.port()}};
    j["site"] = {{"name", site.name},
                 {"bottom_ft", site.bottomFt},
                 {"water_table_ft", site.waterTableFt},
                 {"channels", site.channels()}};
    std::cout << j.dump() << std::endl;
    return QCoreApplication::exec();
}

} // namespace

void addRigSim(CLI::App& app, std::function<int()>& run) {
    auto a = std::make_shared<RigArgs>();
    CLI::App* sc = app.add_subcommand(
        "rig",
        "Every instrument of a rig over one site: scope, depth board (or AD4), pressure/flow unit, GPS, "
        "display and, with --hd, the data board. Prints one JSON line naming every endpoint.");
    sc->add_option("--host", a->host, "Address the scope and the data board listen on")
        ->capture_default_str();
    sc->add_option("--portmap-port", a->portmapPort,
                   "The scope's portmapper port (0 = any free; 111 needs root)")
        ->capture_default_str()
        ->check(CLI::Range(0, 65535));
    sc->add_option("--site", a->site, "Site file (JSON); the built-in fuel-release site without it");
    sc->add_option("--seed", a->seed, "Seed of the detector noise, the push's pace and the GPS wander")
        ->capture_default_str();
    sc->add_option("--rate", a->rateFtPerS, "Push rate, feet per second")
        ->capture_default_str()
        ->check(CLI::Range(0.001, 20.0));
    sc->add_option("--rod-ft", a->rodFt, "Rod length: the push pauses at every multiple (0: never)")
        ->capture_default_str()
        ->check(CLI::Range(0.0, 100.0));
    sc->add_option("--rod-pause-s", a->rodPauseS, "Length of each rod change's pause (default: 3 to 6 s)")
        ->check(CLI::Range(0.0, 600.0));
    sc->add_flag("--hd", a->hd, "The network data board too");
    sc->add_flag("--ad4", a->ad4, "The AD4 counter as the depth source instead of the interface board");
    sc->add_option("--sweep-ms", a->sweepMs, "Scope: time of one averaged sweep")
        ->capture_default_str()
        ->check(CLI::Range(0, 60000));
    sc->add_option("--dark-acquisitions", a->darkAcquisitions,
                   "Scope: first acquisitions that see no light (data board: first reference reads)")
        ->capture_default_str()
        ->check(CLI::Range(0, 1000000));
    sc->add_option("--re-acquisitions", a->reAcquisitions,
                   "Scope: acquisitions after the dark ones that see the reference emitter")
        ->capture_default_str()
        ->check(CLI::Range(0, 1000000));
    sc->add_option("--re-scale", a->reScale, "Scope: brightness of the reference emitter (1 normal)")
        ->capture_default_str()
        ->check(CLI::Range(0.0, 100.0));
    sc->add_option("--scope-dump", a->scopeDump,
                   "Scope: file receiving every curve it sent, one JSON line each");
    sc->add_option(
          "--scope-stall", a->scopeStall,
          "Test aid: RECORD,MS: that acquisition of the scope completes MS later (a scope that stops "
          "triggering for a while)")
        ->delimiter(',')
        ->expected(2);
    sc->add_option("--depth-noise", a->depthNoiseEvery,
                   "Depth board: a malformed line before every Nth reading (0: none)")
        ->check(CLI::Range(0, 1000000));
    sc->add_option("--cal", a->calMvPerVPerIn, "Depth board: string pot calibration, mV per V per inch")
        ->capture_default_str();
    sc->add_option("--cond-ms-per-v", a->condMsPerV,
                   "Conductivity circuit of the depth and data boards: mS/m per volt")
        ->capture_default_str()
        ->check(CLI::Range(0.001, 100000.0));
    sc->add_option("--counts-per-ft", a->countsPerFt, "AD4 counts per foot")->capture_default_str();
    sc->add_option("--ad4-interval-ms", a->ad4IntervalMs, "Time between AD4 frames")
        ->capture_default_str()
        ->check(CLI::Range(10, 60000));
    sc->add_option("--gps-interval-ms", a->gpsIntervalMs, "Time between GPS sentences")
        ->capture_default_str()
        ->check(CLI::Range(20, 60000));
    sc->add_option(
          "--hold", a->holds,
          "DEPTH[:SECONDS]: the operator holds the rods still at DEPTH (ft) for SECONDS (default 60), "
          "as for a dissipation test; may be given again")
        ->expected(1)
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
    sc->add_option(
        "--transcripts", a->transcripts,
        "Folder receiving each instrument's transcript (scope.txt, depth.txt, presflow.txt, gps.txt, "
        "display.txt, hd.txt)");
    sc->callback([a, &run] { run = [a] { return runRig(*a); }; });
}

} // namespace zel::sim
