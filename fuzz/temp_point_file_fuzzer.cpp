// libFuzzer target: any bytes as a temporary point file, read as recovery reads it. The first bytes pick
// the layout a header log would give (its Data_Cols, PresFlow and Wave_Points), as recovery takes them from
// a log the user names.

#include "fuzz/fuzz_input.h"
#include "log/log_arrays.h"
#include "log/log_limits.h"
#include "log/temp_point_file.h"

#include <cstdio>
#include <string>
#include <unistd.h>

namespace {

const std::string& scratchPath() {
    static const std::string path = (::access("/dev/shm", W_OK) == 0 ? "/dev/shm" : "/tmp") +
                                    std::string("/zel_temp_fuzz_") + std::to_string(::getpid()) +
                                    ".lif.raw.bin.temp";
    return path;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    zel::fuzz::Input in(data, size);
    // Out-of-range layouts too: the reader must refuse them.
    const int columns = static_cast<int>(in.byte()) - 2;
    const bool presFlow = in.byte() & 1;
    const int samples = static_cast<int>(in.byte()) * 8 - 8;
    const std::string_view body = in.rest();
    std::FILE* f = std::fopen(scratchPath().c_str(), "wb");
    if (!f) return 0;
    const bool written = std::fwrite(body.data(), 1, body.size(), f) == body.size();
    if (std::fclose(f) != 0 || !written) return 0;
    zel::LogArrays arrays;
    const zel::TempReadResult r = zel::readTempPointFile(scratchPath(), columns, presFlow, samples, arrays);
    if (r.ok && (r.points != arrays.points() || r.points > zel::kMaxPoints)) __builtin_trap();
    return 0;
}
