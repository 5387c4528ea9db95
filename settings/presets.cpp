#include "settings/presets.h"

#include "common/text.h"
#include "settings/data_root.h"
#include "settings/ini_file.h"
#include "settings/ini_text.h"
#include "settings/profile.h"

namespace zel {
namespace {

std::vector<std::string_view> lines(std::string_view text) {
    std::vector<std::string_view> out;
    std::size_t pos = 0;
    while (pos <= text.size()) {
        const std::size_t end = text.find_first_of("\r\n", pos);
        out.push_back(text.substr(pos, end == std::string_view::npos ? std::string_view::npos : end - pos));
        if (end == std::string_view::npos) break;
        pos = end + ((text[end] == '\r' && end + 1 < text.size() && text[end + 1] == '\n') ? 2 : 1);
    }
    return out;
}

} // namespace

Presets::Presets(Host& host, FormSet& forms, PlotWindows& windows, std::string presetsPath)
    : host_(host), forms_(forms), windows_(windows), path_(std::move(presetsPath)) {
    RefreshList();
}

void Presets::RefreshList() {
    cInifile ini;
    ini.Path = path_;
    list_ = ini::splitList(ini.Sections());
}

bool Presets::Save() {
    auto label = host_.input("Input label for this preset. Leave blank to cancel save.", "Preset", "");
    if (!label || label->empty()) return false;
    ensureParentFolder(path_);
    cInifile ini;
    ini.Path = path_;
    ini.Section = *label;
    SavePlotSettings(ini, forms_, windows_);
    RefreshList();
    return true;
}

void Presets::Load(std::string_view name) {
    cInifile ini;
    ini.Path = path_;
    ini.Section = name;
    LoadPlotSettings(ini, forms_, windows_);
    if (Redraw) Redraw();
}

void Presets::Delete(std::string_view name) {
    cInifile ini;
    ini.Path = path_;
    ini.Section = name;
    ini.DeleteSection();
    RefreshList();
}

std::string Presets::ExportText(std::string_view name) const {
    cInifile ini;
    ini.Path = path_;
    ini.Section = name;
    std::string text = "[" + std::string(name) + "]";
    for (const std::string& key : ini.EnumerateCurrentSection()) {
        // The stored one-line form, so that a multi-line text stays on its line and imports back intact.
        text += "\r\n" + key + "=" + ini::profileString(path_, name, key, "", ini::kValueBuffer);
    }
    return text;
}

bool Presets::ImportText(std::string_view text) {
    const auto all = lines(text);
    if (all.size() < 2) return false;
    const std::string_view first = trimBlanks(all.front());
    if (first.size() < 3 || first.front() != '[' || first.back() != ']') return false;
    const std::string name(first.substr(1, first.size() - 2));

    cInifile ini;
    ini.Path = path_;
    for (const std::string& existing : ini.EnumerateAllSections()) {
        if (!ini::sameName(ini::trim(existing), ini::trim(name))) continue;
        if (host_.message("Preset exists. Overwrite?", MsgButtons::OkCancel, MsgIcon::Question, "Preset") !=
            MsgResult::Ok)
            return false;
        break;
    }
    ensureParentFolder(path_);
    ini::FileBatch batch(path_);
    ini.Section = name;
    for (std::size_t i = 1; i < all.size(); ++i) {
        const std::string_view line = all[i];
        if (line.empty()) continue;
        const std::size_t eq = line.find('=');
        if (eq == std::string_view::npos) continue;
        ini.Key = line.substr(0, eq);
        ini.Value(line.substr(eq + 1));
    }
    RefreshList();
    return true;
}

} // namespace zel
