#pragma once
// A dialog as the settings code sees it: an ordered collection of named controls, some of them elements of a
// control array, plus the window's position. The desktop windows adapt their widgets to this (by object
// name); the console tool and the tests use the in-memory form of memory_form.h.
//
// Control names keep the type prefixes persistence relies on: "lbl" label, "txt" text box, "cmb" combo box,
// "chk" check box, "opt" option button, "cmd" button, "pic" picture, "mnu" menu, "fra" frame ...

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace zel {

class FormControl {
public:
    virtual ~FormControl() = default;
    virtual std::string name() const = 0;
    // The element's index when the control belongs to a control array.
    virtual std::optional<int> index() const = 0;

    // The properties persistence reads and assigns. A control without the property, or an assignment out of
    // the control's range (a list index past the list, a check value other than 0..2), throws
    // std::invalid_argument. Assignments act like the user's own input: the control's change handlers run.
    virtual std::string caption() const = 0;
    virtual void setCaption(std::string_view caption) = 0;
    virtual std::string text() const = 0;
    virtual void setText(std::string_view text) = 0;
    virtual int listIndex() const = 0; // -1: nothing selected
    virtual void setListIndex(int index) = 0;
    virtual int checkValue() const = 0; // 0 unchecked, 1 checked, 2 greyed
    virtual void setCheckValue(int value) = 0;
    virtual bool optionValue() const = 0;
    virtual void setOptionValue(bool value) = 0;
};

struct FormRect {
    int left = 0;
    int top = 0;
    int width = 0;
    int height = 0;
    friend bool operator==(const FormRect&, const FormRect&) = default;
};

class Form {
public:
    virtual ~Form() = default;
    virtual std::string name() const = 0; // "frmTab"
    virtual std::size_t controlCount() const = 0;
    virtual FormControl& control(std::size_t ordinal) = 0;

    virtual bool maximised() const = 0;
    // The window's normal (not maximised) rectangle.
    virtual FormRect rect() const = 0;
    // Back to the normal state at this rectangle.
    virtual void move(const FormRect& rect) = 0;
    virtual void maximise() = 0;
};

// The control of that name (compared without case, as the dialogs' control collections do) and array index;
// a name alone finds only a control outside any array. nullptr when there is none.
FormControl* findControl(Form& form, std::string_view name, std::optional<int> index);

// The program's dialogs by name.
class FormSet {
public:
    virtual ~FormSet() = default;
    // nullptr when the program has no such dialog.
    virtual Form* form(std::string_view name) = 0;
};

} // namespace zel
