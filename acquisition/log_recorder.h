#pragma once
// The log side of a push for the field program: points go into the log arrays and, durably, into the
// temporary point file beside the raw log before the next point is taken; the end writes the raw log, the
// companion, the data export and the run-log entry, and only then deletes the temporary file (so a crash
// during the writes still leaves it for recovery).
//
// The arrays are the push: a point the temporary file could not take (disk full, file-size limit, I/O
// error) is still kept and saved at the end. The operator is told once when the file falls behind; every
// later point first tries to write the points the file is missing, in order, so the file catches up as
// soon as there is room again. A crashed push's temporary file under the same name is kept under a new
// name (crashedTempFilePath), never overwritten.

#include "acquisition/push.h"
#include "log/hd_stream.h"
#include "log/log_arrays.h"
#include "log/log_data.h"
#include "log/raw_log_format.h"
#include "log/signal_max.h"
#include "log/temp_point_file.h"
#include "settings/form.h"

#include <array>
#include <string>
#include <vector>

namespace zel::acq {

// Where the push keeps each point's values in the per-point table: the log's own column layout.
namespace push_column {
using namespace point_column;
inline constexpr int Count = PushCount;
} // namespace push_column

// What a hydraulic-profiling push records beside the points: set before Begin.
struct HydraulicSetup {
    bool presFlow = false;   // the points carry the pressure/flow unit's readings
    float pfOffsetFt = 0.0f; // where the pressure port sits against the probe's depth reference, feet
    // The flow calibration the unit's readings were taken under: offset (mL/min) and slope.
    std::array<float, 2> flowCal{0.0f, 1.0f};
    float hpt1ft = 0.0f; // the reference tests' readings (PSI); 0: not taken
    float hpt0ft = 0.0f;
};

struct RecordedFiles {
    std::string rawLog, companion, dataExport, runLog;
    std::string dissipation; // the dissipation curves' side file; empty when the push took no test
};

class LogRecorder : public PushRecorder {
public:
    // rawLogPath: the log's path with or without its extension; dataRoot: where the run log goes. The
    // family gives the extensions (O2 mode records ".o2.raw.bin" and its exports).
    LogRecorder(Host& host, const Clock& clock, cZEL_Data& log, LogArrays& arrays, FormSet& forms,
                std::string rawLogPath, std::string dataRoot, LogFamily family = LogFamily::Lif);

    RawLogContext Context;
    HydraulicSetup Hydraulic;
    // HD-board mode (Context.hdBoardMode): the side file's mask, the board's data select with the push's
    // four values (common/hd_layout.h). The points go to the side file instead of the temporary point
    // file, and the raw log takes it as its binary part.
    std::uint32_t HdMask = 0;

    bool Begin(const ReferenceControl& reference, float firstDepth, int depthMode) override;
    bool Append(const PointRecord& point) override;
    void Finish() override;
    // The test takes the next free slot with its depth, its static pressure, the water table that pressure
    // stands for and DisInclude set; the K of the points from here on takes the new water table, and the
    // whole log's is computed again at the end.
    int AddDissipation(DissipationCurve curve) override;
    const std::vector<DissipationCurve>& Dissipations() const { return dissipations_; }

    const RecordedFiles& Files() const { return files_; }
    const SignalMaxScan& SignalMax() const { return scan_; }
    const std::string& TempPath() const { return temp_.path(); }
    // Points of this push in the temporary file (a prefix of the push's points).
    int DurablePoints() const { return temp_.records(); }
    // Where a crashed push's temporary file of the same name was kept; empty when there was none.
    const std::string& KeptCrashedTemp() const { return keptCrashed_; }
    // Where the points went when the raw log could not be written at its place; empty otherwise.
    const std::string& RescuedLog() const { return rescued_; }

private:
    Host& host_;
    const Clock& clock_;
    cZEL_Data& log_;
    LogArrays& arrays_;
    FormSet& forms_;
    std::string rawPath_;
    std::string dataRoot_;
    TempPointFile temp_;
    bool catchUpTemp();
    void saveElsewhere();
    bool beginHd(const ReferenceControl& reference);
    bool appendHd(const PointRecord& point);
    bool appendScope(const PointRecord& point);

    SignalMaxScan scan_;
    bool tempBehindTold_ = false;
    std::string keptCrashed_;
    std::string rescued_;
    int samples_ = 0;
    std::vector<float> columns_;
    RecordedFiles files_;
    std::vector<DissipationCurve> dissipations_;
    // HD-board mode: every point's side-file record, so the file can catch up after a failed write.
    std::vector<float> hdRecords_;
    int hdRecordValues_ = 0;
};

} // namespace zel::acq
