// zel-cli push --sim under the set-up's controls, checked by value: every point's %RE against the value
// computed here from its stored waveform, RE and background in the mode's layout; the push's data export
// against the export of the log loaded again; the first depth and the stop against the settings.

#include "tests/e2e/run_program.h"

#include "common/clock.h"
#include "common/number_text.h"
#include "common/testing/recording_host.h"
#include "log/raw_log_reader.h"
#include "log/raw_log_writer.h"
#include "log/re_reference.h"
#include "waveform/waveform.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <cmath>
#include <fstream>
#include <functional>
#include <regex>
#include <sstream>

namespace zel::e2e {
namespace {

const std::string kCli = ZEL_CLI;
namespace fs = std::filesystem;

std::string readFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::stringstream s;
    s << in.rdbuf();
    return s.str();
}

std::vector<std::string> split(const std::string& text, char sep) {
    std::vector<std::string> out;
    std::string field;
    std::istringstream in(text);
    while (std::getline(in, field, sep))
        out.push_back(field);
    return out;
}

// The data export's rows: depth and %RE of each point.
struct ExportRow {
    double depth = 0.0;
    double signal = 0.0;
};
std::vector<ExportRow> exportRows(const std::string& text) {
    std::vector<ExportRow> rows;
    const auto lines = split(text, '\n');
    for (std::size_t i = 1; i < lines.size(); ++i) {
        const auto f = split(lines[i], '\t');
        if (f.size() < 2) continue;
        rows.push_back({val(f[0]), val(f[1])});
    }
    return rows;
}

struct Pushed {
    RunResult run;
    nlohmann::json summary;
    std::string pushExport;
    std::string reloadedExport;
    FakeClock clock;
    testing::RecordingHost host{&clock};
    cZEL_Data log{host, clock};
    LogArrays arrays;
    RawLogContext ctx;
};

// A short push into dir (its own data root, so no options file of the machine takes part), the log loaded
// back as stored (no recomputing) and zel-cli's export of it.
void push(const TempDir& dir, const std::string& args, Pushed& p) {
    const std::string env = "ZEL_DATA_ROOT=" + quote((dir.path / "root").string()) + " ";
    p.run = runProgram(env + kCli + " push --sim --sweep-ms 0 --yes --name L --out " +
                       quote(dir.path.string()) + " " + args);
    ASSERT_EQ(p.run.exitCode, 0) << p.run.err;
    p.summary = nlohmann::json::parse(split(p.run.out, '\n').back());
    const std::string raw = p.summary["raw_log"];
    p.pushExport = readFile(p.summary["data_export"]);
    fs::create_directories(dir.path / "again");
    const RunResult e =
        runProgram(env + kCli + " export " + quote(raw) + " --to " + quote((dir.path / "again").string()));
    ASSERT_EQ(e.exitCode, 0) << e.err;
    p.reloadedExport = readFile((dir.path / "again" / "L.lif.dat.txt").string());
    ASSERT_TRUE(LoadRawLog(raw, p.log, p.arrays, p.ctx, p.host).ok);
}

// What a set-up option changes on a waveform instance, set here by hand (isRe: the RE's instance).
using Adjust = std::function<void(cZEL_Waveform&, bool isRe)>;

// %RE of every point from its stored waveform against the stored RE less the background, as the push
// processes them, in the given layout.
std::vector<float> recomputed(Pushed& p, int mode, bool gated, int& boundaries, const Adjust& adjust = {}) {
    cZEL_Waveform re(p.host);
    if (adjust) adjust(re, true);
    re.Mode = mode;
    re.AcqType = gated ? 1 : 0;
    re.NoScatterScaling = true;
    re.DeltaX = p.log.Wave_DeltaX();
    re.RE_Delay = p.ctx.waveDelay;
    re.SetBackground(p.arrays.blank.samples);
    std::vector<float> samples = p.arrays.re.samples;
    EXPECT_TRUE(re.Process_Wave(samples));
    re.Process_Cutoffs(samples, false);
    EXPECT_TRUE(re.Process_RE(samples, true, false));
    boundaries = re.ChannelCount;
    std::vector<float> out;
    for (int i = 0; i < p.arrays.points(); ++i) {
        cZEL_Waveform w(p.host);
        if (adjust) adjust(w, false);
        w.Mode = mode;
        w.AcqType = re.AcqType;
        w.DeltaX = re.DeltaX;
        w.CopyCutoffs(re);
        w.CopyReference(re);
        const auto stored = p.arrays.waves.wave(i);
        std::vector<float> wave(stored.begin(), stored.end());
        bool low = false;
        EXPECT_TRUE(w.ProcessWaveform(wave, false, low));
        out.push_back(w.Wave_Signal);
    }
    return out;
}

// The push's export is the reloaded log's, and every %RE in it is the one computed here in the layout of
// the mode. Returns the rows.
std::vector<ExportRow> checkPointsByValue(Pushed& p, int mode, bool gated, const Adjust& adjust = {}) {
    EXPECT_EQ(p.pushExport, p.reloadedExport);
    const std::vector<ExportRow> rows = exportRows(p.pushExport);
    EXPECT_EQ(static_cast<int>(rows.size()), p.arrays.points());
    int boundaries = 0;
    const std::vector<float> expected = recomputed(p, mode, gated, boundaries, adjust);
    EXPECT_EQ(p.ctx.channels, boundaries + 1);
    for (std::size_t i = 0; i < rows.size() && i < expected.size(); ++i)
        EXPECT_NEAR(rows[i].signal, expected[i], 5e-5 + 1e-6 * std::fabs(expected[i])) << "point " << i;
    EXPECT_EQ(p.ctx.modeId, mode);
    return rows;
}

TEST(CliPushSettings, StandardProbeLogsStandardPercentRE) {
    TempDir dir;
    Pushed p;
    push(dir, "--rate 2 --points 4 --mode 0", p);
    const auto rows = checkPointsByValue(p, 0, false);
    ASSERT_EQ(rows.size(), 4u);
    // No start depth: the push logs the depths the encoder reads, from the surface down.
    EXPECT_GE(rows[0].depth, 0.0);
    for (std::size_t i = 1; i < rows.size(); ++i)
        EXPECT_GT(rows[i].depth, rows[i - 1].depth) << i;
}

// Birch: the first channel is the scatter peak, so RE and points are processed in the gated layout (the
// start's scatter-ratio question included), and the load agrees.
TEST(CliPushSettings, GatedProbeLogsGatedPercentRE) {
    TempDir dir;
    Pushed p;
    push(dir, "--rate 2 --points 4 --mode 1", p);
    checkPointsByValue(p, 1, true);
    // The layout matters for these waveforms: the standard layout would have logged other values.
    int boundaries = 0;
    const std::vector<float> gated = recomputed(p, 1, true, boundaries);
    const std::vector<float> standard = recomputed(p, 1, false, boundaries);
    bool differs = false;
    for (std::size_t i = 0; i < gated.size(); ++i)
        differs = differs || std::fabs(gated[i] - standard[i]) > 0.01f;
    EXPECT_TRUE(differs);
}

TEST(CliPushSettings, MetricPushLogsMetres) {
    TempDir dir;
    Pushed p;
    push(dir, "--rate 2 --points 4 --metric --start-depth 3", p);
    const auto rows = checkPointsByValue(p, 0, false);
    EXPECT_TRUE(p.log.Metric());
    ASSERT_EQ(rows.size(), 4u);
    // The start depth is in metres too, and the depth goes on from it in metres.
    EXPECT_GE(rows[0].depth, 3.0);
    EXPECT_LT(rows[0].depth, 3.1);
    EXPECT_LT(rows[3].depth - rows[0].depth, 0.5);
}

TEST(CliPushSettings, StartDepthIsTheFirstDepth) {
    TempDir dir;
    Pushed p;
    push(dir, "--rate 2 --points 3 --start-depth 10", p);
    const auto rows = checkPointsByValue(p, 0, false);
    ASSERT_EQ(rows.size(), 3u);
    EXPECT_GE(rows[0].depth, 10.0);
    EXPECT_LT(rows[0].depth, 10.3);
}

// The push ends by itself at the stop depth, long before its point count.
TEST(CliPushSettings, AutomaticStopAtTheStopDepth) {
    TempDir dir;
    Pushed p;
    push(dir, "--rate 2 --points 1000 --start-depth 10 --stop-depth 11", p);
    const auto rows = checkPointsByValue(p, 0, false);
    ASSERT_GE(rows.size(), 3u);
    EXPECT_LT(rows.size(), 20u);
    EXPECT_GE(rows.back().depth, 11.0);
    EXPECT_LT(rows.back().depth, 11.5);
    for (std::size_t i = 0; i + 1 < rows.size(); ++i)
        EXPECT_LT(rows[i].depth, 11.0) << i;
}

// The timed variant: a point every interval (2 s), the depth advancing by interval / 60 from the start,
// whatever the probe does; the log says its points are spaced in time.
TEST(CliPushSettings, TimedPushStepsByTheInterval) {
    TempDir dir;
    Pushed p;
    push(dir, "--rate 0.01 --points 3 --timed 1 --start-depth 5", p);
    const auto rows = checkPointsByValue(p, 0, false);
    ASSERT_EQ(rows.size(), 3u);
    EXPECT_TRUE(p.log.TimeMode());
    // The depth the (slow) probe had when the timed acquisition began, then steps of 2 / 60: 1 s is
    // clamped to 2 s.
    EXPECT_GE(rows[0].depth, 5.0);
    EXPECT_LT(rows[0].depth, 5.01);
    for (std::size_t i = 1; i < rows.size(); ++i)
        EXPECT_NEAR(rows[i].depth - rows[0].depth, static_cast<double>(i) * 2.0 / 60.0, 0.0011) << i;
}

// Continuous depth: a point on every pass, so a slow probe gives points at the same depth.
TEST(CliPushSettings, ContinuousDepthTakesPointsWithoutNewDepth) {
    TempDir dir;
    Pushed p;
    push(dir, "--rate 0.01 --points 8 --continuous", p);
    const auto rows = checkPointsByValue(p, 0, false);
    ASSERT_EQ(rows.size(), 8u);
    int repeats = 0;
    for (std::size_t i = 0; i + 1 < rows.size(); ++i)
        repeats += rows[i + 1].depth == rows[i].depth;
    EXPECT_GT(repeats, 0);
}

// A seven-channel probe: the rig's RE and ground light come in seven pulses, the RE search finds six
// boundaries, and the points are processed with all seven channels (not cut to the first four), so the log's
// %RE is the site's.
TEST(CliPushSettings, SevenChannelProbeKeepsItsSixBoundaries) {
    TempDir dir;
    const std::string site = dir.write(
        "seven.json", R"({"name": "seven", "bottom_ft": 30, "layers": [{"top_ft": 0, "bottom_ft": 30,
            "pct_re": 40, "shares": [8, 22, 20, 15, 15, 10, 10]}]})");
    Pushed p;
    push(dir, "--rate 2 --points 4 --mode 7 --site " + quote(site), p);
    const auto rows = checkPointsByValue(p, 7, false);
    EXPECT_EQ(p.ctx.channels, 7);
    ASSERT_EQ(rows.size(), 4u);
    for (const ExportRow& r : rows)
        EXPECT_NEAR(r.signal, 40.0, 6.0) << r.depth;
}

// With the data board in the push the RE reference file keeps the RE's and the background's channel areas,
// the ones the log's STATS carry.
// In HD-board mode the RE reference file keeps the board's RE and background, the values the log's RE and
// BLANK lists hold (these to two decimals).
TEST(CliPushSettings, DataBoardPushWritesTheREReferenceFile) {
    TempDir dir;
    Pushed p;
    push(dir, "--rate 2 --points 3 --hd", p);
    const std::string root = (dir.path / "root").string();
    const auto re = ReadReReference(root, false);
    const auto bk = ReadReReference(root, true);
    ASSERT_TRUE(re && bk);
    ASSERT_EQ(p.arrays.re.samples.size(), 4u);
    ASSERT_EQ(p.arrays.blank.samples.size(), 4u);
    for (std::size_t k = 0; k < 4; ++k) {
        EXPECT_NEAR(re->channels[k], p.arrays.re.samples[k], 0.0051) << k;
        EXPECT_NEAR(bk->channels[k], p.arrays.blank.samples[k], 0.0051) << k;
    }
    EXPECT_EQ(re->time.size(), 19u);
}

// The options file under the data root, as the desktop saves its forms: "[Section]" lines and their keys.
void writeOptions(const TempDir& dir, const std::string& text) {
    fs::create_directories(dir.path / "root" / "ini");
    std::ofstream(dir.path / "root" / "ini" / "ZEL_Options.ini", std::ios::binary) << text;
}

// The Advanced and wave-mathematics forms' processing options, as the options file keeps them, change the
// push's %RE, and the load of the log (zel-cli export, with the same options file) computes the same values.
// Each point is checked against its stored waveform processed here with the option set by hand, and at least
// one point must differ from the set-up without the option, so the option did act.
TEST(CliPushSettings, ProcessingOptionsOfTheOptionsFileReachThePushAndTheLoad) {
    const struct {
        const char* name;
        int mode;
        const char* options;
        Adjust adjust;
    } cases[] = {
        {"exclude CH2", 0, "[AdvOptions]\r\n0,chkExclude,1=1\r\n",
         [](cZEL_Waveform& w, bool re) { w.Exclude[1] = !re; }},
        {"exclude CH1", 0, "[AdvOptions]\r\n0,chkExcludeCH1=1\r\n",
         [](cZEL_Waveform& w, bool re) { w.ExcludeCH1 = !re; }},
        {"gain CH3", 0, "[AdvOptions]\r\n0,chkChannelGain=1\r\n1,txtGain,2=3\r\n",
         [](cZEL_Waveform& w, bool) {
             w.Options.applyGains = true;
             w.Gain[2] = 3.0f;
         }},
        {"width limit", 0, "[AdvOptions]\r\n0,txtWidthLimit=8\r\n",
         [](cZEL_Waveform& w, bool re) { w.WidthLimit = re ? 0 : 8; }},
        {"first sample", 0, "[WaveMath]\r\n0,chkFirstSample=1\r\n",
         [](cZEL_Waveform& w, bool) { w.Options.firstSample = true; }},
        {"scatter scaling, gated probe", 1, "[WaveMath]\r\n0,chkScatterScaling=1\r\n",
         [](cZEL_Waveform& w, bool) { w.Options.scatterScaling = true; }},
        {"plain %RE, gated probe", 1, "[WaveMath]\r\n0,chkPlainRE=1\r\n",
         [](cZEL_Waveform& w, bool) { w.Options.plainPercentRE = true; }},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        TempDir dir;
        writeOptions(dir, c.options);
        Pushed p;
        push(dir, "--rate 2 --points 4 --mode " + std::to_string(c.mode), p);
        if (::testing::Test::HasFatalFailure()) return;
        const bool gated = c.mode == 1;
        checkPointsByValue(p, c.mode, gated, c.adjust);
        int boundaries = 0;
        const std::vector<float> with = recomputed(p, c.mode, gated, boundaries, c.adjust);
        const std::vector<float> without = recomputed(p, c.mode, gated, boundaries);
        bool differs = false;
        for (std::size_t i = 0; i < with.size() && i < without.size(); ++i)
            differs = differs || std::fabs(with[i] - without[i]) > 0.01f;
        EXPECT_TRUE(differs);
    }
}

// A push under the options file's Setup and Advanced controls, each case against its own data root: what the
// log, the companion, the prompts and the field display show of it.
TEST(CliPushSettings, SetupAndAdvancedControlsOfTheOptionsFile) {
    struct Outcome {
        RunResult run;
        Pushed* pushed = nullptr; // the log when the push was recorded
        std::string transcripts;
    };
    const struct {
        const char* name;
        const char* options;
        const char* args;
        std::function<void(const Outcome&)> check;
    } cases[] = {
        {"start depth and automatic stop",
         "[Tab]\r\n0,txtStartDepth=10\r\n1,chkAutoStop=1\r\n2,txtStopDepth=11\r\n", "--points 1000",
         [](const Outcome& o) {
             const auto rows = exportRows(o.pushed->pushExport);
             ASSERT_GE(rows.size(), 3u);
             EXPECT_LT(rows.size(), 20u);
             EXPECT_GE(rows.front().depth, 10.0);
             EXPECT_LT(rows.front().depth, 10.3);
             EXPECT_GE(rows.back().depth, 11.0);
             EXPECT_LT(rows.back().depth, 11.5);
         }},
        // The timed variant at the Setup form's interval: the depth advances by 4 / 60 an interval.
        {"timed interval", "[Tab]\r\n0,txtInterval=4\r\n", "--points 2 --timed 0",
         [](const Outcome& o) {
             const auto rows = exportRows(o.pushed->pushExport);
             ASSERT_EQ(rows.size(), 2u);
             EXPECT_NEAR(rows[1].depth - rows[0].depth, 4.0 / 60.0, 0.0011);
         }},
        {"metric", "[Tab]\r\n0,chkMetric=1\r\n", "--points 3",
         [](const Outcome& o) { EXPECT_TRUE(o.pushed->log.Metric()); }},
        {"depth step on the field display", "[Tab]\r\n0,txtStep=0.25\r\n", "--points 3",
         [](const Outcome& o) {
             const std::string display = readFile(o.transcripts + "/display.txt");
             EXPECT_NE(display.find("0.25 per ft"), std::string::npos) << display.substr(0, 2000);
         }},
        // The pressure port stands 0.5 ft above the probe's depth reference: its readings are logged there.
        {"pressure port offset", "[Tab]\r\n0,chkPresFlow=1\r\n1,txtPFOffset=-0.5\r\n", "--points 3",
         [](const Outcome& o) {
             const LogArrays& a = o.pushed->arrays;
             EXPECT_EQ(o.pushed->log.PF_Offset(), -0.5f);
             ASSERT_EQ(a.presFlow.points(), a.points());
             ASSERT_GT(a.points(), 0);
             for (int i = 0; i < a.points(); ++i)
                 EXPECT_NEAR(*a.presFlow.at(presflow_column::Depth, i),
                             *a.columns.at(point_column::Depth, i) - 0.5f, 0.011)
                     << i;
         }},
        // Boundaries at 30, 60, 90 leave most of the RE's light out of its area: a diagnostic set-up, with
        // the area check off.
        {"fixed channel boundaries", "[AdvOptions]\r\n0,chkFixedCutoffs=1\r\n1,chkRE_NoAreaCheck=1\r\n",
         "--points 3",
         [](const Outcome& o) {
             EXPECT_EQ(o.pushed->log.Cutoff_Index(), (std::array<int, 3>{30, 60, 90}));
         }},
        {"low-output RE limits", "[AdvOptions]\r\n0,chkRE_LowOutput=1\r\n", "--points 3",
         [](const Outcome& o) {
             EXPECT_NE(
                 o.run.err.find("RE area is above 3,000 pVs. Acquisition will be allowed to continue, but "
                                "RE suspect.\n"),
                 std::string::npos)
                 << o.run.err;
         }},
        {"RE area exemption", "[AdvOptions]\r\n0,chkRE_NoAreaCheck=1\r\n", "--points 3 --re-scale 0.3",
         [](const Outcome& o) {
             EXPECT_EQ(o.run.err.find("RE area is below"), std::string::npos) << o.run.err;
         }},
        // Every question answered Cancel, yet the push is recorded: none was asked.
        {"start questions skipped", "[AdvOptions]\r\n0,chkSuppressPrompts=1\r\n", "--points 3 --no",
         [](const Outcome& o) {
             EXPECT_EQ(o.run.err.find("This is the first acquisition"), std::string::npos) << o.run.err;
         }},
        // The plot settings the push's companion carries are the forms' as the options file keeps them.
        {"plot settings into the companion",
         "[AdvOptions]\r\n0,chkGrid=0\r\n[Tab]\r\n0,txtSignalMax=250\r\n[WaveMath]\r\n0,chkLifetime=0\r\n",
         "--points 3",
         [](const Outcome& o) {
             const std::string plt = readFile(o.pushed->summary["companion"]);
             for (const char* line : {"FAchkGrid=0\r\n", "FTtxtSignalMax=250\r\n", "FWchkLifetime=0\r\n"})
                 EXPECT_NE(plt.find(line), std::string::npos) << line;
         }},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        TempDir dir;
        writeOptions(dir, c.options);
        Outcome o;
        o.transcripts = (dir.path / "sims").string();
        Pushed p;
        const std::string env = "ZEL_DATA_ROOT=" + quote((dir.path / "root").string()) + " ";
        // --yes unless the case answers the questions itself.
        const std::string answer = std::string(c.args).find("--no") == std::string::npos ? " --yes" : "";
        o.run = runProgram(env + kCli + " push --sim --sweep-ms 0 --rate 2 --name L --out " +
                           quote(dir.path.string()) + " --sim-transcripts " + quote(o.transcripts) + answer +
                           " " + c.args);
        ASSERT_EQ(o.run.exitCode, 0) << o.run.err;
        p.summary = nlohmann::json::parse(split(o.run.out, '\n').back());
        const std::string raw = p.summary["raw_log"];
        p.pushExport = readFile(p.summary["data_export"]);
        ASSERT_TRUE(LoadRawLog(raw, p.log, p.arrays, p.ctx, p.host).ok);
        o.pushed = &p;
        c.check(o);
    }
}

// The Advanced form's scope settings as the options file keeps them (the lists by their index), and the
// switches of this session over them, in the commands the simulated scope received.
TEST(CliPushSettings, ScopeSettingsOfTheOptionsFileReachTheScope) {
    const auto scopeCommands = [](const std::string& options, const std::string& args) {
        TempDir dir;
        writeOptions(dir, "[AdvOptions]\r\n" + options);
        const std::string sims = (dir.path / "sims").string();
        const std::string env = "ZEL_DATA_ROOT=" + quote((dir.path / "root").string()) + " ";
        const RunResult r =
            runProgram(env + kCli + " push --sim --sweep-ms 0 --rate 2 --yes --points 2 --name L --out " +
                       quote(dir.path.string()) + " --sim-transcripts " + quote(sims) + " " + args);
        EXPECT_EQ(r.exitCode, 0) << r.err;
        return split(readFile(sims + "/scope.txt"), '\n');
    };
    const auto has = [](const std::vector<std::string>& lines, const std::string& text) {
        return std::any_of(lines.begin(), lines.end(),
                           [&](const std::string& l) { return l.find(text) != std::string::npos; });
    };
    // The RE is taken at the RE scale: the last scale set before the push locks the panel is the RE's (during
    // the push the scale follows the light).
    const auto reScale = [](const std::vector<std::string>& lines) {
        std::string scale;
        for (const std::string& l : lines) {
            if (l.find("LOC ALL") != std::string::npos) break;
            if (l.starts_with(":CH2:SCA ")) scale = l.substr(9);
        }
        return scale;
    };
    const struct {
        const char* name;
        const char* options;
        const char* args;
        std::vector<std::string> present;
        std::vector<std::string> absent;
        const char* reScale; // "": not checked (no lock to find it by)
    } cases[] = {
        // The averaging list's entry 3 is 16 sweeps; the RE scale list's entry 7 is 200 mV a division.
        {"lists",
         "0,cmbScopeAverage=3\r\n1,cmbScopeREScale=7\r\n",
         "",
         {":ACQ:MOD AVE;NUMAV 16", "LOC ALL"},
         {},
         "0.2"},
        {"switches over the lists",
         "0,cmbScopeAverage=3\r\n1,cmbScopeREScale=7\r\n",
         "/S032 /RE100",
         {":ACQ:MOD AVE;NUMAV 32"},
         {"NUMAV 16"},
         "0.1"},
        {"front panel left unlocked", "0,chkUnlockScope=1\r\n", "", {}, {"LOC ALL"}, ""},
        {"front panel unlocked by the switch", "", "/NOLOCK", {}, {"LOC ALL"}, ""},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        const auto lines = scopeCommands(c.options, c.args);
        ASSERT_FALSE(lines.empty());
        for (const std::string& text : c.present)
            EXPECT_TRUE(has(lines, text)) << text;
        for (const std::string& text : c.absent)
            EXPECT_FALSE(has(lines, text)) << text;
        if (*c.reScale) {
            EXPECT_EQ(reScale(lines), c.reScale);
        }
    }
    // Locked for the push only: the panel is free again once it ended.
    const auto locked = scopeCommands("", "");
    const auto lock = std::find_if(locked.begin(), locked.end(), [](const std::string& l) {
        return l.find("LOC ALL") != std::string::npos;
    });
    ASSERT_NE(lock, locked.end());
    EXPECT_TRUE(std::any_of(lock, locked.end(),
                            [](const std::string& l) { return l.find("LOC NON") != std::string::npos; }));
}

// The baseline feature: with the wave-mathematics form's box ticked, a log's stored baseline is the push's
// and goes into its raw log; without the box, or from a log that keeps none, the push is refused.
TEST(CliPushSettings, BaselineFeatureCarriesALogsStoredBaselineIntoThePush) {
    TempDir dir;
    Pushed first;
    push(dir, "--rate 2 --points 2", first);
    if (::testing::Test::HasFatalFailure()) return;
    first.arrays.baseline = {0.5f, 0.25f, 1.75f};
    first.ctx.baselineInUse = true;
    ASSERT_TRUE(SaveRawLog((dir.path / "B").string(), first.log, first.arrays, first.ctx, first.host).ok);
    const std::string withBaseline = (dir.path / "B.lif.raw.bin").string();
    const std::string without = first.summary["raw_log"];
    const struct {
        const char* name;
        const char* options;
        std::string from;
        int exitCode;
        const char* says; // on stderr; the pushed log's BASELINE line when it was recorded
    } cases[] = {
        {"box ticked", "[WaveMath]\r\n0,chkBaseline=1\r\n", withBaseline, 0, "BASELINE=0.50,0.25,1.75\r\n"},
        {"box clear", "", withBaseline, 1, "--baseline-from needs the baseline feature"},
        {"log without one", "[WaveMath]\r\n0,chkBaseline=1\r\n", without, 1, "keeps no stored baseline."},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        TempDir run;
        writeOptions(run, c.options);
        const std::string env = "ZEL_DATA_ROOT=" + quote((run.path / "root").string()) + " ";
        const RunResult r =
            runProgram(env + kCli + " push --sim --sweep-ms 0 --rate 2 --yes --points 2 --name P --out " +
                       quote(run.path.string()) + " --baseline-from " + quote(c.from));
        ASSERT_EQ(r.exitCode, c.exitCode) << r.err;
        if (c.exitCode == 0)
            EXPECT_NE(readFile((run.path / "P.lif.raw.bin").string()).find(c.says), std::string::npos);
        else
            EXPECT_NE(r.err.find(c.says), std::string::npos) << r.err;
    }
}

// GPS naming: the Setup form's box names the log by the receiver's position and the time at the start
// ("48d11730 11d51667 20160412 154510"), as --gps-name does; a name given on the command line wins over the
// box.
TEST(CliPushSettings, GpsNamingNamesTheLogByPositionAndTime) {
    const std::regex gpsName(R"(-?\d+d\d{5} -?\d+d\d{5} \d{8} \d{6}\.lif\.raw\.bin)");
    const struct {
        const char* name;
        const char* options;
        const char* args;
        bool byGps;
    } cases[] = {
        {"box ticked", "[Tab]\r\n0,chkGPSNaming=1\r\n", "", true},
        {"flag", "", "--gps-name", true},
        {"a given name wins", "[Tab]\r\n0,chkGPSNaming=1\r\n", "--name Given", false},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        TempDir dir;
        writeOptions(dir, c.options);
        const std::string env = "ZEL_DATA_ROOT=" + quote((dir.path / "root").string()) + " ";
        const RunResult r =
            runProgram(env + kCli + " push --sim --sweep-ms 0 --rate 2 --yes --points 2 --out " +
                       quote(dir.path.string()) + " " + c.args);
        ASSERT_EQ(r.exitCode, 0) << r.err;
        const std::string raw = nlohmann::json::parse(split(r.out, '\n').back())["raw_log"];
        const std::string file = fs::path(raw).filename().string();
        if (c.byGps)
            EXPECT_TRUE(std::regex_match(file, gpsName)) << file;
        else
            EXPECT_EQ(file, "Given.lif.raw.bin");
    }
}

} // namespace
} // namespace zel::e2e
