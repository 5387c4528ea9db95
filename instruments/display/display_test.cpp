#include "instruments/display/display.h"

#include "common/testing/recording_host.h"
#include "instruments/transport/fake_serial_port.h"

#include <gtest/gtest.h>

namespace zel {
namespace {

const std::string kEsc = "\x1b";

struct DisplayTest : ::testing::Test {
    FakeClock clock;
    testing::RecordingHost host{&clock};
    testing::FakeSerialPort port;
    cZEL_Display_J10 display{host, port};

    void openAnswering(bool answer) {
        port.onWrite = [this, answer](std::string_view b) {
            if (answer && b == cZEL_Display_J10::kStatusRequest) port.receive("\x1b[8;4R");
        };
        ASSERT_TRUE(display.Open("/dev/pts/5"));
        port.onWrite = nullptr;
        port.written.clear();
    }
};

TEST_F(DisplayTest, OpeningHandshake) {
    for (const bool answer : {true, false}) {
        SCOPED_TRACE(answer);
        openAnswering(answer);
        EXPECT_EQ(port.settings(), "9600,n,8,1");
        EXPECT_EQ(display.RcvdOK, answer);
        EXPECT_EQ(display.StatusText, answer ? "Receive and Send OK." : "Receiving. No Send. ");
        EXPECT_EQ(display.Screen()[0], "Comm Established    ");
    }
    ASSERT_GE(port.writes.size(), 2u);
    EXPECT_EQ(port.writes[0].substr(0, 11), kEsc + "I@@Wait...");
    EXPECT_EQ(port.writes[1], "\x1b[6n");
}

TEST_F(DisplayTest, NativeAndAnsiScreens) {
    openAnswering(true);
    display.Show_Ready();
    const std::string blank(20, ' ');
    EXPECT_EQ(port.written, kEsc + "I@@READY - Push DwnArrw" + kEsc + "IA@" + blank + kEsc + "IB@" + blank +
                                kEsc + "IC@" + blank);
    port.written.clear();
    display.AnsiTerminal = true;
    display.Push_Pause();
    EXPECT_EQ(port.written, "\x1b[1;1H    PUSH PAUSED     \x1b[2;1H\x1b[2K\x1b[3;1H\x1b[2K\x1b[4;1H\x1b[2K");
}

TEST_F(DisplayTest, EveryScreenLineIsTwentyCharacters) {
    openAnswering(true);
    const auto check = [&](const char* what) {
        SCOPED_TRACE(what);
        for (const auto& line : display.Screen())
            EXPECT_EQ(line.size(), 20u) << '"' << line << '"';
    };
    display.Show_Acquired(true, 1234.567f, 99.5f, 0.25f);
    check("acquired");
    EXPECT_EQ(display.Screen()[0], "Acquired RE         ");
    EXPECT_EQ(display.Screen()[1], "AREA    1234.57 pVs ");
    EXPECT_EQ(display.Screen()[3], "RATIO   0.25 F/S    ");
    display.Show_Acquired(false, 1, 2, 3);
    EXPECT_EQ(display.Screen()[0], "Acquired Background ");
    display.Rate = 1.25f;
    display.Depth = 12.345f;
    display.Signal_Current = 3.5f;
    display.Signal_MaxValue = 123456.0f;
    display.Push_Update();
    check("push");
    EXPECT_EQ(display.Screen()[0], "RATE      1.3 in/s  ");
    EXPECT_EQ(display.Screen()[1], "DEPTH     12.35 ft  ");
    EXPECT_EQ(display.Screen()[2], "SIGNAL  3.50 %      ");
    EXPECT_EQ(display.Screen()[3], "MAX     9999 %      ");
    display.Units_Metric = true;
    display.Signal_MaxValue = 45.0f;
    display.Push_Update();
    EXPECT_EQ(display.Screen()[0], "RATE      1.3cm/s   ");
    EXPECT_EQ(display.Screen()[1], "DEPTH     12.35 m   ");
    EXPECT_EQ(display.Screen()[3], "MAX     45.00 %     ");
    for (auto show : {&cZEL_Display_J10::Show_PushStart, &cZEL_Display_J10::Push_PauseEND,
                      &cZEL_Display_J10::Show_Complete}) {
        (display.*show)();
        check("state");
    }
}

TEST_F(DisplayTest, ClockOnIdleScreensAndDepthBetweenPoints) {
    openAnswering(true);
    display.Show_Ready();
    display.HoleName = "MW-7";
    port.written.clear();
    display.Time_Update(DateTime{2016, 4, 12, 9, 5, 7});
    EXPECT_EQ(port.written, kEsc + "IB@HOLE MW-7           " + kEsc + "IC@TIME      09:05:07  ");
    EXPECT_EQ(display.Screen()[0], "READY - Push DwnArrw"); // the key still starts a push
    port.written.clear();
    display.Time_Update(DateTime{2016, 4, 12, 9, 5, 8}); // only the changed row goes out
    EXPECT_EQ(port.written, kEsc + "IC@TIME      09:05:08  ");
    display.T2_Update(); // no push screen: nothing to refresh
    display.Rate = 0.5f;
    display.Depth = 1.0f;
    display.Push_Update();
    port.written.clear();
    display.Time_Update(DateTime{2016, 4, 12, 9, 5, 9});
    display.T2_Update(); // nothing moved
    EXPECT_EQ(port.written, "");
    display.Depth = 1.25f;
    display.Signal_Current = 50.0f; // waits for the next point
    display.T2_Update();
    EXPECT_EQ(port.written, kEsc + "IA@DEPTH     1.25 ft   ");
    EXPECT_EQ(display.Screen()[2], "SIGNAL  0.00 %      ");
    display.Push_Pause();
    port.written.clear();
    display.T2_Update();
    EXPECT_EQ(port.written, "");
}

TEST_F(DisplayTest, ContrastAndBacklightOnlyForTheNativeDisplay) {
    openAnswering(true);
    display.contrast(70);
    display.contrast(-1);
    display.BacklightOn(true);
    display.BacklightOn(false);
    display.DisplayModeReset();
    EXPECT_EQ(port.written, kEsc + "L\x7f" + kEsc + "L@" + kEsc + "VA" + kEsc + "V@" + kEsc + "OB");
    port.written.clear();
    display.AnsiTerminal = true;
    display.contrast(10);
    display.BacklightOn(true);
    display.DisplayModeReset();
    EXPECT_EQ(port.written, "");
    EXPECT_EQ(cZEL_Display_J10::ContrastFromSetting(10), 63);
    EXPECT_EQ(cZEL_Display_J10::ContrastFromSetting(5), 32);
}

TEST_F(DisplayTest, KeysAndTheDownArrowOnTheReadyScreen) {
    openAnswering(true);
    std::vector<std::pair<int, bool>> keys;
    display.NewDisplayInput = [&](int k, bool start) { keys.emplace_back(k, start); };
    port.receive("\xc2");
    display.Show_Ready();
    port.receive("a\xc0\xc1\xc2");
    display.Push_Pause();
    port.receive("\xc2");
    EXPECT_EQ(keys,
              (std::vector<std::pair<int, bool>>{{194, false}, {193, false}, {194, true}, {194, false}}));
}

} // namespace
} // namespace zel
