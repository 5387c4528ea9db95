#include "settings/control_state.h"

#include "settings/basic_convert.h"
#include "settings/ini_file.h"
#include "settings/profile.h"

#include <stdexcept>
#include <vector>

namespace zel {
namespace {

bool startsWith(std::string_view text, std::string_view prefix) {
    return text.substr(0, prefix.size()) == prefix;
}

// Frames, buttons, lines, shapes, pictures and images hold nothing to keep; the live instrument read-outs
// ("txtComm_...", "txtInfo_...", "txtGPS_...") must never come back from a file. Compared on the lower-cased
// name, so the read-outs are caught however their names are capitalised.
bool skippedOnSave(std::string_view name) {
    std::string lower(name);
    for (char& c : lower)
        c = (c >= 'A' && c <= 'Z') ? static_cast<char>(c - 'A' + 'a') : c;
    static constexpr std::string_view skipped[] = {"fillist", "label",    "fra",      "cmd",
                                                   "lin",     "sha",      "shp",      "pic",
                                                   "img",     "txtcomm_", "txtinfo_", "txtgps_"};
    for (auto p : skipped)
        if (startsWith(lower, p)) return true;
    return false;
}

bool skippedOnRestore(std::string_view name) {
    const auto p = name.substr(0, 3);
    return p == "lab" || p == "tmr" || p == "tim" || p == "fra";
}

std::vector<std::string_view> splitAtCommas(std::string_view text) {
    std::vector<std::string_view> fields;
    std::size_t pos = 0;
    for (;;) {
        const std::size_t comma = text.find(',', pos);
        fields.push_back(
            text.substr(pos, comma == std::string_view::npos ? std::string_view::npos : comma - pos));
        if (comma == std::string_view::npos) return fields;
        pos = comma + 1;
    }
}

template <typename T> T converted(std::optional<T> v) {
    if (!v) throw std::invalid_argument("Type mismatch");
    return *v;
}

} // namespace

std::string controlStateSection(std::string_view formName) {
    return formName.size() > 3 ? std::string(formName.substr(3)) : std::string();
}

void SaveControlStates(const std::string& iniPath, Form& form) {
    cInifile ini;
    ini.Path = iniPath;
    ini.Section = controlStateSection(form.name());
    if (ini.Section.empty()) return;
    ini::FileBatch batch(iniPath);
    // Deleting first means a control that no longer exists leaves no stale key behind.
    ini.DeleteSection();
    for (std::size_t i = 0; i < form.controlCount(); ++i) {
        try {
            FormControl& c = form.control(i);
            const std::string name = c.name();
            if (skippedOnSave(name)) continue;
            const std::string_view prefix = std::string_view(name).substr(0, 3);
            std::string value;
            if (prefix == "lbl")
                value = c.caption();
            else if (prefix == "txt")
                value = c.text();
            else if (prefix == "cmb")
                value = std::to_string(c.listIndex());
            else if (prefix == "chk")
                value = std::to_string(c.checkValue());
            else if (prefix == "opt")
                value = c.optionValue() ? "True" : "False";
            else
                continue;
            ini.Key = std::to_string(i) + "," + name;
            if (auto index = c.index()) ini.Key += "," + std::to_string(*index);
            ini.Value(value);
        } catch (const std::exception&) {
            // one control that cannot be read does not stop the others
        }
    }
}

void RestoreControlStates(const std::string& iniPath, Form& form) {
    cInifile ini;
    ini.Path = iniPath;
    ini.Section = controlStateSection(form.name());
    if (ini.Section.empty()) return;
    for (const std::string& key : ini.EnumerateCurrentSection()) {
        try {
            const auto fields = splitAtCommas(key);
            if (fields.size() < 2) continue;
            const std::string_view name = fields[1];
            if (skippedOnRestore(name)) continue;
            std::optional<int> index;
            if (fields.size() > 2) index = converted(basicInteger(fields[2]));
            FormControl* c = findControl(form, name, index);
            if (!c) continue;
            ini.Key = key;
            const std::string value = ini.Value();
            const std::string_view prefix = name.substr(0, 3);
            // An empty text was stored as the single blank that keeps its key in the file; the profile read
            // trims that blank away, so it is put back here.
            if (prefix == "lbl")
                c->setCaption(value.empty() ? " " : value);
            else if (prefix == "txt")
                c->setText(value.empty() ? " " : value);
            else if (prefix == "cmb")
                c->setListIndex(converted(basicInteger(value)));
            else if (prefix == "chk")
                c->setCheckValue(converted(basicInteger(value)));
            else if (prefix == "opt")
                c->setOptionValue(converted(basicBoolean(value)));
        } catch (const std::exception&) {
            // unknown keys, missing controls and values that do not convert are skipped
        }
    }
}

} // namespace zel
