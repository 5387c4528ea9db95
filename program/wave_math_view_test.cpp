#include "program/wave_math_view.h"

#include "common/clock.h"
#include "common/testing/recording_host.h"

#include <gtest/gtest.h>

namespace zel::program {
namespace {

using namespace control;

// Five points of two samples at 1.0, 1.1 .. 1.4 ft; point p's samples are p + 1 and 10 (p + 1).
LogArrays fivePoints() {
    LogArrays a;
    EXPECT_EQ(a.resize(2, point_column::PushCount, 5, false), ArrayStatus::Ok);
    for (int p = 0; p < 5; ++p) {
        auto row = a.waves.row(p);
        row[0] = static_cast<float>(p + 1);
        row[1] = static_cast<float>(10 * (p + 1));
        a.columns(point_column::Depth, p) = 1.0f + 0.1f * static_cast<float>(p);
    }
    a.blank.samples = {1.0f, 1.0f};
    a.baseline = {0.5f, 0.5f};
    return a;
}

struct ViewCase {
    const char* name;
    std::vector<std::pair<const char*, std::string>> controls; // name, stored value
    std::vector<double> samples;
    const char* operation;
    bool millivolts;
    const char* problem;
};

TEST(WaveMathView, ThePagesChoicesMakeTheShownWaveform) {
    const ViewCase cases[] = {
        {"plain", {}, {3, 30}, "", true, ""},
        // 0.25 ft about 1.2 ft: 1.1, 1.2 and 1.3 ft.
        {"average",
         {{kAvgInterval, "1"}, {kAvgIntervalDepth, "0.25"}},
         {3, 30},
         "avg 1.08-1.33 ft",
         true,
         ""},
        {"average wider",
         {{kAvgInterval, "1"}, {kAvgIntervalDepth, "0.45"}},
         {3, 30},
         "avg 0.98-1.43 ft",
         true,
         ""},
        {"minus the background",
         {{kWaveDiff, "1"}, {kWaveDiffWith, "bg"}},
         {2, 29},
         "minus Background",
         false,
         ""},
        {"minus a depth", {{kWaveDiff, "1"}, {kWaveDiffWith, "1.4"}}, {-2, -20}, "minus 1.40 ft", false, ""},
        {"baseline off", {{kBaseline, "1"}}, {2.5, 29.5}, "baseline off", true, ""},
        // 1 ns a sample against an RE of 200 pVs: a mV is half a percent.
        {"normalised", {{kNormalise, "1"}}, {1.5, 15}, "normalised to the RE", false, ""},
        {"difference that cannot be made",
         {{kWaveDiff, "1"}, {kWaveDiffWith, "deep"}},
         {3, 30},
         "",
         true,
         "no difference: \"deep\" is neither a depth, a range FROM-TO nor bg"},
    };
    const LogArrays a = fivePoints();
    testing::RecordingHost host;
    FakeClock clock;
    cZEL_Data log(host, clock);
    log.RE_Area(200.0f);
    log.Wave_DeltaX(1e-9f);
    for (const ViewCase& c : cases) {
        SCOPED_TRACE(c.name);
        SettingsModel model;
        for (const auto& [name, value] : c.controls)
            model.set(kWaveMath, name, value);
        const auto shown = ShownWaveform(ReadWaveMathOptions(model), log, a, 2, "ft");
        ASSERT_TRUE(shown);
        ASSERT_EQ(shown->curve.samples.size(), c.samples.size());
        for (std::size_t k = 0; k < c.samples.size(); ++k)
            EXPECT_NEAR(shown->curve.samples[k], c.samples[k], 1e-4) << k;
        EXPECT_EQ(shown->operation, c.operation);
        EXPECT_EQ(shown->millivolts, c.millivolts);
        EXPECT_EQ(shown->problem, c.problem);
    }
    EXPECT_FALSE(ShownWaveform(ReadWaveMathOptions(SettingsModel{}), log, a, 5, "ft"));
}

TEST(WaveMathView, CustomLabelsReplaceTheDefaultsWhereGiven) {
    SettingsModel model;
    model.set(kWaveMath, kCustomLabels, "1");
    model.set(kWaveMath, kCustomUnit, "Delay", 0);
    model.set(kWaveMath, kCustomUnit, " ", 1);
    model.set(kWaveMath, kCustomUnit, "Light", 2);
    model.set(kWaveMath, kCustomLegend, "Upper sand", 0);
    model.set(kWaveMath, kNormalise, "1");
    const LogArrays a = fivePoints();
    testing::RecordingHost host;
    FakeClock clock;
    cZEL_Data log(host, clock);
    log.RE_Area(200.0f);
    log.Wave_DeltaX(1e-9f);
    const auto shown = ShownWaveform(ReadWaveMathOptions(model), log, a, 0, "ft");
    ASSERT_TRUE(shown);
    EXPECT_EQ(shown->labels.xLabel, "Delay");
    EXPECT_EQ(shown->labels.xUnit, "ns");
    EXPECT_EQ(shown->labels.yLabel, "Light");
    EXPECT_EQ(shown->labels.yUnit, wave_math::kNormalisedUnit); // no unit typed: the normalised one
    ASSERT_FALSE(shown->labels.legends.empty());
    EXPECT_EQ(shown->labels.legends[0], "Upper sand");
}

} // namespace
} // namespace zel::program
