#pragma once
// Number text of the log and settings files. The files already in the field were written with Basic's
// CStr and Format$ and read with Val; these functions reproduce those texts exactly and never depend on the
// process locale (the decimal separator is always ".").

#include <concepts>
#include <string>
#include <string_view>

namespace zel {

// Shortest general text: 7 significant digits for a 4-byte float, 15 for an 8-byte one, rounded half away
// from zero on the exact binary value, trailing zeros dropped, scientific form ("1.234568E+07", "1.5E-07")
// when the exponent is too large or the fixed form would need too many digits.
std::string shortestText(float value);
std::string shortestText(double value);
template <std::integral T> std::string shortestText(T value) {
    return std::to_string(value);
}

// Format$ with a numeric pattern: "#0", "#0.0" .. "#0.00000", "0.00", "#00", "#.0" and the like. The value
// is first cut to its 7- (float) or 15- (double) digit text, then rounded half away from zero to the
// pattern's decimals; the sign stays even when the value rounds to zero ("-0.000").
std::string formatNumber(float value, std::string_view pattern);
std::string formatNumber(double value, std::string_view pattern);
template <std::integral T> std::string formatNumber(T value, std::string_view pattern) {
    return formatNumber(static_cast<double>(value), pattern);
}

// Basic's Val: leading and inner blanks ignored, "." the only separator, stops at the first character
// that cannot continue the number, "E" or "D" exponents, "&H"/"&O" integers; empty or no number gives 0.
double val(std::string_view text);

// "True" / "False".
inline const char* boolText(bool value) {
    return value ? "True" : "False";
}

} // namespace zel
