#pragma once
// The desktop program's start-up: the paced sequence of the splash wired to the main window. The splash
// itself stays with the caller (it only shows the host's progress texts); what happens here is testable
// with a recording host and a fake clock.

#include "app/cli/field_rig.h"
#include "app/zel/main_window.h"
#include "common/clock.h"
#include "common/host.h"
#include "settings/startup/startup_sequence.h"

#include <functional>
#include <string>
#include <string_view>

namespace zel::gui {

struct DesktopStartup {
    bool sim = false; // the zel-sim children instead of the configured instruments
    cli::SimOptions simOptions;
    bool instanceCheck = true;
    std::function<void(std::string_view)> showVersion;
    // Runs once the main window is up (the splash closes, progress goes to the status bar).
    std::function<void()> mainWindowShown;
    // Set while the sequence runs, for the splash's Escape.
    StartupSequence** running = nullptr;
};

// Runs the start-up sequence to its end: options, instruments, then the main window shown with its
// options restored, its instruments given, and the start file opened. False when another copy of the
// program stopped it.
bool startDesktop(MainWindow& window, const StartupSettings& settings, Host& host, Clock& clock,
                  const std::string& dataRoot, const DesktopStartup& how = {});

} // namespace zel::gui
