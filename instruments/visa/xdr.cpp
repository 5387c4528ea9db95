#include "instruments/visa/xdr.h"

namespace zel::visa {

void XdrWriter::u32(std::uint32_t v) {
    out_ += static_cast<char>(v >> 24);
    out_ += static_cast<char>(v >> 16);
    out_ += static_cast<char>(v >> 8);
    out_ += static_cast<char>(v);
}

void XdrWriter::opaque(std::string_view bytes) {
    u32(static_cast<std::uint32_t>(bytes.size()));
    out_.append(bytes);
    out_.append((4 - bytes.size() % 4) % 4, '\0');
}

std::optional<std::uint32_t> XdrReader::u32() {
    if (remaining() < 4) return std::nullopt;
    std::uint32_t v = 0;
    for (int i = 0; i < 4; ++i)
        v = (v << 8) | static_cast<unsigned char>(in_[pos_ + i]);
    pos_ += 4;
    return v;
}

std::optional<std::int32_t> XdrReader::i32() {
    const auto v = u32();
    if (!v) return std::nullopt;
    return static_cast<std::int32_t>(*v);
}

std::optional<std::string> XdrReader::opaque(std::size_t maxLength) {
    const std::size_t start = pos_;
    const auto n = u32();
    if (!n || *n > maxLength) {
        pos_ = start;
        return std::nullopt;
    }
    const std::size_t padded = (static_cast<std::size_t>(*n) + 3) / 4 * 4;
    if (remaining() < padded) {
        pos_ = start;
        return std::nullopt;
    }
    std::string s(in_.substr(pos_, *n));
    pos_ += padded;
    return s;
}

bool XdrReader::skipOpaque(std::size_t maxLength) {
    return opaque(maxLength).has_value();
}

} // namespace zel::visa
