#pragma once
// The Comm page (form frmComm): the instruments' ports and their live read-outs, whose names ("txtcomm_",
// "label") keep them out of the options file: a stale address or connection state must not come back.

#include "settings/startup/startup_settings.h"

#include <QWidget>

namespace zel::gui {

class CommPage final : public QWidget {
public:
    explicit CommPage(const StartupSettings& settings);
};

} // namespace zel::gui
