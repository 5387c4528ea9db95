#include "log/recovery.h"

#include "log/path_text.h"
#include "log/raw_log_reader.h"
#include "log/raw_log_writer.h"
#include "log/signal_max.h"
#include "log/temp_point_file.h"

#include <ctime>
#include <exception>
#include <fcntl.h>
#include <filesystem>
#include <sys/stat.h>

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

DateTime localTime(std::time_t t) {
    std::tm tm{};
    localtime_r(&t, &tm);
    return {tm.tm_year + 1900, tm.tm_mon + 1, tm.tm_mday, tm.tm_hour, tm.tm_min, tm.tm_sec};
}

// The push's first and last moments as the file system saw them: the temporary file is created when the
// push starts and written at every point.
bool fileTimes(const std::string& path, RecoveryResult& r) {
#if defined(__linux__) && defined(STATX_BTIME)
    struct statx sx {};
    if (::statx(AT_FDCWD, path.c_str(), 0, STATX_MTIME | STATX_BTIME, &sx) == 0 &&
        (sx.stx_mask & STATX_MTIME)) {
        r.timeStop = localTime(static_cast<std::time_t>(sx.stx_mtime.tv_sec));
        r.startFromCreation = (sx.stx_mask & STATX_BTIME) != 0;
        r.timeStart =
            r.startFromCreation ? localTime(static_cast<std::time_t>(sx.stx_btime.tv_sec)) : r.timeStop;
        return true;
    }
#endif
    struct stat st {};
    if (::stat(path.c_str(), &st) != 0) return false;
    r.timeStop = r.timeStart = localTime(st.st_mtime);
    r.startFromCreation = false;
    return true;
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
        if (!fileTimes(tempPath, result)) {
            fail("cannot read the times of " + tempPath + ".");
            return result;
        }
        log.Time_Start(result.timeStart);
        log.Time_Stop(result.timeStop);
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
        const std::string header = std::filesystem::path(headerLog).filename().string();
        result.fromHeaderLog =
            "the point layout (Data_Cols, Wave_Points, PresFlow), the RE and the background, "
            "the processing values (cutoffs, areas, fibre length, mode) and the information "
            "texts (site, client, job, operator, notes, units)";
        host.message(
            "The recovered log " + result.recoveredPath + " takes Time_Start (" +
                (result.startFromCreation ? "the creation" : "the last write, the creation being unknown") +
                " of " + std::filesystem::path(tempPath).filename().string() +
                ") and Time_Stop (its last write) from the temporary file. From " + header + " it takes " +
                result.fromHeaderLog + ": check them.",
            MsgButtons::Ok, MsgIcon::Information);
    } catch (const std::exception& e) {
        fail(e.what());
    }
    return result;
}

} // namespace zel
