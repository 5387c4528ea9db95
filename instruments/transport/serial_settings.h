#pragma once
// The classic serial settings text, "baud,parity,data bits,stop bits" ("115200,n,8,1", "9600,N,8,1").

#include "common/text.h"

#include <charconv>
#include <optional>
#include <string_view>

namespace zel {

struct SerialSettings {
    int baud = 9600;
    char parity = 'n'; // n, e, o, m, s
    int dataBits = 8;
    int stopBits = 1; // 1 or 2
};

inline std::optional<SerialSettings> parseSerialSettings(std::string_view text) {
    std::string_view parts[4];
    for (int i = 0; i < 4; ++i) {
        const auto comma = text.find(',');
        if ((comma == std::string_view::npos) != (i == 3)) return std::nullopt;
        parts[i] = trimBlanks(text.substr(0, comma));
        if (comma != std::string_view::npos) text.remove_prefix(comma + 1);
    }
    const auto number = [](std::string_view t, int& out) {
        const auto r = std::from_chars(t.data(), t.data() + t.size(), out);
        return r.ec == std::errc{} && r.ptr == t.data() + t.size();
    };
    SerialSettings s;
    if (!number(parts[0], s.baud) || s.baud < 50 || s.baud > 4000000) return std::nullopt;
    if (parts[1].size() != 1) return std::nullopt;
    s.parity = static_cast<char>(parts[1][0] | 0x20);
    if (std::string_view("neoms").find(s.parity) == std::string_view::npos) return std::nullopt;
    if (!number(parts[2], s.dataBits) || s.dataBits < 5 || s.dataBits > 8) return std::nullopt;
    if (!number(parts[3], s.stopBits) || (s.stopBits != 1 && s.stopBits != 2)) return std::nullopt;
    return s;
}

} // namespace zel
