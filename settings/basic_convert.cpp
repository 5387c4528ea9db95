#include "settings/basic_convert.h"

#include "common/text.h"
#include "settings/ini_text.h"

#include <cctype>
#include <charconv>
#include <cmath>
#include <limits>

namespace zel {
namespace {

// A decimal number with optional sign, fraction and exponent, and nothing else.
std::optional<double> number(std::string_view text) {
    text = trimBlanks(text);
    bool negative = false;
    if (!text.empty() && (text.front() == '+' || text.front() == '-')) {
        negative = text.front() == '-';
        text.remove_prefix(1);
    }
    if (text.empty() || !(std::isdigit(static_cast<unsigned char>(text.front())) || text.front() == '.'))
        return std::nullopt; // also keeps out "inf" and "nan"
    double v = 0;
    auto [end, ec] = std::from_chars(text.data(), text.data() + text.size(), v, std::chars_format::general);
    if (ec != std::errc() || end != text.data() + text.size() || !std::isfinite(v)) return std::nullopt;
    return negative ? -v : v;
}

double roundHalfEven(double v) {
    double r = std::floor(v);
    const double f = v - r;
    if (f > 0.5 || (f == 0.5 && std::fmod(r, 2.0) != 0.0)) r += 1.0;
    return r;
}

template <typename T> std::optional<T> whole(std::string_view text) {
    auto v = number(text);
    if (!v) return std::nullopt;
    const double r = roundHalfEven(*v);
    if (r < static_cast<double>(std::numeric_limits<T>::min()) ||
        r > static_cast<double>(std::numeric_limits<T>::max()))
        return std::nullopt;
    return static_cast<T>(r);
}

} // namespace

std::optional<std::int16_t> basicInteger(std::string_view text) {
    return whole<std::int16_t>(text);
}

std::optional<std::int32_t> basicLong(std::string_view text) {
    return whole<std::int32_t>(text);
}

std::optional<bool> basicBoolean(std::string_view text) {
    const std::string_view t = trimBlanks(text);
    if (ini::sameName(t, "True")) return true;
    if (ini::sameName(t, "False")) return false;
    if (auto v = number(t)) return *v != 0.0;
    return std::nullopt;
}

} // namespace zel
