#pragma once
// A made-up log for the display's tests and benchmarks: depth steps of 0.05, a waveform of four decaying
// pulses per point, a %RE profile with two plumes, channel areas whose balance drifts with depth, and
// pressure/flow columns with a K estimate. Deterministic, so a test can name the values it expects.

#include "log/log_arrays.h"
#include "log/log_data.h"

#include <algorithm>
#include <cmath>
#include <vector>

namespace zel::plot::synthetic {

inline constexpr double kStep = 0.05;

inline float syntheticSignal(int p) {
    const double d = p * kStep;
    return static_cast<float>(0.5 + 80.0 * std::exp(-std::pow((d - 3.0) / 0.4, 2)) +
                              30.0 * std::exp(-std::pow((d - 7.0) / 0.8, 2)));
}

// points: number of points (DataPoints + 1); samples per waveform.
inline void fillSyntheticLog(cZEL_Data& log, LogArrays& a, int points, int samples, bool presFlow = true) {
    log.Metric(false);
    log.Site("Synthetic site");
    log.Client("Client");
    log.JobNumber("J-1");
    log.Operator("Pat");
    log.mode("Alder");
    log.File_Title("SYN-1.lif.raw.bin");
    log.File_Title_NoExt("SYN-1");
    log.PresFlow(presFlow);
    log.DataPoints(points - 1);
    log.WavePoints(samples - 1);
    log.DataSets(point_column::PushCount);
    log.Wave_DeltaX(8e-10f);
    log.Cutoff_Index({100, 160, 220});
    a.resize(samples, point_column::PushCount, points, presFlow);
    float maxSignal = 0.0f;
    for (int p = 0; p < points; ++p) {
        const float depth = static_cast<float>(p * kStep);
        const float signal = syntheticSignal(p);
        maxSignal = std::max(maxSignal, signal);
        auto row = a.columns.row(p);
        row[point_column::Depth] = depth;
        row[point_column::Signal] = signal;
        row[point_column::Rate] = 1.0f + 0.2f * static_cast<float>(std::sin(p * 0.1));
        row[point_column::Conductivity] = 20.0f + 10.0f * static_cast<float>(std::sin(p * 0.01));
        row[point_column::Scatter] = 50.0f;
        row[point_column::Fluorescence] = signal * 10.0f;
        const float tilt = static_cast<float>(p % 200) / 200.0f;
        row[point_column::Ch1] = 1.0f - tilt;
        row[point_column::Ch1 + 1] = 0.5f;
        row[point_column::Ch1 + 2] = 0.3f;
        row[point_column::Ch1 + 3] = tilt;
        auto w = a.waves.row(p);
        // A quiet lead-in, then four pulses that rise at once and decay, each channel weaker than the last.
        const int lead = samples / 20;
        const int width = std::max(1, (samples - 2 * lead) / 4);
        for (int i = 0; i < samples; ++i) {
            const int t = i - lead;
            const int pulse = t < 0 ? -1 : std::min(3, t / width);
            w[static_cast<std::size_t>(i)] =
                pulse < 0 ? 0.0f
                          : static_cast<float>(signal * std::exp(-(t - pulse * width) / 12.0) / (1 + pulse));
        }
        if (presFlow) {
            auto pf = a.presFlow.row(p);
            pf[presflow_column::Depth] = depth;
            pf[presflow_column::Time] = static_cast<float>(p);
            pf[presflow_column::PressureUp] = 5.0f;
            pf[presflow_column::PressureDown] = 20.0f + depth * 0.4f;
            pf[presflow_column::FlowUp] = 200.0f + 100.0f * static_cast<float>(std::sin(p * 0.02));
            pf[presflow_column::KEstimate] = 0.1f + static_cast<float>(p % 500) / 10.0f;
        }
    }
    log.Signal_MaxValue(maxSignal);
    log.Depth_Max_Ft(static_cast<float>((points - 1) * kStep));
    a.re.samples.assign(a.waves.wave(0).begin(), a.waves.wave(0).end());
    a.re.deltaX = 8e-10f;
}

} // namespace zel::plot::synthetic
