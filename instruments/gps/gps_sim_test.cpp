// cZEL_GPS on a real pseudo-terminal against zel-sim gps, whose sentences arrive cut at random places.

#include "instruments/gps/gps.h"
#include "instruments/platform/event_loop_host.h"
#include "instruments/platform/qt_serial_port.h"
#include "instruments/platform/qt_test_app.h"
#include "tests/e2e/field_sim.h"

#include "common/testing/recording_host.h"

#include <gtest/gtest.h>

namespace zel {
namespace {

TEST(GpsSim, FixesReadBackFromSplitSentences) {
    platform::ensureQtTestApp();
    e2e::SimChild sim(ZEL_SIM, {"gps", "--interval-ms", "40", "--lat", "-45.502057", "--lon", "-74.01",
                                "--alt", "250.5", "--satellites", "11", "--seed", "7"});
    ASSERT_TRUE(sim.running());
    testing::RecordingHost recorded;
    platform::EventLoopHost host(recorded);
    SystemClock clock;
    platform::QtSerialPort port;
    cZEL_GPS gps(clock);
    int fixes = 0;
    gps.NewGPS = [&] { ++fixes; };
    ASSERT_TRUE(gps.Open(port, sim.text("gps", "pty")));
    for (int i = 0; i < 300 && fixes < 5; ++i)
        host.sleepMs(10);
    ASSERT_GE(fixes, 5);
    EXPECT_EQ(gps.Latitude, "45 30.1234 S");
    EXPECT_EQ(gps.Longitude, "074 00.6000 W");
    EXPECT_NEAR(gps.Latitude_Dec, -45.502057, 1e-5);
    EXPECT_FLOAT_EQ(gps.Altitude_M, 250.5f);
    EXPECT_EQ(gps.Satellites, 11);
    EXPECT_EQ(gps.QualityIndicator, 1);
    EXPECT_EQ(gps.FixTime.size(), 9u);
}

} // namespace
} // namespace zel
