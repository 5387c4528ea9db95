#include "site/log_edit.h"

#include "common/number_text.h"
#include "log/signal_max.h"

#include <algorithm>
#include <cmath>
#include <vector>

namespace zel::site {

namespace {

float depthOf(const LogArrays& a, int point) {
    return a.columns.at(point_column::Depth, point).value_or(NAN);
}

PointValues pointOf(const LogArrays& a, int point) {
    PointValues p;
    p.wave = a.waves.wave(point);
    p.columns = a.columns.row(point);
    const auto hammer = a.hammer.row(point);
    std::copy_n(hammer.begin(), std::min<std::size_t>(hammer.size(), p.hammer.size()), p.hammer.begin());
    p.counter = a.counter.at(0, point).value_or(0.0f);
    if (a.presFlow.width() > 0) {
        const auto pf = a.presFlow.row(point);
        std::copy_n(pf.begin(), std::min<std::size_t>(pf.size(), p.presFlow.size()), p.presFlow.begin());
    }
    return p;
}

// Empty point arrays shaped like from's, holding its RE, background and baseline.
bool emptyLike(const LogArrays& from, LogArrays& to, std::string& error) {
    const ArrayStatus s =
        to.beginPush(from.waves.samplesPerWave(), from.columns.width(), from.presFlow.width() > 0);
    if (s != ArrayStatus::Ok) {
        error = std::string(describe(s));
        return false;
    }
    to.re = from.re;
    to.blank = from.blank;
    to.baseline = from.baseline;
    return true;
}

bool append(const LogArrays& from, int point, LogArrays& to, std::string& error) {
    const ArrayStatus s = to.appendPoint(pointOf(from, point));
    if (s != ArrayStatus::Ok) error = std::string(describe(s));
    return s == ArrayStatus::Ok;
}

// The maxima the STATS section and the hammer list depend on, from the points now held.
void takeMaxima(cZEL_Data& log, const LogArrays& arrays) {
    log.DataPoints(arrays.points() - 1);
    recomputeSignalMax(log, arrays.columns, point_column::Signal);
    float blows = 0.0f;
    for (int i = 0; i < arrays.hammer.points(); ++i)
        blows = std::max(blows, arrays.hammer.at(hammer_column::BlowCount, i).value_or(0.0f));
    log.Blow_Max(blows);
}

void addNote(cZEL_Data& log, const std::string& what) {
    log.Note(log.Note().empty() || log.Note() == " " ? what : log.Note() + " " + what);
}

std::string unitOf(const cZEL_Data& log) {
    return log.Metric() ? " m" : " ft";
}

} // namespace

bool cutLog(cZEL_Data& log, LogArrays& arrays, float top, float bottom, std::string& error) {
    if (!(top <= bottom)) {
        error = "the top of the range lies below its bottom";
        return false;
    }
    if (log.TimeMode()) {
        error = "a time-based log has no depths to cut at";
        return false;
    }
    LogArrays kept;
    if (!emptyLike(arrays, kept, error)) return false;
    for (int i = 0; i < arrays.points(); ++i) {
        const float d = depthOf(arrays, i);
        if (d >= top && d <= bottom && !append(arrays, i, kept, error)) return false;
    }
    if (kept.points() == 0) {
        error = "no point lies between " + formatNumber(top, "#0.000") + " and " +
                formatNumber(bottom, "#0.000") + unitOf(log);
        return false;
    }
    arrays = std::move(kept);
    takeMaxima(log, arrays);
    addNote(log, "Cut to " + formatNumber(depthOf(arrays, 0), "#0.000") + "-" +
                     formatNumber(depthOf(arrays, arrays.points() - 1), "#0.000") + unitOf(log) + ".");
    return true;
}

bool stitchLogs(cZEL_Data& upper, LogArrays& upperArrays, const RawLogContext& upperCtx,
                const cZEL_Data& lower, const LogArrays& lowerArrays, const RawLogContext& lowerCtx,
                std::string& error) {
    const auto refuse = [&](std::string why) {
        error = std::move(why);
        return false;
    };
    if (upper.TimeMode() || lower.TimeMode()) return refuse("a time-based log has no depths to join at");
    if (upperCtx.hdBoardMode || lowerCtx.hdBoardMode)
        return refuse("logs streamed by the data board cannot be joined");
    if (upper.mode() != lower.mode() || upperCtx.modeId != lowerCtx.modeId ||
        upperCtx.family != lowerCtx.family)
        return refuse("the logs were taken in different probe modes (" + upper.mode() + ", " + lower.mode() +
                      ")");
    if (upper.Metric() != lower.Metric()) return refuse("one log is in feet, the other in metres");
    if (upperArrays.waves.samplesPerWave() != lowerArrays.waves.samplesPerWave() ||
        upper.Wave_DeltaX() != lower.Wave_DeltaX() || upper.Cutoff_Index() != lower.Cutoff_Index() ||
        upperCtx.channels != lowerCtx.channels || upperArrays.columns.width() != lowerArrays.columns.width())
        return refuse("the logs' waveforms differ in samples, time step or channel layout");
    if ((upperArrays.presFlow.width() > 0) != (lowerArrays.presFlow.width() > 0))
        return refuse("only one of the logs holds pressure and flow");
    const float reU = upper.RE_Area(), reL = lower.RE_Area();
    if (!(reU > 0.0f) || !(std::fabs(reU - reL) <= kStitchReTolerance * reU))
        return refuse("the logs were taken against different REs (RE area " + formatNumber(reU, "#0.0") +
                      " and " + formatNumber(reL, "#0.0") + "); one RE cannot hold both");
    if (upperArrays.points() == 0 || lowerArrays.points() == 0)
        return refuse("one of the logs holds no point");
    const float join = depthOf(lowerArrays, 0);
    if (!(join > depthOf(upperArrays, 0)))
        return refuse("the second log starts at " + formatNumber(join, "#0.000") + unitOf(lower) +
                      ", not below the first log's first point");

    LogArrays joined;
    if (!emptyLike(upperArrays, joined, error)) return false;
    for (int i = 0; i < upperArrays.points() && depthOf(upperArrays, i) < join; ++i)
        if (!append(upperArrays, i, joined, error)) return false;
    for (int i = 0; i < lowerArrays.points(); ++i)
        if (!append(lowerArrays, i, joined, error)) return false;
    upperArrays = std::move(joined);
    takeMaxima(upper, upperArrays);
    upper.Time_Stop(lower.Time_Stop());
    upper.Emulate(upper.Emulate() || lower.Emulate());
    addNote(upper, "Joined with " + lower.File_Title_NoExt() + " below " + formatNumber(join, "#0.000") +
                       unitOf(upper) + ".");
    return true;
}

} // namespace zel::site
