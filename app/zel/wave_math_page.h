#pragma once
// The Wave math page (form frmWaveMath): the %RE options of the gated layout and the diagnostics.

#include <QWidget>

namespace zel::gui {

class WaveMathPage final : public QWidget {
public:
    WaveMathPage();
};

} // namespace zel::gui
