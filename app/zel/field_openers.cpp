#include "app/zel/field_openers.h"

#include "settings/startup/startup_settings.h"

namespace zel::gui {

bool SimOpeners::openScope(std::string_view, std::string_view) {
    if (rig_) return true;
    auto rig = std::make_unique<cli::SimRig>(host_, clock_, options_);
    if (!rig->error().empty()) {
        error_ = rig->error();
        host_.message("The instrument simulators could not be started: " + error_, MsgButtons::Ok,
                      MsgIcon::Exclamation);
        return false;
    }
    rig_ = std::move(rig);
    return true;
}

std::vector<std::string> SimNetwork::localAddresses() {
    return {kExpectedPcAddress};
}

} // namespace zel::gui
