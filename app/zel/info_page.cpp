#include "app/zel/info_page.h"

#include "app/zel/form_widgets.h"

#include <QPlainTextEdit>
#include <QPushButton>

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
    auto* save = named(new QPushButton("Save into the loaded log"), "cmdInfoSaveIntoLog");
    save->setToolTip("Correct the information of the log in view: the log is "
                     "written again with these texts");
    form->addRow(save);
    connect(save, &QPushButton::clicked, this, [this] {
        if (onSaveIntoLog) onSaveIntoLog();
    });
}

} // namespace zel::gui
