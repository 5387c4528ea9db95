#include "log/signal_max.h"

#include "log/log_arrays.h"

namespace zel {

std::optional<SignalMaxScan> scanSignalMax(const PointMatrix& columns, int signalColumn) {
    const int width = columns.width();
    if (signalColumn < 0 || signalColumn >= width || point_column::Depth >= width) return std::nullopt;
    SignalMaxScan scan;
    for (int p = 0; p < columns.points(); ++p)
        scan.add(columns(point_column::Depth, p), columns(signalColumn, p));
    return scan;
}

void applySignalMax(cZEL_Data& log, const SignalMaxScan& scan) {
    log.Signal_MaxValue(scan.value);
    if (log.Metric()) {
        log.Signal_MaxDepth_M(scan.depthOfMax);
        log.Depth_Max_M(scan.lastDepth);
    } else {
        log.Signal_MaxDepth_Ft(scan.depthOfMax);
        log.Depth_Max_Ft(scan.lastDepth);
    }
}

bool recomputeSignalMax(cZEL_Data& log, const PointMatrix& columns, int signalColumn) {
    const std::optional<SignalMaxScan> scan = scanSignalMax(columns, signalColumn);
    if (!scan) return false;
    applySignalMax(log, *scan);
    return true;
}

} // namespace zel
