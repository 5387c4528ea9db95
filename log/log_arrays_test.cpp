#include "log/log_arrays.h"

#include <gtest/gtest.h>

#include <numeric>
#include <vector>

namespace zel {
namespace {

// A waveform whose samples tell which point they belong to.
std::vector<float> waveOf(int point, int samples) {
    std::vector<float> w(static_cast<std::size_t>(samples));
    std::iota(w.begin(), w.end(), static_cast<float>(point) * 1000.0f);
    return w;
}

TEST(WaveformMatrix, AFullPushNeverMovesTheMatrixAndACutKeepsTheContents) {
    WaveformMatrix m;
    ASSERT_EQ(m.beginPush(500), ArrayStatus::Ok);
    const float* first = m.data();
    for (int p = 0; p < kMaxPoints; ++p) {
        ASSERT_EQ(m.appendPoint(waveOf(p, 500)), ArrayStatus::Ok) << p;
        ASSERT_EQ(m.data(), first) << "moved at point " << p;
    }
    EXPECT_EQ(m.appendPoint(waveOf(kMaxPoints, 500)), ArrayStatus::Full);

    EXPECT_EQ(m.truncate(kMaxPoints + 1), ArrayStatus::NotACut);
    ASSERT_EQ(m.truncate(3), ArrayStatus::Ok);
    EXPECT_EQ(m.values().size(), 1500u);
    EXPECT_EQ(m.wave(2)[499], 2499.0f);
    EXPECT_TRUE(m.wave(3).empty());
    ASSERT_EQ(m.appendPoint(waveOf(9, 500)), ArrayStatus::Ok);
    EXPECT_EQ(m.data(), first) << "the push's room stays after a cut";
    EXPECT_EQ(m.wave(3)[0], 9000.0f);
}

TEST(PointMatrix, SizesBeyondTheLimitsAndOutsideIndicesAreRefused) {
    struct Case {
        int width;
        int points;
        ArrayStatus expected;
    };
    const Case cases[] = {
        {500, kMaxPoints, ArrayStatus::Ok},
        {500, kMaxPoints + 1, ArrayStatus::TooManyPoints},
        {kMaxSamplesPerWave + 1, 1, ArrayStatus::TooWide},
        {kMaxSamplesPerWave, kMaxPoints, ArrayStatus::TooLarge},
        {0, 10, ArrayStatus::InvalidSize},
        {500, -1, ArrayStatus::InvalidSize},
    };
    for (const auto& c : cases) {
        WaveformMatrix m;
        ASSERT_EQ(m.resize(2, 1), ArrayStatus::Ok);
        ASSERT_TRUE(m.set(1, 0, 42.0f));
        EXPECT_EQ(m.resize(c.width, c.points), c.expected) << c.width << " x " << c.points;
        if (c.expected != ArrayStatus::Ok) {
            EXPECT_EQ(m.at(1, 0), 42.0f) << "a refusal keeps the content";
        }
    }
    EXPECT_EQ(WaveformMatrix().beginPush(7000), ArrayStatus::TooLarge);

    PointMatrix m(kMaxDataColumns);
    EXPECT_EQ(m.resize(kMaxDataColumns + 1, 1), ArrayStatus::TooWide);
    ASSERT_EQ(m.resize(3, 2), ArrayStatus::Ok);
    for (const auto& [index, point] : {std::pair{3, 0}, {-1, 0}, {0, 2}, {0, -1}}) {
        EXPECT_FALSE(m.at(index, point)) << index << "," << point;
        EXPECT_FALSE(m.set(index, point, 1.0f)) << index << "," << point;
    }
    EXPECT_TRUE(m.row(2).empty());
    const float shortRow[2] = {1, 2};
    EXPECT_EQ(m.appendPoint(shortRow), ArrayStatus::WrongRowLength);
}

TEST(LogArrays, PointsAreAppendedToEveryArrayTogetherAndCutTogether) {
    LogArrays a;
    ASSERT_EQ(a.beginPush(4, 8, true), ArrayStatus::Ok);
    std::vector<float> cols(8);
    for (int p = 0; p < 4; ++p) {
        const auto wave = waveOf(p, 4);
        cols[point_column::Depth] = 0.5f * static_cast<float>(p);
        PointValues point{wave, cols, {0.0f, static_cast<float>(p), 0.0f}, 10.0f + p, {}};
        point.presFlow[presflow_column::FlowUp] = 100.0f + p;
        ASSERT_EQ(a.appendPoint(point), ArrayStatus::Ok);
    }
    // A point of the wrong shape is refused without leaving the arrays a point apart.
    const std::vector<float> shortCols(7);
    EXPECT_EQ(a.appendPoint(PointValues{waveOf(9, 4), shortCols}), ArrayStatus::WrongRowLength);
    const PointMatrix* arrays[] = {&a.waves, &a.columns, &a.hammer, &a.counter, &a.presFlow};
    for (const PointMatrix* m : arrays)
        EXPECT_EQ(m->points(), 4);

    ASSERT_EQ(a.truncate(2), ArrayStatus::Ok);
    for (const PointMatrix* m : arrays)
        EXPECT_EQ(m->points(), 2);
    EXPECT_EQ(a.columns.at(point_column::Depth, 1), 0.5f);
    EXPECT_EQ(a.hammer.at(hammer_column::BlowCount, 1), 1.0f);
    EXPECT_EQ(a.counter.at(0, 1), 11.0f);
    EXPECT_EQ(a.presFlow.at(presflow_column::FlowUp, 1), 101.0f);

    // Loaded without pressure/flow: that array stays empty and does not block a cut.
    ASSERT_EQ(a.resize(501, 8, 10, false), ArrayStatus::Ok);
    EXPECT_EQ(a.waves.values().size(), 5010u);
    EXPECT_TRUE(a.presFlow.empty());
    EXPECT_EQ(a.truncate(4), ArrayStatus::Ok);
    // A refused size leaves nothing half-sized behind.
    EXPECT_EQ(a.resize(501, kMaxDataColumns + 1, 10, true), ArrayStatus::TooWide);
    EXPECT_EQ(a.waves.width(), 0);
}

} // namespace
} // namespace zel
