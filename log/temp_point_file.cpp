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

std::size_t tempRecordFloats(int dataColumns, bool withPresFlow, int samplesPerWave) {
    return static_cast<std::size_t>(dataColumns) + (withPresFlow ? kPresFlowColumns : 0) +
           static_cast<std::size_t>(samplesPerWave);
}

TempPointFile::~TempPointFile() {
    close();
}

bool TempPointFile::open(const std::string& path) {
    close();
    path_ = path;
    fd_ = ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_APPEND | O_CLOEXEC, 0644);
    if (fd_ < 0) return false;
    // The new file's name must survive a power cut as well as its records.
    std::string folder = std::filesystem::path(path).parent_path().string();
    if (folder.empty()) folder = ".";
    const int dir = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (dir >= 0) {
        ::fsync(dir);
        ::close(dir);
    }
    return true;
}

bool TempPointFile::writePoint(std::span<const float> columns, std::span<const float> presFlow,
                               std::span<const float> wave) {
    if (fd_ < 0) return false;
    buffer_.clear();
    putFloats(buffer_, columns);
    putFloats(buffer_, presFlow);
    putFloats(buffer_, wave);
    std::size_t done = 0;
    while (done < buffer_.size()) {
        const ssize_t n = ::write(fd_, buffer_.data() + done, buffer_.size() - done);
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) return false;
        done += static_cast<std::size_t>(n);
    }
    return ::fdatasync(fd_) == 0;
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
