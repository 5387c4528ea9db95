#pragma once
// The program-wide switches that change how waveforms are processed. They live on the set-up forms and in
// the options file; the waveform instances get a copy, so nothing here reads global state.

namespace zel {

struct WaveformOptions {
    // Gated layout: scale S by the RE's normalised scatter ratio before %RE, and keep S at least at the
    // scatter floor.
    bool scatterScaling = false;
    // Gated layout: report F / F of the RE alone, without the scatter correction.
    bool plainPercentRE = false;
    // Diagnostic: store sample 0 as the point's %RE (to watch the baseline of a probe).
    bool firstSample = false;
    // Multiply the channel sums of point waveforms by the user's channel gains.
    bool applyGains = false;
    // Skip the RE boundary search: every RE gets the boundaries 30, 60, 90 and no warning.
    bool fixedCutoffs = false;
    // Callouts are coloured by their fluorescence channels alone: the callout's colour is the
    // fluorescence-only colour.
    bool calloutFluorColour = false;
};

} // namespace zel
