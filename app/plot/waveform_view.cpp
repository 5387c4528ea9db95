#include "app/plot/waveform_view.h"

#include "app/plot/paint_text.h"
#include "app/plot/qt_text.h"

#include <QFontMetricsF>
#include <QPolygonF>

#include <algorithm>
#include <cmath>
#include <limits>

namespace zel::plot {
namespace {

QColor qcolour(Colour c) {
    return QColor(c.r, c.g, c.b);
}

float depthOf(const LogArrays& a, int point) {
    return a.columns.at(point_column::Depth, point).value_or(std::numeric_limits<float>::quiet_NaN());
}

// The mean waveform, %RE and colour of the given points (all inside the log).
CalloutWave averageOf(const LogArrays& a, const ChannelColours& colours, const std::vector<int>& points,
                      int signalColumn) {
    CalloutWave c;
    const int samples = a.waves.samplesPerWave();
    std::vector<double> sum(static_cast<std::size_t>(std::max(0, samples)), 0.0);
    std::array<double, kMaxChannels> shares{};
    double signal = 0.0;
    int signalCount = 0;
    for (int p : points) {
        const auto w = a.waves.wave(p);
        for (std::size_t i = 0; i < sum.size() && i < w.size(); ++i)
            sum[i] += w[i];
        if (const auto v = a.columns.at(signalColumn, p); v && std::isfinite(*v)) {
            signal += *v;
            ++signalCount;
        }
        for (int k = 0; k < kMaxChannels; ++k)
            if (const auto v = a.columns.at(point_column::Ch1 + k, p); v && std::isfinite(*v))
                shares[static_cast<std::size_t>(k)] += *v;
    }
    const double n = points.empty() ? 1.0 : double(points.size());
    c.average.reserve(sum.size());
    for (double v : sum)
        c.average.push_back(static_cast<float>(v / n));
    c.meanSignal = signalCount > 0 ? signal / signalCount : 0.0;
    std::array<float, kMaxChannels> mean{};
    for (std::size_t k = 0; k < mean.size(); ++k)
        mean[k] = static_cast<float>(shares[k] / n);
    c.colour = pointColour(colours, mean);
    c.firstPoint = points.empty() ? 0 : *std::min_element(points.begin(), points.end());
    c.lastPoint = points.empty() ? 0 : *std::max_element(points.begin(), points.end());
    return c;
}

constexpr std::array<Colour, cZEL_Data::kCalloutSlots> kSlotColours{
    {{220, 0, 0}, {0, 140, 0}, {0, 70, 220}, {200, 110, 0}, {150, 0, 170}}};

// A series drawn across rect: one min/max pair per pixel column when it has more samples than columns.
void drawSeries(QPainter& p, std::span<const float> s, const QRectF& r, double xMax, double yLo, double yHi) {
    if (s.empty() || !(xMax > 0) || !(yHi > yLo)) return;
    const auto yOf = [&](double v) { return r.bottom() - (v - yLo) / (yHi - yLo) * r.height(); };
    const auto xOf = [&](double i) { return r.left() + i / xMax * r.width(); };
    QPolygonF line;
    const int columns = std::max(1, static_cast<int>(r.width()));
    if (static_cast<int>(s.size()) <= 2 * columns) {
        line.reserve(static_cast<qsizetype>(s.size()));
        for (std::size_t i = 0; i < s.size(); ++i)
            if (std::isfinite(s[i])) line << QPointF(xOf(double(i)), yOf(s[i]));
    } else {
        const double per = double(s.size()) / columns;
        for (int c = 0; c < columns; ++c) {
            const auto b = static_cast<std::size_t>(c * per);
            const auto e = std::min(s.size(), static_cast<std::size_t>((c + 1) * per));
            float lo = std::numeric_limits<float>::infinity(), hi = -lo;
            for (std::size_t i = b; i < e; ++i)
                if (std::isfinite(s[i])) {
                    lo = std::min(lo, s[i]);
                    hi = std::max(hi, s[i]);
                }
            if (lo > hi) continue;
            line << QPointF(xOf(double(b)), yOf(lo)) << QPointF(xOf(double(b)), yOf(hi));
        }
    }
    p.drawPolyline(line);
}

// The callouts' legend under the plot: rows of entries, each a short line in the curve's colour and its
// text; an entry without a line (slot -1) is a note such as the common scale or what was left out.
constexpr double kLegendRow = 1.25; // line heights a row
constexpr double kLegendLine = 1.4; // the sample line's length, line heights
constexpr double kLegendGap = 1.0;  // between entries, line heights

struct CalloutLegend {
    struct Item {
        int slot = -1;
        QString text;
        double textWidth = 0.0;
    };
    std::vector<std::vector<Item>> rows;
    double height(double lh) const {
        return rows.empty() ? 0.0 : double(rows.size()) * kLegendRow * lh + 0.3 * lh;
    }
};

CalloutLegend layOutCallouts(const WaveformView& v, const QFontMetricsF& fm, double width, double maxHeight,
                             double factor) {
    CalloutLegend out;
    if (v.callouts.empty()) return out;
    const double lh = fm.height();
    const auto maxRows = static_cast<std::size_t>(std::max(1.0, std::floor(maxHeight / (kLegendRow * lh))));
    const QString unit = toQt(v.depthUnit);
    const auto item = [&](int slot, const QString& text) {
        return CalloutLegend::Item{slot, text, fm.horizontalAdvance(text) + 0.2 * lh};
    };
    const auto entry = [&](const CalloutWave& c, bool full) {
        const QString re = QStringLiteral("%1 %RE").arg(c.meanSignal, 0, 'f', 1);
        if (!full) return item(c.slot, QStringLiteral("%1  %2").arg(toQt(c.caption), re));
        return item(c.slot, QStringLiteral("%1  %2-%3 %4  %5")
                                .arg(toQt(c.caption))
                                .arg(c.top, 0, 'f', 1)
                                .arg(c.bottom, 0, 'f', 1)
                                .arg(unit, re));
    };
    // Fills rows left to right; false when the entries need more rows than allowed.
    const auto flow = [&](std::vector<CalloutLegend::Item> items) {
        out.rows.clear();
        double x = 0.0;
        for (CalloutLegend::Item& it : items) {
            const double w = (it.slot >= 0 ? (kLegendLine + 0.3) * lh : 0.0) + it.textWidth;
            if (out.rows.empty() || (x > 0.0 && x + w > width)) {
                out.rows.emplace_back();
                x = 0.0;
            }
            out.rows.back().push_back(std::move(it));
            x += w + kLegendGap * lh;
        }
        return out.rows.size() <= maxRows;
    };
    const auto items = [&](bool full, std::size_t count) {
        std::vector<CalloutLegend::Item> list;
        if (factor < 1.0) list.push_back(item(-1, QStringLiteral("Callouts x%1:").arg(factor, 0, 'g', 2)));
        for (std::size_t i = 0; i < count; ++i)
            list.push_back(entry(v.callouts[i], full));
        if (count < v.callouts.size())
            list.push_back(item(-1, QStringLiteral("+%1 more").arg(v.callouts.size() - count)));
        return list;
    };
    if (flow(items(true, v.callouts.size())) || flow(items(false, v.callouts.size()))) return out;
    for (std::size_t n = v.callouts.size(); n-- > 0;)
        if (flow(items(false, n))) return out;
    return out; // rows over the limit: a single too-wide entry, clipped at the right
}

} // namespace

Colour calloutSlotColour(int slot) {
    return kSlotColours[static_cast<std::size_t>(std::clamp(slot, 0, cZEL_Data::kCalloutSlots - 1))];
}

std::optional<CalloutWave> calloutForRange(const cZEL_Data& log, const LogArrays& a,
                                           const ChannelColours& colours, int slot, double top, double bottom,
                                           int signalColumn) {
    (void)log;
    if (!std::isfinite(top) || !std::isfinite(bottom)) return std::nullopt;
    if (bottom < top) std::swap(top, bottom);
    std::vector<int> points;
    for (int p = 0; p < a.points(); ++p) {
        const float d = depthOf(a, p);
        if (std::isfinite(d) && d >= top && d <= bottom) points.push_back(p);
    }
    if (points.empty()) return std::nullopt;
    CalloutWave c = averageOf(a, colours, points, signalColumn);
    c.slot = slot;
    c.top = top;
    c.bottom = bottom;
    return c;
}

std::vector<CalloutWave> logCallouts(const cZEL_Data& log, const LogArrays& a, const ChannelColours& colours,
                                     int signalColumn) {
    std::vector<CalloutWave> out;
    for (int slot = 0; slot < cZEL_Data::kCalloutSlots; ++slot) {
        const int i0 = log.Callout_Index(slot, 0), i1 = log.Callout_Index(slot, 1);
        const double r0 = log.Callout_Range(slot, 0), r1 = log.Callout_Range(slot, 1);
        if (i0 == 0 && i1 == 0 && r0 == 0.0 && r1 == 0.0) continue; // an unused slot
        std::optional<CalloutWave> c;
        if (i0 >= 0 && i1 >= i0 && i1 < a.points() && i1 > 0) {
            std::vector<int> points;
            for (int p = i0; p <= i1; ++p)
                points.push_back(p);
            c = averageOf(a, colours, points, signalColumn);
            c->slot = slot;
            const bool ranged = std::isfinite(r0) && std::isfinite(r1) && (r0 != 0.0 || r1 != 0.0);
            c->top = ranged ? std::min(r0, r1) : depthOf(a, i0);
            c->bottom = ranged ? std::max(r0, r1) : depthOf(a, i1);
        } else {
            c = calloutForRange(log, a, colours, slot, r0, r1, signalColumn);
        }
        if (!c) continue;
        c->caption = log.Callout_Caption(slot);
        if (c->caption.empty()) c->caption = "C" + std::to_string(slot + 1);
        out.push_back(std::move(*c));
    }
    return out;
}

int nearestPoint(const LogArrays& a, double depth) {
    int best = -1;
    double gap = std::numeric_limits<double>::infinity();
    for (int p = 0; p < a.points(); ++p) {
        const float d = depthOf(a, p);
        if (!std::isfinite(d)) continue;
        const double g = std::fabs(d - depth);
        if (g < gap) {
            gap = g;
            best = p;
        }
    }
    return best;
}

QRectF paintWaveform(QPainter& p, const QRectF& rect, const WaveformView& v) {
    if (!(rect.width() > 0) || !(rect.height() > 0)) return {};
    p.save();
    p.setFont(v.font);
    const QFontMetricsF fm(v.font, p.device());
    const double lh = fm.height();
    const double lineWidth = std::max(1.0, lh / 14.0);
    const TextSink sink{v.textSink};

    // Callouts many times the point's height would flatten the point this view is about: they are drawn
    // scaled together (their heights against each other kept) to the point's peak, and the legend says so.
    const auto peak = [](std::span<const float> s) {
        double m = 0.0;
        for (float x : s)
            if (std::isfinite(x)) m = std::max(m, std::fabs(double(x)));
        return m;
    };
    const double wavePeak = peak(v.wave);
    double calloutPeak = 0.0;
    for (const auto& c : v.callouts)
        calloutPeak = std::max(calloutPeak, peak(c.average));
    const double calloutFactor =
        wavePeak > 0.0 && calloutPeak > 3.0 * wavePeak ? wavePeak / calloutPeak : 1.0;

    // The callouts' legend runs in rows under the plot, across the view's whole width, so the plot keeps
    // its width; it takes at most a fifth of the height, shortening its entries before leaving any out.
    const CalloutLegend calloutLegend =
        v.legend ? layOutCallouts(v, fm, rect.width(), rect.height() * 0.2, calloutFactor) : CalloutLegend{};
    std::size_t samples = std::max({v.wave.size(), v.re.size(), v.background.size()});
    double lo = std::numeric_limits<double>::infinity(), hi = -lo;
    const auto take = [&](std::span<const float> s) {
        for (float x : s)
            if (std::isfinite(x)) {
                lo = std::min(lo, double(x));
                hi = std::max(hi, double(x));
            }
    };
    // An RE many times the point's height would flatten the point: it is drawn scaled to the point's peak,
    // and the legend says by how much.
    const double rePeak = peak(v.re);
    const double reFactor = wavePeak > 0.0 && rePeak > 3.0 * wavePeak ? wavePeak / rePeak : 1.0;
    std::vector<float> reShown(v.re.begin(), v.re.end());
    for (float& x : reShown)
        x = static_cast<float>(x * reFactor);
    take(v.wave);
    take(reShown);
    take(v.background);
    std::vector<std::vector<float>> calloutsShown;
    for (const auto& c : v.callouts) {
        calloutsShown.emplace_back(c.average.begin(), c.average.end());
        for (float& x : calloutsShown.back())
            x = static_cast<float>(x * calloutFactor);
        take(calloutsShown.back());
        samples = std::max(samples, c.average.size());
    }
    if (!(lo <= hi)) lo = 0, hi = 1;
    if (hi - lo < 1e-6) hi = lo + 1.0;
    const double pad = (hi - lo) * 0.05;
    lo -= pad;
    hi += pad;
    const double xMax = samples > 1 ? double(samples - 1) : 1.0;
    const std::vector<double> yTicks = niceTicks(lo, hi, 5);

    // Left of the plot: the value axis's unit (turned on its side) and its labels, as wide as the widest
    // label needs (a narrow view keeps its width for the plot); below: the time axis's labels and its unit,
    // all inside rect.
    double labelWidth = 0.0;
    for (double t : yTicks)
        labelWidth = std::max(labelWidth, fm.horizontalAdvance(QString::number(t, 'g', 4)));
    const double axisWidth = std::min(5.4 * lh, 1.8 * lh + labelWidth);
    const QRectF plotArea(rect.left() + axisWidth, rect.top() + 1.3 * lh,
                          std::max(1.0, rect.width() - axisWidth - 0.5 * lh),
                          std::max(1.0, rect.height() - 3.7 * lh - calloutLegend.height(lh)));

    p.fillRect(plotArea, Qt::white);
    p.setPen(QPen(QColor(220, 220, 220), lineWidth * 0.6));
    for (double t : yTicks) {
        const double y = plotArea.bottom() - (t - lo) / (hi - lo) * plotArea.height();
        p.drawLine(QPointF(plotArea.left(), y), QPointF(plotArea.right(), y));
    }
    p.setPen(Qt::black);
    for (double t : yTicks) {
        const double y = plotArea.bottom() - (t - lo) / (hi - lo) * plotArea.height();
        drawText(p, QRectF(rect.left() + 1.2 * lh, y - lh / 2, axisWidth - 1.5 * lh, lh),
                 Qt::AlignRight | Qt::AlignVCenter, QString::number(t, 'g', 4), sink);
    }
    // The time axis in ns when the time step is known, else in samples.
    const double nsPerSample = v.deltaX > 0 ? v.deltaX * 1e9 : 0.0;
    const double xSpan = nsPerSample > 0 ? xMax * nsPerSample : xMax;
    // At least the start and one more: a narrow plot asks for two ticks, and a span just over a round
    // number would give the start alone.
    const int xCount = std::clamp(static_cast<int>(plotArea.width() / (4.0 * lh)), 2, 8);
    std::vector<double> xTicks = niceTicks(0, xSpan, xCount);
    for (int n = xCount + 1; xTicks.size() < 2 && n <= xCount + 4; ++n)
        xTicks = niceTicks(0, xSpan, n);
    for (double t : xTicks) {
        const double x = plotArea.left() + t / xSpan * plotArea.width();
        drawText(p, QRectF(x - 3 * lh, plotArea.bottom(), 6 * lh, lh), Qt::AlignCenter,
                 QString::number(t, 'g', 4), sink);
    }
    // The unit at the left under the ticks, where the line legend at the right never meets it.
    drawText(p, QRectF(plotArea.left(), plotArea.bottom() + 1.1 * lh, plotArea.width(), lh * 1.2),
             Qt::AlignLeft | Qt::AlignVCenter,
             !v.timeUnit.empty() ? toQt(v.timeUnit)
             : nsPerSample > 0   ? QStringLiteral("Time (ns)")
                                 : QStringLiteral("Sample"),
             sink);
    if (!v.valueUnit.empty()) {
        p.save();
        p.translate(rect.left(), plotArea.center().y());
        p.rotate(-90);
        drawText(p, QRectF(-plotArea.height() / 2, 0, plotArea.height(), 1.2 * lh), Qt::AlignCenter,
                 toQt(v.valueUnit), sink);
        p.restore();
    }
    drawText(p, QRectF(rect.left(), rect.top(), rect.width(), 1.2 * lh), Qt::AlignLeft | Qt::AlignVCenter,
             toQt(v.title), sink);

    p.save();
    p.setClipRect(plotArea);
    p.setPen(QPen(QColor(0, 0, 200), lineWidth, Qt::DotLine));
    int previous = 0;
    std::size_t labelled = 0;
    for (std::size_t i = 0; i < v.boundaries.size(); ++i) {
        const int b = v.boundaries[i];
        if (b <= 0 || static_cast<std::size_t>(b) >= samples) continue;
        const double x = plotArea.left() + b / xMax * plotArea.width();
        p.drawLine(QPointF(x, plotArea.top()), QPointF(x, plotArea.bottom()));
        if (i < v.channelLabels.size()) {
            const double x0 = plotArea.left() + previous / xMax * plotArea.width();
            drawText(p, QRectF(x0, plotArea.top(), x - x0, lh), Qt::AlignCenter, toQt(v.channelLabels[i]),
                     sink);
            labelled = i + 1;
        }
        previous = b;
    }
    // The last channel runs from the last boundary to the end of the record.
    if (labelled > 0 && labelled < v.channelLabels.size()) {
        const double x0 = plotArea.left() + previous / xMax * plotArea.width();
        drawText(p, QRectF(x0, plotArea.top(), plotArea.right() - x0, lh), Qt::AlignCenter,
                 toQt(v.channelLabels[labelled]), sink);
    }
    p.setPen(QPen(QColor(170, 170, 170), lineWidth));
    drawSeries(p, v.background, plotArea, xMax, lo, hi);
    p.setPen(QPen(QColor(210, 120, 0), lineWidth, Qt::DashLine));
    drawSeries(p, reShown, plotArea, xMax, lo, hi);
    for (std::size_t i = 0; i < v.callouts.size(); ++i) {
        p.setPen(QPen(qcolour(calloutSlotColour(v.callouts[i].slot)), lineWidth * 1.5));
        drawSeries(p, calloutsShown[i], plotArea, xMax, lo, hi);
    }
    p.setPen(QPen(Qt::black, lineWidth * 1.2));
    drawSeries(p, v.wave, plotArea, xMax, lo, hi);
    p.restore();
    p.setPen(QPen(Qt::black, lineWidth));
    p.drawRect(plotArea);

    // What each line is, under the plot at the right.
    {
        struct Entry {
            QPen pen;
            QString text;
            bool shown;
        };
        // Laid out from the right: the RE with its scale first, the background last.
        const Entry entries[] = {
            {QPen(QColor(170, 170, 170), lineWidth), QStringLiteral("background"), !v.background.empty()},
            {QPen(Qt::black, lineWidth * 1.2),
             v.waveLegend.empty() ? QStringLiteral("point") : toQt(v.waveLegend), !v.wave.empty()},
            {QPen(QColor(210, 120, 0), lineWidth, Qt::DashLine),
             reFactor < 1.0 ? QStringLiteral("RE x%1").arg(reFactor, 0, 'g', 2) : QStringLiteral("RE"),
             !v.re.empty()},
        };
        double x = plotArea.right();
        const double y = plotArea.bottom() + 1.6 * lh;
        // Entries that would run into the unit at the left are left out.
        const double leftmost = plotArea.left() + fm.horizontalAdvance(QStringLiteral("sample")) + lh;
        for (auto it = std::rbegin(entries); it != std::rend(entries); ++it) {
            if (!it->shown) continue;
            const double w = fm.horizontalAdvance(it->text) + 0.3 * lh;
            if (x - w - 2.4 * lh < leftmost) continue;
            x -= w;
            p.setPen(Qt::black);
            drawText(p, QRectF(x, y - lh / 2, w, lh), Qt::AlignRight | Qt::AlignVCenter, it->text, sink);
            x -= 1.8 * lh;
            p.setPen(it->pen);
            p.drawLine(QPointF(x + 0.2 * lh, y), QPointF(x + 1.6 * lh, y));
            x -= 0.6 * lh;
        }
    }

    if (!calloutLegend.rows.empty()) {
        const double top = plotArea.bottom() + 2.5 * lh;
        for (std::size_t r = 0; r < calloutLegend.rows.size(); ++r) {
            double x = rect.left() + 0.2 * lh;
            const double y = top + (double(r) + 0.5) * kLegendRow * lh;
            for (const CalloutLegend::Item& item : calloutLegend.rows[r]) {
                if (item.slot >= 0) {
                    p.setPen(QPen(qcolour(calloutSlotColour(item.slot)), lineWidth * 2.5));
                    p.drawLine(QPointF(x, y), QPointF(x + kLegendLine * lh, y));
                    x += (kLegendLine + 0.3) * lh;
                }
                p.setPen(Qt::black);
                drawText(p, QRectF(x, y - lh / 2, item.textWidth, lh), Qt::AlignLeft | Qt::AlignVCenter,
                         item.text, sink);
                x += item.textWidth + kLegendGap * lh;
            }
        }
    }
    p.restore();
    return plotArea;
}

} // namespace zel::plot
