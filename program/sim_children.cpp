#include "program/sim_children.h"

#include <csignal>
#include <filesystem>
#include <sys/wait.h>
#include <unistd.h>
#ifdef __linux__
#include <sys/prctl.h>
#endif

namespace zel::program {

SimChild::SimChild(const std::string& program, std::vector<std::string> args) {
    int fds[2];
    if (::pipe(fds) != 0) return;
    pid_ = ::fork();
    if (pid_ == 0) {
#ifdef __linux__
        // A parent that dies without its destructors (killed, crashed) takes its simulators with it.
        ::prctl(PR_SET_PDEATHSIG, SIGTERM);
#endif
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

static const nlohmann::json* lookUp(const nlohmann::json& info, const char* sim, const char* name) {
    if (!info.is_object() || !info.contains(sim) || !info[sim].is_object() || !info[sim].contains(name))
        return nullptr;
    return &info[sim][name];
}

int SimChild::port(const char* sim, const char* name) const {
    const auto* v = running() ? lookUp(info, sim, name) : nullptr;
    return v && v->is_number_integer() ? v->get<int>() : 0;
}

std::string SimChild::text(const char* sim, const char* name) const {
    const auto* v = running() ? lookUp(info, sim, name) : nullptr;
    if (!v) return {};
    return v->is_string() ? v->get<std::string>() : v->dump();
}

void SimChild::stop() {
    if (pid_ > 0) ::kill(pid_, SIGSTOP);
}

void SimChild::resume() {
    if (pid_ > 0) ::kill(pid_, SIGCONT);
}

void SimChild::kill() {
    if (pid_ <= 0) return;
    // SIGTERM lets the simulator close its transcript; a frozen child needs SIGCONT to receive it.
    ::kill(pid_, SIGTERM);
    ::kill(pid_, SIGCONT);
    ::waitpid(pid_, nullptr, 0);
    pid_ = -1;
}

std::string simProgramPath() {
    std::error_code ec;
    const auto self = std::filesystem::read_symlink("/proc/self/exe", ec);
    return (self.parent_path() / "zel-sim").string();
}

} // namespace zel::program
