#pragma once
// The settings code's view of a window: its named widgets as the ordered controls of a form, so the
// options file, presets and plot settings persist real widgets. A widget is a control when its object
// name is set (Qt's own "qt_" children are left out); an element of a control array carries its index in
// the "controlIndex" property and shares its name with the other elements.
//
// What each widget offers: labels, buttons and group boxes a caption; line edits, plain-text edits and
// editable combo boxes a text; combo boxes and list widgets a list index; check boxes (and other
// checkable buttons) a check value; radio buttons an option value. Assigning goes through the widget's own
// setters, so its signals fire as if the user had made the change.

#include "settings/form.h"

#include <QPointer>
#include <QWidget>

#include <map>
#include <memory>
#include <string>
#include <vector>

namespace zel::gui {

// Makes w element `index` of the control array `name`.
void setControlArray(QWidget* w, const char* name, int index);

class QtControl final : public FormControl {
public:
    explicit QtControl(QWidget* w) : w_(w) {}
    QWidget* widget() const { return w_; }

    std::string name() const override;
    std::optional<int> index() const override;
    std::string caption() const override;
    void setCaption(std::string_view caption) override;
    std::string text() const override;
    void setText(std::string_view text) override;
    int listIndex() const override;
    void setListIndex(int index) override;
    int checkValue() const override;
    void setCheckValue(int value) override;
    bool optionValue() const override;
    void setOptionValue(bool value) override;

private:
    QPointer<QWidget> w_;
};

class QtForm final : public Form {
public:
    // roots: the window or pages whose named descendants are the controls, in this order (a form of the
    // original program may be several pages here); formName: "frmTab".
    QtForm(std::vector<QWidget*> roots, std::string formName);

    // The controls are collected once; call again after widgets were added or removed.
    void refresh();

    std::string name() const override { return name_; }
    std::size_t controlCount() const override { return controls_.size(); }
    FormControl& control(std::size_t ordinal) override { return *controls_.at(ordinal); }
    bool maximised() const override;
    FormRect rect() const override;
    void move(const FormRect& rect) override;
    void maximise() override;

private:
    QWidget* window() const;

    std::vector<QPointer<QWidget>> roots_;
    std::string name_;
    std::vector<std::unique_ptr<QtControl>> controls_;
};

class QtFormSet final : public FormSet {
public:
    QtForm& add(std::vector<QWidget*> roots, std::string formName);
    Form* form(std::string_view name) override;

private:
    std::map<std::string, std::unique_ptr<QtForm>, std::less<>> forms_;
};

} // namespace zel::gui
