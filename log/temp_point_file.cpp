#include "log/temp_point_file.h"

#include "log/log_limits.h"

#include <algorithm>
#include <bit>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <unistd.h>

namespace zel {

namespace {

void putFloats(std::vector<unsigned char>& out, std::span<const float> values) {
    for (float v : values) {
        const auto bits = std::bit_cast<std::uint32_t>(v);
        for (int b = 0; b < 4; ++b)
            out.push_back(static_cast<unsigned char>(bits >> (8 * b)));
    }
}

float getFloat(const unsigned char* p) {
    std::uint32_t bits = 0;
    for (int b = 0; b < 4; ++b)
        bits |= static_cast<std::uint32_t>(p[b]) << (8 * b);
    return std::bit_cast<float>(bits);
}

void getFloats(const unsigned char*& p, std::span<float> out) {
    for (float& v : out) {
        v = getFloat(p);
        p += 4;
    }
}

} // namespace

std::string tempPointFilePath(const std::string& rawLogPath) {
    return rawLogPath + ".temp";
}

std::string crashedTempFilePath(const std::string& tempPath) {
    std::string stem = tempPath;
    std::string tail;
    for (const char* ending : {".lif.raw.bin.temp", ".clr.raw.bin.temp", ".o2.raw.bin.temp", ".temp"}) {
        const std::string e(ending);
        if (stem.size() > e.size() && stem.compare(stem.size() - e.size(), e.size(), e) == 0) {
            tail = e;
            stem.resize(stem.size() - e.size());
            break;
        }
    }
    for (int n = 1; n < 1000; ++n) {
        const std::string candidate = stem + "_Crashed" + (n == 1 ? "" : std::to_string(n)) + tail;
        std::error_code ec;
        if (!std::filesystem::exists(candidate, ec) && !ec) return candidate;
    }
    return {};
}

std::size_t tempRecordFloats(int dataColumns, bool withPresFlow, int samplesPerWave) {
    return static_cast<std::size_t>(dataColumns) + (withPresFlow ? kPresFlowColumns : 0) +
           static_cast<std::size_t>(samplesPerWave);
}

TempPointFile::~TempPointFile() {
    close();
}

bool TempPointFile::fail(const char* what, int err) {
    error_ = std::string(what) + " (" + std::strerror(err) + ")";
    return false;
}

bool TempPointFile::open(const std::string& path, std::optional<std::uint32_t> leadingWord) {
    close();
    path_ = path;
    broken_ = false;
    records_ = 0;
    size_ = 0;
    error_.clear();
    // O_EXCL: a file of this name holds the points of a push that was never saved.
    fd_ = ::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_APPEND | O_CLOEXEC, 0644);
    if (fd_ < 0) {
        if (errno == EEXIST)
            error_ = "exists";
        else
            fail("cannot be created", errno);
        return false;
    }
    // The new file's name must survive a power cut as well as its records.
    std::string folder = std::filesystem::path(path).parent_path().string();
    if (folder.empty()) folder = ".";
    const int dir = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (dir >= 0) {
        ::fsync(dir);
        ::close(dir);
    }
    if (leadingWord) {
        unsigned char word[4];
        for (int b = 0; b < 4; ++b)
            word[b] = static_cast<unsigned char>(*leadingWord >> (8 * b));
        if (::write(fd_, word, 4) != 4 || ::fdatasync(fd_) != 0) {
            fail("could not take its first word", errno);
            ::close(fd_);
            fd_ = -1;
            ::unlink(path.c_str());
            return false;
        }
        size_ = 4;
    }
    return true;
}

bool TempPointFile::writePoint(std::span<const float> columns, std::span<const float> presFlow,
                               std::span<const float> wave) {
    if (fd_ < 0) {
        error_ = "is not open";
        return false;
    }
    if (broken_) return false;
    buffer_.clear();
    putFloats(buffer_, columns);
    putFloats(buffer_, presFlow);
    putFloats(buffer_, wave);
    std::size_t done = 0;
    int err = 0;
    while (done < buffer_.size()) {
        const ssize_t n = ::write(fd_, buffer_.data() + done, buffer_.size() - done);
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) {
            err = n < 0 ? errno : ENOSPC;
            break;
        }
        done += static_cast<std::size_t>(n);
    }
    // A record whose flush failed is not known to be on the disk: it goes too, so the file only ever holds
    // records the push was told are stored.
    if (err == 0 && ::fdatasync(fd_) != 0) err = errno;
    if (err == 0) {
        size_ += buffer_.size();
        ++records_;
        return true;
    }
    fail(done < buffer_.size() ? "could not take the point" : "could not flush the point to the disk", err);
    if (done > 0) {
        int cut = -1;
        do
            cut = ::ftruncate(fd_, static_cast<off_t>(size_));
        while (cut != 0 && errno == EINTR);
        if (cut != 0 || ::fdatasync(fd_) != 0) {
            broken_ = true;
            error_ += "; the record cut short could not be taken off the file again";
        }
    }
    return false;
}

void TempPointFile::close() {
    if (fd_ >= 0) ::close(fd_);
    fd_ = -1;
}

void TempPointFile::remove() {
    close();
    std::error_code ec;
    if (!path_.empty()) std::filesystem::remove(path_, ec);
}

TempReadResult readTempPointFile(const std::string& path, int dataColumns, bool withPresFlow,
                                 int samplesPerWave, LogArrays& arrays) {
    TempReadResult r;
    if (dataColumns < 1 || dataColumns > kMaxDataColumns || samplesPerWave < 1 ||
        samplesPerWave > kMaxSamplesPerWave) {
        r.error = "the log's Data_Cols or Wave_Points cannot describe a point record.";
        return r;
    }
    std::error_code ec;
    const std::uint64_t size = std::filesystem::file_size(path, ec);
    if (ec) {
        r.error = "cannot read " + path + ".";
        return r;
    }
    const std::uint64_t recordBytes = 4 * tempRecordFloats(dataColumns, withPresFlow, samplesPerWave);
    const std::uint64_t records = std::min<std::uint64_t>(size / recordBytes, kMaxPoints);
    r.droppedBytes = size % recordBytes;
    if (records == 0) {
        r.error = "the file holds no whole point record.";
        return r;
    }
    const int points = static_cast<int>(records);
    // The table keeps at least the columns the raw log's lists name (up to the Birch conductivity, 7), as
    // the raw-log reader sizes it, so the recovered log saves like any other.
    const int tableColumns = std::max(dataColumns, 8);
    if (const ArrayStatus s = arrays.resize(samplesPerWave, tableColumns, points, withPresFlow);
        s != ArrayStatus::Ok) {
        r.error = "the log's arrays cannot be sized (" + std::string(describe(s)) + ").";
        return r;
    }
    std::ifstream in(path, std::ios::binary);
    std::vector<unsigned char> record(static_cast<std::size_t>(recordBytes));
    for (int p = 0; p < points; ++p) {
        if (!in.read(reinterpret_cast<char*>(record.data()), static_cast<std::streamsize>(record.size()))) {
            r.error = "the file changed while it was read.";
            arrays.truncate(0);
            return r;
        }
        const unsigned char* cursor = record.data();
        getFloats(cursor, arrays.columns.row(p).first(static_cast<std::size_t>(dataColumns)));
        if (withPresFlow) getFloats(cursor, arrays.presFlow.row(p));
        getFloats(cursor, arrays.waves.row(p));
    }
    r.ok = true;
    r.points = points;
    return r;
}

} // namespace zel
