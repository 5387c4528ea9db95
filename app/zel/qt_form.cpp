#include "app/zel/qt_form.h"

#include "app/plot/qt_text.h"

#include <QAbstractButton>
#include <QCheckBox>
#include <QComboBox>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPlainTextEdit>
#include <QRadioButton>
#include <QStringList>

#include <stdexcept>

namespace zel::gui {

namespace {

constexpr const char* kIndexProperty = "controlIndex";

QString qs(std::string_view s) {
    return toQt(s);
}

[[noreturn]] void noProperty(const QWidget* w, const char* what) {
    throw std::invalid_argument(w ? w->objectName().toStdString() + " has no " + what
                                  : std::string("the control is gone"));
}

// Multi-line texts travel as CR LF, as the options file gives them back.
std::string toStored(QString text) {
    text.replace(QStringLiteral("\r\n"), QStringLiteral("\n"));
    text.replace(QLatin1Char('\n'), QStringLiteral("\r\n"));
    return fromQt(text);
}

QString fromStored(std::string_view text) {
    QString s = qs(text);
    s.replace(QStringLiteral("\r\n"), QStringLiteral("\n"));
    s.replace(QLatin1Char('\r'), QLatin1Char('\n'));
    return s;
}

} // namespace

void setControlArray(QWidget* w, const char* name, int index) {
    w->setObjectName(QString::fromLatin1(name));
    w->setProperty(kIndexProperty, index);
}

std::string QtControl::name() const {
    return w_ ? w_->objectName().toStdString() : std::string();
}

std::optional<int> QtControl::index() const {
    if (!w_) return std::nullopt;
    const QVariant v = w_->property(kIndexProperty);
    if (!v.isValid()) return std::nullopt;
    bool ok = false;
    const int i = v.toInt(&ok);
    return ok ? std::optional<int>(i) : std::nullopt;
}

std::string QtControl::caption() const {
    if (auto* l = qobject_cast<QLabel*>(w_)) return toStored(l->text());
    if (auto* b = qobject_cast<QAbstractButton*>(w_)) return fromQt(b->text());
    if (auto* g = qobject_cast<QGroupBox*>(w_)) return fromQt(g->title());
    noProperty(w_, "caption");
}

void QtControl::setCaption(std::string_view caption) {
    if (auto* l = qobject_cast<QLabel*>(w_)) return l->setText(fromStored(caption));
    if (auto* b = qobject_cast<QAbstractButton*>(w_)) return b->setText(qs(caption));
    if (auto* g = qobject_cast<QGroupBox*>(w_)) return g->setTitle(qs(caption));
    noProperty(w_, "caption");
}

std::string QtControl::text() const {
    if (auto* e = qobject_cast<QLineEdit*>(w_)) return fromQt(e->text());
    if (auto* p = qobject_cast<QPlainTextEdit*>(w_)) return toStored(p->toPlainText());
    if (auto* c = qobject_cast<QComboBox*>(w_)) return fromQt(c->currentText());
    if (auto* l = qobject_cast<QLabel*>(w_)) return toStored(l->text());
    noProperty(w_, "text");
}

void QtControl::setText(std::string_view text) {
    if (auto* e = qobject_cast<QLineEdit*>(w_)) return e->setText(qs(text));
    if (auto* p = qobject_cast<QPlainTextEdit*>(w_)) return p->setPlainText(fromStored(text));
    if (auto* c = qobject_cast<QComboBox*>(w_); c && c->isEditable()) return c->setEditText(qs(text));
    if (auto* l = qobject_cast<QLabel*>(w_)) return l->setText(fromStored(text));
    noProperty(w_, "text");
}

int QtControl::listIndex() const {
    if (auto* c = qobject_cast<QComboBox*>(w_)) return c->currentIndex();
    if (auto* l = qobject_cast<QListWidget*>(w_)) return l->currentRow();
    noProperty(w_, "list index");
}

void QtControl::setListIndex(int index) {
    if (auto* c = qobject_cast<QComboBox*>(w_)) {
        if (index < -1 || index >= c->count()) throw std::invalid_argument("list index out of range");
        return c->setCurrentIndex(index);
    }
    if (auto* l = qobject_cast<QListWidget*>(w_)) {
        if (index < -1 || index >= l->count()) throw std::invalid_argument("list index out of range");
        return l->setCurrentRow(index);
    }
    noProperty(w_, "list index");
}

int QtControl::checkValue() const {
    if (auto* c = qobject_cast<QCheckBox*>(w_)) {
        switch (c->checkState()) {
        case Qt::Unchecked: return 0;
        case Qt::Checked: return 1;
        case Qt::PartiallyChecked: return 2;
        }
    }
    if (auto* b = qobject_cast<QAbstractButton*>(w_); b && b->isCheckable()) return b->isChecked() ? 1 : 0;
    noProperty(w_, "check value");
}

void QtControl::setCheckValue(int value) {
    if (value < 0 || value > 2) throw std::invalid_argument("check value out of range");
    if (auto* c = qobject_cast<QCheckBox*>(w_)) {
        if (value == 2) c->setTristate(true);
        return c->setCheckState(value == 0 ? Qt::Unchecked : value == 1 ? Qt::Checked : Qt::PartiallyChecked);
    }
    if (auto* b = qobject_cast<QAbstractButton*>(w_); b && b->isCheckable()) return b->setChecked(value != 0);
    noProperty(w_, "check value");
}

bool QtControl::optionValue() const {
    if (auto* r = qobject_cast<QRadioButton*>(w_)) return r->isChecked();
    noProperty(w_, "option value");
}

void QtControl::setOptionValue(bool value) {
    if (auto* r = qobject_cast<QRadioButton*>(w_)) return r->setChecked(value);
    noProperty(w_, "option value");
}

QtForm::QtForm(std::vector<QWidget*> roots, std::string formName) : name_(std::move(formName)) {
    for (QWidget* r : roots)
        roots_.emplace_back(r);
    refresh();
}

void QtForm::refresh() {
    controls_.clear();
    // Depth-first in creation order: the ordinals stay the same from one run to the next.
    for (const QPointer<QWidget>& root : roots_) {
        if (!root) continue;
        for (QWidget* w : root->findChildren<QWidget*>()) {
            const QString n = w->objectName();
            if (n.isEmpty() || n.startsWith(QStringLiteral("qt_"))) continue;
            controls_.push_back(std::make_unique<QtControl>(w));
        }
    }
}

QWidget* QtForm::window() const {
    for (const QPointer<QWidget>& root : roots_)
        if (root) return root->window();
    return nullptr;
}

bool QtForm::maximised() const {
    const QWidget* w = window();
    return w && w->isMaximized();
}

FormRect QtForm::rect() const {
    const QWidget* w = window();
    if (!w) return {};
    const QRect r = w->normalGeometry();
    return {r.x(), r.y(), r.width(), r.height()};
}

void QtForm::move(const FormRect& rect) {
    QWidget* w = window();
    if (!w) return;
    w->showNormal();
    w->setGeometry(rect.left, rect.top, rect.width, rect.height);
}

void QtForm::maximise() {
    if (QWidget* w = window()) w->showMaximized();
}

QtForm& QtFormSet::add(std::vector<QWidget*> roots, std::string formName) {
    auto form = std::make_unique<QtForm>(std::move(roots), formName);
    QtForm& ref = *form;
    forms_[std::move(formName)] = std::move(form);
    return ref;
}

Form* QtFormSet::form(std::string_view name) {
    const auto it = forms_.find(name);
    return it == forms_.end() ? nullptr : it->second.get();
}

} // namespace zel::gui
