#include "app/plot/point_values.h"

#include "waveform/waveform.h"

#include <algorithm>
#include <cmath>
#include <vector>

namespace zel::plot {

bool hasPointValues(const LogArrays& a) {
    const PointMatrix& c = a.columns;
    if (c.width() <= point_column::Signal) return false;
    for (int p = 0; p < c.points(); ++p)
        if (c(point_column::Signal, p) != 0.0f) return true;
    return false;
}

bool computePointValues(const cZEL_Data& log, LogArrays& a, const PointValueSetup& setup, Host& host) {
    const int points = a.points();
    const int samples = a.waves.samplesPerWave();
    if (points < 1 || samples < 4 || a.re.samples.size() < 4) return false;

    cZEL_Waveform re(host);
    re.Mode = setup.mode;
    re.AcqType = setup.gated ? 1 : 0;
    re.DeltaX = log.Wave_DeltaX() > 0 ? log.Wave_DeltaX() : a.re.deltaX;
    re.RE_Delay = a.re.delay;
    re.NoScatterScaling = true;
    std::vector<float> buffer(a.re.samples);
    // The log keeps the RE as acquired; the push subtracted the background from it before using it.
    if (!a.blank.samples.empty()) {
        re.SetBackground(a.blank.samples);
        if (!re.Process_Wave(buffer)) return false;
        re.ClearBackground();
    }
    // The push searched the boundaries on this RE; the header keeps only the first three of them (a
    // seven-channel RE has six), so the same search is run again rather than trusting Cutoff_Index.
    re.Process_Cutoffs(buffer, false);
    if (!re.Process_RE(buffer, true, false)) return false;

    if (a.columns.width() < point_column::PushCount) {
        // A loaded log's table holds only the lists of the file: widen it, keeping them.
        PointMatrix wide(kMaxDataColumns);
        if (wide.resize(point_column::PushCount, points) != ArrayStatus::Ok) return false;
        for (int p = 0; p < points; ++p)
            for (int c = 0; c < a.columns.width(); ++c)
                wide(c, p) = a.columns(c, p);
        a.columns = std::move(wide);
    }

    cZEL_Waveform point(host);
    point.Mode = setup.mode;
    point.AcqType = re.AcqType;
    point.DeltaX = re.DeltaX;
    point.CopyCutoffs(re);
    point.CopyReference(re);
    buffer.resize(static_cast<std::size_t>(samples));
    for (int p = 0; p < points; ++p) {
        const auto w = a.waves.wave(p);
        std::copy(w.begin(), w.end(), buffer.begin());
        bool low = false;
        if (!point.ProcessWaveform(buffer, false, low)) return false;
        auto row = a.columns.row(p);
        row[point_column::Signal] = point.Wave_Signal;
        row[point_column::Scatter] = point.Wave_ScatSum;
        row[point_column::Fluorescence] = point.Wave_FluorSum;
        for (int k = 0; k < 4; ++k)
            row[static_cast<std::size_t>(point_column::Ch1 + k)] =
                point.Wave_AreaCH[static_cast<std::size_t>(k)];
    }
    return true;
}

} // namespace zel::plot
