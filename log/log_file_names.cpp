#include "log/log_file_names.h"

#include <algorithm>
#include <array>
#include <cctype>

namespace zel {

namespace {

bool endsWithNoCase(std::string_view text, std::string_view suffix) {
    if (suffix.size() > text.size()) return false;
    return std::equal(suffix.begin(), suffix.end(), text.end() - static_cast<std::ptrdiff_t>(suffix.size()),
                      [](char a, char b) {
                          return std::tolower(static_cast<unsigned char>(a)) ==
                                 std::tolower(static_cast<unsigned char>(b));
                      });
}

// Removes the suffix when the text ends with it; true when it did.
bool dropSuffix(std::string_view& text, std::string_view suffix) {
    if (!endsWithNoCase(text, suffix)) return false;
    text.remove_suffix(suffix.size());
    return true;
}

} // namespace

std::string stripLogExtension(std::string_view fileName) {
    std::string_view rest = fileName;
    dropSuffix(rest, ".bin");
    dropSuffix(rest, ".raw");
    constexpr std::array<std::string_view, 3> families{".lif", ".clr", ".o2"};
    for (std::string_view family : families)
        if (dropSuffix(rest, family)) break;
    return std::string(rest);
}

std::string plotSettingsPath(std::string_view rawLogPath) {
    std::string_view rest = rawLogPath;
    if (!dropSuffix(rest, "raw.bin") || !rest.ends_with('.')) return {};
    return std::string(rest) + "plt";
}

} // namespace zel
