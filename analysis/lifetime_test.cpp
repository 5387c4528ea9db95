#include "analysis/lifetime.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>

namespace zel::analysis {
namespace {

// A measured-shape pulse: fast rise, a short tail and a small after-pulse, as a detector gives it.
std::vector<float> pulse(int n, double dtNs) {
    std::vector<float> p(static_cast<std::size_t>(n));
    for (int k = 0; k < n; ++k) {
        const double t = k * dtNs - 4.0;
        double v = t > 0 ? (1 - std::exp(-t / 0.7)) * std::exp(-t / 1.8) : 0.0;
        if (t > 6) v += 0.04 * std::exp(-(t - 6) / 3.0);
        p[static_cast<std::size_t>(k)] = static_cast<float>(v);
    }
    return p;
}

// The pulse convolved with a decay of known time, scaled, on an offset, with white noise.
std::vector<float> decay(const std::vector<float>& irf, double dtNs, double tauNs, double peak, double offset,
                         double noise, std::mt19937& rng) {
    const auto m = convolvedDecay(irf, dtNs, tauNs);
    double top = 0;
    for (const double v : m)
        top = std::max(top, v);
    std::normal_distribution<double> n(0.0, noise);
    std::vector<float> s(m.size());
    for (std::size_t k = 0; k < m.size(); ++k)
        s[k] = static_cast<float>(peak * m[k] / top + offset + (noise > 0 ? n(rng) : 0.0));
    return s;
}

TEST(Lifetime, RecoversKnownDecaysAtRealisticNoise) {
    constexpr double dt = 0.8;
    const auto irf = pulse(100, dt);
    std::mt19937 rng(5);
    // Peak 60 mV with 1.5 mV noise, as a bright layer is digitised; the error allowed grows for decays long
    // against the 80 ns window.
    const struct {
        double tau, tolerance;
    } cases[] = {{1.0, 0.10}, {3.0, 0.10}, {8.0, 0.10}, {15.0, 0.15}, {30.0, 0.25}};
    for (const auto& c : cases) {
        for (int trial = 0; trial < 5; ++trial) {
            const auto s = decay(irf, dt, c.tau, 60.0, 0.5, 1.5, rng);
            const LifetimeFit f = fitDecay(s, irf, dt);
            ASSERT_FALSE(f.weak);
            EXPECT_NEAR(f.tauNs, c.tau, c.tau * c.tolerance) << "tau " << c.tau << " trial " << trial;
            EXPECT_NEAR(f.offset, 0.5, c.tau < 20 ? 0.5 : 1.5); // a long tail and the offset trade off
            EXPECT_LT(f.residual, 2.0);
        }
    }
    // Without noise the decay comes back to the search's own precision.
    const LifetimeFit exact = fitDecay(decay(irf, dt, 6.5, 60.0, 0.0, 0.0, rng), irf, dt);
    EXPECT_NEAR(exact.tauNs, 6.5, 1e-3);
    EXPECT_NEAR(exact.residual, 0.0, 1e-3);
}

TEST(Lifetime, WeakOrEmptyChannelsAreFlagged) {
    const auto irf = pulse(100, 0.8);
    std::mt19937 rng(1);
    LifetimeSettings s;
    s.cutoffArea = 50.0;
    const auto faint = decay(irf, 0.8, 5.0, 0.5, 0.0, 0.0, rng); // its sum is far below 50
    EXPECT_TRUE(fitDecay(faint, irf, 0.8, s).weak);
    EXPECT_FALSE(fitDecay(decay(irf, 0.8, 5.0, 20.0, 0.0, 0.0, rng), irf, 0.8, s).weak);
    const std::vector<float> flat(100, 0.0f), tiny(3, 1.0f);
    EXPECT_TRUE(fitDecay(flat, irf, 0.8).weak);
    EXPECT_TRUE(fitDecay(tiny, irf, 0.8).weak);
    EXPECT_TRUE(fitDecay(faint, irf, 0.0).weak);
}

TEST(Lifetime, ChannelsAreFittedBetweenTheBoundaries) {
    constexpr double dt = 0.8;
    const auto one = pulse(100, dt);
    std::vector<float> re, wave;
    std::mt19937 rng(2);
    const double taus[] = {2.0, 5.0, 9.0, 4.0};
    for (const double tau : taus) {
        const auto part = decay(one, dt, tau, 40.0, 0.0, 0.0, rng);
        re.insert(re.end(), one.begin(), one.end());
        wave.insert(wave.end(), part.begin(), part.end());
    }
    const std::vector<int> boundaries{100, 200, 300};
    const auto fits = fitChannels(wave, re, boundaries, dt);
    ASSERT_EQ(fits.size(), 4u);
    for (std::size_t c = 0; c < 4; ++c)
        EXPECT_NEAR(fits[c].tauNs, taus[c], 0.02 * taus[c]) << c;
}

} // namespace
} // namespace zel::analysis
