#include "program/settings_model.h"

#include "common/text.h"
#include "settings/control_state.h"
#include "settings/data_root.h"
#include "settings/ini_file.h"
#include "settings/options.h"

#include <charconv>
#include <cmath>
#include <exception>

namespace zel::program {

namespace {

std::string lower(std::string_view s) {
    std::string l(s);
    for (char& c : l)
        c = (c >= 'A' && c <= 'Z') ? static_cast<char>(c - 'A' + 'a') : c;
    return l;
}

// Control names compare without case, as the forms' collections do.
std::string keyOf(std::string_view form, std::string_view name, std::optional<int> index) {
    std::string key = lower(form) + "|" + lower(name);
    if (index) key += "|" + std::to_string(*index);
    return key;
}

std::optional<std::string> storedValue(FormControl& c) {
    const std::string name = lower(c.name());
    const std::string_view prefix = std::string_view(name).substr(0, 3);
    try {
        if (prefix == "txt") return c.text();
        if (prefix == "chk") return std::to_string(c.checkValue());
        if (prefix == "opt") return std::string(c.optionValue() ? "True" : "False");
        if (prefix == "cmb") return std::to_string(c.listIndex());
    } catch (const std::exception&) {}
    return std::nullopt;
}

} // namespace

void SettingsModel::set(std::string_view form, std::string_view name, std::string value,
                        std::optional<int> index) {
    values_[keyOf(form, name, index)] = std::move(value);
}

std::optional<std::string> SettingsModel::value(std::string_view form, std::string_view name,
                                                std::optional<int> index) const {
    const auto it = values_.find(keyOf(form, name, index));
    if (it == values_.end()) return std::nullopt;
    return it->second;
}

void SettingsModel::readOptionsFile(const std::string& iniPath) {
    cInifile ini;
    ini.Path = iniPath;
    for (const char* form : Options::kSavedForms) {
        ini.Section = controlStateSection(form);
        for (const std::string& key : ini.EnumerateCurrentSection()) {
            // "ordinal,name" or "ordinal,name,index"; the ordinal does not matter.
            const std::size_t first = key.find(',');
            if (first == std::string::npos) continue;
            const std::size_t second = key.find(',', first + 1);
            const std::string name =
                key.substr(first + 1, second == std::string::npos ? second : second - first - 1);
            std::optional<int> index;
            if (second != std::string::npos) {
                int i = 0;
                const std::string_view t = std::string_view(key).substr(second + 1);
                const auto [end, ec] = std::from_chars(t.data(), t.data() + t.size(), i);
                if (ec != std::errc() || end != t.data() + t.size()) continue;
                index = i;
            }
            if (name.empty()) continue;
            ini.Key = key;
            set(form, name, ini.Value(), index);
        }
    }
}

void SettingsModel::readForms(FormSet& forms) {
    for (const char* name : Options::kSavedForms) {
        Form* form = forms.form(name);
        if (!form) continue;
        for (std::size_t i = 0; i < form->controlCount(); ++i) {
            FormControl& c = form->control(i);
            if (auto v = storedValue(c)) set(name, c.name(), std::move(*v), c.index());
        }
    }
}

bool SettingsModel::checked(std::string_view form, std::string_view name, std::optional<int> index) const {
    const auto v = value(form, name, index);
    return v && trimBlanks(*v) == "1";
}

std::optional<double> SettingsModel::number(std::string_view form, std::string_view name,
                                            std::optional<int> index) const {
    const auto v = value(form, name, index);
    if (!v) return std::nullopt;
    const std::string_view t = trimBlanks(*v);
    double d = 0.0;
    const auto [end, ec] = std::from_chars(t.data(), t.data() + t.size(), d);
    if (t.empty() || ec != std::errc() || end != t.data() + t.size() || !std::isfinite(d))
        return std::nullopt;
    return d;
}

std::string SettingsModel::text(std::string_view form, std::string_view name) const {
    return std::string(trimBlanks(value(form, name).value_or("")));
}

ProcessingSetup ReadProcessingSetup(const SettingsModel& m) {
    using namespace control;
    ProcessingSetup s;
    s.options.applyGains = m.checked(kAdv, kApplyGains);
    s.options.fixedCutoffs = m.checked(kAdv, kFixedCutoffs);
    s.options.scatterScaling = m.checked(kWaveMath, kScatterScaling);
    s.options.plainPercentRE = m.checked(kWaveMath, kPlainRE);
    s.options.firstSample = m.checked(kWaveMath, kFirstSample);
    s.options.calloutFluorColour = m.checked(kWaveMath, kCalloutFluorColour);
    // The width limit is a sample count the waveform keeps in 16 bits; anything outside means no limit.
    const double width = m.number(kAdv, kWidthLimit).value_or(0.0);
    s.widthLimit = width >= 1.0 && width <= 100.0 ? static_cast<std::int16_t>(width) : 0;
    for (int k = 0; k < kGainChannels; ++k) {
        const auto i = static_cast<std::size_t>(k);
        const double gain = m.number(kAdv, kGain, k).value_or(0.0);
        // A gain of 0 is taken as 1 by the processing; a negative or absurd one is not a gain.
        s.gain[i] = gain > 0.0 && gain < 1e6 ? static_cast<float>(gain) : 0.0f;
        s.exclude[i] = m.checked(kAdv, kExclude, k);
    }
    s.excludeCH1 = m.checked(kAdv, kExcludeCH1);
    const double correction = m.number(kAdv, kCH1Correction).value_or(0.0);
    s.ch1Correction = std::fabs(correction) < 1e6 ? static_cast<float>(correction) : 0.0f;
    return s;
}

PointProcessingSetup OptionsFileLoadProcessing(int programMode) {
    SettingsModel m;
    m.readOptionsFile(optionsFilePath());
    return LoadProcessing(ReadProcessingSetup(m), programMode);
}

} // namespace zel::program
