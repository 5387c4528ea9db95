#include "app/zel/general_page.h"

#include "app/zel/form_widgets.h"

#include <QVBoxLayout>

namespace zel::gui {

GeneralPage::GeneralPage() {
    namespace g = general_control;
    auto* v = new QVBoxLayout(this);
    checkBox(v, g::kPushSummary, "Show the files written when a push ends", true);
    checkBox(v, g::kOpenLastLog, "Open the most recent log at start (without a log on the command line)");
    v->addStretch();
}

} // namespace zel::gui
