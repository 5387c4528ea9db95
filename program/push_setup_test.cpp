#include "program/push_setup.h"

#include "acquisition/fakes.h"
#include "common/testing/recording_host.h"
#include "instruments/transport/fake_serial_port.h"
#include "settings/memory_form.h"
#include "settings/startup/command_line.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

namespace zel::program {
namespace {

namespace fs = std::filesystem;

struct TempOptions {
    fs::path path =
        fs::temp_directory_path() / ("zel_program_options_" + std::to_string(::getpid()) + ".ini");
    explicit TempOptions(const std::string& text) { std::ofstream(path, std::ios::binary) << text; }
    ~TempOptions() { fs::remove(path); }
};

// The options file as the desktop saves it: zel-cli's push and processing come out of the same sections.
TEST(PushSetup, OptionsFileSectionsGiveThePushAndTheProcessing) {
    const TempOptions ini("[Tab]\r\n"
                          "0,txtStartDepth=10\r\n"
                          "1,chkAutoStop=1\r\n"
                          "2,txtStopDepth=12.5\r\n"
                          "3,txtStartDelay=3\r\n"
                          "4,txtInterval=500\r\n"
                          "5,chkMetric=1\r\n"
                          "6,txtStep=0.10\r\n"
                          "7,chkEmulateStop=1\r\n"
                          "8,txtEmulateStopCount=40\r\n"
                          "9,chkPresFlow=1\r\n"
                          "10,txtPFOffset=-0.5\r\n"
                          "[AdvOptions]\r\n"
                          "0,txtWidthLimit=30\r\n"
                          "1,chkChannelGain=1\r\n"
                          "2,txtGain,0=1.5\r\n"
                          "3,txtGain,3=-2\r\n"
                          "4,chkExclude,2=1\r\n"
                          "5,txtCH1Correction=4\r\n"
                          "6,chkFixedCutoffs=1\r\n"
                          "[WaveMath]\r\n"
                          "0,chkScatterScaling=1\r\n"
                          "1,chkPlainRE=0\r\n");
    SettingsModel m;
    m.readOptionsFile(ini.path.string());

    const PushSetup p = ReadPushSetup(m);
    EXPECT_TRUE(p.metric);
    EXPECT_EQ(p.startDepth, 10.0f);
    EXPECT_EQ(p.stopDepth, 12.5f);
    EXPECT_EQ(p.startDelaySeconds, 3);
    EXPECT_EQ(p.intervalSeconds, 300.0f);
    EXPECT_EQ(p.stepText, "0.10");
    EXPECT_EQ(p.emulationStopCount, 40);
    EXPECT_FALSE(p.timed);
    EXPECT_TRUE(p.presFlow);
    EXPECT_EQ(p.pfOffsetFt, -0.5f);

    const ProcessingSetup s = ReadProcessingSetup(m);
    EXPECT_EQ(s.widthLimit, 30);
    EXPECT_TRUE(s.options.applyGains);
    EXPECT_EQ(s.gain, (std::array<float, 4>{1.5f, 0.0f, 0.0f, 0.0f}));
    EXPECT_EQ(s.exclude, (std::array<bool, 4>{false, false, true, false}));
    EXPECT_EQ(s.ch1Correction, 4.0f);
    EXPECT_TRUE(s.options.fixedCutoffs);
    EXPECT_TRUE(s.options.scatterScaling);
    EXPECT_FALSE(s.options.plainPercentRE);

    // The stop depth without its check box is no automatic stop; a flag set afterwards overrides the file.
    m.set(control::kTab, control::kAutoStop, "0");
    m.set(control::kTab, control::kStartDepth, "bad");
    const PushSetup q = ReadPushSetup(m);
    EXPECT_FALSE(q.stopDepth);
    EXPECT_FALSE(q.startDepth);
    // An offset of metres of rod is a typing error, not a probe: no offset.
    m.set(control::kTab, control::kPFOffset, "250");
    EXPECT_EQ(ReadPushSetup(m).pfOffsetFt, 0.0f);
}

TEST(PushSetup, FormsAsTheyStandFillTheModel) {
    MemoryFormSet forms;
    MemoryForm& tab = forms.add("frmTab");
    tab.add(ControlType::TextBox, "txtStartDepth").withText("7.5");
    tab.add(ControlType::CheckBox, "chkMetric").withCheck(1);
    MemoryForm& adv = forms.add("frmAdvOptions");
    adv.add(ControlType::TextBox, "txtGain", 1).withText("2");
    SettingsModel m;
    m.readForms(forms);
    EXPECT_EQ(ReadPushSetup(m).startDepth, 7.5f);
    EXPECT_TRUE(ReadPushSetup(m).metric);
    EXPECT_EQ(ReadProcessingSetup(m).gain[1], 2.0f);
}

// The Advanced form's scope lists keep their index: the value is the list's entry, unless a switch chose it
// this session; an index outside the list (or not a whole number) leaves the session's value.
TEST(PushSetup, ScopeListsGiveTheirEntryUnlessASwitchChose) {
    struct Case {
        const char* name;
        const char* average; // the lists' stored indices; nullptr: not in the file
        const char* yScale;
        const char* reScale;
        const char* unlockBox;
        const char* switches;
        ScopeSetup expected;
    };
    const Case cases[] = {
        {"nothing kept", nullptr, nullptr, nullptr, nullptr, "", {64, 5, 50, false}},
        {"lists", "3", "5", "7", "0", "", {16, 50, 200, false}},
        {"switches win", "3", "5", "7", nullptr, "/S256 /Y010 /RE020 /U", {256, 10, 20, false}},
        {"outside the lists", "9", "-1", "2.5", nullptr, "", {64, 5, 50, false}},
        {"unlocked by the box", nullptr, nullptr, nullptr, "1", "", {64, 5, 50, true}},
        {"unlocked by the switch", nullptr, nullptr, nullptr, "0", "/NOLOCK", {64, 5, 50, true}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        SettingsModel m;
        const auto put = [&m](const char* name, const char* v) {
            if (v) m.set(control::kAdv, name, v);
        };
        put(control::kScopeAverage, c.average);
        put(control::kScopeYScale, c.yScale);
        put(control::kScopeREScale, c.reScale);
        put(control::kUnlockScope, c.unlockBox);
        const ScopeSetup s = ReadScopeSetup(m, parseCommandLine(c.switches));
        EXPECT_EQ(s.averaging, c.expected.averaging);
        EXPECT_EQ(s.yScale, c.expected.yScale);
        EXPECT_EQ(s.reScale, c.expected.reScale);
        EXPECT_EQ(s.unlock, c.expected.unlock);
    }
}

// The gates' options and the prompt suppression reach the RE control together.
TEST(PushSetup, GatesAndPromptSuppressionReachTheReference) {
    FakeClock clock;
    testing::RecordingHost host{&clock};
    acq::testing::FakeScope scope;
    acq::testing::FakeBoard board;
    acq::testing::FakeDepthStatus depth;
    acq::ReferenceControl reference(host, clock, scope, board, depth);
    SettingsModel m;
    m.set(control::kAdv, control::kSuppressPrompts, "1");
    m.set(control::kAdv, acq::kLowOutputREControl, "1");
    ConfigureGates(m, reference);
    EXPECT_TRUE(reference.SuppressPrompts);
    EXPECT_TRUE(reference.Gates.lowOutputRE);
    EXPECT_FALSE(reference.Gates.noAreaCheck);
    m.set(control::kAdv, control::kSuppressPrompts, "0");
    ConfigureGates(m, reference);
    EXPECT_FALSE(reference.SuppressPrompts);
}

struct DepthAdapterTest : ::testing::Test {
    FakeClock clock{DateTime{2016, 4, 12, 10, 0, 0}};
    testing::RecordingHost host{&clock};
    testing::FakeSerialPort port;
    testing::FakeTimer timer;
    cZEL_Depth depth{host, clock, port, timer, [](int n) { return "/dev/ttyS" + std::to_string(n - 1); }};
    DepthAdapter adapter{depth, host, clock, 0};

    void SetUp() override { depth.Init(0, 1, 0, false); } // the emulator: a 0.1 ft step a tick
    void steps(int n) {
        for (int i = 0; i < n; ++i)
            timer.fire();
    }
};

// The start depth is where the encoder reads from the reset on, in the log's unit, and it moves on from
// there; below 0 it starts at 0; without one the encoder keeps its reading.
TEST_F(DepthAdapterTest, ResetPutsTheEncoderAtTheStartDepth) {
    steps(23); // the encoder had moved before the push
    struct Case {
        bool metric;
        float start;
        float expected;
    };
    for (const Case c : {Case{false, 10.0f, 10.0f}, Case{true, 3.0f, 3.0f}, Case{false, -1.0f, 0.0f}}) {
        adapter.metric = c.metric;
        adapter.Reset(c.start);
        EXPECT_NEAR(adapter.Current(), c.expected, 1e-4);
        steps(5);
        const float moved = c.metric ? 0.5f / cZEL_Depth::kFeetPerMetre : 0.5f;
        EXPECT_NEAR(adapter.Current(), c.expected + moved, 1e-4);
    }
    adapter.metric = false;
    const float before = adapter.Current();
    adapter.Reset(std::nullopt);
    EXPECT_FLOAT_EQ(adapter.Current(), before);
}

TEST_F(DepthAdapterTest, StopDepthIsTheConfiguredOne) {
    PushSetup s;
    s.stopDepth = 12.0f;
    acq::PushSettings push;
    ConfigurePush(s, DeriveProcessing(0, {}), push, adapter);
    EXPECT_TRUE(push.autoStop);
    EXPECT_EQ(adapter.StopDepth(), 12.0f);
    s.stopDepth = 4.0f;
    ConfigurePush(s, DeriveProcessing(0, {}), push, adapter);
    EXPECT_EQ(adapter.StopDepth(), 4.0f);
}

// The timed variant: the interval / 60 handed over is the depth's step, taken once an interval, from the
// depth the encoder had; the encoder's own moves no longer count.
TEST_F(DepthAdapterTest, TimedDepthAdvancesByTheRateOnceAnInterval) {
    adapter.Reset(5.0f);
    adapter.SetRatePerMinute(6.0 / 60.0); // 6 s interval
    EXPECT_FLOAT_EQ(adapter.Current(), 5.0f);
    steps(4);
    clock.advanceMs(5999);
    EXPECT_FLOAT_EQ(adapter.Current(), 5.0f);
    clock.advanceMs(1);
    EXPECT_FLOAT_EQ(adapter.Current(), 5.1f);
    clock.advanceMs(12000);
    EXPECT_FLOAT_EQ(adapter.Current(), 5.3f);
    adapter.SetRatePerMinute(0.0);
    EXPECT_NEAR(adapter.Current(), 5.4f, 1e-4); // the encoder again: 5 + 4 steps of 0.1
}

} // namespace
} // namespace zel::program

namespace zel::program {
namespace {

// With the data board as the digitiser the RE reference file written after an RE and a background gives
// both back at the next start, the RE with the time it was written; without it nothing is taken.
TEST(ReferenceFile, DataBoardREAndBackgroundRoundTripThroughTheFile) {
    const fs::path root = fs::temp_directory_path() / ("zel_program_ref_" + std::to_string(::getpid()));
    fs::remove_all(root);
    FakeClock clock(DateTime{2026, 3, 14, 9, 26, 53});
    testing::RecordingHost host{&clock};
    acq::testing::FakeScope scope;
    acq::testing::FakeBoard board;
    acq::testing::FakeDepthStatus depth;
    board.inUse = true;
    board.digitiser = true;
    acq::ReferenceControl taken(host, clock, scope, board, depth);
    board.channels = HdChannels{0.125f, 0.25f, 0.5f, 1.0f};
    ASSERT_TRUE(taken.AcquireReference(acq::kBackground));
    EXPECT_FALSE(WriteReferenceFile(acq::kBackground, taken, board, root.string(), clock)) << "no RE yet";
    board.channels = HdChannels{10.5f, 20.25f, 30.125f, 40.0f};
    ASSERT_TRUE(taken.AcquireReference(acq::kRE));
    ASSERT_TRUE(WriteReferenceFile(acq::kRE, taken, board, root.string(), clock));

    acq::ReferenceControl next(host, clock, scope, board, depth);
    EXPECT_EQ(ReadReferenceFile(next, board, root.string()), 2);
    EXPECT_TRUE(next.HasRE);
    EXPECT_EQ(next.HdRE, taken.HdRE);
    EXPECT_EQ(next.HdBackground, taken.HdBackground);
    EXPECT_EQ(next.RETime, (DateTime{2026, 3, 14, 9, 26, 53}));

    board.digitiser = false;
    acq::ReferenceControl withScope(host, clock, scope, board, depth);
    EXPECT_EQ(ReadReferenceFile(withScope, board, root.string()), 0);
    EXPECT_FALSE(withScope.HasRE);
    fs::remove_all(root);
}

} // namespace
} // namespace zel::program
