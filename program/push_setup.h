#pragma once
// The push's controls from the set-up (the Setup form, or zel-cli's options file and flags), and how they
// reach the push controller, the RE and the depth source. Both programs configure a push through here.

#include "acquisition/log_recorder.h"
#include "acquisition/push.h"
#include "acquisition/reference.h"
#include "program/field_rig.h"
#include "program/processing_settings.h"
#include "program/settings_model.h"

#include <optional>
#include <string>

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

// HD-board mode (the board as the digitiser): the recorder streams the board's records with the push's four
// values into the side file, and DATA_INFO takes the board's integration time and integrations per cycle
// (read from the board's status now). False, with nothing changed, when the board is not the digitiser.
bool PrepareHdRecording(BoardAdapter& board, acq::LogRecorder& recorder);

// Conductivity is logged when a source digitises it: the data board's input when the board is in the push,
// else the depth interface's analogue input 1 when it is switched on.
void PrepareConductivity(const BoardAdapter& board, const cZEL_Depth& depth, acq::LogRecorder& recorder);

// At start with the board as the digitiser: the RE and background kept in the RE reference file become the
// ones in force (the RE with the time it was written). Returns the sections taken.
int ReadReferenceFile(acq::ReferenceControl& reference, const acq::Board& board, const std::string& dataRoot);

} // namespace zel::program
