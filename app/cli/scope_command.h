#pragma once
// "zel-cli scope": the manual command form on the command line. Opens a scope (through Init, or as a bare
// VISA session with --raw), sends the commands and queries in the order given, and with --acquire prints
// processed waveforms. A field technician checks a scope with it; tests drive the simulator with it.

#include "app/cli/command.h"

#include <iosfwd>
#include <string>
#include <vector>

namespace zel::cli {

struct ScopeArgs {
    std::string resource; // an address, or a full "TCPIP::..." resource string
    bool raw = false;
    bool applyDefault = false;
    // --write and --query in command-line order: {is query, text}.
    std::vector<std::pair<bool, std::string>> steps;
    int acquire = 0;
    bool json = false;
    int portmapPort = 111;
    int timeoutMs = 2000;
};

int runScope(const ScopeArgs& args, std::ostream& out, std::ostream& err);

} // namespace zel::cli
