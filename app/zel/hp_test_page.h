#pragma once
// The HP tests page (form frmHP): the two surface tests of hydraulic profiling that set the K estimate's
// reference pressure of the log in view.

#include "common/host.h"
#include "log/log_data.h"

#include <QWidget>

namespace zel::gui {

class HPTestPage final : public QWidget {
public:
    HPTestPage(Host& host, cZEL_Data& log);

private:
    Host& host_;
    cZEL_Data& log_;
};

} // namespace zel::gui
