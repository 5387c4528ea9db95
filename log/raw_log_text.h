#pragma once
// The text part of a raw log in memory, read key by key with the rules of cInifile: names without case,
// first match wins, ordinary values cut to 255 characters and turned back from their one-line form. Only
// the bytes before the binary block are held, so the block is never taken for more lines of DATA.

#include "settings/ini_text.h"

#include <optional>
#include <string>
#include <string_view>

namespace zel {

class RawLogText {
public:
    RawLogText() = default;
    // Throws std::length_error for a text beyond what an INI document holds.
    explicit RawLogText(std::string bytes) : doc_(std::move(bytes)) {}

    bool has(std::string_view section, std::string_view key) const {
        return doc_.value(section, key).has_value();
    }
    // The ordinary read: at most 255 characters, character 3 back to CR LF; the default when missing.
    std::string value(std::string_view section, std::string_view key,
                      std::string_view defaultValue = {}) const;
    // Every character of the value, for the DATA lists (a 10,001-point list is about 90,000 characters,
    // beyond even the long read's 60000). nullopt when the key is missing.
    std::optional<std::string_view> unlimitedValue(std::string_view section, std::string_view key) const {
        return doc_.value(section, key);
    }
    const ini::IniDocument& document() const { return doc_; }

private:
    ini::IniDocument doc_;
};

} // namespace zel
