#pragma once
// The Wave math page (form frmWaveMath): the %RE options of the gated layout and the diagnostics, the
// stored baseline, and the waveform view's mathematics (the mean over an interval about the selected depth,
// a difference, the normalisation to the RE, custom axis titles and legends) with the export of the
// waveform shown.

#include "app/plot/waveform_view.h"
#include "program/wave_math_view.h"

#include <QWidget>

#include <functional>
#include <vector>

namespace zel::gui {

class WaveMathPage final : public QWidget {
public:
    WaveMathPage();
    // "Export the waveform shown...".
    std::function<void()> onExport;
};

// The computed waveform into the view: its samples, its axis titles and legend, the operations in the title;
// the RE and background beside it only while it is still in mV (empties them otherwise).
void showWaveMath(const program::ShownWave& shown, plot::WaveformView& view, std::vector<float>& wave,
                  std::vector<float>& re, std::vector<float>& background);

} // namespace zel::gui
