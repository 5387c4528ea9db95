#pragma once
// Starts a zel-sim simulator as a child process and reads back the ports it opened from its JSON line.
// The child is killed with the object; stop()/resume() freeze it to play an instrument that stops answering.

#include <nlohmann/json.hpp>

#include <csignal>
#include <cstdio>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace zel::e2e {

class SimProcess {
public:
    SimProcess(const std::string& program, std::vector<std::string> args) {
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
        info_ = nlohmann::json::parse(line, nullptr, false);
    }
    ~SimProcess() { kill(); }
    SimProcess(const SimProcess&) = delete;
    SimProcess& operator=(const SimProcess&) = delete;

    bool running() const { return pid_ > 0 && info_.is_object(); }
    // The port a simulator named, e.g. port("scope", "vxi11"); 0 when absent.
    int port(const char* sim, const char* name) const {
        if (!info_.is_object() || !info_.contains(sim) || !info_[sim].contains(name)) return 0;
        return info_[sim][name].get<int>();
    }
    void stop() { signal(SIGSTOP); }
    void resume() { signal(SIGCONT); }
    void kill() {
        if (pid_ <= 0) return;
        ::kill(pid_, SIGKILL);
        ::waitpid(pid_, nullptr, 0);
        pid_ = -1;
    }

private:
    void signal(int sig) {
        if (pid_ > 0) ::kill(pid_, sig);
    }
    pid_t pid_ = -1;
    nlohmann::json info_;
};

} // namespace zel::e2e
