#pragma once
// Simulators of zel-sim as child processes for the tests (see app/cli/sim_children.h), and reading their
// transcripts.

#include "app/cli/sim_children.h"

#include <chrono>
#include <csignal>
#include <fstream>
#include <functional>
#include <string>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace zel::e2e {

using cli::SimChild;

// The lines of a transcript once it holds at least `count` of them (or after timeoutMs); pause(ms) lets
// a test run its event loop meanwhile.
inline std::vector<std::string> transcriptLines(
    const std::string& path, std::size_t count, int timeoutMs = 3000,
    const std::function<void(int)>& pause = [](int ms) {
        std::this_thread::sleep_for(std::chrono::milliseconds(ms));
    }) {
    std::vector<std::string> out;
    for (int waited = 0;; waited += 20) {
        out.clear();
        std::ifstream in(path);
        for (std::string l; std::getline(in, l);)
            out.push_back(l);
        if (out.size() >= count || waited >= timeoutMs) return out;
        pause(20);
    }
}

} // namespace zel::e2e
