#pragma once
// The photomultiplier signal the simulated scope digitises: one pulse per wavelength channel, each
// arriving after its optical delay, rising within the detector's response and decaying exponentially,
// plus detector noise that averaging reduces by the square root of the sweep count.

#include "app/sim/site_model.h"

#include <random>
#include <vector>

namespace zel::sim {

// Arrival of each channel's pulse after the laser trigger; the fibre delay lines set these.
constexpr double kChannelArrivalNs[4] = {640.0, 720.0, 800.0, 880.0};
constexpr double kNoiseV = 0.0015; // one sweep, volts rms

struct SampleTimes {
    double firstS = 0.0; // time of the first sample after the trigger
    double stepS = 0.8e-9;
    int count = 500;
};

// The probe's reference emitter as the detector sees it with the RE cap on: the four channels in the
// shares an Alder probe is set up for (23, 38, 27, 12 %), about 10,000 pVs in all at full brightness.
// scale < 1 plays an emitter that has dimmed or a cap that is not seated.
Fluorescence referenceEmitter(double scale);

// Volts at the input (after the channel's inversion: the pulses are positive).
std::vector<double> lifSignal(const Fluorescence& f, const SampleTimes& t, int averages, std::mt19937& rng);

} // namespace zel::sim
