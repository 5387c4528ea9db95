#pragma once
// The 8-bit text of every file the program reads and writes (options, presets, companions, raw logs, run
// logs, exports): Windows code page 1252, the code page of the logs in the field. Text is kept in these
// bytes everywhere inside the program; it is converted only where it meets Unicode: the windows (through
// app/plot/qt_text.h) and JSON output.

#include <optional>
#include <string>
#include <string_view>

namespace zel {

// The character a byte stands for. The five bytes the code page leaves undefined (81, 8D, 8F, 90, 9D) stand
// for the C1 control of the same number, so that any byte survives a round trip.
char32_t windows1252ToUnicode(unsigned char byte);
// The byte of a character; nullopt when the code page has none.
std::optional<unsigned char> unicodeToWindows1252(char32_t c);

// Whole texts. A character the code page lacks becomes "?"; a malformed UTF-8 sequence is taken byte by
// byte as Windows-1252 (a file's own text handed in by mistake stays readable).
std::string windows1252ToUtf8(std::string_view text);
std::string utf8ToWindows1252(std::string_view text);

} // namespace zel
