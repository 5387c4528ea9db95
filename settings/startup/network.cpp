#include "settings/startup/network.h"

#include <algorithm>

namespace zel {

std::optional<std::uint32_t> parseDottedIPv4(std::string_view text) {
    std::uint32_t address = 0;
    int parts = 0;
    std::size_t i = 0;
    while (parts < 4) {
        std::uint32_t part = 0;
        std::size_t digits = 0;
        for (; i < text.size() && text[i] >= '0' && text[i] <= '9' && digits < 3; ++i, ++digits)
            part = part * 10 + static_cast<std::uint32_t>(text[i] - '0');
        if (digits == 0 || part > 255) return std::nullopt;
        address = (address << 8) | part;
        if (++parts < 4) {
            if (i >= text.size() || text[i] != '.') return std::nullopt;
            ++i;
        }
    }
    if (i != text.size()) return std::nullopt;
    return address;
}

std::optional<std::string> pcAddressMessage(const std::vector<std::string>& addresses,
                                            std::string_view expected) {
    if (std::find(addresses.begin(), addresses.end(), expected) != addresses.end()) return std::nullopt;
    std::string text = "Check IP address.\r\nShould be set to: " + std::string(expected) +
                       "\r\nUse IP_QuickSet or if that doesn't work due to naming issues, manually set "
                       "computer IP from the Windows Control Panel.\r\nCurrent IP(s):";
    for (const std::string& a : addresses)
        if (!a.empty()) text += "\r\n" + a;
    return text;
}

} // namespace zel
