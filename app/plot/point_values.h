#pragma once
// A loaded raw log keeps every point's waveform but not the values a push computed from it: the %RE, S, F
// and channel areas live only in the push's table. The display computes them again from the stored
// waveforms (already background-subtracted when they were recorded) against the log's RE, with the log's
// channel boundaries, exactly as the push's processing did.

#include "common/host.h"
#include "log/log_arrays.h"
#include "log/log_data.h"

namespace zel::plot {

struct PointValueSetup {
    int mode = 0;       // operating mode (the fibre's group index)
    bool gated = false; // the gated layout, whose first pulse is the scatter peak
};

// True when the table already holds %RE values (a log of the current push).
bool hasPointValues(const LogArrays& arrays);

// Fills point_column::Signal, Scatter, Fluorescence and Ch1..Ch1+3 for every point, widening the table
// when a loaded log's is narrower. False when the log has no RE or no waveforms (table unchanged), or when
// processing reported an error through host (the points before it keep their values).
bool computePointValues(const cZEL_Data& log, LogArrays& arrays, const PointValueSetup& setup, Host& host);

} // namespace zel::plot
