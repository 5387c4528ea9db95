#pragma once
// Dialogs held in memory: what the console tool uses in place of windows, and what the tests drive.

#include "settings/form.h"

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace zel {

enum class ControlType { Label, TextBox, ComboBox, CheckBox, OptionButton, Button, Other };

class MemoryForm;

class MemoryControl : public FormControl {
public:
    MemoryControl(MemoryForm& form, ControlType type, std::string name, std::optional<int> index);

    std::string name() const override { return name_; }
    std::optional<int> index() const override { return index_; }
    ControlType type() const { return type_; }

    // Labels, buttons, check boxes and option buttons have a caption; text and combo boxes a text; combo
    // boxes a list index; check boxes a check value; option buttons a value. Setting an option button
    // clears the other elements of its array.
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

    // Design-time set-up, without change handlers.
    MemoryControl& withCaption(std::string caption);
    MemoryControl& withText(std::string text);
    MemoryControl& withList(int count, int selected = -1);
    MemoryControl& withCheck(int value);
    MemoryControl& withOption(bool value);

    // Runs after each assignment that changed the control.
    std::function<void(MemoryControl&)> onChange;
    int changeCount() const { return changes_; }

private:
    void require(bool has, const char* property) const;
    void changed();

    MemoryForm& form_;
    ControlType type_;
    std::string name_;
    std::optional<int> index_;
    std::string caption_;
    std::string text_;
    int listCount_ = 0;
    int listIndex_ = -1;
    int check_ = 0;
    bool option_ = false;
    int changes_ = 0;
};

class MemoryForm : public Form {
public:
    explicit MemoryForm(std::string name) : name_(std::move(name)) {}
    MemoryForm(const MemoryForm&) = delete;
    MemoryForm& operator=(const MemoryForm&) = delete;

    MemoryControl& add(ControlType type, std::string name, std::optional<int> index = std::nullopt);
    // The control of that name and index; throws std::out_of_range when there is none (tests only).
    MemoryControl& at(std::string_view name, std::optional<int> index = std::nullopt);

    std::string name() const override { return name_; }
    std::size_t controlCount() const override { return controls_.size(); }
    FormControl& control(std::size_t ordinal) override { return *controls_.at(ordinal); }
    bool maximised() const override { return maximised_; }
    FormRect rect() const override { return rect_; }
    void move(const FormRect& rect) override;
    void maximise() override { maximised_ = true; }

    // Removes a control (a dialog that lost a control between two versions of the program).
    void remove(std::string_view name, std::optional<int> index = std::nullopt);

private:
    friend class MemoryControl;
    std::string name_;
    std::vector<std::unique_ptr<MemoryControl>> controls_;
    FormRect rect_{};
    bool maximised_ = false;
};

class MemoryFormSet : public FormSet {
public:
    MemoryForm& add(std::string name);
    Form* form(std::string_view name) override;
    MemoryForm& at(std::string_view name);

private:
    std::vector<std::unique_ptr<MemoryForm>> forms_;
};

} // namespace zel
