#pragma once
// Per-channel decay times of a waveform by reconvolution. The channel's instrument response is the RE's
// pulse in that channel; the model is that response convolved with one exponential decay, times an
// amplitude, plus an offset. The decay time is found by a one-dimensional search (a coarse logarithmic scan,
// then a golden-section refinement); for each trial decay the amplitude and offset have a closed form, so the
// search is robust and needs no starting guess. A channel too weak to fit (its area below the cut-off) is
// flagged rather than given a number that means nothing.

#include <span>
#include <vector>

namespace zel::analysis {

struct LifetimeFit {
    double tauNs = 0.0;     // the fitted decay time; 0 when the channel was not fitted
    double amplitude = 0.0; // of the convolved model
    double offset = 0.0;
    double residual = 0.0; // root-mean-square misfit over the window, in the waveform's unit
    bool weak = false;     // the signal was below the cut-off; tauNs is 0
};

struct LifetimeSettings {
    double minTauNs = 0.2;
    double maxTauNs = 200.0;
    double cutoffArea = 0.0; // a channel whose summed signal (waveform unit x samples) is below this is weak
};

// One channel over one window: signal and response are the same samples of the point and of the RE.
LifetimeFit fitDecay(std::span<const float> signal, std::span<const float> response, double dtNs,
                     const LifetimeSettings& settings = {});

// Every channel of a waveform: windows between consecutive boundaries (the first from sample 0, the last to
// the end), boundaries as sample indices the way the RE's boundary search gives them.
std::vector<LifetimeFit> fitChannels(std::span<const float> wave, std::span<const float> re,
                                     std::span<const int> boundaries, double dtNs,
                                     const LifetimeSettings& settings = {});

// The convolved model for a given decay (amplitude 1, offset 0), as the fit uses it; for tests and plots.
std::vector<double> convolvedDecay(std::span<const float> response, double dtNs, double tauNs);

} // namespace zel::analysis
