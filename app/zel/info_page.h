#pragma once
// The Info page (part of the form frmTab): the operator's texts written into every log.

#include <QWidget>

namespace zel::gui {

class InfoPage final : public QWidget {
public:
    InfoPage();
};

} // namespace zel::gui
