#include "acquisition/reference.h"

#include "acquisition/fakes.h"
#include "common/testing/recording_host.h"
#include "waveform/synthetic_waves.h"

#include <gtest/gtest.h>

namespace zel::acq {
namespace {

using zel::testing::RecordingHost;

TEST(REAreaGate, LimitsOfBothFamilies) {
    const GateOptions standard{};
    const GateOptions exempt{.noAreaCheck = true};
    const GateOptions diagnostic{.diagnosticRE = true};
    const GateOptions low{.lowOutputRE = true};
    const GateOptions lowOverridden{.lowOutputRE = true, .overrideRE = true};
    const struct {
        GateOptions options;
        float area;
        AreaVerdict verdict;
        const char* message;
    } cases[] = {
        {standard, 4999.9f, AreaVerdict::Block,
         "RE area is below 5000 pVs. Acquisition will NOT be allowed to continue."},
        {standard, 5000.0f, AreaVerdict::Warn,
         "RE area is below 7000 pVs. Acquisition will be allowed to continue, but RE suspect."},
        {standard, 7000.0f, AreaVerdict::Pass, nullptr},
        {standard, 20000.0f, AreaVerdict::Pass, nullptr},
        {standard, 20001.0f, AreaVerdict::Warn,
         "RE area is above 20000 pVs. Acquisition will be allowed to continue, but RE suspect."},
        {exempt, 100.0f, AreaVerdict::Pass, nullptr},
        {diagnostic, 100.0f, AreaVerdict::Pass, nullptr},
        {low, 899.0f, AreaVerdict::Block,
         "RE area is below 900 pVs. Acquisition will NOT be allowed to continue."},
        {low, 900.0f, AreaVerdict::Warn,
         "RE area is below 1,200 pVs. Acquisition will be allowed to continue, but RE suspect."},
        {low, 1200.0f, AreaVerdict::Pass, nullptr},
        {low, 3000.0f, AreaVerdict::Pass, nullptr},
        {low, 3000.5f, AreaVerdict::Warn,
         "RE area is above 3,000 pVs. Acquisition will be allowed to continue, but RE suspect."},
        {lowOverridden, 10.0f, AreaVerdict::Pass, nullptr},
    };
    for (const auto& c : cases) {
        const AreaGateResult r = CheckREArea(c.area, c.options);
        EXPECT_EQ(r.verdict, c.verdict) << c.area;
        EXPECT_STREQ(r.message ? r.message : "", c.message ? c.message : "") << c.area;
    }
}

TEST(REPanel, SharesAndTargetsPerMode) {
    // Mode 0: CH1 at 26.4 % is on target (|3.4| <= 3.45), 26.5 % is off.
    REPanel p = MakeREPanel(0, {26.4f, 38.0f, 23.6f, 12.0f}, 8.0f);
    EXPECT_EQ(p.targetText, "Target: 23%, 38%, 27%, 12%");
    EXPECT_NEAR(p.value[0], 26.4, 1e-4);
    EXPECT_FALSE(p.offTarget[0]);
    EXPECT_FALSE(p.ratioShown);
    p = MakeREPanel(0, {26.5f, 38.0f, 23.5f, 12.0f}, 8.0f);
    EXPECT_TRUE(p.offTarget[0]);

    // Modes 1 and 21: the ratio first, then CH2..CH4 as shares of their own sum (CH1 left out).
    for (int mode : {1, 21}) {
        p = MakeREPanel(mode, {1000.0f, 40.0f, 45.0f, 15.0f}, 8.5f);
        EXPECT_EQ(p.targetText, "Target: 8.0, 40%, 45%, 15%");
        EXPECT_FLOAT_EQ(p.value[0], 8.5);
        EXPECT_NEAR(p.value[1], 40.0, 1e-4);
        EXPECT_FALSE(p.ratioOffTarget);
        EXPECT_TRUE(MakeREPanel(mode, {1, 40, 45, 15}, 8.51f).offTarget[0]);
        EXPECT_FALSE(MakeREPanel(mode, {1, 40, 45, 15}, 7.5f).ratioOffTarget);
    }
    p = MakeREPanel(3, {50.0f, 30.0f, 15.0f, 5.0f}, 0.0f);
    EXPECT_EQ(p.targetText, "Target: 50%, 30%, 15%, 5%");
    EXPECT_FALSE(p.offTarget[3]);

    p = MakeREPanel(7, {1, 1, 1, 1}, 7.44f);
    EXPECT_EQ(p.targetText, "");
    EXPECT_EQ(p.count, 0);
    EXPECT_EQ(p.ratioText, "Ratio (F/S): 7.4");
    EXPECT_TRUE(p.ratioOffTarget);
}

// An RE whose pulses start at `rise`; the time step sets its area (about 10,000 pVs at 5 ns).
Waveform reWave(float deltaX, int rise = 40) {
    return {zel::testing::pulseTrain(500, {{rise}, {rise + 70}, {rise + 140}, {rise + 210}}), deltaX, 0.0};
}

// A background whose samples 2..25 alternate between 0 and `swing` (standard deviation about swing / 2).
Waveform noisyBackground(float swing) {
    Waveform w{std::vector<float>(500, 0.0f), 5e-9f, 0.0};
    for (int i = 2; i <= 25; i += 2)
        w.samples[i] = swing;
    return w;
}

struct Rig {
    FakeClock clock;
    RecordingHost host{&clock};
    testing::FakeScope scope;
    testing::FakeBoard board;
    testing::FakeDepthStatus depth;
    ReferenceControl control{host, clock, scope, board, depth};
};

TEST(AcquireReference, REStoredProcessedAndTimeStamped) {
    Rig r;
    r.scope.waves["CH2"] = reWave(5e-9f);
    ASSERT_TRUE(r.control.AcquireReference(kRE));
    EXPECT_EQ(r.scope.calls, (std::vector<std::string>{"setup", "acquire CH2", "store CH2 REF1",
                                                       "store CH2 REF2", "store CH2 REF4"}));
    EXPECT_TRUE(r.control.HasRE);
    EXPECT_TRUE(r.control.REFresh);
    EXPECT_EQ(r.control.RETime, r.clock.now());
    EXPECT_EQ(r.control.FirmwareVersion, 20104);
    EXPECT_GT(r.control.RE().RE_Area, 7000.0f);
    EXPECT_EQ(r.control.Panel.targetText, "Target: 23%, 38%, 27%, 12%");
    EXPECT_TRUE(r.host.messages().empty());
}

TEST(AcquireReference, ScatterRatioToldOnlyWhenInteractive) {
    const std::string warning =
        "Scatter ratio is not within 8.0 +/- 0.5 range. Acquisition will be allowed to "
        "continue, but RE suspect.";
    for (bool interactive : {true, false}) {
        Rig r;
        r.control.Mode = 7;
        r.scope.waves["CH2"] = reWave(5e-9f); // four equal pulses: F / S far from 8
        ASSERT_TRUE(r.control.AcquireReference(kRE, interactive));
        EXPECT_TRUE(r.control.Panel.ratioOffTarget);
        EXPECT_EQ(r.host.messages(),
                  interactive ? std::vector<std::string>{warning} : std::vector<std::string>{});
    }
}

TEST(AcquireReference, FailuresAndBlocksKeepThePreviousRE) {
    Rig r;
    r.scope.waves["CH2"] = reWave(5e-9f);
    ASSERT_TRUE(r.control.AcquireReference(kRE));
    const float area = r.control.RE().RE_Area;
    const DateTime taken = r.clock.now();
    r.clock.advanceMs(60'000);
    r.control.REFresh = false;

    r.scope.status = 0;
    EXPECT_FALSE(r.control.AcquireReference(kRE));
    EXPECT_FALSE(r.control.AcquireReference(kBackground));
    EXPECT_EQ(r.host.messages(), (std::vector<std::string>{"RE or Background acquisition failed.",
                                                           "RE or Background acquisition failed."}));
    EXPECT_TRUE(r.control.Background.empty());

    r.host.clear();
    r.scope.status = 1;
    r.scope.waves["CH2"] = reWave(0.5e-9f); // about 1,000 pVs
    EXPECT_FALSE(r.control.AcquireReference(kRE));
    EXPECT_EQ(
        r.host.messages(),
        std::vector<std::string>{"RE area is below 5000 pVs. Acquisition will NOT be allowed to continue."});
    EXPECT_EQ(r.control.RE().RE_Area, area);
    EXPECT_EQ(r.control.RETime, taken);
    EXPECT_FALSE(r.control.REFresh);
}

TEST(AcquireReference, BackgroundNoiseWarning) {
    const std::string warning =
        "Warning! Baseline noise (25) exceeds specified limit (18). You may proceed, but you "
        "should investigate the problem.\r\nCheck the following:\r\n1) Signal grounding\r\n"
        "2) Good connection of the cable to the right-angle BNC\r\n3) Signal cable routing "
        "(e.g. not touching the frame)\r\n4) If you are using a 20m cable, the noise is "
        "expected";
    const struct {
        float swing;
        bool boardInUse;
        bool warns;
    } cases[] = {{0.48f, false, true}, {0.34f, false, false}, {0.48f, true, false}};
    for (const auto& c : cases) {
        Rig r;
        r.board.inUse = c.boardInUse;
        r.scope.waves["CH2"] = noisyBackground(c.swing);
        ASSERT_TRUE(r.control.AcquireReference(kBackground));
        EXPECT_EQ(r.scope.calls.back(), "store CH2 REF3");
        EXPECT_EQ(r.control.Background.samples, r.scope.waves["CH2"].samples);
        EXPECT_EQ(r.host.messages(), c.warns ? std::vector<std::string>{warning} : std::vector<std::string>{})
            << c.swing;
        EXPECT_FALSE(r.control.HasRE);
    }
    // 0.48 alternating over 24 samples: sample standard deviation 0.24 * sqrt(24 / 23), x 100.
    EXPECT_NEAR(BaselineNoise(noisyBackground(0.48f).samples), 24.0 * std::sqrt(24.0 / 23.0), 1e-3);
}

TEST(AcquireReference, BackgroundIsSubtractedFromTheRE) {
    Rig r;
    Waveform raised = reWave(5e-9f);
    for (float& v : raised.samples)
        v += 2.0f;
    r.scope.waves["CH2"] = Waveform{std::vector<float>(500, 2.0f), 5e-9f, 0.0};
    ASSERT_TRUE(r.control.AcquireReference(kBackground));
    r.scope.waves["CH2"] = raised;
    ASSERT_TRUE(r.control.AcquireReference(kRE));
    const float withBackground = r.control.RE().RE_Area;
    // The background measured in the RE's channels (the last one as long as the one before): 2 mV flat
    // over 2 x boundary 3 - boundary 2 + 1 samples of 5 ns.
    const auto& cut = r.control.RE().Cutoff;
    EXPECT_FLOAT_EQ(r.control.RE().Blank_Area, 2.0f * static_cast<float>(2 * cut[2] - cut[1] + 1) * 5.0f);

    Rig plain;
    plain.scope.waves["CH2"] = reWave(5e-9f);
    ASSERT_TRUE(plain.control.AcquireReference(kRE));
    EXPECT_FLOAT_EQ(withBackground, plain.control.RE().RE_Area);
}

// With the data board as the digitiser the RE and background are its four channels in the reference state;
// an RE no brighter than the background (or a board that sent nothing) never replaces the RE in force.
TEST(AcquireReference, DataBoardChannelsAreTheREAndTheBackground) {
    Rig r;
    r.board.inUse = true;
    r.board.digitiser = true;
    struct Step {
        int kind;
        std::optional<HdChannels> read;
        bool accepted;
        std::string message; // start of the message shown, empty for none
    };
    const HdChannels dark{1.0f, 1.0f, 1.0f, 1.0f}, bright{5.0f, 6.0f, 7.0f, 8.0f},
        dim{1.0f, 1.0f, 1.0f, 0.5f};
    const std::vector<Step> steps{
        {kBackground, dark, true, ""},
        {kRE, dark, false,
         "The RE is no brighter than the background: the data board's channels read 1, 1, 1, 1."},
        {kRE, bright, true, ""},
        {kRE, dim, false, "The RE is no brighter"},
        {kRE, std::nullopt, false, "RE or Background acquisition failed."},
    };
    for (const Step& s : steps) {
        const std::size_t before = r.host.messages().size();
        r.board.channels = s.read;
        EXPECT_EQ(r.control.AcquireReference(s.kind), s.accepted) << s.message;
        if (s.message.empty()) {
            EXPECT_EQ(r.host.messages().size(), before);
        } else {
            ASSERT_EQ(r.host.messages().size(), before + 1);
            EXPECT_EQ(r.host.messages().back().rfind(s.message, 0), 0u) << r.host.messages().back();
        }
        // The accepted RE stays the bright one.
        if (r.control.HasRE) {
            EXPECT_EQ(r.control.HdRE, bright);
        }
    }
    EXPECT_TRUE(r.scope.calls.empty());
    EXPECT_EQ(r.control.HdBackground, dark);
    EXPECT_EQ(r.board.referenceStates, 5);
    EXPECT_EQ(r.control.RETime, r.clock.now());
}

TEST(CheckBeforePush, PromptsInOrderAndCancelStops) {
    const std::string firstPush = "This is the first acquisition since the software has been loaded.\r\n"
                                  "Check the info tab for accuracy.\r\n"
                                  "Cancel to edit the info, OK to proceed with acquisition.";
    const std::string scatter =
        "Scatter ratio is not 8 (range 7.5-8.5). Acquisition will be allowed to continue, but "
        "RE is suspect.\r\nCancel to acquire a new RE, OK to proceed with acquisition.";
    const std::string oldRE = "The current RE is at least one acquisition old.\r\n"
                              "Cancel to acquire a new RE, OK to proceed with acquisition.";
    const std::string age = "RE is older than 30 minutes. Select OK to proceed or Cancel to take new RE.";

    Rig r;
    r.scope.waves["CH2"] = reWave(5e-9f);
    ASSERT_TRUE(r.control.AcquireReference(kRE));
    r.control.AcqType = 1; // the standard-layout test RE has a ratio far from 8
    r.control.REFresh = false;
    r.clock.advanceMs(31 * 60'000);
    int infoTab = 0;
    r.control.ShowInfoTab = [&] { ++infoTab; };

    r.host.clear();
    EXPECT_TRUE(r.control.CheckBeforePush());
    EXPECT_EQ(r.host.messages(), (std::vector<std::string>{age, firstPush, scatter, oldRE}));
    EXPECT_EQ(r.host.events()[0].title, "Old RE");
    EXPECT_EQ(r.host.events()[1].title, "First Push");
    EXPECT_EQ(r.host.events()[2].title, "Scatter Ratio");
    for (const auto& e : r.host.events()) {
        EXPECT_EQ(e.buttons, MsgButtons::OkCancel);
        EXPECT_EQ(e.icon, MsgIcon::Question);
    }
    EXPECT_EQ(infoTab, 1);
    EXPECT_EQ(r.control.PushNumber, 1);

    // Cancel at the first-push question ends the start there.
    r.host.clear();
    r.host.answerMessage(MsgResult::Ok);
    r.host.answerMessage(MsgResult::Cancel);
    EXPECT_FALSE(r.control.CheckBeforePush());
    EXPECT_EQ(r.host.messages(), (std::vector<std::string>{age, firstPush}));
    EXPECT_EQ(r.control.PushNumber, 2);

    // Suppressed: only the age question remains; a bad depth status then cancels.
    r.host.clear();
    r.control.SuppressPrompts = true;
    r.depth.good = false;
    EXPECT_FALSE(r.control.CheckBeforePush());
    EXPECT_EQ(
        r.host.messages(),
        (std::vector<std::string>{age, "Depth status is not ok, acquisition canceled, investigate problem"}));
    EXPECT_EQ(r.host.events()[1].icon, MsgIcon::Critical);
    EXPECT_EQ(r.host.events()[1].buttons, MsgButtons::Ok);
}

TEST(CheckBeforePush, AgeInCalendarMinutes) {
    const struct {
        DateTime taken, now;
        bool asks;
    } cases[] = {
        {{2020, 1, 1, 10, 0, 59}, {2020, 1, 1, 10, 30, 0}, false}, // 30 calendar minutes
        {{2020, 1, 1, 10, 0, 59}, {2020, 1, 1, 10, 31, 0}, true},  // 31, though under 31 minutes of time
        {{2020, 1, 1, 23, 50, 0}, {2020, 1, 2, 0, 21, 0}, true},   // over midnight
    };
    for (const auto& c : cases) {
        Rig r;
        r.control.FirstAcquisition = true;
        r.control.REFresh = true;
        r.control.RETime = c.taken;
        r.clock.set(c.now);
        EXPECT_TRUE(r.control.CheckBeforePush());
        EXPECT_EQ(r.host.messages().size(), c.asks ? 1u : 0u);
    }
}

TEST(RescueReference, DelayCheckAndCorrection) {
    const struct {
        int storedRise, liveRise;
        bool interactive;
        std::vector<std::string> messages;
        bool corrected;
    } cases[] = {
        {40, 40, true, {}, false},
        {40, 30, true, {"Rescued RE delay is suspect."}, false},
        {44, 40, true, {"Rescued RE delay is suspect."}, false},
        {40, 30, false, {}, true},
    };
    for (const auto& c : cases) {
        Rig r;
        r.scope.delay = 1e-6;
        r.scope.waves["REF1"] = reWave(5e-9f, c.storedRise);
        r.scope.waves["CH2"] = reWave(5e-9f, c.liveRise);
        ASSERT_TRUE(r.control.RescueReference(c.interactive));
        EXPECT_EQ(r.host.messages(), c.messages);
        EXPECT_EQ(r.control.RescueCorrected, c.corrected);
        // The live rise is reported one sample before the jump: (rise - 1 - 40) steps of 5 ns.
        EXPECT_NEAR(r.scope.delay, c.corrected ? 1e-6 + (c.liveRise - 41) * 5e-9 : 1e-6, 1e-15);
        EXPECT_TRUE(r.control.HasRE);
    }
}

TEST(RecoverReference, ReadsREF3AndREF4OrRefuses) {
    Rig r;
    r.scope.status = 0;
    r.control.RecoverReference();
    EXPECT_EQ(r.host.messages(), std::vector<std::string>{"Scope status fail, recover cancelled"});
    EXPECT_FALSE(r.control.HasRE);

    r.host.clear();
    r.scope.status = 1;
    r.scope.waves["REF3"] = Waveform{std::vector<float>(500, 1.0f), 5e-9f, 0.0};
    r.scope.waves["REF4"] = reWave(5e-9f);
    r.control.RecoverReference();
    EXPECT_TRUE(r.control.HasRE);
    EXPECT_EQ(r.control.Background.samples, r.scope.waves["REF3"].samples);
    EXPECT_TRUE(r.host.messages().empty());
}

} // namespace
} // namespace zel::acq
