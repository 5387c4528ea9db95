#pragma once
// The waveform view: the waveform of the selected depth against the RE and the background, with the channel
// boundaries; and the callouts, depth ranges whose averaged waveform is drawn in the range's colour.

#include "app/plot/channel_colours.h"
#include "app/plot/paint_text.h"
#include "app/plot/plot_model.h"
#include "log/log_arrays.h"
#include "log/log_data.h"

#include <QFont>
#include <QPainter>
#include <QRectF>

#include <functional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace zel::plot {

// One callout: a depth range of the log, its averaged waveform and its colour.
struct CalloutWave {
    int slot = 0;     // 0..4
    double top = 0.0; // depth range, log unit
    double bottom = 0.0;
    int firstPoint = 0; // points averaged (inclusive)
    int lastPoint = 0;
    std::vector<float> average; // mean waveform of those points, mV
    double meanSignal = 0.0;    // mean %RE of those points
    Colour colour;              // fill colour of the mean channel shares
    std::string caption;
};

// The callouts the log holds: every slot whose range covers at least one point (the point indices are
// taken from Callout_Index when they fit the log, else found from Callout_Range). Bounds are checked: a
// callout outside the log is left out.
std::vector<CalloutWave> logCallouts(const cZEL_Data& log, const LogArrays& arrays,
                                     const ChannelColours& colours, int signalColumn = point_column::Signal);

// The averaged callout for a depth range (top <= bottom after ordering); nullopt when no point lies in it.
std::optional<CalloutWave> calloutForRange(const cZEL_Data& log, const LogArrays& arrays,
                                           const ChannelColours& colours, int slot, double top, double bottom,
                                           int signalColumn = point_column::Signal);

// Distinct colours for the five callout slots' outlines and curves (not the fill colours above).
Colour calloutSlotColour(int slot);

struct WaveformView {
    std::span<const float> wave;       // the selected point's waveform; may be empty
    std::span<const float> re;         // may be empty
    std::span<const float> background; // may be empty
    std::vector<int> boundaries; // channel boundaries (sample indices); those outside the wave are skipped
    double deltaX = 0.0;         // seconds per sample; 0: the axis is in samples
    std::string title;           // e.g. "Point 120  12.35 ft  %RE 4.1"
    std::vector<CalloutWave> callouts;      // drawn in their slot colours
    std::vector<std::string> channelLabels; // named between the boundaries, when given
    std::string depthUnit = "ft";           // of the callouts' ranges in the legend
    std::string valueUnit = "Signal (mV)";  // the value axis's title
    std::string timeUnit;                   // the time axis's title; empty: "Time (ns)" (or "Sample")
    std::string waveLegend;                 // the selected waveform's legend, when it is a computed one
    bool legend = true;                     // the callouts' captions, ranges and %RE under the plot
    QFont font;
    TextSinkFunction textSink;
};

// Paints the view into rect; returns the plot's area (the axes, titles and legends are around it).
QRectF paintWaveform(QPainter& painter, const QRectF& rect, const WaveformView& view);

// Index of the point whose depth is nearest depth (-1 for an empty log).
int nearestPoint(const LogArrays& arrays, double depth);

} // namespace zel::plot
