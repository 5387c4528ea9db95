#include "waveform/wave_analysis.h"

#include "waveform/waveform.h"

namespace zel {

WaveAnalysis analyseWave(const Waveform& re, const Waveform& wave, const Waveform* background, int mode,
                         bool gated, Host& host, const WaveformOptions& options) {
    WaveAnalysis result;
    const int acqType = gated ? 1 : 0;

    std::vector<float> reSamples = re.samples;
    cZEL_Waveform reWave(host, options);
    reWave.Mode = mode;
    reWave.AcqType = acqType;
    // The RE is the base of the scatter scaling, it is not scaled by itself.
    reWave.NoScatterScaling = true;
    reWave.DeltaX = re.deltaX;
    reWave.RE_Delay = re.delay;
    if (background) reWave.SetBackground(background->samples);
    if (!reWave.Process_Wave(reSamples)) return result;
    reWave.Process_Cutoffs(reSamples, false);
    if (!reWave.Process_RE(reSamples, true, false)) return result;

    std::vector<float> samples = wave.samples;
    cZEL_Waveform point(host, options);
    point.Mode = mode;
    point.AcqType = acqType;
    point.DeltaX = wave.deltaX;
    point.CopyCutoffs(reWave);
    point.CopyReference(reWave);
    if (background) point.SetBackground(background->samples);
    if (!point.Process_Wave(samples, result.lowSignal)) return result;

    result.ok = true;
    result.boundaries.assign(point.Cutoff.begin(), point.Cutoff.begin() + (point.ChannelsUsed() - 1));
    result.firstRise = point.FirstRise;
    const int channels = point.ChannelsUsed();
    result.sums.assign(point.ChannelSum.begin(), point.ChannelSum.begin() + channels);
    result.areas.assign(point.Wave_AreaCH.begin(), point.Wave_AreaCH.begin() + channels);
    result.shape.assign(point.ChannelShape.begin(), point.ChannelShape.begin() + channels);
    result.areaTotal = point.Wave_Area;
    result.S = point.Wave_ScatSum;
    result.F = point.Wave_FluorSum;
    result.SF = point.Wave_WaveSum;
    result.pctRE = point.Wave_Signal;
    result.scatterRatio = reWave.ScatterRatio;
    result.fibreLengthM = reWave.FibreLength;
    return result;
}

} // namespace zel
