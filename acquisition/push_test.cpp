#include "acquisition/push.h"

#include "acquisition/fakes.h"
#include "common/testing/recording_host.h"
#include "waveform/synthetic_waves.h"

#include <gtest/gtest.h>

namespace zel::acq {
namespace {

using zel::testing::RecordingHost;

TEST(PushInterval, ClampedTo2To300Seconds) {
    const std::pair<float, float> cases[] = {{1, 2}, {2, 2}, {45, 45}, {300, 300}, {500, 300}};
    for (const auto& [setting, used] : cases)
        EXPECT_EQ(ClampInterval(setting), used) << setting;
}

TEST(CheckPushRate, ExceedancesAverageAndUnits) {
    const struct {
        std::vector<float> rates;
        bool metric;
        int exceedances;
        bool flagged;
    } cases[] = {
        {{1.0f, 1.5f}, false, 0, true},        // average 1.25 alone flags the push
        {{1.0f, 1.375f}, false, 0, false},     // average 1.1875
        {{3.0f, 0.1f, 0.1f}, false, 0, false}, // 3.0 is not above the limit, the average 1.07 is under 1.2
        {{7.62f, 7.7f}, true, 1, true},        // the metric limit is 7.62
        {{1.0f, 1.5f}, true, 0, true},         // the 1.2 is not converted
        {{}, false, 0, false},
    };
    for (const auto& c : cases) {
        RecordingHost host;
        const RateReport r = CheckPushRate(c.rates, c.metric, false, host);
        EXPECT_EQ(r.exceedances, c.exceedances);
        EXPECT_EQ(r.flagged, c.flagged);
        EXPECT_EQ(host.messages().size(), r.flagged ? 1u : 0u);
        EXPECT_EQ(host.sleptMs(), 100);
    }
    RecordingHost host;
    CheckPushRate(std::vector<float>{7.0f, 8.0f, 1.0f}, true, false, host);
    EXPECT_EQ(host.messages(),
              std::vector<std::string>{"Caution!\r\nRate exceeded 7.6 cm/s during push 1 times out "
                                       "of 3 data points.\r\nAverage rate was: 5.33 cm/s\r\nTarget "
                                       "rate is 0.8 in/s (2 cm/s)."});
    RecordingHost quiet;
    EXPECT_TRUE(CheckPushRate(std::vector<float>{9.0f}, false, true, quiet).flagged);
    EXPECT_TRUE(quiet.messages().empty());
}

class FakeRecorder : public PushRecorder {
public:
    int begun = 0, finished = 0;
    bool refuse = false;
    std::vector<PointRecord> points;
    std::vector<std::vector<float>> waves;
    bool Begin(const ReferenceControl&, float, int) override {
        ++begun;
        return !refuse;
    }
    bool Append(const PointRecord& p) override {
        points.push_back(p);
        waves.emplace_back(p.wave.begin(), p.wave.end());
        return true;
    }
    void Finish() override { ++finished; }
    std::vector<DissipationCurve> dissipations;
    int AddDissipation(DissipationCurve curve) override {
        dissipations.push_back(std::move(curve));
        return static_cast<int>(dissipations.size()) - 1;
    }
};

Waveform reWave() {
    return {zel::testing::pulseTrain(300, {{40}, {110}, {180}, {250}}), 5e-9f, 0.0};
}

// A push ready to start: background and RE taken, first push already done, fresh RE.
struct Rig {
    FakeClock clock;
    RecordingHost host{&clock};
    testing::FakeScope scope;
    testing::FakeBoard board;
    testing::FakePushDepth depth;
    testing::FakeGps gps;
    testing::FakeDisplay display;
    FakeRecorder recorder;
    ReferenceControl reference{host, clock, scope, board, depth};
    PushControl push{host, clock, reference, scope, board, depth, gps, display, recorder};
    testing::FakePresFlow presFlow;

    Rig() {
        scope.waves["CH2"] = Waveform{std::vector<float>(300, 1.0f), 5e-9f, 0.0};
        reference.AcquireReference(kBackground);
        Waveform re = reWave();
        for (float& v : re.samples)
            v += 1.0f;
        scope.waves["CH2"] = re;
        reference.AcquireReference(kRE);
        reference.FirstAcquisition = true;
        // Points: half the RE on the same background.
        Waveform point = reWave();
        for (float& v : point.samples)
            v = v * 0.5f + 1.0f;
        scope.waves["CH2"] = point;
        host.clear();
        scope.calls.clear();
    }
};

TEST(Push, PointsAtNewDepthsOnlyUnlessContinuous) {
    const struct {
        std::optional<float> startDepth;
        bool continuous;
        std::vector<float> depths;
    } cases[] = {
        {-1.0f, false, {0.0f, 0.0f, 0.05f, 0.05f, 0.1f}},
        {std::nullopt, true, {0.0f, 0.0f, 0.05f, 0.05f, 0.1f}},
        {0.05f, false, {0.0f, 0.05f, 0.1f}}, // from just above the start depth
    };
    const std::vector<std::vector<float>> expected = {
        {0.0f, 0.05f, 0.1f}, {0.0f, 0.0f, 0.05f, 0.05f, 0.1f}, {0.05f, 0.1f}};
    for (std::size_t i = 0; i < std::size(cases); ++i) {
        Rig r;
        r.push.Settings.startDepth = cases[i].startDepth;
        r.push.Settings.continuous = cases[i].continuous;
        r.depth.script = cases[i].depths;
        ASSERT_TRUE(r.push.StartPush());
        std::vector<float> depths;
        for (const auto& p : r.recorder.points)
            depths.push_back(p.depth);
        EXPECT_EQ(depths, expected[i]) << i;
        EXPECT_EQ(r.push.Points(), static_cast<int>(expected[i].size()));
        EXPECT_EQ(r.recorder.finished, 1);
        EXPECT_FALSE(r.push.Acquiring());
        EXPECT_GE(r.host.yields(), static_cast<int>(cases[i].depths.size()));
    }
}

// The start delay: the first point waits that many whole seconds after the start; none takes it at once.
TEST(Push, StartDelayWaitsBeforeTheFirstPoint) {
    for (const int delay : {0, 3}) {
        SCOPED_TRACE(delay);
        Rig r;
        r.push.Settings.startDelaySeconds = delay;
        r.depth.script = {0.0f, 0.05f};
        const long long started = r.clock.now().toSeconds();
        long long first = -1;
        r.push.PointTaken = [&](int, const PointRecord&) {
            if (first < 0) first = r.clock.now().toSeconds();
        };
        ASSERT_TRUE(r.push.StartPush());
        ASSERT_GE(first, 0);
        if (delay > 0)
            EXPECT_GE(first - started, delay);
        else
            EXPECT_LT(first - started, 3);
    }
}

TEST(Push, StartSequenceProcessingAndEnd) {
    Rig r;
    r.push.Settings.startDepth = -1.0f;
    r.depth.script = {0.0f, 0.05f};
    r.depth.rates = {0.5f, 0.5f};
    ASSERT_TRUE(r.push.StartPush());
    EXPECT_EQ(r.depth.resetTo, -1.0f);
    EXPECT_EQ(r.display.shown.front(), "0.05 per ft");
    EXPECT_EQ(std::vector<std::string>(r.scope.calls.begin(), r.scope.calls.begin() + 3),
              (std::vector<std::string>{"store CH2 REF1", "store CH2 REF2", "start"}));
    EXPECT_EQ(r.scope.calls.back(), "stop");
    ASSERT_EQ(r.recorder.points.size(), 2u);
    // Half the RE after the background: %RE 50 (the RE is kept to 0.01 mV, as the raw log keeps it), and
    // the stored wave has the background taken off.
    EXPECT_NEAR(r.recorder.points[0].signal, 50.0f, 0.01);
    EXPECT_NEAR(r.recorder.waves[0][40], 50.0f, 1e-4);
    EXPECT_NEAR(r.recorder.waves[0][10], 0.0f, 1e-6);
    EXPECT_EQ(r.recorder.points[1].conductivity, 12.5f);
    EXPECT_TRUE(r.recorder.points[1].position.valid);
    EXPECT_FALSE(r.reference.REFresh);
    EXPECT_TRUE(r.reference.FirstAcquisition);
    EXPECT_TRUE(r.host.messages().empty());
}

TEST(Push, CancelledGateRecordsNothing) {
    Rig r;
    r.depth.script = {0.0f, 0.05f};
    r.clock.advanceMs(31 * 60'000);
    r.host.answerMessage(MsgResult::Cancel);
    EXPECT_FALSE(r.push.StartPush());
    EXPECT_EQ(r.host.messages().size(), 1u);
    EXPECT_EQ(r.recorder.begun, 0);
    EXPECT_TRUE(r.scope.calls.empty());
    EXPECT_TRUE(r.reference.REFresh);
}

TEST(Push, FailedAcquisitionIsReportedAndTheLoopGoesOn) {
    // The oscilloscope gives nothing at the second point's depth; the third depth is still taken.
    struct FlakyScope : testing::FakeScope {
        int acquisitions = 0;
        bool Acquire(std::string_view source, Waveform& wave) override {
            return ++acquisitions != 2 && FakeScope::Acquire(source, wave);
        }
    };
    Rig r;
    FlakyScope flaky;
    flaky.waves = r.scope.waves;
    PushControl push{r.host, r.clock, r.reference, flaky, r.board, r.depth, r.gps, r.display, r.recorder};
    push.Settings.startDepth = -1.0f;
    r.depth.script = {0.0f, 0.05f, 0.1f};
    ASSERT_TRUE(push.StartPush());
    EXPECT_EQ(r.host.messages(),
              std::vector<std::string>{"The oscilloscope gave no waveform.\r\nErl of AcquirePoint: 1"});
    ASSERT_EQ(r.recorder.points.size(), 2u);
    EXPECT_EQ(r.recorder.points[1].depth, 0.1f);
}

TEST(Push, StopRequestsLatchAndAutomaticStops) {
    Rig r;
    r.depth.script = {0.1f, 0.2f, 0.3f, 0.4f};
    r.push.PointTaken = [&](int n, const PointRecord&) {
        if (n == 2) r.push.RequestStop();
    };
    ASSERT_TRUE(r.push.StartPush());
    EXPECT_EQ(r.push.Points(), 2);

    Rig a;
    a.depth.script = {0.1f, 0.2f, 0.3f, 0.4f};
    a.depth.stopDepth = 0.3f;
    a.push.Settings.autoStop = true;
    ASSERT_TRUE(a.push.StartPush());
    EXPECT_EQ(a.push.Points(), 3);

    // Emulated depth: the stop count of steps (new depths, not passes) stops the emulator, the push runs on.
    Rig e;
    e.depth.mode = 0;
    e.depth.script = {0.1f, 0.1f, 0.2f, 0.2f, 0.3f, 0.4f, 0.5f};
    e.push.Settings.emulationAutoStop = true;
    e.push.Settings.emulationStopCount = 2;
    ASSERT_TRUE(e.push.StartPush());
    EXPECT_EQ(e.depth.emulationStops, 2);
    EXPECT_EQ(e.push.EmulatedSteps(), 1);
    EXPECT_EQ(e.push.Points(), 5);
}

TEST(Push, TimedVariantWaitsTheClampedInterval) {
    // Timed passes take a point where the depth advanced or, at a standing depth, with the continuous flag.
    const struct {
        bool continuous;
        std::vector<float> depths;
        std::size_t points;
    } cases[] = {
        {true, {0.0f, 0.0f, 0.0f}, 3},
        {false, {0.0f, 0.1f, 0.2f}, 3},
        {false, {0.0f, 0.0f, 0.0f}, 1},
    };
    for (const auto& c : cases) {
        Rig r;
        r.push.Settings.timed = true;
        r.push.Settings.continuous = c.continuous;
        r.push.Settings.intervalSetting = 1.0f;
        r.depth.script = c.depths;
        std::vector<double> times;
        r.push.PointTaken = [&](int, const PointRecord&) { times.push_back(r.clock.secondsSinceMidnight()); };
        ASSERT_TRUE(r.push.StartPush());
        EXPECT_DOUBLE_EQ(r.depth.ratePerMinute, 2.0 / 60.0);
        ASSERT_EQ(times.size(), c.points) << c.continuous;
        for (std::size_t k = 1; k < times.size(); ++k) {
            EXPECT_GE(times[k] - times[k - 1], 2.0);
            EXPECT_LT(times[k] - times[k - 1], 2.1);
        }
        // Points 0.5 s or more apart mark no rate.
        EXPECT_FALSE(r.recorder.points.back().rateExceeded);
    }
}

TEST(Push, StopWhileWaitingForTheIntervalTakesNoMorePoints) {
    Rig r;
    r.push.Settings.timed = true;
    r.push.Settings.intervalSetting = 10.0f;
    r.depth.script = {0.0f, 0.1f, 0.2f};
    // The stop button is pressed while the loop waits after the first point.
    struct StoppingHost : RecordingHost {
        using RecordingHost::RecordingHost;
        PushControl* push = nullptr;
        void sleepMs(int ms) override {
            RecordingHost::sleepMs(ms);
            if (push && push->Points() == 1) push->RequestStop();
        }
    } host{&r.clock};
    PushControl push{host, r.clock, r.reference, r.scope, r.board, r.depth, r.gps, r.display, r.recorder};
    push.Settings = r.push.Settings;
    host.push = &push;
    ASSERT_TRUE(push.StartPush());
    EXPECT_EQ(push.Points(), 1);
    EXPECT_EQ(r.recorder.finished, 1);
}

TEST(Push, PauseContinuousAndTimedCaption) {
    Rig r;
    r.push.PausePush();
    EXPECT_EQ(r.depth.pauses, 1);
    EXPECT_EQ(r.depth.resumes, 1);
    EXPECT_EQ(r.display.shown, (std::vector<std::string>{"paused", "resumed"}));
    ASSERT_EQ(r.host.events().size(), 1u);
    EXPECT_EQ(r.host.events()[0].title, "Depth Paused");
    EXPECT_EQ(r.host.events()[0].icon, MsgIcon::Critical);
    EXPECT_EQ(r.host.events()[0].text.substr(0, 38), "Depth is Paused. Click OK to Resume.\r\n");

    r.host.clear();
    r.push.SetContinuous(true);
    r.push.SetContinuous(true);
    EXPECT_EQ(r.host.messages(),
              std::vector<std::string>{"In Continuous depth mode, data is taken throughout the "
                                       "push regardless of depth. This will not work properly "
                                       "with cycling rods."});
    EXPECT_EQ(r.push.ToggleTimed(), "STOP");
    EXPECT_EQ(r.push.ToggleTimed(), "Continuous Wave Acq.");
}

TEST(PushPresFlow, EachPointCarriesTheUnitsReadingAndASilentUnitIsToldOnce) {
    struct Case {
        bool inUse, answering;
        bool hasPresFlow;
        float presDown;
        std::size_t progressTexts;
    };
    for (const Case& c : {Case{true, true, true, 40.0f, 0}, Case{true, false, true, 0.0f, 1},
                          Case{false, true, false, 0.0f, 0}}) {
        Rig r;
        r.presFlow.inUse = c.inUse;
        r.presFlow.answering = c.answering;
        r.push.SetPresFlow(&r.presFlow);
        r.depth.script = {0.0f, 0.05f, 0.1f};
        ASSERT_TRUE(r.push.StartPush());
        ASSERT_EQ(r.recorder.points.size(), 3u);
        for (const auto& p : r.recorder.points) {
            EXPECT_EQ(p.hasPresFlow, c.hasPresFlow);
            EXPECT_EQ(p.presFlow.presDown, c.presDown);
        }
        if (c.answering && c.inUse) {
            EXPECT_LT(r.recorder.points[0].presFlow.timeS, r.recorder.points[2].presFlow.timeS);
        }
        const std::vector<std::string> calls =
            c.inUse ? std::vector<std::string>{"start", "stop"} : std::vector<std::string>{};
        EXPECT_EQ(r.presFlow.calls, calls);
        EXPECT_EQ(r.host.progressTexts().size(), c.progressTexts);
    }
}

TEST(PushPresFlow, DissipationTestAtItsDepthOnceTheRodsStandStill) {
    Rig r;
    r.push.SetPresFlow(&r.presFlow);
    r.presFlow.tauS = 1.5f;
    // The push reaches 1.0 and the rods stop there (repeated readings), then go on.
    r.depth.script = {0.5f, 0.95f};
    r.depth.script.insert(r.depth.script.end(), 30, 1.0f);
    r.depth.script.insert(r.depth.script.end(), {1.5f, 2.0f});
    r.push.Settings.dissipations = {{1.8f, 60.0}, {0.9f, 60.0}}; // taken in depth order
    ASSERT_TRUE(r.push.StartPush());
    ASSERT_EQ(r.recorder.dissipations.size(), 2u);
    const DissipationCurve& first = r.recorder.dissipations[0];
    EXPECT_FLOAT_EQ(first.depth, 1.0f); // where the rods stood, not where the request was met
    EXPECT_FLOAT_EQ(r.recorder.dissipations[1].depth, 2.0f);
    EXPECT_EQ(r.depth.pauses, 2); // the encoder held with the rods, for each test
    EXPECT_EQ(r.depth.resumes, 2);
    // Levelled long before its 60 s, and never before the shortest test.
    ASSERT_FALSE(first.timeS.empty());
    EXPECT_GE(first.timeS.back(), dissipation_timing::kMinSeconds);
    EXPECT_LT(first.timeS.back(), 30.0f);
    EXPECT_NEAR(*staticPressure(first), r.presFlow.staticPsi, 0.02);
    EXPECT_EQ(r.presFlow.calls,
              (std::vector<std::string>{"start", "flow off", "flow on", "flow off", "flow on", "stop"}));
}

TEST(PushPresFlow, DissipationTestEndsAtItsTimeLimitOrWhenTheUnitFallsSilent) {
    {
        Rig r;
        r.push.SetPresFlow(&r.presFlow);
        r.presFlow.tauS = 100.0f; // clay: far from level within the limit
        r.depth.script = {0.5f, 1.0f, 1.5f};
        r.push.Settings.dissipations = {{1.0f, 12.0}};
        ASSERT_TRUE(r.push.StartPush());
        ASSERT_EQ(r.recorder.dissipations.size(), 1u);
        EXPECT_NEAR(r.recorder.dissipations[0].timeS.back(), 12.0f, 0.45f); // less a leading reading or two
    }
    {
        Rig r;
        r.push.SetPresFlow(&r.presFlow);
        r.depth.script = {0.5f, 1.0f, 1.5f};
        r.push.Settings.dissipations = {{1.0f, 60.0}};
        r.presFlow.answering = false;
        ASSERT_TRUE(r.push.StartPush());
        ASSERT_EQ(r.recorder.dissipations.size(), 1u);
        EXPECT_TRUE(r.recorder.dissipations[0].timeS.empty());
        EXPECT_EQ(r.presFlow.calls.back(), "stop");
        EXPECT_EQ(r.presFlow.calls[r.presFlow.calls.size() - 2], "flow on");
    }
}

} // namespace
} // namespace zel::acq
