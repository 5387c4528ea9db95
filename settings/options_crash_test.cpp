// The options file under a crash: a child process saves the options over and over and is killed at a random
// moment; whatever moment it was, the file must be the old options or the new ones, whole.

#include "common/testing/recording_host.h"
#include "settings/data_root.h"
#include "settings/ini_file.h"
#include "settings/memory_form.h"
#include "settings/options.h"
#include "settings/profile.h"
#include "settings/test_files.h"

#include <csignal>
#include <filesystem>
#include <random>
#include <sys/wait.h>
#include <unistd.h>

namespace zel {
namespace {

class OptionsCrashTest : public testing::TempDataRoot {
protected:
    void SetUp() override {
        TempDataRoot::SetUp();
        // Enough controls that a save takes a while, so that many kills land inside one.
        for (const char* name : Options::kSavedForms) {
            MemoryForm& f = forms.add(name);
            for (int i = 0; i < 150; ++i)
                f.add(ControlType::TextBox, "txtValue" + std::to_string(i));
        }
        path = optionsFilePath(dataRoot());
        std::filesystem::create_directories(std::filesystem::path(path).parent_path());
    }

    void fill(char tag) {
        for (const char* name : Options::kSavedForms)
            for (int i = 0; i < 150; ++i)
                forms.at(name).at("txtValue" + std::to_string(i)).setText(std::string(40, tag));
    }
    std::string saved(Options& options, char tag) {
        fill(tag);
        options.SolidFillColor = tag;
        options.SaveOptions();
        return get(path);
    }
    std::size_t leftovers() const {
        std::size_t n = 0;
        for (const auto& e : std::filesystem::directory_iterator(std::filesystem::path(path).parent_path()))
            if (e.path().filename() != "ZEL_Options.ini") ++n;
        return n;
    }

    testing::RecordingHost host;
    MemoryFormSet forms;
    std::string path;
};

TEST_F(OptionsCrashTest, AKilledSaveLeavesTheOldOrTheNewFileWhole) {
    Options options(host, forms, path);
    const std::string a = saved(options, 'a');
    const std::string b = saved(options, 'b');
    ASSERT_EQ(saved(options, 'a'), a); // a save from either file gives the same bytes
    ASSERT_NE(a, b);
    ASSERT_GT(a.size(), 50'000u);

    std::mt19937 random(17);
    for (int round = 0; round < 60; ++round) {
        const pid_t child = ::fork();
        ASSERT_GE(child, 0);
        if (child == 0) {
            for (char tag = 'a';; tag = tag == 'a' ? 'b' : 'a') {
                fill(tag);
                options.SolidFillColor = tag;
                options.SaveOptions();
            }
        }
        ::usleep(std::uniform_int_distribution<useconds_t>(0, 30'000)(random));
        ::kill(child, SIGKILL);
        int status = 0;
        ::waitpid(child, &status, 0);
        const std::string now = get(path);
        ASSERT_TRUE(now == a || now == b) << "round " << round << ": " << now.size() << " bytes";
    }
    EXPECT_LE(leftovers(), 1u);
    fill('c');
    options.SaveOptions(); // a temporary file left by a killed writer goes with the next write
    EXPECT_EQ(leftovers(), 0u);
}

// Two copies of the program writing the same file at once: each write starts from the other's last one, so
// no key is lost.
TEST_F(OptionsCrashTest, TwoWritersAtOnceLoseNoUpdate) {
    constexpr int kKeys = 60;
    pid_t children[2];
    for (int w = 0; w < 2; ++w) {
        children[w] = ::fork();
        ASSERT_GE(children[w], 0);
        if (children[w] == 0) {
            for (int k = 0; k < kKeys; ++k)
                ini::writeProfileString(path, "Shared", "w" + std::to_string(w) + "_" + std::to_string(k),
                                        "1");
            ::_exit(0);
        }
    }
    for (pid_t c : children) {
        int status = 0;
        ::waitpid(c, &status, 0);
        ASSERT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
    }
    cInifile ini;
    ini.Path = path;
    ini.Section = "Shared";
    EXPECT_EQ(ini.EnumerateCurrentSection().size(), 2u * kKeys);
}

TEST_F(OptionsCrashTest, ASaveWritesTheFileOnce) {
    Options options(host, forms, path);
    fill('x');
    const auto writes = ini::fileWriteCount();
    options.SaveOptions();
    EXPECT_EQ(ini::fileWriteCount() - writes, 1u);
    options.SaveOptions(); // nothing changed: nothing written
    EXPECT_EQ(ini::fileWriteCount() - writes, 1u);
}

} // namespace
} // namespace zel
