#include "settings/startup/network.h"
#include "settings/startup/platform_network.h"

#include <gtest/gtest.h>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

namespace zel {
namespace {

TEST(Network, DottedAddressesAreDecimalWhateverThePadding) {
    EXPECT_EQ(parseDottedIPv4("192.168.250.052"), 0xC0A8FA34u);
    for (const char* bad : {"", "192.168.250", "192.168.250.256", "192.168.250.1 ", "192.168.250.0001"})
        EXPECT_FALSE(parseDottedIPv4(bad).has_value()) << bad;
}

TEST(Network, PcAddressMessageListsEveryNonEmptyAddress) {
    EXPECT_FALSE(pcAddressMessage({"10.0.0.2", "192.168.250.251"}, "192.168.250.251").has_value());
    EXPECT_EQ(pcAddressMessage({"10.0.0.2", "", "169.254.3.4"}, "192.168.250.251"),
              "Check IP address.\r\nShould be set to: 192.168.250.251\r\nUse IP_QuickSet or if that doesn't "
              "work due to naming issues, manually set computer IP from the Windows Control Panel.\r\n"
              "Current IP(s):\r\n10.0.0.2\r\n169.254.3.4");
}

// Only the loopback interface is contacted: a listening port and a closed one both answer.
TEST(Network, ConnectProbeCountsAcceptAndRefusalAsAnAnswer) {
    const int listener = ::socket(AF_INET, SOCK_STREAM, 0);
    ASSERT_GE(listener, 0);
    sockaddr_in a{};
    a.sin_family = AF_INET;
    a.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    ASSERT_EQ(::bind(listener, reinterpret_cast<sockaddr*>(&a), sizeof a), 0);
    ASSERT_EQ(::listen(listener, 1), 0);
    socklen_t len = sizeof a;
    ASSERT_EQ(::getsockname(listener, reinterpret_cast<sockaddr*>(&a), &len), 0);
    const int port = ntohs(a.sin_port);

    EXPECT_TRUE(SystemNetwork(port, 500).answersEcho("127.0.0.1"));
    ::close(listener);
    EXPECT_TRUE(SystemNetwork(port, 500).answersEcho("127.0.0.1"));
    EXPECT_FALSE(SystemNetwork(port, 500).answersEcho("not an address"));
}

} // namespace
} // namespace zel
