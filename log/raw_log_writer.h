#pragma once
// Saving a raw log: the text part (INFO, STATS, GPS, DATA_INFO, DATA) and the binary block behind it.
//
// The text part is built in memory with the INI editing rules of the profile functions (each section
// deleted, then its keys written one by one in their fixed order) and written to the file once, so the
// bytes are those a key-by-key write through cInifile would leave, without re-reading the file per key.

#include "common/host.h"
#include "log/log_arrays.h"
#include "log/log_data.h"
#include "log/raw_log_format.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace zel {

// The whole text part, up to and including the CR LF behind "DATA=Binary Appended".
std::string rawLogText(const cZEL_Data& log, const LogArrays& arrays, const RawLogContext& ctx);

struct RawLogSaveResult {
    bool ok = false;
    std::string path;             // with the family's extension
    std::uint64_t textLength = 0; // L, the offset of the binary block
};

// Saves to path (the family's extension appended when missing); an existing file of that name is deleted
// first. Normal mode writes the waveform matrix, which must hold exactly DataPoints + 1 points of
// WavePoints + 1 samples, and the trailer. HD-board mode appends the side file's mask and records instead,
// deletes the side file and writes no trailer. Failures are shown through the host ("Error in
// SaveRawLog: ...") and give ok false.
RawLogSaveResult SaveRawLog(std::string_view path, const cZEL_Data& log, const LogArrays& arrays,
                            const RawLogContext& ctx, Host& host);

} // namespace zel
