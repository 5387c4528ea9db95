#include "log/recovery.h"

#include "common/hd_layout.h"
#include "log/binary_block.h"
#include "log/hd_stream.h"
#include "log/log_limits.h"
#include "log/path_text.h"
#include "log/raw_log_reader.h"
#include "log/raw_log_writer.h"
#include "log/signal_max.h"
#include "log/temp_point_file.h"

#include <algorithm>
#include <bit>
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
    std::string raw = replaceEndingNoCase(tempOrRawPath, ext + ".temp", ext);
    raw = replaceEndingNoCase(raw, hdSideFilePath(ext), ext);
    if (!endsWithNoCase(raw, ext)) return raw + "_Recovered" + ext;
    return raw.substr(0, raw.size() - ext.size()) + "_Recovered" + ext;
}

namespace {

// The HD board's side file holds whole points (the push's four values with the board's columns): the
// records become the recovered log's binary part as they stand, through a side file of the recovered
// log's own, which the save takes and deletes.
RecoveryResult recoverHdStream(const std::string& streamPath, const std::string& headerLog, cZEL_Data& log,
                               LogArrays& arrays, RawLogContext& ctx, Host& host,
                               const PointProcessingSetup& processing) {
    RecoveryResult result;
    const auto fail = [&host](const std::string& why) { host.message("Error in Recover_Temp: " + why); };
    const LogFamily family = familyOfPath(headerLog);
    const RawLogLoadResult header =
        LoadRawLog(headerLog, log, arrays, ctx, host, quietLoad(family, processing));
    if (!header.ok) {
        fail("the log " + headerLog + " that describes the points could not be loaded.");
        return result;
    }
    if (!header.hdBoard) {
        fail("the log " + headerLog + " is not an HD-board log, so it cannot describe the points of " +
             streamPath + ".");
        return result;
    }
    BinaryFile in(streamPath, "rb");
    const auto size = in.size();
    unsigned char word[4];
    if (!in.isOpen() || !size || *size < 4 || !in.seek(0) || !in.read(word, 4)) {
        fail("cannot read the column mask of " + streamPath + ".");
        return result;
    }
    const std::uint32_t mask =
        static_cast<std::uint32_t>(word[0]) | static_cast<std::uint32_t>(word[1]) << 8 |
        static_cast<std::uint32_t>(word[2]) << 16 | static_cast<std::uint32_t>(word[3]) << 24;
    const int c = hd_layout::recordValues(mask);
    if (c == 0 || (mask & hd_layout::kPushValuesBit) == 0) {
        fail("the column mask " + std::to_string(mask) + " of " + streamPath +
             " does not describe the points of a push.");
        return result;
    }
    const std::uint64_t recordBytes = 4 * static_cast<std::uint64_t>(c);
    const std::uint64_t whole = (*size - 4) / recordBytes;
    if (whole < 1) {
        fail(streamPath + " holds no whole point.");
        return result;
    }
    const int points = static_cast<int>(std::min<std::uint64_t>(whole, kMaxPoints));
    std::vector<float> records(static_cast<std::size_t>(points) * static_cast<std::size_t>(c));
    if (!readFloatsLe(in, records)) {
        fail("cannot read the points of " + streamPath + ".");
        return result;
    }
    in.close();
    result.droppedBytes = *size - 4 - whole * recordBytes;

    const int columns = std::max(log.DataSets(), hd_layout::kPointColumns);
    if (arrays.resize(hd_layout::kSignalColumns, columns, points, log.PresFlow()) != ArrayStatus::Ok) {
        fail("no room for " + std::to_string(points) + " points.");
        return result;
    }
    HdChannels background{};
    for (std::size_t k = 0; k < background.size() && k < arrays.blank.samples.size(); ++k)
        background[k] = arrays.blank.samples[k];
    for (int p = 0; p < points; ++p)
        DistributeHdRecord(
            mask,
            std::span<const float>(records).subspan(static_cast<std::size_t>(p) * static_cast<std::size_t>(c),
                                                    static_cast<std::size_t>(c)),
            background, arrays.columns.row(p), arrays.waves.row(p));
    log.GPS_Clear();
    log.DataPoints(points - 1);
    log.DataSets(columns);
    if (!fileTimes(streamPath, result)) {
        fail("cannot read the times of " + streamPath + ".");
        return result;
    }
    log.Time_Start(result.timeStart);
    log.Time_Stop(result.timeStop);
    result.recoveredPath = recoveredLogPath(streamPath, family);
    log.File_FullPath(result.recoveredPath);
    // The points carry their %RE: the maxima need no processing round.
    recomputeSignalMax(log, arrays.columns, point_column::Signal);
    ctx.hdBoardMode = true;
    {
        BinaryFile side(hdSideFilePath(result.recoveredPath), "wb");
        std::vector<unsigned char> bytes(4 + static_cast<std::size_t>(records.size()) * 4);
        std::copy(word, word + 4, bytes.begin());
        for (std::size_t i = 0; i < records.size(); ++i)
            putLe32(bytes.data() + 4 + 4 * i, std::bit_cast<std::uint32_t>(records[i]));
        if (!side.isOpen() || !side.write(bytes.data(), bytes.size()) || !side.close()) {
            fail("cannot write " + hdSideFilePath(result.recoveredPath) + ".");
            return result;
        }
    }
    const RawLogSaveResult saved = SaveRawLog(result.recoveredPath, log, arrays, ctx, host);
    if (!saved.ok || !LoadRawLog(saved.path, log, arrays, ctx, host, quietLoad(family, processing)).ok)
        return result;
    result.ok = true;
    result.points = points;
    result.fromHeaderLog = "the RE and the background, the board's settings (HD_Int, HD_Avg) and the "
                           "information texts (site, client, job, operator, notes, units)";
    host.message(
        "The recovered log " + result.recoveredPath + " takes Time_Start (" +
            (result.startFromCreation ? "the creation" : "the last write, the creation being unknown") +
            " of " + std::filesystem::path(streamPath).filename().string() +
            ") and Time_Stop (its last write) from the HD board data file. From " +
            std::filesystem::path(headerLog).filename().string() + " it takes " + result.fromHeaderLog +
            ": check them.",
        MsgButtons::Ok, MsgIcon::Information);
    return result;
}

} // namespace

RecoveryResult RecoverFromTempFile(const std::string& tempPath, const std::string& headerLog, cZEL_Data& log,
                                   LogArrays& arrays, RawLogContext& ctx, Host& host,
                                   const PointProcessingSetup& processing) {
    if (endsWithNoCase(tempPath, ".raw.hd")) {
        try {
            return recoverHdStream(tempPath, headerLog, log, arrays, ctx, host, processing);
        } catch (const std::exception& e) {
            host.message(std::string("Error in Recover_Temp: ") + e.what());
            return {};
        }
    }
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
