// cZEL_Depth on a real pseudo-terminal against zel-sim depth: the exact register writes the board
// received, and depths read back from its stream.

#include "instruments/depth/depth.h"
#include "instruments/platform/event_loop_host.h"
#include "instruments/platform/qt_serial_port.h"
#include "instruments/platform/qt_test_app.h"
#include "tests/e2e/field_sim.h"

#include "common/testing/recording_host.h"

#include <gtest/gtest.h>

namespace zel {
namespace {

struct DepthSim : ::testing::Test {
    std::string transcript = ::testing::TempDir() + "depth_sim_" + std::to_string(::getpid()) + ".txt";
    testing::RecordingHost recorded;
    platform::EventLoopHost host{recorded};
    SystemClock clock;
    platform::QtSerialPort port;
    platform::QtTimer timer;
    std::unique_ptr<e2e::SimChild> sim;
    std::unique_ptr<cZEL_Depth> depth;
    int newDepths = 0;

    void start(std::vector<std::string> args) {
        platform::ensureQtTestApp();
        args.insert(args.begin(), {"depth", "--transcript", transcript});
        sim = std::make_unique<e2e::SimChild>(ZEL_SIM, args);
        ASSERT_TRUE(sim->running());
        const std::string pty = sim->text("depth", "pty");
        depth = std::make_unique<cZEL_Depth>(host, clock, port, timer, [pty](int) { return pty; });
        depth->NewDepth = [this] { ++newDepths; };
    }
    void waitForDepth(float feet) {
        for (int i = 0; i < 500 && depth->Depth_Raw_Ft() < feet; ++i)
            host.sleepMs(10);
    }
};

TEST_F(DepthSim, BoardStreamsAfterTheRegisterWritesAndStopsOnHalt) {
    start({"--rate", "2", "--cal", "1", "--blows-per-in", "1"});
    depth->Int_CalVal = 1;
    ASSERT_TRUE(depth->Init(1, 1, 0, false));
    depth->Int_UpdateTimeMS = 50;
    depth->Int_Din2_Enable = true; // the hammer's blow counter
    depth->Int_StreamStart();
    // The blows count from the push's start, whenever the first reading came.
    for (int i = 0; i < 300 && depth->Readings == 0; ++i)
        host.sleepMs(10);
    depth->Push_Begin();
    const float startFt = depth->Depth_Raw_Ft();
    waitForDepth(startFt + 1.0f);
    depth->Int_StreamHalt();
    EXPECT_GE(depth->Depth_Raw_Ft(), 1.0f);
    EXPECT_GT(newDepths, 0);
    // The string pot and the counter of one tick tell the same depth (within the 12-bit step).
    EXPECT_NEAR(depth->Int_Counter_Value / 100.0, depth->Depth_Raw_Ft(), 0.05);
    EXPECT_NEAR(depth->Depth_Raw_Ft(), depth->Int_A0_Value / 0.005 / 12.0, 1e-3);
    EXPECT_GT(depth->Int_A1_Value, 0.0f);
    EXPECT_EQ(depth->Conductivity, depth->EC_VtoMS(depth->Int_A1_Value));
    // One an inch; a reading split between two arrivals may leave a reading's blows behind at either end.
    EXPECT_NEAR(depth->Blows_Count(), (depth->Depth_Raw_Ft() - startFt) * 12, 3);
    const std::vector<std::string> expected = {"W1002", "W1102", "W1203", "W1001", "W1102", "W19FF", "W1A00",
                                               "W0400", "W0500", "W0400", "W0532", "H",     "W0400", "W0500"};
    EXPECT_EQ(e2e::transcriptLines(transcript, expected.size(), 3000, [&](int ms) { host.sleepMs(ms); }),
              expected);
    EXPECT_TRUE(recorded.messages().empty());
}

TEST_F(DepthSim, Ad4CounterFrames) {
    start({"--ad4", "--rate", "2", "--counts-per-ft", "500", "--ad4-interval-ms", "20"});
    depth->AD4_CountsPerFt = 500;
    ASSERT_TRUE(depth->Init(2, 1, 0, false));
    waitForDepth(0.2f);
    EXPECT_GE(depth->Depth_Raw_Ft(), 0.2f);
    EXPECT_NEAR(depth->Depth_Raw_Ft(), (depth->Int_Counter_Value - 32768) / 500.0, 1e-6);
    EXPECT_GT(newDepths, 0);
    // With its timer stopped the counter sends nothing more.
    depth->AD4_TimerEnable(false);
    host.sleepMs(100);
    const int stopped = newDepths;
    host.sleepMs(200);
    EXPECT_EQ(newDepths, stopped);
    depth->AD4_TimerEnable(true);
    waitForDepth(0.1f); // counted again from zero
    EXPECT_GT(newDepths, stopped);
}

} // namespace
} // namespace zel
