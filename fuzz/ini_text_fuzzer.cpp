// libFuzzer target: any bytes as the text of an INI file (options, plot settings, presets, a raw log's text
// part), read and edited as the program does. The edits use names found in the text itself.

#include "fuzz/fuzz_input.h"
#include "settings/ini_text.h"

#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace zel::ini;
    const std::string text(reinterpret_cast<const char*>(data), size);
    IniDocument doc(text);
    std::vector<std::string> sections;
    for (std::string_view s : doc.sectionNames())
        sections.emplace_back(s);
    for (const std::string& s : sections) {
        (void)doc.hasSection(s);
        (void)doc.sectionEntries(s);
        for (std::string_view k : doc.keyNames(s))
            (void)doc.value(s, k);
    }
    (void)splitList(text);
    (void)trim(text);
    if (sections.empty()) return 0;
    // Edits in a section the text has, under a key it may or may not have.
    const std::string& section = sections[size % sections.size()];
    doc.writeString(section, "Key" + std::to_string(size % 7), text.substr(0, 40));
    doc.writeString(section, section, "value");
    doc.deleteKey(section, "Key3");
    doc.writeSection(sections.front(), {"a=1", "b", "=c"});
    doc.deleteSection(sections.back());
    (void)doc.sectionNames();
    return 0;
}
