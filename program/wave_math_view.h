#pragma once
// The wave-mathematics page's choices for the waveform view, and the waveform they make of the selected
// point: the mean of the points within the averaging interval about it, less another depth, range or the
// background, less the log's stored baseline, normalised to the RE; with the custom axis titles and legend.
// The desktop's view and its export of the waveform shown go through here.

#include "analysis/wave_math.h"
#include "log/log_arrays.h"
#include "log/log_data.h"
#include "program/settings_model.h"

#include <array>
#include <optional>
#include <string>

namespace zel::program {

struct WaveMathOptions {
    bool average = false;
    double interval = 1.0; // log unit: the points within half of it either side of the selected depth
    bool difference = false;
    std::string differenceWith; // a depth, FROM-TO or bg
    bool baseline = false;      // the log's stored baseline off (the page's baseline option)
    bool normalise = false;
    bool customLabels = false;
    std::array<std::string, 4> units;   // x label, x unit, y label, y unit
    std::array<std::string, 2> legends; // the curves' legends

    // Nothing to do: the view shows the point's waveform as it was logged.
    bool plain() const { return !average && !difference && !baseline && !normalise && !customLabels; }
};

WaveMathOptions ReadWaveMathOptions(const SettingsModel& model);

struct ShownWave {
    wave_math::Curve curve;
    wave_math::Labels labels;
    std::string operation;  // what was done, for the title and the export ("avg 1.20-2.20 ft; normalised")
    std::string problem;    // an operation that could not be done, and why; the rest was
    bool millivolts = true; // still in mV, so the RE and background may be drawn beside it
};

// The waveform the options make of point `point`; none for a point outside the log.
std::optional<ShownWave> ShownWaveform(const WaveMathOptions& o, const cZEL_Data& log,
                                       const LogArrays& arrays, int point, const std::string& depthUnit);

} // namespace zel::program
