#pragma once
// zel-sim children for a push without instruments: each is started with its arguments, its one JSON line
// (ports, pseudo-terminal) kept, and killed when the object goes.

#include <nlohmann/json.hpp>

#include <string>
#include <vector>

namespace zel::cli {

class SimChild {
public:
    SimChild(const std::string& program, std::vector<std::string> args);
    ~SimChild();
    SimChild(const SimChild&) = delete;
    SimChild& operator=(const SimChild&) = delete;

    bool running() const { return pid_ > 0 && info.is_object(); }
    nlohmann::json info;

private:
    int pid_ = -1;
};

// zel-sim beside the running program.
std::string simProgramPath();

} // namespace zel::cli
