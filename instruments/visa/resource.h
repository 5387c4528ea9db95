#pragma once
// TCP/IP resource strings: "TCPIP[n]::host[::device]::INSTR" (VXI-11) and "TCPIP[n]::host::port::SOCKET".

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace zel::visa {

struct Resource {
    enum class Kind { Instr, Socket } kind = Kind::Instr;
    std::string host;
    std::string device = "inst0"; // VXI-11 device name
    std::uint16_t port = 0;       // socket form only
};

std::optional<Resource> parseResource(std::string_view text);

} // namespace zel::visa
