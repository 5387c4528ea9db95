#include "settings/options.h"

#include "settings/basic_convert.h"
#include "settings/control_state.h"
#include "settings/data_root.h"
#include "settings/ini_file.h"
#include "settings/profile.h"

#include <algorithm>
#include <filesystem>
#include <optional>
#include <stdexcept>

namespace zel {
namespace {

constexpr const char* kPartialForms[] = {"frmComm", "frmWaveMath", "frmAdvOptions"};
constexpr const char* kFullForms[] = {"frmGeneric", "frmTab", "frmHP", "frmFTP"};

// Controls that start every session at the same value whatever the last session left: the zoom range, the
// depth clips and the reference lines are set per log or for one piece of analysis, and a stale value would
// silently change the next log's plot.
struct StartValue {
    const char* form;
    const char* control;
    int index;        // -1: not an array element
    const char* text; // for a text box
    int check;        // for a check box
};
constexpr StartValue kStartValues[] = {
    {"frmTab", "chkPlotZoom", -1, nullptr, 0},
    {"frmTab", "txt2ndScale_Zoom", 0, "0", 0},
    {"frmTab", "txt2ndScale_Zoom", 1, "9", 0},
    {"frmAdvOptions", "chkShowLog", -1, nullptr, 1},
    {"frmAdvOptions", "chkDepth_ClipMIN", -1, nullptr, 0},
    {"frmAdvOptions", "txtDepth_ClipMIN_Value", -1, "0", 0},
    {"frmAdvOptions", "chkDepth_Clip", -1, nullptr, 0},
    {"frmAdvOptions", "txtDepth_Clip_Value", -1, "20", 0},
    {"frmAdvOptions", "chkReferenceLineDepth", -1, nullptr, 0},
    {"frmAdvOptions", "txtReferenceLineDepth", -1, "0", 0},
    {"frmAdvOptions", "chkReferenceLineRE", -1, nullptr, 0},
    {"frmAdvOptions", "txtReferenceLineRE", -1, "100", 0},
    {"frmAdvOptions", "chkReferenceLineCond", -1, nullptr, 0},
    {"frmAdvOptions", "txtReferenceLineCond", -1, "0", 0},
};

constexpr const char* kFileUtilityKeys[] = {"optSummary_NameFormat", "optBatchJPGName",  "chkSummary_Area",
                                            "chkCalloutMax",         "chkSummary_Total", "chkFootage_Date"};

const char* kResetQuestion =
    "This will reset your settings file. This may be needed if you are having issues. "
    "The drawback is your settings (such as what check boxes you have ticked) will reset "
    "to defaults.";
const char* kResetDone =
    "Options file successfully deleted. Close and re-open the software to complete the process.";
const char* kResetFailed =
    "A problem occurred doing the operation automatically. Find the file [ZEL_Options.ini] "
    "on your PC and delete. Once you have done that, close and re-open the software to "
    "complete the process.";

// The elements of an option-button array, in collection order.
std::vector<FormControl*> optionArray(Form& form, std::string_view name) {
    std::vector<FormControl*> out;
    for (std::size_t i = 0; i < form.controlCount(); ++i) {
        FormControl& c = form.control(i);
        if (c.index() && c.name() == name) out.push_back(&c);
    }
    return out;
}

} // namespace

Options::Options(Host& host, FormSet& forms, std::string optionsPath)
    : host_(host), forms_(forms), path_(std::move(optionsPath)) {}

void Options::report(const char* routine, int step, const std::exception& e) {
    host_.message(std::string(routine) + ". Line of error: " + std::to_string(step) + "\r\n" + e.what(),
                  MsgButtons::Ok, MsgIcon::Exclamation);
}

void Options::SaveOptions() {
    if (resetDone_) return;
    int step = 0;
    try {
        step = 1;
        ensureParentFolder(path_);
        step = 2;
        // One replacement of the file for the whole save: the forms' sections and "Misc" land together.
        ini::FileBatch batch(path_);
        for (const char* name : kSavedForms)
            if (Form* f = forms_.form(name)) SaveControlStates(path_, *f);
        step = 3;
        cInifile ini;
        ini.Path = path_;
        ini.Section = "Misc";
        ini.DeleteSection();
        ini.Key = "SolidFillColor";
        ini.Value(std::to_string(SolidFillColor));
    } catch (const std::exception& e) {
        report("SaveOptions", step, e);
    }
}

void Options::LoadOptions(bool partial) {
    int step = 0;
    try {
        step = 1;
        if (partial) {
            for (const char* name : kPartialForms)
                if (Form* f = forms_.form(name)) RestoreControlStates(path_, *f);
            return;
        }
        for (const char* name : kFullForms)
            if (Form* f = forms_.form(name)) RestoreControlStates(path_, *f);

        step = 2;
        cInifile ini;
        ini.Path = path_;
        ini.Section = "Misc";
        ini.Key = "SolidFillColor";
        SolidFillColor = cInifile::CLngDefault(ini.Value(), SolidFillColor);
        if (ShowSolidFillColor) ShowSolidFillColor(SolidFillColor);

        step = 3;
        ini.Section = "ZEL";
        ini.Key = "InitDir";
        InitDir = ini.Value();
        ini.Key = "InitFile";
        InitFile = ini.Value();

        step = 4;
        for (const StartValue& s : kStartValues) {
            Form* f = forms_.form(s.form);
            FormControl* c =
                f ? findControl(*f, s.control, s.index < 0 ? std::nullopt : std::optional<int>(s.index))
                  : nullptr;
            if (!c) continue;
            try {
                if (s.text)
                    c->setText(s.text);
                else
                    c->setCheckValue(s.check);
            } catch (const std::exception&) {
                // a control of another type under that name keeps its value
            }
        }

        step = 5;
        if (RefreshDisplay) RefreshDisplay();
    } catch (const std::exception& e) {
        report("LoadOptions", step, e);
    }
}

void Options::writeZelKey(const char* key, std::string_view value) {
    ensureParentFolder(path_);
    cInifile ini;
    ini.Path = path_;
    ini.Section = "ZEL";
    ini.Key = key;
    ini.Value(value);
}

void Options::SaveInitDir(std::string_view folder) {
    writeZelKey("InitDir", folder);
    InitDir = folder;
}

void Options::SaveInitFile(std::string_view file) {
    writeZelKey("InitFile", file);
    InitFile = file;
}

bool Options::AskSolidFillColor() {
    int rgb[3] = {SolidFillColor & 0xFF, (SolidFillColor >> 8) & 0xFF, (SolidFillColor >> 16) & 0xFF};
    const char* questions[3] = {"Red?", "Green?", "Blue?"};
    for (int i = 0; i < 3; ++i) {
        auto answer = host_.input(questions[i], "", std::to_string(rgb[i]));
        if (!answer) return false;
        auto v = basicInteger(*answer);
        if (!v) return false;
        rgb[i] = std::clamp<int>(*v, 0, 255);
    }
    SolidFillColor = rgb[0] + (rgb[1] << 8) + (rgb[2] << 16);
    return true;
}

// An option array is stored as the index of its selected element, a check box as its value.
void Options::SaveFileUtilities(Form& dialog) {
    try {
        ensureParentFolder(path_);
        cInifile ini;
        ini.Path = path_;
        ini.Section = "FileUtilities";
        ini::FileBatch batch(path_);
        for (const char* key : kFileUtilityKeys) {
            try {
                std::string value;
                if (std::string_view(key).starts_with("opt")) {
                    const auto elements = optionArray(dialog, key);
                    if (elements.empty()) continue;
                    int selected = -1;
                    for (FormControl* c : elements)
                        if (c->optionValue()) selected = c->index().value_or(-1);
                    value = std::to_string(selected);
                } else {
                    FormControl* c = findControl(dialog, key, std::nullopt);
                    if (!c) continue;
                    value = std::to_string(c->checkValue());
                }
                ini.Key = key;
                ini.Value(value);
            } catch (const std::exception&) {
                // one control that cannot be read does not stop the others
            }
        }
    } catch (const std::exception& e) {
        report("SaveFileUtilities", 1, e);
    }
}

void Options::LoadFileUtilities(Form& dialog) {
    cInifile ini;
    ini.Path = path_;
    ini.Section = "FileUtilities";
    for (const char* key : kFileUtilityKeys) {
        try {
            ini.Key = key;
            const std::string value = ini.Value();
            if (value.empty()) continue;
            const auto n = basicInteger(value);
            if (!n) continue;
            if (std::string_view(key).starts_with("opt")) {
                if (FormControl* c = findControl(dialog, key, *n)) c->setOptionValue(true);
            } else if (FormControl* c = findControl(dialog, key, std::nullopt)) {
                c->setCheckValue(*n);
            }
        } catch (const std::exception&) {
            // values that do not fit the control are skipped
        }
    }
}

void Options::ResetOptionsFile() {
    if (host_.message(kResetQuestion, MsgButtons::OkCancel, MsgIcon::Question) != MsgResult::Ok) return;
    namespace fs = std::filesystem;
    std::error_code ec;
    if (fs::exists(path_, ec)) fs::remove(path_, ec);
    const bool gone = !fs::exists(path_, ec) && !ec;
    if (gone)
        host_.message(kResetDone, MsgButtons::Ok, MsgIcon::Information);
    else
        host_.message(kResetFailed, MsgButtons::Ok, MsgIcon::Exclamation);
    resetDone_ = true;
}

} // namespace zel
