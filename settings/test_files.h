#pragma once
// Test helpers: a temporary data root per test and raw file access that bypasses the INI code.

#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <unistd.h>

namespace zel::testing {

class TempDataRoot : public ::testing::Test {
protected:
    void SetUp() override {
        static int counter = 0;
        root_ = std::filesystem::temp_directory_path() /
                ("zel_settings_" + std::to_string(::getpid()) + "_" + std::to_string(++counter));
        std::filesystem::remove_all(root_);
        std::filesystem::create_directories(root_);
        ::setenv("ZEL_DATA_ROOT", root_.c_str(), 1);
    }
    void TearDown() override {
        ::unsetenv("ZEL_DATA_ROOT");
        std::error_code ec;
        std::filesystem::remove_all(root_, ec);
    }

    std::string file(const std::string& name) const { return (root_ / name).string(); }

    static void put(const std::string& path, const std::string& bytes) {
        std::filesystem::create_directories(std::filesystem::path(path).parent_path());
        std::ofstream(path, std::ios::binary | std::ios::trunc)
            .write(bytes.data(), std::streamsize(bytes.size()));
    }
    static std::string get(const std::string& path) {
        std::ifstream in(path, std::ios::binary);
        return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
    }
    // Moves the file's modification time into the past, as for a file written long ago.
    static void age(const std::string& path, std::chrono::seconds by = std::chrono::hours(1)) {
        std::filesystem::last_write_time(path, std::filesystem::file_time_type::clock::now() - by);
    }

    std::filesystem::path root_;
};

} // namespace zel::testing
