#pragma once
// The probe of a simulated rig: it stands at the surface until the program starts a push, then goes down
// at the push rate with the small, slow changes of a real push, stops for a while at each rod change and
// stays at the site's bottom. Time is whatever the rig's clock hands it, so the same sequence of steps
// gives the same depths: the rig's readings, not the host's timing, decide where the probe is.

#include <cstdint>
#include <utility>
#include <vector>

namespace zel::sim {

struct ProbeMotion {
    double rateFtPerS = 0.06;
    double rodFt = 4.0;      // a pause at every multiple of this (0: none)
    double rodPauseS = -1.0; // length of each pause; negative: 3 to 6 s, seeded
    double bottomFt = 30.0;  // where the probe stops
    std::uint32_t seed = 1;
    // Where the operator holds the rods still (a dissipation test): depth (ft) and how long (s), each once.
    std::vector<std::pair<double, double>> holds;
};

class Probe {
public:
    explicit Probe(ProbeMotion motion) : m_(motion) {}

    // The first command of a push's start; later calls change nothing.
    void start() { started_ = true; }
    bool started() const { return started_; }
    // The rig's clock moved on by this many seconds.
    void advance(double seconds);
    double depthFt() const { return depthFt_; }
    // Seconds since the push started.
    double elapsedS() const { return elapsedS_; }
    bool pausedForRod() const { return pauseLeftS_ > 0; }

private:
    double pauseLength(int rod) const;

    ProbeMotion m_;
    bool started_ = false;
    double elapsedS_ = 0.0;
    double depthFt_ = 0.0;
    double pauseLeftS_ = 0.0;
    int rodsDone_ = 0;
    std::size_t holdsDone_ = 0; // holds are met in depth order
};

} // namespace zel::sim

#include <functional>
#include <optional>

namespace zel::sim {

// How one simulated instrument sees the probe: where it is now, a push's start seen on the instrument's
// own line, and time that the instrument's own stream has let pass. The single-instrument simulators
// keep their own probe; a rig hands every instrument the same one.
struct ProbeFeed {
    std::function<double()> depthFt;
    std::function<void()> pushStarted;
    std::function<void(double seconds)> streamed;
    // Set while the probe's electrodes stand in a calibration solution: its conductivity, mS/m, instead of
    // the site's at the probe's depth.
    std::function<std::optional<double>()> solutionMs;

    double depth() const { return depthFt ? depthFt() : 0.0; }
    void started() const {
        if (pushStarted) pushStarted();
    }
    std::optional<double> solution() const { return solutionMs ? solutionMs() : std::nullopt; }
    void passed(double seconds) const {
        if (streamed) streamed(seconds);
    }
};

} // namespace zel::sim
