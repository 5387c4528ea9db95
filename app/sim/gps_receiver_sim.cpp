#include "app/sim/gps_receiver_sim.h"

#include <cmath>
#include <cstdio>
#include <numbers>

namespace zel::sim {

namespace {

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

} // namespace

std::string ggaSentence(const GpsFix& a, int secondOfDay) {
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

GpsReceiverSim::GpsReceiverSim(GpsFix fix, int intervalMs, std::uint32_t seed, PtyDevice& pty)
    : fix_(fix), pty_(pty), rng_(seed) {
    QObject::connect(&timer_, &QTimer::timeout, [this] { send(); });
    timer_.start(intervalMs);
}

void GpsReceiverSim::send() {
    GpsFix now = fix_;
    if (fix_.wanderM > 0) {
        std::normal_distribution<double> wander(0.0, fix_.wanderM);
        constexpr double kMetresPerDegree = 111320.0;
        now.latitude += wander(rng_) / kMetresPerDegree;
        now.longitude += wander(rng_) / (kMetresPerDegree * std::cos(fix_.latitude * std::numbers::pi / 180));
        now.altitudeM += 1.5 * wander(rng_);
    }
    const std::string s = ggaSentence(now, second_++);
    // A receiver's sentence reaches the program in pieces; cut it at one or two random places.
    std::uniform_int_distribution<std::size_t> cut(1, s.size() - 1);
    std::size_t c1 = cut(rng_), c2 = cut(rng_);
    if (c1 > c2) std::swap(c1, c2);
    pty_.send(s.substr(0, c1));
    PtyDevice* pty = &pty_;
    QTimer::singleShot(5, [pty, s, c1, c2] { pty->send(s.substr(c1, c2 - c1)); });
    QTimer::singleShot(10, [pty, s, c2] { pty->send(s.substr(c2)); });
}

} // namespace zel::sim
