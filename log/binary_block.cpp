#include "log/binary_block.h"

#include "common/hd_layout.h"
#include "log/raw_log_format.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>
#include <string_view>

namespace zel {
namespace {

using raw_log::kMarker;
constexpr std::size_t kChunk = raw_log::kSearchChunk;
constexpr std::size_t kStep = raw_log::kSearchStep;
// Floats converted per pass of the block writer and reader.
constexpr std::size_t kFloatsPerPass = 16384;

int seek64(std::FILE* f, std::uint64_t offset) {
#ifdef _WIN32
    return _fseeki64(f, static_cast<__int64>(offset), SEEK_SET);
#else
    return fseeko(f, static_cast<off_t>(offset), SEEK_SET);
#endif
}

} // namespace

void putLe32(unsigned char* out, std::uint32_t v) {
    out[0] = static_cast<unsigned char>(v & 0xFF);
    out[1] = static_cast<unsigned char>((v >> 8) & 0xFF);
    out[2] = static_cast<unsigned char>((v >> 16) & 0xFF);
    out[3] = static_cast<unsigned char>((v >> 24) & 0xFF);
}

std::uint32_t getLe32(const unsigned char* in) {
    return static_cast<std::uint32_t>(in[0]) | (static_cast<std::uint32_t>(in[1]) << 8) |
           (static_cast<std::uint32_t>(in[2]) << 16) | (static_cast<std::uint32_t>(in[3]) << 24);
}

BinaryFile::BinaryFile(const std::string& path, const char* mode) : f_(std::fopen(path.c_str(), mode)) {}

BinaryFile::~BinaryFile() {
    close();
}

std::optional<std::uint64_t> BinaryFile::size() {
    if (!f_) return std::nullopt;
#ifdef _WIN32
    if (_fseeki64(f_, 0, SEEK_END) != 0) return std::nullopt;
    const auto n = _ftelli64(f_);
#else
    if (fseeko(f_, 0, SEEK_END) != 0) return std::nullopt;
    const auto n = ftello(f_);
#endif
    if (n < 0) return std::nullopt;
    return static_cast<std::uint64_t>(n);
}

bool BinaryFile::seek(std::uint64_t offset) {
    return f_ && seek64(f_, offset) == 0;
}

bool BinaryFile::read(void* out, std::size_t n) {
    return readSome(out, n) == n;
}

std::size_t BinaryFile::readSome(void* out, std::size_t n) {
    return f_ ? std::fread(out, 1, n, f_) : 0;
}

bool BinaryFile::write(const void* data, std::size_t n) {
    return f_ && std::fwrite(data, 1, n, f_) == n;
}

bool BinaryFile::close() {
    if (!f_) return true;
    const bool ok = std::fclose(f_) == 0;
    f_ = nullptr;
    return ok;
}

std::optional<std::uint64_t> findBlockMarker(BinaryFile& file, std::uint64_t fileSize, std::uint64_t from) {
    std::vector<char> chunk(kChunk);
    for (std::uint64_t offset = from; offset < fileSize; offset += kStep) {
        const std::size_t want = static_cast<std::size_t>(std::min<std::uint64_t>(kChunk, fileSize - offset));
        if (!file.seek(offset)) return std::nullopt;
        const std::size_t got = file.readSome(chunk.data(), want);
        const std::string_view text(chunk.data(), got);
        const std::size_t at = text.find(kMarker);
        if (at != std::string_view::npos) return offset + at;
        if (got < want) break;
    }
    return std::nullopt;
}

std::optional<TrailerState> inspectTrailer(const std::string& path) {
    BinaryFile file(path, "rb");
    if (!file.isOpen()) return std::nullopt;
    const auto size = file.size();
    if (!size) return std::nullopt;
    TrailerState st;
    st.fileSize = *size;
    if (st.fileSize >= 4) {
        unsigned char word[4];
        if (file.seek(st.fileSize - 4) && file.read(word, 4))
            st.stored = static_cast<std::int32_t>(getLe32(word));
    }
    st.marker = findBlockMarker(file, st.fileSize);
    if (st.marker) {
        st.textLength = *st.marker + kMarker.size() + 2;
        st.keysEnd = findMarkerLineEnd(file, st.fileSize, *st.marker).value_or(st.textLength);
    }
    return st;
}

bool endsMarkerLine(BinaryFile& file, std::uint64_t offset) {
    constexpr std::string_view kLine = "DATA=Binary Appended\r\n";
    if (offset < kLine.size()) return false;
    const bool atStart = offset == kLine.size();
    const std::uint64_t from = offset - kLine.size() - (atStart ? 0 : 1);
    std::array<char, kLine.size() + 1> buf{};
    const std::size_t n = kLine.size() + (atStart ? 0 : 1);
    if (!file.seek(from) || !file.read(buf.data(), n)) return false;
    std::string_view got(buf.data(), n);
    if (!atStart) {
        if (got.front() != '\n') return false;
        got.remove_prefix(1);
    }
    for (std::size_t i = 0; i < 4; ++i)
        if ((got[i] & ~0x20) != kLine[i]) return false;
    return got.substr(4) == kLine.substr(4);
}

std::optional<std::uint64_t> findMarkerLineEnd(BinaryFile& file, std::uint64_t fileSize, std::uint64_t from) {
    for (auto at = findBlockMarker(file, fileSize, from); at; at = findBlockMarker(file, fileSize, *at + 1)) {
        const std::uint64_t end = *at + kMarker.size() + 2;
        if (end <= fileSize && endsMarkerLine(file, end)) return end;
    }
    return std::nullopt;
}

bool rewriteTrailer(const std::string& path, std::uint32_t textLength) {
    BinaryFile file(path, "r+b");
    const auto size = file.size();
    if (!size || *size < 4 || !file.seek(*size - 4)) return false;
    unsigned char word[4];
    putLe32(word, textLength);
    return file.write(word, 4) && file.close();
}

// On a little-endian machine the bytes of a float in memory already are its bytes on disk, so the block is
// written and read in one call; elsewhere each value is converted byte by byte.
bool writeFloatsLe(BinaryFile& file, std::span<const float> values) {
    if constexpr (std::endian::native == std::endian::little)
        return file.write(values.data(), values.size_bytes());
    std::vector<unsigned char> buf(std::min(values.size(), kFloatsPerPass) * 4);
    for (std::size_t done = 0; done < values.size();) {
        const std::size_t n = std::min(kFloatsPerPass, values.size() - done);
        for (std::size_t i = 0; i < n; ++i)
            putLe32(buf.data() + 4 * i, std::bit_cast<std::uint32_t>(values[done + i]));
        if (!file.write(buf.data(), n * 4)) return false;
        done += n;
    }
    return true;
}

bool readFloatsLe(BinaryFile& file, std::span<float> values) {
    if constexpr (std::endian::native == std::endian::little)
        return file.read(values.data(), values.size_bytes());
    std::vector<unsigned char> buf(std::min(values.size(), kFloatsPerPass) * 4);
    for (std::size_t done = 0; done < values.size();) {
        const std::size_t n = std::min(kFloatsPerPass, values.size() - done);
        if (!file.read(buf.data(), n * 4)) return false;
        for (std::size_t i = 0; i < n; ++i)
            values[done + i] = std::bit_cast<float>(getLe32(buf.data() + 4 * i));
        done += n;
    }
    return true;
}

int hdColumnCount(std::uint32_t mask) {
    return hd_layout::recordValues(mask);
}

} // namespace zel
