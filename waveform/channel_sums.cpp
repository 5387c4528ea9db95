// Summing the channels of one waveform between the boundaries found on the RE.

#include "waveform/waveform.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <string>

namespace zel {

namespace {

// The samples the gated CH1 takes from the first rise on: the width of the scatter peak.
constexpr std::int64_t kGatedCh1Samples = 18;
constexpr float kStartMax = -999.0f;

struct ChannelWindow {
    float sum = 0.0f;
    float max = 0.0f;
};

// Sum of w[from..close] restricted to the samples within `width` of the closing boundary. Boundaries come
// from the RE or from a log file and may lie beyond this waveform: only the samples that exist count.
ChannelWindow sumWindow(std::span<const float> w, std::int64_t from, std::int64_t close, std::int64_t width,
                        float runningMax) {
    ChannelWindow r{0.0f, runningMax};
    const std::int64_t n = static_cast<std::int64_t>(w.size()) - 1;
    const std::int64_t first = std::max({from, close - width, std::int64_t{0}});
    const std::int64_t last = std::min(close, n);
    if (first > last) return r;
    // Eight running sums and maxima, combined in a fixed order at the end: the compiler keeps them in
    // vector registers instead of waiting on one sum per sample. A whole log is processed again on every
    // load, so this loop decides the load time. The order is fixed, so the same samples always give the
    // same sum, in the push and in every later load.
    constexpr std::int64_t kLanes = 8;
    std::array<float, kLanes> sum{};
    std::array<float, kLanes> max;
    max.fill(runningMax);
    const float* p = w.data() + first;
    const std::int64_t count = last - first + 1;
    const std::int64_t whole = count - count % kLanes;
    for (std::int64_t i = 0; i < whole; i += kLanes)
        for (std::int64_t k = 0; k < kLanes; ++k)
            sum[k] += p[i + k];
    for (std::int64_t i = 0; i < whole; i += kLanes)
        for (std::int64_t k = 0; k < kLanes; ++k)
            max[k] = max[k] < p[i + k] ? p[i + k] : max[k];
    for (std::int64_t i = whole; i < count; ++i) {
        sum[i % kLanes] += p[i];
        max[i % kLanes] = std::max(max[i % kLanes], p[i]);
    }
    for (std::int64_t k = 0; k < kLanes; ++k) {
        r.sum += sum[k];
        r.max = std::max(r.max, max[k]);
    }
    return r;
}

} // namespace

int cZEL_Waveform::ChannelsUsed() const {
    return std::max<int>(ChannelCount, 3) + 1;
}

float cZEL_Waveform::gainOf(int channel) const {
    if (channel >= kGainChannels || Gain[channel] == 0.0f) return 1.0f;
    return Gain[channel];
}

bool cZEL_Waveform::ProcessWaveform(std::span<float> samples, bool isRe, bool& lowSignalFlag) {
    const int used = ChannelsUsed();
    if (used > kMaxChannels) {
        reportError("ProcessWaveform", "channel index " + std::to_string(used - 1) + " out of range (0..6)");
        return false;
    }
    ChannelSum.fill(0.0f);
    ChannelShape.fill(0.0f);
    Wave_AreaCH.fill(0.0f);
    Wave_WaveMax = 0.0f;
    Wave_FluorMax = 0.0f;
    if (!FixedIndex) {
        // The last two samples are cleared on every record, the RE's included, so they never count.
        const std::size_t size = samples.size();
        for (std::size_t i = size - std::min<std::size_t>(size, 2); i < size; ++i)
            samples[i] = 0.0f;
    }
    sumChannels(samples, lowSignalFlag);
    finishPointValues(samples, isRe);
    return true;
}

void cZEL_Waveform::sumChannels(std::span<const float> w, bool& lowSignalFlag) {
    const std::int64_t n = static_cast<std::int64_t>(w.size()) - 1;
    const int boundaries = ChannelsUsed() - 1;
    const std::int64_t width = (WidthLimit <= 0 || WidthLimit > 100) ? n : WidthLimit;
    const std::int64_t b1 = Cutoff[0];

    if (!Gated()) {
        const ChannelWindow ch1 = sumWindow(w, 0, b1, width, Wave_WaveMax);
        ChannelSum[0] = ch1.sum;
        Wave_WaveMax = ch1.max;
    } else {
        // The scatter peak: only its positive samples count, so baseline noise below zero cannot eat it.
        float prePulseMax = kStartMax;
        for (std::int64_t i = 2; i <= std::min(b1 - 2, n); ++i)
            prePulseMax = std::max(prePulseMax, w[i]);
        float sum = 0.0f;
        const std::int64_t first = std::max<std::int64_t>(FirstRise, 0);
        const std::int64_t last = std::min(static_cast<std::int64_t>(FirstRise) + kGatedCh1Samples, n);
        for (std::int64_t i = first; i <= last; ++i) {
            if (w[i] > 0.0f) sum += w[i];
            Wave_WaveMax = std::max(Wave_WaveMax, w[i]);
        }
        // A CH1 smaller than the noise floor of the region would make S (and the scatter correction of
        // %RE) meaningless: use the floor and tell the caller.
        const float floor = 4.0f * prePulseMax + 5.0f;
        if (sum < floor) {
            sum = floor;
            lowSignalFlag = true;
        }
        ChannelSum[0] = sum;
    }

    for (int k = 1; k <= boundaries; ++k) {
        std::int64_t close = 0;
        if (k < boundaries) {
            close = Cutoff[k];
        } else if (boundaries == 3) {
            // The last channel has no closing rise: it is as long as the channel before it.
            close = 2 * static_cast<std::int64_t>(Cutoff[2]) - Cutoff[1];
        } else {
            close = n;
        }
        const ChannelWindow ch =
            sumWindow(w, static_cast<std::int64_t>(Cutoff[k - 1]) + 1, close, width, Wave_FluorMax);
        ChannelSum[k] = ch.sum;
        Wave_WaveMax = std::max(Wave_WaveMax, ch.max);
        Wave_FluorMax = std::max(Wave_FluorMax, ch.max);
    }
}

} // namespace zel
