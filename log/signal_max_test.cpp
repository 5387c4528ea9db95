#include "log/signal_max.h"

#include "common/clock.h"
#include "common/testing/recording_host.h"
#include "log/log_arrays.h"

#include <gtest/gtest.h>

#include <limits>
#include <vector>

namespace zel {
namespace {

constexpr int kSignal = 2; // the column these tests put the %RE in
constexpr float kUntouched = -99.0f;

// A per-point table of three columns: depth, a decoy in column 1, the signal in column 2.
PointMatrix table(const std::vector<float>& depths, const std::vector<float>& signals) {
    PointMatrix m(kMaxDataColumns);
    EXPECT_EQ(m.beginPush(3), ArrayStatus::Ok);
    for (std::size_t p = 0; p < depths.size(); ++p) {
        const float row[3] = {depths[p], 1000.0f, signals[p]};
        EXPECT_EQ(m.appendPoint(row), ArrayStatus::Ok);
    }
    return m;
}

TEST(SignalMax, ShallowestOfEqualMaximaWinsAndOnlyTheLogsUnitIsWritten) {
    const float nan = std::numeric_limits<float>::quiet_NaN();
    struct Case {
        const char* what;
        std::vector<float> depths;
        std::vector<float> signals;
        bool metric;
        float value;
        float depthOfMax;
        float lastDepth;
    };
    const Case cases[] = {
        {"equal maxima", {0.1f, 0.2f, 0.3f, 0.4f}, {1, 5, 3, 5}, false, 5, 0.2f, 0.4f},
        {"equal maxima, metric", {0.1f, 0.2f, 0.3f, 0.4f}, {1, 5, 3, 5}, true, 5, 0.2f, 0.4f},
        {"peak in the middle", {1, 2, 3}, {0.5f, 9.0f, 2.5f}, true, 9.0f, 2, 3},
        {"no positive signal", {1, 2, 3}, {0, -2, 0}, false, 0, 0, 3},
        {"not a number is never a maximum", {1, 2}, {nan, 2}, false, 2, 2, 2},
        {"no points", {}, {}, false, 0, 0, 0},
    };
    testing::RecordingHost host;
    FakeClock clock;
    for (const auto& c : cases) {
        cZEL_Data log(host, clock);
        log.Metric(c.metric);
        log.Signal_MaxValue(kUntouched);
        log.Signal_MaxDepth_Ft(kUntouched);
        log.Signal_MaxDepth_M(kUntouched);
        log.Depth_Max_Ft(kUntouched);
        log.Depth_Max_M(kUntouched);

        ASSERT_TRUE(recomputeSignalMax(log, table(c.depths, c.signals), kSignal)) << c.what;
        EXPECT_FLOAT_EQ(log.Signal_MaxValue(), c.value) << c.what;
        EXPECT_FLOAT_EQ(c.metric ? log.Signal_MaxDepth_M() : log.Signal_MaxDepth_Ft(), c.depthOfMax)
            << c.what;
        EXPECT_FLOAT_EQ(c.metric ? log.Depth_Max_M() : log.Depth_Max_Ft(), c.lastDepth) << c.what;
        EXPECT_EQ(c.metric ? log.Signal_MaxDepth_Ft() : log.Signal_MaxDepth_M(), kUntouched) << c.what;
        EXPECT_EQ(c.metric ? log.Depth_Max_Ft() : log.Depth_Max_M(), kUntouched) << c.what;
    }
}

TEST(SignalMax, ColumnsOutsideTheTableLeaveTheLogUntouched) {
    testing::RecordingHost host;
    FakeClock clock;
    cZEL_Data log(host, clock);
    log.Signal_MaxValue(kUntouched);
    const PointMatrix columns = table({1, 2}, {3, 4});
    for (int column : {-1, 3, 64})
        EXPECT_FALSE(recomputeSignalMax(log, columns, column)) << column;
    EXPECT_FALSE(scanSignalMax(PointMatrix(kMaxDataColumns), 0)) << "a table never sized has no depth column";
    EXPECT_EQ(log.Signal_MaxValue(), kUntouched);
}

} // namespace
} // namespace zel
