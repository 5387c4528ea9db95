#include "instruments/field/field_config.h"

#include "common/number_text.h"
#include "instruments/platform/serial_port_map.h"
#include "settings/control_state.h"
#include "settings/ini_text.h"
#include "settings/memory_form.h"
#include "settings/profile.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <optional>
#include <vector>

namespace zel {
namespace {

template <typename T> std::optional<T> number(std::string text, T lo, T hi) {
    while (!text.empty() && text.back() == ' ')
        text.pop_back();
    while (!text.empty() && text.front() == ' ')
        text.erase(0, 1);
    T v{};
    const auto r = std::from_chars(text.data(), text.data() + text.size(), v);
    if (r.ec != std::errc{} || r.ptr != text.data() + text.size()) return std::nullopt;
    if constexpr (std::is_floating_point_v<T>)
        if (!std::isfinite(v)) return std::nullopt;
    if (v < lo || v > hi) return std::nullopt;
    return v;
}

// An empty value is stored as one blank; both mean "not set".
std::string setting(const std::string& text, const std::string& fallback) {
    return text.find_first_not_of(' ') == std::string::npos ? fallback : text;
}

} // namespace

FieldConfig loadFieldConfig(const std::string& optionsPath) {
    namespace c = comm_control;
    FieldConfig cfg;
    MemoryForm form("frmComm");
    form.add(ControlType::ComboBox, c::kDepthSource).withList(5, cfg.depthSource);
    form.add(ControlType::CheckBox, c::kDisplayAnsi).withCheck(0);
    form.add(ControlType::CheckBox, c::kHdReference).withCheck(0);
    for (const char* name : {c::kDepthPort, c::kAuxPort, c::kDisplayPort, c::kGpsPort, c::kGpsSettings,
                             c::kStringPotCal, c::kDepthUpdateMs, c::kAd4CountsPerFt, c::kCondConstant,
                             c::kCondOffset, c::kScopeAddress, c::kScopePortmap, c::kHdAddress, c::kHdPorts})
        form.add(ControlType::TextBox, name);
    form.add(ControlType::TextBox, c::kCondConstant2);
    for (int i = 0; i < 4; ++i)
        form.add(ControlType::TextBox, condVoltsControl(i));
    RestoreControlStates(optionsPath, form);

    const auto text = [&](const char* name) { return form.at(name).text(); };
    if (const int i = form.at(c::kDepthSource).listIndex(); i >= 0) cfg.depthSource = i;
    cfg.displayAnsi = form.at(c::kDisplayAnsi).checkValue() == 1;
    cfg.hdReference = form.at(c::kHdReference).checkValue() == 1;
    cfg.depthPort = setting(text(c::kDepthPort), cfg.depthPort);
    cfg.auxPort = setting(text(c::kAuxPort), cfg.auxPort);
    cfg.displayPort = setting(text(c::kDisplayPort), cfg.displayPort);
    cfg.gpsPort = setting(text(c::kGpsPort), cfg.gpsPort);
    cfg.gpsSettings = setting(text(c::kGpsSettings), cfg.gpsSettings);
    cfg.scopeAddress = setting(text(c::kScopeAddress), "");
    cfg.hdAddress = setting(text(c::kHdAddress), "");
    cfg.stringPotCal = number(text(c::kStringPotCal), 0.0f, 1e6f).value_or(cfg.stringPotCal);
    cfg.depthUpdateMs = number(text(c::kDepthUpdateMs), 0, 65535).value_or(cfg.depthUpdateMs);
    cfg.ad4CountsPerFt = number(text(c::kAd4CountsPerFt), 1e-3f, 1e9f).value_or(cfg.ad4CountsPerFt);
    cfg.condConstant = number(text(c::kCondConstant), -1e9f, 1e9f).value_or(cfg.condConstant);
    cfg.condOffset = number(text(c::kCondOffset), -1e9f, 1e9f).value_or(cfg.condOffset);
    cfg.condConstant2 = number(text(c::kCondConstant2), -1e9f, 1e9f).value_or(cfg.condConstant2);
    for (int i = 0; i < 4; ++i)
        cfg.condVolts[static_cast<std::size_t>(i)] =
            number(form.at(condVoltsControl(i)).text(), -100.0f, 100.0f).value_or(0.0f);
    cfg.scopePortmap = static_cast<std::uint16_t>(number(text(c::kScopePortmap), 1, 65535).value_or(111));
    // Three ports or none.
    const std::string ports = text(c::kHdPorts);
    std::array<std::uint16_t, 3> hd{};
    std::size_t at = 0;
    bool ok = true;
    for (std::size_t i = 0; i < 3 && ok; ++i) {
        const auto comma = ports.find(',', at);
        if ((comma == std::string::npos) != (i == 2)) ok = false;
        const auto p =
            number(ports.substr(at, comma == std::string::npos ? std::string::npos : comma - at), 1, 65535);
        if (!p) ok = false;
        hd[i] = static_cast<std::uint16_t>(p.value_or(0));
        at = comma + 1;
    }
    if (ok) cfg.hdPorts = hd;
    return cfg;
}

bool FieldConfig::condCalibrated() const {
    for (float v : condVolts)
        if (v != 0.0f) return true;
    return false;
}

std::string condVoltsControl(int i) {
    static constexpr const char* kSolutions[] = {"0", "25", "266", "560"};
    return std::string(comm_control::kCondVoltsPrefix) + kSolutions[i & 3];
}

void takeConductivityCalibration(FieldConfig& into, const FieldConfig& from) {
    if (!from.condCalibrated()) return;
    into.condConstant = from.condConstant;
    into.condOffset = from.condOffset;
    into.condConstant2 = from.condConstant2;
    into.condVolts = from.condVolts;
}

bool saveConductivityCalibration(const std::string& optionsPath, const FieldConfig& cal) {
    namespace c = comm_control;
    const std::string section = controlStateSection("frmComm");
    std::vector<std::pair<std::string, std::string>> values = {
        {c::kCondConstant, shortestText(cal.condConstant)},
        {c::kCondOffset, shortestText(cal.condOffset)},
        {c::kCondConstant2, shortestText(cal.condConstant2)}};
    for (int i = 0; i < 4; ++i)
        values.emplace_back(condVoltsControl(i), shortestText(cal.condVolts[static_cast<std::size_t>(i)]));
    ini::FileBatch batch(optionsPath);
    // Keys are "ordinal,name": a control already stored keeps its key, a new one goes after the last.
    const auto keys = ini::splitList(ini::profileKeyNames(optionsPath, section, 65536));
    int next = 0;
    for (const std::string& key : keys) {
        const auto comma = key.find(',');
        int ordinal = 0;
        const auto r =
            std::from_chars(key.data(), key.data() + (comma == std::string::npos ? 0 : comma), ordinal);
        if (r.ec == std::errc{}) next = std::max(next, ordinal + 1);
    }
    bool ok = true;
    for (const auto& [name, value] : values) {
        std::string key;
        for (const std::string& k : keys) {
            const auto comma = k.find(',');
            if (comma != std::string::npos && ini::sameName(std::string_view(k).substr(comma + 1), name))
                key = k;
        }
        if (key.empty()) key = std::to_string(next++) + "," + name;
        ok = ini::writeProfileString(optionsPath, section, key, value) != 0 && ok;
    }
    return batch.commit() != 0 && ok;
}

void applyAddresses(const FieldConfig& config, StartupSettings& settings) {
    if (!config.scopeAddress.empty() && settings.switches.find("/IPSCP") == std::string::npos) {
        settings.scopeAddress = config.scopeAddress;
        settings.scopeResource = "TCPIP::" + config.scopeAddress + "::INSTR";
    }
    if (!config.hdAddress.empty()) settings.hdBoardAddress = config.hdAddress;
}

std::string serialDevice(const std::string& port, const std::string& optionsPath) {
    if (const auto n = number(port, 0, 255)) return platform::serialDevicePath(*n, optionsPath);
    return port;
}

} // namespace zel
