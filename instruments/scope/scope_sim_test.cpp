// cZEL_Scope over loopback against zel-sim scope: the exact command sequence the simulator received, a
// transfer checked against the simulator's own record, and a simulator that freezes or restarts.

#include "instruments/platform/qt_byte_stream.h"
#include "instruments/platform/qt_test_app.h"
#include "instruments/scope/scope.h"
#include "instruments/visa/ieee_block.h"
#include "instruments/visa/net_visa.h"
#include "tests/e2e/field_sim.h"

#include "common/number_text.h"
#include "common/testing/recording_host.h"

#include <gtest/gtest.h>

#include <chrono>
#include <fstream>

namespace zel {
namespace {

using namespace zel::visa;

// Wall time that runs ten times fast, so the 15-second acquisition limit passes in a second and a half of
// real I/O time-outs.
class FastClock final : public Clock {
public:
    DateTime now() const override { return DateTime{2016, 4, 12, 15, 45, 10}; }
    double secondsSinceMidnight() const override { return 1000.0 + elapsedMs() / 100.0; }
    std::int64_t monotonicMs() const override { return elapsedMs() * 10; }

private:
    std::int64_t elapsedMs() const {
        return std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() - t0_)
            .count();
    }
    std::chrono::steady_clock::time_point t0_ = std::chrono::steady_clock::now();
};

std::vector<std::string> lines(const std::string& path) {
    std::ifstream in(path);
    std::vector<std::string> out;
    for (std::string l; std::getline(in, l);)
        out.push_back(l);
    return out;
}

struct ScopeSim : ::testing::Test {
    std::string transcript = ::testing::TempDir() + "scope_sim_" + std::to_string(::getpid()) + ".txt";
    std::unique_ptr<e2e::SimChild> sim;
    std::unique_ptr<NetVisa> visa;
    FakeClock fixed{DateTime{2016, 4, 12, 15, 45, 10}};
    FastClock fast;
    testing::RecordingHost host;

    void start(int sweepMs, int portmapPort = 0) {
        sim = std::make_unique<e2e::SimChild>(
            ZEL_SIM,
            std::vector<std::string>{"scope", "--portmap-port", std::to_string(portmapPort), "--sweep-ms",
                                     std::to_string(sweepMs), "--transcript", transcript, "--depth", "12"});
        ASSERT_TRUE(sim->running());
    }
    void SetUp() override { platform::ensureQtTestApp(); }
    void makeVisa(int timeoutMs) {
        visa = std::make_unique<NetVisa>(
            platform::qtByteStreamFactory(),
            NetVisaOptions{static_cast<std::uint16_t>(sim->port("scope", "portmap")), timeoutMs});
    }
};

TEST_F(ScopeSim, InitAndDefaultSendExactlyThisSequence) {
    start(0);
    makeVisa(2000);
    cZEL_Scope scope(visa.get(), host, fixed);
    scope.Init("127.0.0.1");
    ASSERT_TRUE(scope.Connected);
    EXPECT_TRUE(host.messages().empty());
    EXPECT_EQ(scope.ScopeName, "ZELSCOPE07");
    const std::vector<std::string> expected = {
        ":DESE 0",
        "*ESE 0",
        "*SRE 0",
        "*CLS",
        "CLEARM",
        ":MESS:BOX 50,200,500,250;SHOW \"ZEL comm established, loading default settings...\";STATE ON",
        "*IDN?",
        ":ETHER:NAME?",
        ":DATE \"2016-04-12\"",
        ":TIME \"15:45:10\"",
        ":SELECT:CH1 OFF;CH2 ON;REF1 OFF; REF2 OFF; REF3 OFF; REF4 OFF; MATH OFF",
        ":SELECT:CONTROL CH2",
        ":CH1:BAN FUL;COUP DC;DESK 0;IMP MEG;INV OFF;OFFS 0;POS -3.5;SCA 0.05;YUNIT \"V\"",
        ":CH2:BAN FUL;COUP DC;DESK 0;IMP FIF;INV ON;OFFS 0;POS -3.5;YUNIT \"V\"",
        ":CH2:SCA 0.05",
        ":CURS:FUNC OFF;",
        ":DATA:ENC RIB;SOU CH2;STAR 1;STOP 500;WID 2",
        ":DIS:FORM YT;GRA GRI;PERS 0.05;CLOCK 1",
        ":DIS:INTENSIT:BACKL HIGH;WAVE 100",
        ":DIS:STY:DOT OFF",
        ":DIS:COL:PALE:REG NORM",
        ":DISPLAY:XY:MODE OFF;YCHANNEL CH2;YREF OFF",
        ":HEAD OFF",
        ":HORIZONTAL:RESOLUTION LOW;TRIGGER:POSITION 0.0E0",
        ":HOR:DEL:STATE ON",
        ":HOR:MAI:SCA 40E-9",
        ":HOR:RECORDL 500",
        ":HOR:DEL:TIM 600E-9",
        ":MEASUREMENT:MEAS1:TYPE FREQUENCY;SOURCE1 CH1;STATE 0",
        ":MEASUREMENT:MEAS2:TYPE PK2PK;SOURCE1 CH1;STATE 0",
        ":MEASUREMENT:MEAS3:TYPE FREQUENCY;SOURCE1 CH1;STATE 0",
        ":MEASUREMENT:MEAS4:TYPE FREQUENCY;SOURCE1 CH1;STATE 0",
        ":MEASUREMENT:IMMED:TYPE PERIOD;SOURCE1 CH1",
        ":MEASUREMENT:GATING OFF;METHOD HISTOGRAM;REFLEVEL:METHOD PERCENT;ABSOLUTE:HIGH 0.0E0;LOW 0.0E0;MID "
        "0.0E0",
        ":MEASUREMENT:REFLEVEL:PERCENT:HIGH 9.0E1;LOW 1.0E1;MID 5.0E1",
        ":CURSOR:FUNCTION OFF",
        ":CURSOR: mode TRACK",
        ":CURSOR:VBARS:UNITS \"s\";POSITION1 5.336E-7;POSITION2 6.536E-7;SELECT CURSOR1",
        ":CURSOR:HBARS:POSITION1 2.35E-1;POSITION2 3.48E-1;SELECT CURSOR1;UNITS \"V\"",
        ":ZOOm:STATE 0;HORIZONTAL:SCALE 2.0E-7;POSITION 5.0E1",
        ":TRIGGER:A:MODE NORMAL;TYPE EDGE;HOLDOFF:TIME 2.508E-7",
        ":TRIGGER:A:EDGE:SOURCE CH1;COUPLING DC;SLOPE RISE",
        ":TRIGGER:A:COMMUNICATION:STANDARD DS0SINGLE",
        ":TRIGGER:A:VIDEO:STANDARD NTSC;SOURCE CH1;FIELD ALLLINES",
        ":TRIGGER:A:LEVEL 0.1",
        ":TRIGGER:B:STATE 0;BY TIME;EVENTS:COUNT 1",
        ":TRIGGER:B:TIME 1.32E-8;LEVEL 1.0E-3;EDGE:SOURCE CH2;COUPLING DC;SLOPE RISE",
        ":DESE 1",
        "*ESE 1",
        "*SRE 255",
        "LOC NON",
        ":ACQ:MOD AVE;NUMAV 64",
        ":TRIG:A:SETL",
        ":TRIG:A:LEV?",
        ":ACQ:STOPA RUNST",
        ":ACQ:STATE RUN",
    };
    EXPECT_EQ(lines(transcript), expected);
    scope.Tek_Close();
}

TEST_F(ScopeSim, TransferMatchesTheSimulatorsRecord) {
    start(0);
    makeVisa(2000);
    cZEL_Scope scope(visa.get(), host, fixed);
    scope.Init("127.0.0.1");
    ASSERT_TRUE(scope.Connected);
    scope.Tek_Wave_Info();
    EXPECT_EQ(scope.RecordLength, 500);
    EXPECT_NEAR(scope.Wave_DeltaX, 0.8e-9, 1e-15);
    std::int32_t status = 0;
    scope.Tek_Wave_Acq(false, false, status);
    ASSERT_EQ(status, 1);
    ASSERT_EQ(scope.Waveform.size(), 501u);

    // The simulator keeps the record until its next acquisition: read it again, unprocessed.
    std::uint32_t written = 0;
    std::string reply;
    ASSERT_EQ(visa->write(scope.Instr, "CURVE?", written), VI_SUCCESS);
    ASSERT_GE(visa->read(scope.Instr, reply, 4096), VI_SUCCESS);
    BlockParser block(4096);
    block.feed(reply);
    block.finish();
    ASSERT_TRUE(block.complete());
    ASSERT_EQ(block.data().size(), 1000u);
    std::vector<double> mv(501, 0.0);
    for (int i = 1; i <= 500; ++i) {
        const auto hi = static_cast<unsigned char>(block.data()[2 * i - 2]);
        const auto lo = static_cast<unsigned char>(block.data()[2 * i - 1]);
        const auto level = static_cast<std::int16_t>(hi << 8 | lo);
        mv[i] = ((level - scope.YOff) * scope.YMult + scope.YZero) * 1000.0;
    }
    double base = 0;
    for (int i = 2; i <= 25; ++i)
        base += mv[i] / 24;
    // Away from the four channels' sharp rises the smoothing changes nothing beyond the noise.
    int compared = 0;
    for (int i = 3; i <= 495; ++i) {
        if (std::abs(i - 50) < 6 || std::abs(i - 150) < 6 || std::abs(i - 250) < 6 || std::abs(i - 350) < 6)
            continue;
        EXPECT_NEAR(scope.Waveform[i], mv[i] - base, 1.0) << i;
        ++compared;
    }
    EXPECT_GT(compared, 400);
    const float peak = *std::max_element(scope.Waveform.begin(), scope.Waveform.end());
    EXPECT_GT(peak, 5.0f) << "the first channel's pulse is there";
    scope.Tek_Close();
}

TEST_F(ScopeSim, FrozenSimulatorEndsTheWaitAndARestartedOneConnects) {
    start(1000); // 64 averages of a second each: the acquisition never completes in this test
    makeVisa(300);
    const int portmap = sim->port("scope", "portmap");
    cZEL_Scope scope(visa.get(), host, fast);
    scope.Init("127.0.0.1");
    ASSERT_TRUE(scope.Connected);
    host.clear();

    sim->stop();
    std::int32_t status = 0;
    scope.Tek_Wave_Acq(false, true, status);
    EXPECT_EQ(status, 2);
    EXPECT_EQ(host.messages(),
              std::vector<std::string>{"Scope err: " + describeStatus(VI_ERROR_TMO) + " in Wave_Acq"});

    sim->kill();
    start(0, portmap);
    cZEL_Scope again(visa.get(), host, fixed);
    again.Init("127.0.0.1");
    EXPECT_TRUE(again.Connected);
    again.Tek_Wave_Acq(false, false, status);
    EXPECT_EQ(status, 1);
}

} // namespace
} // namespace zel
