#include "app/zel/form_widgets.h"

#include "app/plot/qt_text.h"
#include "common/text.h"

#include <QScrollArea>

#include <charconv>
#include <cmath>

namespace zel::gui {

QString qs(const std::string& s) {
    return toQt(s);
}

QString qpath(const std::string& s) {
    return QString::fromStdString(s);
}

QLineEdit* lineEdit(QFormLayout* form, const char* name, const QString& label, const QString& value) {
    auto* e = named(new QLineEdit(value), name);
    form->addRow(label, e);
    return e;
}

QCheckBox* checkBox(QLayout* layout, const char* name, const QString& caption, bool checked) {
    auto* c = named(new QCheckBox(caption), name);
    c->setChecked(checked);
    layout->addWidget(c);
    return c;
}

QCheckBox* checkBox(QFormLayout* form, const char* name, const QString& caption, bool checked) {
    auto* c = named(new QCheckBox(caption), name);
    c->setChecked(checked);
    form->addRow(c);
    return c;
}

QComboBox* comboBox(QFormLayout* form, const char* name, const QString& label, const QStringList& items,
                    int selected) {
    auto* c = named(new QComboBox, name);
    c->addItems(items);
    c->setCurrentIndex(selected);
    form->addRow(label, c);
    return c;
}

QWidget* scrolled(QWidget* page) {
    auto* area = new QScrollArea;
    area->setWidget(page);
    area->setWidgetResizable(true);
    area->setFrameShape(QFrame::NoFrame);
    return area;
}

std::optional<double> numberOf(const std::string& text) {
    const std::string_view t = trimBlanks(text);
    double v = 0.0;
    const auto [end, ec] = std::from_chars(t.data(), t.data() + t.size(), v);
    if (t.empty() || ec != std::errc() || end != t.data() + t.size() || !std::isfinite(v))
        return std::nullopt;
    return v;
}

} // namespace zel::gui
