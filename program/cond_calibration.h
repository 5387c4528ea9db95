#pragma once
// Taking the conductivity calibration at the rig: the live voltage of the conductivity input with the probe
// in each standard solution, and the fitted curve put into the running depth driver and the set-up (the
// options file's "Comm" section, so every later push and start uses it). zel-cli cond-cal and the
// desktop's calibration form share it.

#include "analysis/cond_cal.h"
#include "common/clock.h"
#include "common/host.h"
#include "instruments/field/field_instruments.h"

#include <optional>
#include <string>

namespace zel::program {

// Where the conductivity voltage comes from: the data board's 5-volt column in HD-board mode when the
// board answered, else the depth interface board's analogue input 1. None for the depth sources without an
// analogue input (emulation, AD4, PCU, CAN) or when neither is open.
enum class CondInput { None, DepthBoard, DataBoard };
CondInput ConductivityInput(FieldInstruments& in, bool hdMode);
// What the operator is told when there is no input to calibrate.
inline constexpr const char* kNoCondInput =
    "The conductivity calibration needs the depth interface board (or the data board in HD-board mode): "
    "the depth source in use has no conductivity input.";

struct CondReading {
    int settleMs = 1000; // readings in this time after the probe went in are left out
    int readings = 10;   // readings averaged
    int timeoutMs = 10000;
};

// The mean voltage of the input's next readings, after the settling time; none (with the reason shown)
// when the input sent too few within the time-out.
std::optional<float> ReadConductivityVolts(FieldInstruments& in, CondInput input, Host& host,
                                           const Clock& clock, const CondReading& how = {});

// The calibration into the running depth driver and the set-up in memory (drivers' Config), then into the
// options file; false when the file could not be written (the running drivers use it anyway).
bool ApplyConductivityCalibration(const cond_cal::Calibration& c, FieldInstruments& in,
                                  const std::string& optionsPath);

} // namespace zel::program
