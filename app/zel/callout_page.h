#pragma once
// The Callouts page (form frmCallout): up to five depth ranges with their captions, whose averaged
// waveforms are shown beside the plot and saved as schemes in the log's companion.

#include "log/log_data.h"

#include <QWidget>

#include <functional>
#include <optional>
#include <string>

namespace zel::gui {

class CalloutPage final : public QWidget {
public:
    CalloutPage();

    // What the page's buttons ask for.
    std::function<void()> onApply;
    std::function<void()> onSave;
    std::function<void(int scheme)> onLoad;
};

} // namespace zel::gui
