#pragma once
// A curve of the scope simulator's dump (--scope-dump) turned into millivolts by the oscilloscope driver
// itself, as it was in the push: what the log must hold for that acquisition.

#include "common/clock.h"
#include "common/testing/recording_host.h"
#include "instruments/scope/fake_visa.h"
#include "instruments/scope/scope.h"

#include <nlohmann/json.hpp>

#include <cstdint>
#include <string>
#include <vector>

namespace zel::e2e {

inline std::vector<float> driverWaveform(const nlohmann::json& curve) {
    std::string bytes;
    for (const auto& v : curve["values"]) {
        const auto u = static_cast<std::uint16_t>(v.get<int>());
        bytes += static_cast<char>(u >> 8);
        bytes += static_cast<char>(u & 0xFF);
    }
    const std::string count = std::to_string(bytes.size());
    zel::testing::FakeVisa visa;
    visa.replies["Curve?"] = "#" + std::to_string(count.size()) + count + bytes + "\n";
    visa.replies["WFMPRE:YZERO?"] = curve["yzero"].get<std::string>();
    visa.replies["WFMPRE:YOFF?"] = curve["yoff"].get<std::string>();
    visa.replies["WFMPRE:YMULT?"] = curve["ymult"].get<std::string>();
    FakeClock clock;
    zel::testing::RecordingHost host(&clock);
    cZEL_Scope scope(&visa, host, clock);
    scope.Attach(1, 2);
    scope.Tek_Wave_Transfer(false, false);
    return scope.Waveform;
}

} // namespace zel::e2e
