#pragma once
// Waveforms built for the tests: pulses that jump at chosen indices and decay, as the probe's channels do.

#include <cmath>
#include <vector>

namespace zel::testing {

struct Pulse {
    int at;                   // index of the jump; the scan reports at - 1
    float amplitude = 100.0f; // the jump, against the waveform's range of about 100
};

inline std::vector<float> pulseTrain(int size, const std::vector<Pulse>& pulses, float decay = 0.8f) {
    std::vector<float> w(size, 0.0f);
    for (const Pulse& p : pulses) {
        for (int i = p.at; i < size; ++i)
            w[i] += p.amplitude * std::pow(decay, static_cast<float>(i - p.at));
    }
    return w;
}

} // namespace zel::testing
