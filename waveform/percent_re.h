#pragma once
// Signal as a percentage of the RE. The standard layout compares the whole signal S + F with the RE's;
// the gated layout compares the fluorescence alone and corrects it by the change of the scatter against
// the RE's scatter.

namespace zel {

// (S + F) / (S + F of the RE) x 100; 0 when the RE has no signal.
float standardPercentRE(float waveSum, float reWaveSum);

struct GatedPercentRE {
    bool valid = false;   // false when S, the RE's S or the RE's F is 0: the %RE is then 0
    float plain = 0.0f;   // F / F of the RE x 100
    float percent = 0.0f; // the scatter-corrected %RE, blended towards plain below 3
};

// Corrected = (F / F of the RE) / (S / S of the RE) x 100. Below a plain 3 % the correction is faded out
// linearly (weight (3 - plain) / 3 on the plain value), so that weak points are not dominated by the
// correction.
GatedPercentRE gatedPercentRE(float s, float f, float reS, float reF);

} // namespace zel
