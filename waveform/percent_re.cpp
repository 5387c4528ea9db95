#include "waveform/percent_re.h"

namespace zel {

float standardPercentRE(float waveSum, float reWaveSum) {
    if (reWaveSum == 0.0f) return 0.0f;
    return static_cast<float>(static_cast<double>(waveSum) / reWaveSum * 100.0);
}

GatedPercentRE gatedPercentRE(float s, float f, float reS, float reF) {
    GatedPercentRE r;
    if (s == 0.0f || reS == 0.0f || reF == 0.0f) return r;
    const double fluorRatio = static_cast<double>(f) / reF;
    const double plain = fluorRatio * 100.0;
    const double corrected = fluorRatio / (static_cast<double>(s) / reS) * 100.0;
    double percent = corrected;
    if (plain < 3.0) {
        const double w = (3.0 - plain) / 3.0;
        percent = (1.0 - w) * corrected + w * plain;
    }
    r.valid = true;
    r.plain = static_cast<float>(plain);
    r.percent = static_cast<float>(percent);
    return r;
}

} // namespace zel
