#pragma once
// A zel-sim simulator run as a child process: started with its arguments, its one JSON line (ports,
// pseudo-terminal) kept, and ended when the object goes. zel-cli push --sim and the tests that drive the
// drivers against the simulators share it. stop()/resume() freeze the child to play an instrument that
// stops answering.

#include <nlohmann/json.hpp>

#include <string>
#include <vector>

namespace zel::program {

class SimChild {
public:
    SimChild(const std::string& program, std::vector<std::string> args);
    ~SimChild() { kill(); }
    SimChild(const SimChild&) = delete;
    SimChild& operator=(const SimChild&) = delete;

    bool running() const { return pid_ > 0 && info.is_object(); }
    // A value the simulator named in its JSON line, e.g. port("scope", "vxi11"); 0 or "" when absent.
    int port(const char* sim, const char* name) const;
    std::string text(const char* sim, const char* name) const;

    void stop();
    void resume();
    int pid() const { return pid_; }
    // Ends the child (also a stopped one) and waits for it.
    void kill();

    nlohmann::json info;

private:
    int pid_ = -1;
};

// zel-sim beside the running program.
std::string simProgramPath();

} // namespace zel::program
