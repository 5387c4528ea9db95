#include "app/sim/scope_waveform.h"

#include <algorithm>
#include <cmath>

namespace zel::sim {

namespace {

constexpr double kRiseNs = 1.5;
constexpr double kEmitterDecayNs = 10.0;

double pulse(double dtNs, double decayNs) {
    return dtNs > 0 ? std::exp(-dtNs / decayNs) * (1.0 - std::exp(-dtNs / kRiseNs)) : 0.0;
}

// The unit-amplitude pulse summed over the record, as the processing sums it.
double recordArea(double arrivalNs, double decayNs, const SampleTimes& t) {
    double sum = 0.0;
    for (int k = 0; k < t.count; ++k)
        sum += pulse((t.firstS + k * t.stepS) * 1e9 - arrivalNs, decayNs);
    return sum;
}

std::vector<double> emitterShares(int channels) {
    if (channels == 7) return {0.10, 0.17, 0.20, 0.18, 0.15, 0.12, 0.08};
    return {0.23, 0.38, 0.27, 0.12};
}

} // namespace

std::vector<double> channelArrivalsNs(int channels) {
    std::vector<double> a;
    for (int c = 0; c < channels; ++c)
        a.push_back(channels == 7 ? 625.0 + 50.0 * c : 640.0 + 80.0 * c);
    return a;
}

Fluorescence referenceEmitter(double scale, int channels) {
    // Area of one channel ~ amplitude x decay time: 10,000 pVs = 1 V x 10 ns over the channels.
    Fluorescence f;
    for (const double share : emitterShares(channels)) {
        f.amplitudeV.push_back(scale * share);
        f.decayNs.push_back(kEmitterDecayNs);
    }
    return f;
}

Fluorescence groundLight(const GroundAt& g, const SampleTimes& t) {
    const int n = static_cast<int>(g.shares.size());
    const auto arrivals = channelArrivalsNs(n);
    const Fluorescence re = referenceEmitter(1.0, n);
    double reArea = 0.0;
    for (int c = 0; c < n; ++c)
        reArea += re.amplitudeV[c] * recordArea(arrivals[c], re.decayNs[c], t);
    Fluorescence f;
    f.decayNs = g.decayNs;
    for (int c = 0; c < n; ++c) {
        const double unit = recordArea(arrivals[c], g.decayNs[c], t);
        f.amplitudeV.push_back(unit > 1e-12 ? g.pctRe / 100.0 * reArea * g.shares[c] / unit : 0.0);
    }
    return f;
}

std::vector<double> lifSignal(const Fluorescence& f, const SampleTimes& t, int averages, std::mt19937& rng) {
    std::normal_distribution<double> noise(0.0, kNoiseV / std::sqrt(std::max(averages, 1)));
    const auto arrivals = channelArrivalsNs(static_cast<int>(f.amplitudeV.size()));
    std::vector<double> v(static_cast<std::size_t>(std::max(t.count, 0)));
    for (std::size_t k = 0; k < v.size(); ++k) {
        const double ns = (t.firstS + static_cast<double>(k) * t.stepS) * 1e9;
        double s = 0.0;
        for (std::size_t c = 0; c < f.amplitudeV.size(); ++c)
            s += f.amplitudeV[c] * pulse(ns - arrivals[c], f.decayNs[c]);
        v[k] = s + noise(rng);
    }
    return v;
}

} // namespace zel::sim
