#include "instruments/hd_board/hd_protocol.h"

#include <charconv>
#include <cmath>

namespace zel::hd_protocol {

ColumnMap columnMap(int mask) {
    ColumnMap map;
    map.fill(-1);
    int next = 0;
    for (int bit = 0; bit < kColumns; ++bit)
        if (mask >> bit & 1) map[static_cast<std::size_t>(hd_layout::columnOfBit(bit))] = next++;
    return map;
}

int selectedColumns(const ColumnMap& map) {
    int n = 0;
    for (const int p : map)
        n += p >= 0;
    return n;
}

float scaleColumn(int column, std::int32_t raw) {
    const auto v = static_cast<double>(raw);
    if (column == 0) return static_cast<float>(v / 1000.0);
    if (column >= 1 && column <= 4) return static_cast<float>(std::abs(v) / 10000.0);
    if (column == kThreeVoltColumn) return static_cast<float>(v / 4096.0 * 3.0);
    return static_cast<float>(v / 4096.0 * 5.0);
}

std::string encodeValue(std::int32_t raw) {
    const auto u = static_cast<std::uint32_t>(raw);
    std::string b(4, '\0');
    for (int i = 0; i < 4; ++i)
        b[static_cast<std::size_t>(i)] = static_cast<char>(u >> (8 * i) & 0xFF);
    return b;
}

std::int32_t decodeValue(const unsigned char* bytes) {
    std::uint32_t u = 0;
    for (int i = 3; i >= 0; --i)
        u = u << 8 | bytes[i];
    return static_cast<std::int32_t>(u);
}

namespace {

bool number(std::string_view text, long long& out, long long lo, long long hi) {
    long long v = 0;
    const auto r = std::from_chars(text.data(), text.data() + text.size(), v);
    if (r.ec != std::errc{} || r.ptr != text.data() + text.size() || v < lo || v > hi) return false;
    out = v;
    return true;
}

bool version(std::string_view text, Status& s) {
    long long part[3] = {0, 0, 0};
    for (int i = 0; i < 3; ++i) {
        const auto dot = text.find('.');
        if ((dot == std::string_view::npos) != (i == 2)) return false;
        if (!number(text.substr(0, dot), part[i], 0, 99)) return false;
        if (dot != std::string_view::npos) text.remove_prefix(dot + 1);
    }
    s.firmwareMajor = static_cast<int>(part[0]);
    s.firmwareMinor = static_cast<int>(part[1]);
    s.firmwarePatch = static_cast<int>(part[2]);
    return true;
}

} // namespace

std::optional<Status> parseStatus(std::string_view line) {
    if (line.size() > kMaxReplyLine || !(line == "Stat" || line.starts_with("Stat "))) return std::nullopt;
    Status s;
    line.remove_prefix(4);
    while (!line.empty()) {
        const auto blank = line.find(' ');
        const std::string_view field = line.substr(0, blank);
        line.remove_prefix(blank == std::string_view::npos ? line.size() : blank + 1);
        const auto eq = field.find('=');
        if (eq == std::string_view::npos) continue;
        const std::string_view key = field.substr(0, eq), value = field.substr(eq + 1);
        long long v = 0;
        if (key == "FW")
            version(value, s);
        else if (key == "DS" && number(value, v, 0, kMaxMask))
            s.mask = static_cast<int>(v);
        else if (key == "IT" && number(value, v, 1, 1000))
            s.intTime = static_cast<int>(v);
        else if (key == "ICF" && number(value, v, 0, 65535))
            s.icf = static_cast<int>(v);
        else if (key == "SI" && number(value, v, 0, 1000000))
            s.sampleInterval = static_cast<int>(v);
        else if (key == "CNT" && number(value, v, 0, 0xFFFFFFFFLL))
            s.counter = v;
    }
    return s;
}

std::string formatStatus(const Status& s) {
    return "Stat FW=" + std::to_string(s.firmwareMajor) + "." + std::to_string(s.firmwareMinor) + "." +
           std::to_string(s.firmwarePatch) + " DS=" + std::to_string(s.mask) +
           " IT=" + std::to_string(s.intTime) + " ICF=" + std::to_string(s.icf) +
           " SI=" + std::to_string(s.sampleInterval) + " CNT=" + std::to_string(s.counter);
}

} // namespace zel::hd_protocol
