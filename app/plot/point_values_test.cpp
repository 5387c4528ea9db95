#include "app/plot/point_values.h"
#include "app/plot/synthetic_log.h"

#include "common/clock.h"
#include "common/testing/recording_host.h"

#include <gtest/gtest.h>

namespace zel::plot {
namespace {

// A loaded log: waveforms stored background-subtracted, the RE as acquired, a table of the file's lists only.
TEST(PointValues, LoadedLogGetsItsPercentReBackFromTheWaveforms) {
    zel::testing::RecordingHost host;
    FakeClock clock;
    cZEL_Data log{host, clock};
    LogArrays a;
    synthetic::fillSyntheticLog(log, a, 120, 501, false);
    PointMatrix narrow(kMaxDataColumns);
    ASSERT_EQ(narrow.resize(point_column::Rate + 1, a.points()), ArrayStatus::Ok);
    for (int p = 0; p < a.points(); ++p) {
        narrow(point_column::Depth, p) = a.columns(point_column::Depth, p);
        narrow(point_column::Rate, p) = a.columns(point_column::Rate, p);
    }
    a.columns = std::move(narrow);
    a.blank.samples.assign(501, 2.0f);
    for (float& s : a.re.samples)
        s += 2.0f;
    ASSERT_FALSE(hasPointValues(a));

    ASSERT_TRUE(computePointValues(log, a, {}, host));
    EXPECT_TRUE(host.messages().empty());
    ASSERT_GE(a.columns.width(), point_column::PushCount);
    EXPECT_TRUE(hasPointValues(a));
    // The synthetic waveforms are the first point's scaled by each point's signal.
    const float base = synthetic::syntheticSignal(0);
    for (int p : {0, 30, 60, 119}) {
        EXPECT_NEAR(a.columns(point_column::Signal, p), synthetic::syntheticSignal(p) / base * 100.0f,
                    0.01f * synthetic::syntheticSignal(p) / base * 100.0f)
            << p;
        EXPECT_FLOAT_EQ(a.columns(point_column::Depth, p), static_cast<float>(p * synthetic::kStep));
        EXPECT_GT(a.columns(point_column::Ch1 + 3, p), 0.0f);
    }

    LogArrays empty;
    EXPECT_FALSE(computePointValues(log, empty, {}, host));
}

} // namespace
} // namespace zel::plot
