#pragma once
// Channel boundary search on the RE. The channels of a waveform are pulses side by side in time; each
// boundary is placed just before the steep rise that starts the next pulse. The search is pure: the
// waveform instance applies the result and does the talking to the user.

#include <array>
#include <cstdint>
#include <optional>
#include <span>

namespace zel {

inline constexpr int kMaxCutoffs = 6; // boundaries of the seven-channel layout

// Smallest and largest sample; 0 for an empty waveform.
float WaveMin(std::span<const float> samples);
float WaveMax(std::span<const float> samples);

// The first index i in [start, end] (limited to 1..N) whose rise w[i] - w[i-1], as a fraction of range,
// is strictly greater than threshold; returns i - 1, or 0 when there is none (a rise at index 1 also
// returns 0, so the caller cannot tell it from nothing). A range that is not positive finds nothing.
std::int32_t ScanForRise(std::span<const float> samples, float range, double threshold, std::int64_t start,
                         std::int64_t end);

// How many samples a found rise is moved earlier so that the boundary sits before the rise and not on
// it: the integer nearest to N / 100 - 1, ties to even (N = 150 gives 0, N = 250 gives 2).
std::int32_t cutoffShift(std::int32_t upperBound);

// index + gap, or nullopt when the sum does not fit a boundary index.
std::optional<std::int32_t> addGap(std::int32_t index, std::int32_t gap);

struct CutoffSearch {
    std::array<std::int32_t, kMaxCutoffs> cutoff{}; // 0 = not found
    std::int32_t firstRise = 0;
    std::int16_t count = 3;                 // number of boundaries: 3 or 6
    std::array<double, kMaxCutoffs> time{}; // ns
    bool generic = false;                   // nothing found: the generic boundaries were used
    bool overflow = false;                  // the search stopped on an index overflow
};

// The whole search: threshold passes from 0.040 down to 0.005 until the third boundary is found, each
// boundary searched from the previous one + gap (also when the previous was not found and is 0) and
// retried at half the threshold; a seven-channel layout when a fourth rise follows at the pass's
// threshold; the shift before the rise (unless keepPosition). Nothing found at all gives the generic
// 100, 160, 220 (generic set: the caller tells the user); fixedCutoffs replaces every outcome by
// 30, 60, 90.
CutoffSearch searchCutoffs(std::span<const float> samples, float deltaX, bool keepPosition,
                           bool fixedCutoffs);

} // namespace zel
