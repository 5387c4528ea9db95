#include "instruments/depth/depth.h"

#include "common/testing/recording_host.h"
#include "instruments/depth/depth_protocol.h"
#include "instruments/transport/fake_serial_port.h"

#include <gtest/gtest.h>

namespace zel {
namespace {

struct DepthTest : ::testing::Test {
    FakeClock clock{DateTime{2016, 4, 12, 10, 0, 0}};
    testing::RecordingHost host{&clock};
    testing::FakeSerialPort port;
    testing::FakeTimer timer;
    cZEL_Depth depth{host, clock, port, timer, [](int n) { return "/dev/ttyS" + std::to_string(n - 1); }};
    int newDepths = 0;

    void SetUp() override {
        depth.NewDepth = [this] { ++newDepths; };
    }
    void openBoard() {
        ASSERT_TRUE(depth.Init(1, 3, 0, false));
        depth.Int_StreamStart();
        port.written.clear();
    }
};

TEST_F(DepthTest, InterfaceBoardOpensItsPortAtFullSpeed) {
    depth.UseHdReference = true;
    ASSERT_TRUE(depth.Init(1, 3, 4, false));
    EXPECT_EQ(port.device(), "/dev/ttyS2");
    EXPECT_EQ(port.settings(), "115200,n,8,1");
    EXPECT_TRUE(depth.PortOpen);
    EXPECT_FLOAT_EQ(depth.RefVolt, 3.18f);
    EXPECT_EQ(depth.CommPort2nd, 4);
}

TEST_F(DepthTest, StreamStartWritesTheRegistersInOrderWithTheClampedPeriod) {
    struct Case {
        bool a0, a1, din, din2;
        std::int32_t updateMs;
        const char* expected;
    };
    const Case cases[] = {
        {true, true, false, false, 333,
         "W1002\rW1102\rW1203\rW1001\rW1102\rW1900\rW1A00\rW0400\rW0500\rW0401\rW054D\r"},
        {false, true, true, true, 0,
         "W1002\rW1102\rW1203\rW1001\rW1103\rW19FF\rW1AFF\rW0400\rW0500\rW0403\rW05E8\r"},
        {true, false, false, false, 1, "W1001\rW1102\rW1900\rW1A00\rW0400\rW0500\rW0403\rW05E8\r"},
        {false, false, false, false, 70000, "W1000\rW1900\rW1A00\rW0400\rW0500\rW04FF\rW05FF\r"},
        {false, false, false, false, 2, "W1000\rW1900\rW1A00\rW0400\rW0500\rW0400\rW0502\r"},
    };
    ASSERT_TRUE(depth.Init(1, 1, 0, false));
    for (const auto& c : cases) {
        SCOPED_TRACE(c.expected);
        port.written.clear();
        depth.Int_A0_Enable = c.a0;
        depth.Int_A1_Enable = c.a1;
        depth.Int_Din_Enable = c.din;
        depth.Int_Din2_Enable = c.din2;
        depth.Int_UpdateTimeMS = c.updateMs;
        const auto slept = host.sleptMs();
        port.writes.clear();
        depth.Int_StreamStart();
        EXPECT_EQ(port.written, c.expected);
        // The board needs its 100 ms after every command.
        EXPECT_EQ(host.sleptMs() - slept, 100 * static_cast<long long>(port.writes.size()));
        port.writes.clear();
    }
}

TEST_F(DepthTest, HaltStopsTheStreamAndIgnoresWhatStillArrives) {
    openBoard();
    depth.Int_StreamHalt();
    EXPECT_EQ(port.written, "H\rW0400\rW0500\r");
    port.receive("U2800\r");
    EXPECT_EQ(depth.Int_A0_Value, 0.0f);
}

TEST_F(DepthTest, LinesOfEveryFormIncludingOnesSplitAcrossArrivals) {
    openBoard();
    port.receive("U3");
    port.receive("800\r");
    EXPECT_FLOAT_EQ(depth.Int_A1_Value, 0x800 * 5.0f / 4096.0f);
    port.receive("\n000000010\r000");
    EXPECT_EQ(depth.Int_Counter_Value, 0x10);
    EXPECT_EQ(newDepths, 0); // the first reading is no change
    port.receive("000018\rU00FF\rI0003\rN1234\rEr:BadCmd\rZZ\rU2FFF\r");
    EXPECT_EQ(depth.Int_Counter_Value, 0x18);
    EXPECT_EQ(depth.Int_Counter_Change, 8);
    EXPECT_EQ(depth.Int_Channel_Value('U'), 0xFF);
    EXPECT_EQ(depth.Int_Din_Value, 3);
    EXPECT_EQ(depth.Int_Channel_Value('N'), 0x1234);
    EXPECT_EQ(depth.LastError, "Er:BadCmd");
    EXPECT_FLOAT_EQ(depth.Int_A0_Value, 4095 * 0.001220703125f);
    EXPECT_EQ(newDepths, 1);
    port.receive("0FFFFFFFF\r000000002\r"); // the counter wraps
    EXPECT_EQ(depth.Int_Counter_Change, 3);
}

TEST_F(DepthTest, CarryOverStaysBoundedOnNoise) {
    openBoard();
    for (int i = 0; i < 100; ++i)
        port.receive(std::string(50, 'x'));
    port.receive("\rU3800\r");
    EXPECT_FLOAT_EQ(depth.Int_A1_Value, 2.5f);
}

TEST_F(DepthTest, StringPotTravelAndUpAcquire) {
    depth.Int_CalVal = 10; // 10 mV/V/inch at 5 V: 0.05 V an inch
    ASSERT_TRUE(depth.Init(1, 1, 0, false));
    EXPECT_FLOAT_EQ(depth.String_VtoFt(4.8f), 8.0f);
    depth.UpAcquire = true;
    EXPECT_NEAR(depth.String_VtoFt(4.8f), 0.0f, 1e-5);
    EXPECT_FLOAT_EQ(depth.String_VtoFt(0.6f), 7.0f);
}

TEST_F(DepthTest, AnalogueZeroDrivesTheDepthWithOffsetMaximumAndRate) {
    depth.Int_CalVal = 10;
    depth.Rate_Num2Avg = 2;
    openBoard();
    depth.Offset_Ft(1.0f);
    depth.Push_Begin();
    // 0.6 V is 1 ft of travel, 1.2 V 2 ft: readings of 492 and 983 counts.
    port.receive("U21EC\r000000000\r");
    clock.advanceMs(2000);
    port.receive("U23D7\r000000031\r");
    EXPECT_NEAR(depth.Depth_Raw_Ft(), 983 * 5.0 / 4096 / 0.6, 1e-4);
    EXPECT_NEAR(depth.Depth_Current_Ft(), depth.Depth_Raw_Ft() + 1.0, 1e-5);
    EXPECT_NEAR(depth.Depth_Current_M(), depth.Depth_Current_Ft() / 3.28084, 1e-5);
    EXPECT_EQ(depth.Depth_Max_Ft(), depth.Depth_Current_Ft());
    EXPECT_NEAR(depth.Rate_In, (983 - 492) * 5.0 / 4096 / 0.6 * 12 / 2, 1e-3);
    EXPECT_NEAR(depth.Rate_Cm, depth.Rate_In * 2.54, 1e-3);
    EXPECT_EQ(newDepths, 1); // the first counter reading is no change
    depth.DepthPause = true;
    port.receive("U2000\r000000000\r");
    EXPECT_EQ(newDepths, 1);
    EXPECT_EQ(depth.Depth_Raw_Ft(), 0.0f);
    EXPECT_GT(depth.Depth_Current_Ft(), 2.0f);
}

TEST_F(DepthTest, CyclicPotAddsARodWhenTheStringIsRehooked) {
    depth.Int_CalVal = 10;
    depth.Cyclic = true;
    depth.RodLength_M(1.0f);
    EXPECT_FLOAT_EQ(depth.RodLength_Ft(), 3.28084f);
    openBoard();
    port.receive("U2A00\rU2100\r"); // about 4.2 ft of travel, then back to 0.4 ft on the next rod
    EXPECT_NEAR(depth.Depth_Raw_Ft(), 3.28084 + 0x100 * 5.0 / 4096 / 0.6, 1e-4);
}

// The rate averages over the last readings whether the depth changed or not: it falls to 0 once the probe
// has stood still for Rate_Num2Avg readings, and comes back when it moves again.
TEST_F(DepthTest, RateFallsToZeroWhenTheProbeStops) {
    depth.Int_CalVal = 10;
    depth.Rate_Num2Avg = 3;
    openBoard();
    depth.Push_Begin();
    // 0.6 V a foot: 492 counts (1EC) is 1 ft, 983 (3D7) 2 ft, 1475 (5C3) 3 ft.
    struct Step {
        const char* reading;
        double rateInPerS; // after the reading, one second after the one before
    };
    const double foot = 492 * 5.0 / 4096 / 0.6; // the first reading's depth
    const Step steps[] = {
        {"U21EC", 0.0},                                     // the first reading
        {"U23D7", (983 - 492) * 5.0 / 4096 / 0.6 * 12},     // 1 ft in 1 s
        {"U23D7", (983 - 492) * 5.0 / 4096 / 0.6 * 12 / 2}, // still
        {"U23D7", (983 - 492) * 5.0 / 4096 / 0.6 * 12 / 3}, // still
        {"U23D7", 0.0},                                     // three still readings
        {"U23D7", 0.0},
        {"U25C3", (1475 - 983) * 5.0 / 4096 / 0.6 * 12 / 3}, // moving again
    };
    int i = 0;
    for (const Step& s : steps) {
        port.receive(std::string(s.reading) + "\r00000000" + std::to_string(i % 10) + "\r");
        EXPECT_NEAR(depth.Rate_In, s.rateInPerS, 1e-3) << i;
        EXPECT_NEAR(depth.Rate_Cm, depth.Rate_In * 2.54, 1e-3) << i;
        clock.advanceMs(1000);
        ++i;
    }
    EXPECT_GT(depth.Depth_Current_Ft(), 2 * foot);
}

TEST_F(DepthTest, RateAcrossMidnight) {
    clock.set(DateTime{2016, 4, 12, 23, 59, 59});
    depth.Rate_Num2Avg = 1;
    depth.Init(0, 0, 0, false);
    depth.Push_Begin();
    depth.Emulate_Increment();
    clock.advanceMs(2000); // 00:00:01 the next day
    depth.Emulate_Increment();
    EXPECT_NEAR(depth.Rate_In, 0.1 * 12 / 2, 1e-4);
}

TEST_F(DepthTest, EmulationStepsEverySecondUnlessPaused) {
    struct Case {
        bool metric;
        float stepFt, stepM;
    };
    for (const Case c : {Case{true, 0.328084f, 0.1f}, Case{false, 0.1f, 0.1f / 3.28084f}}) {
        cZEL_Depth d{host, clock, port, timer, {}};
        d.Init(0, 0, 0, false);
        d.Init_Emulate(c.metric);
        EXPECT_EQ(timer.intervalMs, 1000);
        EXPECT_EQ(d.TimeMode, 1);
        EXPECT_NEAR(d.Emulate_DepthDelta_Ft(), c.stepFt, 1e-6);
        EXPECT_NEAR(d.Emulate_DepthDelta_M(), c.stepM, 1e-6);
        timer.fire();
        timer.fire();
        d.Emulate_Pause();
        timer.fire();
        EXPECT_NEAR(d.Depth_Current_Ft(), 2 * c.stepFt, 1e-5);
        d.Emulate_Play();
        timer.fire();
        EXPECT_NEAR(d.Depth_Current_Ft(), 3 * c.stepFt, 1e-5);
    }
}

TEST_F(DepthTest, WithoutHardwareNothingIsSentAndMeasureRaisesTheEventHere) {
    depth.NoHardware = true;
    openBoard();
    depth.Int_Command("M");
    depth.Int_Command("W0400");
    EXPECT_EQ(port.written, "");
    EXPECT_EQ(newDepths, 1);
}

TEST_F(DepthTest, CounterClearTellsTheListeners) {
    openBoard();
    int cleared = 0;
    depth.CounterClear = [&] { ++cleared; };
    depth.Int_CounterClear();
    EXPECT_EQ(port.written, "C\r");
    EXPECT_EQ(cleared, 1);
}

TEST_F(DepthTest, Ad4FramesAfterLineNoise) {
    depth.AD4_CountsPerFt = 100;
    ASSERT_TRUE(depth.Init(2, 2, 0, false));
    EXPECT_EQ(port.settings(), "9600,n,8,1");
    const auto frame = depth_protocol::ad4Frame(32768 + 250);
    port.receive("\x01\x02" + frame.substr(0, 7));
    EXPECT_EQ(newDepths, 0);
    port.receive(frame.substr(7));
    EXPECT_FLOAT_EQ(depth.Depth_Raw_Ft(), 2.5f);
    depth.AD4_Zero();
    port.receive(depth_protocol::ad4Frame(32768 + 350));
    EXPECT_FLOAT_EQ(depth.Depth_Raw_Ft(), 1.0f);
}

TEST_F(DepthTest, HammerBlowsPerInchOverEachAdvance) {
    depth.Int_CalVal = 10; // 0.05 V an inch: 40.96 counts
    openBoard();
    port.receive("NFFF0\r000000000\r");
    depth.Push_Begin();
    const double inch = 4096.0 / 5.0 * 0.05;
    struct Step {
        const char* lines;
        float count;       // blows since the push began
        double blowsPerIn; // after the lines
    };
    const Step steps[] = {
        {"NFFFA\rU2029\r000000001\r", 10, 10 / (0x29 / inch)},
        {"N0004\rU2052\r000000002\r", 20, 10 / ((0x52 - 0x29) / inch)}, // the counter wraps
        {"N0009\r000000003\r", 25, 10 / ((0x52 - 0x29) / inch)},        // no advance: the blows wait
        {"N000E\rU207B\r000000004\r", 30, 10 / ((0x7B - 0x52) / inch)},
    };
    for (const auto& s : steps) {
        SCOPED_TRACE(s.lines);
        port.receive(s.lines);
        EXPECT_FLOAT_EQ(depth.Blows_Count(), s.count);
        EXPECT_NEAR(depth.Blows_In, s.blowsPerIn, 1e-4);
        EXPECT_NEAR(depth.Blows_Cm, s.blowsPerIn / 2.54, 1e-4);
    }
    depth.PF_Offset = -0.25f;
    EXPECT_FLOAT_EQ(depth.Depth_PF_Ft(), depth.Depth_Current_Ft() - 0.25f);
    depth.Push_Begin();
    EXPECT_EQ(depth.Blows_Count(), 0.0f);
    EXPECT_EQ(depth.Blows_In, 0.0f);
}

TEST_F(DepthTest, Ad4TimerStartsFromZero) {
    depth.AD4_CountsPerFt = 100;
    ASSERT_TRUE(depth.Init(2, 2, 0, false));
    port.receive(depth_protocol::ad4Frame(32768 + 250));
    depth.AD4_TimerEnable(true);
    EXPECT_EQ(depth.Depth_Raw_Ft(), 0.0f);
    depth.AD4_TimerEnable(false);
    EXPECT_EQ(port.written, "T1\rT0\r");
}

TEST_F(DepthTest, UnknownFramingSourcesSaySoInsteadOfReporting) {
    EXPECT_FALSE(depth.Init(3, 1, 0, false));
    EXPECT_FALSE(depth.Init(4, 1, 0, false));
    EXPECT_EQ(host.messages(),
              (std::vector<std::string>{"Depth source PCU is not supported by this program.",
                                        "Depth source CAN is not supported by this program."}));
    EXPECT_FALSE(depth.StatusOK);
}

} // namespace
} // namespace zel
