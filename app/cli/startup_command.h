#pragma once
// "zel-cli startup --dry-run ARGS...": how the program would start with these arguments, as JSON, without
// opening anything.

#include "app/cli/command.h"

#include <iosfwd>
#include <string>
#include <vector>

namespace zel::cli {

// Returns the process exit code (always 0: every command line resolves to some start-up).
int runStartupDryRun(const std::vector<std::string>& arguments, std::ostream& out);

} // namespace zel::cli
