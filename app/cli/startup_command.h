#pragma once
// "zel-cli startup [--dry-run] ARGS...": how the program starts with these arguments, as JSON. With
// --dry-run nothing is opened; without it the configured instruments are opened as the program's start-up
// opens them (and closed again), and the JSON says which answered.

#include "app/cli/command.h"
#include "settings/startup/startup_sequence.h"

#include <iosfwd>
#include <string>
#include <vector>

namespace zel::cli {

// Returns the process exit code (always 0: every command line resolves to some start-up).
int runStartupDryRun(const std::vector<std::string>& arguments, std::ostream& out);
int runStartup(const std::vector<std::string>& arguments, std::ostream& out);
// The sequence with its one-second ticks given at once: in a headless tool the waits only order the steps.
void runStartupAtOnce(StartupSequence& sequence);

} // namespace zel::cli
