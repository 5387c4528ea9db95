// zel-cli push --sim under the set-up's controls, checked by value: every point's %RE against the value
// computed here from its stored waveform, RE and background in the mode's layout; the push's data export
// against the export of the log loaded again; the first depth and the stop against the settings.

#include "tests/e2e/run_program.h"

#include "common/clock.h"
#include "common/number_text.h"
#include "common/testing/recording_host.h"
#include "log/raw_log_reader.h"
#include "log/re_reference.h"
#include "waveform/waveform.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <cmath>
#include <fstream>
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

// %RE of every point from its stored waveform against the stored RE less the background, as the push
// processes them, in the given layout.
std::vector<float> recomputed(Pushed& p, int mode, bool gated, int& boundaries) {
    cZEL_Waveform re(p.host);
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
std::vector<ExportRow> checkPointsByValue(Pushed& p, int mode, bool gated) {
    EXPECT_EQ(p.pushExport, p.reloadedExport);
    const std::vector<ExportRow> rows = exportRows(p.pushExport);
    EXPECT_EQ(static_cast<int>(rows.size()), p.arrays.points());
    int boundaries = 0;
    const std::vector<float> expected = recomputed(p, mode, gated, boundaries);
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

} // namespace
} // namespace zel::e2e
