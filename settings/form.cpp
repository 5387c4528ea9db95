#include "settings/form.h"

#include "settings/ini_text.h"

namespace zel {

FormControl* findControl(Form& form, std::string_view name, std::optional<int> index) {
    for (std::size_t i = 0; i < form.controlCount(); ++i) {
        FormControl& c = form.control(i);
        if (c.index() == index && ini::sameName(c.name(), name)) return &c;
    }
    return nullptr;
}

} // namespace zel
