#pragma once
// The greatest signal of a log and the depths the display and the STATS section report with it.
//
// Points are taken from point 0 upward with a running maximum that starts at 0; only a strictly greater
// signal replaces it, so of equal maxima the shallowest point wins and a log without a positive signal keeps
// 0 (its signal depth is then 0 as well). The log's greatest depth is the depth of its last point.

#include "log/log_data.h"
#include "log/point_matrix.h"

#include <optional>

namespace zel {

struct SignalMaxScan {
    float value = 0.0f;      // %RE
    float depthOfMax = 0.0f; // depth of the point holding value
    float lastDepth = 0.0f;  // depth of the last point taken
    int points = 0;

    // One point, in order of acquisition; a push calls this as its points arrive.
    void add(float depth, float signal) {
        if (signal > value) {
            value = signal;
            depthOfMax = depth;
        }
        lastDepth = depth;
        ++points;
    }
};

// Scans every point of the per-point table: depth from point_column::Depth, the %RE from signalColumn (the
// acquisition's layout decides which column that is). nullopt when either column is not in the table.
std::optional<SignalMaxScan> scanSignalMax(const PointMatrix& columns, int signalColumn);

// Signal_MaxValue takes the scan's value; of the depth members only those of the log's unit (Metric) are
// written, Signal_MaxDepth_M and Depth_Max_M or their _Ft twins, and the other unit's keep what they held.
void applySignalMax(cZEL_Data& log, const SignalMaxScan& scan);

// scanSignalMax then applySignalMax; false, with the log untouched, when the columns are not in the table.
bool recomputeSignalMax(cZEL_Data& log, const PointMatrix& columns, int signalColumn);

} // namespace zel
