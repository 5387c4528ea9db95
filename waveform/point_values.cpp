// From channel sums to the values a depth point stores: S, F, areas, shape and %RE.

#include "waveform/percent_re.h"
#include "waveform/waveform.h"

#include <algorithm>
#include <cmath>

namespace zel {

namespace {

constexpr int kCorrectedFirmware = 20104; // first firmware whose CH1 carries the correction term
constexpr float kZeroSubstitute = 0.01f;  // keeps ratios of S, F and S + F finite
constexpr float kPercentFloor = 0.1f;     // the log's %RE never goes below this

float populationStdDev(std::span<const float> w) {
    if (w.empty()) return 0.0f;
    double mean = 0.0;
    for (float v : w)
        mean += v;
    mean /= static_cast<double>(w.size());
    double squares = 0.0;
    for (float v : w)
        squares += (v - mean) * (v - mean);
    return static_cast<float>(std::sqrt(squares / static_cast<double>(w.size())));
}

} // namespace

void cZEL_Waveform::finishPointValues(std::span<const float> w, bool isRe) {
    const int used = ChannelsUsed();

    for (int k = 0; k < kGainChannels; ++k) {
        if (Exclude[k]) ChannelSum[k] = 0.0f;
    }
    if (ExcludeCH1) ChannelSum[0] = 0.0f;

    // The RE is the normalisation base and is never gained; points are gained for S, F and the areas,
    // but keep their raw sums.
    const bool gained = !isRe && Options.applyGains;
    if (gained) {
        for (int k = 0; k < kGainChannels; ++k)
            ChannelSum[k] *= gainOf(k);
    }

    float s = ChannelSum[0];
    if (!isRe && CH1Correction != 0.0f && AcqType == 1 && FirmwareVersion >= kCorrectedFirmware &&
        RE_FluorSum != 0.0f) {
        s = ChannelSum[0] - (CH1Correction * 2000.0f / RE_FluorSum - 14.0f);
    }
    if (s == 0.0f) s = kZeroSubstitute;
    if (Gated() && Options.scatterScaling) {
        const float scatterFloor = FixedIndex ? 0.0001f : 10.0f;
        if (s < scatterFloor) s = scatterFloor;
    }
    float f = 0.0f;
    for (int k = 1; k < used; ++k)
        f += ChannelSum[k];
    if (f == 0.0f) f = kZeroSubstitute;
    float sf = s + f;
    if (sf == 0.0f) sf = kZeroSubstitute;
    Wave_ScatSum = s;
    Wave_FluorSum = f;
    Wave_WaveSum = sf;

    float total = 0.0f;
    if (!FixedIndex) {
        for (int k = 0; k < used; ++k) {
            Wave_AreaCH[k] = static_cast<float>(static_cast<double>(ChannelSum[k]) * DeltaX * 1e9);
            total += Wave_AreaCH[k];
        }
    }
    Wave_Area = total;
    if (gained) {
        for (int k = 0; k < kGainChannels; ++k)
            ChannelSum[k] /= gainOf(k);
    }

    // Shape: the channels relative to the largest. A negative channel lifts all of them by its size but
    // the divisor stays the largest raw sum, so the largest shape value then exceeds 1. That is deliberate:
    // do not renormalise after the lift.
    float lowest = 999.0f;
    float highest = -999.0f;
    for (int k = 0; k < used; ++k) {
        lowest = std::min(lowest, ChannelSum[k]);
        highest = std::max(highest, ChannelSum[k]);
    }
    const float lift = lowest < 0.0f ? -lowest : 0.0f;
    const float divisor = highest == 0.0f ? 1.0f : highest;
    for (int k = 0; k < used; ++k)
        ChannelShape[k] = (ChannelSum[k] + lift) / divisor;

    float percent = 0.0f;
    if (!Gated()) {
        percent = standardPercentRE(Wave_WaveSum, RE_WaveSum);
    } else {
        const float normRatio = NormScatterRatio == 0.0f ? 1.0f : NormScatterRatio;
        if (Options.scatterScaling && !NoScatterScaling) Wave_ScatSum *= normRatio;
        const GatedPercentRE g = gatedPercentRE(Wave_ScatSum, Wave_FluorSum, RE_ScatSum, RE_FluorSum);
        if (g.valid) {
            percent = g.percent;
            if (Wave_FluorSum < 1.0f) Wave_FluorSum = 1.0f;
        }
        if (Options.plainPercentRE) percent = g.plain;
    }
    if (percent < kPercentFloor) percent = kPercentFloor;
    if (Options.firstSample && !w.empty()) percent = w[0];
    Wave_Signal = percent;

    Wave_Color = 0.0f;
    Wave_ColorFluor = 0.0f;
    Wave_StdDev = ComputeStdDev ? populationStdDev(w) : 0.0f;
}

} // namespace zel
