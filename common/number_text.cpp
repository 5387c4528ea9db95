#include "common/number_text.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <optional>
#include <string>

namespace zel {
namespace {

// A finite non-zero value cut to `precision` significant decimal digits: value = 0.d1d2d3... x 10^(exp10+1),
// i.e. exp10 is the decimal exponent of the first digit. Trailing zeros are not stripped.
struct Decimal {
    bool negative = false;
    std::string digits; // empty for zero
    int exp10 = 0;
};

// The exact decimal expansion of a double. glibc's printf is exact for any requested precision; a double
// has at most 767 significant digits, so this never rounds.
std::string exactDigits(double v, int& exp10) {
    static thread_local std::array<char, 1100> buf;
    const int n = std::snprintf(buf.data(), buf.size(), "%.780e", v);
    std::string_view s(buf.data(), n > 0 ? static_cast<size_t>(n) : 0);
    const size_t e = s.find('e');
    std::string digits;
    digits.reserve(e);
    for (size_t i = 0; i < e; ++i)
        if (s[i] >= '0' && s[i] <= '9') digits.push_back(s[i]);
    exp10 = std::atoi(s.data() + e + 1);
    return digits;
}

// Increments a digit string by one unit in its last place; returns true when it carried out of the
// first digit (999 -> 000, caller shifts the exponent).
bool incrementDigits(std::string& digits) {
    for (size_t i = digits.size(); i-- > 0;) {
        if (digits[i] != '9') {
            ++digits[i];
            return false;
        }
        digits[i] = '0';
    }
    digits.insert(digits.begin(), '1');
    digits.pop_back();
    return true;
}

// Whether v (finite, positive) is at least the decimal of the n (at most 18) digits whose first stands at
// 10^exp10, exactly: v = m 2^q against D 10^-k, compared as integers m 5^k 2^(q+k) and D. nullopt where the
// numbers would not fit 128 bits (then the caller expands v in full).
std::optional<bool> atLeastDecimal(double v, const char* digits, int n, int exp10) {
#if defined(__SIZEOF_INT128__)
    const int k = n - 1 - exp10;
    if (n > 18 || k < 0 || k > 27) return std::nullopt;
    unsigned __int128 d = 0;
    for (int i = 0; i < n; ++i)
        d = d * 10 + static_cast<unsigned>(digits[i] - '0');
    int q = 0;
    const double fraction = std::frexp(v, &q);
    unsigned __int128 lhs = static_cast<std::uint64_t>(std::ldexp(fraction, 53)); // v = lhs 2^(q-53)
    for (int i = 0; i < k; ++i)
        lhs *= 5; // below 2^53 5^27 < 2^116
    int shift = q - 53 + k;
    if (shift >= 0) {
        // D < 10^18 < 2^60: doubling lhs until it passes D cannot overflow.
        for (; shift > 0 && lhs < d; --shift)
            lhs <<= 1;
        return lhs >= d;
    }
    // lhs 2^-s >= D exactly when floor(lhs / 2^s) >= D, D being whole.
    return -shift >= 128 ? d == 0 : (lhs >> -shift) >= d;
#else
    (void)v, (void)digits, (void)n, (void)exp10;
    return std::nullopt;
#endif
}

// Rounds |v| (finite, non-zero) to `precision` (at most 17) significant digits, half away from zero on the
// exact binary value, into digits[0..precision); returns the decimal exponent of the first digit. Basic does
// this; printf rounds ties to even, which differs for values such as 0.125 at two digits. No allocation but
// in the rare exact tie.
int roundSignificant(double v, int precision, char* digits) {
    // Three guard digits, correctly rounded, settle every case except a guard of exactly "500", where the
    // exact expansion decides whether the value sits on the tie or just beside it.
    std::array<char, 64> buf;
    const auto res =
        std::to_chars(buf.data(), buf.data() + buf.size(), v, std::chars_format::scientific, precision + 2);
    const char* end = res.ptr;
    const char* e = std::find(static_cast<const char*>(buf.data()), end, 'e');
    std::array<char, 24> all{};
    int n = 0;
    for (const char* q = buf.data(); q < e && n < static_cast<int>(all.size()); ++q)
        if (*q != '.') all[static_cast<size_t>(n++)] = *q;
    int exp10 = 0;
    std::from_chars(e + 1 + (e + 1 < end && e[1] == '+'), end, exp10);

    const char* guard = all.data() + precision;
    bool up;
    if (guard[0] == '5' && guard[1] == '0' && guard[2] == '0') {
        if (const auto above = atLeastDecimal(v, all.data(), precision + 3, exp10)) {
            up = *above;
        } else {
            int exactExp = 0;
            const std::string exact = exactDigits(v, exactExp);
            // exact and all share the exponent unless the guard digits carried; with "500" they cannot have.
            up =
                exact.size() > static_cast<size_t>(precision) && exact[static_cast<size_t>(precision)] >= '5';
        }
    } else {
        up = guard[0] >= '5';
    }
    std::copy(all.data(), all.data() + precision, digits);
    if (up) {
        int i = precision - 1;
        for (; i >= 0 && digits[i] == '9'; --i)
            digits[i] = '0';
        if (i >= 0) {
            ++digits[i];
        } else { // 999 -> 100, one place up
            digits[0] = '1';
            ++exp10;
        }
    }
    return exp10;
}

Decimal toDecimal(double v, int precision) {
    Decimal d;
    d.negative = std::signbit(v);
    v = std::fabs(v);
    if (v == 0.0) return d;
    std::array<char, 24> digits;
    d.exp10 = roundSignificant(v, precision, digits.data());
    d.digits.assign(digits.data(), static_cast<size_t>(precision));
    return d;
}

// Adds one unit in the last place, growing the string on a carry out of the first digit ("99" -> "100").
void addOne(std::string& digits) {
    if (digits.empty())
        digits = "1";
    else if (incrementDigits(digits)) // now "100..0" of the old length
        digits.push_back('0');
}

void stripTrailingZeros(std::string& digits) {
    while (!digits.empty() && digits.back() == '0')
        digits.pop_back();
}

std::string generalText(double v, int precision) {
    if (std::isnan(v)) return "-1.#IND"; // what the field's files carry for an undefined value
    if (std::isinf(v)) return v > 0 ? "1.#INF" : "-1.#INF";
    Decimal d = toDecimal(v, precision);
    stripTrailingZeros(d.digits);
    if (d.digits.empty()) return "0"; // zero and negative zero
    std::string out = d.negative ? "-" : "";
    const int nd = static_cast<int>(d.digits.size());
    const bool scientific = d.exp10 >= precision || (d.exp10 < 0 && (-d.exp10 - 1) + nd > precision);
    if (scientific) {
        out += d.digits[0];
        if (nd > 1) {
            out += '.';
            out.append(d.digits, 1);
        }
        char exp[16];
        std::snprintf(exp, sizeof exp, "E%c%02d", d.exp10 < 0 ? '-' : '+', std::abs(d.exp10));
        out += exp;
    } else if (d.exp10 < 0) {
        out += "0.";
        out.append(static_cast<size_t>(-d.exp10 - 1), '0');
        out += d.digits;
    } else {
        const int intDigits = d.exp10 + 1;
        if (nd <= intDigits) {
            out += d.digits;
            out.append(static_cast<size_t>(intDigits - nd), '0');
        } else {
            out.append(d.digits, 0, static_cast<size_t>(intDigits));
            out += '.';
            out.append(d.digits, static_cast<size_t>(intDigits));
        }
    }
    return out;
}

struct Pattern {
    int minIntDigits = 0; // '0' placeholders before the point
    int fixedDecimals = 0;
    int optionalDecimals = 0; // '#' placeholders after the point
    bool point = false;
};

Pattern parsePattern(std::string_view p) {
    Pattern r;
    bool after = false;
    for (char c : p) {
        if (c == '.') {
            after = r.point = true;
        } else if (c == '0') {
            if (after) {
                r.fixedDecimals += 1 + r.optionalDecimals; // a '0' after a '#' makes the '#' required too
                r.optionalDecimals = 0;
            } else {
                ++r.minIntDigits;
            }
        } else if (c == '#' && after) {
            ++r.optionalDecimals;
        }
    }
    return r;
}

std::string patternText(double v, int precision, std::string_view pattern) {
    if (!std::isfinite(v)) return generalText(v, precision);
    const Pattern p = parsePattern(pattern);
    const Decimal d = toDecimal(v, precision);

    // Place the significant digits on a fixed grid: integer digits, then all decimals the pattern can show.
    const int decimals = p.fixedDecimals + p.optionalDecimals;
    std::string intPart, frac;
    if (!d.digits.empty()) {
        std::string all = d.digits;
        const int intDigits = d.exp10 + 1;
        if (intDigits <= 0) {
            all.insert(0, static_cast<size_t>(-intDigits), '0');
            intPart = "";
            frac = all;
        } else if (static_cast<int>(all.size()) <= intDigits) {
            all.append(static_cast<size_t>(intDigits) - all.size(), '0');
            intPart = all;
        } else {
            intPart = all.substr(0, static_cast<size_t>(intDigits));
            frac = all.substr(static_cast<size_t>(intDigits));
        }
    }
    // Round the decimal text half away from zero at the pattern's last decimal.
    if (static_cast<int>(frac.size()) > decimals) {
        const bool up = frac[static_cast<size_t>(decimals)] >= '5';
        frac.resize(static_cast<size_t>(decimals));
        if (up) {
            std::string both = intPart + frac;
            addOne(both);
            const size_t newInt = both.size() - frac.size();
            intPart = both.substr(0, newInt);
            frac = both.substr(newInt);
        }
    }
    frac.append(static_cast<size_t>(std::max(0, p.fixedDecimals - static_cast<int>(frac.size()))), '0');
    while (static_cast<int>(frac.size()) > p.fixedDecimals && frac.back() == '0')
        frac.pop_back();

    // Leading zeros of the integer part go, then the pattern's minimum digits come back.
    const size_t nz = intPart.find_first_not_of('0');
    intPart = nz == std::string::npos ? "" : intPart.substr(nz);
    if (static_cast<int>(intPart.size()) < p.minIntDigits)
        intPart.insert(0, static_cast<size_t>(p.minIntDigits) - intPart.size(), '0');

    std::string out = d.negative ? "-" : "";
    out += intPart;
    if (p.point && (!frac.empty() || p.optionalDecimals == 0)) {
        out += '.';
        out += frac;
    }
    return out;
}

// patternText for "#0.0..0" on a fixed grid of decimal places, with the same two roundings.
void appendFixedText(std::string& out, double v, int precision, int decimals) {
    if (!std::isfinite(v)) {
        out += generalText(v, precision);
        return;
    }
    decimals = std::clamp(decimals, 0, 9);
    if (std::signbit(v)) out += '-';
    v = std::fabs(v);
    std::array<char, 24> digits;
    int nd = 0, exp10 = 0;
    if (v != 0.0) {
        exp10 = roundSignificant(v, precision, digits.data());
        nd = precision;
    }
    // The places 10^top .. 10^-decimals, after a slot for a carry out of the first.
    const int top = std::max(exp10, 0);
    const int len = top + decimals + 1;
    std::array<char, 340> grid;
    std::fill(grid.begin(), grid.begin() + len + 1, '0');
    char* g = grid.data() + 1;
    for (int i = 0; i < nd; ++i) {
        const int at = top - exp10 + i;
        if (at < len) g[at] = digits[static_cast<size_t>(i)];
    }
    // Half away from zero on the first place dropped, 10^-(decimals+1), which is digit di.
    const int di = len - (top - exp10);
    if (di >= 0 && di < nd && digits[static_cast<size_t>(di)] >= '5') {
        int i = len - 1;
        for (; i >= 0 && g[i] == '9'; --i)
            g[i] = '0';
        if (i >= 0)
            ++g[i];
        else
            grid[0] = '1';
    }
    // The integer places without their leading zeros, one at least.
    const char* intBegin = grid[0] == '1' ? grid.data() : g;
    const char* intEnd = g + top + 1;
    while (intBegin + 1 < intEnd && *intBegin == '0')
        ++intBegin;
    out.append(intBegin, intEnd);
    if (decimals > 0) {
        out += '.';
        out.append(intEnd, intEnd + decimals);
    }
}

} // namespace

void appendFixed(std::string& out, float value, int decimals) {
    appendFixedText(out, static_cast<double>(value), 7, decimals);
}
void appendFixed(std::string& out, double value, int decimals) {
    appendFixedText(out, value, 15, decimals);
}

std::string shortestText(float value) {
    return generalText(static_cast<double>(value), 7);
}
std::string shortestText(double value) {
    return generalText(value, 15);
}

std::string formatNumber(float value, std::string_view pattern) {
    return patternText(static_cast<double>(value), 7, pattern);
}
std::string formatNumber(double value, std::string_view pattern) {
    return patternText(value, 15, pattern);
}

double val(std::string_view text) {
    // Blanks (space, tab, line feed) are skipped wherever they stand.
    auto isBlank = [](char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; };
    size_t i = 0;
    auto skip = [&] {
        while (i < text.size() && isBlank(text[i]))
            ++i;
    };
    skip();
    if (i + 1 < text.size() && text[i] == '&') {
        const char kind = static_cast<char>(std::toupper(static_cast<unsigned char>(text[i + 1])));
        const int base = kind == 'H' ? 16 : kind == 'O' ? 8 : 0;
        if (base) {
            i += 2;
            unsigned long long acc = 0;
            int n = 0;
            for (; i < text.size(); ++i) {
                if (isBlank(text[i])) continue;
                const char c = static_cast<char>(std::toupper(static_cast<unsigned char>(text[i])));
                int digit = c >= '0' && c <= '9' ? c - '0' : c >= 'A' && c <= 'F' ? c - 'A' + 10 : 99;
                if (digit >= base || n >= 16) break;
                acc = acc * static_cast<unsigned>(base) + static_cast<unsigned>(digit);
                ++n;
            }
            // A trailing "&" marks a 32-bit constant, so "&HFFFF&" is 65535 and not -1.
            if (i < text.size() && text[i] == '&')
                return static_cast<double>(static_cast<int>(acc & 0xFFFFFFFFu));
            // Up to four hex digits make a 16-bit integer, more a 32-bit one; both signed.
            if (n <= 4 && base == 16) return static_cast<double>(static_cast<short>(acc & 0xFFFF));
            if (n <= 6 && base == 8 && acc <= 0xFFFF) return static_cast<double>(static_cast<short>(acc));
            return static_cast<double>(static_cast<int>(acc & 0xFFFFFFFFu));
        }
    }

    // Collect the characters that form the number, without blanks, then convert with the "C" rules.
    std::string num;
    auto peekDigit = [&](size_t j) {
        while (j < text.size() && isBlank(text[j]))
            ++j;
        return j < text.size() && text[j] >= '0' && text[j] <= '9';
    };
    if (i < text.size() && (text[i] == '-' || text[i] == '+')) num.push_back(text[i++]);
    bool digits = false, point = false;
    for (; i < text.size(); ++i) {
        const char c = text[i];
        if (isBlank(c)) continue;
        if (c >= '0' && c <= '9') {
            num.push_back(c);
            digits = true;
        } else if (c == '.' && !point) {
            num.push_back(c);
            point = true;
        } else {
            break;
        }
    }
    if (!digits) return 0.0;
    if (i < text.size()) {
        const char c = static_cast<char>(std::toupper(static_cast<unsigned char>(text[i])));
        if (c == 'E' || c == 'D') {
            size_t j = i + 1;
            while (j < text.size() && isBlank(text[j]))
                ++j;
            std::string exp = "e";
            if (j < text.size() && (text[j] == '-' || text[j] == '+')) exp.push_back(text[j++]);
            if (peekDigit(j)) {
                for (; j < text.size(); ++j) {
                    if (isBlank(text[j])) continue;
                    if (text[j] < '0' || text[j] > '9') break;
                    if (exp.size() < 8) exp.push_back(text[j]);
                }
                num += exp;
            }
        }
    }
    double out = 0.0;
    const char* b = num.data() + (num[0] == '+');
    std::from_chars(b, num.data() + num.size(), out);
    return out;
}

} // namespace zel
