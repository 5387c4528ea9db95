#pragma once
// Runs a program the way a script does and captures its exit code, stdout and stderr.

#include <array>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <sstream>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace zel::e2e {

struct RunResult {
    int exitCode = -1;
    std::string out;
    std::string err;
};

inline std::string quote(const std::string& s) {
    std::string q = "'";
    for (char c : s)
        q += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return q + "'";
}

inline RunResult runProgram(const std::string& commandLine) {
    const auto errPath =
        std::filesystem::temp_directory_path() / ("zel_e2e_err_" + std::to_string(::getpid()));
    RunResult r;
    FILE* p = ::popen((commandLine + " 2>" + quote(errPath.string())).c_str(), "r");
    if (!p) return r;
    std::array<char, 4096> buf;
    size_t n;
    while ((n = std::fread(buf.data(), 1, buf.size(), p)) > 0)
        r.out.append(buf.data(), n);
    const int status = ::pclose(p);
    r.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    std::ifstream e(errPath);
    std::stringstream ss;
    ss << e.rdbuf();
    r.err = ss.str();
    std::filesystem::remove(errPath);
    return r;
}

// A temporary folder removed with the object.
struct TempDir {
    std::filesystem::path path;
    TempDir() {
        path = std::filesystem::temp_directory_path() /
               ("zel_e2e_" + std::to_string(::getpid()) + "_" + std::to_string(counter()++));
        std::filesystem::create_directories(path);
    }
    ~TempDir() {
        std::error_code ec;
        std::filesystem::remove_all(path, ec);
    }
    std::string write(const std::string& name, const std::string& text) const {
        std::ofstream(path / name, std::ios::binary) << text;
        return (path / name).string();
    }
    static int& counter() {
        static int c = 0;
        return c;
    }
};

// The last non-empty line of a run's stdout as JSON (the summary line the push prints at its end).
inline nlohmann::json lastJsonLine(const RunResult& r) {
    std::istringstream in(r.out);
    std::string line, last;
    while (std::getline(in, line))
        if (!line.empty()) last = line;
    return nlohmann::json::parse(last, nullptr, false);
}

// Runs program with args in its own process group (so the simulators it starts go with it), with env set,
// and kills the group without warning once it has reported `points` points on stdout ("point ..." lines).
// Returns the number of points it reported before it was killed or ended.
inline int killAfterReportedPoints(const std::string& program, const std::vector<std::string>& args,
                                   int points,
                                   const std::vector<std::pair<std::string, std::string>>& env = {}) {
    int fds[2];
    if (::pipe(fds) != 0) return -1;
    const pid_t pid = ::fork();
    if (pid == 0) {
        ::setpgid(0, 0);
        ::dup2(fds[1], 1);
        ::close(fds[0]);
        ::close(fds[1]);
        for (const auto& [name, value] : env)
            ::setenv(name.c_str(), value.c_str(), 1);
        std::vector<char*> argv{const_cast<char*>(program.c_str())};
        for (const auto& a : args)
            argv.push_back(const_cast<char*>(a.c_str()));
        argv.push_back(nullptr);
        ::execv(program.c_str(), argv.data());
        ::_exit(127);
    }
    ::close(fds[1]);
    ::setpgid(pid, pid);
    int reported = 0;
    std::string line;
    char c;
    while (reported < points && ::read(fds[0], &c, 1) == 1) {
        if (c != '\n') {
            line += c;
            continue;
        }
        if (line.rfind("point ", 0) == 0) ++reported;
        line.clear();
    }
    ::kill(-pid, SIGKILL);
    ::waitpid(pid, nullptr, 0);
    ::close(fds[0]);
    return reported;
}

} // namespace zel::e2e
