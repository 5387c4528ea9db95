#include "analysis/k_estimate.h"

#include "common/number_text.h"

#include <cmath>

namespace zel {

using namespace k_estimate;

// The pressures are 4-byte readings and are combined in that precision, so a corrected pressure that is
// zero in the readings' own terms is exactly zero here.
double pointK(double depth, double presDown, double flow, double p0, double waterTableFt, bool metric) {
    // The relation was fitted in feet; a metric log is converted in and the result converted back out.
    const float dFt = static_cast<float>(metric ? depth / kFeetPerMetre : depth);
    const float wt = static_cast<float>(waterTableFt);
    float pc = static_cast<float>(presDown) - static_cast<float>(p0);
    // Below the water table the column of water above the probe pushes back; that head is not the
    // formation's resistance.
    if (dFt >= wt) pc -= (dFt - wt) * static_cast<float>(kPsiPerFootOfWater);
    if (pc == 0.0f) pc = static_cast<float>(kZeroPressureSubstitute);
    const double ratio = flow / pc;
    if (!(ratio > 0.0)) return kNoEstimate;
    double k = 20.0 * std::log(ratio) + 7.0;
    if (metric) k *= kFeetPerMetre;
    return k;
}

namespace {

float referencePressure(const cZEL_Data& log) {
    return log.HPT1ft() == 0.0f ? static_cast<float>(kDefaultReferencePsi)
                                : log.HPT1ft() - static_cast<float>(kPsiPerFootOfWater);
}

float waterTableFt(const cZEL_Data& log) {
    const float wt = log.DisWTavg(); // kept in feet whatever the log's unit
    return wt <= 0.0f ? static_cast<float>(kNoWaterTableFt) : wt;
}

float storedEstimate(const cZEL_Data& log, const PointMatrix& presFlow, int i, float p0, float wt,
                     float previous) {
    const double k = pointK(presFlow(presflow_column::Depth, i), presFlow(presflow_column::PressureDown, i),
                            presFlow(presflow_column::FlowUp, i), p0, wt, log.Metric());
    if (k >= kFloor) return static_cast<float>(k);
    if (static_cast<float>(k) == kNoEstimate) return previous;
    return kFloor;
}

} // namespace

void estimateK(const cZEL_Data& log, PointMatrix& presFlow) {
    if (presFlow.width() <= presflow_column::KEstimate) return;
    const float p0 = referencePressure(log);
    const float wt = waterTableFt(log);
    float previous = kFloor;
    for (int i = 0; i < presFlow.points(); ++i) {
        previous = storedEstimate(log, presFlow, i, p0, wt, previous);
        presFlow(presflow_column::KEstimate, i) = previous;
    }
}

void estimateKAt(const cZEL_Data& log, PointMatrix& presFlow, int point) {
    if (presFlow.width() <= presflow_column::KEstimate || point < 0 || point >= presFlow.points()) return;
    const float previous = point > 0 ? presFlow(presflow_column::KEstimate, point - 1) : kFloor;
    presFlow(presflow_column::KEstimate, point) =
        storedEstimate(log, presFlow, point, referencePressure(log), waterTableFt(log), previous);
}

bool referenceTestPasses(double hpt1ft, double hpt0ft) {
    // The window's ends are decimal numbers and so are the readings; their binary difference may miss an
    // end by a few units in the last place (18.8897 - 18.5 is 0.38969999999999843), which must not fail a
    // difference that is exactly on it. Far below any reading's resolution.
    constexpr double kEndSlack = 1e-9;
    const double difference = hpt1ft - hpt0ft;
    return difference >= 0.3897 - kEndSlack && difference <= 0.4763 + kEndSlack;
}

std::string ReferenceTests::TakeOneFoot(double reading) {
    oneFoot_ = reading;
    return formatNumber(reading, "#0.000");
}

std::string ReferenceTests::TakeZeroFoot(double reading, Host& host) {
    zeroFoot_ = reading;
    const double difference = oneFoot_ - zeroFoot_;
    const std::string tested = "Tested value = " + formatNumber(difference, "#0.000") + "\r\n";
    if (referenceTestPasses(oneFoot_, zeroFoot_))
        host.message(tested + "Passed test.", MsgButtons::Ok, MsgIcon::None);
    else
        host.message(tested + "Failed test. Outside of target +/- 10% range.\r\n" +
                         "Target value of [1ft test] - [0ft test] = 0.433 PSI",
                     MsgButtons::Ok, MsgIcon::Critical);
    return formatNumber(reading, "#0.000");
}

void ReferenceTests::ApplyTo(cZEL_Data& log) const {
    log.HPT1ft(static_cast<float>(oneFoot_));
    log.HPT0ft(static_cast<float>(zeroFoot_));
}

} // namespace zel
