#include "analysis/k_estimate.h"

#include "common/testing/recording_host.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

namespace zel {
namespace {

struct HptPoint {
    float depth, presDown, flow;
};

class KEstimateTest : public ::testing::Test {
protected:
    testing::RecordingHost host;
    FakeClock clock;
    cZEL_Data log{host, clock};
    PointMatrix presFlow{kPresFlowColumns};

    std::vector<float> run(const std::vector<HptPoint>& points) {
        presFlow.resize(kPresFlowColumns, static_cast<int>(points.size()));
        for (int i = 0; i < static_cast<int>(points.size()); ++i) {
            presFlow(presflow_column::Depth, i) = points[i].depth;
            presFlow(presflow_column::PressureDown, i) = points[i].presDown;
            presFlow(presflow_column::FlowUp, i) = points[i].flow;
            presFlow(presflow_column::KEstimate, i) = 12345.0f;
        }
        estimateK(log, presFlow);
        std::vector<float> k;
        for (int i = 0; i < presFlow.points(); ++i)
            k.push_back(presFlow(presflow_column::KEstimate, i));
        return k;
    }
};

// With HPT1ft = 10.433 the reference pressure is exactly 10, so the corrected pressure is presDown - 10.
TEST_F(KEstimateTest, RatioOfOneGivesSevenFeetPerDayAndLowEstimatesAreFloored) {
    log.HPT1ft(10.433f);
    const float pc = 2.0f;
    const float belowFloorFlow = pc * static_cast<float>(std::exp(-0.5)); // K = -3
    const auto k =
        run({{1.0f, 10.0f + pc, pc}, {2.0f, 10.0f + pc, belowFloorFlow}, {3.0f, 10.0f + pc, 2 * pc}});
    EXPECT_NEAR(k[0], 7.0f, 1e-4);
    EXPECT_FLOAT_EQ(k[1], 0.1f);
    EXPECT_NEAR(k[2], 20.0 * std::log(2.0) + 7.0, 1e-4);
}

TEST_F(KEstimateTest, MetricLogConvertsDepthInAndEstimateOut) {
    log.HPT1ft(10.433f);
    log.Metric(true);
    const auto k = run({{1.0f, 12.0f, 2.0f}});
    EXPECT_NEAR(k[0], 2.1336f, 1e-4);
}

TEST_F(KEstimateTest, MissingOneFootTestUsesDefaultReferenceWhateverTheZeroFootTestHolds) {
    log.HPT1ft(0.0f);
    log.HPT0ft(5.0f);
    const auto k = run({{1.0f, 18.6f + 3.0f, 3.0f}});
    EXPECT_NEAR(k[0], 7.0f, 1e-3);
}

TEST_F(KEstimateTest, NoUsableRatioRepeatsThePreviousEstimateAndTheFirstPointGetsTheFloor) {
    log.HPT1ft(10.433f);
    const auto k = run({
        {1.0f, 10.0f, 5.0f},  // corrected pressure exactly 0 -> -0.001 -> negative ratio
        {2.0f, 12.0f, 2.0f},  // K = 7
        {3.0f, 10.0f, 5.0f},  // marker again: repeats 7
        {4.0f, 12.0f, 0.0f},  // no flow: ratio 0, marker
        {5.0f, 8.0f, 2.0f},   // pressure below the reference: negative ratio
        {6.0f, 12.0f, -2.0f}, // negative flow
    });
    EXPECT_FLOAT_EQ(k[0], 0.1f);
    for (int i = 1; i < 6; ++i)
        EXPECT_NEAR(k[i], 7.0f, 1e-4) << "point " << i;
}

TEST_F(KEstimateTest, WaterTableCorrectionFromIncludedDissipationTests) {
    log.HPT1ft(10.433f);
    log.DisInclude(0, true);
    log.DisWT(0, 20.0f);
    // At the water table the correction is 0; 10 ft below it 4.33 PSI are removed; above it none.
    const auto k = run({{20.0f, 12.0f, 2.0f}, {30.0f, 16.33f, 2.0f}, {10.0f, 12.0f, 2.0f}});
    EXPECT_NEAR(k[0], 7.0f, 1e-4);
    EXPECT_NEAR(k[1], 7.0f, 1e-3);
    EXPECT_NEAR(k[2], 7.0f, 1e-4);
}

TEST_F(KEstimateTest, NoDissipationTestNeverCorrectsForTheWaterColumn) {
    log.HPT1ft(10.433f);
    const auto k = run({{5000.0f, 12.0f, 2.0f}});
    EXPECT_NEAR(k[0], 7.0f, 1e-4);
}

TEST_F(KEstimateTest, MetricLogMeasuresTheWaterColumnInFeet) {
    // DisWT is in feet in every log: a metric depth must be converted before the head below it is taken.
    log.HPT1ft(10.433f);
    log.Metric(true);
    log.DisInclude(0, true);
    log.DisWT(0, 20.0f);
    const auto k = run({{6.096f, 12.0f, 2.0f},   // 20 ft: at the water table
                        {9.144f, 16.33f, 2.0f},  // 30 ft: 4.33 PSI of water above the probe
                        {3.048f, 12.0f, 2.0f}}); // 10 ft: above it
    for (int i = 0; i < 3; ++i)
        EXPECT_NEAR(k[i], 2.1336f, 2e-3) << "point " << i;
}

TEST_F(KEstimateTest, PointByPointAsAPushStoresThemEqualsTheWholePass) {
    log.HPT1ft(10.433f);
    log.DisInclude(1, true);
    log.DisWT(1, 3.0f);
    const std::vector<HptPoint> points{{1.0f, 10.0f, 5.0f},  {2.0f, 12.0f, 2.0f}, {3.0f, 10.0f, 5.0f},
                                       {4.0f, 14.0f, 30.0f}, {5.0f, 8.0f, 2.0f},  {6.0f, 13.0f, 0.5f}};
    const auto whole = run(points);
    for (int i = 0; i < presFlow.points(); ++i)
        presFlow(presflow_column::KEstimate, i) = -5.0f;
    for (int i = 0; i < presFlow.points(); ++i)
        estimateKAt(log, presFlow, i);
    for (int i = 0; i < presFlow.points(); ++i)
        EXPECT_FLOAT_EQ(presFlow(presflow_column::KEstimate, i), whole[i]) << "point " << i;
}

TEST(ReferenceTest, WindowIsInclusiveAsWritten) {
    // Both ends pass also as the differences of readings whose binary difference falls just outside.
    struct Case {
        double oneFoot, zeroFoot;
        bool pass;
    };
    for (const Case& c : {Case{0.3897, 0.0, true}, Case{0.4763, 0.0, true}, Case{18.8897, 18.5, true},
                          Case{10.4763, 10.0, true}, Case{0.3896, 0.0, false}, Case{0.4764, 0.0, false},
                          Case{18.8896, 18.5, false}, Case{10.4764, 10.0, false}, Case{10.433, 10.0, true},
                          Case{0.0, 0.433, false}})
        EXPECT_EQ(referenceTestPasses(c.oneFoot, c.zeroFoot), c.pass) << c.oneFoot << " - " << c.zeroFoot;
}

TEST(ReferenceTest, MessagesKeepTheReadingsEitherWay) {
    testing::RecordingHost host;
    FakeClock clock;
    cZEL_Data log{host, clock};
    ReferenceTests tests;
    EXPECT_EQ(tests.TakeOneFoot(18.8897), "18.890");
    EXPECT_EQ(tests.TakeZeroFoot(18.5, host), "18.500");
    EXPECT_EQ(tests.TakeZeroFoot(18.0, host), "18.000");
    ASSERT_EQ(host.events().size(), 2u);
    EXPECT_EQ(host.events()[0].text, "Tested value = 0.390\r\nPassed test.");
    EXPECT_EQ(host.events()[0].icon, MsgIcon::None);
    EXPECT_EQ(host.events()[1].text,
              "Tested value = 0.890\r\nFailed test. Outside of target +/- 10% range.\r\n"
              "Target value of [1ft test] - [0ft test] = 0.433 PSI");
    EXPECT_EQ(host.events()[1].icon, MsgIcon::Critical);
    tests.ApplyTo(log);
    EXPECT_FLOAT_EQ(log.HPT1ft(), 18.8897f);
    EXPECT_FLOAT_EQ(log.HPT0ft(), 18.0f);
}

} // namespace
} // namespace zel
