#include "app/zel/desktop_startup.h"

#include "app/plot/qt_text.h"
#include "app/zel/sim_network.h"
#include "instruments/field/field_config.h"
#include "settings/data_root.h"
#include "settings/startup/instance_lock.h"
#include "settings/startup/platform_network.h"

#include <QLabel>
#include <QTimer>

namespace zel::gui {

bool startDesktop(MainWindow& window, const StartupSettings& settings, Host& host, Clock& clock,
                  const std::string& dataRoot, const DesktopStartup& how) {
    // The drivers are created once, opened by the sequence's steps, and handed to the main window for its
    // pushes. With --sim they are pointed at zel-sim children started here.
    StartupSettings resolvedSettings = settings;
    std::vector<std::unique_ptr<program::SimChild>> sims;
    std::unique_ptr<FieldInstruments> drivers;
    if (how.sim && !settings.fileMode) {
        program::SimOptions simOptions = how.simOptions;
        simOptions.hd = simOptions.hd || settings.hd; // "/H": the rig's data board too
        if (const auto config = program::startSimulators(host, simOptions, sims))
            drivers = std::make_unique<FieldInstruments>(host, clock, *config);
        else
            sims.clear();
    }
    if (!drivers) drivers = std::make_unique<FieldInstruments>(host, clock, optionsFilePath(dataRoot));
    // The hydraulic-profiling unit: always on the simulated rig, and with "/PF" at a real one.
    if (!sims.empty() || settings.pressureFlow) drivers->openPresFlow();
    applyAddresses(drivers->Config, resolvedSettings);
    const bool simulated = !sims.empty();
    SimNetwork simNetwork;
    SystemNetwork systemNetwork;
    InstanceLock instances(instanceLockPath(dataRoot));

    StartupHooks hooks;
    hooks.showVersion = how.showVersion;
    hooks.hideAcquisitionMenus = [&] { window.hideAcquisition(); };
    hooks.setConnection = [&](std::string_view v) {
        if (auto* l = window.findChild<QLabel*>("labelConnection")) l->setText(toQt(v));
    };
    hooks.showMainWindow = [&](const StartupSettings& resolved) {
        window.restoreOptions();
        window.applyStartupSettings(resolved);
        // A push needs at least a digitiser (the scope, or the data board in HD-board mode) and the depth
        // source; without them the window is the viewer.
        const bool digitiser = drivers->ScopeOpen() || (resolved.hd && drivers->HdBoardOpen());
        if (!settings.fileMode && digitiser && drivers->DepthOpen())
            window.setInstruments(std::make_unique<program::PushRig>(host, clock, std::move(drivers),
                                                                     std::move(sims), resolved.hd));
        window.show();
        if (how.mainWindowShown) how.mainWindowShown();
        if (resolved.startFile.empty()) window.openLastLogIfChosen();
    };
    hooks.openStartFile = [&](const std::string& path) { window.loadLog(path); };

    InstrumentOpeners& openers = *drivers;
    NetworkProbe& network = simulated ? static_cast<NetworkProbe&>(simNetwork) : systemNetwork;
    StartupSequence sequence(
        resolvedSettings,
        {host, clock, openers, network, how.instanceCheck ? &instances : nullptr, &window.options()}, hooks);
    if (how.running) *how.running = &sequence;
    // The splash's one-second timer: it also fires while an opener waits on a device and lets the events
    // run, so the count goes on and a device that hangs is skipped after 50 s.
    QTimer ticker;
    ticker.setInterval(1000);
    QObject::connect(&ticker, &QTimer::timeout, [&sequence] { sequence.poll(); });
    ticker.start();
    runStartup(sequence, host);
    ticker.stop();
    if (how.running) *how.running = nullptr;
    return sequence.state() != StartupSequence::State::Cancelled;
}

} // namespace zel::gui
