#include "app/plot/plot_model.h"
#include "app/plot/synthetic_log.h"

#include "common/clock.h"
#include "common/testing/recording_host.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <map>
#include <random>

namespace zel::plot {
namespace {

SettingLookup lookupOf(const std::map<std::string, std::string, std::less<>>& keys) {
    return [&keys](std::string_view key) -> std::optional<std::string> {
        const auto it = keys.find(key);
        if (it == keys.end()) return std::nullopt;
        return it->second;
    };
}

TEST(PlotSettings, KeysAreReadIntoTheStructAndBadValuesKeepTheDefault) {
    const std::map<std::string, std::string, std::less<>> keys{
        {"FTtxtDepthMin", "2.5"},
        {"FTtxtDepthMax", " "}, // an empty text box is stored as one blank
        {"FTchkManualScaleLog0", "1"},
        {"FTtxtSignalMin", "1"},
        {"FTtxtSignalMax", "12abc"},
        {"FTtxtSignalFloor", "0.5"},
        {"FTchkRElog", "1"},
        {"FTchkPlotScat", "1"},
        {"FTchk2ndLog_Sctr", "1"},
        {"FTtxt2ndScale_Sctr1", "400"},
        {"FTchkPresFlowPlot2", "1"},
        {"FTchkPresFlowAuto2", "0"},
        {"FTtxtPFscale5", "80"},
        {"FAchkGrid", "0"},
        {"FAtxtWatermark", "Client copy"},
        {"FAchkReferenceLineRE", "1"},
        {"FAtxtReferenceLineRE", "10"},
        {"FAchkReferenceLineCond", "0"},
        {"FAtxtReferenceLineCond", "50"},
        {"FAchkDepth_Clip", "1"},
        {"FAtxtDepth_Clip_Value", "20"},
        {"FAchkPerInch", "1"},
        {"FAtxtFtPerInch", "-3"},
        {"FAoptOrientation1", "True"},
        {"FAoptPrintSize1", "True"},
        {"FAoptDepth_Secondary0", "False"},
        {"FAoptDepth_Secondary2", "True"},
    };
    const PlotSettings s = plotSettingsFrom(lookupOf(keys));
    const PlotSettings d;
    EXPECT_EQ(s.depthMin, 2.5);
    EXPECT_EQ(s.depthMax, std::nullopt);
    EXPECT_TRUE(s.signalManual);
    EXPECT_EQ(s.signalMin, 1.0);
    EXPECT_EQ(s.signalMax, d.signalMax);
    EXPECT_EQ(s.signalFloor, 0.5);
    EXPECT_TRUE(s.signalLog);
    EXPECT_EQ(s.scatter, (TrackSwitches{true, true, false, 0.0, 400.0})); // "Scat" and "Sctr" keys meet
    EXPECT_EQ(s.presFlow[2], (TrackSwitches{true, false, true, 0.0, 80.0}));
    EXPECT_FALSE(s.grid);
    EXPECT_EQ(s.watermark, "Client copy");
    EXPECT_EQ(s.referenceRe, 10.0);
    EXPECT_EQ(s.referenceCond, std::nullopt); // a value without its switch
    EXPECT_EQ(s.clipMax, 20.0);
    EXPECT_EQ(s.clipMin, std::nullopt);
    EXPECT_TRUE(s.perInch);
    EXPECT_EQ(s.depthPerInch, d.depthPerInch); // a scale that cannot be laid out
    EXPECT_TRUE(s.landscape);
    EXPECT_EQ(s.pageSize, PageSize::Legal);
    EXPECT_EQ(s.secondaryDepth, 2);
}

class PlotModelTest : public ::testing::Test {
protected:
    void SetUp() override { synthetic::fillSyntheticLog(log, arrays, 201, 40); }
    PlotModel build(const PlotSettings& s) { return PlotModel::build({log, arrays}, s); }

    zel::testing::RecordingHost host;
    FakeClock clock;
    cZEL_Data log{host, clock};
    LogArrays arrays;
};

TEST_F(PlotModelTest, RangesScalesFloorsAndClipsFollowTheSettings) {
    struct Case {
        const char* name;
        PlotSettings settings;
        double min, max;
        Scale scale;
        std::optional<double> floor;
        std::size_t points;
    };
    PlotSettings manual;
    manual.signalManual = true;
    manual.signalMin = 5;
    manual.signalMax = 50;
    PlotSettings logScale;
    logScale.signalLog = true; // automatic: decades around the data (0.5 .. 80.5)
    PlotSettings manualLogFromZero = manual;
    manualLogFromZero.signalLog = true;
    manualLogFromZero.signalMin = 0; // a log axis cannot start at 0: three decades below the top
    PlotSettings floorAndClip;
    floorAndClip.signalFloor = 2;
    floorAndClip.clipMin = 1.0;
    floorAndClip.clipMax = 5.0;
    PlotSettings inverted = manual;
    inverted.signalMin = 50;
    inverted.signalMax = 5; // not a range: automatic
    const Case cases[] = {
        {"automatic", PlotSettings{}, 0, 100, Scale::Linear, std::nullopt, 201},
        {"manual", manual, 5, 50, Scale::Linear, std::nullopt, 201},
        {"log", logScale, 0.1, 100, Scale::Log, std::nullopt, 201},
        {"manual log from 0", manualLogFromZero, 0.05, 50, Scale::Log, std::nullopt, 201},
        {"floor and clip", floorAndClip, 0, 100, Scale::Linear, 2.0, 81},
        {"inverted manual", inverted, 0, 100, Scale::Linear, std::nullopt, 201},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        const PlotModel m = build(c.settings);
        const Track* t = m.track(TrackKind::Signal);
        ASSERT_NE(t, nullptr);
        EXPECT_DOUBLE_EQ(t->min, c.min);
        EXPECT_DOUBLE_EQ(t->max, c.max);
        EXPECT_EQ(t->scale, c.scale);
        EXPECT_EQ(t->floor, c.floor);
        EXPECT_EQ(t->depth.size(), c.points);
        EXPECT_EQ(t->fill.size(), c.points);
    }
    const PlotModel clipped = build(floorAndClip);
    EXPECT_DOUBLE_EQ(clipped.dataTop(), 1.0);
    EXPECT_DOUBLE_EQ(clipped.dataBottom(), 5.0);
}

TEST_F(PlotModelTest, TracksFollowTheSwitchesAndTheLogsUnit) {
    PlotSettings s;
    s.zoom.shown = true;
    s.conductivity = {true, false, true, 0, 60};
    s.nnls.shown = true; // no fit made: the track is there but empty
    s.presFlow[0].shown = true;
    s.presFlow[3].shown = true;
    s.referenceCond = 30;
    const PlotModel m = build(s);
    std::vector<std::string> titles;
    for (const Track& t : m.tracks())
        titles.push_back(t.title);
    EXPECT_EQ(titles, (std::vector<std::string>{"%RE", "%RE zoom", "EC", "NNLS", "Pressure", "HP time",
                                                "est. K (ft/day)"}));
    EXPECT_EQ(m.track(TrackKind::Conductivity)->references, std::vector<double>{30});
    EXPECT_TRUE(m.track(TrackKind::Nnls)->values.empty());
    EXPECT_EQ(m.track(TrackKind::KEstimate)->scale, Scale::Log);

    log.Metric(true);
    log.PresFlow(true);
    EXPECT_EQ(build(s).track(TrackKind::KEstimate)->title, "est. K (m/day)");
    log.PresFlow(false); // a log without pressure/flow has none of those tracks
    EXPECT_EQ(build(s).track(TrackKind::KEstimate), nullptr);
    EXPECT_EQ(build(s).track(TrackKind::PresFlow0), nullptr);
}

TEST_F(PlotModelTest, WaterTableOfTheIncludedDissipationTestsInTheLogsUnit) {
    struct Case {
        bool presFlow, included, metric;
        std::optional<double> line;
    };
    for (const Case& c : {Case{true, true, false, 10.5}, Case{true, true, true, 10.5 * 0.3048},
                          Case{true, false, false, std::nullopt}, Case{false, true, false, std::nullopt}}) {
        log.PresFlow(c.presFlow);
        log.Metric(c.metric);
        log.DisWT(1, 10.5f); // feet in every log
        log.DisInclude(1, c.included);
        const auto line = build(PlotSettings{}).waterTable();
        ASSERT_EQ(line.has_value(), c.line.has_value());
        if (line) {
            EXPECT_NEAR(*line, *c.line, 1e-5);
        }
    }
}

TEST_F(PlotModelTest, PressureFlowPointsOfALoadedLogTakeTheLogsDepths) {
    for (int p = 0; p < arrays.presFlow.points(); ++p) // a raw log's lists carry no depth of their own
        arrays.presFlow(presflow_column::Depth, p) = 0.0f;
    PlotSettings s;
    s.presFlow[1].shown = true;
    const PlotModel m = build(s);
    EXPECT_EQ(m.track(TrackKind::PresFlow1)->depth, m.track(TrackKind::Signal)->depth);
    EXPECT_EQ(m.track(TrackKind::KEstimate)->depth, m.track(TrackKind::Signal)->depth);
}

TEST_F(PlotModelTest, SecondaryDepthAxisInTheOtherUnitOrAsElevation) {
    PlotSettings s;
    s.secondaryDepth = 1;
    EXPECT_NEAR(build(s).secondaryAxis()->toValue(10.0), 3.048, 1e-12);
    s.secondaryDepth = 2;
    EXPECT_FALSE(build(s).secondaryAxis()); // no altitude: no elevation
    log.Altitude_Ft(1200.0);
    const auto axis = build(s).secondaryAxis();
    ASSERT_TRUE(axis);
    EXPECT_EQ(axis->title, "Elev. (ft)");
    EXPECT_DOUBLE_EQ(axis->toValue(15.0), 1185.0);
    EXPECT_DOUBLE_EQ(axis->toDepth(1185.0), 15.0);
}

TEST_F(PlotModelTest, ReadOutTakesTheNearestPointWithinTolerance) {
    const PlotModel m = build(PlotSettings{});
    const PointReadout r = m.valuesAt(3.01);
    EXPECT_EQ(r.point, 60);
    ASSERT_FALSE(r.values.empty());
    EXPECT_EQ(r.values.front().title, "%RE");
    EXPECT_FLOAT_EQ(static_cast<float>(r.values.front().value), synthetic::syntheticSignal(60));
    EXPECT_EQ(m.valuesAt(10.5).point, -1); // beyond the log's end by more than two steps
    EXPECT_EQ(m.valuesAt(10.05).point, 200);
}

TEST(Decimation, EveryRowKeepsTheExtremesOfItsPoints) {
    std::mt19937 rng(7);
    std::uniform_real_distribution<float> value(-50, 50);
    std::vector<float> depth, values;
    for (int i = 0; i < 10001; ++i) {
        depth.push_back(i * 0.01f);
        values.push_back(value(rng));
    }
    values[5000] = std::numeric_limits<float>::quiet_NaN();
    const DepthWindow w{10.0, 90.0};
    const int rows = 37;
    const auto ext = decimateRows(depth, values, w, rows, -40.0);
    ASSERT_EQ(ext.size(), std::size_t(rows));
    std::vector<float> lo(rows, 1e9f), hi(rows, -1e9f);
    for (std::size_t i = 0; i < depth.size(); ++i) {
        if (depth[i] < w.top || depth[i] > w.bottom || !std::isfinite(values[i]) || values[i] < -40) continue;
        const int r = std::min(rows - 1, static_cast<int>((depth[i] - w.top) * (rows / w.span())));
        lo[r] = std::min(lo[r], values[i]);
        hi[r] = std::max(hi[r], values[i]);
    }
    for (int r = 0; r < rows; ++r) {
        ASSERT_FALSE(ext[r].empty());
        EXPECT_EQ(ext[r].min, lo[r]) << r;
        EXPECT_EQ(ext[r].max, hi[r]) << r;
        EXPECT_EQ(values[ext[r].maxPoint], hi[r]);
    }
    EXPECT_TRUE(decimateRows(depth, values, DepthWindow{5, 5}, 10).empty());
}

TEST(DepthWindowTest, ZoomPanAndClamp) {
    const DepthWindow w{0, 10};
    EXPECT_EQ(w.zoomed(0.5, 4), (DepthWindow{2, 7}));
    EXPECT_EQ(w.zoomed(-1, 4), w);
    EXPECT_EQ(w.panned(3), (DepthWindow{3, 13}));
    struct Case {
        DepthWindow in, out;
    };
    const Case cases[] = {
        {{-2, 3}, {0, 5}},      // moved inside, span kept
        {{8, 14}, {4, 10}},     //
        {{-5, 50}, {0, 10}},    // wider than the log: the whole log
        {{4, 4}, {3.95, 4.05}}, // never narrower than the smallest span
        {{7, 2}, {2, 7}},       // upside down
    };
    for (const Case& c : cases) {
        const DepthWindow got = c.in.clamped(0, 10);
        EXPECT_NEAR(got.top, c.out.top, 1e-12);
        EXPECT_NEAR(got.bottom, c.out.bottom, 1e-12);
    }
    EXPECT_DOUBLE_EQ(w.toDepth(w.toY(6.5, 100, 400), 100, 400), 6.5);
}

} // namespace
} // namespace zel::plot

namespace zel::plot {
namespace {

// The decay times and classes read beside a log become the lifetime track (a line a channel, in the
// channel colours, points under the cut-off left out) and the class strip right of the %RE track.
class FitTracksTest : public ::testing::Test {
protected:
    void SetUp() override {
        synthetic::fillSyntheticLog(log, arrays, 201, 40, false);
        arrays.tau.assign(4, std::vector<float>(201));
        for (std::size_t c = 0; c < 4; ++c)
            for (std::size_t p = 0; p < 201; ++p)
                arrays.tau[c][p] = static_cast<float>(10 + 5 * c + p % 7);
        arrays.tau[2][50] = std::numeric_limits<float>::quiet_NaN(); // a channel not fitted
        arrays.classNames = {"Light", "Heavy"};
        arrays.pointClass.assign(201, 0);
        for (std::size_t p = 100; p < 201; ++p)
            arrays.pointClass[p] = 1;
        arrays.pointClass[10] = -1;
    }
    PlotModel build(const PlotSettings& s) { return PlotModel::build({log, arrays}, s); }

    zel::testing::RecordingHost host;
    FakeClock clock;
    cZEL_Data log{host, clock};
    LogArrays arrays;
};

TEST_F(FitTracksTest, LifetimeTrackFollowsSwitchAndCutoff) {
    const struct {
        const char* name;
        bool shown;
        std::optional<double> cutoff;
        bool tauLoaded;
    } cases[] = {
        {"shown", true, std::nullopt, true},
        {"switched off", false, std::nullopt, true},
        {"no fit beside the log", true, std::nullopt, false},
        {"cut-off at 5 %RE", true, 5.0, true},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        PlotSettings s;
        s.lifetime = c.shown;
        s.lifetimeCutoff = c.cutoff;
        if (!c.tauLoaded) arrays.tau.clear();
        const PlotModel m = build(s);
        const Track* t = m.track(TrackKind::Lifetime);
        if (!c.shown || !c.tauLoaded) {
            EXPECT_EQ(t, nullptr);
            SetUp();
            continue;
        }
        ASSERT_NE(t, nullptr);
        EXPECT_EQ(t->unit, "ns");
        ASSERT_EQ(t->lines.size(), 4u);
        for (std::size_t ch = 0; ch < 4; ++ch) {
            EXPECT_EQ(t->lines[ch].pen, m.channelColours().colour[ch]);
            ASSERT_EQ(t->lines[ch].values.size(), 201u);
        }
        EXPECT_TRUE(std::isnan(t->lines[2].values[50]));
        EXPECT_EQ(t->lines[1].values[60], 19.0f); // 10 + 5 + 60 % 7, bright enough for any cut-off here
        EXPECT_DOUBLE_EQ(t->max, 50.0);           // the largest, 31 ns, on a nice scale
        int drawn = 0, faint = 0;
        for (std::size_t p = 0; p < 201; ++p) {
            const bool below =
                c.cutoff && arrays.columns(point_column::Signal, static_cast<int>(p)) < *c.cutoff;
            faint += below;
            drawn += std::isfinite(t->lines[0].values[p]);
            if (below) {
                EXPECT_TRUE(std::isnan(t->lines[3].values[p])) << p;
            }
        }
        EXPECT_EQ(drawn, 201 - faint);
        if (c.cutoff) {
            EXPECT_GT(faint, 20);
        }
        // The read-out names each channel's decay time.
        const PointReadout r = m.valuesAt(arrays.columns(point_column::Depth, 60));
        int taus = 0;
        for (const TrackValue& v : r.values)
            taus += v.kind == TrackKind::Lifetime;
        EXPECT_EQ(taus, std::isfinite(t->lines[0].values[60]) ? 4 : 0);
    }
}

TEST_F(FitTracksTest, ClassStripStandsBesideTheSignalTrack) {
    PlotSettings s;
    s.zoom.shown = true;
    const PlotModel m = build(s);
    ASSERT_GE(m.tracks().size(), 3u);
    EXPECT_EQ(m.tracks()[0].kind, TrackKind::Signal);
    EXPECT_EQ(m.tracks()[1].kind, TrackKind::Class);
    const Track& t = m.tracks()[1];
    ASSERT_EQ(t.fill.size(), 201u);
    EXPECT_EQ(t.fill[0], classColour(0));
    EXPECT_EQ(t.fill[150], classColour(1));
    EXPECT_NE(classColour(0), classColour(1));
    EXPECT_TRUE(std::isnan(t.values[10])); // unclassified
    EXPECT_EQ(m.classNames(), arrays.classNames);
    const PointReadout r = m.valuesAt(arrays.columns(point_column::Depth, 150));
    const auto cls = std::find_if(r.values.begin(), r.values.end(),
                                  [](const TrackValue& v) { return v.kind == TrackKind::Class; });
    ASSERT_NE(cls, r.values.end());
    EXPECT_EQ(cls->unit, "Heavy");

    s.classes = false;
    EXPECT_EQ(build(s).track(TrackKind::Class), nullptr);
    // A classification of other points is not drawn.
    arrays.pointClass.pop_back();
    EXPECT_EQ(build(PlotSettings{}).track(TrackKind::Class), nullptr);
}

TEST(FitSettings, LifetimeCutoffAndClassKeysAreRead) {
    const std::map<std::string, std::string, std::less<>> keys{
        {"FWchkLifetime", "0"}, {"FCchkCutoffTau", "1"}, {"FCtxtCutoffTau", "2.5"}, {"FTchkCluster", "0"}};
    const PlotSettings s = plotSettingsFrom(lookupOf(keys));
    EXPECT_FALSE(s.lifetime);
    EXPECT_EQ(s.lifetimeCutoff, 2.5);
    EXPECT_FALSE(s.classes);
    const PlotSettings d = plotSettingsFrom(lookupOf({}));
    EXPECT_TRUE(d.lifetime);
    EXPECT_EQ(d.lifetimeCutoff, std::nullopt);
    EXPECT_TRUE(d.classes);
}

} // namespace
} // namespace zel::plot
