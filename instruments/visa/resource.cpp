#include "instruments/visa/resource.h"

#include <algorithm>
#include <cctype>
#include <vector>

namespace zel::visa {

namespace {
std::string upper(std::string_view s) {
    std::string u(s);
    std::transform(u.begin(), u.end(), u.begin(), [](unsigned char c) { return std::toupper(c); });
    return u;
}

std::vector<std::string_view> splitFields(std::string_view s) {
    std::vector<std::string_view> parts;
    std::size_t pos = 0;
    while (true) {
        const std::size_t at = s.find("::", pos);
        parts.push_back(s.substr(pos, at == std::string_view::npos ? std::string_view::npos : at - pos));
        if (at == std::string_view::npos) return parts;
        pos = at + 2;
    }
}

bool boardField(std::string_view f) {
    const std::string u = upper(f);
    if (u.rfind("TCPIP", 0) != 0) return false;
    return std::all_of(u.begin() + 5, u.end(), [](unsigned char c) { return std::isdigit(c); });
}
} // namespace

std::optional<Resource> parseResource(std::string_view text) {
    const auto f = splitFields(text);
    if (f.size() < 3 || f.size() > 4 || !boardField(f[0]) || f[1].empty()) return std::nullopt;
    Resource r;
    r.host = std::string(f[1]);
    const std::string cls = upper(f.back());
    if (cls == "INSTR") {
        if (f.size() == 4) {
            if (f[2].empty()) return std::nullopt;
            r.device = std::string(f[2]);
        }
        return r;
    }
    if (cls == "SOCKET" && f.size() == 4) {
        r.kind = Resource::Kind::Socket;
        if (f[2].empty() || f[2].size() > 5 ||
            !std::all_of(f[2].begin(), f[2].end(), [](unsigned char c) { return std::isdigit(c); }))
            return std::nullopt;
        const int port = std::stoi(std::string(f[2]));
        if (port < 1 || port > 65535) return std::nullopt;
        r.port = static_cast<std::uint16_t>(port);
        return r;
    }
    return std::nullopt;
}

} // namespace zel::visa
