// zel-cli export, recover and next-name as a script runs them, on logs written by the raw-log writer.
#include "tests/e2e/run_program.h"

#include "common/testing/recording_host.h"
#include "log/raw_log_test_data.h"
#include "log/raw_log_writer.h"
#include "log/temp_point_file.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>

namespace zel::e2e {
namespace {

namespace fs = std::filesystem;
const std::string kCli = ZEL_CLI;

std::string writeSmallLog(const fs::path& path, LogFamily family = LogFamily::Lif) {
    testing::RecordingHost host;
    FakeClock clock;
    cZEL_Data log{host, clock};
    LogArrays arrays;
    RawLogContext ctx;
    testdata::fillSmallLog(log, arrays, ctx);
    ctx.family = family;
    return SaveRawLog(path.string(), log, arrays, ctx, host).path;
}

TEST(CliExport, HundredLogsWithProgressAndTheFailuresNamedAtTheEnd) {
    TempDir dir;
    const fs::path out = dir.path / "out";
    fs::create_directories(out);
    std::string args;
    for (int i = 0; i < 100; ++i)
        args += " " + quote(writeSmallLog(dir.path / ("log" + std::to_string(i))));
    const std::string bad = dir.write("bad.lif.raw.bin", "not a log");
    const std::string missing = (dir.path / "missing.lif.raw.bin").string();
    const RunResult r = runProgram(kCli + " export " + quote(bad) + args + " " + quote(missing) + " --to " +
                                   quote(out.string()));
    EXPECT_EQ(r.exitCode, 1);
    EXPECT_EQ(std::count(r.out.begin(), r.out.end(), '\n'), 102);
    EXPECT_NE(r.out.find("1/102 " + bad + ": failed\n"), std::string::npos) << r.out;
    EXPECT_NE(r.out.find("101/102 " + (dir.path / "log99.lif.raw.bin").string() + " -> " +
                         (out / "log99.lif.dat.txt").string() + "\n"),
              std::string::npos)
        << r.out;
    EXPECT_NE(r.err.find("zel-cli export: 2 of 102 files failed: " + bad + " " + missing), std::string::npos)
        << r.err;
    EXPECT_NE(r.err.find("File does not exist:\r\n" + missing), std::string::npos) << r.err;
    int exports = 0;
    for (const auto& e : fs::directory_iterator(out))
        exports += e.path().string().ends_with(".lif.dat.txt");
    EXPECT_EQ(exports, 100);
    const std::string text = testdata::readAll(out / "log0.lif.dat.txt");
    EXPECT_TRUE(text.starts_with("Depth\tSignal\t")) << text;
    EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 3); // header and two points
}

TEST(CliExport, BesideTheRawLogWithoutTargetColourLogsToo) {
    TempDir dir;
    const std::string log = writeSmallLog(dir.path / "MW-7");
    const std::string colour = writeSmallLog(dir.path / "C-1", LogFamily::Colour);
    const RunResult r = runProgram(kCli + " export " + quote(log) + " " + quote(colour));
    EXPECT_EQ(r.exitCode, 0) << r.err;
    EXPECT_TRUE(fs::exists(dir.path / "MW-7.lif.dat.txt"));
    EXPECT_TRUE(testdata::readAll(dir.path / "C-1.clr.dat.txt").starts_with("Depth\tRate\tRGB\t")) << r.err;
}

// The export written at the end of a push and the export of its raw log loaded later are the same file.
TEST(CliExport, ARawLogExportsWhatItsPushExported) {
    TempDir dir;
    const RunResult push =
        runProgram(kCli + " push --sim --points 12 --rate 2 --sweep-ms 0 --yes --name RT --out " +
                   quote(dir.path.string()));
    ASSERT_EQ(push.exitCode, 0) << push.err;
    const fs::path out = dir.path / "out";
    fs::create_directories(out);
    const RunResult r = runProgram(kCli + " export " + quote((dir.path / "RT.lif.raw.bin").string()) +
                                   " --to " + quote(out.string()));
    ASSERT_EQ(r.exitCode, 0) << r.err;
    const std::string atPush = testdata::readAll(dir.path / "RT.lif.dat.txt");
    EXPECT_EQ(std::count(atPush.begin(), atPush.end(), '\n'), 13);
    EXPECT_EQ(testdata::readAll(out / "RT.lif.dat.txt"), atPush);
}

TEST(CliRecover, TemporaryPointFileToRecoveredLog) {
    TempDir dir;
    const std::string header = writeSmallLog(dir.path / "previous");
    const std::string temp = (dir.path / "push.lif.raw.bin.temp").string();
    {
        TempPointFile f;
        ASSERT_TRUE(f.open(temp));
        const std::array<float, 8> columns{0.5f};
        const std::array<float, kPresFlowColumns> presFlow{};
        const std::array<float, 3> wave{1, 2, 3};
        for (int p = 0; p < 3; ++p)
            ASSERT_TRUE(f.writePoint(columns, presFlow, wave));
    }
    const std::string env = "ZEL_DATA_ROOT=" + quote((dir.path / "root").string()) + " ";
    const RunResult r = runProgram(env + kCli + " recover " + quote(temp) + " --log " + quote(header));
    ASSERT_EQ(r.exitCode, 0) << r.err;
    const std::string recovered = (dir.path / "push_Recovered.lif.raw.bin").string();
    const std::string head = "recovered: " + recovered + "\npoints: 3\nrun_log: ";
    ASSERT_EQ(r.out.substr(0, head.size()), head) << r.out;
    EXPECT_NE(r.out.find("\ntime_start: "), std::string::npos) << r.out;
    // The times are the temporary file's, and the header values taken from the other log are named.
    EXPECT_NE(r.out.find("from_log: " + header + ": the point layout"), std::string::npos) << r.out;
    EXPECT_NE(r.err.find("takes Time_Start"), std::string::npos) << r.err;
    EXPECT_TRUE(fs::exists(recovered));
    // The recovery's run-log entry, under the data root.
    const std::string runLog = r.out.substr(head.size(), r.out.find('\n', head.size()) - head.size());
    EXPECT_EQ(fs::path(runLog).parent_path(), dir.path / "root" / "log");
    EXPECT_NE(testdata::readAll(runLog).find("[push_Recovered]"), std::string::npos);
    const std::string notALog = dir.write("junk.lif.raw.bin", "junk");
    const RunResult refused = runProgram(kCli + " recover " + quote(temp) + " --log " + quote(notALog));
    EXPECT_EQ(refused.exitCode, 1);
    EXPECT_NE(refused.err.find("could not be recovered"), std::string::npos) << refused.err;
}

// The rules themselves are the naming unit tests'; here the options reach them.
TEST(CliNextName, ModeOptions) {
    for (const auto& [args, out] :
         {std::pair{"'' --mode 1", "001-BX\n"}, std::pair{"Clr_009 --colour", "Clr_010\n"},
          std::pair{"'' --o2", "O2_001\n"}}) {
        const RunResult r = runProgram(kCli + " next-name " + args);
        EXPECT_EQ(r.exitCode, 0) << args;
        EXPECT_EQ(r.out, out) << args;
    }
}

} // namespace
} // namespace zel::e2e
