#pragma once
// The text of one INI file in memory, read and edited the way the Windows profile-string functions do it.
// Every options file, plot-settings file, preset file and raw log in the field was written through those
// functions, so the same bytes must give the same answers here, and an edit must change exactly the bytes
// those functions would change (no re-serialising: comments, blank lines, unknown lines and a raw log's
// binary tail stay as they are).
//
// File access, caching and the cInifile properties sit on top of this (profile.h, ini_file.h). Writers that
// build a whole file at once (the raw log) can edit an IniDocument in memory and write its bytes once.

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace zel::ini {

// Buffer sizes of the reads, in characters including the closing NUL: a value read returns at most
// size - 1 characters.
inline constexpr std::size_t kValueBuffer = 256;
inline constexpr std::size_t kLongValueBuffer = 60001;
inline constexpr std::size_t kListBuffer = 8192;

// Largest text an IniDocument holds. Offsets are 32-bit to keep the index of a big raw log small.
inline constexpr std::size_t kMaxDocumentBytes = std::size_t{256} << 20;

// Tab, LF, VT, FF, CR, space and Ctrl-Z (0x1A): what the profile functions strip from both ends of a line,
// a name and a value.
bool isTrimmed(char c);
std::string_view trim(std::string_view text);
// ASCII letters compare without case; every other byte compares exactly.
bool sameName(std::string_view a, std::string_view b);

// A NUL-separated list as the profile functions fill a caller's buffer of bufferSize characters: each entry
// followed by a NUL, one more NUL at the end. The result is the part before the final NUL (what the call's
// return value counts). When the list does not fit, it is cut to bufferSize - 2 characters (the last entry
// cut short) and the two closing NULs are implied.
std::string packList(const std::vector<std::string_view>& entries, std::size_t bufferSize);
// Splits such a list; stops at the first empty entry (two NULs in a row).
std::vector<std::string> splitList(std::string_view list);

class IniDocument {
public:
    using Offset = std::uint32_t;

    IniDocument() = default;
    // Texts longer than kMaxDocumentBytes are refused with std::length_error.
    explicit IniDocument(std::string bytes);

    const std::string& bytes() const { return bytes_; }
    bool empty() const { return bytes_.empty(); }

    // ---- Reading. Section and key names are trimmed and matched without case; the first match wins.
    // The key's value with one pair of matching outer quotes removed (before any cut to a caller's buffer);
    // nullopt when the section or key is missing, or when the key's line holds no "=" (such a line is found
    // by name, hiding later lines of that name, but has no value). Names compare ASCII letters without case.
    std::optional<std::string_view> value(std::string_view section, std::string_view key) const;
    bool hasSection(std::string_view section) const;
    // Keys of the section in file order (lines with "="; duplicates included, empty names left out).
    std::vector<std::string_view> keyNames(std::string_view section) const;
    // The section's lines as "key=value" (trimmed key and value, quotes kept) or the bare name of a line
    // without "=", in file order; comments left out.
    std::vector<std::string> sectionEntries(std::string_view section) const;
    // Every section header in file order (duplicates included, empty names left out).
    std::vector<std::string_view> sectionNames() const;

    // ---- Editing, as WritePrivateProfileString and WritePrivateProfileSection change a file. Section and
    // key names are written trimmed; the value as given. An existing key keeps its line: what follows its
    // first "=" is replaced by the value (so "k = old" becomes "k =new"); a line with the bare name gets
    // "=value" appended.
    void writeString(std::string_view section, std::string_view key, std::string_view value);
    void deleteKey(std::string_view section, std::string_view key);
    void deleteSection(std::string_view section);
    // Replaces the section's lines, comments included, by the given entries (each written as one line as
    // given); blank lines between the section and the next header stay.
    void writeSection(std::string_view section, const std::vector<std::string_view>& entries);

    // Length of the leading bytes that the last edit left untouched (equal to the old size when the edit only
    // appended); lets the file layer append instead of rewriting.
    std::size_t unchangedPrefix() const { return unchangedPrefix_; }

private:
    struct Entry {
        Offset lineBegin, lineEnd, lineNext; // line content and the start of the line after its break
        Offset keyBegin, keyEnd;             // trimmed name
        Offset valueBegin, valueEnd;         // trimmed value; empty without "="
        Offset equals;                       // position of the first "=", or kNone
    };
    struct Section {
        Offset nameBegin, nameEnd;
        Offset headerBegin, headerEnd, headerNext;
        Offset lastEnd, lastNext; // the section's last non-blank line: end of content, start of the next line
        Offset bodyEnd;           // start of the next header line, or the end of the text
        std::vector<Entry> entries;
        mutable std::unordered_map<std::string, std::size_t> keyIndex; // lower-cased name -> first entry
        mutable bool keyIndexBuilt = false;
    };
    static constexpr Offset kNone = 0xFFFFFFFFu;

    void parseFrom(std::size_t pos);
    void reparse();
    void replace(std::size_t begin, std::size_t end, std::string_view text);
    std::string_view view(Offset begin, Offset end) const { return {bytes_.data() + begin, end - begin}; }
    const Section* findSection(std::string_view name) const;
    const Entry* findKey(const Section& section, std::string_view key) const;
    void addSection(Section section);
    void addEntry(Section& section, const Entry& entry);
    bool endsWithLineBreak() const;

    std::string bytes_;
    std::vector<Section> sections_;
    mutable std::unordered_map<std::string, std::size_t> sectionIndex_; // lower-cased name -> first section
    std::size_t unchangedPrefix_ = 0;
};

} // namespace zel::ini
