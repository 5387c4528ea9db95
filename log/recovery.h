#pragma once
// Recovery of a push that ended without a save, from its temporary point file.
#include "common/host.h"
#include "log/log_arrays.h"
#include "log/log_data.h"
#include "log/point_processing.h"
#include "log/raw_log_format.h"

#include <string>

namespace zel {

struct RecoveryResult {
    bool ok = false;
    std::string recoveredPath; // x_Recovered.lif.raw.bin
    int points = 0;
    std::uint64_t droppedBytes = 0; // the torn last record left out
    // Time_Start and Time_Stop: the temporary file's creation and last write (its last write for both
    // when the file system keeps no creation time).
    DateTime timeStart, timeStop;
    bool startFromCreation = false;
    // What the header log gave besides the points' layout, in the words of the note shown.
    std::string fromHeaderLog;
};

// x.lif.raw.bin.temp (or x.lif.raw.bin) -> x_Recovered.lif.raw.bin.
std::string recoveredLogPath(const std::string& tempOrRawPath, LogFamily family);

// headerLog is a raw log of the same set-up (the crashed push itself was never saved): its Data_Cols,
// Wave_Points, PresFlow and the rest of its header describe the records. The points of tempPath replace
// its points; the GPS fix is cleared (it was the header log's); Time_Start and Time_Stop are the temporary
// file's own creation and last-write times, and a note (Information, through the host) names the header
// values that still come from the header log; the result is saved as the temporary
// file's name with "_Recovered" and loaded (which recomputes the points' %RE with processing), its maxima
// are recomputed from the loaded points, and it is saved and loaded once more so STATS carries them.
// Errors are shown through the host ("Error in Recover_Temp: ...").
// An HD board's side file (x.lif.raw.hd) is recovered the same way from an HD-board header log: its
// records are whole points (common/hd_layout.h), so they become the recovered log's binary part as they
// stand and no processing round is needed.
RecoveryResult RecoverFromTempFile(const std::string& tempPath, const std::string& headerLog, cZEL_Data& log,
                                   LogArrays& arrays, RawLogContext& ctx, Host& host,
                                   const PointProcessingSetup& processing = {});

} // namespace zel
