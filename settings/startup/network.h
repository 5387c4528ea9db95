#pragma once
// The two questions start-up asks the network: does an instrument's address answer, and which addresses
// does this PC have. Behind an interface so that tests never touch the instrument network.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace zel {

class NetworkProbe {
public:
    virtual ~NetworkProbe() = default;
    // True when something at the address answers (the network echo test).
    virtual bool answersEcho(const std::string& address) = 0;
    // The PC's own IPv4 addresses, all adapters.
    virtual std::vector<std::string> localAddresses() = 0;
};

// A dotted IPv4 address in host byte order. Every part is read as a decimal number, so the zero padding that
// "/IPSCP" keeps ("192.168.250.052") means 52, never an octal 42.
std::optional<std::uint32_t> parseDottedIPv4(std::string_view text);

// The critical message of the PC address check, or nothing when the expected address is among the PC's.
std::optional<std::string> pcAddressMessage(const std::vector<std::string>& addresses,
                                            std::string_view expected);

} // namespace zel
