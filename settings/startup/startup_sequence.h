#pragma once
// The splash's start-up: options, the instruments one after the other with a progress text each, then the
// main window. It is paced by a one-second tick and never blocks: each step waits for the tick counter to
// reach its number, so the splash shows at least seven seconds and the user sees each text. A counter past
// 50 at a wait means start-up hangs on a device; the remaining instruments are skipped.
//
// Everything outside (texts, instruments, network, the other copy, the forms) comes in through the services
// and hooks, so the desktop program, zel-cli and the tests run the same sequence.

#include "common/clock.h"
#include "common/host.h"
#include "settings/options.h"
#include "settings/startup/instance_lock.h"
#include "settings/startup/instruments.h"
#include "settings/startup/network.h"
#include "settings/startup/startup_settings.h"

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

namespace zel {

inline constexpr const char* kPreviousInstanceText =
    "Previous instance of ZEL running already, load cancelled";

// "Version " + major.minor.revision of this build.
std::string versionText();

struct StartupServices {
    Host& host;
    Clock& clock;
    InstrumentOpeners& instruments;
    NetworkProbe& network;
    InstanceCheck* instances = nullptr; // none: no copy is looked for
    Options* options = nullptr;         // none: no options file is read
};

struct StartupHooks {
    std::function<void(std::string_view)> showVersion;
    std::function<void()> hideAcquisitionMenus;
    // The setup form's connection field ("LAN" once the oscilloscope is connected).
    std::function<void(std::string_view)> setConnection;
    // Applies the settings' mode, look and pressure/flow box to the setup form and shows the main window.
    std::function<void(const StartupSettings&)> showMainWindow;
    // Runs after showMainWindow when a start file was given.
    std::function<void(const std::string&)> openStartFile;
};

class StartupSequence {
public:
    enum class State { NotStarted, Running, Finished, Cancelled };

    StartupSequence(StartupSettings settings, StartupServices services, StartupHooks hooks = {});

    // The load handler: runs up to its first wait (or to the end when another copy stops it).
    void start();
    // The splash timer, once a second: counts and carries on with whatever waited for the count.
    void tick();
    // Gives tick() once for every whole second the clock has moved since the timer started.
    void poll();
    // Escape on the splash: once loading has begun, goes straight to the main window.
    void escape();

    State state() const;
    int counter() const { return counter_; }
    bool done() const { return done_; } // the post-load step has run
    bool scopeConnected() const { return scopeConnected_; }
    const StartupSettings& settings() const { return settings_; }

private:
    enum class Stage { NotStarted, Finding, Digitiser, Depth, Display, Gps, Last, Finished, Cancelled };

    void advance();
    void openDigitisers();
    void checkPcAddress();
    void postLoad();

    StartupSettings settings_;
    StartupServices services_;
    StartupHooks hooks_;
    Stage stage_ = Stage::NotStarted;
    int counter_ = 0;
    bool done_ = false;
    bool skipEnabled_ = false;
    bool busy_ = false; // a step is running; a tick arriving meanwhile (an opener yielding) only counts
    bool scopeConnected_ = false;
    bool spectrometerConnected_ = false;
    std::int64_t timerStartMs_ = 0;
    std::int64_t ticksGiven_ = 0;
};

// start(), then poll() between the host's yields and short sleeps until the sequence has finished.
void runStartup(StartupSequence& sequence, Host& host);

} // namespace zel
