#include "app/sim/gps_sim.h"

#include "app/sim/gps_receiver_sim.h"

#include <QCoreApplication>
#include <QTimer>
#include <nlohmann/json.hpp>

#include <iostream>

namespace zel::sim {

namespace {

struct GpsArgs {
    std::string transcript;
    double latitude = 45.502057;
    double longitude = -74.01;
    double altitudeM = 100.0;
    int quality = 1;
    int satellites = 8;
    int intervalMs = 1000;
    std::uint32_t seed = 1;
};

int runGps(const GpsArgs& a) {
    PtyDevice pty;
    if (!pty.open()) {
        std::cerr << "zel-sim gps: " << pty.error() << '\n';
        return 1;
    }
    Transcript transcript(a.transcript);
    pty.onReceive([&](std::string_view b) { transcript.line(printable(b)); });
    GpsFix fix{a.latitude, a.longitude, a.altitudeM, a.quality, a.satellites, 0.0};
    GpsReceiverSim receiver(fix, a.intervalMs, a.seed, pty);
    nlohmann::ordered_json j;
    j["gps"] = {{"pty", pty.path()}};
    std::cout << j.dump() << std::endl;
    return QCoreApplication::exec();
}

} // namespace

void addGpsSim(CLI::App& app, std::function<int()>& run) {
    auto args = std::make_shared<GpsArgs>();
    CLI::App* sc = app.add_subcommand("gps", "GPS receiver on a pseudo-terminal sending GGA sentences. "
                                             "Prints {\"gps\": {\"pty\": PATH}} once open.");
    sc->add_option("--transcript", args->transcript,
                   "File receiving whatever the program sends to the receiver");
    sc->add_option("--lat", args->latitude, "Latitude, decimal degrees (south negative)")
        ->capture_default_str();
    sc->add_option("--lon", args->longitude, "Longitude, decimal degrees (west negative)")
        ->capture_default_str();
    sc->add_option("--alt", args->altitudeM, "Antenna altitude, metres")->capture_default_str();
    sc->add_option("--quality", args->quality, "Fix quality (0 = no fix)")->capture_default_str();
    sc->add_option("--satellites", args->satellites, "Satellites in use")->capture_default_str();
    sc->add_option("--interval-ms", args->intervalMs, "Time between sentences")
        ->capture_default_str()
        ->check(CLI::Range(20, 60000));
    sc->add_option("--seed", args->seed, "Seed of the split points")->capture_default_str();
    sc->callback([args, &run] { run = [args] { return runGps(*args); }; });
}

} // namespace zel::sim
