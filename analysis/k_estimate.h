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
// The same rule for one point, the points before it already estimated: a push estimates each point as it is
// stored, so the live K track needs no pass over the whole log.
void estimateKAt(const cZEL_Data& log, PointMatrix& presFlow, int point);

// The check of the two reference tests: 1 ft minus 0 ft must be 0.433 PSI within 10 %, both ends included.
// The readings are compared as the doubles they were averaged in.
bool referenceTestPasses(double hpt1ft, double hpt0ft);

// The two surface tests of a hydraulic-profiling push, taken before it starts and kept for its log. Each
// takes the averaged live downward pressure.
class ReferenceTests {
public:
    // The "1 ft" test: the reading becomes HPT1ft; returns the text the form shows for it ("#0.000").
    std::string TakeOneFoot(double reading);
    // The "0 ft" test: the reading becomes HPT0ft, then 1 ft minus 0 ft is checked and the result shown. The
    // readings are kept whatever the result. Returns the text the form shows for the reading.
    std::string TakeZeroFoot(double reading, Host& host);
    double OneFoot() const { return oneFoot_; }
    double ZeroFoot() const { return zeroFoot_; }
    // HPT1ft and HPT0ft of a log (a new push's, or a loaded one's).
    void ApplyTo(cZEL_Data& log) const;

private:
    double oneFoot_ = 0.0;
    double zeroFoot_ = 0.0;
};

} // namespace zel
