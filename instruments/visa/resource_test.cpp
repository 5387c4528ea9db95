#include "instruments/visa/resource.h"

#include <gtest/gtest.h>

namespace zel::visa {
namespace {

TEST(Resource, Forms) {
    const auto instr = parseResource("TCPIP::192.168.250.252::INSTR");
    ASSERT_TRUE(instr);
    EXPECT_EQ(instr->kind, Resource::Kind::Instr);
    EXPECT_EQ(instr->host, "192.168.250.252");
    EXPECT_EQ(instr->device, "inst0");

    const auto gpib = parseResource("tcpip0::scope.local::gpib0,2::instr");
    ASSERT_TRUE(gpib);
    EXPECT_EQ(gpib->device, "gpib0,2");
    EXPECT_EQ(gpib->host, "scope.local");

    const auto sock = parseResource("TCPIP::127.0.0.1::4000::SOCKET");
    ASSERT_TRUE(sock);
    EXPECT_EQ(sock->kind, Resource::Kind::Socket);
    EXPECT_EQ(sock->port, 4000);
}

TEST(Resource, Rejected) {
    for (const char* bad :
         {"", "TCPIP::h", "GPIB0::2::INSTR", "TCPIP::::INSTR", "TCPIP::h::SOCKET", "TCPIP::h::70000::SOCKET",
          "TCPIP::h::12a::SOCKET", "TCPIP::h::a::b::INSTR", "TCPIPX::h::INSTR"})
        EXPECT_FALSE(parseResource(bad)) << bad;
}

} // namespace
} // namespace zel::visa
