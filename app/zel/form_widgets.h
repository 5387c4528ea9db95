#pragma once
// The small helpers every settings page builds its controls with: each control gets the name the options
// file keeps it under, and numbers typed by the user are read with "." whatever the locale.

#include <QCheckBox>
#include <QComboBox>
#include <QFormLayout>
#include <QLineEdit>
#include <QString>
#include <QStringList>

#include <optional>
#include <string>

class QWidget;
class QLayout;

namespace zel::gui {

// Texts of the files (8-bit) and paths (the system's own encoding) as Qt strings.
QString qs(const std::string& s);
QString qpath(const std::string& s);

template <class W> W* named(W* w, const char* name) {
    w->setObjectName(QString::fromLatin1(name));
    return w;
}

QLineEdit* lineEdit(QFormLayout* form, const char* name, const QString& label, const QString& value = {});
QCheckBox* checkBox(QLayout* layout, const char* name, const QString& caption, bool checked = false);
QCheckBox* checkBox(QFormLayout* form, const char* name, const QString& caption, bool checked = false);
QComboBox* comboBox(QFormLayout* form, const char* name, const QString& label, const QStringList& items,
                    int selected);
// The page inside a scroll area, for the settings dock.
QWidget* scrolled(QWidget* page);

// A number typed into a box; nothing for an empty or bad text.
std::optional<double> numberOf(const std::string& text);

} // namespace zel::gui
