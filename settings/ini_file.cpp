#include "settings/ini_file.h"

#include "settings/basic_convert.h"
#include "settings/ini_text.h"

#include <array>

namespace zel {
namespace {

// A buffer that no list of a file we are willing to read can overflow.
constexpr std::size_t kUnlimitedList = ini::kMaxDocumentBytes + 2;

} // namespace

std::string encodeIniValue(std::string_view value) {
    if (value.empty()) return " ";
    std::string out;
    out.reserve(value.size());
    for (char c : value) {
        if (c == '\0' || c == '\n') continue;
        out += c == '\r' ? '\x03' : c;
    }
    return out;
}

std::string decodeIniValue(std::string_view stored) {
    std::string out;
    out.reserve(stored.size());
    for (char c : stored) {
        if (c == '\x03')
            out += "\r\n";
        else
            out += c;
    }
    return out;
}

std::string cInifile::Value() const {
    const std::size_t buffer = BigGetString ? ini::kLongValueBuffer : ini::kValueBuffer;
    return decodeIniValue(ini::profileString(Path, Section, Key, Default, buffer, TextLimit));
}

void cInifile::Value(std::string_view value) {
    setResult(ini::writeProfileString(Path, Section, Key, encodeIniValue(value)));
}

std::string cInifile::INISection() const {
    return ini::profileSection(Path, Section, ini::kListBuffer, TextLimit);
}

void cInifile::INISection(std::string_view entries) {
    setResult(ini::writeProfileSection(Path, Section, entries));
}

std::string cInifile::Sections() const {
    return ini::profileSectionNames(Path, ini::kListBuffer, TextLimit);
}

void cInifile::DeleteKey() {
    setResult(ini::deleteProfileKey(Path, Section, Key));
}

void cInifile::DeleteSection() {
    setResult(ini::deleteProfileSection(Path, Section));
}

std::vector<std::string> cInifile::EnumerateCurrentSection() const {
    return ini::splitList(ini::profileKeyNames(Path, Section, kUnlimitedList, TextLimit));
}

std::vector<std::string> cInifile::EnumerateAllSections() const {
    return ini::splitList(ini::profileSectionNames(Path, kUnlimitedList, TextLimit));
}

std::int32_t cInifile::CLngDefault(std::string_view text, std::int32_t defaultValue) {
    return basicLong(text).value_or(defaultValue);
}

void cInifile::SaveFormPosition(const Form& form) {
    const FormRect r = form.rect();
    const std::array<std::pair<const char*, std::string>, 5> keys{
        {{"Maximised", form.maximised() ? "True" : "False"},
         {"Left", std::to_string(r.left)},
         {"Top", std::to_string(r.top)},
         {"Width", std::to_string(r.width)},
         {"Height", std::to_string(r.height)}}};
    ini::FileBatch batch(Path);
    for (const auto& [key, value] : keys)
        setResult(ini::writeProfileString(Path, Section, key, value));
}

void cInifile::LoadFormPosition(Form& form) const {
    auto read = [&](const char* key) {
        return ini::profileString(Path, Section, key, "FAIL", ini::kValueBuffer, TextLimit);
    };
    const std::string maximised = read("Maximised");
    const std::array<std::string, 4> edges{read("Left"), read("Top"), read("Width"), read("Height")};
    if (maximised == "FAIL") return;
    std::array<int, 4> v{};
    for (std::size_t i = 0; i < edges.size(); ++i) {
        if (edges[i] == "FAIL") return;
        auto n = basicLong(edges[i]);
        if (!n) return;
        v[i] = *n;
    }
    form.move(FormRect{v[0], v[1], v[2], v[3]});
    if (basicBoolean(maximised).value_or(false)) form.maximise();
}

} // namespace zel
