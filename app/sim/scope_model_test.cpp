#include "app/sim/scope_model.h"

#include <gtest/gtest.h>

#include <cmath>

namespace zel::sim {
namespace {

struct Fixture : ::testing::Test {
    SiteModel site{3};
    std::int64_t nowMs = 0;
    ScopeModel scope{site, ScopeSimOptions{10, 3}, [this] { return nowMs; }};
};

TEST(ScopePaths, ShortLongAndInBetweenFormsMeetOnOnePath) {
    const std::pair<const char*, const char*> cases[] = {
        {"HORizontal:DELay:TIMe", "HORIZONTAL:DELAY:TIME"},
        {":hor:del:tim", "HORIZONTAL:DELAY:TIME"},
        {"DAT:STAR", "DATA:START"},
        {"HOR:RECORDL", "HORIZONTAL:RECORDLENGTH"},
        {"ACQ:NUMAC", "ACQUIRE:NUMACQ"},
        {"ACQ:NUMAV", "ACQUIRE:NUMAVG"},
        {"ACQ:STOPA", "ACQUIRE:STOPAFTER"},
        {"DIS:INTENSIT:BACKL", "DISPLAY:INTENSITY:BACKLIGHT"},
        {"MEASUREMENT:MEAS1:SOURCE1", "MEASUREMENT:MEAS1:SOURCE1"},
        {"SELECT:CONTRO", "SELECT:CONTROL"},
    };
    for (const auto& [in, out] : cases)
        EXPECT_EQ(canonicalPath(in), out) << in;
}

TEST_F(Fixture, SubtreesQuotesAndHeaders) {
    EXPECT_EQ(scope.handle(":DATA:ENC RIB;SOU CH2;STAR 1;STOP 500;WID 2"), "");
    EXPECT_EQ(scope.setting("DATA:SOURCE"), "CH2");
    EXPECT_EQ(scope.setting("DATA:STOP"), "500");
    scope.handle(":MESS:BOX 50,200,500,250;SHOW \"a;b\";STATE ON");
    EXPECT_EQ(scope.setting("MESSAGE:SHOW"), "\"a;b\"");
    EXPECT_EQ(scope.setting("MESSAGE:STATE"), "ON");

    EXPECT_EQ(scope.handle("DAT:STAR?;STOP?"), ":DATA:START 1;:DATA:STOP 500\n");
    scope.handle(":HEAD OFF");
    EXPECT_EQ(scope.handle("CH2:SCA?"), "1.0000E-01\n");
    scope.handle(":CH2:SCA 0.05");
    EXPECT_NEAR(std::stod(scope.handle("ch2:scale?")), 0.05, 1e-12);
}

// The probe starts with a push's start (REF1 and REF2 kept, then RUN), not with an RE or a background taken
// before it, nor with the RUN of the scope's set-up.
TEST_F(Fixture, OnlyAPushsStartStartsTheProbe) {
    struct Case {
        std::vector<const char*> commands;
        int starts;
    };
    const Case cases[] = {
        {{":ACQ:STATE RUN"}, 0},
        {{":SAV:WAVE CH2,REF3"}, 0},
        {{":SAV:WAVE CH2,REF1", ":SAV:WAVE CH2,REF2", ":SAV:WAVE CH2,REF4", ":ACQ:STATE RUN"}, 0},
        {{":SAV:WAVE CH2,REF1", ":SAV:WAVE CH2,REF2", ":ACQ:STATE RUN"}, 1},
        {{":SAV:WAVE CH2,REF1", ":SAV:WAVE CH2,REF2", ":SAV:WAVE CH2,REF4", ":SAV:WAVE CH2,REF1",
          ":SAV:WAVE CH2,REF2", ":ACQ:STATE RUN", ":ACQ:STATE RUN"},
         1},
    };
    for (const Case& c : cases) {
        ScopeModel fresh{site, ScopeSimOptions{10, 3}, [] { return std::int64_t{0}; }};
        int starts = 0;
        fresh.onPushStart = [&starts] { ++starts; };
        for (const char* command : c.commands)
            fresh.handle(command);
        EXPECT_EQ(starts, c.starts) << c.commands.size() << " commands, the last " << c.commands.back();
    }
}

TEST_F(Fixture, OperationCompleteAfterTheAveragingSweeps) {
    scope.handle(":ACQ:MOD AVE;NUMAV 4");
    scope.handle("*OPC");
    EXPECT_EQ(scope.handle("*ESR?"), "0\n");
    nowMs += 39;
    EXPECT_EQ(scope.handle("*ESR?"), "0\n");
    nowMs += 1;
    EXPECT_EQ(scope.handle("*ESR?"), "1\n");
    EXPECT_EQ(scope.handle("*ESR?"), "0\n") << "reading clears it";

    scope.handle("*OPC");
    scope.handle("*CLS");
    nowMs += 100;
    EXPECT_EQ(scope.handle("*ESR?"), "0\n") << "*CLS cancels the pending completion";

    scope.handle(":DESE 1");
    scope.handle(":CURSOR: mode TRACK");
    EXPECT_EQ(scope.handle("*ESR?"), "0\n") << "a command error is not latched past DESE";
}

TEST_F(Fixture, CurveIsTheRecordInTwoByteLevels) {
    scope.setDepthFt(12.0); // in the built-in site's smear zone
    scope.handle(":HEAD OFF;:DATA:ENC RIB;SOU CH2;STAR 1;STOP 500;WID 2");
    scope.handle(":HOR:RECORDL 500;:HOR:MAI:SCA 40E-9;:HOR:DEL:TIM 600E-9;:CH2:SCA 0.05;POS -3.5");
    const std::string reply = scope.handle("CURVE?");
    ASSERT_EQ(reply.substr(0, 6), "#41000");
    ASSERT_EQ(reply.size(), 6u + 1000u + 1u);
    ASSERT_EQ(scope.record().size(), 500u);
    for (std::size_t k = 0; k < 500; ++k) {
        const auto hi = static_cast<unsigned char>(reply[6 + 2 * k]);
        const auto lo = static_cast<unsigned char>(reply[7 + 2 * k]);
        ASSERT_EQ(static_cast<std::int16_t>(hi << 8 | lo), scope.record()[k]) << k;
    }
    EXPECT_NEAR(scope.yMult(), 0.05 / 6400, 1e-15);
    EXPECT_DOUBLE_EQ(scope.yOff(), -22400.0);
    EXPECT_NEAR(scope.xIncr(), 0.8e-9, 1e-20);
    // Before the first channel's arrival the record sits at the zero line, within the noise.
    const double earlyV = (scope.record()[10] - scope.yOff()) * scope.yMult();
    EXPECT_LT(std::abs(earlyV), 0.01);
    // The first channel's pulse (index 50 onwards) rises well above it.
    double peakV = 0;
    for (std::size_t k = 50; k < 150; ++k)
        peakV = std::max(peakV, (scope.record()[k] - scope.yOff()) * scope.yMult());
    EXPECT_GT(peakV, 0.005);
}

TEST_F(Fixture, HostileSettingsStillGiveAWellFormedBlock) {
    for (const char* setup :
         {":CH2:SCA 0;:HOR:RECORDL 1e300;:DATA:STOP -5;WID 2", ":CH2:SCA nan;:HOR:RECORDL -1",
          ":DATA:START 99999;STOP 3;:ACQ:MOD AVE;NUMAV 1e20;:DESE 1e300"}) {
        scope.handle(setup);
        scope.handle("*OPC");
        const std::string reply = scope.handle("CURVE?");
        ASSERT_GE(reply.size(), 4u) << setup;
        EXPECT_EQ(reply.front(), '#') << setup;
        const int digits = reply[1] - '0';
        ASSERT_GE(digits, 1);
        const std::size_t count = std::stoul(reply.substr(2, static_cast<std::size_t>(digits)));
        EXPECT_EQ(reply.size(), 2 + static_cast<std::size_t>(digits) + count + 1) << setup;
    }
}

} // namespace
} // namespace zel::sim
