#pragma once
// Hydraulic profiling in the running program: the pressure/flow unit taken into a push when the set-up asks
// for it, the two surface reference tests taken from the live averaged downward pressure, and the
// dissipation tests the push records. zel and zel-cli both go through here.

#include "acquisition/log_recorder.h"
#include "acquisition/push.h"
#include "analysis/k_estimate.h"
#include "common/clock.h"
#include "common/host.h"
#include "program/field_rig.h"
#include "program/push_setup.h"

#include <optional>
#include <string>

namespace zel::program {

// Before a push: the unit in use or not, the recorder's pressure/flow set-up (offset, calibration, the
// reference tests' readings). A set-up that asks for pressure and flow while the unit's line is not open
// is said once; the push then goes on without them.
void ConfigureHydraulics(const PushSetup& setup, const ReferenceTests& tests, PresFlowAdapter& unit,
                         acq::PushControl& push, acq::LogRecorder& recorder, Host& host);

// The live reading the reference tests take: the running average of the unit's downward pressure, once it
// holds a whole averaging window of readings that came after this call (the probe was just put in place).
// Waits at most timeoutMs; none, with the reason shown, when the unit is not open or did not answer.
std::optional<double> AwaitAveragedPresDown(cZEL_PresFlow& unit, Host& host, const Clock& clock,
                                            int timeoutMs = 10000);

enum class ReferenceTestKind { OneFoot, ZeroFoot };
// Takes one reference test from the live average; returns the text the form shows for the reading, or none
// when no reading could be had.
std::optional<std::string> TakeLiveReferenceTest(ReferenceTestKind kind, ReferenceTests& tests,
                                                 cZEL_PresFlow& unit, Host& host, const Clock& clock);

// zel-cli's "DEPTH[:SECONDS]" of a dissipation test (seconds 10 .. 3600, default 120). None for a bad text.
std::optional<acq::DissipationRequest> ParseDissipationRequest(const std::string& text);

} // namespace zel::program
