#pragma once
// With --sim the instruments are simulators on this PC: every address answers, and the PC has the
// instrument network's address, so start-up takes the simulators for the instrument network.

#include "settings/startup/network.h"

namespace zel::gui {

class SimNetwork final : public NetworkProbe {
public:
    bool answersEcho(const std::string&) override { return true; }
    std::vector<std::string> localAddresses() override;
};

} // namespace zel::gui
