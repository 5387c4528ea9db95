// The site map: the borings on their UTM grid, coloured by their maximum %RE, with a grid, a scale bar, a
// north arrow (grid north), a legend and the section line when one is given.
#include "app/plot/qt_text.h"
#include "app/plot/site_picture.h"

#include <QPainterPath>

#include <algorithm>
#include <cmath>

namespace zel::plot {

namespace {

double maxOf(const site::BoringProfile& b) {
    double m = 0;
    for (float v : b.pctRe)
        if (std::isfinite(v)) m = std::max(m, static_cast<double>(v));
    return m;
}

QString metres(double v) {
    return QString::number(v, 'f', v == std::floor(v) ? 0 : 1) + QStringLiteral(" m");
}

} // namespace

void renderSiteMap(QPainter& p, const QRectF& rect, double dpi, const SiteMapInput& in, PictureRecord* rec) {
    p.save();
    const double pt = dpi / 72.0;
    // Title line, then the frame on the left and the legend on the right.
    p.setFont(pictureFont(14, dpi, true));
    p.setPen(Qt::black);
    pictureText(p, rect.topLeft(), toQt(in.title.empty() ? "Site map" : in.title),
                Qt::AlignLeft | Qt::AlignTop, rec);
    p.setFont(pictureFont(9, dpi));
    pictureText(p, QPointF(rect.right(), rect.top()),
                QStringLiteral("UTM zone %1, WGS-84; %2 borings").arg(toQt(in.zone)).arg(in.borings.size()),
                Qt::AlignRight | Qt::AlignTop, rec);
    const double legendW = 150 * pt;
    const QRectF frame(rect.left() + 50 * pt, rect.top() + 30 * pt, rect.width() - legendW - 60 * pt,
                       rect.height() - 60 * pt);

    // Data extent, padded, equal scale on both axes.
    double xMin = INFINITY, xMax = -INFINITY, yMin = INFINITY, yMax = -INFINITY;
    for (const auto& b : in.borings) {
        xMin = std::min(xMin, b.easting), xMax = std::max(xMax, b.easting);
        yMin = std::min(yMin, b.northing), yMax = std::max(yMax, b.northing);
    }
    for (const auto& q : in.section.points) {
        xMin = std::min(xMin, q.x()), xMax = std::max(xMax, q.x());
        yMin = std::min(yMin, q.y()), yMax = std::max(yMax, q.y());
    }
    if (!std::isfinite(xMin)) xMin = xMax = yMin = yMax = 0;
    const double span = std::max({xMax - xMin, yMax - yMin, 10.0}) * 1.25;
    const double scale = std::min(frame.width(), frame.height()) / span; // px per metre
    const double cx = (xMin + xMax) / 2, cy = (yMin + yMax) / 2;
    PictureRecord local;
    PictureRecord& r = rec ? *rec : local;
    r.pxPerX = r.pxPerY = scale;
    r.x0 = cx - frame.width() / 2 / scale;
    r.y0 = cy - frame.height() / 2 / scale;
    r.origin = frame.bottomLeft();

    // Grid with its labels.
    const double step = niceStep(frame.width() / scale, 6);
    p.setPen(QPen(QColor(210, 210, 210), 0.6 * pt));
    p.drawRect(frame);
    p.setFont(pictureFont(7, dpi));
    for (double x = std::ceil(r.x0 / step) * step; x <= r.x0 + frame.width() / scale; x += step) {
        const double px = r.toPixel(x, 0).x();
        p.setPen(QPen(QColor(215, 215, 215), 0.5 * pt));
        p.drawLine(QPointF(px, frame.top()), QPointF(px, frame.bottom()));
        p.setPen(Qt::darkGray);
        pictureText(p, QPointF(px, frame.bottom() + 2 * pt), QString::number(x, 'f', 0),
                    Qt::AlignHCenter | Qt::AlignTop, rec);
    }
    for (double y = std::ceil(r.y0 / step) * step; y <= r.y0 + frame.height() / scale; y += step) {
        const double py = r.toPixel(0, y).y();
        p.setPen(QPen(QColor(215, 215, 215), 0.5 * pt));
        p.drawLine(QPointF(frame.left(), py), QPointF(frame.right(), py));
        p.setPen(Qt::darkGray);
        pictureText(p, QPointF(frame.left() - 2 * pt, py), QString::number(y, 'f', 0),
                    Qt::AlignRight | Qt::AlignVCenter, rec);
    }
    p.setPen(Qt::black);
    pictureText(p, QPointF(frame.center().x(), frame.bottom() + 14 * pt), QStringLiteral("Easting (m)"),
                Qt::AlignHCenter | Qt::AlignTop, rec);
    pictureText(p, QPointF(frame.left(), frame.top() - 2 * pt), QStringLiteral("Northing (m)"),
                Qt::AlignRight | Qt::AlignBottom, rec);

    // Section line under the borings.
    if (!in.section.empty()) {
        QPainterPath path;
        for (std::size_t i = 0; i < in.section.points.size(); ++i) {
            const QPointF q = r.toPixel(in.section.points[i].x(), in.section.points[i].y());
            i == 0 ? path.moveTo(q) : path.lineTo(q);
        }
        p.setPen(QPen(QColor(40, 80, 200), 1.2 * pt, Qt::DashLine));
        p.setBrush(Qt::NoBrush);
        p.drawPath(path);
        p.setFont(pictureFont(10, dpi, true));
        p.setPen(QColor(40, 80, 200));
        pictureText(p, path.pointAtPercent(0) + QPointF(-4 * pt, -4 * pt), QStringLiteral("A"),
                    Qt::AlignRight | Qt::AlignBottom, rec);
        pictureText(p, path.pointAtPercent(1) + QPointF(4 * pt, -4 * pt), QStringLiteral("A'"),
                    Qt::AlignLeft | Qt::AlignBottom, rec);
    }

    // The borings.
    p.setFont(pictureFont(8, dpi));
    for (const auto& b : in.borings) {
        const double m = maxOf(b);
        const QPointF c = r.toPixel(b.easting, b.northing);
        p.setPen(QPen(Qt::black, 0.8 * pt));
        p.setBrush(pctReClass(m));
        p.drawEllipse(c, 5 * pt, 5 * pt);
        p.setPen(Qt::black);
        pictureText(p, c + QPointF(7 * pt, -2 * pt), toQt(b.name), Qt::AlignLeft | Qt::AlignBottom, rec);
        p.setPen(Qt::darkGray);
        pictureText(p, c + QPointF(7 * pt, 0), QString::number(m, 'f', 1) + QStringLiteral(" %RE"),
                    Qt::AlignLeft | Qt::AlignTop, rec);
    }

    // North arrow (grid north) and scale bar, in the frame's top-right and bottom-left corners.
    const QPointF n(frame.right() - 18 * pt, frame.top() + 12 * pt);
    QPainterPath arrow;
    arrow.moveTo(n);
    arrow.lineTo(n + QPointF(-6 * pt, 22 * pt));
    arrow.lineTo(n + QPointF(0, 16 * pt));
    arrow.lineTo(n + QPointF(6 * pt, 22 * pt));
    arrow.closeSubpath();
    p.setPen(QPen(Qt::black, 0.8 * pt));
    p.setBrush(Qt::black);
    p.drawPath(arrow);
    p.setFont(pictureFont(9, dpi, true));
    pictureText(p, n + QPointF(0, 24 * pt), QStringLiteral("N"), Qt::AlignHCenter | Qt::AlignTop, rec);
    const double bar = niceStep(frame.width() / scale / 4, 1);
    const QPointF s0(frame.left() + 12 * pt, frame.bottom() - 14 * pt);
    const double barPx = bar * scale;
    p.setPen(QPen(Qt::black, 0.8 * pt));
    for (int i = 0; i < 4; ++i) {
        p.setBrush(i % 2 ? Qt::white : Qt::black);
        p.drawRect(QRectF(s0.x() + i * barPx / 4, s0.y(), barPx / 4, 4 * pt));
    }
    p.setFont(pictureFont(8, dpi));
    pictureText(p, s0 + QPointF(0, -2 * pt), QStringLiteral("0"), Qt::AlignHCenter | Qt::AlignBottom, rec);
    pictureText(p, s0 + QPointF(barPx, -2 * pt), metres(bar), Qt::AlignHCenter | Qt::AlignBottom, rec);

    // Legend.
    const double lx = frame.right() + 16 * pt;
    double ly = frame.top();
    p.setFont(pictureFont(9, dpi, true));
    pictureText(p, QPointF(lx, ly), QStringLiteral("Maximum %RE"), Qt::AlignLeft | Qt::AlignTop, rec);
    ly += 16 * pt;
    p.setFont(pictureFont(8, dpi));
    const struct {
        double at;
        const char* text;
    } classes[] = {{60, "50 and above"}, {20, "10 to 50"}, {5, "1 to 10"}, {0, "below 1"}};
    for (const auto& c : classes) {
        p.setPen(QPen(Qt::black, 0.8 * pt));
        p.setBrush(pctReClass(c.at));
        p.drawEllipse(QPointF(lx + 5 * pt, ly + 5 * pt), 5 * pt, 5 * pt);
        p.setPen(Qt::black);
        pictureText(p, QPointF(lx + 14 * pt, ly + 5 * pt), QString::fromLatin1(c.text),
                    Qt::AlignLeft | Qt::AlignVCenter, rec);
        ly += 14 * pt;
    }
    if (!in.section.empty()) {
        ly += 6 * pt;
        p.setPen(QPen(QColor(40, 80, 200), 1.2 * pt, Qt::DashLine));
        p.drawLine(QPointF(lx, ly + 5 * pt), QPointF(lx + 12 * pt, ly + 5 * pt));
        p.setPen(Qt::black);
        pictureText(p, QPointF(lx + 16 * pt, ly + 5 * pt), QStringLiteral("Section A-A'"),
                    Qt::AlignLeft | Qt::AlignVCenter, rec);
    }
    p.restore();
}

} // namespace zel::plot
