#pragma once
// zel-sim gps: a GPS receiver on a pseudo-terminal sending NMEA GGA sentences.

#include <CLI/CLI.hpp>

#include <functional>

namespace zel::sim {

void addGpsSim(CLI::App& app, std::function<int()>& run);

} // namespace zel::sim
