#include "common/windows1252.h"

#include <array>

namespace zel {
namespace {

// 0x80..0x9F; the rest of the upper half is Latin-1.
constexpr std::array<char32_t, 32> kHigh{0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021,
                                         0x02C6, 0x2030, 0x0160, 0x2039, 0x0152, 0x008D, 0x017D, 0x008F,
                                         0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022, 0x2013, 0x2014,
                                         0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178};

void appendUtf8(std::string& out, char32_t c) {
    if (c < 0x80) {
        out += static_cast<char>(c);
    } else if (c < 0x800) {
        out += static_cast<char>(0xC0 | (c >> 6));
        out += static_cast<char>(0x80 | (c & 0x3F));
    } else {
        out += static_cast<char>(0xE0 | (c >> 12));
        out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (c & 0x3F));
    }
}

// The code point of the UTF-8 sequence at text[i] and its length; 0 length when malformed (overlong forms,
// surrogates and values beyond U+10FFFF included).
std::pair<char32_t, std::size_t> decodeUtf8(std::string_view text, std::size_t i) {
    const auto b = [&](std::size_t k) { return static_cast<unsigned char>(text[i + k]); };
    const unsigned char lead = b(0);
    std::size_t n = 0;
    char32_t c = 0;
    if (lead < 0x80) return {lead, 1};
    if ((lead >> 5) == 6) {
        n = 2;
        c = lead & 0x1F;
    } else if ((lead >> 4) == 14) {
        n = 3;
        c = lead & 0x0F;
    } else if ((lead >> 3) == 30) {
        n = 4;
        c = lead & 0x07;
    } else {
        return {0, 0};
    }
    if (i + n > text.size()) return {0, 0};
    for (std::size_t k = 1; k < n; ++k) {
        if ((b(k) >> 6) != 2) return {0, 0};
        c = (c << 6) | (b(k) & 0x3F);
    }
    static constexpr char32_t kMin[] = {0, 0, 0x80, 0x800, 0x10000};
    if (c < kMin[n] || c > 0x10FFFF || (c >= 0xD800 && c <= 0xDFFF)) return {0, 0};
    return {c, n};
}

} // namespace

char32_t windows1252ToUnicode(unsigned char byte) {
    if (byte >= 0x80 && byte < 0xA0) return kHigh[byte - 0x80];
    return byte;
}

std::optional<unsigned char> unicodeToWindows1252(char32_t c) {
    if (c < 0x80 || (c >= 0xA0 && c <= 0xFF)) return static_cast<unsigned char>(c);
    for (std::size_t i = 0; i < kHigh.size(); ++i)
        if (kHigh[i] == c) return static_cast<unsigned char>(0x80 + i);
    return std::nullopt;
}

std::string windows1252ToUtf8(std::string_view text) {
    std::string out;
    out.reserve(text.size());
    for (char ch : text)
        appendUtf8(out, windows1252ToUnicode(static_cast<unsigned char>(ch)));
    return out;
}

std::string utf8ToWindows1252(std::string_view text) {
    std::string out;
    out.reserve(text.size());
    for (std::size_t i = 0; i < text.size();) {
        const auto [c, n] = decodeUtf8(text, i);
        if (n == 0) {
            out += text[i++];
            continue;
        }
        out += static_cast<char>(unicodeToWindows1252(c).value_or('?'));
        i += n;
    }
    return out;
}

} // namespace zel
