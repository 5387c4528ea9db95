#pragma once
// "zel-cli wave": one waveform processed against an RE, printed as JSON.

#include "app/cli/command.h"

#include <iosfwd>
#include <string>

namespace zel::cli {

struct WaveArgs {
    std::string rePath;
    std::string wavePath;
    std::string bgPath;
    double dt = 8e-10; // the scope's default timebase: 40 ns/div over a 500-point record
    double delay = 0.0;
    int mode = 0;
    bool gated = false;
};

// Returns the process exit code: 0 success, 1 bad input.
int runWave(const WaveArgs& args, std::ostream& out, std::ostream& err);

} // namespace zel::cli
