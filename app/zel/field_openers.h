#pragma once
// How the start-up sequence opens the instruments in the desktop program. With --sim the zel-sim children
// stand in for the scope, the depth board and the GPS (there is no simulated display on this path); the
// configured field instruments are opened by the openers of the start-up sequence, and until those exist
// every device is absent (the program then serves as the office viewer).

#include "app/cli/field_rig.h"
#include "common/clock.h"
#include "common/host.h"
#include "settings/startup/instruments.h"
#include "settings/startup/network.h"

#include <memory>

namespace zel::gui {

class SimOpeners final : public InstrumentOpeners {
public:
    SimOpeners(Host& host, const Clock& clock, cli::SimRigOptions options = {})
        : host_(host), clock_(clock), options_(std::move(options)) {}

    // The rig once the scope step has started it; empty when it failed.
    std::unique_ptr<cli::FieldInstruments> take() { return std::move(rig_); }
    const std::string& error() const { return error_; }

    void loadSerialPorts() override {}
    bool openScope(std::string_view, std::string_view) override;
    void setScopeAveraging(int) override {}
    bool openSpectrometer() override { return false; }
    bool openHdBoard(std::string_view) override { return false; }
    bool openDepth() override { return rig_ != nullptr; }
    bool openDisplay() override { return false; }
    bool openGps() override { return rig_ != nullptr; }

private:
    Host& host_;
    const Clock& clock_;
    cli::SimRigOptions options_;
    std::unique_ptr<cli::SimRig> rig_;
    std::string error_;
};

// The simulators are on this PC: every address answers, and the PC has the instrument network's address.
class SimNetwork final : public NetworkProbe {
public:
    bool answersEcho(const std::string&) override { return true; }
    std::vector<std::string> localAddresses() override;
};

// The configured field instruments. The seam for the real openers: today none is wired on this branch,
// so start-up reports every device absent and acquisition stays unavailable.
struct ConfiguredInstruments {
    std::unique_ptr<InstrumentOpeners> openers = std::make_unique<NoInstruments>();
    // The instruments a push runs against once the openers have opened them; none yet.
    std::unique_ptr<cli::FieldInstruments> take() { return nullptr; }
};

} // namespace zel::gui
