#include "log/plot_companion.h"

#include "common/number_text.h"
#include "settings/ini_file.h"
#include "settings/profile.h"

#include <algorithm>

namespace zel {
namespace {

constexpr const char* kLabelPrompt = "Input label for this callout scheme, or leave blank";
constexpr const char* kLabelTitle = "Callouts";

cInifile at(const std::string& path, std::string section) {
    cInifile ini;
    ini.Path = path;
    ini.Section = std::move(section);
    return ini;
}

void put(cInifile& ini, std::string key, std::string_view value) {
    ini.Key = std::move(key);
    ini.Value(value);
}

std::string get(cInifile& ini, std::string key) {
    ini.Key = std::move(key);
    return ini.Value();
}

// "a,b" into two parts; a missing part is empty.
std::pair<std::string, std::string> pair(const std::string& text) {
    const auto comma = text.find(',');
    if (comma == std::string::npos) return {text, {}};
    return {text.substr(0, comma), text.substr(comma + 1)};
}

std::int16_t index16(std::string_view text) {
    return static_cast<std::int16_t>(std::clamp(val(text), -32768.0, 32767.0));
}

} // namespace

int nextCalloutScheme(const std::string& pltPath) {
    const cInifile ini = at(pltPath, {});
    int count = 0;
    for (const std::string& s : ini.EnumerateAllSections()) {
        std::string head = s.substr(0, 4);
        for (char& c : head)
            if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
        if (head == "PLOT") ++count;
    }
    return count + 1;
}

int SaveCalloutScheme(const std::string& pltPath, const cZEL_Data& log, const CalloutDisplay& display,
                      Host& host, const Clock& clock) {
    const std::string label = host.input(kLabelPrompt, kLabelTitle, "").value_or("");
    ini::FileBatch batch(pltPath);
    const int scheme = nextCalloutScheme(pltPath);
    cInifile ini = at(pltPath, "PLOT_" + std::to_string(scheme));
    put(ini, "Time", generalDateText(clock.now()));
    put(ini, "Label", label);
    for (int i = 0; i < cZEL_Data::kCalloutSlots; ++i) {
        const std::string n = std::to_string(i);
        const auto slot = static_cast<std::size_t>(i);
        put(ini, "Index C" + n,
            std::to_string(log.Callout_Index(i, 0)) + "," + std::to_string(log.Callout_Index(i, 1)));
        put(ini, "Range C" + n,
            formatNumber(log.Callout_Range(i, 0), "#.0") + "," +
                formatNumber(log.Callout_Range(i, 1), "#.0"));
        put(ini, "Note C" + n, log.Callout_Note(i));
        put(ini, "Text C" + n, display.text[slot]);
        put(ini, "Pic C" + n, display.pic[slot]);
    }
    return scheme;
}

bool LoadCalloutScheme(const std::string& pltPath, int scheme, cZEL_Data& log, CalloutDisplay& display,
                       std::string& label) {
    cInifile ini = at(pltPath, "PLOT_" + std::to_string(scheme));
    if (ini.EnumerateCurrentSection().empty()) return false;
    label = get(ini, "Label");
    for (int i = 0; i < cZEL_Data::kCalloutSlots; ++i) {
        const std::string n = std::to_string(i);
        const auto slot = static_cast<std::size_t>(i);
        const auto [first, last] = pair(get(ini, "Index C" + n));
        log.Callout_Index(i, 0, index16(first));
        log.Callout_Index(i, 1, index16(last));
        const auto [top, bottom] = pair(get(ini, "Range C" + n));
        log.Callout_Range(i, 0, static_cast<float>(val(top)));
        log.Callout_Range(i, 1, static_cast<float>(val(bottom)));
        log.Callout_Note(i, get(ini, "Note C" + n));
        display.text[slot] = get(ini, "Text C" + n);
        display.pic[slot] = get(ini, "Pic C" + n);
    }
    return true;
}

void SaveDissipation(const std::string& pltPath, const cZEL_Data& log) {
    ini::FileBatch batch(pltPath);
    cInifile ini = at(pltPath, "Dissipation");
    for (int i = 0; i < cZEL_Data::kDissipationTests; ++i)
        put(ini, "DisInclude" + std::to_string(i), boolText(log.DisInclude(i)));
}

void LoadDissipation(const std::string& pltPath, cZEL_Data& log) {
    cInifile ini = at(pltPath, "Dissipation");
    for (int i = 0; i < cZEL_Data::kDissipationTests; ++i) {
        const std::string v = get(ini, "DisInclude" + std::to_string(i));
        log.DisInclude(i, v == "True" || val(v) != 0.0);
    }
}

void SaveCompanionSettings(const std::string& pltPath, FormSet& forms, const PlotWindows& windows) {
    cInifile ini = at(pltPath, "Settings");
    SavePlotSettings(ini, forms, windows);
}

void LoadCompanionSettings(const std::string& pltPath, FormSet& forms, PlotWindows& windows) {
    const cInifile ini = at(pltPath, "Settings");
    LoadPlotSettings(ini, forms, windows);
}

} // namespace zel
