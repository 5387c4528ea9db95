#pragma once
// Dialog state kept in the options file without a list of keys: the controls of a form are walked in order
// and each is stored by the type its name's first three letters give ("lbl" caption, "txt" text,
// "cmb" list index, "chk" check value, "opt" value). The form's section is its name less the leading "frm"
// ("frmTab" -> "Tab"); each key is "ordinal,name" or "ordinal,name,index" for an element of a control array.

#include "settings/form.h"

#include <string>
#include <string_view>

namespace zel {

// "frmTab" -> "Tab".
std::string controlStateSection(std::string_view formName);

// Deletes the form's section and writes one key per stored control. Errors on a single control are ignored.
void SaveControlStates(const std::string& iniPath, Form& form);
// Assigns the stored values back in the order of the file's keys; the controls' change handlers run, so a
// restored setting takes effect as if the user had made it. Unknown keys, missing controls and values that
// do not convert are skipped.
void RestoreControlStates(const std::string& iniPath, Form& form);

} // namespace zel
