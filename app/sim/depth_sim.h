#pragma once
// zel-sim depth: the depth interface board (or the AD4 counter) on a pseudo-terminal. The probe goes
// down at a steady rate through the site model once the program starts the board's stream.

#include <CLI/CLI.hpp>

#include <functional>

namespace zel::sim {

void addDepthSim(CLI::App& app, std::function<int()>& run);

} // namespace zel::sim
