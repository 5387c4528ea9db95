#include "log/data_lists.h"

#include "common/number_text.h"

#include <algorithm>
#include <bit>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <limits>

namespace zel {
namespace {

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

// Strict form of what Val accepts from a list element: [sign] digits [. digits] [E|D [sign] digits].
bool parseElement(std::string_view e, float& out) {
    while (!e.empty() && (e.front() == ' ' || e.front() == '\t'))
        e.remove_prefix(1);
    while (!e.empty() && (e.back() == ' ' || e.back() == '\t'))
        e.remove_suffix(1);
    if (e.empty()) {
        out = 0.0f;
        return true;
    }
    // The lists hold fixed-point numbers of a few digits ("12.345"): those are taken exactly without the
    // general conversion. An integer below 2^53 divided by an exact power of ten is the correctly rounded
    // double, the same value the general conversion gives, and a whole log has some 100,000 of them.
    {
        std::size_t i = (e.front() == '+' || e.front() == '-') ? 1 : 0;
        std::uint64_t mantissa = 0;
        int digits = 0, decimals = 0;
        bool point = false;
        for (; i < e.size() && digits <= 15; ++i) {
            const char c = e[i];
            if (isDigit(c)) {
                mantissa = mantissa * 10 + static_cast<std::uint64_t>(c - '0');
                ++digits;
                decimals += point ? 1 : 0;
            } else if (c == '.' && !point) {
                point = true;
            } else {
                break;
            }
        }
        if (i == e.size() && digits > 0 && digits <= 15) {
            static constexpr double kTens[] = {1e0, 1e1, 1e2,  1e3,  1e4,  1e5,  1e6,  1e7,
                                               1e8, 1e9, 1e10, 1e11, 1e12, 1e13, 1e14, 1e15};
            const double d = static_cast<double>(mantissa) / kTens[decimals];
            out = static_cast<float>(e.front() == '-' ? -d : d);
            return true;
        }
    }
    char buf[64];
    std::size_t n = 0, i = 0;
    if (e.size() >= sizeof buf) return false;
    if (e[i] == '+' || e[i] == '-') {
        if (e[i] == '-') buf[n++] = '-';
        ++i;
    }
    bool digits = false;
    while (i < e.size() && isDigit(e[i])) {
        buf[n++] = e[i++];
        digits = true;
    }
    if (i < e.size() && e[i] == '.') {
        buf[n++] = e[i++];
        while (i < e.size() && isDigit(e[i])) {
            buf[n++] = e[i++];
            digits = true;
        }
    }
    if (!digits) return false;
    if (i < e.size() && (e[i] == 'E' || e[i] == 'e' || e[i] == 'D' || e[i] == 'd')) {
        buf[n++] = 'e';
        ++i;
        if (i < e.size() && (e[i] == '+' || e[i] == '-')) buf[n++] = e[i++];
        if (i == e.size() || !isDigit(e[i])) return false;
        while (i < e.size() && isDigit(e[i]))
            buf[n++] = e[i++];
    }
    if (i != e.size()) return false;
    double d = 0.0;
    const auto r = std::from_chars(buf, buf + n, d);
    if (r.ec == std::errc::result_out_of_range) {
        // Val overflows to an error and the list is unusable; underflow is just 0.
        return false;
    }
    if (r.ec != std::errc() || r.ptr != buf + n) return false;
    // Val gives a double and the array holds 4-byte floats; a value beyond the float range is no sample.
    if (d > 3.4028234663852886e38 || d < -3.4028234663852886e38) return false;
    out = static_cast<float>(d);
    return true;
}

constexpr std::uint64_t kPow10[] = {1,       10,       100,       1000,       10000,         100000,
                                    1000000, 10000000, 100000000, 1000000000, 10000000000ULL};

// q / d rounded half away from zero (q >= 0).
std::uint64_t roundedQuotient(std::uint64_t q, std::uint64_t d) {
    const std::uint64_t r = q % d;
    return q / d + (2 * r >= d ? 1 : 0);
}

// The same by a power of ten; each case divides by a constant, which compiles to a multiplication, and a
// list of 10,001 points makes this the writer's innermost operation.
std::uint64_t roundedQuotientPow10(std::uint64_t q, int power) {
    switch (power) {
    case 1: return roundedQuotient(q, 10);
    case 2: return roundedQuotient(q, 100);
    case 3: return roundedQuotient(q, 1000);
    case 4: return roundedQuotient(q, 10000);
    case 5: return roundedQuotient(q, 100000);
    case 6: return roundedQuotient(q, 1000000);
    case 7: return roundedQuotient(q, 10000000);
    case 8: return roundedQuotient(q, 100000000);
    case 9: return roundedQuotient(q, 1000000000);
    default: return roundedQuotient(q, kPow10[power]);
    }
}

// formatNumber(v, "#0.000...") for the values lists are made of, in integer arithmetic: the float's exact
// value m * 2^e is rounded to 7 significant digits half away from zero, then that decimal to the pattern's
// decimals, half away from zero again. Handles 1e-3 <= |v| < 1e9 and decimals 0..3, which is every value a
// list holds in practice; returns 0 for anything else, which then takes the general path.
std::size_t formatFixedFast(float v, int decimals, char* out) {
    if (decimals < 0 || decimals > 3 || !(std::fabs(v) >= 1e-3f) || !(std::fabs(v) < 1e9f)) return 0;
    const std::uint32_t bits = std::bit_cast<std::uint32_t>(v);
    const bool negative = bits >> 31;
    const int biased = static_cast<int>((bits >> 23) & 0xFF);
    const std::uint64_t m = (bits & 0x7FFFFF) | 0x800000; // normal: the domain has no subnormal
    const int e = biased - 150;                           // |v| = m * 2^e

    // k: the power of ten that brings the value to 7 integer digits; estimated, then corrected.
    // |v| lies in [2^(e+23), 2^(e+24)): its decimal exponent is within one of (e + 23) * log10(2).
    int k = 6 - static_cast<int>(std::floor((e + 23) * 0.30102999566398120));
    std::uint64_t digits = 0;
    for (int attempt = 0; attempt < 3; ++attempt) {
        if (k < 0) {
            // |v| >= 1e7 is a whole number of at most 30 bits.
            const std::uint64_t n = e >= 0 ? m << e : m >> -e;
            digits = roundedQuotientPow10(n, -k);
        } else {
            const std::uint64_t num = m * kPow10[k];
            digits = e >= 0 ? num << e : roundedQuotient(num, std::uint64_t{1} << -e);
        }
        if (digits < 1000000) {
            ++k;
        } else if (digits > 10000000) {
            --k;
        } else {
            break;
        }
        if (k < -2 || k > 9) return 0;
    }
    if (digits == 10000000) { // rounding carried into an eighth digit
        digits = 1000000;
        --k;
    }
    if (digits < 1000000 || digits > 9999999) return 0;

    // The 7-digit decimal is digits / 10^k; now to the pattern's decimals.
    std::uint64_t scaled;
    if (k <= decimals) {
        if (decimals - k > 10) return 0;
        scaled = digits * kPow10[decimals - k];
    } else {
        scaled = roundedQuotientPow10(digits, k - decimals);
    }
    // The decimals are peeled off the end, then the whole part is written in front of them.
    char frac[3];
    for (int i = decimals - 1; i >= 0; --i) {
        frac[i] = static_cast<char>('0' + scaled % 10);
        scaled /= 10;
    }
    char* p = out;
    if (negative) *p++ = '-';
    p = std::to_chars(p, p + 24, scaled).ptr;
    if (decimals > 0) {
        *p++ = '.';
        for (int i = 0; i < decimals; ++i)
            *p++ = frac[i];
    }
    return static_cast<std::size_t>(p - out);
}

// A list element is read back by this program and by Basic's Val, neither of which knows a text for NaN or
// infinity (the runtime's "1.#INF" and "-1.#IND" read as 1 and -1 at best, or break the list). So an
// infinity is written as the largest float of its sign (its seven digits, 3.402823E+38, which both read back
// as the same finite float), and NaN, which no sample can mean, as 0.
float writable(float v) {
    if (std::isnan(v)) return 0.0f;
    if (std::isinf(v)) return v > 0 ? std::numeric_limits<float>::max() : -std::numeric_limits<float>::max();
    return v;
}

} // namespace

std::string formatListElement(float value, int decimals) {
    value = writable(value);
    char buf[48];
    if (const std::size_t n = formatFixedFast(value, decimals, buf)) return std::string(buf, n);
    std::string pattern = "#0";
    if (decimals > 0) pattern += "." + std::string(static_cast<std::size_t>(decimals), '0');
    std::string e = formatNumber(value, pattern);
    std::replace(e.begin(), e.end(), ',', '.');
    return e;
}

float listValue(float value, int decimals) {
    float kept = 0.0f;
    return parseElement(formatListElement(value, decimals), kept) ? kept : value;
}

void keepAsListValues(std::span<float> values, int decimals) {
    for (float& v : values)
        v = listValue(v, decimals);
}

std::string formatDataList(std::span<const float> values, int decimals) {
    std::string pattern = "#0";
    if (decimals > 0) pattern += "." + std::string(static_cast<std::size_t>(decimals), '0');
    std::string out;
    out.reserve(values.size() * static_cast<std::size_t>(8 + decimals));
    char buf[48];
    for (std::size_t i = 0; i < values.size(); ++i) {
        if (i) out += ',';
        if (const std::size_t n = formatFixedFast(values[i], decimals, buf)) {
            out.append(buf, n);
            continue;
        }
        std::string e = formatNumber(writable(values[i]), pattern);
        std::replace(e.begin(), e.end(), ',', '.');
        out += e;
    }
    if (!out.empty() && out.front() == ',') out.erase(0, 1);
    return out;
}

ListParse parseDataList(std::string_view text, std::size_t maxElements, std::vector<float>& out) {
    ListParse r;
    out.clear();
    if (text.empty()) return r;
    const std::size_t count = static_cast<std::size_t>(std::count(text.begin(), text.end(), ',')) + 1;
    if (count > maxElements) {
        r.ok = false;
        r.tooLong = true;
        return r;
    }
    out.resize(count);
    std::size_t pos = 0;
    for (std::size_t k = 0; k < count; ++k) {
        std::size_t end = text.find(',', pos);
        if (end == std::string_view::npos) end = text.size();
        if (!parseElement(text.substr(pos, end - pos), out[k])) {
            r.ok = false;
            r.badElement = k;
            out.clear();
            return r;
        }
        pos = end + 1;
    }
    return r;
}

} // namespace zel
