#pragma once
// The Info page (part of the form frmTab): the operator's texts written into every log. A loaded log puts its
// own texts here, and the page can write corrected texts back into it.

#include <QWidget>

#include <functional>

namespace zel::gui {

class InfoPage final : public QWidget {
public:
    InfoPage();

    // The button that writes the page's texts into the log in view.
    std::function<void()> onSaveIntoLog;
};

} // namespace zel::gui
