#pragma once
// One digitised waveform as it comes from the oscilloscope: samples in millivolts, the time step and the
// delay from the trigger. The RE and the background of a log are kept in this form.

#include <vector>

namespace zel {

struct Waveform {
    std::vector<float> samples; // millivolts, indices 0..N (N = upperBound())
    float deltaX = 0.0f;        // seconds between two samples
    double delay = 0.0;         // seconds from the trigger to the first sample

    int upperBound() const { return static_cast<int>(samples.size()) - 1; }
    bool empty() const { return samples.empty(); }
};

} // namespace zel
