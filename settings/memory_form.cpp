#include "settings/memory_form.h"

#include "settings/ini_text.h"

#include <algorithm>
#include <stdexcept>

namespace zel {

MemoryControl::MemoryControl(MemoryForm& form, ControlType type, std::string name, std::optional<int> index)
    : form_(form), type_(type), name_(std::move(name)), index_(index) {}

void MemoryControl::require(bool has, const char* property) const {
    if (!has) throw std::invalid_argument(name_ + " has no " + property);
}

void MemoryControl::changed() {
    ++changes_;
    if (onChange) onChange(*this);
}

std::string MemoryControl::caption() const {
    require(type_ != ControlType::TextBox && type_ != ControlType::ComboBox, "caption");
    return caption_;
}

void MemoryControl::setCaption(std::string_view caption) {
    require(type_ != ControlType::TextBox && type_ != ControlType::ComboBox, "caption");
    if (caption_ == caption) return;
    caption_ = caption;
    changed();
}

std::string MemoryControl::text() const {
    require(type_ == ControlType::TextBox || type_ == ControlType::ComboBox, "text");
    return text_;
}

void MemoryControl::setText(std::string_view text) {
    require(type_ == ControlType::TextBox || type_ == ControlType::ComboBox, "text");
    if (text_ == text) return;
    text_ = text;
    changed();
}

int MemoryControl::listIndex() const {
    require(type_ == ControlType::ComboBox, "list index");
    return listIndex_;
}

void MemoryControl::setListIndex(int index) {
    require(type_ == ControlType::ComboBox, "list index");
    if (index < -1 || index >= listCount_) throw std::invalid_argument("Invalid property value");
    if (listIndex_ == index) return;
    listIndex_ = index;
    changed();
}

int MemoryControl::checkValue() const {
    require(type_ == ControlType::CheckBox, "check value");
    return check_;
}

void MemoryControl::setCheckValue(int value) {
    require(type_ == ControlType::CheckBox, "check value");
    if (value < 0 || value > 2) throw std::invalid_argument("Invalid property value");
    if (check_ == value) return;
    check_ = value;
    changed();
}

bool MemoryControl::optionValue() const {
    require(type_ == ControlType::OptionButton, "value");
    return option_;
}

void MemoryControl::setOptionValue(bool value) {
    require(type_ == ControlType::OptionButton, "value");
    if (value && index_)
        for (auto& other : form_.controls_)
            if (other.get() != this && other->type_ == ControlType::OptionButton && other->index_ &&
                ini::sameName(other->name_, name_))
                other->option_ = false;
    if (option_ == value) return;
    option_ = value;
    changed();
}

MemoryControl& MemoryControl::withCaption(std::string caption) {
    caption_ = std::move(caption);
    return *this;
}

MemoryControl& MemoryControl::withText(std::string text) {
    text_ = std::move(text);
    return *this;
}

MemoryControl& MemoryControl::withList(int count, int selected) {
    listCount_ = count;
    listIndex_ = selected;
    return *this;
}

MemoryControl& MemoryControl::withCheck(int value) {
    check_ = value;
    return *this;
}

MemoryControl& MemoryControl::withOption(bool value) {
    option_ = value;
    return *this;
}

MemoryControl& MemoryForm::add(ControlType type, std::string name, std::optional<int> index) {
    controls_.push_back(std::make_unique<MemoryControl>(*this, type, std::move(name), index));
    return *controls_.back();
}

MemoryControl& MemoryForm::at(std::string_view name, std::optional<int> index) {
    if (auto* c = findControl(*this, name, index)) return static_cast<MemoryControl&>(*c);
    throw std::out_of_range("no control " + std::string(name));
}

void MemoryForm::move(const FormRect& rect) {
    maximised_ = false;
    rect_ = rect;
}

void MemoryForm::remove(std::string_view name, std::optional<int> index) {
    std::erase_if(controls_,
                  [&](const auto& c) { return c->index() == index && ini::sameName(c->name(), name); });
}

MemoryForm& MemoryFormSet::add(std::string name) {
    forms_.push_back(std::make_unique<MemoryForm>(std::move(name)));
    return *forms_.back();
}

Form* MemoryFormSet::form(std::string_view name) {
    for (auto& f : forms_)
        if (ini::sameName(f->name(), name)) return f.get();
    return nullptr;
}

MemoryForm& MemoryFormSet::at(std::string_view name) {
    if (Form* f = form(name)) return static_cast<MemoryForm&>(*f);
    throw std::out_of_range("no form " + std::string(name));
}

} // namespace zel
