// zel-cli monitor against the field simulators: what a technician sees when a device talks, and the
// exit code when it does not.

#include "tests/e2e/field_sim.h"
#include "tests/e2e/run_program.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <sstream>

namespace zel::e2e {
namespace {

const std::string kCli = ZEL_CLI;

std::vector<nlohmann::json> jsonLines(const std::string& out) {
    std::vector<nlohmann::json> lines;
    std::istringstream in(out);
    for (std::string l; std::getline(in, l);)
        lines.push_back(nlohmann::json::parse(l));
    return lines;
}

TEST(CliMonitor, DepthBoardReadingsAndTheBoardsCommands) {
    TempDir dir;
    const std::string transcript = (dir.path / "depth.txt").string();
    SimChild sim(ZEL_SIM, {"depth", "--rate", "2", "--transcript", transcript});
    ASSERT_TRUE(sim.running());
    const RunResult r = runProgram(kCli + " monitor depth --port " + sim.text("depth", "pty") +
                                   " --update-ms 100 --seconds 1.5 --json");
    ASSERT_EQ(r.exitCode, 0) << r.err;
    const auto lines = jsonLines(r.out);
    ASSERT_GE(lines.size(), 3u);
    const auto& last = lines.back();
    EXPECT_GT(last["depth_ft"].get<double>(), lines.front()["depth_ft"].get<double>());
    EXPECT_NEAR(last["depth_m"].get<double>(), last["depth_ft"].get<double>() / 3.28084, 1e-3);
    EXPECT_GT(last["rate_in_s"].get<double>(), 0.0);
    EXPECT_NEAR(last["counter"].get<double>() / 100.0, last["depth_ft"].get<double>(), 0.05);
    const std::vector<std::string> expected = {"W1002", "W1102", "W1203", "W1001", "W1102", "W1900", "W1A00",
                                               "W0400", "W0500", "W0400", "W0564", "H",     "W0400", "W0500"};
    EXPECT_EQ(transcriptLines(transcript, expected.size()), expected);
}

TEST(CliMonitor, GpsFixes) {
    SimChild sim(ZEL_SIM, {"gps", "--interval-ms", "100", "--lat", "-33.5", "--lon", "151.25"});
    ASSERT_TRUE(sim.running());
    const RunResult r =
        runProgram(kCli + " monitor gps --port " + sim.text("gps", "pty") + " --seconds 0.6 --json");
    ASSERT_EQ(r.exitCode, 0) << r.err;
    const auto lines = jsonLines(r.out);
    ASSERT_FALSE(lines.empty());
    EXPECT_EQ(lines.back()["latitude"], "33 30.0000 S");
    EXPECT_EQ(lines.back()["longitude"], "151 15.0000 E");
    EXPECT_DOUBLE_EQ(lines.back()["lat"].get<double>(), -33.5);
    EXPECT_EQ(lines.back()["utm_zone"], "56S");
}

TEST(CliMonitor, DisplayStatusAndKeys) {
    SimChild sim(ZEL_SIM, {"display", "--keys", "194,197", "--keys-after-ms", "200"});
    ASSERT_TRUE(sim.running());
    const RunResult r =
        runProgram(kCli + " monitor display --port " + sim.text("display", "pty") + " --seconds 0.5 --json");
    ASSERT_EQ(r.exitCode, 0) << r.err;
    const auto lines = jsonLines(r.out);
    ASSERT_EQ(lines.size(), 3u);
    EXPECT_EQ(lines[0]["status"], "Receive and Send OK.");
    EXPECT_EQ(lines[1], (nlohmann::json{{"key", 194}, {"starts_push", true}}));
    EXPECT_EQ(lines[2], (nlohmann::json{{"key", 197}, {"starts_push", false}}));
}

TEST(CliMonitor, HdRecordsOfTheSelectedColumns) {
    TempDir dir;
    const std::string transcript = (dir.path / "hd.txt").string();
    SimChild sim(ZEL_SIM, {"hd", "--interval-ms", "50", "--transcript", transcript});
    ASSERT_TRUE(sim.running());
    const std::string ports = std::to_string(sim.port("hd", "command")) + "," +
                              std::to_string(sim.port("hd", "record")) + "," +
                              std::to_string(sim.port("hd", "second"));
    const RunResult r = runProgram(kCli + " monitor hd --address 127.0.0.1 --hd-ports " + ports +
                                   " --mask 129 --seconds 0.5 --json");
    ASSERT_EQ(r.exitCode, 0) << r.err;
    const auto lines = jsonLines(r.out);
    ASSERT_GE(lines.size(), 2u);
    EXPECT_EQ(lines[0]["firmware"], "1.2.0"); // the simulator's status reply
    EXPECT_EQ(lines[1].size(), 2u);           // time and the 3-volt input
    EXPECT_DOUBLE_EQ(lines[1]["c11"].get<double>(), 1.5);
    EXPECT_EQ(transcriptLines(transcript, 4),
              (std::vector<std::string>{"Stat 0", "SetDS 0", "SetDS 129", "Stop"}));
}

TEST(CliMonitor, DevicesThatCannotBeOpenedExitOne) {
    for (const std::string args :
         {"gps --port /nonexistent/tty", "depth --source 3", "display --port /nonexistent/tty"}) {
        SCOPED_TRACE(args);
        const RunResult r = runProgram(kCli + " monitor " + args + " --seconds 0.2");
        EXPECT_EQ(r.exitCode, 1);
        EXPECT_FALSE(r.err.empty());
    }
    EXPECT_EQ(runProgram(kCli + " monitor lamp").exitCode, 2);
}

} // namespace
} // namespace zel::e2e

namespace zel::e2e {
namespace {

// The rig's pressure/flow unit and GPS through the program's own drivers: the probe at the surface, the
// pump off, the transducer at its surface reading; the fix at the site's position.
TEST(CliMonitor, RigPressureFlowUnitAndGps) {
    TempDir dir;
    const std::string site = dir.write("site.json", R"({"lat": -33.5, "lon": 151.25, "alt_m": 12})");
    SimChild rig(ZEL_SIM,
                 {"rig", "--site", site, "--gps-interval-ms", "100", "--transcripts", dir.path.string()});
    ASSERT_TRUE(rig.running());
    const RunResult pf = runProgram(kCli + " monitor presflow --port " + rig.text("presflow", "pty") +
                                    " --update-ms 100 --seconds 1 --json");
    ASSERT_EQ(pf.exitCode, 0) << pf.err;
    const auto readings = jsonLines(pf.out);
    ASSERT_GE(readings.size(), 4u);
    for (const auto& r : readings) {
        EXPECT_NEAR(r["pres_down_psi"].get<double>(), 18.6, 0.05);
        EXPECT_EQ(r["flow_ml_min"].get<double>(), 0.0);
    }
    EXPECT_NEAR(readings.back()["pres_down_avg_psi"].get<double>(), 18.6, 0.02);
    EXPECT_EQ(transcriptLines((dir.path / "presflow.txt").string(), 2),
              (std::vector<std::string>{"S100", "X"}));

    const RunResult gps =
        runProgram(kCli + " monitor gps --port " + rig.text("gps", "pty") + " --seconds 0.6 --json");
    ASSERT_EQ(gps.exitCode, 0) << gps.err;
    const auto fixes = jsonLines(gps.out);
    ASSERT_FALSE(fixes.empty());
    EXPECT_NEAR(fixes.back()["lat"].get<double>(), -33.5, 1e-4); // about ten metres
    EXPECT_NEAR(fixes.back()["lon"].get<double>(), 151.25, 1e-4);
    EXPECT_NEAR(fixes.back()["altitude_m"].get<double>(), 12.0, 10.0);
}

} // namespace
} // namespace zel::e2e
