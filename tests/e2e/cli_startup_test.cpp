// zel-cli startup --dry-run: the program's command line resolved as a script sees it.

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
        {"scope_resource", "TCPIP::192.168.250.252::INSTR"},
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

} // namespace
} // namespace zel::e2e
