#include "program/hydraulic.h"

#include "common/testing/recording_host.h"
#include "instruments/transport/fake_serial_port.h"

#include <gtest/gtest.h>

namespace zel::program {
namespace {

// The unit's stream as the event loop delivers it: every yield of the code under test brings one reading.
class StreamingHost : public testing::RecordingHost {
public:
    StreamingHost(FakeClock& clock, testing::FakeSerialPort& port) : RecordingHost(&clock), port_(port) {}
    double presDown = 0.0;
    bool silent = false;
    void yield() override {
        RecordingHost::yield();
        if (silent) return;
        time_ += 0.2;
        // The transducer's noise, averaging out over the window.
        const double noise = (++n_ % 2 == 0) ? 0.01 : -0.01;
        port_.receive(presflow_protocol::formatReading({time_, 1.0, presDown + noise, 300.0}));
    }

private:
    testing::FakeSerialPort& port_;
    double time_ = 0.0;
    int n_ = 0;
};

struct LiveTests : ::testing::Test {
    FakeClock clock;
    testing::FakeSerialPort port;
    StreamingHost host{clock, port};
    cZEL_PresFlow unit{clock};
    ReferenceTests tests;
    void SetUp() override { ASSERT_TRUE(unit.Open(port, "/dev/pf")); }
};

TEST_F(LiveTests, EachTestTakesTheAverageOfReadingsAfterItWasAsked) {
    // Readings from before the probe was put in place must not count.
    host.presDown = 30.0;
    for (int i = 0; i < 10; ++i)
        host.yield();
    host.presDown = 19.033;
    EXPECT_EQ(TakeLiveReferenceTest(ReferenceTestKind::OneFoot, tests, unit, host, clock), "19.033");
    host.presDown = 18.6;
    EXPECT_EQ(TakeLiveReferenceTest(ReferenceTestKind::ZeroFoot, tests, unit, host, clock), "18.600");
    EXPECT_NEAR(tests.OneFoot(), 19.033, 1e-9);
    EXPECT_NEAR(tests.ZeroFoot(), 18.6, 1e-9);
    EXPECT_EQ(host.messages(), std::vector<std::string>{"Tested value = 0.433\r\nPassed test."});
}

TEST_F(LiveTests, ASilentOrMissingUnitTakesNoReading) {
    tests.TakeOneFoot(19.0);
    host.silent = true;
    EXPECT_FALSE(TakeLiveReferenceTest(ReferenceTestKind::ZeroFoot, tests, unit, host, clock));
    unit.Close();
    EXPECT_FALSE(TakeLiveReferenceTest(ReferenceTestKind::ZeroFoot, tests, unit, host, clock));
    EXPECT_EQ(host.messages(), (std::vector<std::string>{"The pressure/flow unit is not answering.",
                                                         "The pressure/flow unit is not connected."}));
    EXPECT_EQ(tests.OneFoot(), 19.0);
    EXPECT_EQ(tests.ZeroFoot(), 0.0);
}

TEST(DissipationRequest, DepthAndOptionalSeconds) {
    struct Case {
        const char* text;
        std::optional<float> depth;
        double seconds;
    };
    for (const Case& c :
         {Case{"25", 25.0f, 120.0}, Case{"25.5:45", 25.5f, 45.0}, Case{"0:10", 0.0f, 10.0},
          Case{"25:9", std::nullopt, 0}, Case{"25:4000", std::nullopt, 0}, Case{"-1", std::nullopt, 0},
          Case{"25:", std::nullopt, 0}, Case{"", std::nullopt, 0}, Case{"x:30", std::nullopt, 0},
          Case{"25:30s", std::nullopt, 0}}) {
        const auto r = ParseDissipationRequest(c.text);
        ASSERT_EQ(r.has_value(), c.depth.has_value()) << c.text;
        if (!r) continue;
        EXPECT_EQ(r->depth, *c.depth) << c.text;
        EXPECT_EQ(r->seconds, c.seconds) << c.text;
    }
}

} // namespace
} // namespace zel::program
