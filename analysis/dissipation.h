#pragma once
// Pore-pressure dissipation tests of a hydraulic-profiling push: with the rods held and the injection
// stopped, the downward pressure falls to the static head of the water above the probe. The level it
// settles at gives the water table, which the K estimate needs to take that head off every point below it.
//
// The curves are kept in a side file beside the raw log ("x.lif.dis.txt" for "x.lif.raw.bin"), which the raw
// log's readers never need: the log itself carries each test's depth, static pressure and water table.

#include <optional>
#include <string>
#include <vector>

namespace zel {

struct DissipationCurve {
    int test = 0;                // slot 0..4 of the log
    float depth = 0.0f;          // where the rods were held, in the log's unit
    std::vector<float> timeS;    // seconds since the injection stopped
    std::vector<float> presDown; // PSI
};

namespace dissipation {
inline constexpr int kMaxTests = 5;
// The tail of the curve whose mean is the level it settled at.
inline constexpr double kLevelShare = 0.25;
inline constexpr int kMinLevelReadings = 3;
inline constexpr int kMinFitReadings = 8;
} // namespace dissipation

// The static pressure the curve settles at. The fall of a dissipation test is close to an exponential
// p(t) = level + b e^(-t / tau); the level of the best such curve (least squares, tau scanned) is taken, so a
// test stopped before the very end still gives its level. Curves of fewer than eight readings, or whose best
// tau is longer than the test itself (no level in sight), take the mean of the readings in the last quarter
// of their time (at least three). None for a curve too short to tell.
std::optional<double> staticPressure(const DissipationCurve& curve);

// Whether the curve has levelled: over the last `windowS` seconds its pressure moved less than `tolerancePsi`
// between the first and second half of that window (means, so the transducer's noise does not decide).
bool levelled(const DissipationCurve& curve, double windowS, double tolerancePsi);

// The water-table depth (ft) a static pressure at a depth (ft) stands for: the head above the transducer's
// reference (HPT1ft - 0.433, or 18.6 PSI without a 1 ft test) at 0.433 PSI a foot of water.
double waterTableFromStatic(double depthFt, double staticPsi, float hpt1ft);

// The side file of a raw log: its path, and the curves written and read as tab-separated text ("Test",
// "Depth", "Time", "PresDown", one line a reading).
std::string dissipationFilePath(const std::string& rawLogPath);
bool writeDissipationFile(const std::string& path, const std::vector<DissipationCurve>& curves,
                          std::string& error);
// Lines that do not parse, tests outside 0..4 and more than 100,000 readings a test are refused with the line
// named; a missing file is no error (an empty list).
std::optional<std::vector<DissipationCurve>> readDissipationFile(const std::string& path, std::string& error);

} // namespace zel
