#include "app/zel/comm_page.h"

#include "app/zel/form_widgets.h"
#include "common/number_text.h"
#include "instruments/field/field_config.h"

#include <QLabel>

namespace zel::gui {

CommPage::CommPage(const StartupSettings& settings) {
    namespace c = comm_control;
    // The defaults are the ones the start-up's openers fall back on when the options file has no value.
    const FieldConfig d;
    auto* form = new QFormLayout(this);
    lineEdit(form, "txtcomm_ScopeAddress", "Scope address in use", qs(settings.scopeAddress))
        ->setReadOnly(true);
    comboBox(form, c::kDepthSource, "Depth source",
             {"Emulation", "Interface board", "AD4 counter", "PCU", "CAN"}, d.depthSource);
    const auto port = [](const std::string& p) { return QString::fromStdString(p); };
    lineEdit(form, c::kDepthPort, "Depth port", port(d.depthPort));
    lineEdit(form, c::kAuxPort, "Auxiliary port", port(d.auxPort));
    lineEdit(form, c::kDisplayPort, "Display port", port(d.displayPort));
    lineEdit(form, c::kGpsPort, "GPS port", port(d.gpsPort));
    lineEdit(form, c::kGpsSettings, "GPS line settings", port(d.gpsSettings));
    checkBox(form, c::kDisplayAnsi, "Field display speaks ANSI", d.displayAnsi);
    lineEdit(form, c::kStringPotCal, "String pot calibration (mV/V/inch)", qs(shortestText(d.stringPotCal)));
    lineEdit(form, c::kDepthUpdateMs, "Depth update (ms)", QString::number(d.depthUpdateMs));
    lineEdit(form, c::kAd4CountsPerFt, "AD4 counts per ft", qs(shortestText(d.ad4CountsPerFt)));
    lineEdit(form, c::kCondConstant, "Conductivity constant", qs(shortestText(d.condConstant)));
    lineEdit(form, c::kCondOffset, "Conductivity offset", qs(shortestText(d.condOffset)));
    lineEdit(form, c::kCondConstant2, "Conductivity second-order term", qs(shortestText(d.condConstant2)));
    // The voltages the calibration read in the standard solutions (Acquisition > Conductivity calibration);
    // every log carries them.
    static constexpr const char* kSolutions[] = {"0", "25", "266", "560"};
    for (int i = 0; i < 4; ++i)
        lineEdit(form, condVoltsControl(i).c_str(),
                 QStringLiteral("Calibration volts, %1 mS/m").arg(kSolutions[i]), QStringLiteral("0"));
    checkBox(form, c::kHdReference, "Depth board's reference from the data board (3.18 V)", d.hdReference);
    // Off the instrument network only: empty keeps the network's fixed addresses.
    lineEdit(form, c::kScopeAddress, "Scope address (off the instrument network)");
    lineEdit(form, c::kScopePortmap, "Scope portmapper port", QString::number(d.scopePortmap));
    lineEdit(form, c::kHdAddress, "Data board address (off the instrument network)");
    lineEdit(form, c::kHdPorts, "Data board ports",
             QStringLiteral("%1,%2,%3").arg(d.hdPorts[0]).arg(d.hdPorts[1]).arg(d.hdPorts[2]));
    lineEdit(form, "txtcomm_Depth", "Depth now")->setReadOnly(true);
    lineEdit(form, "txtcomm_GPS", "Position now")->setReadOnly(true);
    form->addRow("Connection", named(new QLabel("none"), "labelConnection"));
    form->addRow(new QLabel("Port settings take effect at the next start."));
}

} // namespace zel::gui
