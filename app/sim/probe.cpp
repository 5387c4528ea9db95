#include "app/sim/probe.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <random>

namespace zel::sim {

double Probe::pauseLength(int rod) const {
    if (m_.rodPauseS >= 0) return m_.rodPauseS;
    std::mt19937 rng(m_.seed * 7919u + static_cast<std::uint32_t>(rod));
    return std::uniform_real_distribution<double>(3.0, 6.0)(rng);
}

void Probe::advance(double seconds) {
    if (!started_ || !(seconds > 0)) return;
    // Small steps, so a rod change or the bottom is met where it lies and not a step late.
    constexpr double kStepS = 0.02;
    const double phase = static_cast<double>(m_.seed % 1000) * 0.37;
    while (seconds > 0) {
        const double dt = std::min(kStepS, seconds);
        seconds -= dt;
        elapsedS_ += dt;
        if (pauseLeftS_ > 0) {
            pauseLeftS_ -= dt;
            continue;
        }
        if (depthFt_ >= m_.bottomFt) continue;
        // The hydraulic hammer's push rate wanders by about a tenth, slowly.
        const double t = elapsedS_;
        const double wander = 0.08 * std::sin(2 * std::numbers::pi * t / 7.3 + phase) +
                              0.04 * std::sin(2 * std::numbers::pi * t / 2.1 + 2 * phase);
        double next = depthFt_ + m_.rateFtPerS * (1.0 + wander) * dt;
        if (m_.rodFt > 0) {
            const double rodEnd = (rodsDone_ + 1) * m_.rodFt;
            if (next >= rodEnd && rodEnd < m_.bottomFt) {
                next = rodEnd;
                ++rodsDone_;
                pauseLeftS_ = pauseLength(rodsDone_);
            }
        }
        if (holdsDone_ < m_.holds.size() && next >= m_.holds[holdsDone_].first) {
            next = m_.holds[holdsDone_].first;
            pauseLeftS_ = m_.holds[holdsDone_].second;
            ++holdsDone_;
        }
        depthFt_ = std::min(next, m_.bottomFt);
    }
}

} // namespace zel::sim
