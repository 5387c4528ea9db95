#include "app/zel/comm_page.h"

#include "app/zel/form_widgets.h"

#include <QLabel>

namespace zel::gui {

CommPage::CommPage(const StartupSettings& settings) {
    auto* form = new QFormLayout(this);
    lineEdit(form, "txtcomm_ScopeAddress", "Scope address", qs(settings.scopeAddress))->setReadOnly(true);
    comboBox(form, "cmbDepthSource", "Depth source", {"Emulation", "Interface board", "AD4 counter"}, 1);
    lineEdit(form, "txtDepthPort", "Depth port", "1");
    lineEdit(form, "txtGPSPort", "GPS port", "2");
    lineEdit(form, "txtDisplayPort", "Display port", "3");
    lineEdit(form, "txtcomm_Depth", "Depth now")->setReadOnly(true);
    lineEdit(form, "txtcomm_GPS", "Position now")->setReadOnly(true);
    form->addRow("Connection", named(new QLabel("none"), "labelConnection"));
}

} // namespace zel::gui
