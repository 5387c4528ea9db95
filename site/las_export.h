#pragma once
// A log's curves as LAS 2.0 (the Canadian Well Logging Society's ASCII standard) for well-log, GIS and 3D
// programs: ~Version, ~Well (STRT and STOP exactly the first and last depths of the data, STEP 0 because a
// push's depth steps are not regular, NULL -999.25), ~Curve, ~Parameter and ~ASCII, one line a point. Curves:
// depth, %RE, the channel shares, the push rate, and where the log has them the conductivity, the
// pressure/flow readings with the K estimate, the channel decay times and the basis shares.

#include "analysis/waveform_fits.h"
#include "log/log_arrays.h"
#include "log/log_data.h"

#include <optional>
#include <string>

namespace zel::site {

struct LasExtras {
    bool conductivity = false; // the log carries a conductivity column
    int conductivityColumn = point_column::Conductivity;
    const analysis::LogLifetimes* lifetimes = nullptr;
    const analysis::LogNnls* nnls = nullptr;
};

inline constexpr double kLasNull = -999.25;

std::string lasText(const cZEL_Data& log, const LogArrays& arrays, const LasExtras& extras);

// "<folder>/<name>.lif.las" beside a raw log "<name>.lif.raw.bin".
std::string lasPath(const std::string& rawLogPath);

} // namespace zel::site
