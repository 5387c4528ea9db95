#pragma once
// Starts a serial or TCP simulator of zel-sim as a child process and keeps the JSON line it prints
// ({"gps": {"pty": "/dev/pts/7"}}), for tests that need its pseudo-terminal path as well as its ports.
// The child is killed with the object.

#include <nlohmann/json.hpp>

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

class FieldSim {
public:
    FieldSim(const std::string& program, std::vector<std::string> args) {
        int fds[2];
        if (::pipe(fds) != 0) return;
        pid_ = ::fork();
        if (pid_ == 0) {
            ::dup2(fds[1], 1);
            ::close(fds[0]);
            ::close(fds[1]);
            std::vector<char*> argv{const_cast<char*>(program.c_str())};
            for (auto& a : args)
                argv.push_back(a.data());
            argv.push_back(nullptr);
            ::execv(program.c_str(), argv.data());
            ::_exit(127);
        }
        ::close(fds[1]);
        std::string line;
        char c;
        while (::read(fds[0], &c, 1) == 1 && c != '\n')
            line += c;
        ::close(fds[0]);
        info = nlohmann::json::parse(line, nullptr, false);
    }
    ~FieldSim() {
        if (pid_ <= 0) return;
        ::kill(pid_, SIGKILL);
        ::waitpid(pid_, nullptr, 0);
    }
    FieldSim(const FieldSim&) = delete;
    FieldSim& operator=(const FieldSim&) = delete;

    bool running() const { return pid_ > 0 && info.is_object(); }
    std::string text(const char* sim, const char* name) const {
        if (!running() || !info.contains(sim) || !info[sim].contains(name)) return {};
        return info[sim][name].is_string() ? info[sim][name].get<std::string>() : info[sim][name].dump();
    }
    int port(const char* sim, const char* name) const {
        if (!running() || !info.contains(sim) || !info[sim].contains(name)) return 0;
        return info[sim][name].get<int>();
    }

    nlohmann::json info;

private:
    pid_t pid_ = -1;
};

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
