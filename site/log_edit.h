#pragma once
// Mending a boring's logs in the office: cutting a log to a depth range (a bad top, a stretch logged after a
// refusal) and joining the two logs of one boring whose push was resumed after a refusal. Both work on a
// loaded log and leave it ready for SaveRawLog under a new name; the original files are never touched.

#include "log/log_arrays.h"
#include "log/log_data.h"
#include "log/raw_log_format.h"

#include <string>

namespace zel::site {

// Keeps the points whose depth lies in [top, bottom] (the log's unit), with their depths as logged, and
// takes the log's maxima again from what is left. False, the log untouched, when no point is in the range.
bool cutLog(cZEL_Data& log, LogArrays& arrays, float top, float bottom, std::string& error);

// The two REs of a resumed push may differ this much (relative RE area) and still share one RE: the
// repeat of one RE on one probe varies by a fraction of that.
inline constexpr float kStitchReTolerance = 0.01f;

// Joins lower (the resumed push) below upper: upper's points above lower's first depth, then every point
// of lower. The result keeps upper's identification, RE and background and ends at lower's stop time.
// Refused, with upper untouched, when the logs cannot share one depth axis and one RE: another probe mode,
// unit, sample count or channel layout, pressure/flow in one only, REs further apart than the tolerance,
// time-based logs, or a lower log that starts above upper's first point.
bool stitchLogs(cZEL_Data& upper, LogArrays& upperArrays, const RawLogContext& upperCtx,
                const cZEL_Data& lower, const LogArrays& lowerArrays, const RawLogContext& lowerCtx,
                std::string& error);

} // namespace zel::site
