// The temporary point file under write failures: a file-size limit (what a full disk looks like to a write
// that runs out part-way) makes writes fail in the middle of a record.
#include "log/temp_point_file.h"

#include <gtest/gtest.h>

#include <array>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <sys/resource.h>
#include <unistd.h>

namespace zel {
namespace {

namespace fs = std::filesystem;

constexpr int kColumns = 3;
constexpr int kSamples = 5;
constexpr std::uint64_t kRecordBytes = 4 * (kColumns + kSamples);

struct Folder {
    fs::path path = fs::temp_directory_path() / ("zel_tempfile_" + std::to_string(::getpid()));
    Folder() {
        fs::remove_all(path);
        fs::create_directories(path);
    }
    ~Folder() { fs::remove_all(path); }
};

// While alive, files of this process cannot grow beyond `bytes`; a write past it fails with EFBIG instead
// of raising SIGXFSZ.
class FileSizeLimit {
public:
    explicit FileSizeLimit(rlim_t bytes) {
        ::getrlimit(RLIMIT_FSIZE, &saved_);
        oldHandler_ = std::signal(SIGXFSZ, SIG_IGN);
        set(bytes);
    }
    void set(rlim_t bytes) {
        rlimit r = saved_;
        r.rlim_cur = bytes;
        ok_ = ::setrlimit(RLIMIT_FSIZE, &r) == 0;
    }
    ~FileSizeLimit() {
        ::setrlimit(RLIMIT_FSIZE, &saved_);
        std::signal(SIGXFSZ, oldHandler_);
    }
    bool ok() const { return ok_; }

private:
    rlimit saved_{};
    void (*oldHandler_)(int) = SIG_DFL;
    bool ok_ = false;
};

// Point n: columns n, 10 n, 100 n; samples n + 0.5 .. n + 4.5.
bool writePoint(TempPointFile& f, int n) {
    const float v = static_cast<float>(n);
    const std::array<float, kColumns> columns{v, 10 * v, 100 * v};
    std::array<float, kSamples> wave{};
    for (int i = 0; i < kSamples; ++i)
        wave[i] = v + 0.5f + static_cast<float>(i);
    return f.writePoint(columns, {}, wave);
}

// The points read back, by their first column.
std::vector<int> readBack(const std::string& path, TempReadResult& r) {
    LogArrays arrays;
    r = readTempPointFile(path, kColumns, false, kSamples, arrays);
    std::vector<int> points;
    for (int p = 0; p < r.points; ++p) {
        const int n = static_cast<int>(arrays.columns(0, p));
        EXPECT_FLOAT_EQ(arrays.columns(2, p), 100.0f * static_cast<float>(n));
        EXPECT_FLOAT_EQ(arrays.waves.wave(p)[kSamples - 1], static_cast<float>(n) + 4.5f);
        points.push_back(n);
    }
    return points;
}

// A write that runs out in the middle of a record leaves the file on its last whole record, so the records
// written once there is room again are read back as themselves, not shifted by a fragment.
TEST(TempPointFile, AFailedWriteIsCutBackToTheLastWholeRecord) {
    Folder dir;
    const std::string path = (dir.path / "p.lif.raw.bin.temp").string();
    TempPointFile f;
    ASSERT_TRUE(f.open(path));
    ASSERT_TRUE(writePoint(f, 1));
    struct Case {
        rlim_t limit;
        int point;
        bool stored;
    };
    // Limits cutting a record after 1 byte, in its middle, one byte short of whole, and at a boundary.
    const Case cases[] = {
        {kRecordBytes + 1, 2, false},     {kRecordBytes + kRecordBytes / 2, 3, false},
        {2 * kRecordBytes - 1, 4, false}, {2 * kRecordBytes, 5, true},
        {2 * kRecordBytes, 6, false},     {RLIM_INFINITY, 7, true},
    };
    std::vector<int> expected{1};
    for (const Case& c : cases) {
        FileSizeLimit limit(c.limit);
        ASSERT_TRUE(limit.ok());
        EXPECT_EQ(writePoint(f, c.point), c.stored) << c.point;
        if (c.stored)
            expected.push_back(c.point);
        else
            EXPECT_NE(f.lastError().find("could not take the point"), std::string::npos) << f.lastError();
        EXPECT_TRUE(f.usable());
        EXPECT_EQ(f.records(), static_cast<int>(expected.size()));
        EXPECT_EQ(fs::file_size(path), kRecordBytes * expected.size()) << c.point;
    }
    f.close();
    TempReadResult r;
    EXPECT_EQ(readBack(path, r), expected);
    EXPECT_EQ(r.droppedBytes, 0u);
}

// The HD board's side file starts with its mask: records follow it, and a failed record is cut back to the
// word and the whole records, never into the word. A word that cannot be written leaves no file behind.
TEST(TempPointFile, ALeadingWordComesFirstAndIsNeverCutAway) {
    Folder dir;
    const std::string path = (dir.path / "p.lif.raw.hd").string();
    {
        FileSizeLimit limit(2);
        ASSERT_TRUE(limit.ok());
        TempPointFile f;
        EXPECT_FALSE(f.open(path, 0x4FFFu));
        EXPECT_NE(f.lastError().find("first word"), std::string::npos) << f.lastError();
    }
    EXPECT_FALSE(fs::exists(path));

    TempPointFile f;
    ASSERT_TRUE(f.open(path, 0x4FFFu));
    EXPECT_EQ(fs::file_size(path), 4u);
    ASSERT_TRUE(writePoint(f, 1));
    {
        FileSizeLimit limit(4 + kRecordBytes + kRecordBytes / 2);
        ASSERT_TRUE(limit.ok());
        EXPECT_FALSE(writePoint(f, 2));
    }
    EXPECT_EQ(fs::file_size(path), 4 + kRecordBytes);
    ASSERT_TRUE(writePoint(f, 3));
    f.close();
    std::ifstream in(path, std::ios::binary);
    unsigned char word[4] = {};
    in.read(reinterpret_cast<char*>(word), 4);
    EXPECT_EQ(word[0] | word[1] << 8 | word[2] << 16 | word[3] << 24, 0x4FFF);
    EXPECT_EQ(fs::file_size(path), 4 + 2 * kRecordBytes);
}

TEST(TempPointFile, AnExistingFileIsNeverTruncated) {
    Folder dir;
    const std::string path = (dir.path / "crashed.lif.raw.bin.temp").string();
    {
        TempPointFile crashed;
        ASSERT_TRUE(crashed.open(path));
        ASSERT_TRUE(writePoint(crashed, 1));
        ASSERT_TRUE(writePoint(crashed, 2));
    }
    TempPointFile again;
    EXPECT_FALSE(again.open(path));
    EXPECT_EQ(again.lastError(), "exists");
    EXPECT_FALSE(writePoint(again, 3));
    TempReadResult r;
    EXPECT_EQ(readBack(path, r), (std::vector<int>{1, 2}));

    // The names a crashed file is kept under, the first free one.
    EXPECT_EQ(crashedTempFilePath(path), (dir.path / "crashed_Crashed.lif.raw.bin.temp").string());
    std::ofstream(dir.path / "crashed_Crashed.lif.raw.bin.temp") << "x";
    EXPECT_EQ(crashedTempFilePath(path), (dir.path / "crashed_Crashed2.lif.raw.bin.temp").string());
    EXPECT_EQ(crashedTempFilePath((dir.path / "a.o2.raw.bin.temp").string()),
              (dir.path / "a_Crashed.o2.raw.bin.temp").string());
}

} // namespace
} // namespace zel
