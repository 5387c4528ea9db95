#pragma once
// The binary part of a raw log: the waveform matrix (or the HD board's records) behind the text part, and
// the 4-byte trailer that tells where the text part ends. All numbers on disk are little-endian and are
// read and written byte by byte, whatever the machine.

#include "log/point_matrix.h"

#include <cstdint>
#include <cstdio>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace zel {

void putLe32(unsigned char* out, std::uint32_t v);
std::uint32_t getLe32(const unsigned char* in);

// A file opened for binary access, closed with the object. Offsets are 64-bit on every platform.
class BinaryFile {
public:
    BinaryFile() = default;
    BinaryFile(const std::string& path, const char* mode);
    BinaryFile(const BinaryFile&) = delete;
    BinaryFile& operator=(const BinaryFile&) = delete;
    ~BinaryFile();

    bool isOpen() const { return f_ != nullptr; }
    std::optional<std::uint64_t> size();
    bool seek(std::uint64_t offset);
    // Reads exactly n bytes or fails.
    bool read(void* out, std::size_t n);
    // Up to n bytes; how many were read.
    std::size_t readSome(void* out, std::size_t n);
    bool write(const void* data, std::size_t n);
    bool close();

private:
    std::FILE* f_ = nullptr;
};

// Offset of the first "Appended" in the file, searched chunk by chunk as the program always has: chunks of
// 10,010 bytes from offset 0, advancing by 10,000, the last one cut at the end of the file. The 10 bytes of
// overlap find a marker that straddles two chunks. nullopt when the file holds none.
// With from, the search starts at that offset (the first "Appended" at or after it).
std::optional<std::uint64_t> findBlockMarker(BinaryFile& file, std::uint64_t fileSize,
                                             std::uint64_t from = 0);

// Whether the bytes just before offset are a whole line "DATA=Binary Appended" ended by CR LF (the key's
// letters in any case), at the start of the file or behind a line feed: the only place where the writer's
// own marker line ends. A value never holds a line break, so an "Appended" typed into one is not such a line.
bool endsMarkerLine(BinaryFile& file, std::uint64_t offset);
// The end (just past its CR LF) of the first such line that starts at or after from; nullopt when none.
std::optional<std::uint64_t> findMarkerLineEnd(BinaryFile& file, std::uint64_t fileSize,
                                               std::uint64_t from = 0);

// What the block search finds against what the trailer says.
struct TrailerState {
    std::uint64_t fileSize = 0;
    std::optional<std::uint64_t> marker; // offset of "Appended"
    std::uint64_t textLength = 0;        // L_found: marker + 8 + 2 (its CR LF)
    // The end of the first "DATA=Binary Appended" line: where the text part whose keys are read ends (an
    // "Appended" typed into an earlier value does not cut it short). L_found when the file has no such line.
    std::uint64_t keysEnd = 0;
    std::optional<std::int32_t> stored; // L_stored, the trailer word (absent in files under 4 bytes)
    bool matches() const {
        return stored && *stored >= 0 && static_cast<std::uint64_t>(*stored) == textLength;
    }
};

// nullopt when the file cannot be opened.
std::optional<TrailerState> inspectTrailer(const std::string& path);
// Overwrites the last 4 bytes of the file with L; the text part and the block are not touched.
bool rewriteTrailer(const std::string& path, std::uint32_t textLength);

// Writes the floats little-endian, in order, through a small buffer.
bool writeFloatsLe(BinaryFile& file, std::span<const float> values);
// Reads values.size() little-endian floats from the current position.
bool readFloatsLe(BinaryFile& file, std::span<float> values);

// The HD board's column count from its mask: the set bits among bits 0..11, plus 4 when bit 14 is set.
int hdColumnCount(std::uint32_t mask);

} // namespace zel
