#include "instruments/hd_board/hd.h"

#include "common/testing/recording_host.h"

#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <set>

namespace zel {
namespace {

// Links that connect (or not) as the test says and keep what was written per port.
struct FakeNet {
    struct Link final : TcpLink {
        FakeNet& net;
        std::uint16_t port = 0;
        State st = State::Unconnected;
        std::string inbox;
        std::function<void()> handler;
        explicit Link(FakeNet& n) : net(n) {}
        void connect(const std::string&, std::uint16_t p) override {
            port = p;
            st = net.refused.count(p) ? State::Connecting : State::Connected;
            net.links[p] = this;
        }
        State state() const override { return st; }
        bool write(std::string_view b) override {
            net.sent[port].append(b);
            if (net.reply) {
                inbox.append(net.reply(b));
                if (!inbox.empty() && handler) handler();
            }
            return true;
        }
        std::string readAll() override { return std::exchange(inbox, {}); }
        void setDataHandler(std::function<void()> h) override { handler = std::move(h); }
        void close() override { st = State::Unconnected; }
    };
    std::set<std::uint16_t> refused;
    std::map<std::uint16_t, Link*> links;
    std::map<std::uint16_t, std::string> sent;
    // What the board answers to a command, on the same link.
    std::function<std::string(std::string_view)> reply;
    TcpLinkFactory factory() {
        return [this] { return std::make_unique<Link>(*this); };
    }
    void arrive(std::uint16_t port, const std::string& bytes) {
        links.at(port)->inbox.append(bytes);
        links.at(port)->handler();
    }
};

struct HdTest : ::testing::Test {
    FakeClock clock;
    testing::RecordingHost host{&clock};
    FakeNet net;
    clsHD hd{host, clock, net.factory()};
    std::string& commands() { return net.sent[5000]; }
};

TEST_F(HdTest, CommandsWithTheirClampsAndNumberForms) {
    ASSERT_TRUE(hd.Connect("127.0.0.1"));
    hd.SetDS(-5);
    hd.SetDS(5000);
    hd.IntTime(0);
    hd.IntTime(2000);
    hd.SetICF(16);
    hd.SampleInterval(250);
    hd.SetCV(0, 600);
    hd.SetCV(2, 0);
    hd.SetCV(3, 900);
    hd.SetCV(4, 2.5); // 0.6375 rounds to 1
    hd.SetCV(5, 600); // no such channel
    hd.ClearCounter();
    hd.Stop();
    EXPECT_EQ(commands(), "SetDS 0\rSetDS 4095\rIntTime 1\rIntTime 1000\rSetICF 16\rSampleInterval 250\r"
                          "CV1 153\rCV2 1\rCV3 204\rCV4 1\rClearCounter\rStop\r");
    EXPECT_TRUE(net.sent[5001].empty());
}

TEST_F(HdTest, ControlVoltageRoundsTiesToEven) {
    // Volts that land exactly halfway between two counts.
    EXPECT_EQ(clsHD::CVValue(1000.0 / 255.0 * 2.5), 2);
    EXPECT_EQ(clsHD::CVValue(1000.0 / 255.0 * 4.5), 4);
    EXPECT_EQ(clsHD::CVValue(-3), 1);
}

TEST_F(HdTest, StatWaitsForItsReplyAndResendsTheSelection) {
    struct Case {
        const char* name;
        std::string reply; // to "Stat"
        bool answered;
        int firmwareMinor;
    };
    const Case cases[] = {
        {"reply", "Stat FW=1.4.2 DS=129 IT=100 CNT=7\r", true, 4},
        {"after noise and an echo", "garbage\r\nStat\rStat FW=2.7.0\r", true, 7},
        {"fields out of range are skipped", "Stat FW=1.x.2 DS=99999 IT=0\r", true, 0},
        {"no reply", "", false, 0},
        {"unended reply", "Stat FW=1.4.2", false, 0},
        {"a line too long for a reply", "Stat " + std::string(300, 'x') + "\r", false, 0},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        FakeNet board;
        testing::RecordingHost h{&clock};
        clsHD d{h, clock, board.factory()};
        board.reply = [&](std::string_view cmd) { return cmd.starts_with("Stat") ? c.reply : std::string(); };
        ASSERT_TRUE(d.Connect("127.0.0.1"));
        d.SetDS(0x81);
        board.sent.clear();
        EXPECT_EQ(d.Stat(2), c.answered);
        EXPECT_EQ(board.sent[5000], "Stat 2\rSetDS 129\r");
        EXPECT_EQ(h.messages(),
                  c.answered ? std::vector<std::string>{} : std::vector<std::string>{"Timeout Stat"});
        ASSERT_EQ(d.LastStatus().has_value(), c.answered);
        if (c.answered) {
            EXPECT_EQ(d.LastStatus()->firmwareMinor, c.firmwareMinor);
        }
    }
}

TEST_F(HdTest, WaitRecordTimesOutWhenTheStreamIsSilent) {
    ASSERT_TRUE(hd.Connect("127.0.0.1"));
    hd.SetDS(0x1);
    EXPECT_FALSE(hd.WaitRecord(300));
    EXPECT_EQ(host.messages(), std::vector<std::string>{"Timeout WaitRecord"});
    net.arrive(5001, hd_protocol::encodeValue(5));
    EXPECT_FALSE(hd.WaitRecord(10)); // a record from before the wait does not count
}

TEST_F(HdTest, PacingAfterASecondOfSilence) {
    ASSERT_TRUE(hd.Connect("127.0.0.1"));
    hd.Stop();
    const auto slept = host.sleptMs();
    clock.advanceMs(900);
    hd.Stop();
    EXPECT_EQ(host.sleptMs(), slept);
    clock.advanceMs(1001);
    hd.Stop();
    EXPECT_EQ(host.sleptMs(), slept + 500);
}

TEST_F(HdTest, ColumnMapFromTheMask) {
    using M = hd_protocol::ColumnMap;
    EXPECT_EQ(hd_protocol::columnMap(0x080), (M{-1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, 0}));
    EXPECT_EQ(hd_protocol::columnMap(0xFFF), (M{0, 1, 2, 3, 4, 5, 6, 8, 9, 10, 11, 7}));
    EXPECT_EQ(hd_protocol::columnMap(0x183), (M{0, 1, -1, -1, -1, -1, -1, 3, -1, -1, -1, 2}));
}

TEST_F(HdTest, RecordsDecodedAndScaledAcrossArrivals) {
    ASSERT_TRUE(hd.Connect("127.0.0.1"));
    hd.SetDS(0x183); // time, signal 1, the 3-volt input, analogue column 7
    int records = 0;
    hd.NewRecord = [&](const clsHD::Record&) { ++records; };
    using hd_protocol::encodeValue;
    const std::string rec = encodeValue(12345) + encodeValue(-25000) + encodeValue(2048) + encodeValue(4096);
    net.arrive(5001, rec.substr(0, 5));
    EXPECT_EQ(records, 0);
    net.arrive(5001, rec.substr(5) + rec.substr(0, 15));
    net.arrive(5000, "OK\r"); // replies on the command port are not records
    ASSERT_EQ(records, 1);
    const auto& r = hd.Records().front();
    EXPECT_FLOAT_EQ(r[0], 12.345f);
    EXPECT_FLOAT_EQ(r[1], 2.5f);
    EXPECT_FLOAT_EQ(r[11], 1.5f);
    EXPECT_FLOAT_EQ(r[7], 5.0f);
    EXPECT_EQ(r[2], 0.0f);
    net.arrive(5001, rec.substr(15));
    EXPECT_EQ(records, 2);
}

// A record cut in two by a new selection (SetDS, or the Stat that sends the selection again): its first part
// must not be read as the start of a record of the new layout.
TEST_F(HdTest, ANewSelectionDiscardsAHalfRecord) {
    ASSERT_TRUE(hd.Connect("127.0.0.1"));
    using hd_protocol::encodeValue;
    // Time, signal 1, the 3-volt input (column 11), analogue column 7.
    const std::string four = encodeValue(1000) + encodeValue(2) + encodeValue(2048) + encodeValue(4096);
    struct Case {
        const char* what;
        std::function<void()> change;
        std::string next; // a whole record of the layout after the change
        float column11;
    };
    const Case cases[] = {
        {"SetDS", [&] { hd.SetDS(0x080); }, encodeValue(4096), 3.0f}, // the 3-volt input alone
        {"Stat", [&] { hd.Stat(0); }, four, 1.5f},
    };
    net.reply = [](std::string_view command) {
        return std::string(command.starts_with("Stat") ? "Stat FW=1.4.2\r" : "");
    };
    for (const Case& c : cases) {
        hd.SetDS(0x183);
        hd.ClearRecords();
        net.arrive(5001, four + four.substr(0, 6));
        ASSERT_EQ(hd.Records().size(), 1u) << c.what;
        c.change();
        net.arrive(5001, c.next);
        ASSERT_EQ(hd.Records().size(), 2u) << c.what;
        EXPECT_FLOAT_EQ(hd.Records()[1][11], c.column11) << c.what;
    }
}

TEST_F(HdTest, PortThatDoesNotConnectIsReported) {
    net.refused = {5002};
    EXPECT_FALSE(hd.Connect("127.0.0.1"));
    EXPECT_EQ(host.messages(), std::vector<std::string>{"Timeout (3) - Connect to Port: 5002"});
    EXPECT_TRUE(hd.Connected());
}

TEST_F(HdTest, IntegrationLimitAndHighVoltageButton) {
    ASSERT_TRUE(hd.Connect("127.0.0.1"));
    EXPECT_TRUE(hd.CheckICF(64, 4));
    EXPECT_FALSE(hd.CheckICF(65, 4));
    EXPECT_EQ(host.messages(),
              std::vector<std::string>{"Integrations per Cycle * OverSampling Points must be 256 or less"});
    EXPECT_EQ(hd.HV_Caption(), "HV On (600V)");
    EXPECT_EQ(hd.HV_Toggle(), "HV Off");
    EXPECT_EQ(hd.HV_Toggle(), "HV On (600V)");
    EXPECT_EQ(commands(), "CV1 153\rCV1 1\r");
}

} // namespace
} // namespace zel
