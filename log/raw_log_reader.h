#pragma once
// Loading a raw log: the section readers of the text part and the reader of the DATA lists and the binary
// block, with the trailer check and repair.
//
// The file is untrusted. Every size it states is checked against the file's own length before anything is
// allocated, and a file that cannot be a log (no "Appended", sizes that do not fit, a block cut short, a
// list element that is not a number) is refused with a message through the host ("Error in LoadRawLog:
// ..."); nothing is thrown and nothing crashes.

#include "common/host.h"
#include "log/log_arrays.h"
#include "log/log_data.h"
#include "log/point_processing.h"
#include "log/raw_log_format.h"
#include "log/raw_log_text.h"

#include <cstdint>
#include <optional>
#include <string>

namespace zel {

// Section readers. Keys are taken by name, so their order and blank lines are free; a missing key gives an
// empty text, 0 or false, except CoordSystem, which is taken as "WGS-84".
void ReadInfo(const RawLogText& text, cZEL_Data& log, RawLogContext& ctx);
void ReadStats(const RawLogText& text, cZEL_Data& log, RawLogContext& ctx);
void ReadGps(const RawLogText& text, cZEL_Data& log);
// Needs INFO first: a log started before 2015-10-10 kept its dye flag under PresFlow, so Dogwood then
// follows PresFlow whatever its own key says.
void ReadDataInfo(const RawLogText& text, cZEL_Data& log, RawLogContext& ctx);

struct RawLogLoadOptions {
    // Batch loads: no repair message and no baseline question (a stored baseline is then loaded). The
    // message of a missing RE is shown all the same.
    bool quiet = false;
    // The program's log family; without it, the file's extension decides.
    std::optional<LogFamily> family;
    // The program's baseline feature; only then is a stored baseline offered.
    bool baselineFeature = false;
    // How the program processes waveforms; the points' %RE and channel values are recomputed with it.
    PointProcessingSetup processing;
    // The pause after each of the first five steps (INFO, GPS, DATA_INFO, the preparation, DATA), in which
    // an interactive program redraws; 0 for batch and internal loads.
    int stepPauseMs = 0;
    // false: a trailer that does not match is reported in the result but neither mended nor announced
    // (a read-only look at a file).
    bool repair = true;
};

struct RawLogLoadResult {
    bool ok = false;
    bool repaired = false;        // the trailer did not match the text part and was rewritten
    bool trailerMismatch = false; // the trailer did not match (rewritten or not)
    bool hdBoard = false;
    bool reMissing = false;
    // The points' %RE, S, F and channel areas were recomputed from the waveforms (not for a log without
    // an RE, an HD-board log or a colour log).
    bool pointValues = false;
    std::uint64_t textLength = 0;        // L as found by the block search
    std::optional<std::int32_t> trailer; // L as the trailer stated it (normal mode)
    std::string text;                    // the text part as read
};

// Loads path into the log, its arrays and the context: INFO, GPS, DATA_INFO, the preparation of the
// waveform processing, DATA with the binary block, then STATS. The DATA reader recomputes the per-point
// values from the waveforms and, for a log with pressure/flow, the hydraulic-profiling K estimate. On
// failure the arrays are left empty.
RawLogLoadResult LoadRawLog(const std::string& path, cZEL_Data& log, LogArrays& arrays, RawLogContext& ctx,
                            Host& host, const RawLogLoadOptions& options = {});

struct TrailerRepairReport {
    bool ok = false;   // the file could be examined
    std::string error; // why not
    std::uint64_t fileSize = 0;
    std::uint64_t textLength = 0;        // L found by the block search
    std::optional<std::int32_t> trailer; // L stored in the trailer
    std::uint64_t blockOffset = 0;       // where the block starts: textLength, or a trusted trailer's L
    bool hdBoard = false;                // no trailer to check
    bool mismatch = false;
    bool repaired = false;
};

// The loader's trailer check on its own: finds the text part, compares the trailer and rewrites it when it
// differs (showing the "altered or corrupted" message unless quiet). The text part is never changed. A
// trailer the loader trusts (just past the marker line, the header's block behind it) is left alone, and a
// file whose block is shorter than its header says is refused: a trailer written over its end would
// overwrite a sample.
TrailerRepairReport CheckAndRepairTrailer(const std::string& path, Host& host, bool quiet);

} // namespace zel
