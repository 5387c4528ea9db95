#include "waveform/wave_analysis.h"

#include "common/testing/recording_host.h"
#include "waveform/synthetic_waves.h"

#include <gtest/gtest.h>

namespace zel {
namespace {

Waveform shifted(const std::vector<float>& samples, float factor, float offset, float deltaX, double delay) {
    Waveform w{samples, deltaX, delay};
    for (float& v : w.samples)
        v = v * factor + offset;
    return w;
}

TEST(AnalyseWave, HalfTheREAgainstTheRE) {
    const std::vector<float> train = testing::pulseTrain(500, {{40}, {110}, {180}, {250}});
    const Waveform background{std::vector<float>(600, 1.5f), 1e-9f, 0.0};
    // Gated: F and S both at half the RE's, so the scatter-corrected %RE is 100.
    const std::tuple<const char*, bool, bool, float> cases[] = {
        {"standard", false, false, 50}, {"background", false, true, 50}, {"gated", true, false, 100}};
    for (const auto& [name, gated, withBackground, percent] : cases) {
        testing::RecordingHost host;
        const float offset = withBackground ? 1.5f : 0.0f;
        const Waveform re = shifted(train, 1.0f, offset, 1e-9f, 2.0 * (110.1464 + 50.0) * 1e-9);
        const Waveform wave = shifted(train, 0.5f, offset, 2e-9f, 0.0);
        const WaveAnalysis a = analyseWave(re, wave, withBackground ? &background : nullptr, 0, gated, host);
        ASSERT_TRUE(a.ok) << name;
        EXPECT_EQ(a.boundaries, (std::vector<std::int32_t>{105, 175, 245})) << name;
        EXPECT_EQ(a.firstRise, 39) << name;
        EXPECT_NEAR(a.pctRE, percent, 1e-3) << name;
        EXPECT_FLOAT_EQ(a.fibreLengthM, static_cast<float>(50.0 * 0.2997992 / 1.4769)) << name;
        ASSERT_EQ(a.sums.size(), 4u) << name;
        EXPECT_FLOAT_EQ(a.areas[3], a.sums[3] * 2.0f) << name; // at the wave's own time step
        EXPECT_FLOAT_EQ(a.areaTotal, 2.0f * (a.sums[0] + a.sums[1] + a.sums[2] + a.sums[3])) << name;
        EXPECT_TRUE(host.messages().empty()) << name;
    }
}

} // namespace
} // namespace zel
