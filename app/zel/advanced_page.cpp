#include "app/zel/advanced_page.h"

#include "acquisition/acquisition_settings.h"
#include "app/zel/form_widgets.h"
#include "app/zel/qt_form.h"
#include "program/settings_model.h"
#include "settings/startup/command_line.h"
#include "settings/startup/modes.h"
#include "waveform/waveform.h"

#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QRadioButton>
#include <QVBoxLayout>

#include <vector>

namespace zel::gui {

AdvancedPage::AdvancedPage(const StartupSettings& settings) {
    auto* v = new QVBoxLayout(this);
    auto* reBox = named(new QGroupBox("RE"), "fraRE");
    auto* rv = new QVBoxLayout(reBox);
    checkBox(rv, acq::kNoREGateControl, "No RE area check");
    checkBox(rv, acq::kDiagnosticREControl, "Diagnostic RE");
    checkBox(rv, acq::kLowOutputREControl, "Low-output RE limits");
    checkBox(rv, acq::kREOverrideControl, "Override the low-output limits");
    checkBox(rv, acq::kFixedCutoffsControl, "Fixed channel boundaries");
    checkBox(rv, "chkSuppressPrompts", "Skip the start-of-push questions");
    v->addWidget(reBox);

    // How each point's waveform is processed, in the push and in every load.
    namespace pc = program::control;
    auto* procBox = named(new QGroupBox("Processing"), "fraProcessing");
    auto* pr = new QFormLayout(procBox);
    lineEdit(pr, pc::kWidthLimit, "Channel width limit (samples, 0: none)", "0");
    checkBox(pr, pc::kApplyGains, "Apply the channel gains");
    for (int i = 0; i < kGainChannels; ++i) {
        auto* gain = new QLineEdit("1");
        setControlArray(gain, pc::kGain, i);
        pr->addRow(QStringLiteral("Gain CH%1").arg(i + 1), gain);
    }
    for (int i = 0; i < kGainChannels; ++i) {
        auto* exclude = new QCheckBox(QStringLiteral("Exclude CH%1").arg(i + 1));
        setControlArray(exclude, pc::kExclude, i);
        pr->addRow(exclude);
    }
    checkBox(pr, pc::kExcludeCH1, "Exclude CH1 (scatter)");
    // The term corrects a gated probe's scatter with the data board's firmware (2.1.4 on) digitising
    // beside the oscilloscope. Here the board is either the digitiser, without the oscilloscope ("/H"), or
    // not in the push at all, so no waveform ever meets the condition.
    auto* correction = lineEdit(pr, pc::kCH1Correction, "CH1 correction term (0: none)", "0");
    correction->setEnabled(false);
    correction->setToolTip("Not applied by this program: the correction needs the data board's firmware "
                           "2.1.4 or later beside the oscilloscope, and here the board is only used in "
                           "place of the oscilloscope (/H).");
    v->addWidget(procBox);

    auto* scopeBox = named(new QGroupBox("Scope"), "fraScope");
    auto* sf = new QFormLayout(scopeBox);
    const auto listOf = [](const std::vector<int>& values, int current, int& index) {
        QStringList l;
        index = 0;
        for (int x : values) {
            if (x == current) index = static_cast<int>(l.size());
            l << QString::number(x);
        }
        return l;
    };
    const SwitchLists lists;
    int index = 0;
    QStringList items = listOf(lists.averages, settings.averaging, index);
    // Beside each list, whether its switch ("/S", "/Y", "/RE") chose the value this session: the start-up
    // ticks it after the options were restored, so a restored tick never claims a switch.
    const auto switchBox = [sf](const char* name, const char* sw) {
        auto* c = named(new QCheckBox(QStringLiteral("set by %1").arg(QLatin1String(sw))), name);
        c->setEnabled(false);
        sf->addRow(c);
    };
    comboBox(sf, "cmbScopeAverage", "Scope Average:", items, index);
    switchBox("chkScopeAverageSwitch", "/S");
    items = listOf(lists.yScales, settings.yScale, index);
    comboBox(sf, "cmbScopeYScale", "Scope Y-Scale:", items, index);
    switchBox("chkScopeYScaleSwitch", "/Y");
    items = listOf(lists.reScales, settings.reScale, index);
    comboBox(sf, "cmbScopeREScale", "Scope RE Scale:", items, index);
    switchBox("chkScopeREScaleSwitch", "/RE");
    sf->addRow(named(new QLabel(qs(reScaleCaption(settings.reScale))), "lblREScale"));
    checkBox(sf, "chkUnlockScope", "Leave the scope's front panel unlocked", settings.unlock);
    v->addWidget(scopeBox);

    auto* pageBox = named(new QGroupBox("Log page"), "fraPage");
    auto* gf = new QFormLayout(pageBox);
    checkBox(gf, "chkGrid", "Grid", true);
    // Kept for the plot settings of every log and preset; the page always draws the log.
    auto* showLog = checkBox(gf, "chkShowLog", "Show the log", true);
    showLog->setEnabled(false);
    showLog->setToolTip("The log is always drawn; the box is kept in the plot settings for logs and "
                        "presets made elsewhere.");
    checkBox(gf, "chkPrint_Black", "Print in black");
    checkBox(gf, "chkDraft", "DRAFT mark");
    lineEdit(gf, "txtWatermark", "Watermark");
    lineEdit(gf, program::control::kCompany, "Company (title block)");
    lineEdit(gf, program::control::kLogoFile, "Logo image file");
    checkBox(gf, "chkHideInfo", "Hide the information block");
    checkBox(gf, "chkReferenceLineRE", "Reference line at %RE");
    lineEdit(gf, "txtReferenceLineRE", "", "100");
    checkBox(gf, "chkReferenceLineDepth", "Reference line at depth");
    lineEdit(gf, "txtReferenceLineDepth", "", "0");
    checkBox(gf, "chkReferenceLineCond", "Reference line at conductivity");
    lineEdit(gf, "txtReferenceLineCond", "", "0");
    checkBox(gf, "chkDepth_ClipMIN", "Clip above depth");
    lineEdit(gf, "txtDepth_ClipMIN_Value", "", "0");
    checkBox(gf, "chkDepth_Clip", "Clip below depth");
    lineEdit(gf, "txtDepth_Clip_Value", "", "20");
    // Each pair in a frame of its own, so the two choices are independent.
    auto* orient = named(new QGroupBox("Orientation"), "fraOrientation");
    auto* oh = new QHBoxLayout(orient);
    const char* orientCaptions[] = {"Portrait", "Landscape"};
    for (int i = 0; i < 2; ++i) {
        auto* r = new QRadioButton(orientCaptions[i]);
        setControlArray(r, "optOrientation", i);
        r->setChecked(i == 0);
        oh->addWidget(r);
    }
    gf->addRow(orient);
    auto* size = named(new QGroupBox("Page size"), "fraPrintSize");
    auto* sh = new QHBoxLayout(size);
    const char* sizeCaptions[] = {"Letter", "Legal"};
    for (int i = 0; i < 2; ++i) {
        auto* r = new QRadioButton(sizeCaptions[i]);
        setControlArray(r, "optPrintSize", i);
        r->setChecked(i == 0);
        sh->addWidget(r);
    }
    gf->addRow(size);
    v->addWidget(pageBox);
    v->addStretch();
}

} // namespace zel::gui
