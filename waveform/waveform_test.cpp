#include "waveform/waveform.h"

#include "common/testing/recording_host.h"
#include "waveform/fibre_length.h"
#include "waveform/synthetic_waves.h"

#include <gtest/gtest.h>

namespace zel {
namespace {

using Texts = std::vector<std::string>;

std::vector<float> ramp(int n = 20, float scale = 1.0f) { // sums 15, 40, 65, 51 over boundaries 4, 9, 14
    std::vector<float> w(n);
    for (int i = 0; i < n; ++i)
        w[i] = static_cast<float>(i + 1) * scale;
    return w;
}

class WaveformTest : public ::testing::Test {
protected:
    WaveformTest() {
        wave.DeltaX = 1e-9f;
        wave.Cutoff = {4, 9, 14};
    }
    testing::RecordingHost host;
    cZEL_Waveform wave{host};
};

TEST_F(WaveformTest, BackgroundIsSubtractedOverTheCommonIndicesOnly) {
    // background 1, 2, 3 ... of the given length (-1: none held); the last two samples are cleared anyway
    const std::pair<int, std::vector<float>> cases[] = {
        {5, {9, 8, 7, 6, 5, 10, 10, 10, 0, 0}},
        {15, {9, 8, 7, 6, 5, 4, 3, 2, 0, 0}},
        {-1, {10, 10, 10, 10, 10, 10, 10, 10, 0, 0}},
    };
    for (const auto& [length, after] : cases) {
        wave.ClearBackground();
        if (length > 0) wave.SetBackground(ramp(length));
        std::vector<float> w(10, 10.0f);
        EXPECT_TRUE(wave.Process_Wave(w));
        EXPECT_EQ(w, after) << "background of " << length;
    }
}

TEST_F(WaveformTest, ProcessREFillsTheReferenceAndBlankIsKeptApart) {
    wave.RE_Delay = 2.0 * (110.1464 + 100.0) * 1e-9; // 100 ns through the fibre
    wave.Mode = 1;
    wave.CH1Correction = 5;
    auto w = ramp();
    EXPECT_TRUE(wave.Process_RE(w, true, false));
    EXPECT_EQ(wave.CH1Correction, 0.0f);
    EXPECT_FLOAT_EQ(wave.FibreLength, static_cast<float>(100.0 * 0.2997992 / 1.4607));
    EXPECT_FLOAT_EQ(wave.ScatterRatio, 156.0f / 15.0f);
    EXPECT_FLOAT_EQ(wave.NormScatterRatio, 156.0f / 15.0f / 8.0f);
    EXPECT_EQ((std::array<float, 4>{wave.RE_ScatSum, wave.RE_FluorSum, wave.RE_WaveSum, wave.RE_Area}),
              (std::array<float, 4>{15, 156, 171, 171}));
    EXPECT_FLOAT_EQ(wave.RE_AreaCH[1], 40);
    EXPECT_EQ(wave.RE_Signal, 100.0f);
    EXPECT_EQ(wave.Wave_Signal, 100.0f);

    // A new RE with twice the scatter keeps the earlier ratio when asked to; the sums follow the new RE.
    w = ramp();
    w[0] = 16;
    EXPECT_TRUE(wave.Process_RE(w, true, true));
    EXPECT_FLOAT_EQ(wave.ScatterRatio, 156.0f / 15.0f);
    EXPECT_FLOAT_EQ(wave.RE_WaveSum, 30 + 156);

    cZEL_Waveform point(host);
    point.DeltaX = 1e-9f;
    point.CopyCutoffs(wave);
    point.CopyReference(wave);
    w = ramp();
    EXPECT_TRUE(point.Process_Blank(w));
    EXPECT_FLOAT_EQ(point.Blank_Signal, 171.0f / 186.0f * 100);
    EXPECT_FLOAT_EQ(point.Blank_AreaCH[3], 51);
    EXPECT_TRUE(host.messages().empty());
}

TEST(FibreLength, GroupIndexByModeAndLayout) {
    const double delay = 2.0 * (110.1464 + 100.0) * 1e-9;
    // mode, boundaries -> group index
    const std::tuple<int, int, double> cases[] = {
        {0, 3, 1.4769},  {4, 3, 1.4769}, {51, 3, 1.4769}, {1, 3, 1.4607}, {52, 3, 1.4607},
        {2, 3, 1.4580},  {3, 3, 1.4580}, {21, 3, 1.4580}, {7, 3, 1.4761}, {5, 3, 1.4688},
        {61, 3, 1.4688}, {0, 6, 1.4761}, {1, 6, 1.4761},
    };
    for (auto [mode, boundaries, n] : cases) {
        EXPECT_FLOAT_EQ(fibreLength(delay, mode, boundaries), static_cast<float>(100.0 * 0.2997992 / n))
            << "mode " << mode << " boundaries " << boundaries;
    }
    EXPECT_EQ(fibreLength(0.0, 0, 3), 0.0f);
    EXPECT_LT(fibreLength(100e-9, 0, 3), 0.0f); // only "no delay at all" is special
}

TEST_F(WaveformTest, CalloutSlots) {
    wave.Wave_Signal = 12.5f;
    wave.Wave_Color = 3;
    wave.Wave_ColorFluor = 7;
    for (int slot : {-1, 5, 7})
        wave.CalloutTransfer(slot);
    EXPECT_EQ(host.messages(), (Texts{"Error in CalloutTransfer: callout slot -1 out of range (0..4).",
                                      "Error in CalloutTransfer: callout slot 5 out of range (0..4).",
                                      "Error in CalloutTransfer: callout slot 7 out of range (0..4)."}));
    EXPECT_EQ(wave.Callout_Signal, (std::array<float, 5>{}));

    wave.CalloutTransfer(4);
    wave.Options.calloutFluorColour = true;
    wave.CalloutTransfer(0);
    EXPECT_EQ(wave.Callout_Signal, (std::array<float, 5>{12.5f, 0, 0, 0, 12.5f}));
    EXPECT_EQ(wave.Callout_Color, (std::array<float, 5>{7, 0, 0, 0, 3}));
}

TEST_F(WaveformTest, BoundarySearchStatesAndMessage) {
    const std::vector<float> flat(500, 0.0f);
    const std::vector<float> clean =
        testing::pulseTrain(500, {{40}, {110}, {180}, {250}, {320}, {390}, {460}});
    // name, samples, fixed-index state, fixed-boundary switch -> boundaries, generic message shown
    const std::tuple<const char*, const std::vector<float>*, bool, bool, std::array<std::int32_t, 6>, bool>
        cases[] = {
            {"clean seven channels", &clean, false, false, {105, 175, 245, 315, 385, 455}, false},
            {"flat", &flat, false, false, {100, 160, 220}, true},
            {"flat, fixed switch", &flat, false, true, {30, 60, 90}, false},
            {"clean, fixed switch", &clean, false, true, {30, 60, 90}, false},
            {"fixed-index state", &clean, true, false, {0, 1, 2}, false},
        };
    for (const auto& [name, samples, fixedIndex, fixedSwitch, cutoff, message] : cases) {
        host.clear();
        wave.FixedIndex = fixedIndex;
        wave.Options.fixedCutoffs = fixedSwitch;
        wave.Process_Cutoffs(*samples, false);
        EXPECT_EQ(wave.Cutoff, cutoff) << name;
        EXPECT_EQ(wave.ChannelCount, cutoff[3] ? 6 : 3) << name;
        EXPECT_EQ(host.messages(),
                  message ? Texts{"RE cutoff process failed. Generic cutoff values used."} : Texts{})
            << name;
    }
}

} // namespace
} // namespace zel
