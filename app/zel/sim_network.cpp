#include "app/zel/sim_network.h"

#include "settings/startup/startup_settings.h"

namespace zel::gui {

std::vector<std::string> SimNetwork::localAddresses() {
    return {kExpectedPcAddress};
}

} // namespace zel::gui
