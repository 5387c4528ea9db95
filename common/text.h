#pragma once
// Small text helpers shared by the readers of settings, logs and command-line input.

#include <string_view>

namespace zel {

// Without the blanks (space, tab) at both ends.
constexpr std::string_view trimBlanks(std::string_view t) {
    while (!t.empty() && (t.front() == ' ' || t.front() == '\t'))
        t.remove_prefix(1);
    while (!t.empty() && (t.back() == ' ' || t.back() == '\t'))
        t.remove_suffix(1);
    return t;
}

// Without blanks and line breaks (space, tab, CR, LF) at both ends.
constexpr std::string_view trimLine(std::string_view t) {
    constexpr auto blank = [](char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; };
    while (!t.empty() && blank(t.front()))
        t.remove_prefix(1);
    while (!t.empty() && blank(t.back()))
        t.remove_suffix(1);
    return t;
}

} // namespace zel
