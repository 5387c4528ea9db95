#pragma once
// The Advanced page (form frmAdvOptions): the RE gates, how each point's waveform is processed, the scope
// and the log page.

#include "settings/startup/startup_settings.h"

#include <QWidget>

namespace zel::gui {

class AdvancedPage final : public QWidget {
public:
    explicit AdvancedPage(const StartupSettings& settings);
};

} // namespace zel::gui
