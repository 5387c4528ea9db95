#pragma once
// A GPS receiver as the simulators play it: one "$GPGGA" sentence with its checksum a period, reaching
// the line in pieces as a receiver's do, at a fixed position with a seeded wander of a metre or two.

#include "app/sim/pty_device.h"

#include <QTimer>

#include <random>
#include <string>

namespace zel::sim {

struct GpsFix {
    double latitude = 45.502057;
    double longitude = -74.01;
    double altitudeM = 100.0;
    int quality = 1;
    int satellites = 8;
    double wanderM = 0.0; // standard deviation of the fix's wander around the position
};

// The sentence of one second of the day (no line noise, CR LF ended).
std::string ggaSentence(const GpsFix& fix, int secondOfDay);

class GpsReceiverSim {
public:
    GpsReceiverSim(GpsFix fix, int intervalMs, std::uint32_t seed, PtyDevice& pty);

private:
    void send();

    GpsFix fix_;
    PtyDevice& pty_;
    std::mt19937 rng_;
    QTimer timer_;
    int second_ = 12 * 3600;
};

} // namespace zel::sim
