// zel-sim: instrument simulators speaking the real protocols, so the program and its tests can run a
// whole acquisition on one machine. Each simulator prints one JSON line naming what it opened.

#include "app/parse_arguments.h"
#include "app/sim/depth_sim.h"
#include "app/sim/display_sim.h"
#include "app/sim/gps_sim.h"
#include "app/sim/hd_sim.h"
#include "app/sim/rig_sim.h"
#include "app/sim/scope_model.h"
#include "app/sim/scope_server.h"
#include "app/sim/site_model.h"

#include <CLI/CLI.hpp>
#include <QCoreApplication>
#include <QElapsedTimer>
#include <nlohmann/json.hpp>

#include <fstream>
#include <iostream>

namespace {

struct ScopeArgs {
    std::string host = "127.0.0.1";
    int portmapPort = 111;
    int vxi11Port = 0;
    int socketPort = 0;
    std::string transcript;
    int sweepMs = 20;
    std::uint32_t seed = 1;
    std::string device = "inst0";
    std::string name = "\"ZELSCOPE07\"";
    int darkAcquisitions = 0;
    int reAcquisitions = 0;
    double reScale = 1.0;
    std::string dump;
    double depthFt = 0.0;
};

int runScope(const ScopeArgs& a) {
    zel::sim::SiteModel site(a.seed);
    QElapsedTimer clock;
    clock.start();
    zel::sim::ScopeSimOptions options;
    options.sweepMs = a.sweepMs;
    options.seed = a.seed;
    options.networkName = a.name;
    options.darkAcquisitions = a.darkAcquisitions;
    options.reAcquisitions = a.reAcquisitions;
    options.reScale = a.reScale;
    zel::sim::ScopeModel model(site, options, [&clock] { return clock.elapsed(); });
    model.setDepthFt(a.depthFt);
    std::ofstream dump;
    if (!a.dump.empty()) {
        dump.open(a.dump, std::ios::binary | std::ios::trunc);
        if (!dump) {
            std::cerr << "zel-sim scope: cannot write " << a.dump << '\n';
            return 1;
        }
        model.onCurve = [&dump](const zel::sim::CurveSent& c) {
            nlohmann::ordered_json j;
            j["record"] = c.record;
            j["ymult"] = c.yMult;
            j["yoff"] = c.yOff;
            j["yzero"] = c.yZero;
            j["values"] = c.values;
            dump << j.dump() << '\n' << std::flush;
        };
    }
    zel::sim::ScopeServer server(model, a.device, a.transcript);
    std::string error;
    const auto port = [](int p) { return static_cast<std::uint16_t>(p); };
    if (!server.listen(QString::fromStdString(a.host),
                       {port(a.portmapPort), port(a.vxi11Port), port(a.socketPort)}, error)) {
        std::cerr << "zel-sim scope: " << error << '\n';
        return 1;
    }
    const auto p = server.ports();
    nlohmann::ordered_json j;
    j["scope"] = {{"portmap", p.portmap}, {"vxi11", p.vxi11}, {"socket", p.socket}};
    std::cout << j.dump() << std::endl;
    return QCoreApplication::exec();
}

} // namespace

int main(int argc, char** argv) {
    QCoreApplication qapp(argc, argv);
    CLI::App app{"ZEL instrument simulators"};
    app.require_subcommand(1);

    ScopeArgs scope;
    CLI::App* sc = app.add_subcommand(
        "scope", "Oscilloscope on VXI-11 (with its own portmapper) and on a raw socket. Prints "
                 "{\"scope\": {\"portmap\": P, \"vxi11\": V, \"socket\": S}} once listening.");
    sc->add_option("--host", scope.host, "Address to listen on")->capture_default_str();
    sc->add_option("--portmap-port", scope.portmapPort,
                   "Portmapper port, TCP and UDP (111 needs root; 0 = any free)")
        ->capture_default_str()
        ->check(CLI::Range(0, 65535));
    sc->add_option("--vxi11-port", scope.vxi11Port, "VXI-11 core channel port (0 = any free)")
        ->capture_default_str()
        ->check(CLI::Range(0, 65535));
    sc->add_option("--socket-port", scope.socketPort, "Raw socket port, LF-ended messages (0 = any free)")
        ->capture_default_str()
        ->check(CLI::Range(0, 65535));
    sc->add_option("--transcript", scope.transcript,
                   "File receiving every program message, one a line, in order");
    sc->add_option("--sweep-ms", scope.sweepMs,
                   "Time of one averaged sweep; *OPC completes after NUMAV sweeps")
        ->capture_default_str()
        ->check(CLI::Range(0, 60000));
    sc->add_option("--seed", scope.seed, "Seed of the site model and the detector noise")
        ->capture_default_str();
    sc->add_option("--device", scope.device,
                   "The one VXI-11 device name answered (inst0, or gpib0,2 for a gateway)")
        ->capture_default_str();
    sc->add_option("--name", scope.name, "Reply to ETHER:NAME?")->capture_default_str();
    sc->add_option("--dark-acquisitions", scope.darkAcquisitions,
                   "First acquisitions that see no light: a background of detector noise only")
        ->capture_default_str()
        ->check(CLI::Range(0, 1000000));
    sc->add_option("--re-acquisitions", scope.reAcquisitions,
                   "Acquisitions after the dark ones that see the probe's reference emitter (the RE cap on)")
        ->capture_default_str()
        ->check(CLI::Range(0, 1000000));
    sc->add_option("--re-scale", scope.reScale,
                   "Brightness of the reference emitter, 1 = normal (below 1: a dim RE)")
        ->capture_default_str()
        ->check(CLI::Range(0.0, 100.0));
    sc->add_option("--depth", scope.depthFt, "Depth of the probe in the built-in site, feet")
        ->capture_default_str()
        ->check(CLI::Range(0.0, 1000.0));
    sc->add_option("--dump", scope.dump,
                   "File receiving every CURVE? answer as one JSON line: record, ymult, yoff, yzero, values");

    // The field instruments' simulators, each in its own file; the chosen one sets run.
    std::function<int()> run;
    zel::sim::addDepthSim(app, run);
    zel::sim::addHdSim(app, run);
    zel::sim::addGpsSim(app, run);
    zel::sim::addDisplaySim(app, run);
    zel::sim::addRigSim(app, run);

    if (const auto exitCode = zel::parseArguments(app, argc, argv)) return *exitCode;
    if (run) return run();
    return runScope(scope);
}
