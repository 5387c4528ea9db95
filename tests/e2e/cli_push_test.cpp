// zel-cli push --sim: a whole push against the simulators, and a push killed in the middle.

#include "tests/e2e/run_program.h"

#include "common/clock.h"
#include "common/testing/recording_host.h"
#include "common/version.h"
#include "log/raw_log_reader.h"
#include "log/temp_point_file.h"
#include "settings/plot_settings.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <chrono>
#include <csignal>
#include <fcntl.h>
#include <fstream>
#include <sstream>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace zel::e2e {
namespace {

const std::string kCli = ZEL_CLI;
namespace fs = std::filesystem;

std::vector<std::string> lines(const std::string& text) {
    std::vector<std::string> out;
    std::istringstream in(text);
    for (std::string l; std::getline(in, l);)
        out.push_back(l);
    return out;
}

TEST(CliPush, WholePushLoadsBackWithItsFiles) {
    TempDir dir;
    const RunResult r =
        runProgram(kCli + " push --sim --points 5 --rate 2 --sweep-ms 0 --yes --mode 2 --name P1 --out " +
                   quote(dir.path.string()));
    ASSERT_EQ(r.exitCode, 0) << r.err;
    const std::vector<std::string> out = lines(r.out);
    ASSERT_EQ(out.size(), 6u) << r.out;
    for (int n = 1; n <= 5; ++n)
        EXPECT_EQ(out[n - 1].rfind("point " + std::to_string(n) + " depth ", 0), 0u) << out[n - 1];
    const auto summary = nlohmann::json::parse(out.back());
    EXPECT_EQ(summary["points"], 5);
    const std::string raw = summary["raw_log"];
    EXPECT_EQ(raw, (dir.path / "P1.lif.raw.bin").string());
    for (const char* key : {"companion", "data_export", "run_log"})
        EXPECT_TRUE(fs::exists(summary[key].get<std::string>())) << key;
    // The companion carries the whole plot-settings set, though the console tool has no dialogs.
    cInifile companion;
    companion.Path = summary["companion"].get<std::string>();
    companion.Section = "Settings";
    EXPECT_EQ(companion.EnumerateCurrentSection(), plotSettingsKeys());
    EXPECT_FALSE(fs::exists(tempPointFilePath(raw)));

    std::ifstream runLog(summary["run_log"].get<std::string>());
    std::stringstream runLogText;
    runLogText << runLog.rdbuf();
    EXPECT_NE(runLogText.str().find("[P1]"), std::string::npos);

    FakeClock clock;
    testing::RecordingHost host(&clock);
    cZEL_Data log(host, clock);
    LogArrays arrays;
    RawLogContext ctx;
    ASSERT_TRUE(LoadRawLog(raw, log, arrays, ctx, host).ok);
    // INFO names the probe of the start-up mode and the program that wrote the log.
    EXPECT_EQ(log.mode(), "Dogwood");
    EXPECT_EQ(ctx.modeId, 2);
    EXPECT_EQ(log.Version(), kVersionText);
    ASSERT_EQ(arrays.points(), 5);
    for (int p = 1; p < 5; ++p)
        EXPECT_GT(arrays.columns(point_column::Depth, p), arrays.columns(point_column::Depth, p - 1)) << p;
}

// Cancel at the first start-of-push question: no push, no files.
TEST(CliPush, CancelledPromptRecordsNothing) {
    TempDir dir;
    const RunResult r = runProgram(kCli + " push --sim --points 5 --sweep-ms 0 --no --name C1 --out " +
                                   quote(dir.path.string()));
    EXPECT_EQ(r.exitCode, 1);
    EXPECT_NE(r.err.find("First Push: This is the first acquisition since the software has been loaded."),
              std::string::npos)
        << r.err;
    EXPECT_EQ(r.out.find("point "), std::string::npos);
    EXPECT_TRUE(fs::is_empty(dir.path));
}

// Killed without warning in the middle of a push, the temporary point file holds every point the push
// had reported as taken, none torn.
TEST(CliPush, KilledPushRecoversEveryReportedPoint) {
    TempDir dir;
    // Its own process group, so the simulators it starts go with it.
    const int reported =
        killAfterReportedPoints(kCli,
                                {"push", "--sim", "--points", "1000", "--rate", "2", "--sweep-ms", "0",
                                 "--yes", "--name", "K1", "--out", dir.path.string()},
                                4);
    ASSERT_EQ(reported, 4);

    LogArrays arrays;
    const std::string temp = tempPointFilePath((dir.path / "K1.lif.raw.bin").string());
    // Records of the push's 13 per-point values and the scope's waveform of samples 0..500.
    const TempReadResult t = readTempPointFile(temp, 13, false, 501, arrays);
    ASSERT_TRUE(t.ok) << t.error;
    EXPECT_GE(t.points, reported);
    EXPECT_EQ(t.droppedBytes, 0u);
}

// The scope stops triggering for longer than an acquisition may take in the middle of a push (the fourth
// point's acquisition completes 17 s late, past the driver's 15 s wait): the loop reports, goes on, and the
// log holds every point it reported, in depth order.
TEST(CliPush, ScopeSilentForAWhile) {
    TempDir dir;
    const RunResult r = runProgram(
        kCli + " push --sim --points 12 --rate 0.5 --rod-ft 0 --sweep-ms 0 --yes --scope-stall 6,17000 " +
        "--name S1 --out " + quote((dir.path / "out").string()));
    ASSERT_EQ(r.exitCode, 0) << r.err;
    EXPECT_NE(r.err.find("Erl of AcquirePoint"), std::string::npos) << r.err;
    int reported = 0;
    for (const auto& l : lines(r.out))
        if (l.rfind("point ", 0) == 0) ++reported;
    EXPECT_EQ(reported, 12);

    FakeClock clock;
    testing::RecordingHost host(&clock);
    cZEL_Data log(host, clock);
    LogArrays arrays;
    RawLogContext ctx;
    ASSERT_TRUE(LoadRawLog((dir.path / "out" / "S1.lif.raw.bin").string(), log, arrays, ctx, host).ok);
    ASSERT_EQ(arrays.points(), 12);
    for (int p = 1; p < 12; ++p)
        EXPECT_GT(arrays.columns(point_column::Depth, p), arrays.columns(point_column::Depth, p - 1)) << p;
}

} // namespace
} // namespace zel::e2e
