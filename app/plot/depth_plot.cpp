#include "app/plot/depth_plot.h"

#include "app/plot/qt_text.h"

#include "app/plot/paint_text.h"

#include <QFontMetricsF>
#include <QPolygonF>

#include <algorithm>
#include <cmath>
#include <span>

namespace zel::plot {
namespace {

struct Layout {
    QRectF depthScale;     // the axis column, the full height of rect
    QRectF secondaryScale; // the secondary depth axis at the right; empty without one
    double titleHeight = 0;
    std::vector<QRectF> tracks; // the data area of each track, below the title block
};

Layout layoutOf(const QRectF& rect, const PlotModel& model, const DepthPlotStyle& style, double lineHeight,
                double digitWidth) {
    Layout l;
    const bool scale = style.drawDepthScale && !model.settings().hideDepthScale;
    const double scaleWidth = !scale                      ? 0.0
                              : style.depthScaleWidth > 0 ? style.depthScaleWidth
                                                          : 7.0 * digitWidth;
    l.depthScale = QRectF(rect.left(), rect.top(), scaleWidth, rect.height());
    l.titleHeight = style.drawTitles ? 3.2 * lineHeight : 0.0;
    const double secondWidth = scale && model.secondaryAxis() ? scaleWidth : 0.0;
    l.secondaryScale = QRectF(rect.right() - secondWidth, rect.top(), secondWidth, rect.height());
    const double left = rect.left() + scaleWidth;
    const double width = std::max(0.0, rect.width() - scaleWidth - secondWidth);
    double total = 0;
    for (const Track& t : model.tracks())
        total += t.width > 0 ? t.width : 1.0;
    double x = left;
    const double top = rect.top() + l.titleHeight;
    const double height = std::max(0.0, rect.height() - l.titleHeight);
    for (const Track& t : model.tracks()) {
        const double w = total > 0 ? width * (t.width > 0 ? t.width : 1.0) / total : 0.0;
        l.tracks.emplace_back(x, top, w, height);
        x += w;
    }
    return l;
}

QColor qcolour(Colour c) {
    return QColor(c.r, c.g, c.b);
}

std::vector<double> valueTicks(const Track& t) {
    if (!std::isfinite(t.min) || !std::isfinite(t.max) || !(t.max > t.min)) return {};
    if (t.scale == Scale::Log) {
        std::vector<double> out;
        const int lo = static_cast<int>(std::ceil(std::log10(t.min) - 1e-9));
        const int hi = static_cast<int>(std::floor(std::log10(t.max) + 1e-9));
        for (int e = lo; e <= hi && out.size() < 40; ++e)
            out.push_back(std::pow(10.0, e));
        return out;
    }
    return niceTicks(t.min, t.max, 4);
}

void paintTrack(QPainter& p, const QRectF& r, const Track& t, const PlotModel& model,
                const DepthWindow& window, double lineWidth) {
    const PlotSettings& s = model.settings();
    p.save();
    p.setClipRect(r);
    p.fillRect(r, Qt::white);

    if (s.grid) {
        p.setPen(QPen(QColor(215, 215, 215), lineWidth * 0.6));
        for (double v : valueTicks(t)) {
            const double x = r.left() + t.fraction(v) * r.width();
            p.drawLine(QPointF(x, r.top()), QPointF(x, r.bottom()));
        }
        const int count = std::max(2, static_cast<int>(r.height() / (lineWidth * 60.0)));
        for (double d : niceTicks(window.top, window.bottom, count)) {
            const double y = window.toY(d, r.top(), r.height());
            p.drawLine(QPointF(r.left(), y), QPointF(r.right(), y));
        }
    }

    const int rows = std::max(1, static_cast<int>(std::ceil(r.height())));
    const double rowHeight = r.height() / rows;
    const auto xOf = [&](double v) { return r.left() + t.fraction(v) * r.width(); };

    // The rows holding points of a curve, in depth order. A row whose values all lie below the floor is a
    // gap; so is a depth step much longer than the log's usual one (a clipped or missing stretch), which
    // the curve and the fill do not bridge.
    struct RowPoint {
        double y;
        float min, max;
        int minPoint, maxPoint;
        bool gapBefore;
    };
    const auto rowsOf = [&](std::span<const float> values) {
        std::vector<RowPoint> out;
        const std::vector<RowExtent> ext = decimateRows(t.depth, values, window, rows);
        const double maxStep = 3.0 * model.pointSpacing();
        bool gap = true;
        int lastPoint = -1;
        for (int row = 0; row < rows; ++row) {
            const RowExtent& e = ext[static_cast<std::size_t>(row)];
            if (e.empty()) continue;
            if (t.floor && e.max < *t.floor) {
                gap = true;
                continue;
            }
            const int first = std::min(e.minPoint, e.maxPoint);
            if (lastPoint >= 0 && std::fabs(double(t.depth[static_cast<std::size_t>(first)]) -
                                            t.depth[static_cast<std::size_t>(lastPoint)]) > maxStep)
                gap = true;
            // A point without a value between the last drawn and this one (a channel not fitted, a point
            // under the cut-off) is a gap too: the line does not pretend to know it.
            for (int q = lastPoint + 1; lastPoint >= 0 && q < first && !gap; ++q)
                if (!std::isfinite(values[static_cast<std::size_t>(q)])) gap = true;
            const float lo = t.floor ? std::max(e.min, static_cast<float>(*t.floor)) : e.min;
            out.push_back({r.top() + (row + 0.5) * rowHeight, lo, e.max, e.minPoint, e.maxPoint, gap});
            gap = false;
            lastPoint = std::max(e.minPoint, e.maxPoint);
        }
        return out;
    };
    const std::vector<RowPoint> pts = rowsOf(t.values);

    if (t.kind == TrackKind::Class) {
        // A strip: each point's class colour across the whole track, from half way to the point above to
        // half way to the point below (not across a gap), so a sparse log reads as bands.
        p.setPen(Qt::NoPen);
        for (std::size_t i = 0; i < pts.size(); ++i) {
            const RowPoint& q = pts[i];
            if (static_cast<std::size_t>(q.maxPoint) >= t.fill.size()) continue;
            const bool joinUp = i > 0 && !q.gapBefore;
            const bool joinDown = i + 1 < pts.size() && !pts[i + 1].gapBefore;
            const double y0 = joinUp ? (pts[i - 1].y + q.y) / 2.0 : q.y - rowHeight;
            const double y1 = joinDown ? (q.y + pts[i + 1].y) / 2.0 : q.y + rowHeight;
            p.fillRect(QRectF(r.left(), y0, r.width(), std::max(y1 - y0, rowHeight)),
                       qcolour(t.fill[static_cast<std::size_t>(q.maxPoint)]));
        }
        p.restore();
        p.setPen(QPen(Qt::black, lineWidth));
        p.setBrush(Qt::NoBrush);
        p.drawRect(r);
        return;
    }

    if (t.filled) {
        const bool colours = !s.printBlack && t.fill.size() == t.values.size();
        const QColor solid = s.printBlack ? QColor(64, 64, 64) : QColor(160, 160, 160);
        const auto colourOf = [&](const RowPoint& q) {
            return colours ? qcolour(t.fill[static_cast<std::size_t>(q.maxPoint)]) : solid;
        };
        p.setPen(Qt::NoPen);
        for (std::size_t i = 0; i < pts.size(); ++i) {
            const RowPoint& a = pts[i];
            const QColor c = colourOf(a);
            // The row is overdrawn by half a row on each side so that no hairline gaps show between rows.
            p.fillRect(QRectF(r.left(), a.y - rowHeight, xOf(a.max) - r.left(), rowHeight * 2.0), c);
            if (i + 1 == pts.size() || pts[i + 1].gapBefore || pts[i + 1].y - a.y <= 1.5 * rowHeight)
                continue;
            // Points further apart than a row: each fills its half of the way to the next.
            const RowPoint& b = pts[i + 1];
            const double ym = (a.y + b.y) / 2.0;
            const double xm = (xOf(a.max) + xOf(b.max)) / 2.0;
            p.setBrush(c);
            p.drawPolygon(QPolygonF{
                {QPointF(r.left(), a.y), QPointF(xOf(a.max), a.y), QPointF(xm, ym), QPointF(r.left(), ym)}});
            p.setBrush(colourOf(b));
            p.drawPolygon(QPolygonF{
                {QPointF(r.left(), ym), QPointF(xm, ym), QPointF(xOf(b.max), b.y), QPointF(r.left(), b.y)}});
        }
        p.setBrush(Qt::NoBrush);
    }

    const auto drawCurve = [&](const std::vector<RowPoint>& curvePoints, Colour pen, Qt::PenStyle style) {
        p.setPen(QPen(s.printBlack ? QColor(Qt::black) : qcolour(pen), lineWidth, style));
        QPolygonF curve;
        const auto flush = [&] {
            if (curve.size() == 1)
                p.drawPoint(curve.front());
            else if (!curve.isEmpty())
                p.drawPolyline(curve);
            curve.clear();
        };
        for (const RowPoint& q : curvePoints) {
            if (q.gapBefore) flush();
            // The row's extremes in depth order, so the line joins the neighbouring rows the way it came.
            const bool minFirst = q.minPoint <= q.maxPoint;
            curve << QPointF(xOf(minFirst ? q.min : q.max), q.y);
            if (q.min != q.max) curve << QPointF(xOf(minFirst ? q.max : q.min), q.y);
        }
        flush();
    };
    if (t.lines.empty()) {
        drawCurve(pts, t.pen, Qt::SolidLine);
    } else {
        // Printed in black the lines keep apart by their dashes.
        static constexpr Qt::PenStyle kStyles[] = {Qt::SolidLine, Qt::DashLine, Qt::DotLine, Qt::DashDotLine};
        for (std::size_t i = 0; i < t.lines.size(); ++i)
            drawCurve(rowsOf(t.lines[i].values), t.lines[i].pen,
                      s.printBlack ? kStyles[i % 4] : Qt::SolidLine);
    }

    QPen dashed(QColor(200, 0, 0), lineWidth, Qt::DashLine);
    p.setPen(dashed);
    for (double v : t.references) {
        const double x = xOf(v);
        p.drawLine(QPointF(x, r.top()), QPointF(x, r.bottom()));
    }
    p.restore();
    p.setPen(QPen(Qt::black, lineWidth));
    p.setBrush(Qt::NoBrush);
    p.drawRect(r);
}

// A track's name with its unit ("Rate (in/s)"); the %RE track's name is its unit already.
QString titleOf(const Track& t) {
    QString text = toQt(t.title);
    const std::string unit = "(" + t.unit + ")";
    if (!t.unit.empty() && t.unit != t.title && !t.title.ends_with(unit))
        text += QStringLiteral(" ") + toQt(unit);
    if (t.scale == Scale::Log) text += QStringLiteral(" log");
    return text;
}

// The title over its track's two title lines: on one line when it fits, else wrapped onto both, in a
// smaller font only when a word is wider than the track. Never shortened: a reader must see what the
// track is.
void drawTitle(QPainter& p, const QRectF& r, const QString& text, const TextSink& sink) {
    const QFont original = p.font();
    const double room = r.width() * 0.96;
    QFont f = original;
    for (int step = 0; step < 8; ++step) {
        const QFontMetricsF fm(f, p.device());
        double widest = 0;
        for (const QString& word : text.split(QLatin1Char(' ')))
            widest = std::max(widest, fm.horizontalAdvance(word));
        const bool oneLine = fm.horizontalAdvance(text) <= room;
        const bool wraps =
            widest <= room && fm.boundingRect(r, Qt::TextWordWrap, text).height() <= r.height();
        if (oneLine || wraps || step == 7) break;
        f.setPointSizeF(f.pointSizeF() * std::max(0.6, std::min(0.92, room / widest)));
    }
    p.setFont(f);
    drawText(p, r, Qt::AlignHCenter | Qt::AlignVCenter | Qt::TextWordWrap, text, sink);
    p.setFont(original);
}

QString scaleText(double v) {
    if (std::fabs(v) < 1e-12) return QStringLiteral("0");
    return QString::number(v, 'g', 4);
}

// The scale line under a track's title: both ends inside the track (so that neighbouring tracks' ends
// never run together) and the ticks between them where they fit, each over a short tick mark.
void drawScale(QPainter& p, const QRectF& line, const QRectF& data, const Track& t, double lineWidth,
               const TextSink& sink) {
    const QFont original = p.font();
    const double pad = line.height() * 0.2;
    const QRectF room = line.adjusted(pad, 0, -pad, 0);
    const QString lo = scaleText(t.min), hi = scaleText(t.max);
    // The ends on one line, in a smaller font if need be; a track too narrow even for that gets them on
    // two half lines, the low end above at the left, the high end below at the right.
    QFont f = original;
    bool staggered = false;
    {
        const QFontMetricsF fm(f, p.device());
        const double needed = fm.horizontalAdvance(lo + QStringLiteral("  ") + hi);
        if (needed > room.width()) {
            const double shrink = room.width() / needed;
            staggered = shrink < 0.6;
            const double widest = std::max(fm.horizontalAdvance(lo), fm.horizontalAdvance(hi));
            f.setPointSizeF(f.pointSizeF() *
                            (staggered ? std::min(0.6, std::max(0.3, room.width() / widest)) : shrink));
        }
    }
    p.setFont(f);
    const QFontMetricsF fm(f, p.device());
    const double gap = fm.horizontalAdvance(QStringLiteral("  "));
    const double loRight = room.left() + fm.horizontalAdvance(lo);
    const double hiLeft = room.right() - fm.horizontalAdvance(hi);
    if (staggered) {
        const double half = room.height() / 2;
        drawText(p, QRectF(room.left(), room.top(), room.width(), half), Qt::AlignLeft | Qt::AlignVCenter, lo,
                 sink);
        drawText(p, QRectF(room.left(), room.top() + half, room.width(), half),
                 Qt::AlignRight | Qt::AlignVCenter, hi, sink);
    } else {
        drawText(p, room, Qt::AlignLeft | Qt::AlignVCenter, lo, sink);
        drawText(p, room, Qt::AlignRight | Qt::AlignVCenter, hi, sink);
    }
    p.setPen(QPen(Qt::black, lineWidth));
    // Short enough to stay under the labels' baseline: a longer mark ran into a label's decimal point, and
    // "0.5" read as "0,5".
    const auto tick = [&](double x) {
        p.drawLine(QPointF(x, data.top() - line.height() * 0.15), QPointF(x, data.top()));
    };
    double keptRight = loRight;
    for (double v : valueTicks(t)) {
        const double x = data.left() + t.fraction(v) * data.width();
        if (!(x > data.left() + 1e-6 && x < data.right() - 1e-6)) continue;
        const QString text = scaleText(v);
        const double w = fm.horizontalAdvance(text);
        tick(x);
        if (staggered || x - w / 2 < keptRight + gap || x + w / 2 > hiLeft - gap) continue;
        drawText(p, QRectF(x - w, line.top(), 2 * w, line.height()), Qt::AlignCenter, text, sink);
        keptRight = x + w / 2;
    }
    p.setFont(original);
}

} // namespace

std::vector<QRectF> trackRects(const QRectF& rect, const PlotModel& model, const DepthPlotStyle& style,
                               QPaintDevice* device) {
    const QFontMetricsF fm = device ? QFontMetricsF(style.font, device) : QFontMetricsF(style.font);
    const double lh = style.lineHeight > 0 ? style.lineHeight : fm.height();
    return layoutOf(rect, model, style, lh, fm.horizontalAdvance(QLatin1Char('0'))).tracks;
}

void paintDepthPlot(QPainter& p, const QRectF& rect, const PlotModel& model, const DepthWindow& window,
                    const DepthPlotStyle& style) {
    if (!(rect.width() > 0) || !(rect.height() > 0) || !(window.span() > 0)) return;
    p.save();
    p.setFont(style.font);
    const QFontMetricsF fm(style.font, p.device());
    const double lh = style.lineHeight > 0 ? style.lineHeight : fm.height();
    const Layout l = layoutOf(rect, model, style, lh, fm.horizontalAdvance(QLatin1Char('0')));
    // A hairline scaled with the font, so screen, 300 dpi PDF and JPG look alike.
    const double lineWidth = std::max(1.0, lh / 14.0);
    const TextSink sink{style.textSink};

    const auto& tracks = model.tracks();
    for (std::size_t i = 0; i < tracks.size(); ++i) {
        const Track& t = tracks[i];
        const QRectF& r = l.tracks[i];
        paintTrack(p, r, t, model, window, lineWidth);
        if (style.drawTitles) {
            p.setPen(Qt::black);
            drawTitle(p, QRectF(r.left(), rect.top(), r.width(), 2 * lh), titleOf(t), sink);
            // The class strip has no value scale: its colours are named in the legend.
            if (t.kind != TrackKind::Class)
                drawScale(p, QRectF(r.left(), rect.top() + 2 * lh, r.width(), l.titleHeight - 2 * lh), r, t,
                          lineWidth, sink);
        }
    }
    if (tracks.empty()) return p.restore();

    const double left = l.tracks.front().left();
    const double right = l.tracks.back().right();
    const double top = l.tracks.front().top();
    const double height = l.tracks.front().height();

    for (const DepthBand& b : style.bands) {
        const double ya = window.toY(std::min(b.top, b.bottom), top, height);
        const double yb = window.toY(std::max(b.top, b.bottom), top, height);
        if (!(yb >= top) || !(ya <= top + height)) continue; // outside the window (or not a number)
        const double y0 = std::max(ya, top);
        const double y1 = std::min(yb, top + height);
        // A faint tint only: the %RE fill under it is the data, and its colours must still read true. The
        // range's ends are drawn as lines and its side as a bar.
        QColor c = qcolour(b.colour);
        c.setAlpha(22);
        p.fillRect(QRectF(left, y0, right - left, std::max(y1 - y0, lineWidth)), c);
        c.setAlpha(255);
        p.setPen(QPen(c, lineWidth, Qt::DashLine));
        for (const double y : {ya, yb})
            if (y >= top && y <= top + height) p.drawLine(QPointF(left, y), QPointF(right, y));
        p.setPen(QPen(c, lineWidth * 3));
        p.drawLine(QPointF(left + 1.5 * lineWidth, y0),
                   QPointF(left + 1.5 * lineWidth, y0 + std::max(y1 - y0, lineWidth)));
        drawText(p, QRectF(left + 3 * lineWidth, y0, right - left, lh), Qt::AlignLeft | Qt::AlignTop,
                 toQt(b.label), sink);
    }

    if (model.settings().referenceDepth) {
        const double y = window.toY(*model.settings().referenceDepth, top, height);
        if (y >= top && y <= top + height) {
            p.setPen(QPen(QColor(0, 0, 200), lineWidth, Qt::DashLine));
            p.drawLine(QPointF(left, y), QPointF(right, y));
        }
    }

    if (model.waterTable()) {
        // The water table the K estimate takes off the points below it.
        const double y = window.toY(*model.waterTable(), top, height);
        if (y >= top && y <= top + height) {
            p.setPen(QPen(QColor(0, 90, 220), lineWidth * 2));
            p.drawLine(QPointF(left, y), QPointF(right, y));
            drawText(p, QRectF(right - 12 * lh, y - lh, 12 * lh, lh), Qt::AlignRight | Qt::AlignBottom,
                     QStringLiteral("Water table"), sink);
        }
    }

    if (l.depthScale.width() > 0) {
        p.setPen(QPen(Qt::black, lineWidth));
        const double x = l.depthScale.right();
        const QString unitTitle = QStringLiteral("Depth (%1)").arg(QString::fromLatin1(model.depthUnit()));
        drawText(p, QRectF(l.depthScale.left(), rect.top(), l.depthScale.width(), l.titleHeight),
                 Qt::AlignCenter | Qt::TextWordWrap, unitTitle, sink);
        const int count = std::max(2, static_cast<int>(height / (3.0 * lh)));
        const std::vector<double> ticks = niceTicks(window.top, window.bottom, count);
        for (double d : ticks) {
            const double y = window.toY(d, top, height);
            p.drawLine(QPointF(x - lh * 0.3, y), QPointF(x, y));
            drawText(p, QRectF(l.depthScale.left(), y - lh / 2, l.depthScale.width() - lh * 0.4, lh),
                     Qt::AlignRight | Qt::AlignVCenter, QString::number(d, 'g', 6), sink);
        }
    }

    if (l.secondaryScale.width() > 0) {
        const SecondaryAxis& axis = *model.secondaryAxis();
        p.setPen(QPen(Qt::black, lineWidth));
        const double x = l.secondaryScale.left();
        drawText(p, QRectF(x, rect.top(), l.secondaryScale.width(), l.titleHeight),
                 Qt::AlignCenter | Qt::TextWordWrap, toQt(axis.title), sink);
        const int count = std::max(2, static_cast<int>(height / (3.0 * lh)));
        for (double v : niceTicks(axis.toValue(window.top), axis.toValue(window.bottom), count)) {
            const double y = window.toY(axis.toDepth(v), top, height);
            p.drawLine(QPointF(x, y), QPointF(x + lh * 0.3, y));
            drawText(p, QRectF(x + lh * 0.4, y - lh / 2, l.secondaryScale.width() - lh * 0.4, lh),
                     Qt::AlignLeft | Qt::AlignVCenter, QString::number(v, 'g', 6), sink);
        }
    }

    if (style.hoverDepth) {
        const double y = window.toY(*style.hoverDepth, top, height);
        if (y >= top && y <= top + height) {
            p.setPen(QPen(QColor(0, 0, 0, 160), lineWidth, Qt::DotLine));
            p.drawLine(QPointF(left, y), QPointF(right, y));
        }
    }
    p.restore();
}

} // namespace zel::plot
