// zel-cli push with the configured instruments (the options file under the data root names simulators
// started here), and zel-cli push --sim with all five instruments.

#include "common/hd_layout.h"
#include "tests/e2e/field_sim.h"
#include "tests/e2e/loaded_log.h"
#include "tests/e2e/run_program.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <sstream>

namespace zel::e2e {
namespace {

const std::string kCli = ZEL_CLI;

nlohmann::json summary(const RunResult& r) {
    return lastJsonLine(r);
}

nlohmann::json lists(const std::string& rawLog) {
    const RunResult r = runProgram(kCli + " info --lists " + quote(rawLog));
    EXPECT_EQ(r.exitCode, 0) << r.err;
    return nlohmann::json::parse(r.out, nullptr, false)["lists"];
}

bool contains(const std::vector<std::string>& lines, const std::string& line) {
    return std::find(lines.begin(), lines.end(), line) != lines.end();
}

std::string hdPorts(const SimChild& hd) {
    return std::to_string(hd.port("hd", "command")) + "," + std::to_string(hd.port("hd", "record")) + "," +
           std::to_string(hd.port("hd", "second"));
}

std::string push(const FieldRig& rig, const std::string& args, int points = 3) {
    return rig.env() + kCli + " push --yes --no-area-check --points " + std::to_string(points) + " --out " +
           quote((rig.root.path / "out").string()) + " " + args;
}

TEST(CliFieldPush, WithTheConfiguredInstruments) {
    FieldRig rig;
    ASSERT_TRUE(rig.startAll({"--rate", "2"}));
    rig.writeOptions();
    const RunResult r = runProgram(push(rig, ""));
    ASSERT_EQ(r.exitCode, 0) << r.err;
    const auto j = summary(r);
    EXPECT_EQ(j["points"], 3);
    EXPECT_EQ(j["instruments"], (nlohmann::json{{"scope", true},
                                                {"depth", true},
                                                {"hd", false},
                                                {"gps", true},
                                                {"display", true},
                                                {"presflow", false}}));
    EXPECT_EQ(lists(j["raw_log"])["DEPTH"].size(), 3u);
    // The rig's display went through the push.
    const auto display = transcriptLines((rig.root.path / "display.txt").string(), 1000, 500);
    EXPECT_TRUE(contains(display, "text      START PUSH     "));
    EXPECT_TRUE(std::any_of(display.begin(), display.end(),
                            [](const std::string& l) { return l.starts_with("text DEPTH     "); }));
    EXPECT_TRUE(contains(display, "text    PUSH COMPLETE    "));
}

// "/H" as the program takes it: the data board is the digitiser (no oscilloscope is opened), it triggers the
// points and its conductivity input is logged. In HD-board mode start-up keeps the serial lines at their
// port numbers, which the port map resolves.
TEST(CliFieldPush, HdBoardModeFromTheSwitch) {
    FieldRig rig;
    ASSERT_TRUE(rig.startAll({"--rate", "2"}));
    const std::string transcript = (rig.root.path / "hd.txt").string();
    SimChild& hd = rig.start({"hd", "--conductivity-v", "2.5", "--transcript", transcript});
    ASSERT_TRUE(hd.running());
    rig.portMap = {
        {1, rig.comm["txtDepthPort"]}, {2, rig.comm["txtDisplayPort"]}, {3, rig.comm["txtGPSPort"]}};
    rig.comm["txtDepthPort"] = "/nonexistent/not-read-in-hd-mode";
    rig.comm["txtHDAddress"] = "127.0.0.1";
    rig.comm["txtHDPorts"] = hdPorts(hd);
    rig.comm["txtCondConstant"] = "10";
    rig.comm["txtCondOffset"] = "1";
    rig.writeOptions();
    const RunResult r = runProgram(push(rig, "/H"));
    ASSERT_EQ(r.exitCode, 0) << r.err;
    const auto j = summary(r);
    EXPECT_EQ(j["instruments"]["hd"], true);
    EXPECT_EQ(j["instruments"]["scope"], false);
    LoadedLog loaded(j["raw_log"].get<std::string>());
    ASSERT_TRUE(loaded.ok);
    ASSERT_EQ(loaded.arrays.points(), 3);
    for (int p = 0; p < 3; ++p) {
        EXPECT_FLOAT_EQ(loaded.arrays.columns(point_column::Conductivity, p), 26.0f); // 2.5 V x 10 + 1
        EXPECT_EQ(
            loaded.arrays.columns(hd_layout::kFirstBoardPointColumn + hd_layout::kConductivityColumn, p),
            2.5f);
    }
    const auto commands = transcriptLines(transcript, 100, 500);
    EXPECT_TRUE(contains(commands, "Stat 0"));
    // The RE read (the four channel columns), then the push's stream.
    const auto re = std::find(commands.begin(), commands.end(), "SetDS 30");
    EXPECT_NE(re, commands.end());
    EXPECT_NE(std::find(re, commands.end(), "SetDS 4095"), commands.end());
    EXPECT_EQ(commands.back(), "Stop");
}

TEST(CliFieldPush, AbsentInstrumentsAreReportedWithoutHanging) {
    struct Case {
        const char* name;
        std::function<void(FieldRig&)> spoil;
        std::string switches;
        std::string said;
    };
    const Case cases[] = {
        {"scope", [](FieldRig& r) { r.sims[0]->kill(); }, "",
         "No oscilloscope answered at TCPIP::127.0.0.1::INSTR."},
        {"depth line", [](FieldRig& r) { r.comm["txtDepthPort"] = "/nonexistent/tty"; }, "",
         "The depth source could not be opened."},
        {"silent depth board", [](FieldRig& r) { r.sims[1]->stop(); }, "", "The depth source sent nothing"},
        {"data board", [](FieldRig& r) { r.comm["txtHDPorts"] = "1,2,3"; }, "/H",
         "The data board did not answer at 127.0.0.1."},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        FieldRig rig;
        ASSERT_TRUE(rig.startAll());
        rig.comm["txtHDAddress"] = "127.0.0.1";
        // "/H" keeps the lines at their numbers: the map names them, no real port is touched.
        rig.portMap = {
            {1, rig.comm["txtDepthPort"]}, {2, rig.comm["txtDisplayPort"]}, {3, rig.comm["txtGPSPort"]}};
        c.spoil(rig);
        rig.writeOptions();
        const RunResult r = runProgram(push(rig, c.switches));
        EXPECT_EQ(r.exitCode, 1);
        EXPECT_NE(r.err.find(c.said), std::string::npos) << r.err;
    }
}

// A depth source that falls silent in the middle ends the push with what it took, rather than waiting on.
TEST(CliFieldPush, DepthSourceFallingSilentEndsThePush) {
    FieldRig rig;
    ASSERT_TRUE(rig.startAll({"--rate", "0.5"}));
    rig.writeOptions();
    const std::string freeze = "(sleep 4; kill -STOP " + std::to_string(rig.sims[1]->pid()) + ") & ";
    const RunResult r = runProgram(freeze + push(rig, "--idle-s 1", 10000));
    ASSERT_EQ(r.exitCode, 0) << r.err;
    EXPECT_NE(r.err.find("No new depth for 1 s; the push ends."), std::string::npos);
    EXPECT_GT(summary(r)["points"].get<int>(), 0);
}

// The Setup form's emulator stop, from the options file: with the emulated depth source (a step a second)
// the emulator stops by itself after the set-up's step count, so the push takes no point after it and ends
// once the depth stands still; without the box the push goes on to its point count.
TEST(CliFieldPush, TheEmulatorStopsAfterTheSetUpsStepCount) {
    for (const bool stop : {true, false}) {
        SCOPED_TRACE(stop ? "emulator stop" : "no emulator stop");
        FieldRig rig;
        ASSERT_TRUE(rig.startAll());
        rig.comm["cmbDepthSource"] = "0";
        rig.writeOptions();
        std::ofstream(rig.root.path / "ini" / "ZEL_Options.ini", std::ios::binary | std::ios::app)
            << "[Tab]\r\n0,chkEmulateStop=" << (stop ? 1 : 0) << "\r\n1,txtEmulateStopCount=2\r\n";
        const RunResult r = runProgram(push(rig, "--idle-s 2", 5));
        ASSERT_EQ(r.exitCode, 0) << r.err;
        const int points = summary(r)["points"].get<int>();
        if (stop)
            EXPECT_LE(points, 3);
        else
            EXPECT_EQ(points, 5);
    }
}

TEST(CliFieldPush, SimulatedPushWithAllFiveInstruments) {
    TempDir dir;
    const RunResult r = runProgram("ZEL_DATA_ROOT=" + quote((dir.path / "root").string()) + " " + kCli +
                                   " push --sim --hd --yes --points 3 --sweep-ms 0 --rate 1 --out " +
                                   quote(dir.path.string()));
    ASSERT_EQ(r.exitCode, 0) << r.err;
    const auto j = summary(r);
    EXPECT_EQ(j["instruments"], (nlohmann::json{{"scope", false},
                                                {"depth", true},
                                                {"hd", true},
                                                {"gps", true},
                                                {"display", true},
                                                {"presflow", false}}));
    LoadedLog loaded(j["raw_log"].get<std::string>());
    ASSERT_TRUE(loaded.ok);
    ASSERT_EQ(loaded.arrays.points(), 3);
    EXPECT_GT(loaded.arrays.columns(point_column::Conductivity, 0), 0.0f);
}

} // namespace
} // namespace zel::e2e
