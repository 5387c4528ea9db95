#include "app/zel/setup_page.h"

#include "app/plot/qt_text.h"
#include "app/zel/form_widgets.h"
#include "app/zel/qt_form.h"
#include "program/settings_model.h"
#include "settings/startup/modes.h"

#include <QGridLayout>
#include <QGroupBox>
#include <QLabel>
#include <QVBoxLayout>

namespace zel::gui {

SetupPage::SetupPage(const StartupSettings& settings) {
    auto* v = new QVBoxLayout(this);
    auto* logBox = named(new QGroupBox("Log"), "fraLog");
    auto* lf = new QFormLayout(logBox);
    lineEdit(lf, "txtLogName", "Name", "");
    lineEdit(lf, "txtLogFolder", "Folder", "");
    checkBox(lf, "chkAutoName", "Record into the folder without asking");
    checkBox(lf, "chkGPSNaming", "Name each log by its GPS position and time");
    v->addWidget(logBox);

    auto* pushBox = named(new QGroupBox("Push"), "fraPush");
    auto* pf = new QFormLayout(pushBox);
    // The mode's look: its caption on its fill colour, and its banner when the program's folder has it.
    auto* banner = named(new QLabel, "picBanner");
    banner->setVisible(false);
    pf->addRow(banner);
    auto* caption = named(new QLabel, "lblProbeCaption");
    caption->setAlignment(Qt::AlignCenter);
    caption->setAutoFillBackground(true);
    pf->addRow(caption);
    checkBox(pf, "chkMetric", "Depths in metres");
    lineEdit(pf, "txtStartDepth", "Start depth", "");
    lineEdit(pf, "txtStartDelay", "Start delay (s)", "0");
    lineEdit(pf, "txtInterval", "Timed interval (s)", "2");
    lineEdit(pf, "txtStep", "Depth step", "0.05");
    checkBox(pf, program::control::kAutoStop, "Stop automatically at the stop depth");
    lineEdit(pf, program::control::kStopDepth, "Stop depth", "");
    checkBox(pf, program::control::kEmulateStop, "Stop the depth emulator after a number of steps");
    lineEdit(pf, program::control::kEmulateStopCount, "Emulated steps to stop at", "0");
    // Live read-outs ("txtcomm_": never kept in the options file).
    lineEdit(pf, "txtcomm_PushNumber", "Pushes this session", "0")->setReadOnly(true);
    lineEdit(pf, "txtcomm_EmulatedSteps", "Emulated steps", "0")->setReadOnly(true);
    checkBox(pf, "chkPresFlow", "Log pressure and flow", settings.pressureFlow);
    lineEdit(pf, program::control::kPFOffset, "Pressure port offset (ft)", "0");
    QStringList probes;
    int selected = 0;
    for (const ModeEntry& m : modeTable()) {
        if (m.mode == settings.mode) selected = static_cast<int>(probes.size());
        probes << QStringLiteral("%1 (mode %2)").arg(toQt(m.model)).arg(m.mode);
    }
    // The probe comes from the command line each session ("lst": not one of the persisted prefixes, so an
    // old session's probe never overrides a mode switch); choosing another one applies for this session.
    auto* probe = comboBox(pf, "lstProbe", "Probe", probes, selected);
    connect(probe, &QComboBox::currentIndexChanged, this, [this](int i) {
        const auto table = modeTable();
        if (i < 0 || i >= static_cast<int>(table.size()) || !onProbeChosen) return;
        onProbeChosen(table[static_cast<std::size_t>(i)].mode);
    });
    v->addWidget(pushBox);

    auto* plotBox = named(new QGroupBox("Plot"), "fraPlot");
    auto* plf = new QFormLayout(plotBox);
    lineEdit(plf, "txtDepthMin", "Depth from", "");
    lineEdit(plf, "txtDepthMax", "Depth to", "");
    // The %RE range is only used while the fixed scale is ticked (otherwise the track scales to the log), so
    // its boxes sit under that switch and take input only while it is on: a typed range never silently
    // does nothing.
    const char* manual[] = {"Fixed %RE scale", "Fixed scale, track 2", "Fixed scale, track 3"};
    QCheckBox* manualBox[3] = {};
    for (int i = 0; i < 3; ++i) {
        manualBox[i] = new QCheckBox(manual[i]);
        setControlArray(manualBox[i], "chkManualScaleLog", i);
    }
    plf->addRow(manualBox[0]);
    QLineEdit* range[] = {lineEdit(plf, "txtSignalMin", "%RE from", "0"),
                          lineEdit(plf, "txtSignalMax", "%RE to", "100")};
    const auto followSwitch = [box = manualBox[0], range] {
        for (QLineEdit* e : range) {
            e->setEnabled(box->isChecked());
            e->setToolTip(box->isChecked()
                              ? QString()
                              : QStringLiteral("Tick \"Fixed %RE scale\" to plot with this range; "
                                               "until then the track scales to the log."));
        }
    };
    connect(manualBox[0], &QCheckBox::toggled, this, followSwitch);
    followSwitch();
    // The floor applies whatever the scale.
    lineEdit(plf, "txtSignalFloor", "%RE floor", "0");
    // Tracks 2 and 3 are fixed by each track's own switch (below): these are kept for the plot-settings files
    // only, and say so rather than take a tick that changes nothing.
    for (int i = 1; i < 3; ++i) {
        manualBox[i]->setEnabled(false);
        manualBox[i]->setToolTip(
            QStringLiteral("Not used by this program: each of the other tracks has its "
                           "own fixed scale below. The value is kept in the plot settings."));
        plf->addRow(manualBox[i]);
    }
    checkBox(plf, "chkRElog", "Logarithmic %RE");
    checkBox(plf, "chkPlotZoom", "Zoomed %RE track");
    for (int i = 0; i < 2; ++i) {
        auto* e = new QLineEdit(i == 0 ? "0" : "9");
        setControlArray(e, "txt2ndScale_Zoom", i);
        plf->addRow(i == 0 ? "Zoom from" : "Zoom to", e);
    }
    checkBox(plf, "chkPlotRate", "Rate track", true);
    checkBox(plf, "chkPlotCond", "Conductivity track");
    checkBox(plf, "chkPlotScat", "Scatter track");
    checkBox(plf, "chkPlotFluor", "Fluorescence track");
    checkBox(plf, "chkPlotNNLS", "NNLS track (a basis fit beside the log)");
    checkBox(plf, "chkCluster", "Class strip beside %RE (a classification beside the log)", true);
    // Drawn only for a log that carries pressure and flow; its estimated K is always beside them.
    const char* presFlow[] = {"Pressure track", "Flow track", "Upward pressure track",
                              "Injection time track"};
    for (int i = 0; i < 4; ++i) {
        auto* c = new QCheckBox(presFlow[i]);
        c->setChecked(i < 2);
        setControlArray(c, "chkPresFlowPlot", i);
        plf->addRow(c);
    }
    checkBox(plf, "chkRealColor", "Channel colours at their true wavelengths");
    v->addWidget(plotBox);
    v->addWidget(secondaryScales());
    v->addStretch();
}

// The secondary tracks scale to the log unless their fixed scale is ticked; as for %RE, a range takes input
// only while its switch is on.
QGroupBox* SetupPage::secondaryScales() {
    auto* box = named(new QGroupBox("Scales of the other tracks"), "fraScales");
    auto* grid = new QGridLayout(box);
    const char* head[] = {"Track", "Fixed", "From", "To", "Log"};
    for (int c = 0; c < 5; ++c)
        grid->addWidget(new QLabel(head[c]), 0, c);
    struct Row {
        const char* name; // the plot-settings keys' suffix
        const char* caption;
    };
    const Row rows[] = {{"Rate", "Rate"},
                        {"Cond", "Conductivity"},
                        {"Sctr", "Scatter"},
                        {"Fluor", "Fluorescence"},
                        {"NNLS", "NNLS"}};
    int r = 1;
    for (const Row& row : rows) {
        const std::string n = row.name;
        auto* fixed = named(new QCheckBox, ("chk2ndScale_" + n).c_str());
        QLineEdit* range[2] = {};
        for (int i = 0; i < 2; ++i) {
            range[i] = new QLineEdit(i == 0 ? "0" : "100");
            range[i]->setMaximumWidth(70);
            setControlArray(range[i], ("txt2ndScale_" + n).c_str(), i);
        }
        auto* logScale = named(new QCheckBox, ("chk2ndLog_" + n).c_str());
        grid->addWidget(new QLabel(row.caption), r, 0);
        grid->addWidget(fixed, r, 1);
        grid->addWidget(range[0], r, 2);
        grid->addWidget(range[1], r, 3);
        grid->addWidget(logScale, r, 4);
        const auto follow = [fixed, range] {
            for (QLineEdit* e : range)
                e->setEnabled(fixed->isChecked());
        };
        connect(fixed, &QCheckBox::toggled, this, follow);
        follow();
        ++r;
    }
    return box;
}

} // namespace zel::gui
