#pragma once
// The push's controls from the set-up (the Setup form, or zel-cli's options file and flags), and how they
// reach the push controller, the RE and the depth source. Both programs configure a push through here.

#include "acquisition/log_recorder.h"
#include "acquisition/push.h"
#include "acquisition/reference.h"
#include "program/field_rig.h"
#include "program/processing_settings.h"
#include "program/settings_model.h"
#include "settings/startup/startup_settings.h"

#include <optional>
#include <string>
#include <vector>

namespace zel::program {

struct PushSetup {
    bool metric = false;
    // The depth the encoder is reset to at the start (log unit); none: 0.
    std::optional<float> startDepth;
    // Automatic stop at this depth (log unit); none: no automatic stop.
    std::optional<float> stopDepth;
    int startDelaySeconds = 0;
    // The timed variant: a point every interval (2 .. 300 s), the depth advancing by interval / 60.
    bool timed = false;
    float intervalSeconds = 2.0f;
    bool continuous = false;
    // The emulator stops by itself after this many steps; 0: it does not.
    int emulationStopCount = 0;
    std::string stepText = "0.05";
    // Hydraulic profiling: the pressure/flow unit's readings with every point ("/PF" ticks the box), the
    // pressure port's offset from the probe's depth reference (feet).
    bool presFlow = false;
    float pfOffsetFt = 0.0f;
};

// The Setup form's push controls. The timed and continuous variants are commands, not stored settings: they
// stay off here.
PushSetup ReadPushSetup(const SettingsModel& model);

// The RE gates' exemptions and options of the Advanced form.
acq::GateOptions ReadGateOptions(const SettingsModel& model);

// Before an RE, a background or a push: the RE gates' options and whether the start-of-push questions (and
// the rate report) are skipped.
void ConfigureGates(const SettingsModel& model, acq::ReferenceControl& reference);

// The Advanced form's scope settings. A list's value stands unless a switch of this session ("/S", "/Y",
// "/RE") chose it; "/NOLOCK" leaves the front panel unlocked whatever the box says.
struct ScopeSetup {
    int averaging = 64; // sweeps averaged a waveform
    int yScale = 5;     // mV a division: the smallest the push's auto-scale may reach
    int reScale = 50;   // mV a division the RE is taken at
    bool unlock = false;
};
ScopeSetup ReadScopeSetup(const SettingsModel& model, const StartupSettings& switches);

// Before an RE, a background or a push: the averaging count goes to the scope, the RE scale to the RE's
// acquisition, the minimum scale and the front-panel lock to the push.
void ConfigureScope(const ScopeSetup& setup, ScopeAdapter& scope, acq::ReferenceControl& reference);

// Before an RE or background is taken: the layout and options its processing needs.
void ConfigureReference(const ProcessingSettings& processing, acq::ReferenceControl& reference);

// Before a push starts: the controller's settings and the depth source's stop depth and unit. `processing`
// is derived with the RE in force (its boundary count and the firmware it was taken with).
void ConfigurePush(const PushSetup& setup, const ProcessingSettings& processing, acq::PushSettings& push,
                   DepthAdapter& depth);

// After an RE or a background was taken with the data board in use: the RE reference file under the data
// root gets the RE's channel areas ("HD-RE") and the background's in the RE's channels ("HD-BK"); with the
// board as the digitiser, the four channel values it read. A background taken before any RE is written
// with the next RE. False when nothing was written.
bool WriteReferenceFile(int kind, const acq::ReferenceControl& reference, const acq::Board& board,
                        const std::string& dataRoot, const Clock& clock);

// The baseline feature (the wave-mathematics form's box): the stored baseline of a raw log (DATA_INFO
// "BASELINE"), taken as a load with the feature on takes it, becomes the baseline of the pushes that follow
// and goes into their logs. Empty, with the reason shown, when the log cannot be read or keeps none.
std::vector<float> StoredBaseline(const std::string& rawLog, Host& host, const Clock& clock);
// The push's log carries the baseline in use (nothing without one).
void UseBaseline(const std::vector<float>& baseline, LogArrays& arrays, acq::LogRecorder& recorder);

// HD-board mode (the board as the digitiser): the recorder streams the board's records with the push's four
// values into the side file, and DATA_INFO takes the board's integration time and integrations per cycle
// (read from the board's status now). False, with nothing changed, when the board is not the digitiser.
bool PrepareHdRecording(BoardAdapter& board, acq::LogRecorder& recorder);

// Conductivity is logged when a source digitises it: the data board's input when the board is in the push,
// else the depth interface's analogue input 1 when it is switched on.
void PrepareConductivity(const BoardAdapter& board, const cZEL_Depth& depth, acq::LogRecorder& recorder);

// The set-up's conductivity calibration into the push's log: the constants the depth driver converts with
// (DATA_INFO "Conductivity_Constant(0)" .. "(2)": offset, constant, second-order term) and the voltages
// read in the standard solutions with their conductivities ("Conductivity_V0" .. "Conductivity_mS560").
void RecordConductivityCalibration(const FieldConfig& config, cZEL_Data& log, RawLogContext& context);

// At start with the board as the digitiser: the RE and background kept in the RE reference file become the
// ones in force (the RE with the time it was written). Returns the sections taken.
int ReadReferenceFile(acq::ReferenceControl& reference, const acq::Board& board, const std::string& dataRoot);

} // namespace zel::program
