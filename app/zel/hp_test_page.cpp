#include "app/zel/hp_test_page.h"

#include "analysis/k_estimate.h"
#include "app/zel/form_widgets.h"

#include <QLabel>
#include <QPushButton>

namespace zel::gui {

HPTestPage::HPTestPage(Host& host, cZEL_Data& log) : host_(host), log_(log) {
    auto* form = new QFormLayout(this);
    auto* reading = lineEdit(form, "txtHPT_Reading", "Pressure reading (PSI)", "");
    auto* one = named(new QPushButton("1 ft test"), "cmdHPT1ft");
    auto* zero = named(new QPushButton("0 ft test"), "cmdHPT0ft");
    auto* oneText = named(new QLabel, "lblHPT1ft");
    auto* zeroText = named(new QLabel, "lblHPT0ft");
    form->addRow(one, oneText);
    form->addRow(zero, zeroText);
    const auto readingValue = [this, reading]() -> std::optional<float> {
        const std::optional<double> v = numberOf(reading->text().toStdString());
        if (!v) host_.message("Enter the pressure reading first.", MsgButtons::Ok, MsgIcon::Exclamation);
        return v ? std::optional<float>(static_cast<float>(*v)) : std::nullopt;
    };
    connect(one, &QPushButton::clicked, this, [this, readingValue, oneText] {
        if (const auto v = readingValue()) oneText->setText(qs(takeOneFootTest(log_, *v)));
    });
    connect(zero, &QPushButton::clicked, this, [this, readingValue, zeroText] {
        if (const auto v = readingValue()) zeroText->setText(qs(takeZeroFootTest(log_, *v, host_)));
    });
}

} // namespace zel::gui
