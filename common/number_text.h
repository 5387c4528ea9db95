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

// formatNumber with the fixed pattern "#0.0..0" of `decimals` zeros (0..9; "#0" for 0), appended to out:
// byte for byte the same text (the same cut to 7 or 15 digits, the same rounding, the sign of a value that
// rounds to zero, the classic texts of NaN and infinities) without a pattern to read or a string to build
// for each number. For the text files of millions of numbers (LAS, point clouds, volumes).
void appendFixed(std::string& out, float value, int decimals);
void appendFixed(std::string& out, double value, int decimals);

// Basic's Val: leading and inner blanks ignored, "." the only separator, stops at the first character
// that cannot continue the number, "E" or "D" exponents, "&H"/"&O" integers; empty or no number gives 0.
double val(std::string_view text);

// "True" / "False".
inline const char* boolText(bool value) {
    return value ? "True" : "False";
}

} // namespace zel
