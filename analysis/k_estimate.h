#pragma once
// The hydraulic-profiling estimate of hydraulic conductivity ("K est.") for every point of a log that carries
// pressure and flow, and the operator's two surface tests that set its reference pressure.
#include "common/host.h"
#include "log/log_arrays.h"
#include "log/log_data.h"

namespace zel {

namespace k_estimate {
inline constexpr double kPsiPerFootOfWater = 0.433;
inline constexpr double kDefaultReferencePsi = 18.6; // when no 1 ft test was taken
inline constexpr double kNoWaterTableFt = 9999.0;
inline constexpr double kFeetPerMetre = 0.3048; // the factor ft -> m, as the probe's firmware uses it
inline constexpr double kZeroPressureSubstitute = -0.001;
inline constexpr float kNoEstimate = -1.111f;
inline constexpr float kFloor = 0.1f;
} // namespace k_estimate

// The estimate of one point before the floor: K = 20 ln(Q / Pc) + 7 (ft/day, m/day in a metric log), or
// kNoEstimate when Q / Pc is not positive. depth is in the log's unit; p0 and waterTableFt as the log gives
// them (see estimateK).
double pointK(double depth, double presDown, double flow, double p0, double waterTableFt, bool metric);

// Rewrites the K column of every point of the pressure/flow array from HPT1ft, DisWTavg and Metric. A point
// without a usable ratio repeats the previous point's estimate (0.1 for the first point); no stored
// estimate is below 0.1. A log without the pressure/flow table is left as it is.
void estimateK(const cZEL_Data& log, PointMatrix& presFlow);

// The check of the two reference tests: 1 ft minus 0 ft must be 0.433 PSI within 10 %, both ends included.
bool referenceTestPasses(float hpt1ft, float hpt0ft);
// The "1 ft" test: the reading becomes HPT1ft; the text the dialog shows for it ("#0.000").
std::string takeOneFootTest(cZEL_Data& log, float reading);
// The "0 ft" test: the reading becomes HPT0ft, then the difference is checked and the result shown. The
// readings are kept whatever the result. Returns the text the dialog shows for the reading.
std::string takeZeroFootTest(cZEL_Data& log, float reading, Host& host);

} // namespace zel
