// zel-cli scope against zel-sim scope: a technician's check of a scope, as a script runs it.

#include "tests/e2e/field_sim.h"
#include "tests/e2e/run_program.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <fstream>

namespace zel::e2e {
namespace {

const std::string kCli = ZEL_CLI;

struct CliScope : ::testing::Test {
    TempDir dir;
    std::string transcript = (dir.path / "transcript.txt").string();
    SimChild sim{ZEL_SIM, {"scope", "--portmap-port", "0", "--sweep-ms", "0", "--transcript", transcript}};
    std::string portmap() const { return std::to_string(sim.port("scope", "portmap")); }

    std::vector<std::string> transcriptLines() const {
        std::ifstream in(transcript);
        std::vector<std::string> out;
        for (std::string l; std::getline(in, l);)
            out.push_back(l);
        return out;
    }
};

TEST_F(CliScope, WritesAndQueriesInOrderWithWaveformsAsJson) {
    ASSERT_TRUE(sim.running());
    const RunResult r = runProgram(kCli + " scope 127.0.0.1 --portmap-port " + portmap() +
                                   " --write ':CH2:SCA 0.1' --query 'CH2:SCA?' --write ':CH2:SCA 0.2'"
                                   " --query 'CH2:SCA?' --acquire 2 --json");
    ASSERT_EQ(r.exitCode, 0) << r.err;
    const auto j = nlohmann::json::parse(r.out);
    EXPECT_EQ(j["name"], "ZELSCOPE07");
    ASSERT_EQ(j["replies"].size(), 2u);
    EXPECT_DOUBLE_EQ(std::stod(j["replies"][0]["reply"].get<std::string>()), 0.1);
    EXPECT_DOUBLE_EQ(std::stod(j["replies"][1]["reply"].get<std::string>()), 0.2);
    ASSERT_EQ(j["waveforms"].size(), 2u);
    for (const auto& w : j["waveforms"]) {
        EXPECT_EQ(w["status"], 1);
        EXPECT_EQ(w["samples"].size(), 501u);
        EXPECT_DOUBLE_EQ(w["delta_x"].get<double>(), 8e-10);
        EXPECT_DOUBLE_EQ(w["delay"].get<double>(), 6e-7);
    }
    EXPECT_TRUE(j["messages"].empty());

    // After Init's sequence the steps arrive as given, then the acquisitions.
    auto lines = transcriptLines();
    const auto first = std::find(lines.begin(), lines.end(), ":CH2:SCA 0.1");
    ASSERT_NE(first, lines.end());
    EXPECT_EQ(
        std::vector<std::string>(first, first + 5),
        (std::vector<std::string>{":CH2:SCA 0.1", "CH2:SCA?", ":CH2:SCA 0.2", "CH2:SCA?", "DAT:STAR?"}));
    EXPECT_EQ(std::count(lines.begin(), lines.end(), "Curve?"), 2);
}

TEST_F(CliScope, RawSocketSessionSkipsInit) {
    ASSERT_TRUE(sim.running());
    const std::string resource =
        "TCPIP::127.0.0.1::" + std::to_string(sim.port("scope", "socket")) + "::SOCKET";
    const RunResult r = runProgram(kCli + " scope " + resource + " --raw --query '*IDN?'");
    ASSERT_EQ(r.exitCode, 0) << r.err;
    EXPECT_EQ(r.out.rfind("TEKTRONIX,", 0), 0u) << r.out;
    EXPECT_EQ(transcriptLines(), std::vector<std::string>{"*IDN?"});
}

TEST_F(CliScope, NoScopeIsExitOne) {
    const std::string port = portmap();
    sim.kill();
    const RunResult r = runProgram(kCli + " scope 127.0.0.1 --timeout-ms 500 --portmap-port " + port);
    EXPECT_EQ(r.exitCode, 1);
    EXPECT_NE(r.err.find("Scope not found."), std::string::npos) << r.err;
    EXPECT_NE(r.err.find("no scope at 127.0.0.1"), std::string::npos) << r.err;
}

} // namespace
} // namespace zel::e2e
