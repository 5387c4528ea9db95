#pragma once
// One waveform processed against an RE, the way acquisition does it, as a pure function for tools
// (zel-cli wave) and checks.
//
// Sequence: the background (when given) is subtracted from the RE, the RE's boundaries are searched and
// the RE is processed as the normalisation base (scatter ratio, fibre length from re.delay); then the
// point waveform gets the RE's boundaries and reference values, has the background subtracted and is
// processed. The inputs are not changed: the work is done on copies.
//
// Messages (the generic-boundary warning, errors) go to `host`; a console host collects them for the
// tool's "messages" output. Each waveform's own deltaX is used for its areas.

#include "common/host.h"
#include "waveform/waveform_options.h"
#include "waveform/waveform_record.h"

#include <cstdint>
#include <vector>

namespace zel {

struct WaveAnalysis {
    bool ok = false;                      // false when processing reported an error through the host
    std::vector<std::int32_t> boundaries; // 3 or 6 sample indices, found on the RE
    std::int32_t firstRise = 0;           // index of the RE's first rise
    std::vector<float> sums;              // per channel (4 or 7), un-gained
    std::vector<float> areas;             // per channel, pVs
    std::vector<float> shape;             // per channel, relative to the largest sum
    float areaTotal = 0.0f;               // pVs
    float S = 0.0f;                       // scatter value (CH1)
    float F = 0.0f;                       // fluorescence value (CH2 to the last channel)
    float SF = 0.0f;                      // S + F
    float pctRE = 0.0f;                   // %RE
    bool lowSignal = false;               // gated layout: CH1 was raised to the noise floor
    float scatterRatio = 0.0f;            // F / S of the RE
    float fibreLengthM = 0.0f;            // from the RE's delay
};

// mode: operating mode (fibre group index). gated: the gated layout (acquisition type 1), whose first
// pulse is the scatter peak. background may be null.
WaveAnalysis analyseWave(const Waveform& re, const Waveform& wave, const Waveform* background, int mode,
                         bool gated, Host& host, const WaveformOptions& options = {});

} // namespace zel
