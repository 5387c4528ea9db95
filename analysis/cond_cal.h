#pragma once
// The conductivity probe's calibration in the four standard solutions (0, 25, 266 and 560 mS/m).
//
// The probe's circuit gives a voltage that rises with conductivity, not quite in proportion (the
// electrodes polarise more in the stronger solutions), so the calibration is a second-order curve:
//
//     mS/m = c0 + c1 V + c2 V^2
//
// fitted by least squares through the four readings. c0 is the offset the depth driver applies
// (`Cond_Offset`), c1 its constant (`Cond_Constant`), c2 the curvature (`Cond_Constant2`; 0 gives the plain
// straight line of an uncalibrated set-up). A log keeps them as "Conductivity_Constant(0)" .. "(2)" in the
// same order, beside the four voltages and conductivities they were fitted from.

#include <array>
#include <optional>
#include <string>

namespace zel::cond_cal {

inline constexpr int kSolutions = 4;
// The standard solutions, mS/m, and their names in the log's keys ("Conductivity_V266").
inline constexpr std::array<float, kSolutions> kSolutionMs = {0.0f, 25.0f, 266.0f, 560.0f};
inline constexpr std::array<const char*, kSolutions> kSolutionNames = {"0", "25", "266", "560"};
// The analogue inputs read 0 to 5 V in 4096 steps; a reading this near either end has run off the scale.
inline constexpr float kFullScaleV = 5.0f;
inline constexpr float kRailMarginV = 0.01f;

struct Calibration {
    std::array<float, kSolutions> volts{};
    std::array<float, kSolutions> ms = kSolutionMs;
    std::array<float, 3> constants{}; // c0, c1, c2

    double conductivity(double volts) const;
};

// Fits the curve through the readings. Refused, with the reason in `error`, when a reading is not a
// number, lies at either end of the input's range, or the voltages do not rise with the conductivity (a
// solution read twice, the probe out of the liquid, the wires crossed).
std::optional<Calibration> fit(const std::array<float, kSolutions>& volts, std::string& error,
                               const std::array<float, kSolutions>& ms = kSolutionMs);

// The largest difference between a solution's conductivity and what the fitted curve gives at its voltage.
double worstResidual(const Calibration& c);

} // namespace zel::cond_cal
