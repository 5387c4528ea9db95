#include "log/recovery.h"

#include "log/path_text.h"
#include "log/raw_log_reader.h"
#include "log/raw_log_writer.h"
#include "log/signal_max.h"
#include "log/temp_point_file.h"

#include <exception>

namespace zel {

namespace {

RawLogLoadOptions quietLoad(LogFamily family, const PointProcessingSetup& processing) {
    RawLogLoadOptions o;
    o.quiet = true;
    o.family = family;
    o.processing = processing;
    return o;
}

bool saveAndLoad(const std::string& path, cZEL_Data& log, LogArrays& arrays, RawLogContext& ctx, Host& host,
                 const PointProcessingSetup& processing) {
    const RawLogSaveResult saved = SaveRawLog(path, log, arrays, ctx, host);
    if (!saved.ok) return false;
    const LogFamily family = ctx.family;
    return LoadRawLog(saved.path, log, arrays, ctx, host, quietLoad(family, processing)).ok;
}

} // namespace

std::string recoveredLogPath(const std::string& tempOrRawPath, LogFamily family) {
    const std::string ext(rawLogExtension(family));
    const std::string raw = replaceEndingNoCase(tempOrRawPath, ext + ".temp", ext);
    if (!endsWithNoCase(raw, ext)) return raw + "_Recovered" + ext;
    return raw.substr(0, raw.size() - ext.size()) + "_Recovered" + ext;
}

RecoveryResult RecoverFromTempFile(const std::string& tempPath, const std::string& headerLog, cZEL_Data& log,
                                   LogArrays& arrays, RawLogContext& ctx, Host& host,
                                   const PointProcessingSetup& processing) {
    RecoveryResult result;
    const auto fail = [&host](const std::string& why) { host.message("Error in Recover_Temp: " + why); };
    try {
        const LogFamily family = familyOfPath(headerLog);
        if (!LoadRawLog(headerLog, log, arrays, ctx, host, quietLoad(family, processing)).ok) {
            fail("the log " + headerLog + " that describes the points could not be loaded.");
            return result;
        }
        const TempReadResult read =
            readTempPointFile(tempPath, log.DataSets(), log.PresFlow(), log.WavePoints() + 1, arrays);
        if (!read.ok) {
            fail(read.error);
            return result;
        }
        log.GPS_Clear();
        log.DataPoints(read.points - 1);
        result.recoveredPath = recoveredLogPath(tempPath, family);
        log.File_FullPath(result.recoveredPath);
        // The first round gives the points the %RE that loading recomputes from their waveforms; the maxima
        // are taken from those, and the second round carries them into STATS.
        if (!saveAndLoad(result.recoveredPath, log, arrays, ctx, host, processing)) return result;
        recomputeSignalMax(log, arrays.columns, point_column::Signal);
        if (!saveAndLoad(result.recoveredPath, log, arrays, ctx, host, processing)) return result;
        result.ok = true;
        result.points = read.points;
        result.droppedBytes = read.droppedBytes;
    } catch (const std::exception& e) {
        fail(e.what());
    }
    return result;
}

} // namespace zel
