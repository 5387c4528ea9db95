#pragma once
// zel-sim display: the field display on a pseudo-terminal. It answers the status request, records every
// command and text it is sent, and can press keys.

#include <CLI/CLI.hpp>

#include <functional>

namespace zel::sim {

void addDisplaySim(CLI::App& app, std::function<int()>& run);

} // namespace zel::sim
