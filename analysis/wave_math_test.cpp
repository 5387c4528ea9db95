#include "analysis/wave_math.h"

#include <gtest/gtest.h>

#include <cmath>

namespace zel::wave_math {
namespace {

// Four points of three samples, depths 1.0 to 2.5 ft, a background and a stored baseline.
LogArrays smallLog() {
    LogArrays a;
    EXPECT_EQ(a.resize(3, point_column::PushCount, 4, false), ArrayStatus::Ok);
    const float waves[4][3] = {{1, 2, 3}, {3, 4, 5}, {5, 10, 0}, {7, 0, 1}};
    for (int p = 0; p < 4; ++p) {
        auto row = a.waves.row(p);
        std::copy(std::begin(waves[p]), std::end(waves[p]), row.begin());
        a.columns(point_column::Depth, p) = 1.0f + 0.5f * static_cast<float>(p);
    }
    a.blank.samples = {0.5f, 0.5f, 0.5f};
    a.baseline = {1.0f, 1.0f, 1.0f};
    return a;
}

void expectSamples(const std::vector<float>& got, const std::vector<double>& want) {
    ASSERT_EQ(got.size(), want.size());
    for (std::size_t k = 0; k < want.size(); ++k)
        EXPECT_NEAR(got[k], want[k], 1e-5) << "sample " << k;
}

struct SelectCase {
    const char* text;
    std::vector<double> samples; // by hand
    int points;
    const char* legend;
};

TEST(WaveMath, SelectionsAverageTheirPoints) {
    const LogArrays a = smallLog();
    const SelectCase cases[] = {
        {"1.0-1.5", {2, 3, 4}, 2, "1.00-1.50 ft"},
        {"2.5-1.4", {5, 14.0 / 3, 2}, 3, "1.40-2.50 ft"}, // either order
        {"1.6", {3, 4, 5}, 1, "1.50 ft"},                 // the nearest point
        {"0-9", {4, 4, 9.0 / 4}, 4, "0.00-9.00 ft"},
        {"bg", {0.5, 0.5, 0.5}, 0, "Background"},
    };
    for (const SelectCase& c : cases) {
        SCOPED_TRACE(c.text);
        const auto s = parseSelection(c.text);
        ASSERT_TRUE(s);
        std::string error;
        const auto curve = select(a, *s, "ft", error);
        ASSERT_TRUE(curve) << error;
        expectSamples(curve->samples, c.samples);
        EXPECT_EQ(curve->points, c.points);
        EXPECT_EQ(curve->legend, c.legend);
    }
}

TEST(WaveMath, SelectionsThatCannotBeMadeSaySo) {
    const LogArrays a = smallLog();
    for (const char* bad : {"", "x", "1-", "-", "1.0-y", "nan"})
        EXPECT_FALSE(parseSelection(bad)) << bad;
    std::string error;
    EXPECT_FALSE(select(a, *parseSelection("3-4"), "ft", error));
    EXPECT_EQ(error, "no point of the log lies between 3.00 and 4.00 ft");
    LogArrays noBackground = smallLog();
    noBackground.blank.samples = {1, 2};
    EXPECT_FALSE(select(noBackground, *parseSelection("bg"), "ft", error));
    EXPECT_EQ(error, "the log has no background of its waveforms' length");
}

TEST(WaveMath, EveryNPointsGroupsInLogOrder) {
    const LogArrays a = smallLog();
    const auto groups = averageEvery(a, 3, "ft");
    ASSERT_EQ(groups.size(), 2u);
    expectSamples(groups[0].samples, {3, 16.0 / 3, 8.0 / 3});
    EXPECT_EQ(groups[0].legend, "1.00-2.00 ft");
    expectSamples(groups[1].samples, {7, 0, 1}); // the shorter last group
    EXPECT_EQ(groups[1].points, 1);
    EXPECT_TRUE(averageEvery(a, 0, "ft").empty());
}

TEST(WaveMath, DifferenceBaselineAndNormalisation) {
    const LogArrays a = smallLog();
    std::string error;
    const auto top = select(a, *parseSelection("1.0-1.5"), "ft", error);
    const auto deep = select(a, *parseSelection("2.5"), "ft", error);
    const auto bg = select(a, *parseSelection("bg"), "ft", error);
    ASSERT_TRUE(top && deep && bg);

    const auto d = difference(*top, *deep, error);
    ASSERT_TRUE(d);
    expectSamples(d->samples, {-5, 3, 3});
    EXPECT_EQ(d->legend, "1.00-1.50 ft - 2.50 ft");
    const auto minusBg = difference(*top, *bg, error);
    ASSERT_TRUE(minusBg);
    expectSamples(minusBg->samples, {1.5, 2.5, 3.5});

    Curve c = *top;
    ASSERT_TRUE(subtractBaseline(c, a.baseline, error));
    expectSamples(c.samples, {1, 2, 3});
    // 0.8 ns a sample and an RE of 50 pVs: each mV-sample is 0.8 pVs, 1.6 % of the RE.
    ASSERT_TRUE(normalise(c, 50.0, 0.8e-9, error));
    expectSamples(c.samples, {1.6, 3.2, 4.8});

    Curve shorter;
    shorter.samples = {1, 2};
    EXPECT_FALSE(difference(*top, shorter, error));
    EXPECT_FALSE(subtractBaseline(shorter, a.baseline, error));
    EXPECT_EQ(error, "the log's baseline has 3 samples, its waveforms 2");
    EXPECT_FALSE(subtractBaseline(shorter, {}, error));
    EXPECT_EQ(error, "the log has no stored baseline");
    EXPECT_FALSE(normalise(shorter, 0.0, 1e-9, error));
    EXPECT_FALSE(normalise(shorter, 10.0, 0.0, error));
}

TEST(WaveMath, ExportReadsBackWithItsLabels) {
    const LogArrays a = smallLog();
    auto curves = averageEvery(a, 3, "ft");
    Labels labels;
    labels.applyCustom("Delay", " ", "Light", "counts"); // a blank unit keeps the default
    labels.legends = {"Upper"};
    const std::string text = exportText(curves, 0.8e-9, labels, "B\xC6-1", "every 3");
    std::string error;
    const auto t = readText(text, error);
    ASSERT_TRUE(t) << error;
    EXPECT_EQ(t->xHeading, "Delay (ns)");
    EXPECT_EQ(t->yLabel, "Light");
    EXPECT_EQ(t->yUnit, "counts");
    EXPECT_EQ(t->logName, "B\xC6-1"); // 8-bit text as it stands
    EXPECT_EQ(t->operation, "every 3");
    ASSERT_EQ(t->legends, (std::vector<std::string>{"Upper", "2.50-2.50 ft"}));
    ASSERT_EQ(t->timeNs.size(), 3u);
    EXPECT_DOUBLE_EQ(t->timeNs[2], 1.6);
    for (std::size_t c = 0; c < curves.size(); ++c)
        for (std::size_t k = 0; k < 3; ++k)
            EXPECT_NEAR(t->values[c][k], curves[c].samples[k], 5e-5) << c << " " << k;
    EXPECT_NE(text.find("\r\n0.800\t5.3333\t0.0000\r\n"), std::string::npos) << text;
}

TEST(WaveMath, DamagedExportIsRefused) {
    std::string error;
    EXPECT_FALSE(readText("# only comments\r\n", error));
    EXPECT_EQ(error, "no headings line");
    EXPECT_FALSE(readText("Time (ns)\tA\r\n0.0\t1\t2\r\n", error));
    EXPECT_EQ(error, "line 2 has 3 fields, not 2");
    EXPECT_FALSE(readText("Time (ns)\tA\r\n0.0\tx\r\n", error));
    EXPECT_EQ(error, "line 2, field 2 is not a number");
}

} // namespace
} // namespace zel::wave_math
