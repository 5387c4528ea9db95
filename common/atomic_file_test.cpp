#include "common/atomic_file.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace zel {
namespace {

namespace fs = std::filesystem;

class AtomicFileTest : public ::testing::Test {
protected:
    void SetUp() override {
        dir = fs::temp_directory_path() / ("zel_atomic_" + std::to_string(::getpid()));
        fs::remove_all(dir);
        fs::create_directories(dir);
    }
    void TearDown() override { fs::remove_all(dir); }
    std::string read(const fs::path& p) {
        std::ifstream in(p, std::ios::binary);
        return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
    }
    std::size_t entries() const {
        return static_cast<std::size_t>(std::distance(fs::directory_iterator(dir), fs::directory_iterator()));
    }
    // Whether another process could take the folder's lock right now.
    bool lockableFromOtherProcess() const {
        const pid_t child = ::fork();
        if (child == 0) {
            const int fd = ::open(dir.c_str(), O_RDONLY | O_DIRECTORY);
            ::_exit(fd >= 0 && ::flock(fd, LOCK_EX | LOCK_NB) == 0 ? 0 : 1);
        }
        int status = 0;
        ::waitpid(child, &status, 0);
        return WIFEXITED(status) && WEXITSTATUS(status) == 0;
    }

    fs::path dir;
};

TEST_F(AtomicFileTest, ReplacesTheWholeContentAndKeepsThePermissions) {
    const fs::path p = dir / "a.ini";
    const auto before = atomicBytesWritten();
    ASSERT_TRUE(replaceFileAtomically(p.string(), std::string("first\0line", 10)));
    EXPECT_EQ(read(p), std::string("first\0line", 10));
    ::chmod(p.c_str(), 0600);
    ASSERT_TRUE(replaceFileAtomically(p.string(), "x"));
    EXPECT_EQ(read(p), "x");
    EXPECT_EQ(fs::status(p).permissions() & fs::perms::all, fs::perms::owner_read | fs::perms::owner_write);
    ASSERT_TRUE(replaceFileAtomically(p.string(), ""));
    EXPECT_EQ(fs::file_size(p), 0u);
    EXPECT_EQ(atomicBytesWritten() - before, 11u);
    EXPECT_EQ(entries(), 1u);
}

TEST_F(AtomicFileTest, AFailedWriteLeavesNothingBehind) {
    EXPECT_FALSE(replaceFileAtomically((dir / "missing" / "a.ini").string(), "x"));
    EXPECT_FALSE(replaceFileAtomically((dir / "").string(), "x"));
    EXPECT_EQ(entries(), 0u);
}

TEST_F(AtomicFileTest, TheLeftoversOfAKilledWriterGoWithTheNextWrite) {
    const fs::path p = dir / "opts.ini";
    std::ofstream(dir / "opts.ini.zeltmp999.0") << "half";
    std::ofstream(dir / "other.ini.zeltmp999.0") << "another file's";
    std::ofstream(dir / "opts.ini.bak") << "not ours";
    ASSERT_TRUE(replaceFileAtomically(p.string(), "new"));
    EXPECT_FALSE(fs::exists(dir / "opts.ini.zeltmp999.0"));
    EXPECT_TRUE(fs::exists(dir / "other.ini.zeltmp999.0"));
    EXPECT_TRUE(fs::exists(dir / "opts.ini.bak"));
}

TEST_F(AtomicFileTest, TheFolderLockKeepsOtherProcessesOutAndNests) {
    const std::string p = (dir / "a.ini").string();
    EXPECT_TRUE(lockableFromOtherProcess());
    {
        FolderLock outer(p);
        ASSERT_TRUE(outer.held());
        EXPECT_FALSE(lockableFromOtherProcess());
        {
            FolderLock inner((dir / "b.ini").string()); // the same folder: free within this process
            EXPECT_TRUE(inner.held());
        }
        EXPECT_FALSE(lockableFromOtherProcess()); // still held by the outer lock
    }
    EXPECT_TRUE(lockableFromOtherProcess());
    FolderLock none((dir / "missing" / "a.ini").string());
    EXPECT_FALSE(none.held());
}

} // namespace
} // namespace zel
