#pragma once
// The photomultiplier signal the simulated scope digitises: one pulse per wavelength channel, each
// arriving after its optical delay, rising within the detector's response and decaying exponentially,
// plus detector noise that averaging reduces by the square root of the sweep count.

#include "app/sim/site.h"

#include <random>
#include <vector>

namespace zel::sim {

constexpr double kNoiseV = 0.0015; // one sweep, volts rms

struct Fluorescence {
    std::vector<double> amplitudeV; // peak of each wavelength channel, volts at the detector
    std::vector<double> decayNs;    // decay time of each channel
};

struct SampleTimes {
    double firstS = 600e-9; // time of the first sample after the trigger
    double stepS = 0.8e-9;
    int count = 500;
};

// Arrival of each channel's pulse after the laser trigger; the fibre delay lines set these (four channels
// 80 ns apart, seven 50 ns apart).
std::vector<double> channelArrivalsNs(int channels);

// The probe's reference emitter as the detector sees it with the RE cap on: four channels in the shares an
// Alder probe is set up for (23, 38, 27, 12 %), seven in a seven-channel probe's, about 10,000 pVs in all at
// full brightness. scale < 1 plays an emitter that has dimmed or a cap that is not seated.
Fluorescence referenceEmitter(double scale, int channels = 4);

// The ground's light: each channel's amplitude set so that, over the record the scope takes, its area
// against the full-brightness emitter's is the ground's %RE times the channel's share.
Fluorescence groundLight(const GroundAt& ground, const SampleTimes& t);

// Volts at the input (after the channel's inversion: the pulses are positive).
std::vector<double> lifSignal(const Fluorescence& f, const SampleTimes& t, int averages, std::mt19937& rng);

} // namespace zel::sim
