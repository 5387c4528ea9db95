#include "instruments/gps/gps.h"

#include "instruments/transport/fake_serial_port.h"

#include <gtest/gtest.h>

namespace zel {
namespace {

constexpr const char* kFix =
    "$GPGGA,123519.00,4530.1234,S,07400.6000,W,2,08,0.9,100.0,M,-34.2,M,3.5,0123*47\r\n";

struct GpsTest : ::testing::Test {
    FakeClock clock;
    testing::FakeSerialPort port;
    cZEL_GPS gps{clock};
    int events = 0;
    void SetUp() override {
        gps.NewGPS = [this] { ++events; };
        ASSERT_TRUE(gps.Open(port, "/dev/pts/9"));
    }
};

TEST_F(GpsTest, ReadsEveryFieldOfAFix) {
    port.receive(kFix);
    ASSERT_EQ(events, 1);
    EXPECT_TRUE(gps.NewData);
    EXPECT_EQ(gps.FixTime, "123519.00");
    EXPECT_EQ(gps.Latitude, "45 30.1234 S");
    EXPECT_NEAR(gps.Latitude_Dec, -45.50206, 1e-5);
    EXPECT_EQ(gps.Longitude, "074 00.6000 W");
    EXPECT_NEAR(gps.Longitude_Dec, -74.01, 1e-5);
    EXPECT_EQ(gps.QualityIndicator, 2);
    EXPECT_EQ(gps.Satellites, 8);
    EXPECT_FLOAT_EQ(gps.HDOP, 0.9f);
    EXPECT_FLOAT_EQ(gps.Altitude_M, 100.0f);
    EXPECT_NEAR(gps.Altitude_Ft, 328.084, 1e-3);
    EXPECT_NEAR(gps.Geoidal_Ft, -34.2 * 3.28084, 1e-3);
    EXPECT_FLOAT_EQ(gps.DGPS_Age, 3.5f);
    EXPECT_EQ(gps.BaseStationID, "0123");
    EXPECT_EQ(gps.DateOfLast, clock.now());
    EXPECT_TRUE(gps.Text_Raw.empty());
}

TEST_F(GpsTest, NorthEastFeetAndEmptyFields) {
    port.receive("$GPGGA,000001,0130.0000,N,00130.0000,E,1,4,,12.5,F,,,,*00");
    ASSERT_EQ(events, 1);
    EXPECT_FLOAT_EQ(gps.Latitude_Dec, 1.5f);
    EXPECT_FLOAT_EQ(gps.Longitude_Dec, 1.5f);
    EXPECT_EQ(gps.HDOP, 0.0f);
    EXPECT_FLOAT_EQ(gps.Altitude_Ft, 12.5f);
    EXPECT_NEAR(gps.Altitude_M, 12.5 / 3.28084, 1e-5);
    port.receive("$GPGGA,000002,,,,,0,0,,,,,,,*00");
    EXPECT_EQ(gps.Latitude, "0");
    EXPECT_EQ(gps.Longitude_Dec, 0.0f);
}

TEST_F(GpsTest, SentenceSplitAcrossArrivalsIsParsedOnceWhenTheChecksumHasArrived) {
    const std::string s = kFix;
    const auto star = s.find('*');
    for (const std::size_t cut : {std::size_t{3}, std::size_t{30}, star, star + 1, star + 2}) {
        SCOPED_TRACE(cut);
        events = 0;
        port.receive("$GPRMC,ignored,*11\r\n" + s.substr(0, cut));
        EXPECT_EQ(events, 0);
        port.receive(s.substr(cut));
        EXPECT_EQ(events, 1);
    }
}

TEST_F(GpsTest, FourteenFieldsChangeNothingButStillRaiseTheEvent) {
    port.receive(kFix);
    port.receive("$GPGGA,999999,1000.0000,N,01000.0000,E,1,05,1.0,5.0,M,1.0,M,0*00");
    EXPECT_EQ(events, 2);
    EXPECT_EQ(gps.FixTime, "123519.00");
    EXPECT_EQ(gps.Latitude, "45 30.1234 S");
}

TEST_F(GpsTest, EndlessNoiseDoesNotGrowTheBuffer) {
    for (int i = 0; i < 1000; ++i)
        port.receive("$GPGSV,3,1,11,03,03,111,00,04,15,270,00,06,01,010,00,13,06,292,00*74\r\n");
    EXPECT_LT(gps.Text_Raw.size(), 5000u);
    port.receive("$GPGGA,1" + std::string(10000, '1'));
    EXPECT_LT(gps.Text_Raw.size(), 5000u);
    port.receive(kFix);
    EXPECT_EQ(gps.FixTime, "123519.00");
}

TEST(GpsUtm, WgsToUtmZoneAndHemisphere) {
    const auto u = cZEL_GPS::LL_UTM(-45.50206, -74.01);
    ASSERT_TRUE(u);
    EXPECT_EQ(u->zone, 18);
    EXPECT_FALSE(u->north);
    const auto centre = cZEL_GPS::LL_UTM(0.0, -75.0); // the zone's meridian on the equator
    ASSERT_TRUE(centre);
    EXPECT_NEAR(centre->easting, 500000.0, 1e-6);
    EXPECT_NEAR(centre->northing, 0.0, 1e-6);
    EXPECT_FALSE(cZEL_GPS::LL_UTM(91.0, 0.0));
}

} // namespace
} // namespace zel
