#pragma once
// Simulators of zel-sim as child processes for the tests (see program/sim_children.h), and reading their
// transcripts.

#include "program/sim_children.h"
#include "tests/e2e/run_program.h"

#include <chrono>
#include <csignal>
#include <fstream>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace zel::e2e {

using program::SimChild;

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

// Simulators standing in for the configured instruments, and a data root whose options file names them
// the way the communications dialog keeps them ("Comm" section, "ordinal,control" keys).
struct FieldRig {
    TempDir root;
    std::vector<std::unique_ptr<SimChild>> sims;
    std::map<std::string, std::string> comm; // control name -> value
    std::map<int, std::string> portMap;      // serial port number -> device

    SimChild& start(std::vector<std::string> args) {
        sims.push_back(std::make_unique<SimChild>(ZEL_SIM, std::move(args)));
        return *sims.back();
    }
    // The scope, depth board, display and GPS simulators, named in the options.
    bool startAll(const std::vector<std::string>& depthArgs = {}) {
        SimChild& scope = start({"scope", "--portmap-port", "0", "--sweep-ms", "0"});
        std::vector<std::string> d{"depth"};
        d.insert(d.end(), depthArgs.begin(), depthArgs.end());
        SimChild& depth = start(d);
        SimChild& display = start({"display", "--transcript", (root.path / "display.txt").string()});
        SimChild& gps = start({"gps", "--interval-ms", "200"});
        comm["txtScopeAddress"] = "127.0.0.1";
        comm["txtScopePortmap"] = std::to_string(scope.port("scope", "portmap"));
        comm["txtDepthPort"] = depth.text("depth", "pty");
        comm["txtDisplayPort"] = display.text("display", "pty");
        comm["txtGPSPort"] = gps.text("gps", "pty");
        return scope.running() && depth.running() && display.running() && gps.running();
    }
    void writeOptions() const {
        std::filesystem::create_directories(root.path / "ini");
        std::ofstream out(root.path / "ini" / "ZEL_Options.ini");
        out << "[Comm]\r\n";
        int ordinal = 0;
        for (const auto& [name, value] : comm)
            out << ordinal++ << ',' << name << '=' << value << "\r\n";
        out << "[CommPorts]\r\n";
        for (const auto& [number, device] : portMap)
            out << "Port" << number << '=' << device << "\r\n";
    }
    // A command line prefix that runs a program against this data root.
    std::string env() const { return "ZEL_DATA_ROOT=" + quote(root.path.string()) + " "; }
};

} // namespace zel::e2e
