#include "log/raw_log_text.h"

#include "settings/ini_file.h"

namespace zel {

std::string RawLogText::value(std::string_view section, std::string_view key,
                              std::string_view defaultValue) const {
    const std::size_t limit = ini::kValueBuffer - 1;
    if (const auto v = doc_.value(section, key)) return decodeIniValue(v->substr(0, limit));
    while (!defaultValue.empty() && defaultValue.back() == ' ')
        defaultValue.remove_suffix(1);
    return std::string(defaultValue.substr(0, limit));
}

} // namespace zel
