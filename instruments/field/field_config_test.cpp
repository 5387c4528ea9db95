#include "instruments/field/field_config.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <unistd.h>

namespace zel {
namespace {

struct FieldConfigTest : ::testing::Test {
    std::string path = ::testing::TempDir() + "field_config_" + std::to_string(::getpid()) + ".ini";
    void write(const std::string& text) { std::ofstream(path) << text; }
    void TearDown() override { std::filesystem::remove(path); }
};

TEST_F(FieldConfigTest, CommSettingsByControlNameWithBadValuesKeptAtTheirDefaults) {
    write("[Comm]\n"
          "0,cmbDepthSource=2\n"
          "1,txtDepthPort=/dev/pts/9\n"
          "2,txtDisplayPort=4\n"
          "3,txtGPSPort= \n" // saved empty: the default stays
          "4,chkDisplayANSI=1\n"
          "4,chkHDReference=1\n"
          "5,txtStringPotCal=2.5\n"
          "6,txtDepthUpdateMS=70000\n"
          "7,txtAD4CountsPerFt=0\n"
          "8,txtCondConstant=nan\n"
          "9,txtScopeAddress=127.0.0.1\n"
          "10,txtScopePortmap=41111\n"
          "11,txtHDPorts=6000,6001\n"
          "12,txtHDAddress=10.0.0.9\n"
          "13,cmbUnknown=3\n"
          "[Other]\n"
          "1,txtDepthPort=7\n");
    const FieldConfig c = loadFieldConfig(path);
    EXPECT_EQ(c.depthSource, 2);
    EXPECT_EQ(c.depthPort, "/dev/pts/9");
    EXPECT_EQ(c.displayPort, "4");
    EXPECT_EQ(c.gpsPort, "3");
    EXPECT_TRUE(c.displayAnsi);
    EXPECT_TRUE(c.hdReference);
    EXPECT_FLOAT_EQ(c.stringPotCal, 2.5f);
    EXPECT_EQ(c.depthUpdateMs, 333);
    EXPECT_EQ(c.ad4CountsPerFt, 1000.0f);
    EXPECT_EQ(c.condConstant, 1.0f);
    EXPECT_EQ(c.scopeAddress, "127.0.0.1");
    EXPECT_EQ(c.scopePortmap, 41111);
    EXPECT_EQ(c.hdPorts, (std::array<std::uint16_t, 3>{5000, 5001, 5002}));
    EXPECT_EQ(c.hdAddress, "10.0.0.9");

    write("[Comm]\n0,cmbDepthSource=9\n1,txtHDPorts=6000, 6001 ,6002\n");
    const FieldConfig d = loadFieldConfig(path);
    EXPECT_EQ(d.depthSource, 1);
    EXPECT_EQ(d.hdPorts, (std::array<std::uint16_t, 3>{6000, 6001, 6002}));
    std::filesystem::remove(path);
    EXPECT_EQ(loadFieldConfig(path).depthPort, "1");
}

TEST_F(FieldConfigTest, AddressesMoveUnlessTheCommandLineMovedTheScope) {
    FieldConfig c;
    c.scopeAddress = "127.0.0.1";
    c.hdAddress = "127.0.0.2";
    StartupSettings s, ipscp;
    ipscp.switches = "/IPSCP052";
    applyAddresses(c, s);
    applyAddresses(c, ipscp);
    EXPECT_EQ(s.scopeResource, "TCPIP::127.0.0.1::INSTR");
    EXPECT_EQ(s.hdBoardAddress, "127.0.0.2");
    EXPECT_EQ(ipscp.scopeResource, "TCPIP::192.168.250.252::INSTR");
}

TEST_F(FieldConfigTest, SerialPortsAsNumbersOrPaths) {
    write("[CommPorts]\nPort3=/dev/ttyUSB0\n");
    EXPECT_EQ(serialDevice("3", path), "/dev/ttyUSB0");
    EXPECT_EQ(serialDevice("2", path), "/dev/ttyS1");
    EXPECT_EQ(serialDevice("/dev/pts/4", path), "/dev/pts/4");
}

} // namespace
} // namespace zel
