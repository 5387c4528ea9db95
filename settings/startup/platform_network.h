#pragma once
// The network questions answered by the operating system.

#include "settings/startup/network.h"

namespace zel {

// The echo test is a TCP connection attempt: an accepted or a refused connection both mean the host is there
// (a refusal is the host's own answer), silence until the time-out means it is not. Unlike an ICMP echo it
// needs no privileges. Nothing is sent beyond the connection attempt to the address asked about.
class SystemNetwork : public NetworkProbe {
public:
    // 111 is the VXI-11 portmapper of the oscilloscope; any port serves, as a refusal counts as an answer.
    explicit SystemNetwork(int port = 111, int timeoutMs = 1000) : port_(port), timeoutMs_(timeoutMs) {}

    bool answersEcho(const std::string& address) override;
    // Every IPv4 address of an interface that is up, loopback left out.
    std::vector<std::string> localAddresses() override;

private:
    int port_;
    int timeoutMs_;
};

} // namespace zel
