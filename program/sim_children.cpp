#include "program/sim_children.h"

#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>
#ifdef __linux__
#include <sys/prctl.h>
#endif

namespace zel::program {

SimChild::SimChild(const std::string& program, std::vector<std::string> args) {
    int fds[2];
    int in[2];
    if (::pipe2(fds, O_CLOEXEC) != 0) return;
    // A socket rather than a pipe: a write to a child that has gone fails instead of raising SIGPIPE.
    if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, in) != 0) {
        ::close(fds[0]);
        ::close(fds[1]);
        return;
    }
    pid_ = ::fork();
    if (pid_ == 0) {
#ifdef __linux__
        // A parent that dies without its destructors (killed, crashed) takes its simulators with it.
        ::prctl(PR_SET_PDEATHSIG, SIGTERM);
#endif
        ::dup2(fds[1], 1);
        ::dup2(in[0], 0);
        std::vector<char*> argv{const_cast<char*>(program.c_str())};
        for (auto& a : args)
            argv.push_back(a.data());
        argv.push_back(nullptr);
        ::execv(program.c_str(), argv.data());
        ::_exit(127);
    }
    ::close(fds[1]);
    ::close(in[0]);
    input_ = in[1];
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

bool SimChild::send(std::string_view line) {
    if (input_ < 0) return false;
    std::string text(line);
    text += '\n';
    std::size_t done = 0;
    while (done < text.size()) {
        const auto n = ::send(input_, text.data() + done, text.size() - done, MSG_NOSIGNAL);
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) return false;
        done += static_cast<std::size_t>(n);
    }
    return true;
}

void SimChild::stop() {
    if (pid_ > 0) ::kill(pid_, SIGSTOP);
}

void SimChild::resume() {
    if (pid_ > 0) ::kill(pid_, SIGCONT);
}

void SimChild::kill() {
    if (input_ >= 0) ::close(input_);
    input_ = -1;
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
