#pragma once
// cInifile: the program's one way into its INI files (options, presets, plot settings, raw logs, run logs).
// Set Path, Section and Key, then read or assign Value. Values are kept on one line: a carriage return is
// stored as character 3, line feeds and NULs are dropped, and an empty value is written as one blank so the
// key is there. Reading turns character 3 back into CR LF.
//
// The reading and writing rules are those of the Windows profile functions (see ini_text.h and profile.h):
// names without case, first match wins, values trimmed and cut to 255 characters (60000 with BigGetString).

#include "settings/form.h"
#include "settings/profile.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace zel {

// The one-line form a value is written in, and its reading back.
std::string encodeIniValue(std::string_view value);
std::string decodeIniValue(std::string_view stored);

class cInifile {
public:
    std::string Path;
    std::string Section;
    std::string Key;
    // Returned by a read when the key is missing (trailing blanks removed).
    std::string Default;
    // Reads return up to 60000 characters instead of 255 (the long number lists of a raw log).
    bool BigGetString = false;
    // Reads see only the first TextLimit bytes of the file: a raw log's text part, whose end the data-block
    // reader finds. Writes always edit the whole file.
    ini::ReadLimit TextLimit;

    // The current key's value, or Default.
    std::string Value() const;
    // Writes the current key; Success and LastReturnCode tell how it went.
    void Value(std::string_view value);

    // Outcome of the last write or delete: LastReturnCode is the profile function's result, Success whether
    // it was non-zero. Callers normally do not check them.
    bool Success() const { return lastReturnCode_ != 0; }
    long LastReturnCode() const { return lastReturnCode_; }

    // The current section as NUL-separated "key=value" entries (buffer of 8192 characters).
    std::string INISection() const;
    // Replaces the current section's lines by these NUL-separated entries.
    void INISection(std::string_view entries);
    // All section names, NUL-separated (buffer of 8192 characters).
    std::string Sections() const;

    void DeleteKey();
    void DeleteSection();
    // The current section's keys and all section names, in file order. Unlike the two list properties these
    // are never cut short: they drive loops (restoring a dialog) in which a lost entry would be a lost
    // setting.
    std::vector<std::string> EnumerateCurrentSection() const;
    std::vector<std::string> EnumerateAllSections() const;

    // Basic's CLng of the text, or defaultValue when the text is not a number in the Long range.
    static std::int32_t CLngDefault(std::string_view text, std::int32_t defaultValue = 0);

    // Keys "Maximised", "Left", "Top", "Width", "Height" in the current section.
    void SaveFormPosition(const Form& form);
    // Each key is read with the default "FAIL"; if any comes back "FAIL" (or is not a number) the form stays
    // where it is, otherwise it is moved there and maximised when "Maximised" is true.
    void LoadFormPosition(Form& form) const;

private:
    void setResult(long code) { lastReturnCode_ = code; }
    long lastReturnCode_ = 0;
};

} // namespace zel
