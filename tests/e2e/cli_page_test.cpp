// zel-cli page as a batch script runs it, on raw logs written by the raw-log writer.
#include "tests/e2e/run_program.h"

#include "app/plot/pdf_facts.h"
#include "app/plot/synthetic_log.h"
#include "common/testing/recording_host.h"
#include "log/raw_log_writer.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace zel::e2e {
namespace {

namespace fs = std::filesystem;
const std::string kCli = ZEL_CLI;

std::string writeLog(const fs::path& path, int points) {
    testing::RecordingHost host;
    FakeClock clock;
    cZEL_Data log{host, clock};
    LogArrays arrays;
    RawLogContext ctx;
    plot::synthetic::fillSyntheticLog(log, arrays, points, 120);
    return SaveRawLog(path.string(), log, arrays, ctx, host).path;
}

std::string readAll(const fs::path& p) {
    std::ifstream in(p, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

bool hasMediaBox(const std::string& pdf, double width, double height) {
    return plot::synthetic::readPdfFacts(pdf).mediaBox == std::vector<double>{0, 0, width, height};
}

int pdfPages(const std::string& pdf) {
    return plot::synthetic::readPdfFacts(pdf).pages;
}

TEST(CliPage, PagesOfEveryGoodLogAndTheFailuresNamedAtTheEnd) {
    TempDir dir;
    const fs::path out = dir.path / "pages";
    fs::create_directories(out);
    const std::string a = writeLog(dir.path / "MW-1", 200);
    const std::string b = writeLog(dir.path / "MW-2", 3);
    const std::string bad = dir.write("bad.lif.raw.bin", "not a log");
    // The second log is printed landscape on Legal paper, as its companion says.
    dir.write("MW-2.lif.plt", "[Settings]\r\nFAoptOrientation1=True\r\nFAoptPrintSize1=True\r\n");

    const RunResult r = runProgram(kCli + " page " + quote(a) + " " + quote(bad) + " " + quote(b) +
                                   " --pdf --jpg --to " + quote(out.string()));
    EXPECT_EQ(r.exitCode, 1) << r.err;
    EXPECT_NE(
        r.err.find("1/3 " + a + " -> " + (out / "MW-1.pdf").string() + " " + (out / "MW-1.jpg").string()),
        std::string::npos)
        << r.err;
    EXPECT_NE(r.err.find("2/3 " + bad + ": failed"), std::string::npos) << r.err;
    EXPECT_NE(r.err.find("zel-cli page: 1 of 3 files failed: " + bad), std::string::npos) << r.err;

    const std::string first = readAll(out / "MW-1.pdf");
    EXPECT_TRUE(first.starts_with("%PDF")) << first.substr(0, 20);
    EXPECT_EQ(pdfPages(first), 1);
    EXPECT_TRUE(hasMediaBox(first, 612, 792)); // Letter, portrait
    EXPECT_TRUE(readAll(out / "MW-1.jpg").starts_with("\xFF\xD8"));
    EXPECT_TRUE(hasMediaBox(readAll(out / "MW-2.pdf"), 1008, 612));
}

TEST(CliPage, BesideTheRawLogAndAFormatIsRequired) {
    TempDir dir;
    const std::string log = writeLog(dir.path / "SB-3", 20);
    const RunResult r = runProgram(kCli + " page " + quote(log) + " --pdf");
    EXPECT_EQ(r.exitCode, 0) << r.err;
    EXPECT_TRUE(fs::exists(dir.path / "SB-3.pdf"));
    EXPECT_FALSE(fs::exists(dir.path / "SB-3.jpg"));
    EXPECT_EQ(runProgram(kCli + " page " + quote(log)).exitCode, 2);
}

} // namespace
} // namespace zel::e2e
