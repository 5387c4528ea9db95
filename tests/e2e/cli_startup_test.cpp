// zel-cli startup --dry-run: the program's command line resolved as a script sees it.

#include "tests/e2e/field_sim.h"
#include "tests/e2e/run_program.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <filesystem>
#include <fstream>

namespace zel::e2e {
namespace {

nlohmann::json dryRun(const std::string& args) {
    const RunResult r = runProgram(std::string(ZEL_CLI) + " startup --dry-run -- " + args);
    EXPECT_EQ(r.exitCode, 0) << r.err;
    return r.exitCode == 0 ? nlohmann::json::parse(r.out) : nlohmann::json{};
}

TEST(CliStartup, Mode2WithAnotherScopeAddress) {
    const auto j = dryRun("/MODE2 /IPSCP052");
    const nlohmann::json expected = {
        {"mode", 2},
        {"model", "Dogwood"},
        {"labels", {"600", "650", "700", "750"}},
        {"page_font", 11},
        {"scope_address", "192.168.250.052"},
        {"scope_resource", "TCPIP::192.168.250.52::INSTR"},
        {"re_scale", 100},
        {"averaging", 64},
        {"y_scale", 5},
        {"colour", false},
        {"o2", false},
        {"hd", false},
        {"wtm", false},
        {"file_mode", false},
        {"pressure_flow", true},
        {"unlock", false},
        {"single_instance", true},
        {"start_file", ""},
        {"steps",
         {"Loading software...", "Finding instrument...", "Initializing scope...",
          "Scope not found at expected IP: 192.168.250.052", "Initializing depth...",
          "Initializing display...", "Initializing GPS...", "Completing Program Load..."}}};
    EXPECT_EQ(j, expected);
}

TEST(CliStartup, ExistingLogIsOpenedInFileModeEvenUnderAFolderThatLooksLikeSwitches) {
    TempDir dir;
    std::filesystem::create_directories(dir.path / "Hole");
    const std::string log = (dir.path / "Hole" / "b7.clr").string();
    std::ofstream(log) << "[Header]\n";
    const auto j = dryRun("/mode51 " + quote(log));
    EXPECT_EQ(j["start_file"], log);
    EXPECT_EQ(j["file_mode"], true);
    EXPECT_EQ(j["hd"], false); // "/HOLE" is not "/H"
    EXPECT_EQ(j["model"], "Larch-UV");
    EXPECT_EQ(j["page_font"], 10);
    EXPECT_EQ(j["steps"], nlohmann::json({"Loading software..."}));
}

// Without --dry-run the configured instruments are opened as the program opens them.
TEST(CliStartup, OpensTheConfiguredInstruments) {
    FieldRig rig;
    ASSERT_TRUE(rig.startAll());
    rig.writeOptions();
    const RunResult r = runProgram(rig.env() + ZEL_CLI + " startup");
    ASSERT_EQ(r.exitCode, 0) << r.err;
    const auto j = nlohmann::json::parse(r.out);
    EXPECT_EQ(
        j["opened"],
        (nlohmann::json{{"scope", true}, {"hd", false}, {"depth", true}, {"display", true}, {"gps", true}}));
    EXPECT_EQ(j["scope_resource"], "TCPIP::127.0.0.1::INSTR");
    EXPECT_EQ(j["steps"][3], "Initializing depth...");
    const auto display = transcriptLines((rig.root.path / "display.txt").string(), 20);
    EXPECT_NE(std::find(display.begin(), display.end(), "ansi 6n"), display.end()); // the status request
    EXPECT_NE(std::find(display.begin(), display.end(), "text READY - Push DwnArrw"), display.end());
    EXPECT_TRUE(r.err.empty()) << r.err;
}

TEST(CliStartup, HdBoardModeAndAbsentSerialDevicesAreReportedWithoutHanging) {
    FieldRig rig;
    SimChild& hd = rig.start({"hd"});
    ASSERT_TRUE(hd.running());
    rig.comm["txtHDAddress"] = "127.0.0.1";
    rig.comm["txtHDPorts"] = std::to_string(hd.port("hd", "command")) + "," +
                             std::to_string(hd.port("hd", "record")) + "," +
                             std::to_string(hd.port("hd", "second"));
    rig.comm["cmbDepthSource"] = "0"; // emulation: no line needed
    // In HD-board mode the lines keep their default numbers, which the port map names.
    rig.comm["txtDisplayPort"] = "/dev/null";
    rig.portMap = {{2, "/nonexistent/display"}, {3, "/nonexistent/gps"}};
    rig.writeOptions();
    const RunResult r = runProgram(rig.env() + ZEL_CLI + " startup /H");
    ASSERT_EQ(r.exitCode, 0) << r.err;
    const auto j = nlohmann::json::parse(r.out);
    EXPECT_EQ(j["opened"]["hd"], true);
    EXPECT_EQ(j["opened"]["scope"], false);
    EXPECT_EQ(j["steps"][2], "Initializing HD board...");
    EXPECT_NE(r.err.find("Field display: cannot open /nonexistent/display"), std::string::npos) << r.err;

    hd.kill();
    const RunResult gone = runProgram(rig.env() + ZEL_CLI + " startup /H");
    const auto k = nlohmann::json::parse(gone.out);
    EXPECT_EQ(k["opened"]["hd"], false);
    EXPECT_EQ(k["steps"][3], "HD Board not found at expected IP: 127.0.0.1");
}

} // namespace
} // namespace zel::e2e
