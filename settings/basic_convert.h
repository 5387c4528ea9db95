#pragma once
// The conversions a Basic property assignment applies to a text: what a check box, a list index or an option
// button does with the value restored from a settings file. Unlike Val they refuse text that is not a whole
// number ("12abc", "", " "), and the restore then leaves the control as it is. Numbers round half to even,
// as CInt and CLng do; the decimal separator is always "." whatever the locale.

#include <cstdint>
#include <optional>
#include <string_view>

namespace zel {

// CInt: -32768..32767.
std::optional<std::int16_t> basicInteger(std::string_view text);
// CLng: -2147483648..2147483647.
std::optional<std::int32_t> basicLong(std::string_view text);
// CBool: "True"/"False" in any case, or a number (not 0 is true).
std::optional<bool> basicBoolean(std::string_view text);

} // namespace zel
