#include "app/sim/scope_waveform.h"

#include <algorithm>
#include <cmath>

namespace zel::sim {

Fluorescence referenceEmitter(double scale) {
    constexpr double tauNs = 10.0;
    const std::array<double, 4> share{0.23, 0.38, 0.27, 0.12};
    // Area of one channel ~ amplitude x decay time: 10,000 pVs = 1 V x 10 ns over the four channels.
    Fluorescence f;
    for (int c = 0; c < 4; ++c) {
        f.amplitudeV[c] = scale * share[c] * 1.0;
        f.decayNs[c] = tauNs;
    }
    return f;
}

std::vector<double> lifSignal(const Fluorescence& f, const SampleTimes& t, int averages, std::mt19937& rng) {
    constexpr double riseNs = 1.5;
    std::normal_distribution<double> noise(0.0, kNoiseV / std::sqrt(std::max(averages, 1)));
    std::vector<double> v(static_cast<std::size_t>(std::max(t.count, 0)));
    for (std::size_t k = 0; k < v.size(); ++k) {
        const double ns = (t.firstS + static_cast<double>(k) * t.stepS) * 1e9;
        double s = 0.0;
        for (int c = 0; c < 4; ++c) {
            const double dt = ns - kChannelArrivalNs[c];
            if (dt > 0) s += f.amplitudeV[c] * std::exp(-dt / f.decayNs[c]) * (1.0 - std::exp(-dt / riseNs));
        }
        v[k] = s + noise(rng);
    }
    return v;
}

} // namespace zel::sim
