#include "waveform/cutoffs.h"

#include <algorithm>
#include <limits>

namespace zel {

namespace {

constexpr std::int32_t kIndexMax = std::numeric_limits<std::int32_t>::max();

std::int32_t upperBoundOf(std::span<const float> samples) {
    // Boundaries are 32-bit; a longer waveform is searched over the samples they can address.
    return static_cast<std::int32_t>(std::min<std::size_t>(samples.size(), kIndexMax)) - 1;
}

// The integer nearest to num / den (den > 0), ties to even, on the exact fraction: a float round of
// N / 100 - 1 could land on the wrong side of a tie.
std::int64_t roundHalfEven(std::int64_t num, std::int64_t den) {
    std::int64_t q = num / den;
    std::int64_t r = num % den;
    if (r < 0) {
        --q;
        r += den;
    }
    if (2 * r > den || (2 * r == den && q % 2 != 0)) ++q;
    return q;
}

class Search {
public:
    Search(std::span<const float> w, float deltaX) : w_(w), n_(upperBoundOf(w)), deltaX_(deltaX) {
        gap_ = n_ < 300 ? 20 : 50;
        range_ = WaveMax(w) - WaveMin(w);
    }

    CutoffSearch run(bool keepPosition, bool fixedCutoffs);

private:
    // One rise from previous + gap, retried once at half the threshold. nullopt on overflow.
    std::optional<std::int32_t> next(std::int32_t previous, double threshold, bool retry) const {
        auto start = addGap(previous, gap_);
        if (!start) return std::nullopt;
        std::int32_t found = ScanForRise(w_, range_, threshold, *start, n_);
        if (found == 0 && retry) found = ScanForRise(w_, range_, threshold / 2, *start, n_);
        return found;
    }

    bool pass(CutoffSearch& r, double threshold, bool keepPosition);

    std::span<const float> w_;
    std::int32_t n_;
    float deltaX_;
    std::int32_t gap_;
    float range_;
};

bool Search::pass(CutoffSearch& r, double threshold, bool keepPosition) {
    r.cutoff.fill(0);
    r.count = 3;
    r.firstRise = ScanForRise(w_, range_, threshold, 1, n_);
    if (r.firstRise == 0) r.firstRise = ScanForRise(w_, range_, threshold / 2, 1, n_);

    std::int32_t previous = r.firstRise;
    for (int k = 0; k < 3; ++k) {
        auto found = next(previous, threshold, true);
        if (!found) return false;
        r.cutoff[k] = previous = *found;
    }
    if (r.cutoff[2] != 0) {
        // The fourth rise decides the layout, so it must stand out at the pass's own threshold.
        auto fourth = next(r.cutoff[2], threshold, false);
        if (!fourth) return false;
        if (*fourth != 0) {
            r.count = 6;
            r.cutoff[3] = previous = *fourth;
            for (int k = 4; k < kMaxCutoffs; ++k) {
                auto found = next(previous, threshold, true);
                if (!found) return false;
                r.cutoff[k] = previous = *found;
            }
        }
    }

    if (!keepPosition) {
        const std::int32_t shift = cutoffShift(n_);
        const int last = r.cutoff[3] != 0 ? kMaxCutoffs : 3;
        for (int k = 0; k < last; ++k) {
            // A boundary before the first sample would address nothing; the first sample is as early as
            // a boundary can go.
            if (r.cutoff[k] != 0) r.cutoff[k] = std::max<std::int32_t>(0, r.cutoff[k] - shift);
        }
    }
    return true;
}

CutoffSearch Search::run(bool keepPosition, bool fixedCutoffs) {
    CutoffSearch r;
    // Thresholds in thousandths, so that the passes are exactly 0.040, 0.035 ... 0.005 and the last pass
    // is not lost to a rounding of 0.045 - 8 x 0.005.
    int thousandths = 45;
    while (true) {
        thousandths -= 5;
        if (!pass(r, thousandths / 1000.0, keepPosition)) {
            r.overflow = true;
            return r;
        }
        const bool useGeneric = r.firstRise == 0 && !fixedCutoffs;
        if (useGeneric || fixedCutoffs) {
            // The fallbacks are four-channel layouts: whatever the search found beyond them is dropped.
            r.cutoff = fixedCutoffs ? std::array<std::int32_t, kMaxCutoffs>{30, 60, 90}
                                    : std::array<std::int32_t, kMaxCutoffs>{100, 160, 220};
            r.count = 3;
            r.firstRise = 0;
            r.generic = r.generic || useGeneric;
        }
        // Kept on purpose from earlier versions of the program: an RE whose first two boundaries land at 95
        // and 150 gets its third at 205, whatever the search found.
        if (r.cutoff[0] == 95 && r.cutoff[1] == 150) r.cutoff[2] = 205;
        for (int k = 0; k < kMaxCutoffs; ++k) {
            r.time[k] = static_cast<double>(r.cutoff[k]) * static_cast<double>(deltaX_) * 1e9;
        }
        if (r.time[2] > 0 || thousandths < 10) return r;
    }
}

} // namespace

float WaveMin(std::span<const float> samples) {
    if (samples.empty()) return 0.0f;
    return *std::min_element(samples.begin(), samples.end());
}

float WaveMax(std::span<const float> samples) {
    if (samples.empty()) return 0.0f;
    return *std::max_element(samples.begin(), samples.end());
}

std::int32_t ScanForRise(std::span<const float> samples, float range, double threshold, std::int64_t start,
                         std::int64_t end) {
    if (!(range > 0.0f)) return 0;
    const std::int64_t first = std::max<std::int64_t>(start, 1);
    const std::int64_t last = std::min<std::int64_t>(end, upperBoundOf(samples));
    for (std::int64_t i = first; i <= last; ++i) {
        const double rise = static_cast<double>(samples[i] - samples[i - 1]) / range;
        if (rise > threshold) return static_cast<std::int32_t>(i - 1);
    }
    return 0;
}

std::int32_t cutoffShift(std::int32_t upperBound) {
    // N / 100 - 1 = (N - 100) / 100, rounded on the exact fraction.
    return static_cast<std::int32_t>(roundHalfEven(static_cast<std::int64_t>(upperBound) - 100, 100));
}

std::optional<std::int32_t> addGap(std::int32_t index, std::int32_t gap) {
    std::int32_t sum = 0;
    if (__builtin_add_overflow(index, gap, &sum)) return std::nullopt;
    return sum;
}

CutoffSearch searchCutoffs(std::span<const float> samples, float deltaX, bool keepPosition,
                           bool fixedCutoffs) {
    return Search(samples, deltaX).run(keepPosition, fixedCutoffs);
}

} // namespace zel
