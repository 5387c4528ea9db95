#pragma once
// zel-sim rig: every instrument of a rig in one process over one site and one probe.

#include <CLI/CLI.hpp>

#include <functional>

namespace zel::sim {

void addRigSim(CLI::App& app, std::function<int()>& run);

} // namespace zel::sim
