#include "settings/startup/command_line.h"

#include <gtest/gtest.h>

#include <ostream>
#include <vector>

namespace zel {
namespace {

// What a command line can change, compared as a whole so that each row also proves it changed nothing else.
struct Outcome {
    int mode = 0;
    bool birch = false, colour = false, wtm = false, o2 = false, hd = false, file = false;
    bool pf = false, unlock = false, single = false;
    int re = 50, avg = 64, y = 5;
    std::string scope = "192.168.250.252", start = "";
    friend bool operator==(const Outcome&, const Outcome&) = default;
    friend std::ostream& operator<<(std::ostream& os, const Outcome& o) {
        return os << "mode " << o.mode << " birch/colour/wtm/o2/hd/file/pf/unlock/single " << o.birch
                  << o.colour << o.wtm << o.o2 << o.hd << o.file << o.pf << o.unlock << o.single << " re "
                  << o.re << " avg " << o.avg << " y " << o.y << " scope " << o.scope << " start " << o.start;
    }
};

Outcome outcome(const StartupSettings& s) {
    return {s.mode,    s.birch,     s.colour,       s.wtm,          s.o2,
            s.hd,      s.fileMode,  s.pressureFlow, s.unlock,       s.singleInstance,
            s.reScale, s.averaging, s.yScale,       s.scopeAddress, s.startFile};
}

struct Row {
    const char* line;
    Outcome expected;
    friend void PrintTo(const Row& r, std::ostream* os) { *os << r.line; }
};

class SwitchTable : public ::testing::TestWithParam<Row> {};

TEST_P(SwitchTable, ResolvesTheLine) {
    EXPECT_EQ(outcome(parseCommandLine(GetParam().line)), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(
    Rows, SwitchTable,
    ::testing::Values(
        Row{"", {}}, Row{"/T", {.mode = 1, .birch = true, .re = 20}},
        Row{"/MODE1", {.mode = 1, .birch = true, .re = 20}}, Row{"/U", {}},
        // The probe type stays Birch (RE default 20); the setup form then selects Alder.
        Row{"/T /U", {.mode = 0, .birch = true, .re = 20}}, Row{"/MODE0/MODE21", {.mode = 21}},
        Row{"/C", {.colour = true}}, Row{"/C/WTM/O2/H", {.colour = true}}, Row{"/WTM", {.wtm = true}},
        Row{"/O2", {.o2 = true}}, Row{"/H", {.hd = true}}, Row{"/F", {.file = true}},
        Row{"/MODE2", {.mode = 2, .pf = true, .re = 100}},
        Row{"/DOGWOOD", {.mode = 2, .pf = true, .re = 100}},
        Row{"/MODE3", {.mode = 3, .re = 100, .avg = 256}}, Row{"/MODE4", {.mode = 4, .avg = 16, .y = 50}},
        Row{"/MODE61", {.mode = 61, .pf = true}}, Row{"/MODE21", {.mode = 21}}, Row{"/MODE51", {.mode = 51}},
        Row{"/MODE52", {.mode = 52}}, Row{"/PF", {.pf = true}}, Row{"/NOLOCK", {.unlock = true}},
        Row{"/RE100", {.re = 100}}, Row{"/T/RE050", {.mode = 1, .birch = true, .re = 50}},
        Row{"/RE007", {}},                    // not in the list
        Row{"/RE1/0", {}}, Row{"/RE 10", {}}, // "/" or a blank among the digits
        Row{"/RE10", {}},                     // the line ends before the third digit
        Row{"/S016", {.avg = 16}}, Row{"/S017", {}}, Row{"/Y050", {.y = 50}}, Row{"/Y05", {}},
        Row{"/RE200/MODE2", {.mode = 2, .pf = true, .re = 200}}, // the typed value is found first
        Row{"/IPSCP052", {.single = true, .scope = "192.168.250.052"}},
        Row{"/IPSCP7", {.single = true, .scope = "192.168.250.007"}}, Row{"/IPSCP999", {.single = true}},
        Row{"/IPSCPX", {.single = true}},
        // File mode sets up no instrument: no expansion, so no pressure/flow and no RE value from "/MODE2".
        Row{"/F/MODE2/NOLOCK/RE100", {.mode = 2, .file = true}},
        Row{"/mode3 /nolock", {.mode = 3, .unlock = true, .re = 100, .avg = 256}},
        // A quoted path keeps its case and is not searched for switches ("/HAL" is not "/H").
        Row{R"(/T "/home/Hal/b1.lif.raw.bin")",
            {.mode = 1, .birch = true, .file = true, .start = "/home/Hal/b1.lif.raw.bin"}},
        Row{R"("C:\Logs\Site A\b1.clr.raw.bin")",
            {.colour = true, .file = true, .start = R"(C:\Logs\Site A\b1.clr.raw.bin)"}},
        Row{R"(/U "C:\unclosed.lif.raw.bin)", {}}));

TEST(CommandLine, ExpansionsAndLooks) {
    const StartupSettings m2 = parseCommandLine("/MODE2");
    EXPECT_EQ(m2.switches, "/MODE2/U/RE100/PF");
    EXPECT_EQ(m2.look, 2);
    EXPECT_TRUE(m2.reScaleFromSwitch);
    EXPECT_FALSE(m2.averagingFromSwitch);
    EXPECT_EQ(parseCommandLine("/MODE21").switches, "/MODE21");
    EXPECT_EQ(parseCommandLine("/MODE4").look, 0); // the Alder look
    EXPECT_EQ(parseCommandLine("/T").look, 1);

    SwitchLists lists;
    lists.reScales = {7};
    EXPECT_EQ(parseCommandLine("/RE007", lists).reScale, 7);
    EXPECT_EQ(parseCommandLine("/MODE2", lists).reScale, 50);
}

TEST(CommandLine, LinuxArgumentNamingALogIsTheStartFile) {
    const auto exists = [](const std::string& p) { return p == "/data/Tim/log7"; };
    const std::pair<std::vector<std::string>, Outcome> cases[] = {
        {{"/MODE2", "/home/hal/h1.LIF.RAW.BIN", "/nolock"},
         {.mode = 2, .file = true, .start = "/home/hal/h1.LIF.RAW.BIN"}},
        // Only the start file is looked at for a colour log; a second log takes no part at all.
        {{"/U", "/data/Tim/log7", "/data/x.clr.raw.bin"}, {.file = true, .start = "/data/Tim/log7"}},
        {{"/data/x.clr.raw.bin"}, {.colour = true, .file = true, .start = "/data/x.clr.raw.bin"}},
        {{R"(/MODE3 "C:\a.lif.raw.bin")"}, {.mode = 3, .file = true, .start = R"(C:\a.lif.raw.bin)"}},
    };
    for (const auto& [args, expected] : cases)
        EXPECT_EQ(outcome(parseArguments(args, exists)), expected) << args[0];
}

} // namespace
} // namespace zel
