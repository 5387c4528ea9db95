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

void estimateK(const cZEL_Data& log, PointMatrix& presFlow) {
    if (presFlow.width() <= presflow_column::KEstimate) return;
    const float p0 = log.HPT1ft() == 0.0f ? static_cast<float>(kDefaultReferencePsi)
                                          : log.HPT1ft() - static_cast<float>(kPsiPerFootOfWater);
    float wt = log.DisWTavg(); // kept in feet whatever the log's unit
    if (wt <= 0.0f) wt = static_cast<float>(kNoWaterTableFt);
    float previous = kFloor;
    for (int i = 0; i < presFlow.points(); ++i) {
        const double k =
            pointK(presFlow(presflow_column::Depth, i), presFlow(presflow_column::PressureDown, i),
                   presFlow(presflow_column::FlowUp, i), p0, wt, log.Metric());
        float stored;
        if (k >= kFloor)
            stored = static_cast<float>(k);
        else if (static_cast<float>(k) == kNoEstimate)
            stored = previous;
        else
            stored = kFloor;
        presFlow(presflow_column::KEstimate, i) = stored;
        previous = stored;
    }
}

bool referenceTestPasses(float hpt1ft, float hpt0ft) {
    // The readings are 4-byte values, so the window is compared in that precision too: a difference that is
    // 0.3897 as the dialog holds it passes, whatever its binary expansion.
    const float difference = hpt1ft - hpt0ft;
    return difference >= 0.3897f && difference <= 0.4763f;
}

std::string takeOneFootTest(cZEL_Data& log, float reading) {
    log.HPT1ft(reading);
    return formatNumber(reading, "#0.000");
}

std::string takeZeroFootTest(cZEL_Data& log, float reading, Host& host) {
    log.HPT0ft(reading);
    const float difference = log.HPT1ft() - log.HPT0ft();
    const std::string tested = "Tested value = " + formatNumber(difference, "#0.000") + "\r\n";
    if (referenceTestPasses(log.HPT1ft(), log.HPT0ft()))
        host.message(tested + "Passed test.", MsgButtons::Ok, MsgIcon::None);
    else
        host.message(tested + "Failed test. Outside of target +/- 10% range.\r\n" +
                         "Target value of [1ft test] - [0ft test] = 0.433 PSI",
                     MsgButtons::Ok, MsgIcon::Critical);
    return formatNumber(reading, "#0.000");
}

} // namespace zel
