#include "instruments/hd_board/hd_protocol.h"

#include <cmath>

namespace zel::hd_protocol {

ColumnMap columnMap(int mask) {
    ColumnMap map;
    map.fill(-1);
    constexpr std::array<int, kColumns> columnOfBit{0, 1, 2, 3, 4, 5, 6, 11, 7, 8, 9, 10};
    int next = 0;
    for (int bit = 0; bit < kColumns; ++bit)
        if (mask >> bit & 1)
            map[static_cast<std::size_t>(columnOfBit[static_cast<std::size_t>(bit)])] = next++;
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

} // namespace zel::hd_protocol
