// cZEL_Display_J10 on a real pseudo-terminal against zel-sim display: the handshake, what the display
// was sent, command by command, and a key pressed on the ready screen.

#include "instruments/display/display.h"
#include "instruments/platform/event_loop_host.h"
#include "instruments/platform/qt_serial_port.h"
#include "instruments/platform/qt_test_app.h"
#include "tests/e2e/field_sim.h"

#include "common/testing/recording_host.h"

#include <gtest/gtest.h>

namespace zel {
namespace {

struct DisplaySim : ::testing::Test {
    std::string transcript = ::testing::TempDir() + "display_sim_" + std::to_string(::getpid()) + ".txt";
    testing::RecordingHost recorded;
    platform::EventLoopHost host{recorded};
    platform::QtSerialPort port;
    cZEL_Display_J10 display{host, port};
    std::unique_ptr<e2e::SimChild> sim;

    void start(std::vector<std::string> args) {
        platform::ensureQtTestApp();
        args.insert(args.begin(), {"display", "--transcript", transcript});
        sim = std::make_unique<e2e::SimChild>(ZEL_SIM, args);
        ASSERT_TRUE(sim->running());
    }
};

TEST_F(DisplaySim, HandshakeScreensAndTheStartKey) {
    start({"--keys", "193,194", "--keys-after-ms", "100"});
    ASSERT_TRUE(display.Open(sim->text("display", "pty")));
    EXPECT_TRUE(display.RcvdOK);
    EXPECT_EQ(display.StatusText, "Receive and Send OK.");
    std::vector<std::pair<int, bool>> keys;
    display.NewDisplayInput = [&](int k, bool start) { keys.emplace_back(k, start); };
    display.Show_Ready();
    for (int i = 0; i < 300 && keys.size() < 2; ++i)
        host.sleepMs(10);
    EXPECT_EQ(keys, (std::vector<std::pair<int, bool>>{{193, false}, {194, true}}));
    display.contrast(70);
    display.Depth = 3.5f;
    display.Push_Update();
    const std::string blank = "text " + std::string(20, ' ');
    const std::vector<std::string> expected = {"cursor 0,0",
                                               "text Wait...             ",
                                               "cursor 1,0",
                                               blank,
                                               "cursor 2,0",
                                               blank,
                                               "cursor 3,0",
                                               blank,
                                               "ansi 6n",
                                               "cursor 0,0",
                                               "text Comm Established    ",
                                               "cursor 1,0",
                                               blank,
                                               "cursor 2,0",
                                               blank,
                                               "cursor 3,0",
                                               blank,
                                               "cursor 0,0",
                                               "text READY - Push DwnArrw",
                                               "cursor 1,0",
                                               blank,
                                               "cursor 2,0",
                                               blank,
                                               "cursor 3,0",
                                               blank,
                                               "contrast 63",
                                               "cursor 0,0",
                                               "text RATE      0.0 in/s  ",
                                               "cursor 1,0",
                                               "text DEPTH     3.50 ft   ",
                                               "cursor 2,0",
                                               "text SIGNAL  0.00 %      ",
                                               "cursor 3,0",
                                               "text MAX     0.00 %      "};
    EXPECT_EQ(e2e::transcriptLines(transcript, expected.size(), 3000, [&](int ms) { host.sleepMs(ms); }),
              expected);
}

TEST_F(DisplaySim, AnsiTerminalThatDoesNotAnswer) {
    start({"--silent"});
    display.AnsiTerminal = true;
    ASSERT_TRUE(display.Open(sim->text("display", "pty"), 300));
    EXPECT_FALSE(display.RcvdOK);
    EXPECT_EQ(display.StatusText, "Receiving. No Send. ");
    display.Push_PauseEND();
    display.BacklightOn(false);
    const std::vector<std::string> pause = {
        "ansi 1;1H", "text     PUSH RESUME     ", "ansi 2;1H", "ansi 2K", "ansi 3;1H", "ansi 2K", "ansi 4;1H",
        "ansi 2K"};
    const auto lines =
        e2e::transcriptLines(transcript, 3 * pause.size() + 1, 3000, [&](int ms) { host.sleepMs(ms); });
    ASSERT_EQ(lines.size(), 3 * pause.size() + 1);
    EXPECT_EQ(lines[8], "ansi 6n");
    EXPECT_EQ(std::vector<std::string>(lines.end() - 8, lines.end()), pause);
}

} // namespace
} // namespace zel
