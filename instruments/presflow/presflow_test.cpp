#include "instruments/presflow/presflow.h"

#include "instruments/transport/fake_serial_port.h"

#include <gtest/gtest.h>

namespace zel {
namespace {

using presflow_protocol::parseReading;

TEST(PresFlowProtocol, ReadingsRoundTripAndNoiseIsRefused) {
    const presflow_protocol::Reading r{12.5, 31.25, 48.75, 312.4};
    const std::string line = presflow_protocol::formatReading(r);
    ASSERT_TRUE(line.ends_with("\r\n"));
    const auto back = parseReading(line.substr(0, line.size() - 2));
    ASSERT_TRUE(back);
    EXPECT_DOUBLE_EQ(back->timeS, 12.5);
    EXPECT_DOUBLE_EQ(back->presDownPsi, 48.75);
    EXPECT_DOUBLE_EQ(back->flowMlMin, 312.4);

    std::string flipped = line.substr(0, line.size() - 2);
    flipped[4] = flipped[4] == '1' ? '2' : '1'; // one digit changed on the line: the check fails
    const char* noise[] = {"",
                           "P,",
                           "P,1,2,3*00",
                           "P,1,2,3,4",
                           "P,1,2,3,4*ZZ",
                           "Q,1,2,3,4*00",
                           "P,1,2,3,4,5*00",
                           "P,1e5,2,3,4*00",
                           "P,,2,3,4*00"};
    EXPECT_FALSE(parseReading(flipped));
    for (const char* n : noise)
        EXPECT_FALSE(parseReading(n)) << n;
}

TEST(PresFlowProtocol, StreamCommands) {
    const std::pair<const char*, std::optional<int>> cases[] = {
        {"S250", 250},
        {"S0", 0},
        {"S10", 10},
        {"S9", std::nullopt},
        {"S60001", std::nullopt},
        {"S", std::nullopt},
        {"S-5", std::nullopt},
        {"X", std::nullopt},
    };
    for (const auto& [text, period] : cases)
        EXPECT_EQ(presflow_protocol::parseStreamCommand(text), period) << text;
    EXPECT_EQ(presflow_protocol::parseStreamCommand(presflow_protocol::streamCommand(500)), 500);
}

struct Driver : ::testing::Test {
    FakeClock clock;
    testing::FakeSerialPort port;
    cZEL_PresFlow pf{clock};
    void SetUp() override { ASSERT_TRUE(pf.Open(port, "/dev/aux")); }
    std::string reading(double down, double flow = 100) {
        return presflow_protocol::formatReading({1.0, down - 5, down, flow});
    }
};

TEST_F(Driver, SplitLinesNoiseAndOverlongLines) {
    const std::string a = reading(20), b = reading(22, 250);
    port.receive(a.substr(0, 7));
    EXPECT_EQ(pf.Readings, 0);
    port.receive(a.substr(7) + "garbage\r\n" + std::string(500, 'P') + "\r\n" + b);
    EXPECT_EQ(pf.Readings, 2);
    EXPECT_EQ(pf.NoiseLines, 2);
    EXPECT_FLOAT_EQ(pf.PresDown, 22.0f);
    EXPECT_FLOAT_EQ(pf.Flow, 250.0f);
    EXPECT_DOUBLE_EQ(pf.AveragePresDown(), 21.0);
}

TEST_F(Driver, CommandsAndSilence) {
    pf.StartStream(5);
    pf.ZeroClock();
    pf.Query();
    EXPECT_EQ(port.written, "S10\rZ\rQ\r"); // the period is clamped to what the unit takes
    EXPECT_FALSE(pf.Answering());           // nothing has come yet
    port.receive(reading(30));
    EXPECT_TRUE(pf.Answering());
    clock.advanceMs(1900);
    EXPECT_TRUE(pf.Answering());
    clock.advanceMs(200);
    EXPECT_FALSE(pf.Answering()); // quiet for longer than 2 s
    port.receive(reading(31));
    EXPECT_TRUE(pf.Answering());
}

TEST_F(Driver, RunningAverageKeepsTheLastReadings) {
    pf.averageCount = 3;
    for (const double d : {10.0, 20.0, 30.0, 40.0})
        port.receive(reading(d));
    EXPECT_DOUBLE_EQ(pf.AveragePresDown(), 30.0);
}

} // namespace
} // namespace zel
