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
#include "log/log_arrays.h"

#include <cstdint>
#include <span>
#include <string>

namespace zel {

std::string tempPointFilePath(const std::string& rawLogPath);

// Floats in one record.
std::size_t tempRecordFloats(int dataColumns, bool withPresFlow, int samplesPerWave);

class TempPointFile {
public:
    TempPointFile() = default;
    ~TempPointFile();
    TempPointFile(const TempPointFile&) = delete;
    TempPointFile& operator=(const TempPointFile&) = delete;

    // Starts a new file (an old one of the name is replaced). False when it cannot be created.
    bool open(const std::string& path);
    // Appends the point and makes it durable. presFlow is empty for a log without pressure/flow. False when
    // the write or the flush failed (the file may then end in a torn record, which recovery drops).
    bool writePoint(std::span<const float> columns, std::span<const float> presFlow,
                    std::span<const float> wave);
    void close();
    // After the push was saved: closes and deletes the file.
    void remove();
    const std::string& path() const { return path_; }

private:
    int fd_ = -1;
    std::string path_;
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
