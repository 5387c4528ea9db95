#include "instruments/presflow/presflow_protocol.h"

#include "common/number_text.h"

#include <cmath>
#include <cstdio>

namespace zel::presflow_protocol {

namespace {

unsigned char checksum(std::string_view bytes) {
    unsigned char sum = 0;
    for (const char c : bytes)
        sum ^= static_cast<unsigned char>(c);
    return sum;
}

// A plain decimal number ("-12.345"): what the unit sends, nothing else.
std::optional<double> decimal(std::string_view s) {
    if (s.empty() || s.size() > 16) return std::nullopt;
    std::size_t i = s[0] == '-' ? 1 : 0;
    bool digits = false, point = false;
    for (; i < s.size(); ++i) {
        if (s[i] >= '0' && s[i] <= '9')
            digits = true;
        else if (s[i] == '.' && !point)
            point = true;
        else
            return std::nullopt;
    }
    if (!digits) return std::nullopt;
    const double v = val(s);
    return std::isfinite(v) ? std::optional<double>(v) : std::nullopt;
}

} // namespace

std::string streamCommand(int periodMs) {
    return "S" + std::to_string(periodMs);
}

std::optional<int> parseStreamCommand(std::string_view c) {
    if (c.size() < 2 || c.size() > 6 || c[0] != 'S') return std::nullopt;
    int v = 0;
    for (const char d : c.substr(1)) {
        if (d < '0' || d > '9') return std::nullopt;
        v = v * 10 + (d - '0');
    }
    if (v != 0 && (v < kMinPeriodMs || v > kMaxPeriodMs)) return std::nullopt;
    return v;
}

std::string formatReading(const Reading& r) {
    const std::string body = "P," + formatNumber(r.timeS, "0.000") + "," +
                             formatNumber(r.presUpPsi, "0.000") + "," + formatNumber(r.presDownPsi, "0.000") +
                             "," + formatNumber(r.flowMlMin, "0.0");
    char tail[8];
    std::snprintf(tail, sizeof tail, "*%02X\r\n", checksum(body));
    return body + tail;
}

std::optional<Reading> parseReading(std::string_view line) {
    if (line.size() > kMaxLine || line.size() < 5 || line.substr(0, 2) != "P,") return std::nullopt;
    const auto star = line.rfind('*');
    if (star == std::string_view::npos || star + 3 != line.size()) return std::nullopt;
    unsigned sent = 0;
    for (const char c : line.substr(star + 1)) {
        sent <<= 4;
        if (c >= '0' && c <= '9')
            sent |= static_cast<unsigned>(c - '0');
        else if (c >= 'A' && c <= 'F')
            sent |= static_cast<unsigned>(c - 'A' + 10);
        else
            return std::nullopt;
    }
    if (sent != checksum(line.substr(0, star))) return std::nullopt;
    double v[4];
    std::string_view rest = line.substr(2, star - 2);
    for (int i = 0; i < 4; ++i) {
        const auto comma = rest.find(',');
        if ((i < 3) == (comma == std::string_view::npos)) return std::nullopt;
        const auto value = decimal(rest.substr(0, comma));
        if (!value) return std::nullopt;
        v[i] = *value;
        rest = i < 3 ? rest.substr(comma + 1) : std::string_view();
    }
    return Reading{v[0], v[1], v[2], v[3]};
}

} // namespace zel::presflow_protocol
