#include "app/zel/wave_math_page.h"

#include "app/zel/form_widgets.h"
#include "app/zel/qt_form.h"
#include "program/settings_model.h"

#include <QGroupBox>
#include <QPushButton>
#include <QVBoxLayout>

namespace zel::gui {

WaveMathPage::WaveMathPage() {
    namespace pc = program::control;
    auto* v = new QVBoxLayout(this);
    checkBox(v, pc::kScatterScaling, "Scale the scatter by the RE's scatter ratio (gated probes)");
    checkBox(v, pc::kPlainRE, "Plain %RE: fluorescence against the RE's, no scatter correction");
    checkBox(v, pc::kFirstSample, "Store sample 0 as %RE (baseline diagnostic)");
    checkBox(v, pc::kCalloutFluorColour, "Colour callouts by their fluorescence channels");
    checkBox(v, pc::kBaseline,
             "Baseline: offer a log's stored baseline when it is loaded, and take it off the "
             "waveform shown");

    // What the waveform view shows of the selected depth.
    auto* view = named(new QGroupBox("Waveform shown"), "fraWaveMath");
    auto* f = new QFormLayout(view);
    checkBox(f, pc::kAvgInterval, "Average the points within an interval about the selected depth");
    lineEdit(f, pc::kAvgIntervalDepth, "Interval (log unit)", "1");
    checkBox(f, pc::kWaveDiff, "Subtract another waveform");
    lineEdit(f, pc::kWaveDiffWith, "Depth, range FROM-TO or bg", "bg");
    checkBox(f, pc::kNormalise, "Normalise to the RE (%RE a sample)");
    checkBox(f, pc::kCustomLabels, "Custom labels and units");
    static constexpr const char* kUnitCaptions[] = {"Time axis title", "Time axis unit", "Value axis title",
                                                    "Value axis unit"};
    for (int i = 0; i < 4; ++i) {
        auto* e = new QLineEdit;
        setControlArray(e, pc::kCustomUnit, i);
        f->addRow(QString::fromLatin1(kUnitCaptions[i]), e);
    }
    for (int i = 0; i < 2; ++i) {
        auto* e = new QLineEdit;
        setControlArray(e, pc::kCustomLegend, i);
        f->addRow(QStringLiteral("Legend %1").arg(i + 1), e);
    }
    auto* exportButton = named(new QPushButton("Export the waveform shown..."), "cmdWaveMathExport");
    connect(exportButton, &QPushButton::clicked, this, [this] {
        if (onExport) onExport();
    });
    f->addRow(exportButton);
    v->addWidget(view);
    checkBox(v, "chkLifetime", "Decay-time track (a lifetime fit beside the log)", true);
    v->addStretch();
}

void showWaveMath(const program::ShownWave& shown, plot::WaveformView& view, std::vector<float>& wave,
                  std::vector<float>& re, std::vector<float>& background) {
    wave = shown.curve.samples;
    const wave_math::Labels& l = shown.labels;
    view.timeUnit = l.xLabel + " (" + l.xUnit + ")";
    view.valueUnit = l.yLabel + " (" + l.yUnit + ")";
    view.waveLegend = !l.legends.empty() && !l.legends[0].empty() ? l.legends[0] : shown.curve.legend;
    if (!shown.operation.empty()) view.title += "  [" + shown.operation + "]";
    if (!shown.problem.empty()) view.title += "  (" + shown.problem + ")";
    if (!shown.millivolts) {
        re.clear();
        background.clear();
    }
}

} // namespace zel::gui
