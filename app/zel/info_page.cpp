#include "app/zel/info_page.h"

#include "app/zel/form_widgets.h"

#include <QPlainTextEdit>

namespace zel::gui {

InfoPage::InfoPage() {
    auto* form = new QFormLayout(this);
    lineEdit(form, "txtSite", "Site");
    lineEdit(form, "txtClient", "Client");
    lineEdit(form, "txtJobNumber", "Job");
    lineEdit(form, "txtOperator", "Operator");
    lineEdit(form, "txtUnit", "Unit");
    auto* note = named(new QPlainTextEdit, "txtNote");
    form->addRow("Notes", note);
}

} // namespace zel::gui
