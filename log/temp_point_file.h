#pragma once
// The temporary point file kept during a push (x.lif.raw.bin.temp beside x.lif.raw.bin), from which a push
// that ended without a save is recovered. Binary, no header; each point appends one record: its Data_Cols
// per-point values, its pressure/flow row when the log carries pressure/flow, and its waveform, all 4-byte
// little-endian floats.
//
// Durability: every record is written with one write() and then fdatasync()'d before writePoint returns, so
// a point the push loop has been told is stored survives a crash or a power cut. That costs a disk flush
// per depth step (well under the time the scope needs for the next waveform); losing acknowledged points
// after a power cut in the field would cost a push.
//
// Whole records only: records have no length or checksum (the layout is fixed by the header of the log they
// belong to), so recovery can only find them by counting from the start. A write that fails part-way (disk
// full, file-size limit, I/O error) is therefore cut back off the file at once, so the next record starts on
// a record boundary; a file that could not be cut back takes no further records. What is left after a crash
// in the middle of a write is one torn record at the end, which recovery drops.
#include "log/log_arrays.h"

#include <cstdint>
#include <optional>
#include <span>
#include <string>

namespace zel {

std::string tempPointFilePath(const std::string& rawLogPath);

// A free name under which a crashed push's temporary file is kept before a new push takes its name:
// x.lif.raw.bin.temp -> x_Crashed.lif.raw.bin.temp, x_Crashed2.lif.raw.bin.temp, ... (recovery then writes
// x_Crashed_Recovered.lif.raw.bin). Empty when no free name is found.
std::string crashedTempFilePath(const std::string& tempPath);

// Floats in one record.
std::size_t tempRecordFloats(int dataColumns, bool withPresFlow, int samplesPerWave);

class TempPointFile {
public:
    TempPointFile() = default;
    ~TempPointFile();
    TempPointFile(const TempPointFile&) = delete;
    TempPointFile& operator=(const TempPointFile&) = delete;

    // Starts a new file. An existing file of the name is never replaced (it is a crashed push's points):
    // false then, with lastError() "exists", as when the file cannot be created. A leading word (the HD
    // board's side file begins with its column mask) is written and flushed before any record.
    bool open(const std::string& path, std::optional<std::uint32_t> leadingWord = std::nullopt);
    // Appends the point and makes it durable. presFlow is empty for a log without pressure/flow. False when
    // the write or the flush failed; the file then still ends on its last whole record (see above), and
    // lastError() says why.
    bool writePoint(std::span<const float> columns, std::span<const float> presFlow,
                    std::span<const float> wave);
    // Whole records in the file.
    int records() const { return records_; }
    // False once a failed record could not be cut off the file again; no record is written after that.
    bool usable() const { return fd_ >= 0 && !broken_; }
    const std::string& lastError() const { return error_; }
    void close();
    // After the push was saved: closes and deletes the file.
    void remove();
    const std::string& path() const { return path_; }

private:
    bool fail(const char* what, int err);

    int fd_ = -1;
    bool broken_ = false;
    int records_ = 0;
    std::uint64_t size_ = 0; // bytes of the whole records
    std::string path_;
    std::string error_;
    std::vector<unsigned char> buffer_;
};

struct TempReadResult {
    bool ok = false;
    std::string error;
    int points = 0;                 // whole records read into the arrays
    std::uint64_t droppedBytes = 0; // a torn last record
};

// Reads the records into the arrays, which are sized here (points 0 .. records - 1) with dataColumns
// per-point columns, the pressure/flow table when withPresFlow, and samplesPerWave samples. At most
// kMaxPoints records are taken; a torn last record is dropped; nothing is allocated beyond what the file
// holds.
TempReadResult readTempPointFile(const std::string& path, int dataColumns, bool withPresFlow,
                                 int samplesPerWave, LogArrays& arrays);

} // namespace zel
