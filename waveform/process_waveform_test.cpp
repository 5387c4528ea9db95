#include "waveform/waveform.h"

#include "common/testing/recording_host.h"

#include <gtest/gtest.h>

#include <cmath>
#include <functional>

namespace zel {
namespace {

using Configure = std::function<void(cZEL_Waveform&)>;

// 1, 2, 3 ... 20: every channel sum is a sum of consecutive integers (the last two samples become 0).
std::vector<float> ramp() {
    std::vector<float> w(20);
    for (int i = 0; i < 20; ++i)
        w[i] = static_cast<float>(i + 1);
    return w;
}

// Gated layout, first rise 5, boundaries 30/40/50: CH1 19 x 10 = 190; CH2 10 x 3, CH3 10 x 2, CH4 7 x 1.
std::vector<float> gatedWave() {
    std::vector<float> w(60, 1.0f);
    std::fill(w.begin(), w.begin() + 51, 0.0f);
    std::fill(w.begin() + 5, w.begin() + 24, 10.0f);
    std::fill(w.begin() + 31, w.begin() + 41, 3.0f);
    std::fill(w.begin() + 41, w.begin() + 51, 2.0f);
    return w;
}

// One instance on the ramp's boundaries (4, 9, 14) or the gated wave's (30, 40, 50, first rise 5).
struct Rig {
    testing::RecordingHost host;
    cZEL_Waveform wave{host};
    std::vector<float> samples;
    bool low = false;
    explicit Rig(bool gated = false) {
        wave.DeltaX = 2e-9f; // areas are twice the sums
        wave.Cutoff = {4, 9, 14};
        if (gated) wave.Cutoff = {30, 40, 50};
        wave.AcqType = gated ? 1 : 0;
        wave.FirstRise = 5;
    }
    bool run(std::vector<float> w, bool isRe = false) {
        samples = std::move(w);
        return wave.ProcessWaveform(samples, isRe, low);
    }
};

TEST(ProcessWaveform, StandardChannelSumsAreasAndGains) {
    // name, set-up, isRe, stored (un-gained) sums, gained sums (what S, F and the areas see)
    using Sums = std::array<float, 4>;
    // clang-format off
    const Configure gains = [](auto& w) { w.Gain = {2, 0, 1, 0.5f}; w.Options.applyGains = true; };
    const std::tuple<const char*, Configure, bool, Sums, Sums> cases[] = {
        {"whole channels", [](auto&) {}, false, {15, 40, 65, 51}, {15, 40, 65, 51}},
        {"width 2", [](auto& w) { w.WidthLimit = 2; }, false, {12, 27, 42, 18}, {12, 27, 42, 18}},
        {"width 101 is no limit", [](auto& w) { w.WidthLimit = 101; }, false, {15, 40, 65, 51}, {15, 40, 65, 51}},
        {"last as long as the one before", [](auto& w) { w.Cutoff[2] = 12; }, false, {15, 40, 36, 45}, {15, 40, 36, 45}},
        {"last cut at the record end", [](auto& w) { w.Cutoff[2] = 16; }, false, {15, 40, 98, 18}, {15, 40, 98, 18}},
        {"gains", gains, false, {15, 40, 65, 51}, {30, 40, 65, 25.5f}},
        {"no gains on the RE", gains, true, {15, 40, 65, 51}, {15, 40, 65, 51}},
        {"gain option off", [](auto& w) { w.Gain = {2, 0, 1, 0.5f}; }, false, {15, 40, 65, 51}, {15, 40, 65, 51}},
        {"CH3 excluded", [](auto& w) { w.Exclude[2] = true; }, false, {15, 40, 0, 51}, {15, 40, 0, 51}},
        {"CH1 excluded alone", [](auto& w) { w.ExcludeCH1 = true; }, false, {0, 40, 65, 51}, {0, 40, 65, 51}},
    };
    // clang-format on
    for (const auto& [name, configure, isRe, sums, gained] : cases) {
        Rig r;
        configure(r.wave);
        ASSERT_TRUE(r.run(ramp(), isRe));
        const float f = gained[1] + gained[2] + gained[3];
        for (int k = 0; k < 4; ++k) {
            EXPECT_FLOAT_EQ(r.wave.ChannelSum[k], sums[k]) << name << " CH" << k + 1;
            EXPECT_FLOAT_EQ(r.wave.Wave_AreaCH[k], 2 * gained[k]) << name << " CH" << k + 1;
        }
        EXPECT_FLOAT_EQ(r.wave.Wave_Area, 2 * (gained[0] + f)) << name;
        EXPECT_FLOAT_EQ(r.wave.Wave_ScatSum, gained[0] == 0 ? 0.01f : gained[0]) << name;
        EXPECT_FLOAT_EQ(r.wave.Wave_WaveSum, r.wave.Wave_ScatSum + f) << name;
    }
}

TEST(ProcessWaveform, PeaksRecordEndSpreadAndShape) {
    Rig r;
    std::vector<float> w = ramp();
    w[2] = 100; // CH1 carries the peak; the fluorescence maximum ignores it
    r.run(w);
    EXPECT_EQ(r.wave.Wave_WaveMax, 100.0f);
    EXPECT_EQ(r.wave.Wave_FluorMax, 18.0f);
    EXPECT_EQ(r.samples[19], 0.0f);

    r.run({2, 4, 4, 4, 5, 5, 7, 9, 1, 1}); // the last two become 0: mean 4, variance 7.2
    EXPECT_FLOAT_EQ(r.wave.Wave_StdDev, std::sqrt(7.2f));

    std::vector<float> negative(20, 0.0f); // sums 10, -20, 40, 30: lifted by 20, divided by 40
    for (int i = 0; i < 18; ++i)
        negative[i] = i <= 4 ? 2.0f : i <= 9 ? -4.0f : i <= 14 ? 8.0f : 10.0f;
    r.run(negative);
    EXPECT_EQ(r.wave.ChannelShape, (std::array<float, 7>{0.75f, 0, 1.5f, 1.25f}));
    r.run(std::vector<float>(20, 0.0f));
    EXPECT_EQ(r.wave.ChannelShape, (std::array<float, 7>{}));

    r.wave.Cutoff = {150, 160, 170};
    r.wave.WidthLimit = 100; // still a limit: CH1 takes the samples 50..150
    r.run(std::vector<float>(200, 1.0f));
    EXPECT_FLOAT_EQ(r.wave.ChannelSum[0], 101);

    r.wave.Cutoff = {4, 9, 14};
    r.wave.WidthLimit = 0;
    r.wave.FixedIndex = true; // samples left whole, no areas
    r.run(ramp());
    EXPECT_FLOAT_EQ(r.wave.ChannelSum[3], 16 + 17 + 18 + 19 + 20);
    EXPECT_EQ(r.wave.Wave_Area, 0.0f);
}

TEST(ProcessWaveform, SevenChannelsAndChannelIndexRange) {
    Rig r;
    r.wave.ChannelCount = 6;
    r.wave.Cutoff = {2, 5, 8, 11, 14, 16};
    r.run(ramp());
    EXPECT_EQ(r.wave.ChannelSum, (std::array<float, 7>{6, 15, 24, 33, 42, 16 + 17, 18}));
    EXPECT_FLOAT_EQ(r.wave.Wave_FluorSum, 15 + 24 + 33 + 42 + 33 + 18);

    r.wave.ChannelCount = 7;
    EXPECT_FALSE(r.run(ramp()));
    EXPECT_EQ(r.host.messages(),
              std::vector<std::string>{"Error in ProcessWaveform: channel index 7 out of range (0..6)."});
    EXPECT_EQ(r.wave.ChannelSum[6], 18.0f); // the earlier values stay
    EXPECT_EQ(r.samples, ramp());
}

TEST(ProcessWaveform, StandardPercentRE) {
    // The ramp gives S + F = 171; 570000 makes 0.03 %, raised to the floor.
    const std::tuple<float, bool, float> cases[] = {
        {342, false, 50}, {570000, false, 0.1f}, {0, false, 0.1f}, {342, true, 1}};
    for (auto [reWaveSum, firstSample, percent] : cases) {
        Rig r;
        r.wave.RE_WaveSum = reWaveSum;
        r.wave.Options.firstSample = firstSample;
        r.run(ramp());
        EXPECT_FLOAT_EQ(r.wave.Wave_Signal, percent) << reWaveSum << " " << firstSample;
    }
}

TEST(ProcessWaveform, GatedScatterPeakAndNoiseFloor) {
    // The pre-pulse maximum spans 2 .. boundary 1 - 2; CH1 the positive samples of first rise .. + 18.
    std::vector<std::pair<int, float>> narrow{{5, 2}, {6, 20}};
    for (int i = 7; i <= 23; ++i)
        narrow.emplace_back(i, 2.0f);
    const std::tuple<const char*, std::vector<std::pair<int, float>>, float, bool> cases[] = {
        {"clean", {}, 190, false},
        {"negative sample skipped", {{7, -50}}, 180, false},
        {"outside window and region", {{0, 1000}, {1, 1000}, {24, 10}, {29, 1000}}, 190, false},
        {"pre-pulse maximum 100", {{28, 100}}, 4 * 100 + 5, true},
        {"narrow peak", narrow, 4 * 20 + 5, true},
    };
    for (const auto& [name, edits, ch1, low] : cases) {
        Rig r(true);
        auto w = gatedWave();
        for (auto [i, v] : edits)
            w[i] = v;
        r.run(w);
        EXPECT_EQ(r.low, low) << name;
        EXPECT_FLOAT_EQ(r.wave.ChannelSum[0], ch1) << name;
        EXPECT_FLOAT_EQ(r.wave.Wave_FluorSum, 30 + 20 + 7) << name;
    }
}

TEST(ProcessWaveform, GatedScatterCorrectedPercentRE) {
    // F / F of the RE = 0.015 (plain 1.5, blend weight 0.5); S / S of the RE = 0.01 (corrected 150).
    const float blended = 0.5f * 150 + 0.5f * 1.5f;
    // name, set-up -> S, F, %RE
    // clang-format off
    const Configure scaled = [](auto& w) { w.Options.scatterScaling = true; w.NormScatterRatio = 1.25f; };
    const std::tuple<const char*, Configure, float, float, float> cases[] = {
        {"blend", [](auto&) {}, 190, 57, blended},
        {"plain option", [](auto& w) { w.Options.plainPercentRE = true; }, 190, 57, 1.5f},
        {"scaled S", scaled, 237.5f, 57, 0.5f * 120 + 0.75f},
        {"exempt instance", [&](auto& w) { scaled(w); w.NoScatterScaling = true; }, 190, 57, blended},
        {"ratio 0 taken as 1", [](auto& w) { w.Options.scatterScaling = true; }, 190, 57, blended},
        {"RE without S", [](auto& w) { w.RE_ScatSum = 0; }, 190, 57, 0.1f},
        {"F 0.01 stored as 1", [](auto& w) { w.Exclude = {false, true, true, true}; }, 190, 1, 0.1f},
    };
    // clang-format on
    for (const auto& [name, configure, s, f, percent] : cases) {
        Rig r(true);
        r.wave.RE_ScatSum = 19000;
        r.wave.RE_FluorSum = 3800;
        configure(r.wave);
        r.run(gatedWave());
        EXPECT_FLOAT_EQ(r.wave.Wave_ScatSum, s) << name;
        EXPECT_FLOAT_EQ(r.wave.Wave_FluorSum, f) << name;
        EXPECT_NEAR(r.wave.Wave_Signal, percent, 1e-3) << name;
    }
}

TEST(ProcessWaveform, ScatterValueCorrectionAndFloors) {
    // CH1 is 190 in both layouts; correction 3 with F of the RE 1000 adds 14 - 6 = 8; 200 gives 190 - 386.
    // name, acquisition type, firmware, correction term, is RE, scatter option, fixed-index state -> S
    // clang-format off
    const std::tuple<const char*, int, int, float, bool, bool, bool, float> cases[] = {
        {"corrected",         1, 20104, 3,   false, false, false, 190 + 8},
        {"older firmware",    1, 20103, 3,   false, false, false, 190},
        {"standard layout",   0, 20104, 3,   false, false, false, 190},
        {"the RE",            1, 20104, 3,   true,  false, false, 190},
        {"negative S",        1, 20104, 200, false, false, false, -196},
        {"scatter floor",     1, 20104, 200, false, true,  false, 10},
        {"fixed-index floor", 1, 20104, 200, false, true,  true,  0.0001f},
    };
    // clang-format on
    for (const auto& [name, acqType, firmware, term, isRe, scaling, fixedIndex, s] : cases) {
        Rig r(true);
        r.wave.AcqType = acqType;
        r.wave.FirmwareVersion = firmware;
        r.wave.CH1Correction = term;
        r.wave.RE_FluorSum = 1000;
        r.wave.Options.scatterScaling = scaling;
        r.wave.FixedIndex = fixedIndex;
        r.run(gatedWave(), isRe);
        EXPECT_FLOAT_EQ(r.wave.Wave_ScatSum, s) << name;
    }
}

} // namespace
} // namespace zel
