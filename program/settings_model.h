#pragma once
// The operator's set-up in one place: the values of the persisted forms' controls, by form and control
// name. The desktop fills it from its forms (the controls as they stand), zel-cli from the options file's
// form sections (the same controls as the desktop saved them), and the command line's flags override single
// values. Everything the push and the processing take from the set-up is read from here, so a set-up made
// in zel is the one zel-cli pushes with.

#include "program/processing_settings.h"
#include "settings/form.h"

#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace zel::program {

// Forms and the names of the controls the program reads (beyond those whose names persistence fixes).
namespace control {
inline constexpr const char* kTab = "frmTab";
inline constexpr const char* kAdv = "frmAdvOptions";
inline constexpr const char* kWaveMath = "frmWaveMath";
// Setup (frmTab).
inline constexpr const char* kGPSNaming = "chkGPSNaming";
inline constexpr const char* kMetric = "chkMetric";
inline constexpr const char* kStartDepth = "txtStartDepth";
inline constexpr const char* kStopDepth = "txtStopDepth";
inline constexpr const char* kAutoStop = "chkAutoStop";
inline constexpr const char* kStartDelay = "txtStartDelay";
inline constexpr const char* kInterval = "txtInterval";
inline constexpr const char* kStep = "txtStep";
inline constexpr const char* kEmulateStop = "chkEmulateStop";
inline constexpr const char* kEmulateStopCount = "txtEmulateStopCount";
inline constexpr const char* kPresFlow = "chkPresFlow"; // hydraulic profiling: log pressure and flow
inline constexpr const char* kPFOffset = "txtPFOffset"; // the pressure port's offset from the depth, ft
// Advanced (frmAdvOptions): the processing options.
inline constexpr const char* kWidthLimit = "txtWidthLimit";
inline constexpr const char* kApplyGains = "chkChannelGain";
inline constexpr const char* kGain = "txtGain";       // array 0..3: CH1..CH4
inline constexpr const char* kExclude = "chkExclude"; // array 0..3: CH1..CH4
inline constexpr const char* kExcludeCH1 = "chkExcludeCH1";
inline constexpr const char* kCH1Correction = "txtCH1Correction";
inline constexpr const char* kFixedCutoffs = "chkFixedCutoffs";
// Advanced: the start-of-push questions and the scope's settings (the lists keep their index).
inline constexpr const char* kSuppressPrompts = "chkSuppressPrompts";
inline constexpr const char* kScopeAverage = "cmbScopeAverage";
inline constexpr const char* kScopeYScale = "cmbScopeYScale";
inline constexpr const char* kScopeREScale = "cmbScopeREScale";
inline constexpr const char* kUnlockScope = "chkUnlockScope";
// Advanced: the log page's title block.
inline constexpr const char* kCompany = "txtCompany";
inline constexpr const char* kLogoFile = "txtLogoFile";
// Wave mathematics (frmWaveMath).
inline constexpr const char* kScatterScaling = "chkScatterScaling";
inline constexpr const char* kPlainRE = "chkPlainRE";
inline constexpr const char* kFirstSample = "chkFirstSample";
inline constexpr const char* kCalloutFluorColour = "chkCalloutFluorColour";
inline constexpr const char* kBaseline = "chkBaseline";
// The waveform view's mathematics: the mean over a depth interval about the selected point, a difference,
// the normalisation to the RE, and the custom labels ("FW" keys of the plot settings).
inline constexpr const char* kAvgInterval = "chkAvgInterval";
inline constexpr const char* kAvgIntervalDepth = "txtAvgInterval"; // log unit
inline constexpr const char* kWaveDiff = "chkWaveDiff";
inline constexpr const char* kWaveDiffWith = "txtWaveDiffWith"; // a depth, FROM-TO or bg
inline constexpr const char* kNormalise = "chkNormaliseRE";
inline constexpr const char* kCustomLabels = "chkCustomLandU";
inline constexpr const char* kCustomUnit = "txtCustomUnit"; // array 0..3: x label, x unit, y label, y unit
inline constexpr const char* kCustomLegend = "txtCustomLegend"; // array 0..1: the curves' legends
} // namespace control

class SettingsModel {
public:
    // The stored value of a control as persistence keeps it: a text box's text, a check box's value
    // ("0", "1"), an option button's "True"/"False", a list's index.
    void set(std::string_view form, std::string_view name, std::string value,
             std::optional<int> index = std::nullopt);
    std::optional<std::string> value(std::string_view form, std::string_view name,
                                     std::optional<int> index = std::nullopt) const;

    // The persisted forms' sections of an options file (keys "ordinal,name[,index]"); a missing file or
    // section leaves the values as they are.
    void readOptionsFile(const std::string& iniPath);
    // The controls of the program's forms as they stand.
    void readForms(FormSet& forms);

    bool checked(std::string_view form, std::string_view name, std::optional<int> index = std::nullopt) const;
    // A number typed into a box ("." the separator); nothing for a missing, empty or bad text.
    std::optional<double> number(std::string_view form, std::string_view name,
                                 std::optional<int> index = std::nullopt) const;
    std::string text(std::string_view form, std::string_view name) const;

private:
    std::map<std::string, std::string> values_;
};

// The processing options of the Advanced and wave-mathematics forms.
ProcessingSetup ReadProcessingSetup(const SettingsModel& model);

// How a program without forms (zel-cli's loads) processes logs: the options file's set-up under the data
// root, each log in its own mode (programMode for a log that names none).
PointProcessingSetup OptionsFileLoadProcessing(int programMode = 0);

} // namespace zel::program
