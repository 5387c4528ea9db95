#include "app/zel/desktop_startup.h"

#include "app/zel/field_openers.h"
#include "settings/startup/instance_lock.h"
#include "settings/startup/platform_network.h"

#include <QLabel>

namespace zel::gui {

bool startDesktop(MainWindow& window, const StartupSettings& settings, Host& host, Clock& clock,
                  const std::string& dataRoot, const DesktopStartup& how) {
    SimOpeners simOpeners(host, clock);
    ConfiguredInstruments configured;
    SimNetwork simNetwork;
    SystemNetwork systemNetwork;
    InstanceLock instances(instanceLockPath(dataRoot));

    StartupHooks hooks;
    hooks.showVersion = how.showVersion;
    hooks.hideAcquisitionMenus = [&] { window.hideAcquisition(); };
    hooks.setConnection = [&](std::string_view v) {
        if (auto* l = window.findChild<QLabel*>("lblConnection"))
            l->setText(QString::fromUtf8(v.data(), qsizetype(v.size())));
    };
    hooks.showMainWindow = [&](const StartupSettings& resolved) {
        window.restoreOptions();
        window.applyStartupSettings(resolved);
        if (!settings.fileMode) window.setInstruments(how.sim ? simOpeners.take() : configured.take());
        window.show();
        if (how.mainWindowShown) how.mainWindowShown();
    };
    hooks.openStartFile = [&](const std::string& path) { window.loadLog(path); };

    InstrumentOpeners& openers = how.sim ? static_cast<InstrumentOpeners&>(simOpeners) : *configured.openers;
    NetworkProbe& network = how.sim ? static_cast<NetworkProbe&>(simNetwork) : systemNetwork;
    StartupSequence sequence(
        settings,
        {host, clock, openers, network, how.instanceCheck ? &instances : nullptr, &window.options()}, hooks);
    if (how.running) *how.running = &sequence;
    runStartup(sequence, host);
    if (how.running) *how.running = nullptr;
    return sequence.state() != StartupSequence::State::Cancelled;
}

} // namespace zel::gui
