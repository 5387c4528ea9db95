#include "waveform/fibre_length.h"

namespace zel {

namespace {

constexpr double kInstrumentDelayNs = 110.1464;
// Metres per nanosecond as the probes were calibrated with; not the exact speed of light, and the field
// lengths depend on this value.
constexpr double kLightMetresPerNs = 0.2997992;

} // namespace

double groupIndex(int mode, int boundaryCount) {
    if (boundaryCount > 3) return 1.4761;
    switch (mode) {
    case 0:
    case 4:
    case 51: return 1.4769;
    case 1:
    case 52: return 1.4607;
    case 2:
    case 3:
    case 21: return 1.4580;
    case 7: return 1.4761;
    default: return 1.4688;
    }
}

float fibreLength(double delaySeconds, int mode, int boundaryCount) {
    if (delaySeconds == 0.0) return 0.0f;
    const double halfDelayNs = delaySeconds * 1e9 / 2.0;
    return static_cast<float>((halfDelayNs - kInstrumentDelayNs) * kLightMetresPerNs /
                              groupIndex(mode, boundaryCount));
}

} // namespace zel
