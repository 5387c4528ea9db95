#include "app/sim/gps_sim.h"

#include "app/sim/pty_device.h"

#include <QCoreApplication>
#include <QTimer>
#include <nlohmann/json.hpp>

#include <cmath>
#include <cstdio>
#include <iostream>
#include <random>

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

// "ddmm.mmmm" with degreeDigits digits of degrees, and the hemisphere letter.
std::string angle(double value, int degreeDigits, char positive, char negative) {
    const double a = std::abs(value);
    int degrees = static_cast<int>(a);
    double minutes = std::round((a - degrees) * 60.0 * 10000.0) / 10000.0;
    if (minutes >= 60.0) {
        ++degrees;
        minutes -= 60.0;
    }
    char buf[32];
    std::snprintf(buf, sizeof buf, "%0*d%07.4f,%c", degreeDigits, degrees, minutes,
                  value < 0 ? negative : positive);
    return buf;
}

std::string sentence(const GpsArgs& a, int secondOfDay) {
    char time[16];
    std::snprintf(time, sizeof time, "%02d%02d%02d.00", secondOfDay / 3600 % 24, secondOfDay / 60 % 60,
                  secondOfDay % 60);
    char rest[96];
    std::snprintf(rest, sizeof rest, "%d,%02d,0.9,%.1f,M,-34.2,M,,", a.quality, a.satellites, a.altitudeM);
    const std::string body = std::string("GPGGA,") + time + "," + angle(a.latitude, 2, 'N', 'S') + "," +
                             angle(a.longitude, 3, 'E', 'W') + "," + rest;
    unsigned char sum = 0;
    for (const char c : body)
        sum ^= static_cast<unsigned char>(c);
    char tail[8];
    std::snprintf(tail, sizeof tail, "*%02X\r\n", sum);
    return "$" + body + tail;
}

int runGps(const GpsArgs& a) {
    PtyDevice pty;
    if (!pty.open()) {
        std::cerr << "zel-sim gps: " << pty.error() << '\n';
        return 1;
    }
    Transcript transcript(a.transcript);
    pty.onReceive([&](std::string_view b) { transcript.line(printable(b)); });
    std::mt19937 rng(a.seed);
    int second = 12 * 3600;
    QTimer timer;
    QObject::connect(&timer, &QTimer::timeout, [&] {
        const std::string s = sentence(a, second++);
        // A receiver's sentence reaches the program in pieces; cut it at one or two random places.
        std::uniform_int_distribution<std::size_t> cut(1, s.size() - 1);
        std::size_t c1 = cut(rng), c2 = cut(rng);
        if (c1 > c2) std::swap(c1, c2);
        pty.send(s.substr(0, c1));
        QTimer::singleShot(5, [&pty, s, c1, c2] { pty.send(s.substr(c1, c2 - c1)); });
        QTimer::singleShot(10, [&pty, s, c2] { pty.send(s.substr(c2)); });
    });
    timer.start(a.intervalMs);
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
