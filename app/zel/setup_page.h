#pragma once
// The Setup page (part of the form frmTab): where and how a push is recorded, the probe, and how the log
// is plotted.

#include "settings/startup/startup_settings.h"

#include <QGroupBox>
#include <QWidget>

#include <functional>

namespace zel::gui {

class SetupPage final : public QWidget {
public:
    explicit SetupPage(const StartupSettings& settings);

    // The user chose another probe in the list: its mode.
    std::function<void(int mode)> onProbeChosen;

private:
    QGroupBox* secondaryScales();
};

} // namespace zel::gui
