#pragma once
// zel-sim hd: the network data board on TCP, commands on one port and records streamed on another, in
// the layout of instruments/hd_board/hd_protocol.h.

#include <CLI/CLI.hpp>

#include <functional>

namespace zel::sim {

void addHdSim(CLI::App& app, std::function<int()>& run);

} // namespace zel::sim
