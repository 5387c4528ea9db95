#pragma once
// The depth plot as data: which tracks a log is drawn with, each with its title, unit, range, scale, floor,
// reference lines and width, and the values against depth. Built from the log and the plot settings; the
// painters (depth_plot.h, log_page.h) and the desktop widget only read it. Standard C++ only.
//
// The model copies the values it draws (a full log is a few hundred kilobytes), so it never points into a
// log that a push or a load is changing; during a push it is simply built again after each point.

#include "app/plot/channel_colours.h"
#include "app/plot/plot_settings_view.h"
#include "log/log_arrays.h"
#include "log/log_data.h"

#include <array>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace zel::plot {

enum class TrackKind {
    Signal, // %RE, filled with each point's channel colour
    Zoom,   // %RE again on a narrow manual range
    Rate,
    Conductivity,
    Scatter,
    Fluorescence,
    Nnls,
    Lifetime,  // the decay times, one line a channel
    Class,     // each point's class as a coloured strip
    PresFlow0, // the four pressure/flow curves
    PresFlow1,
    PresFlow2,
    PresFlow3,
    KEstimate,
};

enum class Scale { Linear, Log };

// One curve of a track that draws several against the same scale (the decay times: one a channel).
struct TrackLine {
    std::string label; // "Tau1" ...
    Colour pen;
    std::vector<float> values; // one per point of the track's depth
};

struct Track {
    TrackKind kind = TrackKind::Signal;
    std::string title; // "%RE", "est. K (ft/day)" ...
    std::string unit;  // "%RE", "in/s", "mS/m" ...
    double min = 0.0;  // the value range across the track's width (both > 0 for a log scale)
    double max = 1.0;
    Scale scale = Scale::Linear;
    std::optional<double> floor;    // values below are not drawn
    std::vector<double> references; // vertical reference lines at these values
    double width = 1.0;             // relative to the other tracks
    bool filled = false;            // area between the track's left edge and the curve is filled
    std::vector<float> depth;       // one per point, in the log's unit
    std::vector<float> values;      // one per point
    std::vector<Colour> fill;       // Signal, Class: one per point; empty otherwise
    Colour pen{0, 0, 0};
    std::vector<TrackLine> lines; // a track of several curves draws these instead of values

    // 0..1 across the track for a value (clamped); log scales take values <= 0 as the track's minimum.
    double fraction(double value) const;
};

// The depth range drawn: top is the shallower depth (drawn at the top), bottom the deeper.
struct DepthWindow {
    double top = 0.0;
    double bottom = 10.0;

    double span() const { return bottom - top; }
    // Zooms by factor (< 1 zooms in) keeping anchor at the same place on screen.
    DepthWindow zoomed(double factor, double anchor) const;
    // Moves by delta depth units (positive: deeper).
    DepthWindow panned(double delta) const;
    // Kept inside [minDepth, maxDepth] without changing its span where possible; a span is never below
    // minSpan.
    DepthWindow clamped(double minDepth, double maxDepth, double minSpan = 0.1) const;
    // Screen mapping over a rectangle's vertical extent [y0, y0 + height].
    double toY(double depth, double y0, double height) const;
    double toDepth(double y, double y0, double height) const;
    friend bool operator==(const DepthWindow&, const DepthWindow&) = default;
};

// What the model is built from. labels are the mode's channel labels (settings/startup/modes.h).
struct PlotSource {
    const cZEL_Data& log;
    const LogArrays& arrays;
    std::array<std::string, 4> labels{"350", "400", "450", "500"};
    bool birchMode = false;           // conductivity in column 7 (RawLogContext::birchMode)
    std::span<const float> nnls = {}; // the NNLS result per point, when a fit was made
    int signalColumn = point_column::Signal;
};

// One line of the hover read-out.
struct TrackValue {
    TrackKind kind;
    std::string title;
    std::string unit;
    double value;
};

struct PointReadout {
    int point = -1; // the point nearest the depth; -1 when none is near enough
    double depth = 0.0;
    std::vector<TrackValue> values;
};

// A second depth scale: value = offset + factor x depth.
struct SecondaryAxis {
    std::string title; // "Depth (m)", "Elev. (ft)"
    double factor = 1.0;
    double offset = 0.0;
    double toValue(double depth) const { return offset + factor * depth; }
    double toDepth(double value) const { return (value - offset) / factor; }
};

class PlotModel {
public:
    PlotModel() = default;
    static PlotModel build(const PlotSource& source, const PlotSettings& settings);

    const std::vector<Track>& tracks() const { return tracks_; }
    const Track* track(TrackKind kind) const;
    // Sets a track's range after the build (a page's fixed printed scale decides the %RE range from the
    // track's width). Ranges that are not one (max <= min, or min <= 0 on a log scale) are refused (false).
    bool setTrackRange(TrackKind kind, double min, double max);
    const PlotSettings& settings() const { return settings_; }
    const ChannelColours& channelColours() const { return colours_; }
    bool metric() const { return metric_; }
    const char* depthUnit() const { return metric_ ? "m" : "ft"; }
    int points() const { return points_; }

    // The log's own depth extent after the clip depths, and the window the settings ask for (their depth
    // range, else that extent, never empty).
    double dataTop() const { return dataTop_; }
    double dataBottom() const { return dataBottom_; }
    DepthWindow defaultWindow() const;
    // The secondary depth axis the settings ask for, when the log has what it needs (elevation: an altitude).
    const std::optional<SecondaryAxis>& secondaryAxis() const { return secondary_; }
    // The water table of the log's included dissipation tests (DisWTavg, kept in feet) in the log's unit;
    // none for a log without pressure/flow or without a test.
    const std::optional<double>& waterTable() const { return waterTable_; }
    // The names of the classes the Class track's values index (a loaded classification), in order.
    const std::vector<std::string>& classNames() const { return classNames_; }
    // The log's usual depth step (the median of its steps).
    double pointSpacing() const { return spacing_; }

    // The values of every track at the point nearest depth, if one lies within tolerance (depth units; by
    // default twice the median point spacing).
    PointReadout valuesAt(double depth, std::optional<double> tolerance = std::nullopt) const;

private:
    std::vector<Track> tracks_;
    PlotSettings settings_;
    ChannelColours colours_;
    bool metric_ = false;
    int points_ = 0;
    double dataTop_ = 0.0;
    double dataBottom_ = 10.0;
    double spacing_ = 0.1;
    std::optional<SecondaryAxis> secondary_;
    std::optional<double> waterTable_;
    std::vector<std::string> classNames_;
};

// The colour of class index (0-based) on the class strip, the page's legend and the cross-plot: distinct
// for the first ten, repeating after.
Colour classColour(int index);

// Per-pixel-row decimation: for rows rows spanning window, the smallest and largest value of the points
// whose depth falls in each row, and the points holding them. Points outside the window, NaN values and
// values below floor are skipped. Linear in the number of points.
struct RowExtent {
    float min = 0.0f;
    float max = 0.0f;
    int minPoint = -1; // -1: no point in this row
    int maxPoint = -1;
    bool empty() const { return maxPoint < 0; }
};
std::vector<RowExtent> decimateRows(std::span<const float> depth, std::span<const float> values,
                                    const DepthWindow& window, int rows,
                                    std::optional<double> floor = std::nullopt);

// Nice tick values for an axis from lo to hi: about count steps of 1, 2 or 5 times a power of ten.
std::vector<double> niceTicks(double lo, double hi, int count);

} // namespace zel::plot
