#include "app/zel/callout_page.h"

#include "app/zel/form_widgets.h"
#include "app/zel/qt_form.h"

#include <QGridLayout>
#include <QLabel>
#include <QPushButton>

namespace zel::gui {

CalloutPage::CalloutPage() {
    auto* grid = new QGridLayout(this);
    grid->addWidget(new QLabel("Top"), 0, 1);
    grid->addWidget(new QLabel("Bottom"), 0, 2);
    grid->addWidget(new QLabel("Caption"), 0, 3);
    for (int i = 0; i < cZEL_Data::kCalloutSlots; ++i) {
        grid->addWidget(new QLabel(QStringLiteral("C%1").arg(i + 1)), i + 1, 0);
        const char* names[] = {"txtCalloutTop", "txtCalloutBottom", "txtCalloutCaption"};
        for (int k = 0; k < 3; ++k) {
            auto* e = new QLineEdit;
            setControlArray(e, names[k], i);
            grid->addWidget(e, i + 1, k + 1);
        }
    }
    int row = cZEL_Data::kCalloutSlots + 1;
    auto* waves = named(new QCheckBox("Callout waveforms on the page"), "chkCalloutWaves");
    waves->setChecked(true);
    grid->addWidget(waves, row++, 0, 1, 4);
    // The decay-time track leaves out the points too faint for a decay to mean anything.
    grid->addWidget(named(new QCheckBox("Decay-time track: none below %RE"), "chkCutoffTau"), row, 0, 1, 3);
    grid->addWidget(named(new QLineEdit("0"), "txtCutoffTau"), row++, 3);
    auto* apply = named(new QPushButton("Show callouts"), "cmdCalloutApply");
    auto* save = named(new QPushButton("Save scheme..."), "cmdCalloutSave");
    auto* load = named(new QPushButton("Load scheme"), "cmdCalloutLoad");
    auto* scheme = named(new QLineEdit("1"), "txtCalloutScheme");
    grid->addWidget(apply, row, 0, 1, 2);
    grid->addWidget(save, row++, 2, 1, 2);
    grid->addWidget(scheme, row, 0, 1, 2);
    grid->addWidget(load, row++, 2, 1, 2);
    grid->setRowStretch(row, 1);
    connect(apply, &QPushButton::clicked, this, [this] {
        if (onApply) onApply();
    });
    connect(save, &QPushButton::clicked, this, [this] {
        if (onSave) onSave();
    });
    connect(load, &QPushButton::clicked, this, [this, scheme] {
        const std::optional<double> n = numberOf(scheme->text().toStdString());
        if (onLoad) onLoad(n ? static_cast<int>(*n) : 0);
    });
}

} // namespace zel::gui
