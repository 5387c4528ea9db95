#pragma once
// Runs a program the way a script does and captures its exit code, stdout and stderr.

#include <array>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <sys/wait.h>
#include <unistd.h>

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

} // namespace zel::e2e
