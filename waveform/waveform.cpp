#include "waveform/waveform.h"

#include "waveform/fibre_length.h"

#include <algorithm>

namespace zel {

cZEL_Waveform::cZEL_Waveform(Host& host, const WaveformOptions& options) : Options(options), host_(host) {}

void cZEL_Waveform::reportError(const char* routine, const std::string& what) {
    host_.message("Error in " + std::string(routine) + ": " + what + ".", MsgButtons::Ok, MsgIcon::Critical);
}

void cZEL_Waveform::Process_Cutoffs(std::span<const float> samples, bool keepPosition) {
    if (FixedIndex) {
        Cutoff = {0, 1, 2, 0, 0, 0};
        FirstRise = 0;
        ChannelCount = 3;
        for (int k = 0; k < kMaxCutoffs; ++k)
            CutoffTime[k] = static_cast<double>(Cutoff[k]) * DeltaX * 1e9;
        return;
    }
    const CutoffSearch r = searchCutoffs(samples, DeltaX, keepPosition, Options.fixedCutoffs);
    Cutoff = r.cutoff;
    FirstRise = r.firstRise;
    ChannelCount = r.count;
    CutoffTime = r.time;
    if (r.overflow) {
        reportError("Process_Cutoffs", "boundary index overflow adding the channel gap");
        return;
    }
    if (r.generic) {
        host_.message("RE cutoff process failed. Generic cutoff values used.", MsgButtons::Ok,
                      MsgIcon::Exclamation);
    }
}

bool cZEL_Waveform::Process_RE(std::span<float> samples, bool isRe, bool keepScatterRatio) {
    FibreLength = fibreLength(RE_Delay, Mode, ChannelCount);
    if (isRe) CH1Correction = 0.0f;
    bool lowSignal = false;
    if (!ProcessWaveform(samples, isRe, lowSignal)) return false;

    // S is never 0 after processing (0.01 stands in), so the ratio is finite.
    const float ratio = Wave_FluorSum / Wave_ScatSum;
    if (!keepScatterRatio) {
        ScatterRatio = ratio;
        NormScatterRatio = ratio / 8.0f;
    }
    RE_ScatSum = Wave_ScatSum;
    RE_FluorSum = Wave_FluorSum;
    RE_WaveSum = Wave_WaveSum;
    RE_Area = Wave_Area;
    RE_Color = Wave_Color;
    RE_WaveMax = Wave_WaveMax;
    RE_FluorMax = Wave_FluorMax;
    RE_AreaCH = Wave_AreaCH;
    Wave_Signal = 100.0f;
    RE_Signal = 100.0f;
    return true;
}

bool cZEL_Waveform::Process_Wave(std::span<float> samples, bool& lowSignalFlag) {
    if (hasBackground_) {
        const std::size_t common = std::min(samples.size(), background_.size());
        for (std::size_t i = 0; i < common; ++i)
            samples[i] -= background_[i];
    }
    return ProcessWaveform(samples, false, lowSignalFlag);
}

bool cZEL_Waveform::Process_Wave(std::span<float> samples) {
    bool lowSignal = false;
    return Process_Wave(samples, lowSignal);
}

bool cZEL_Waveform::Process_Blank(std::span<float> samples) {
    bool lowSignal = false;
    if (!ProcessWaveform(samples, false, lowSignal)) return false;
    Blank_ScatSum = Wave_ScatSum;
    Blank_FluorSum = Wave_FluorSum;
    Blank_WaveSum = Wave_WaveSum;
    Blank_Area = Wave_Area;
    Blank_Signal = Wave_Signal;
    Blank_Color = Wave_Color;
    Blank_WaveMax = Wave_WaveMax;
    Blank_FluorMax = Wave_FluorMax;
    Blank_AreaCH = Wave_AreaCH;
    return true;
}

void cZEL_Waveform::CalloutTransfer(int slot) {
    if (slot < 0 || slot >= kCalloutSlots) {
        reportError("CalloutTransfer", "callout slot " + std::to_string(slot) + " out of range (0..4)");
        return;
    }
    Callout_ScatSum[slot] = Wave_ScatSum;
    Callout_FluorSum[slot] = Wave_FluorSum;
    Callout_WaveSum[slot] = Wave_WaveSum;
    Callout_Area[slot] = Wave_Area;
    Callout_Signal[slot] = Wave_Signal;
    Callout_Color[slot] = Options.calloutFluorColour ? Wave_ColorFluor : Wave_Color;
    Callout_ColorFluor[slot] = Wave_ColorFluor;
    Callout_WaveMax[slot] = Wave_WaveMax;
    Callout_FluorMax[slot] = Wave_FluorMax;
    Callout_StdDev[slot] = Wave_StdDev;
}

void cZEL_Waveform::SetBackground(std::span<const float> background) {
    background_.assign(background.begin(), background.end());
    hasBackground_ = true;
}

void cZEL_Waveform::CopyCutoffs(const cZEL_Waveform& re) {
    Cutoff = re.Cutoff;
    FirstRise = re.FirstRise;
    ChannelCount = re.ChannelCount;
    CutoffTime = re.CutoffTime;
}

void cZEL_Waveform::CopyReference(const cZEL_Waveform& re) {
    RE_ScatSum = re.RE_ScatSum;
    RE_FluorSum = re.RE_FluorSum;
    RE_WaveSum = re.RE_WaveSum;
    RE_Area = re.RE_Area;
    RE_Signal = re.RE_Signal;
    RE_Color = re.RE_Color;
    RE_WaveMax = re.RE_WaveMax;
    RE_FluorMax = re.RE_FluorMax;
    RE_AreaCH = re.RE_AreaCH;
    ScatterRatio = re.ScatterRatio;
    NormScatterRatio = re.NormScatterRatio;
    RE_Delay = re.RE_Delay;
    FibreLength = re.FibreLength;
}

} // namespace zel
