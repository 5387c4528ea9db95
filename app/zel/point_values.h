#pragma once
// The per-point values a raw log does not carry (%RE, S, F and the four channel areas) worked out again
// for the display from the log's own RE, background and waveforms, as the push computed them. The stored
// waveforms are the push's processed ones (background already subtracted), so only the channel
// processing runs on them.

#include "common/host.h"
#include "log/log_arrays.h"
#include "log/log_data.h"
#include "log/raw_log_format.h"

namespace zel::gui {

// Whether any point has a %RE value (a log recorded in this session, or one already filled).
bool pointValuesPresent(const LogArrays& arrays);

// Fills the columns of every point when none has a %RE yet and the log has its RE and room for the
// columns. Returns the number of points filled (0: nothing done). Processing messages are not shown: the
// values only serve the display, and the load has said what there was to say about the log.
int fillLoadedPointValues(const cZEL_Data& log, LogArrays& arrays, const RawLogContext& ctx, Host& host);

} // namespace zel::gui
