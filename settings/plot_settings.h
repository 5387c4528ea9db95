#pragma once
// The plot-settings set: the fixed list of keys that describes how a log is plotted. It is the "Settings"
// section of a log's plot-settings file and the section of a preset. Each key is a form tag ("FT" frmTab,
// "FA" frmAdvOptions, "FC" frmCallout, "FW" frmWaveMath) and a control name, with the element's index
// appended for a control array; a few keys describe the extra plot windows instead of a control.

#include "settings/data_root.h"
#include "settings/form.h"
#include "settings/ini_file.h"

#include <array>
#include <string>
#include <vector>

namespace zel {

// The three extra plot windows and the cluster window.
struct PlotWindows {
    std::array<bool, 3> visible{};             // "PlotVisible1".."3"
    std::array<int, 3> choice{};               // "PlotChoice1".."3": what each window shows
    std::array<std::array<int, 3>, 3> width{}; // "PlotWidth" + window (1..3) + setting (0..2)
    bool clusterVisible = false;               // "ClusterVisible"
    friend bool operator==(const PlotWindows&, const PlotWindows&) = default;
};

// The keys in the order they are written and read.
std::vector<std::string> plotSettingsKeys();

// Writes the whole set, every key in order, into ini's current Path and Section: a text box's text, a check
// box's value ("0", "1"), an option button's value ("True", "False"). A key whose control this program
// lacks (or cannot read) takes the value the options file at storedOptionsPath keeps for that control (the
// form's section, key "ordinal,name[,index]"), or else the control's design default, so that every log and
// preset carries the full set whichever program wrote it.
void SavePlotSettings(cInifile& ini, FormSet& forms, const PlotWindows& windows,
                      const std::string& storedOptionsPath = optionsFilePath());
// The value a key takes when neither a control nor the options file gives one; "" for an unknown key.
std::string plotSettingDefault(std::string_view key);
// Reads the set from ini's current Path and Section. A missing key (empty value) leaves its control as it
// is; check boxes go through an integer conversion, option buttons through a boolean one, and a value that
// does not convert leaves the control as it is too.
void LoadPlotSettings(const cInifile& ini, FormSet& forms, PlotWindows& windows);

} // namespace zel
