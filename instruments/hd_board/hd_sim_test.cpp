// clsHD over loopback against zel-sim hd: the commands the board received and records read back.

#include "instruments/hd_board/hd.h"
#include "instruments/platform/event_loop_host.h"
#include "instruments/platform/qt_tcp_link.h"
#include "instruments/platform/qt_test_app.h"
#include "tests/e2e/field_sim.h"

#include "common/testing/recording_host.h"

#include <QTcpServer>
#include <gtest/gtest.h>

namespace zel {
namespace {

struct HdSim : ::testing::Test {
    std::string transcript = ::testing::TempDir() + "hd_sim_" + std::to_string(::getpid()) + ".txt";
    testing::RecordingHost recorded;
    platform::EventLoopHost host{recorded};
    SystemClock clock;
    clsHD hd{host, clock, platform::qtTcpLinkFactory()};
    void SetUp() override { platform::ensureQtTestApp(); }
};

TEST_F(HdSim, CommandsAndRecords) {
    e2e::SimChild sim(ZEL_SIM, {"hd", "--transcript", transcript, "--interval-ms", "20"});
    ASSERT_TRUE(sim.running());
    const auto port = [&](const char* name) { return static_cast<std::uint16_t>(sim.port("hd", name)); };
    ASSERT_TRUE(hd.Connect("127.0.0.1", {port("command"), port("record"), port("second")}, 3000));
    hd.IntTime(2000);
    hd.SetDS(0x183);
    ASSERT_TRUE(hd.Stat(1));
    EXPECT_EQ(hd.LastStatus()->intTime, 1000);
    EXPECT_EQ(hd.LastStatus()->mask, 0x183);
    EXPECT_TRUE(hd.WaitRecord(1000));
    for (int i = 0; i < 300 && hd.Records().size() < 3; ++i)
        host.sleepMs(10);
    hd.Stop();
    hd.SetCV(1, 600);
    ASSERT_GE(hd.Records().size(), 3u);
    const auto& first = hd.Records()[0];
    const auto& last = hd.Records().back();
    EXPECT_GT(last[0], first[0]); // the board's time runs
    EXPECT_FLOAT_EQ(first[11], 2048.0f / 4096.0f * 3.0f);
    EXPECT_GT(first[1], 0.0f);
    EXPECT_GT(first[7], 0.0f);
    EXPECT_EQ(first[2], 0.0f);
    const std::vector<std::string> expected = {"IntTime 1000", "SetDS 387", "Stat 1",
                                               "SetDS 387",    "Stop",      "CV1 153"};
    // The last commands leave from the event loop, so it runs while the transcript is awaited.
    EXPECT_EQ(e2e::transcriptLines(transcript, expected.size(), 3000, [&](int ms) { host.sleepMs(ms); }),
              expected);
    EXPECT_TRUE(recorded.messages().empty());
}

TEST_F(HdSim, PortWithNobodyListeningIsReported) {
    e2e::SimChild sim(ZEL_SIM, {"hd"});
    ASSERT_TRUE(sim.running());
    QTcpServer closed;
    ASSERT_TRUE(closed.listen(QHostAddress::LocalHost, 0));
    const auto dead = closed.serverPort();
    closed.close();
    const auto port = [&](const char* name) { return static_cast<std::uint16_t>(sim.port("hd", name)); };
    EXPECT_FALSE(hd.Connect("127.0.0.1", {port("command"), port("record"), dead}, 300));
    EXPECT_EQ(recorded.messages(),
              std::vector<std::string>{"Timeout (3) - Connect to Port: " + std::to_string(dead)});
    EXPECT_TRUE(hd.Connected());
}

} // namespace
} // namespace zel
