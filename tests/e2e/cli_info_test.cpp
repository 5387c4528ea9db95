// zel-cli info and repair on raw logs built byte by byte here.

#include "tests/e2e/run_program.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <cstdint>
#include <fstream>
#include <iterator>
#include <string>

namespace zel::e2e {
namespace {

const std::string kCli = ZEL_CLI;

std::string le32(std::uint32_t v) {
    std::string s(4, '\0');
    for (int i = 0; i < 4; ++i)
        s[static_cast<std::size_t>(i)] = static_cast<char>((v >> (8 * i)) & 0xFF);
    return s;
}

// 10,001 points of one sample: the DEPTH list is longer than any limited read would return. Each point's
// sample is 1.0 (0x3F800000) but the last, which is -2.0 (0xC0000000).
std::string bigLog(std::uint32_t trailerShift) {
    std::string depth;
    for (int p = 0; p <= 10000; ++p)
        depth += (p ? "," : "") + std::to_string(p / 100) + "." + (p % 100 < 10 ? "0" : "") +
                 std::to_string(p % 100) + "0";
    const std::string text =
        "[INFO]\r\nMode=Birch\xAE\r\nTime_Start=4/12/2016 3:45:10 PM\r\n"
        "[STATS]\r\nSignal_MaxValue=12.5\r\nSignal_MaxDepth_Ft=3.5\r\nDepth_Max_Ft=100\r\n"
        "[DATA_INFO]\r\nData_Points=10000\r\nWave_Points=0\r\nDogwood=True\r\n"
        "[DATA]\r\nRE=7.25\r\nDEPTH=" +
        depth + "\r\nDATA=Binary Appended\r\n";
    std::string block;
    for (int p = 0; p < 10000; ++p)
        block += le32(0x3F800000);
    block += le32(0xC0000000);
    return text + block + le32(static_cast<std::uint32_t>(text.size()) - trailerShift);
}

TEST(CliInfo, LoadsRepairsOnceAndPrintsEveryListElement) {
    TempDir dir;
    const std::string path = dir.write("big.lif.raw.bin", bigLog(5));
    // A read-only look first: the mismatch is reported, the file stays as it was.
    RunResult r = runProgram(kCli + " info " + quote(path) + " --no-repair");
    ASSERT_EQ(r.exitCode, 0) << r.err;
    auto j = nlohmann::json::parse(r.out);
    EXPECT_EQ(j["repaired"], false);
    EXPECT_EQ(j["trailer_mismatch"], true);
    EXPECT_TRUE(j["messages"].empty());
    EXPECT_NE(r.err.find("the file was left as it is"), std::string::npos) << r.err;
    std::ifstream in(path, std::ios::binary);
    EXPECT_EQ(std::string(std::istreambuf_iterator<char>(in), {}), bigLog(5));

    r = runProgram(kCli + " info " + quote(path) + " --lists --wave 10000");
    ASSERT_EQ(r.exitCode, 0) << r.err;
    j = nlohmann::json::parse(r.out);
    EXPECT_NE(r.err.find("was rewritten"), std::string::npos) << r.err;
    EXPECT_EQ(j["header"]["INFO"]["Mode"], "Birch\xC2\xAE");
    EXPECT_EQ(j["header"]["DATA_INFO"]["Data_Points"], "10000");
    EXPECT_EQ(j["header"]["DATA"]["DEPTH"].get<std::string>().size(), 255u); // as the ordinary read gives it
    EXPECT_EQ(j["data_points"], 10000);
    EXPECT_EQ(j["wave_points"], 0);
    EXPECT_EQ(j["signal_max"], nlohmann::json({{"value", 12.5}, {"depth_ft", 3.5}, {"depth_m", 0.0}}));
    EXPECT_EQ(j["depth_max"], nlohmann::json({{"ft", 100.0}, {"m", 0.0}}));
    EXPECT_EQ(j["dogwood"], true);
    EXPECT_EQ(j["repaired"], true);
    EXPECT_EQ(j["messages"],
              nlohmann::json({"Data has been altered or corrupted. A recovery attempt has been made."}));
    ASSERT_EQ(j["lists"]["DEPTH"].size(), 10001u);
    EXPECT_EQ(j["lists"]["DEPTH"][10000], 100.0);
    EXPECT_EQ(j["lists"]["DEPTH"][9999], 99.99);
    EXPECT_EQ(j["lists"]["RE"], nlohmann::json({7.25}));
    EXPECT_EQ(j["wave"], nlohmann::json({{"point", 10000}, {"samples", {-2.0}}}));

    r = runProgram(kCli + " info " + quote(path));
    ASSERT_EQ(r.exitCode, 0) << r.err;
    j = nlohmann::json::parse(r.out);
    EXPECT_EQ(j["repaired"], false);
    EXPECT_TRUE(j["messages"].empty());
    EXPECT_FALSE(j.contains("lists"));
    EXPECT_FALSE(j.contains("wave"));
}

TEST(CliInfo, RefusesWhatIsNotALoadableLog) {
    TempDir dir;
    const std::string log = dir.write("small.lif.raw.bin", bigLog(0));
    struct Case {
        std::string args;
        std::string message;
    };
    for (const Case& c :
         {Case{quote(dir.write("junk.lif.raw.bin", "[INFO]\r\nSite=x\r\n")), "holds no \"Appended\""},
          Case{quote(dir.path.string() + "/missing.lif.raw.bin"), "cannot open"},
          Case{quote(log) + " --wave 10001", "--wave 10001 is not a point of this log (0..10000)"}}) {
        const RunResult r = runProgram(kCli + " info " + c.args);
        EXPECT_EQ(r.exitCode, 1) << c.args;
        EXPECT_TRUE(r.out.empty());
        EXPECT_NE(r.err.find(c.message), std::string::npos) << r.err;
    }
}

TEST(CliRepair, ReportsTheMismatchMendsItAndThenFindsNothing) {
    TempDir dir;
    const std::string text =
        "[DATA_INFO]\r\nData_Points=0\r\nWave_Points=0\r\n[DATA]\r\nDATA=Binary Appended\r\n";
    const std::string path = dir.write("r.lif.raw.bin", text + le32(0x3F800000) + le32(12));
    RunResult r = runProgram(kCli + " repair " + quote(path));
    ASSERT_EQ(r.exitCode, 0) << r.err;
    const std::string size = std::to_string(text.size());
    EXPECT_NE(r.out.find("text part: " + size + " bytes"), std::string::npos) << r.out;
    EXPECT_NE(r.out.find("trailer: 12\n"), std::string::npos) << r.out;
    EXPECT_NE(r.out.find("trailer rewritten to " + size), std::string::npos) << r.out;
    r = runProgram(kCli + " repair " + quote(path));
    EXPECT_NE(r.out.find("trailer: " + size + "\nresult: the trailer matches the text part, nothing done"),
              std::string::npos)
        << r.out;
    EXPECT_EQ(runProgram(kCli + " repair " + quote(dir.write("x", "no marker"))).exitCode, 1);
}

} // namespace
} // namespace zel::e2e
