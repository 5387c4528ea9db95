#pragma once
// Case-blind name endings for the loaders, exports and naming: logs travel between Windows and Linux
// machines, so "X.LIF.RAW.BIN" is the same log as "x.lif.raw.bin".
#include <algorithm>
#include <cctype>
#include <string>
#include <string_view>

namespace zel {

inline bool endsWithNoCase(std::string_view text, std::string_view suffix) {
    if (suffix.size() > text.size()) return false;
    return std::equal(suffix.begin(), suffix.end(), text.end() - static_cast<std::ptrdiff_t>(suffix.size()),
                      [](char a, char b) {
                          return std::toupper(static_cast<unsigned char>(a)) ==
                                 std::toupper(static_cast<unsigned char>(b));
                      });
}

// The text with its ending replaced when it has that ending; nullopt-free: unchanged otherwise.
inline std::string replaceEndingNoCase(std::string_view text, std::string_view ending, std::string_view by) {
    if (!endsWithNoCase(text, ending)) return std::string(text);
    return std::string(text.substr(0, text.size() - ending.size())) + std::string(by);
}

// The ".lif", ".o2" or ".clr" middle of a family's file extensions.
inline std::string_view familyTag(bool colour, bool o2) {
    return colour ? ".clr" : o2 ? ".o2" : ".lif";
}

} // namespace zel
