#pragma once
// The set-up check boxes of the acquisition tab that steer the RE gates. They are controls of a persisted
// dialog, so their names (with the "chk" prefix persistence relies on) are what keeps them between runs.

#include "settings/form.h"

namespace zel::acq {

inline constexpr const char* kSettingsForm = "frmAdvOptions";
// Either one exempts the RE from the standard area limits (5000 / 7000 / 20000 pVs).
inline constexpr const char* kNoREGateControl = "chkRE_NoAreaCheck";
inline constexpr const char* kDiagnosticREControl = "chkRE_Diagnostic";
// Selects the low-output limits (900 / 1200 / 3000 pVs) for probes with a weak reference emitter.
inline constexpr const char* kLowOutputREControl = "chkRE_LowOutput";
// Set, it lifts the low-output limits as well (an RE that is known to be out of range on purpose).
inline constexpr const char* kREOverrideControl = "chkRE_Override";
// The fixed channel boundaries 30, 60, 90 instead of the search on the RE.
inline constexpr const char* kFixedCutoffsControl = "chkFixedCutoffs";

struct GateOptions {
    bool noAreaCheck = false;
    bool diagnosticRE = false;
    bool lowOutputRE = false;
    bool overrideRE = false;
    bool fixedCutoffs = false;
};

// Reads the check boxes present on the form; the missing ones stay clear.
inline GateOptions ReadGateOptions(Form& form) {
    const auto checked = [&](const char* name) {
        const FormControl* c = findControl(form, name, std::nullopt);
        return c && c->checkValue() == 1;
    };
    GateOptions o;
    o.noAreaCheck = checked(kNoREGateControl);
    o.diagnosticRE = checked(kDiagnosticREControl);
    o.lowOutputRE = checked(kLowOutputREControl);
    o.overrideRE = checked(kREOverrideControl);
    o.fixedCutoffs = checked(kFixedCutoffsControl);
    return o;
}

} // namespace zel::acq
