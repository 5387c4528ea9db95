#pragma once
// cZEL_Waveform: one waveform's channels and the numbers a depth point stores. The boundaries between the
// channels are found once on the RE (Process_Cutoffs); the RE is then processed as the normalisation base
// (Process_RE) and every point waveform of the push against it (Process_Wave). Acquisition keeps one
// instance for the RE and one for the points; the point instance takes the RE's boundaries and reference
// values with CopyCutoffs and CopyReference.
//
// Samples are worked on in place: processing zeroes the last two samples and Process_Wave subtracts the
// background. Nothing is allocated per waveform.
// Errors are shown through the Host in the form "Error in <routine>: <what failed>." and the instance
// keeps the values computed before the error; nothing is thrown.

#include "common/host.h"
#include "waveform/cutoffs.h"
#include "waveform/waveform_options.h"

#include <array>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace zel {

inline constexpr int kMaxChannels = 7;  // CH1..CH7 of the seven-channel layout
inline constexpr int kGainChannels = 4; // gains and exclusions exist for CH1..CH4
inline constexpr int kCalloutSlots = 5;

class cZEL_Waveform {
public:
    explicit cZEL_Waveform(Host& host, const WaveformOptions& options = {});

    // ---- Operations

    // Boundary search on the RE (see searchCutoffs); sets Cutoff, FirstRise, CutoffTime and ChannelCount.
    // keepPosition leaves the boundaries on the rises instead of just before them. Falling back to the
    // generic boundaries shows "RE cutoff process failed. Generic cutoff values used.".
    void Process_Cutoffs(std::span<const float> samples, bool keepPosition);
    float WaveMin(std::span<const float> samples) const { return zel::WaveMin(samples); }
    float WaveMax(std::span<const float> samples) const { return zel::WaveMax(samples); }
    std::int32_t ScanForRise(std::span<const float> samples, float range, double threshold,
                             std::int64_t start, std::int64_t end) const {
        return zel::ScanForRise(samples, range, threshold, start, end);
    }
    // The RE: fibre length from RE_Delay, processing, scatter ratio (kept as it was when
    // keepScatterRatio), reference values, RE_Signal = 100. isRe also clears the CH1 correction term and
    // is passed on to ProcessWaveform. False when an error was shown.
    bool Process_RE(std::span<float> samples, bool isRe, bool keepScatterRatio);
    // Channel sums, areas, shape, S, F, %RE. lowSignalFlag is only ever set (in the gated layout, when CH1
    // had to be raised to the noise floor); the caller clears it. False when an error was shown.
    bool ProcessWaveform(std::span<float> samples, bool isRe, bool& lowSignalFlag);
    // Subtracts the background (when one is held) over the indices both have, then processes.
    bool Process_Wave(std::span<float> samples, bool& lowSignalFlag);
    bool Process_Wave(std::span<float> samples);
    // Processes the background itself and keeps its values as the Blank_ values.
    bool Process_Blank(std::span<float> samples);
    // Copies the current waveform's values into callout slot 0..4.
    void CalloutTransfer(int slot);

    // ---- Set-up

    // The background subtracted by Process_Wave (copied; allocates once here, not per waveform).
    void SetBackground(std::span<const float> background);
    void ClearBackground() { hasBackground_ = false; }
    bool HasBackground() const { return hasBackground_; }
    // Boundaries, first rise, boundary times and channel count of the RE instance.
    void CopyCutoffs(const cZEL_Waveform& re);
    // The RE reference values: RE_ sums, area, maxima, RE_AreaCH, scatter ratios, delay and fibre length.
    void CopyReference(const cZEL_Waveform& re);

    bool Gated() const { return AcqType == 1; }
    // Channels processed: the configured boundaries (at least 3) plus one.
    int ChannelsUsed() const;

    // ---- Settings of the instance

    WaveformOptions Options;
    bool FixedIndex = false;       // boundaries 0, 1, 2; samples left whole; no areas; S floor 0.0001
    int AcqType = 0;               // 0 standard layout, 1 gated layout (first pulse is the scatter peak)
    bool NoScatterScaling = false; // exempts this instance from the scatter scaling (the RE itself)
    float CH1Correction = 0.0f;    // CH1 correction term of the acquisition hardware, 0 = none
    int FirmwareVersion = 0;       // major x 10000 + minor x 100 + patch
    std::array<float, kGainChannels> Gain{}; // 0 means 1.0
    std::array<bool, kGainChannels> Exclude{};
    bool ExcludeCH1 = false;
    std::int16_t WidthLimit = 0; // samples a channel may take before its closing boundary; 0 or > 100: all
    int Mode = 0;                // operating mode, selects the fibre's group index
    // Wave_StdDev costs as much as the rest of the processing; a load that recomputes the points' stored
    // values for a whole log has no use for it and turns it off.
    bool ComputeStdDev = true;
    float DeltaX = 0.0f;   // seconds per sample
    double RE_Delay = 0.0; // seconds from the trigger to the RE

    // ---- Boundaries

    std::array<std::int32_t, kMaxCutoffs> Cutoff{};
    std::int32_t FirstRise = 0;
    std::int16_t ChannelCount = 3;                // number of boundaries: 3 or 6
    std::array<double, kMaxCutoffs> CutoffTime{}; // ns

    // ---- Values of the last processed waveform

    std::array<float, kMaxChannels> ChannelSum{}; // un-gained
    std::array<float, kMaxChannels> ChannelShape{};
    std::array<float, kMaxChannels> Wave_AreaCH{}; // pVs, with the gains
    float Wave_ScatSum = 0.0f;                     // S
    float Wave_FluorSum = 0.0f;                    // F
    float Wave_WaveSum = 0.0f;                     // S + F
    float Wave_Area = 0.0f;                        // pVs
    float Wave_Signal = 0.0f;                      // %RE
    // The display computes colours from the channel shape; processing leaves them 0.
    float Wave_Color = 0.0f;
    float Wave_ColorFluor = 0.0f;
    float Wave_WaveMax = 0.0f;  // largest sample inside any channel
    float Wave_FluorMax = 0.0f; // largest sample inside the fluorescence channels
    float Wave_StdDev = 0.0f;   // population standard deviation of the processed samples

    // ---- RE reference values

    float RE_ScatSum = 0.0f;
    float RE_FluorSum = 0.0f;
    float RE_WaveSum = 0.0f;
    float RE_Area = 0.0f;
    float RE_Signal = 0.0f;
    float RE_Color = 0.0f;
    float RE_WaveMax = 0.0f;
    float RE_FluorMax = 0.0f;
    std::array<float, kMaxChannels> RE_AreaCH{};
    float ScatterRatio = 0.0f;     // F / S of the RE
    float NormScatterRatio = 0.0f; // ScatterRatio / 8: 1.0 is the nominal ratio
    float FibreLength = 0.0f;      // metres

    // ---- Background values

    float Blank_ScatSum = 0.0f;
    float Blank_FluorSum = 0.0f;
    float Blank_WaveSum = 0.0f;
    float Blank_Area = 0.0f;
    float Blank_Signal = 0.0f;
    float Blank_Color = 0.0f;
    float Blank_WaveMax = 0.0f;
    float Blank_FluorMax = 0.0f;
    std::array<float, kMaxChannels> Blank_AreaCH{};

    // ---- Callouts (one slot per callout of the log)

    std::array<float, kCalloutSlots> Callout_ScatSum{};
    std::array<float, kCalloutSlots> Callout_FluorSum{};
    std::array<float, kCalloutSlots> Callout_WaveSum{};
    std::array<float, kCalloutSlots> Callout_Area{};
    std::array<float, kCalloutSlots> Callout_Signal{};
    std::array<float, kCalloutSlots> Callout_Color{};
    std::array<float, kCalloutSlots> Callout_ColorFluor{};
    std::array<float, kCalloutSlots> Callout_WaveMax{};
    std::array<float, kCalloutSlots> Callout_FluorMax{};
    std::array<float, kCalloutSlots> Callout_StdDev{};

private:
    void reportError(const char* routine, const std::string& what);
    float gainOf(int channel) const;
    // The pieces of ProcessWaveform, one file each.
    void sumChannels(std::span<const float> w, bool& lowSignalFlag);
    void finishPointValues(std::span<const float> w, bool isRe);

    Host& host_;
    std::vector<float> background_;
    bool hasBackground_ = false;
};

} // namespace zel
