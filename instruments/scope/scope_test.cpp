#include "instruments/scope/fake_visa.h"
#include "instruments/scope/scope.h"

#include "common/testing/recording_host.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <numeric>

namespace zel {
namespace {

using testing::FakeVisa;
using testing::RecordingHost;

struct ScopeTest : ::testing::Test {
    FakeClock clock{DateTime{2016, 4, 12, 15, 45, 10}};
    RecordingHost host{&clock};
    FakeVisa visa;
    cZEL_Scope scope{&visa, host, clock};

    void SetUp() override {
        visa.replies = {{"*IDN?", "TEKTRONIX,TDS 3054,0,CF:91.1CT\n"},
                        {":ETHER:NAME?", "\"ZELSCOPE07\"\n"},
                        {":TRIG:A:LEV?", "4.0E-1\n"}};
    }
    void connect() {
        scope.Init("10.0.0.5");
        ASSERT_TRUE(scope.Connected);
        visa.writes.clear();
        host.clear();
    }
};

// A 2-byte big-endian block of the given raw levels.
std::string block(const std::vector<std::uint16_t>& raw) {
    std::string bytes;
    for (auto v : raw)
        bytes += static_cast<char>(v >> 8), bytes += static_cast<char>(v & 0xFF);
    const std::string n = std::to_string(bytes.size());
    return "#" + std::to_string(n.size()) + n + bytes + "\n";
}

TEST_F(ScopeTest, InitFallsBackToTheGatewayAndResetsStatusFirst) {
    visa.missingResources = {"TCPIP::10.0.0.5::INSTR"};
    scope.Init("10.0.0.5");
    EXPECT_TRUE(scope.Connected);
    EXPECT_EQ(visa.opened,
              (std::vector<std::string>{"TCPIP::10.0.0.5::INSTR", "TCPIP::10.0.0.5::gpib0,2::INSTR"}));
    const std::vector<std::string> first(visa.writes.begin(), visa.writes.begin() + 10);
    EXPECT_EQ(
        first,
        (std::vector<std::string>{
            ":DESE 0", "*ESE 0", "*SRE 0", "*CLS", "CLEARM",
            ":MESS:BOX 50,200,500,250;SHOW \"ZEL comm established, loading default settings...\";STATE ON",
            "*IDN?", ":ETHER:NAME?", ":DATE \"2016-04-12\"", ":TIME \"15:45:10\""}));
    EXPECT_EQ(scope.ScopeName, "ZELSCOPE07");
    EXPECT_EQ(scope.ScopeNumber(), "07");
    EXPECT_EQ(scope.IdnFields().at(0), "TEKTRONIX");
    EXPECT_EQ(scope.VertScaleLadder.back(), 1.0f);
    EXPECT_EQ(scope.RecordLength, 500);
    EXPECT_TRUE(host.messages().empty());
}

TEST_F(ScopeTest, InitFailures) {
    visa.replies[":ETHER:NAME?"] = "\"abc\"\n";
    scope.Init("10.0.0.5");
    EXPECT_EQ(scope.ScopeName, ":ZEL0000:*");
    EXPECT_EQ(host.messages(),
              std::vector<std::string>{"Set scope name on scope (utility > system i/o > ethernet setting"});

    cZEL_Scope absent(nullptr, host, clock);
    host.clear();
    absent.Init("10.0.0.5");
    EXPECT_FALSE(absent.Connected);
    EXPECT_EQ(host.messages(), std::vector<std::string>{"Err 53: VISA (scope communication) not found"});

    FakeVisa none;
    none.missingResources = {"TCPIP::10.0.0.9::INSTR", "TCPIP::10.0.0.9::gpib0,2::INSTR"};
    cZEL_Scope missing(&none, host, clock);
    host.clear();
    missing.Init("10.0.0.9");
    EXPECT_FALSE(missing.Connected);
    EXPECT_EQ(host.messages(), std::vector<std::string>{"Scope not found."});
    std::int32_t status = 0;
    missing.Tek_Wave_Acq(false, true, status);
    missing.Tek_Lock(true);
    EXPECT_EQ(status, 2);
    EXPECT_TRUE(none.writes.empty());
}

TEST_F(ScopeTest, ErrorsNameTheStatusAndTheRoutine) {
    connect();
    visa.failWrites = visa::VI_ERROR_TMO;
    scope.Tek_Lock(true);
    EXPECT_EQ(host.messages(), std::vector<std::string>{"Scope err: status " +
                                                        std::to_string(visa::VI_ERROR_TMO) + " in Lock"});
}

TEST_F(ScopeTest, OperationsSendTheirCommandsExactly) {
    connect();
    visa.replies["HORizontal:DELay:TIMe?"] = "6.5E-7\n";
    visa.replies["ACQ:NUMAC?"] = "12\n";
    std::int32_t acquisitions = 0;
    struct Case {
        std::function<void()> run;
        std::vector<std::string> sent;
    };
    const Case cases[] = {
        {[&] { scope.Tek_TriggerLevel("0.02"); }, {":CH1:SCA 0.02"}},
        {[&] { scope.Tek_StopAfter(true); }, {":ACQ:STOPA SEQ"}},
        {[&] { scope.Tek_State_Run(); }, {":ACQ:STATE RUN"}},
        {[&] { scope.Tek_State_Stop(); }, {":ACQ:STATE STOP"}},
        {[&] { scope.Tek_NumAcq_Get(acquisitions); }, {"ACQ:NUMAC?"}},
        {[&] { scope.Tek_DelayTime(6.5e-7f, true); }, {"HORizontal:DELay:TIMe?", ":HOR:DEL:TIM 6.5E-07"}},
        {[&] { scope.Tek_SaveWaveInternal("CH2", "REF1"); }, {":SAV:WAVE CH2,REF1"}},
        {[&] { scope.Tek_MessageClear(); }, {":MESS:CLEAR;STATE OFF"}},
        {[&] { scope.Tek_Lock(true); }, {"LOC ALL"}},
        {[&] { scope.Tek_DataSource("CH1"); }, {":DATA:SOU CH1"}},
        {[&] { scope.Tek_VertScale("CH2", 0.2f); }, {":CH2:SCA 0.2"}},
        {[&] { scope.Tek_ChOn("CH1", true); }, {":SELECT:CH1 ON"}},
        {[&] { scope.Tek_ChControl("CH1"); }, {":SELECT:CONTRO CH1"}},
        {[&] { scope.PhosphMode(true); }, {":CH2:IMP MEG", ":HOR:MAI:SCA 200E-6", ":HOR:DEL:TIM 792E-6"}},
        {[&] { scope.PhosphMode(false); }, {":CH2:IMP FIF", ":HOR:MAI:SCA 40E-9", ":HOR:DEL:TIM 6.5E-07"}},
        {[&] { scope.Tek_TriggerView(); },
         {"HORizontal:DELay:TIMe?", ":SELECT:CONTRO CH1", ":HOR:DEL:TIM 6.5E-07", ":SELECT:CONTRO CH2",
          ":SELECT:CH1 OFF", ":HOR:DEL:TIM 6.5E-07"}},
    };
    for (const auto& c : cases) {
        visa.writes.clear();
        c.run();
        EXPECT_EQ(visa.writes, c.sent);
    }
    EXPECT_EQ(acquisitions, 12);
    EXPECT_EQ(scope.VertScale, 0.2f);
    EXPECT_EQ(host.messages(), std::vector<std::string>{"Displaying trigger channel. Ok to exit this mode"});
}

TEST_F(ScopeTest, AverageRoundsUpToAPowerOfTwoWithin2To512) {
    connect();
    const std::pair<int, int> cases[] = {{1, 2},    {0, 2},     {3, 4},     {64, 64},
                                         {65, 128}, {100, 128}, {513, 512}, {1000, 512}};
    for (auto [in, out] : cases) {
        std::int32_t count = in;
        scope.Tek_Average(count);
        EXPECT_EQ(count, out) << in;
        EXPECT_EQ(visa.writes.back(), ":ACQ:MOD AVE;NUMAV " + std::to_string(out));
    }
}

TEST_F(ScopeTest, BigTriggerWinsOverLittle) {
    connect();
    scope.Tek_BigLittleTrig(true, true);
    EXPECT_EQ(visa.writes, (std::vector<std::string>{":TRIGGER:A:EDGE:SOURCE CH1;COUPLING LFRej",
                                                     ":CH1:SCA 1.0", ":TRIGGER:A:LEVEL 3.0"}));
    EXPECT_TRUE(scope.BigTrigger && scope.LittleTrigger);
    scope.Tek_Default();
    EXPECT_NE(std::find(visa.writes.begin(), visa.writes.end(),
                        ":CH1:BAN FUL;COUP DC;DESK 0;IMP MEG;INV OFF;OFFS 0;POS -3.5;SCA 1;YUNIT \"V\""),
              visa.writes.end());
}

TEST_F(ScopeTest, Trig50PercentWarnsOnlyWhenAskedAndLow) {
    connect();
    visa.replies[":TRIG:A:LEV?"] = "3.0E-2\n";
    scope.Tek_Trig50Percent(true);
    EXPECT_TRUE(host.messages().empty());
    scope.Tek_Trig50Percent(false);
    EXPECT_EQ(host.messages(),
              std::vector<std::string>{"Trigger level is very low or not present. Investigate problem."});
    EXPECT_EQ(visa.writes.front(), ":TRIG:A:SETL");
}

TEST_F(ScopeTest, ScaleStepMovesAlongTheLadder) {
    connect();
    struct Case {
        float from;
        int steps;
        float minMv;
        const char* sent; // nullptr: nothing sent
    };
    const Case cases[] = {
        {0.05f, -3, 2, ":CH2:SCA 0.5"},   {1.0f, -3, 2, nullptr},         {0.05f, 2, 2, ":CH2:SCA 0.01"},
        {0.005f, 2, 2, ":CH2:SCA 0.002"}, {0.002f, 1, 2, nullptr},        {0.005f, 3, 1, ":CH2:SCA 0.001"},
        {0.03f, 0, 2, nullptr},           {0.03f, -1, 2, ":CH2:SCA 0.1"}, {5.0f, 1, 2, ":CH2:SCA 0.5"},
    };
    for (const auto& c : cases) {
        visa.writes.clear();
        scope.VertScale = c.from;
        scope.MinVertScale_mV = c.minMv;
        scope.Tek_ScaleStep(c.steps);
        if (c.sent)
            EXPECT_EQ(visa.writes, std::vector<std::string>{c.sent}) << c.from << " " << c.steps;
        else
            EXPECT_TRUE(visa.writes.empty()) << c.from << " " << c.steps;
    }
}

// Connected follows the session's link: false while it is broken (operations are still tried, since the
// next call reconnects), true again once a call got through.
TEST_F(ScopeTest, ConnectedFollowsTheLink) {
    connect();
    std::int32_t sixteen = 16;
    scope.Tek_Average(sixteen);
    visa.link = visa::LinkState::Broken;
    visa.failWrites = visa::VI_ERROR_CONN_LOST;
    std::int32_t acquisitions = 0;
    scope.Tek_NumAcq_Get(acquisitions);
    EXPECT_FALSE(scope.Connected);
    EXPECT_TRUE(scope.SessionOpen());
    ASSERT_EQ(host.messages().size(), 1u);
    EXPECT_NE(host.messages()[0].find(std::to_string(visa::VI_ERROR_CONN_LOST)), std::string::npos)
        << host.messages()[0];

    // The scope comes back (perhaps power-cycled): the call goes through and the program's setup follows,
    // the default one and then what the program had changed.
    visa.link = visa::LinkState::Connected;
    visa.failWrites = visa::VI_SUCCESS;
    visa.writes.clear();
    scope.VertScale = 0.2f;
    scope.HorizontalDelay = 6.5e-7f;
    scope.Tek_State_Run();
    EXPECT_TRUE(scope.Connected);
    EXPECT_EQ(host.progressTexts(), std::vector<std::string>{"Scope connection restored."});
    ASSERT_GT(visa.writes.size(), 4u);
    EXPECT_EQ(visa.writes.front(), ":ACQ:STATE RUN");
    const auto sent = [&](const std::string& command) {
        return std::find(visa.writes.begin(), visa.writes.end(), command) != visa.writes.end();
    };
    EXPECT_TRUE(sent(":DATA:ENC RIB;SOU CH2;STAR 1;STOP 500;WID 2"));
    EXPECT_TRUE(sent(":DESE 1"));
    const std::vector<std::string> last(visa.writes.end() - 3, visa.writes.end());
    EXPECT_EQ(last,
              (std::vector<std::string>{":ACQ:MOD AVE;NUMAV 16", ":CH2:SCA 0.2", ":HOR:DEL:TIM 6.5E-07"}));
    EXPECT_EQ(scope.RecordLength, 500);

    scope.Tek_Close();
    EXPECT_FALSE(scope.Connected);
    EXPECT_FALSE(scope.SessionOpen());
}

struct TransferTest : ScopeTest {
    std::vector<std::uint16_t> raw = std::vector<std::uint16_t>(500, 0);
    void transfer(bool autoScale) {
        visa.replies["Curve?"] = block(raw);
        visa.replies["WFMPRE:YZERO?"] = "0\n";
        visa.replies["WFMPRE:YOFF?"] = "0\n";
        visa.replies["WFMPRE:YMULT?"] = "1.0E-3\n";
        scope.Tek_Wave_Transfer(false, autoScale);
    }
};

TEST_F(TransferTest, SmoothsInPlaceAndSubtractsTheEarlyBaseline) {
    connect();
    raw[99] = 35; // point 100
    transfer(false);
    EXPECT_EQ(std::vector<std::string>(visa.writes.begin(), visa.writes.begin() + 4),
              (std::vector<std::string>{"Curve?", "WFMPRE:YZERO?", "WFMPRE:YOFF?", "WFMPRE:YMULT?"}));
    ASSERT_EQ(scope.Waveform.size(), 501u);
    const auto& w = scope.Waveform;
    // Each window already holds the smoothed points before it.
    const double w98 = -3.0 * 35 / 35, w99 = (12 * w98 + 12 * 35) / 35,
                 w100 = (-3 * w98 + 12 * w99 + 17 * 35) / 35;
    EXPECT_NEAR(w[98], w98, 1e-4);
    EXPECT_NEAR(w[99], w99, 1e-4);
    EXPECT_NEAR(w[100], w100, 1e-4);
    EXPECT_NEAR(w[97], 0.0, 1e-6);
}

TEST_F(TransferTest, BaselineAndTail) {
    connect();
    for (int i = 0; i < 500; ++i)
        raw[i] = static_cast<std::uint16_t>(100 + (i * 37) % 11 + (i > 200 ? 400 : 0));
    transfer(false);
    const auto& w = scope.Waveform;
    const double early = std::accumulate(w.begin() + 2, w.begin() + 26, 0.0) / 24;
    EXPECT_NEAR(early, 0.0, 1e-4);
    EXPECT_NEAR(w[300], 400.0, 12.0);
    for (int i = 497; i <= 500; ++i)
        EXPECT_FLOAT_EQ(w[i], 0.8f * w[i - 1]) << i;
}

TEST_F(TransferTest, AutoScaleFromThePeakInSignedCounts) {
    connect();
    struct Case {
        std::uint16_t level;
        int at; // 1-based point
        const char* sent;
    };
    const Case cases[] = {
        {30000, 250, ":CH2:SCA 0.5"},
        {20000, 250, ":CH2:SCA 0.2"},
        {14000, 250, ":CH2:SCA 0.1"},
        {30000, 500, ":CH2:SCA 0.01"},  // the last point does not count; the rest sits low: two rungs up
        {0x8000, 250, ":CH2:SCA 0.01"}, // -32768, not +32768
        {0xFFFF, 250, nullptr},         // -1: 3.5 divisions above the zero line, no step
        {static_cast<std::uint16_t>(-12000), 250, ":CH2:SCA 0.02"}, // between one and two divisions
    };
    for (const auto& c : cases) {
        std::fill(raw.begin(), raw.end(), static_cast<std::uint16_t>(-22000));
        raw[c.at - 1] = c.level;
        scope.VertScale = 0.05f;
        scope.VertPos = -3.5f;
        visa.writes.clear();
        transfer(true);
        const std::vector<std::string> sent(visa.writes.begin() + 4, visa.writes.end());
        if (c.sent)
            EXPECT_EQ(sent, std::vector<std::string>{c.sent}) << c.level << "@" << c.at;
        else
            EXPECT_TRUE(sent.empty()) << c.level;
    }
}

TEST_F(TransferTest, ShortOrBadBlockIsReportedAndLeavesNoRecord) {
    connect();
    scope.Waveform = {1.0f};
    visa.replies["Curve?"] = "#41000" + std::string(10, '\0') + "\n";
    EXPECT_FALSE(scope.Tek_Wave_Transfer(false, false));
    ASSERT_EQ(host.messages().size(), 1u);
    EXPECT_EQ(host.messages()[0].rfind("Scope err: short block", 0), 0u) << host.messages()[0];
    EXPECT_NE(host.messages()[0].find(" in Wave_Transfer"), std::string::npos);
    EXPECT_TRUE(scope.Waveform.empty());
}

struct AcqTest : ScopeTest {
    int esrPolls = 0;
    int completeAfter = 1 << 30;
    void SetUp() override {
        ScopeTest::SetUp();
        visa.replyFor = [this](const std::string& command) -> std::string {
            if (command != "*ESR?") return {};
            return ++esrPolls >= completeAfter ? "1\n" : "0\n";
        };
    }
};

TEST_F(AcqTest, CompletesOnOperationCompleteAndTransfers) {
    connect();
    completeAfter = 3;
    visa.replies["Curve?"] = block(std::vector<std::uint16_t>(500, 5));
    visa.replies["WFMPRE:YZERO?"] = visa.replies["WFMPRE:YOFF?"] = "0\n";
    visa.replies["WFMPRE:YMULT?"] = "1E-3\n";
    std::int32_t status = 0;
    scope.Tek_Wave_Acq(false, false, status);
    EXPECT_EQ(status, 1);
    EXPECT_EQ(std::vector<std::string>(visa.writes.begin(), visa.writes.begin() + 6),
              (std::vector<std::string>{"*OPC", "*ESR?", "*ESR?", "*ESR?", "*CLS", "Curve?"}));
    EXPECT_EQ(host.yields(), 3);
    EXPECT_EQ(scope.Waveform.size(), 501u);
}

// A transfer that went wrong after operation-complete is status 2, leaves no waveform (never the previous
// depth's record or a flat one) and is said once.
TEST_F(AcqTest, AFailedTransferIsStatusTwoAndLeavesNoWaveform) {
    struct Case {
        const char* what;
        std::string curve, ymult, yzero;
        int recordLength;
        const char* said;
    };
    const std::string good = block(std::vector<std::uint16_t>(500, 5));
    const Case cases[] = {
        {"short block", "#41000" + std::string(400, '\x01') + "\n", "1E-3\n", "0\n", 500, "short block"},
        {"record shorter than the data range", block(std::vector<std::uint16_t>(499, 5)), "1E-3\n", "0\n",
         500, "record of 499 points where 500"},
        {"record longer than the data range", good, "1E-3\n", "0\n", 250, "record of 500 points where 250"},
        {"empty YMULT", good, "\n", "0\n", 500, "no number in the reply to WFMPRE:YMULT?"},
        {"zero YMULT", good, "0\n", "0\n", 500, "the vertical multiplier is 0"},
        {"YMULT beyond a single", good, "1E39\n", "0\n", 500, "no number in the reply to WFMPRE:YMULT?"},
        {"YZERO beyond a single", good, "1E-3\n", "-1E39\n", 500, "no number in the reply to WFMPRE:YZERO?"},
        {"YMULT beyond any voltage", good, "3E38\n", "0\n", 500, "beyond any voltage"},
    };
    for (const Case& c : cases) {
        connect();
        host.clear();
        esrPolls = 0;
        completeAfter = 1;
        scope.RecordLength = c.recordLength;
        scope.Waveform.assign(501, 7.0f); // the previous depth's record
        visa.replies["Curve?"] = c.curve;
        visa.replies["WFMPRE:YZERO?"] = c.yzero;
        visa.replies["WFMPRE:YOFF?"] = "0\n";
        visa.replies["WFMPRE:YMULT?"] = c.ymult;
        std::int32_t status = 0;
        scope.Tek_Wave_Acq(false, false, status);
        EXPECT_EQ(status, 2) << c.what;
        EXPECT_TRUE(scope.Waveform.empty()) << c.what;
        ASSERT_EQ(host.messages().size(), 1u) << c.what;
        EXPECT_NE(host.messages()[0].find(c.said), std::string::npos) << c.what << ": " << host.messages()[0];
    }
    // The same scope with a good transfer afterwards.
    visa.replies["WFMPRE:YZERO?"] = "0\n";
    visa.replies["WFMPRE:YMULT?"] = "1E-3\n";
    visa.replies["Curve?"] = good;
    scope.RecordLength = 500;
    completeAfter = 1;
    esrPolls = 0;
    std::int32_t status = 0;
    scope.Tek_Wave_Acq(false, false, status);
    EXPECT_EQ(status, 1);
    EXPECT_EQ(scope.Waveform.size(), 501u);
}

TEST_F(AcqTest, GivesUpAfterFifteenSecondsEvenAcrossMidnight) {
    for (const DateTime start : {DateTime{2016, 4, 12, 15, 45, 10}, DateTime{2016, 4, 12, 23, 59, 55}}) {
        clock.set(start);
        connect();
        esrPolls = 0;
        completeAfter = 2000; // an endless wait would end here with status 1
        const auto t0 = clock.monotonicMs();
        std::int32_t status = 0;
        scope.Tek_Wave_Acq(false, false, status);
        EXPECT_EQ(status, 2) << start.hour;
        EXPECT_GT(clock.monotonicMs() - t0, 15000);
        EXPECT_LE(clock.monotonicMs() - t0, 16100);
    }
}

TEST_F(AcqTest, AFailingScopeIsReportedOncePerWait) {
    connect();
    visa.replyFor = nullptr; // no reply to *ESR?: every poll fails
    std::int32_t status = 0;
    scope.Tek_Wave_Acq(false, false, status);
    EXPECT_EQ(status, 2);
    EXPECT_EQ(host.messages().size(), 1u);
}

} // namespace
} // namespace zel
