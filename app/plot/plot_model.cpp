#include "app/plot/plot_model.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace zel::plot {
namespace {

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();

// The smallest of 1, 2, 5 times a power of ten that is at least x (x > 0).
double niceCeil(double x) {
    if (!(x > 0.0) || !std::isfinite(x)) return 1.0;
    const double p = std::pow(10.0, std::floor(std::log10(x)));
    for (double m : {1.0, 2.0, 5.0, 10.0})
        if (m * p >= x * (1.0 - 1e-12)) return m * p;
    return 10.0 * p;
}

struct Extent {
    double lo = std::numeric_limits<double>::infinity();
    double hi = -std::numeric_limits<double>::infinity();
    double minPositive = std::numeric_limits<double>::infinity();
    bool any() const { return lo <= hi; }
};

Extent extentOf(const std::vector<float>& values) {
    Extent e;
    for (float v : values) {
        if (!std::isfinite(v)) continue;
        e.lo = std::min(e.lo, double(v));
        e.hi = std::max(e.hi, double(v));
        if (v > 0.0f) e.minPositive = std::min(e.minPositive, double(v));
    }
    return e;
}

// The range of a track: the switches' own when manual, else one that takes the data in.
void setRange(Track& t, bool manual, double min, double max, bool logScale) {
    t.scale = logScale ? Scale::Log : Scale::Linear;
    const Extent e = extentOf(t.values);
    if (manual && std::isfinite(min) && std::isfinite(max) && max > min) {
        t.min = min;
        t.max = max;
    } else if (logScale) {
        const double top = e.any() && e.hi > 0 ? e.hi : 10.0;
        const double bottom = std::isfinite(e.minPositive) ? e.minPositive : top / 100.0;
        t.min = std::pow(10.0, std::floor(std::log10(bottom)));
        t.max = std::pow(10.0, std::ceil(std::log10(top)));
    } else {
        t.min = e.any() && e.lo < 0.0 ? -niceCeil(-e.lo) : 0.0;
        t.max = e.any() && e.hi > 0.0 ? niceCeil(e.hi) : 1.0;
    }
    if (t.scale == Scale::Log) {
        // A logarithmic axis needs a positive start; three decades below the top is a readable default.
        if (!(t.max > 0.0)) t.max = 10.0;
        if (!(t.min > 0.0)) t.min = t.max / 1000.0;
        if (t.min >= t.max) t.min = t.max / 10.0;
    } else if (t.min >= t.max) {
        t.max = t.min + 1.0;
    }
}

bool keepDepth(float d, const PlotSettings& s) {
    if (!std::isfinite(d)) return false;
    if (s.clipMin && d < *s.clipMin) return false;
    if (s.clipMax && d > *s.clipMax) return false;
    return true;
}

// Reads one value per point from a matrix column, dropping the points outside the clip depths. A column
// the matrix does not have reads as NaN (not drawn), so a short table never reads out of bounds.
void fillFromColumns(Track& t, const PointMatrix& m, int depthColumn, int valueColumn, const PlotSettings& s,
                     const PointMatrix* depthFrom = nullptr) {
    const int n = m.points();
    const PointMatrix& dm = depthFrom ? *depthFrom : m;
    const bool hasDepth = depthColumn >= 0 && depthColumn < dm.width() && dm.points() >= n;
    const bool hasValue = valueColumn >= 0 && valueColumn < m.width();
    if (!hasDepth) return;
    t.depth.reserve(static_cast<std::size_t>(n));
    t.values.reserve(static_cast<std::size_t>(n));
    for (int p = 0; p < n; ++p) {
        const float d = dm(depthColumn, p);
        if (!keepDepth(d, s)) continue;
        t.depth.push_back(d);
        t.values.push_back(hasValue ? m(valueColumn, p) : kNaN);
    }
}

Track makeTrack(TrackKind kind, std::string title, std::string unit, double width) {
    Track t;
    t.kind = kind;
    t.title = std::move(title);
    t.unit = std::move(unit);
    t.width = width;
    return t;
}

} // namespace

double Track::fraction(double value) const {
    double f = 0.0;
    if (scale == Scale::Log) {
        const double v = value > min ? value : min;
        f = (std::log10(v) - std::log10(min)) / (std::log10(max) - std::log10(min));
    } else {
        f = (value - min) / (max - min);
    }
    if (!std::isfinite(f)) return 0.0;
    return std::clamp(f, 0.0, 1.0);
}

DepthWindow DepthWindow::zoomed(double factor, double anchor) const {
    if (!(factor > 0.0) || !std::isfinite(factor) || !std::isfinite(anchor)) return *this;
    return {anchor - (anchor - top) * factor, anchor + (bottom - anchor) * factor};
}

DepthWindow DepthWindow::panned(double delta) const {
    if (!std::isfinite(delta)) return *this;
    return {top + delta, bottom + delta};
}

DepthWindow DepthWindow::clamped(double minDepth, double maxDepth, double minSpan) const {
    if (maxDepth < minDepth) std::swap(minDepth, maxDepth);
    DepthWindow w = *this;
    if (!std::isfinite(w.top) || !std::isfinite(w.bottom)) w = {minDepth, maxDepth};
    if (w.bottom < w.top) std::swap(w.top, w.bottom);
    if (w.span() < minSpan) {
        const double mid = (w.top + w.bottom) / 2.0;
        w = {mid - minSpan / 2.0, mid + minSpan / 2.0};
    }
    const double room = maxDepth - minDepth;
    if (w.span() >= room) {
        // The whole range fits: show it, widened around its middle when it is shorter than minSpan.
        if (room >= minSpan) return {minDepth, maxDepth};
        const double mid = (minDepth + maxDepth) / 2.0;
        return {mid - minSpan / 2.0, mid + minSpan / 2.0};
    }
    if (w.top < minDepth) w = w.panned(minDepth - w.top);
    if (w.bottom > maxDepth) w = w.panned(maxDepth - w.bottom);
    return w;
}

double DepthWindow::toY(double depth, double y0, double height) const {
    const double s = span();
    return s > 0.0 ? y0 + (depth - top) / s * height : y0;
}

double DepthWindow::toDepth(double y, double y0, double height) const {
    return height > 0.0 ? top + (y - y0) / height * span() : top;
}

PlotModel PlotModel::build(const PlotSource& src, const PlotSettings& s) {
    PlotModel m;
    m.settings_ = s;
    m.metric_ = src.log.Metric();
    if (src.log.PresFlow() && src.log.DisWTavg() > 0.0f)
        m.waterTable_ = m.metric_ ? src.log.DisWTavg() * 0.3048 : static_cast<double>(src.log.DisWTavg());
    m.colours_ = plot::channelColours(src.labels, s.realColour);
    const LogArrays& a = src.arrays;
    const PointMatrix& cols = a.columns;
    const std::string depthUnit = m.metric_ ? "m" : "ft";

    // %RE with each point's fill colour.
    Track signal = makeTrack(TrackKind::Signal, "%RE", "%RE", s.signalWidth);
    fillFromColumns(signal, cols, point_column::Depth, src.signalColumn, s);
    signal.filled = true;
    signal.floor = s.signalFloor > 0.0 ? std::optional<double>(s.signalFloor) : std::nullopt;
    setRange(signal, s.signalManual, s.signalMin, s.signalMax, s.signalLog);
    {
        const bool hasShares = cols.width() >= point_column::Ch1 + 1;
        const int shareCount = std::min(kMaxChannels, cols.width() - point_column::Ch1);
        signal.fill.reserve(signal.depth.size());
        for (int p = 0; p < cols.points(); ++p) {
            if (!(point_column::Depth < cols.width()) || !keepDepth(cols(point_column::Depth, p), s))
                continue;
            signal.fill.push_back(
                hasShares ? pointColour(m.colours_, cols.row(p).subspan(point_column::Ch1,
                                                                        static_cast<std::size_t>(shareCount)))
                          : kNoShareGrey);
        }
    }
    if (s.referenceRe) signal.references.push_back(*s.referenceRe);
    m.points_ = static_cast<int>(signal.depth.size());

    // The depth extent and the spacing the hover read-out snaps with come from the %RE track's points.
    {
        const Extent e = extentOf(signal.depth);
        if (e.any()) {
            m.dataTop_ = e.lo;
            m.dataBottom_ = e.hi;
        } else {
            m.dataTop_ = s.clipMin.value_or(0.0);
            m.dataBottom_ = m.dataTop_ + 10.0;
        }
        std::vector<double> gaps;
        gaps.reserve(signal.depth.size());
        for (std::size_t i = 1; i < signal.depth.size(); ++i) {
            const double g = std::fabs(double(signal.depth[i]) - signal.depth[i - 1]);
            if (g > 0.0) gaps.push_back(g);
        }
        if (!gaps.empty()) {
            std::nth_element(gaps.begin(), gaps.begin() + static_cast<long>(gaps.size() / 2), gaps.end());
            m.spacing_ = gaps[gaps.size() / 2];
        }
    }

    // Each point's class, beside the %RE track: a classification of the same points only.
    std::optional<Track> classStrip;
    if (s.classes && !a.classNames.empty() && static_cast<int>(a.pointClass.size()) == cols.points() &&
        point_column::Depth < cols.width()) {
        Track t = makeTrack(TrackKind::Class, "Class", "", s.secondaryWidth * 0.35);
        const int count = static_cast<int>(a.classNames.size());
        for (int p = 0; p < cols.points(); ++p) {
            const float d = cols(point_column::Depth, p);
            if (!keepDepth(d, s)) continue;
            const int k = a.pointClass[static_cast<std::size_t>(p)];
            const bool known = k >= 0 && k < count;
            t.depth.push_back(d);
            t.values.push_back(known ? static_cast<float>(k) : kNaN);
            t.fill.push_back(known ? classColour(k) : Colour{255, 255, 255});
        }
        t.min = 0;
        t.max = std::max(1, count);
        t.filled = true;
        m.classNames_ = a.classNames;
        classStrip = std::move(t);
    }

    if (s.zoom.shown) {
        Track t = makeTrack(TrackKind::Zoom, "%RE zoom", "%RE", s.secondaryWidth);
        t.depth = signal.depth;
        t.values = signal.values;
        t.floor = signal.floor;
        t.references = signal.references;
        setRange(t, true, s.zoom.min, s.zoom.max, s.zoom.logScale);
        m.tracks_.push_back(std::move(signal));
        if (classStrip) m.tracks_.push_back(std::move(*classStrip));
        m.tracks_.push_back(std::move(t));
    } else {
        m.tracks_.push_back(std::move(signal));
        if (classStrip) m.tracks_.push_back(std::move(*classStrip));
    }

    const auto pointTrack = [&](TrackKind kind, const TrackSwitches& sw, std::string title, std::string unit,
                                int column, Colour pen) {
        if (!sw.shown) return;
        Track t = makeTrack(kind, std::move(title), std::move(unit), s.secondaryWidth);
        fillFromColumns(t, cols, point_column::Depth, column, s);
        setRange(t, sw.manual, sw.min, sw.max, sw.logScale);
        t.pen = pen;
        if (kind == TrackKind::Conductivity && s.referenceCond) t.references.push_back(*s.referenceCond);
        m.tracks_.push_back(std::move(t));
    };
    // The push records the rate as the depth source gives it: inches or centimetres a second.
    pointTrack(TrackKind::Rate, s.rate, "Rate", m.metric_ ? "cm/s" : "in/s", point_column::Rate, {0, 110, 0});
    pointTrack(TrackKind::Conductivity, s.conductivity, "EC", "mS/m",
               src.birchMode ? point_column::ConductivityBirch : point_column::Conductivity, {200, 0, 0});
    pointTrack(TrackKind::Scatter, s.scatter, "Scatter", "mV", point_column::Scatter, {90, 90, 90});
    pointTrack(TrackKind::Fluorescence, s.fluorescence, "Fluorescence", "mV", point_column::Fluorescence,
               {0, 0, 180});
    if (s.nnls.shown) {
        // The result given with the source, else the one loaded with the log (its title names the basis).
        const std::span<const float> nnls =
            src.nnls.empty() ? std::span<const float>(src.arrays.nnls) : src.nnls;
        const bool loaded = src.nnls.empty() && !src.arrays.nnlsTitle.empty();
        Track t = makeTrack(TrackKind::Nnls, loaded ? "NNLS " + src.arrays.nnlsTitle : "NNLS",
                            loaded ? "%" : "", s.secondaryWidth);
        // The NNLS result belongs to the same points as the table; a result of another length is not drawn.
        if (static_cast<int>(nnls.size()) == cols.points() && point_column::Depth < cols.width()) {
            for (int p = 0; p < cols.points(); ++p) {
                const float d = cols(point_column::Depth, p);
                if (!keepDepth(d, s)) continue;
                t.depth.push_back(d);
                t.values.push_back(nnls[static_cast<std::size_t>(p)]);
            }
        }
        setRange(t, s.nnls.manual, s.nnls.min, s.nnls.max, s.nnls.logScale);
        t.pen = {120, 0, 120};
        m.tracks_.push_back(std::move(t));
    }

    if (s.lifetime && !a.tau.empty() && point_column::Depth < cols.width()) {
        // The decay times of the same points, a line a channel in the channel's colour; a point under the
        // cut-off %RE (or a channel not fitted) leaves its line's gap.
        Track t = makeTrack(TrackKind::Lifetime, "Decay time", "ns", s.secondaryWidth);
        const int n = cols.points();
        for (std::size_t c = 0; c < a.tau.size(); ++c) {
            TrackLine line;
            line.label = "Tau" + std::to_string(c + 1);
            line.pen = c < static_cast<std::size_t>(kMaxChannels) ? m.colours_.colour[c] : Colour{90, 90, 90};
            t.lines.push_back(std::move(line));
        }
        const bool cut = s.lifetimeCutoff && src.signalColumn >= 0 && src.signalColumn < cols.width();
        for (int p = 0; p < n; ++p) {
            const float d = cols(point_column::Depth, p);
            if (!keepDepth(d, s)) continue;
            t.depth.push_back(d);
            const bool faint = cut && !(cols(src.signalColumn, p) >= *s.lifetimeCutoff);
            for (std::size_t c = 0; c < a.tau.size(); ++c) {
                const auto& row = a.tau[c];
                const float v = !faint && static_cast<std::size_t>(p) < row.size()
                                    ? row[static_cast<std::size_t>(p)]
                                    : kNaN;
                t.lines[c].values.push_back(v);
            }
        }
        Extent e;
        for (const TrackLine& line : t.lines) {
            const Extent le = extentOf(line.values);
            e.lo = std::min(e.lo, le.lo);
            e.hi = std::max(e.hi, le.hi);
        }
        t.min = 0.0;
        t.max = e.any() && e.hi > 0 ? niceCeil(e.hi) : 10.0;
        t.pen = {60, 60, 60};
        m.tracks_.push_back(std::move(t));
    }

    if (s.secondaryDepth == 1) {
        m.secondary_ = m.metric_ ? SecondaryAxis{"Depth (ft)", 1.0 / 0.3048, 0.0}
                                 : SecondaryAxis{"Depth (m)", 0.3048, 0.0};
    } else if (s.secondaryDepth == 2) {
        const double altitude = m.metric_ ? src.log.Altitude_M() : src.log.Altitude_Ft();
        if (std::isfinite(altitude) && altitude != 0.0)
            m.secondary_ =
                SecondaryAxis{std::string("Elev. (") + (m.metric_ ? "m" : "ft") + ")", -1.0, altitude};
    }

    const bool presFlow = src.log.PresFlow() && a.presFlow.points() > 0;
    // A push keeps each pressure/flow point's own depth; a raw log's lists do not, and its points are then
    // the log's own points.
    static_assert(presflow_column::Depth == point_column::Depth);
    const PointMatrix* pfDepth = nullptr;
    if (presFlow) {
        bool ownDepth = false;
        for (int p = 0; p < a.presFlow.points() && !ownDepth; ++p)
            ownDepth = a.presFlow(presflow_column::Depth, p) != 0.0f;
        if (!ownDepth && cols.points() == a.presFlow.points()) pfDepth = &cols;
    }
    if (presFlow) {
        // The four curves: downward pressure, flow, upward pressure and the injection time.
        struct Curve {
            const char* title;
            const char* unit;
            int column;
            Colour pen;
        };
        static constexpr std::array<Curve, 4> kCurves{{
            {"Pressure", "PSI", presflow_column::PressureDown, {0, 0, 200}},
            {"Flow", "mL/min", presflow_column::FlowUp, {0, 150, 200}},
            {"Pressure up", "PSI", presflow_column::PressureUp, {100, 0, 160}},
            {"HP time", "s", presflow_column::Time, {90, 90, 90}},
        }};
        for (std::size_t i = 0; i < kCurves.size(); ++i) {
            const TrackSwitches& sw = s.presFlow[i];
            if (!sw.shown) continue;
            Track t = makeTrack(static_cast<TrackKind>(static_cast<int>(TrackKind::PresFlow0) + int(i)),
                                kCurves[i].title, kCurves[i].unit, s.secondaryWidth);
            fillFromColumns(t, a.presFlow, presflow_column::Depth, kCurves[i].column, s, pfDepth);
            setRange(t, sw.manual, sw.min, sw.max, sw.logScale);
            t.pen = kCurves[i].pen;
            m.tracks_.push_back(std::move(t));
        }
        if (s.kEstimate) {
            Track t = makeTrack(TrackKind::KEstimate, m.metric_ ? "est. K (m/day)" : "est. K (ft/day)",
                                m.metric_ ? "m/day" : "ft/day", s.secondaryWidth);
            fillFromColumns(t, a.presFlow, presflow_column::Depth, presflow_column::KEstimate, s, pfDepth);
            // K spans decades and is never stored below 0.1.
            setRange(t, false, 0, 0, true);
            t.min = std::min(t.min, 0.1);
            t.pen = {0, 90, 160};
            m.tracks_.push_back(std::move(t));
        }
    }
    return m;
}

Colour classColour(int index) {
    // Well apart in hue and lightness, none of them the grey of a point without shares.
    static constexpr Colour kPalette[] = {{31, 119, 180},  {255, 127, 14}, {44, 160, 44},   {214, 39, 40},
                                          {148, 103, 189}, {140, 86, 75},  {227, 119, 194}, {188, 189, 34},
                                          {23, 190, 207},  {0, 0, 0}};
    constexpr int n = sizeof(kPalette) / sizeof(kPalette[0]);
    return kPalette[((index % n) + n) % n];
}

const Track* PlotModel::track(TrackKind kind) const {
    for (const Track& t : tracks_)
        if (t.kind == kind) return &t;
    return nullptr;
}

bool PlotModel::setTrackRange(TrackKind kind, double min, double max) {
    for (Track& t : tracks_) {
        if (t.kind != kind) continue;
        if (!std::isfinite(min) || !std::isfinite(max) || !(max > min)) return false;
        if (t.scale == Scale::Log && !(min > 0.0)) return false;
        t.min = min;
        t.max = max;
        return true;
    }
    return false;
}

DepthWindow PlotModel::defaultWindow() const {
    double top = settings_.depthMin.value_or(dataTop_);
    double bottom = settings_.depthMax.value_or(dataBottom_);
    if (!(bottom > top)) {
        top = dataTop_;
        bottom = dataBottom_;
    }
    if (!(bottom > top)) bottom = top + 1.0;
    return {top, bottom};
}

PointReadout PlotModel::valuesAt(double depth, std::optional<double> tolerance) const {
    PointReadout out;
    if (tracks_.empty() || !std::isfinite(depth)) return out;
    const double tol = tolerance.value_or(2.0 * spacing_);
    const auto nearest = [&](const Track& t) {
        int best = -1;
        double bestGap = tol;
        for (std::size_t i = 0; i < t.depth.size(); ++i) {
            const double g = std::fabs(double(t.depth[i]) - depth);
            if (g <= bestGap) {
                bestGap = g;
                best = static_cast<int>(i);
            }
        }
        return best;
    };
    const int p = nearest(tracks_.front());
    if (p < 0) return out;
    out.point = p;
    out.depth = tracks_.front().depth[static_cast<std::size_t>(p)];
    for (const Track& t : tracks_) {
        // Pressure/flow tracks have points of their own; the others share the %RE track's.
        const int i = t.depth.size() == tracks_.front().depth.size() ? p : nearest(t);
        if (i >= 0 && !t.lines.empty()) {
            for (const TrackLine& line : t.lines) {
                const auto at = static_cast<std::size_t>(i);
                if (at < line.values.size() && std::isfinite(line.values[at]))
                    out.values.push_back({t.kind, line.label, t.unit, line.values[at]});
            }
            continue;
        }
        if (i < 0 || static_cast<std::size_t>(i) >= t.values.size()) continue;
        const float v = t.values[static_cast<std::size_t>(i)];
        if (!std::isfinite(v)) continue;
        if (t.kind == TrackKind::Class) {
            // The strip reads as the class's name.
            const auto k = static_cast<std::size_t>(v);
            if (k < classNames_.size()) out.values.push_back({t.kind, t.title, classNames_[k], v});
            continue;
        }
        out.values.push_back({t.kind, t.title, t.unit, v});
    }
    return out;
}

std::vector<RowExtent> decimateRows(std::span<const float> depth, std::span<const float> values,
                                    const DepthWindow& window, int rows, std::optional<double> floor) {
    if (rows <= 0 || !(window.span() > 0.0)) return {};
    rows = std::min(rows, 100000);
    std::vector<RowExtent> out(static_cast<std::size_t>(rows));
    const std::size_t n = std::min(depth.size(), values.size());
    const double scale = rows / window.span();
    for (std::size_t i = 0; i < n; ++i) {
        const float d = depth[i];
        const float v = values[i];
        if (!std::isfinite(d) || !std::isfinite(v)) continue;
        if (d < window.top || d > window.bottom) continue;
        if (floor && v < *floor) continue;
        const int r = std::min(rows - 1, static_cast<int>((d - window.top) * scale));
        RowExtent& e = out[static_cast<std::size_t>(r)];
        if (e.maxPoint < 0) {
            e = {v, v, static_cast<int>(i), static_cast<int>(i)};
            continue;
        }
        if (v < e.min) {
            e.min = v;
            e.minPoint = static_cast<int>(i);
        }
        if (v > e.max) {
            e.max = v;
            e.maxPoint = static_cast<int>(i);
        }
    }
    return out;
}

std::vector<double> niceTicks(double lo, double hi, int count) {
    std::vector<double> out;
    if (!std::isfinite(lo) || !std::isfinite(hi) || count < 1) return out;
    if (hi < lo) std::swap(lo, hi);
    if (hi == lo) return {lo};
    const double step = niceCeil((hi - lo) / count);
    const double first = std::ceil(lo / step - 1e-9) * step;
    for (int i = 0; i <= 1000; ++i) {
        const double v = first + i * step;
        if (v > hi + step * 1e-9) break;
        out.push_back(std::fabs(v) < step * 1e-9 ? 0.0 : v);
    }
    return out;
}

} // namespace zel::plot
