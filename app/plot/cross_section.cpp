// The cross-section: the borings near a section line side by side at their true distance along it and
// their true elevation, each a %RE bar filled with its channel colours, the %RE between neighbouring borings
// interpolated layer by layer, the ground and the water table where the logs hold one.
#include "app/plot/qt_text.h"
#include "app/plot/site_picture.h"

#include <QLinearGradient>

#include <algorithm>
#include <cmath>
#include <limits>

namespace zel::plot {

namespace {

std::vector<QPointF> lineOf(const SectionInput& in) {
    if (!in.line.empty()) return in.line.points;
    std::vector<QPointF> through;
    for (const auto& b : in.borings)
        through.emplace_back(b.easting, b.northing);
    return through;
}

double bottomOf(const site::BoringProfile& b) {
    double deepest = 0;
    for (double d : b.depthM)
        deepest = std::max(deepest, d);
    return b.topElevationM - deepest;
}

// A boring's %RE bars in its channel colours. A point stands for the depths halfway to its neighbours; where
// several points fall in one device pixel row, the row shows the brightest of them (a peak never vanishes),
// and rows of one bar are drawn as one rectangle, so a 10,001-point log costs the rows the page has.
void drawBars(QPainter& p, const PictureRecord& r, const ChannelColours& colours,
              const site::BoringProfile& b, double scale, double x, double trackW) {
    struct Row {
        long long row;
        double v;
        std::size_t point;
    };
    std::vector<Row> rows;
    const std::size_t n = std::min({b.depthM.size(), b.pctRe.size(), b.sharesPct.size()});
    for (std::size_t i = 0; i < n; ++i) {
        const double v = std::isfinite(b.pctRe[i]) ? std::clamp(b.pctRe[i] / scale, 0.0, 1.0) : 0.0;
        const double d0 = i > 0 ? (b.depthM[i - 1] + b.depthM[i]) / 2 : b.depthM[i];
        const double d1 = i + 1 < n ? (b.depthM[i] + b.depthM[i + 1]) / 2 : b.depthM[i];
        const double y0 = r.toPixel(0, b.topElevationM - d0).y(), y1 = r.toPixel(0, b.topElevationM - d1).y();
        const auto first = static_cast<long long>(std::floor(std::min(y0, y1)));
        const auto last = std::max(first, static_cast<long long>(std::ceil(std::max(y0, y1))) - 1);
        for (long long row = first; row <= last; ++row) {
            if (!rows.empty() && rows.back().row == row) {
                if (v > rows.back().v) rows.back() = {row, v, i};
                continue;
            }
            rows.push_back({row, v, i});
        }
    }
    // A log that comes back up a little puts rows out of order: the brightest point of each row still wins.
    std::stable_sort(rows.begin(), rows.end(), [](const Row& a, const Row& c) { return a.row < c.row; });
    std::vector<Row> merged;
    for (const Row& row : rows)
        if (!merged.empty() && merged.back().row == row.row) {
            if (row.v > merged.back().v) merged.back() = row;
        } else {
            merged.push_back(row);
        }
    p.setPen(Qt::NoPen);
    const auto colourOf = [&](std::size_t i) {
        std::array<float, kMaxChannels> shares{};
        for (int k = 0; k < kMaxChannels; ++k)
            shares[k] = std::isfinite(b.sharesPct[i][k]) ? b.sharesPct[i][k] : 0.0f;
        const Colour c = pointColour(colours, shares);
        return QColor(c.r, c.g, c.b);
    };
    for (std::size_t s = 0; s < merged.size();) {
        // A run of rows of the same width and colour.
        const QColor colour = colourOf(merged[s].point);
        std::size_t e = s + 1;
        while (e < merged.size() && merged[e].row == merged[e - 1].row + 1 && merged[e].v == merged[s].v &&
               (merged[e].point == merged[s].point || colourOf(merged[e].point) == colour))
            ++e;
        if (merged[s].v > 0)
            p.fillRect(QRectF(x, static_cast<double>(merged[s].row), merged[s].v * trackW,
                              static_cast<double>(merged[e - 1].row - merged[s].row + 1)),
                       colour);
        s = e;
    }
}

} // namespace

std::vector<SectionBoring> sectionBorings(const SectionInput& in) {
    const std::vector<QPointF> line = lineOf(in);
    std::vector<SectionBoring> out;
    for (const auto& b : in.borings) {
        SectionBoring s{&b, 0, std::numeric_limits<double>::infinity()};
        double along = 0;
        if (line.size() == 1) s = {&b, 0, std::hypot(b.easting - line[0].x(), b.northing - line[0].y())};
        for (std::size_t i = 0; i + 1 < line.size(); ++i) {
            const double ax = line[i].x(), ay = line[i].y();
            const double dx = line[i + 1].x() - ax, dy = line[i + 1].y() - ay;
            const double len2 = dx * dx + dy * dy, len = std::sqrt(len2);
            const double t =
                len2 > 0 ? std::clamp(((b.easting - ax) * dx + (b.northing - ay) * dy) / len2, 0.0, 1.0)
                         : 0.0;
            const double off = std::hypot(b.easting - (ax + t * dx), b.northing - (ay + t * dy));
            if (off < s.offset) s = {&b, along + t * len, off};
            along += len;
        }
        if (in.widthM <= 0 || s.offset <= in.widthM) out.push_back(s);
    }
    std::stable_sort(out.begin(), out.end(),
                     [](const auto& a, const auto& b) { return a.chainage < b.chainage; });
    return out;
}

void renderSection(QPainter& p, const QRectF& rect, double dpi, const SectionInput& in, PictureRecord* rec) {
    p.save();
    const double pt = dpi / 72.0;
    const auto shown = sectionBorings(in);
    p.setFont(pictureFont(14, dpi, true));
    p.setPen(Qt::black);
    pictureText(p, rect.topLeft(), toQt(in.title.empty() ? "Section A-A'" : in.title),
                Qt::AlignLeft | Qt::AlignTop, rec);
    const double legendW = 90 * pt;
    const QRectF frame(rect.left() + 55 * pt, rect.top() + 52 * pt, rect.width() - legendW - 70 * pt,
                       rect.height() - 90 * pt);
    PictureRecord local;
    PictureRecord& r = rec ? *rec : local;
    if (shown.empty()) {
        p.setFont(pictureFont(11, dpi));
        pictureText(p, frame.center(), QStringLiteral("No boring lies near the section line."),
                    Qt::AlignCenter, rec);
        p.restore();
        return;
    }

    // Extents and scales (the vertical one exaggerated to fill the frame).
    double cMin = shown.front().chainage, cMax = shown.back().chainage;
    double zMin = INFINITY, zMax = -INFINITY, scale = in.scalePctRe;
    for (const auto& s : shown) {
        zMin = std::min(zMin, bottomOf(*s.boring));
        zMax = std::max(zMax, s.boring->topElevationM);
        if (in.scalePctRe <= 0)
            for (float v : s.boring->pctRe)
                if (std::isfinite(v)) scale = std::max(scale, static_cast<double>(v));
    }
    if (!(scale > 0)) scale = 1;
    const double padX = std::max(2.0, 0.08 * (cMax - cMin));
    cMin -= padX;
    cMax += padX;
    zMin -= 0.3;
    zMax += 0.5;
    r.x0 = cMin;
    r.y0 = zMin;
    // The last boring's bar stands right of its hole: room for it inside the frame.
    const double trackMax = std::min(0.12 * frame.width(), 70 * pt);
    r.pxPerX = (frame.width() - trackMax) / (cMax - cMin);
    r.pxPerY = frame.height() / (zMax - zMin);
    r.origin = frame.bottomLeft();
    double spacing = INFINITY;
    for (std::size_t i = 1; i < shown.size(); ++i)
        spacing = std::min(spacing, (shown[i].chainage - shown[i - 1].chainage) * r.pxPerX);
    const double trackW =
        std::min({std::isfinite(spacing) ? 0.35 * spacing : INFINITY, 0.12 * frame.width(), 70 * pt});

    p.setFont(pictureFont(9, dpi));
    pictureText(p, QPointF(rect.left(), rect.top() + 22 * pt),
                QStringLiteral("%1 borings; vertical exaggeration x%2; bars and colours to %3 %RE")
                    .arg(shown.size())
                    .arg(QString::number(r.pxPerY / r.pxPerX, 'f', 1))
                    .arg(QString::number(scale, 'f', 1)),
                Qt::AlignLeft | Qt::AlignTop, rec);

    // %RE between neighbouring borings, layer by layer, linear in distance.
    const double dz = in.layerM > 0 ? in.layerM : 0.1;
    const int layers = std::clamp(static_cast<int>(std::ceil((zMax - zMin) / dz)) + 1, 1, 100000);
    std::vector<std::vector<double>> means;
    for (const auto& s : shown)
        means.push_back(site::pctReAtLayers(*s.boring, zMin, dz, layers));
    // Each layer between two borings is one rectangle shaded along its length; layers thinner than a
    // device pixel share it, so a deep site at a fine layer costs what the page can show, not more.
    for (std::size_t i = 0; i + 1 < shown.size(); ++i) {
        const double xa = r.toPixel(shown[i].chainage, 0).x() + trackW,
                     xb = r.toPixel(shown[i + 1].chainage, 0).x();
        if (xb <= xa) continue;
        long long lastRow = std::numeric_limits<long long>::min();
        for (int k = 0; k < layers; ++k) {
            const double a = means[i][k], b = means[i + 1][k];
            if (!std::isfinite(a) || !std::isfinite(b)) continue;
            const double yTop = r.toPixel(0, zMin + (k + 0.5) * dz).y(),
                         yBot = r.toPixel(0, zMin + (k - 0.5) * dz).y();
            const auto row = static_cast<long long>(std::floor((yTop + yBot) / 2));
            if (row == lastRow) continue;
            lastRow = row;
            if (a <= 0 && b <= 0) continue; // white on the white page
            const QRectF band(xa, yTop, xb - xa, yBot - yTop + 0.5);
            if (a == b) {
                p.fillRect(band, pctReRamp(a / scale));
                continue;
            }
            // The ramp is not linear in its colours: stops close enough that the steps between them vanish.
            QLinearGradient g(QPointF(xa, 0), QPointF(xb, 0));
            constexpr int kStops = 12;
            for (int j = 0; j <= kStops; ++j) {
                const double t = static_cast<double>(j) / kStops;
                g.setColorAt(t, pctReRamp((a + t * (b - a)) / scale));
            }
            p.fillRect(band, g);
        }
    }

    // Frame, ticks and axis titles.
    p.setBrush(Qt::NoBrush);
    p.setPen(QPen(Qt::black, 0.8 * pt));
    p.drawRect(frame);
    p.setFont(pictureFont(7, dpi));
    const double xs = niceStep(cMax - cMin, 8), ys = niceStep(zMax - zMin, 8);
    for (double x = std::ceil(cMin / xs) * xs; x <= cMax; x += xs) {
        const double px = r.toPixel(x, 0).x();
        p.drawLine(QPointF(px, frame.bottom()), QPointF(px, frame.bottom() + 3 * pt));
        pictureText(p, QPointF(px, frame.bottom() + 4 * pt), QString::number(x, 'f', xs < 1 ? 1 : 0),
                    Qt::AlignHCenter | Qt::AlignTop, rec);
    }
    for (double y = std::ceil(zMin / ys) * ys; y <= zMax; y += ys) {
        const double py = r.toPixel(0, y).y();
        p.drawLine(QPointF(frame.left() - 3 * pt, py), QPointF(frame.left(), py));
        pictureText(p, QPointF(frame.left() - 4 * pt, py), QString::number(y, 'f', ys < 1 ? 1 : 0),
                    Qt::AlignRight | Qt::AlignVCenter, rec);
    }
    p.setFont(pictureFont(8, dpi));
    pictureText(p, QPointF(frame.center().x(), frame.bottom() + 16 * pt),
                QStringLiteral("Distance along the section from A (m)"), Qt::AlignHCenter | Qt::AlignTop,
                rec);
    pictureText(p, QPointF(frame.left(), frame.top() - 2 * pt), QStringLiteral("Elevation (m)"),
                Qt::AlignRight | Qt::AlignBottom, rec);
    p.setFont(pictureFont(10, dpi, true));
    pictureText(p, QPointF(frame.left(), frame.bottom() + 16 * pt), QStringLiteral("A"),
                Qt::AlignLeft | Qt::AlignTop, rec);
    pictureText(p, QPointF(frame.right(), frame.bottom() + 16 * pt), QStringLiteral("A'"),
                Qt::AlignRight | Qt::AlignTop, rec);

    // Ground and water table, joined between borings.
    const auto joined = [&](auto level, const QPen& pen) {
        p.setPen(pen);
        bool started = false;
        QPointF last;
        for (const auto& s : shown) {
            const double z = level(*s.boring);
            if (!std::isfinite(z)) continue;
            const QPointF q = r.toPixel(s.chainage, z);
            if (started) p.drawLine(last, q);
            last = q;
            started = true;
        }
    };
    joined([](const site::BoringProfile& b) { return b.topElevationM; }, QPen(QColor(120, 80, 40), 1.5 * pt));
    joined([](const site::BoringProfile& b) { return b.topElevationM - b.waterTableDepthM; },
           QPen(QColor(30, 90, 220), 1.2 * pt, Qt::DashLine));

    // Each boring: a white track, its %RE bars in the channel colours, the hole and its name.
    for (const auto& s : shown) {
        const auto& b = *s.boring;
        const double x = r.toPixel(s.chainage, 0).x();
        const double top = r.toPixel(0, b.topElevationM).y(), bottom = r.toPixel(0, bottomOf(b)).y();
        p.setPen(Qt::NoPen);
        p.setBrush(Qt::white);
        p.drawRect(QRectF(x, top, trackW, bottom - top));
        drawBars(p, r, in.colours, b, scale, x, trackW);
        p.setBrush(Qt::NoBrush);
        p.setPen(QPen(Qt::black, 0.6 * pt));
        p.drawRect(QRectF(x, top, trackW, bottom - top));
        p.setPen(QPen(Qt::black, 1.4 * pt));
        p.drawLine(QPointF(x, top), QPointF(x, bottom));
        if (std::isfinite(b.waterTableDepthM)) {
            const QPointF w = r.toPixel(s.chainage, b.topElevationM - b.waterTableDepthM);
            p.setPen(QPen(QColor(30, 90, 220), 1 * pt));
            p.setBrush(QColor(30, 90, 220));
            const QPointF tri[] = {w + QPointF(-4 * pt, -7 * pt), w + QPointF(4 * pt, -7 * pt), w};
            p.drawPolygon(tri, 3);
        }
        p.setPen(Qt::black);
        p.setFont(pictureFont(8, dpi, true));
        pictureText(p, QPointF(x, top - 3 * pt), toQt(b.name), Qt::AlignHCenter | Qt::AlignBottom, rec);
    }

    // Legend: the colour ramp, the ground and the water table.
    const double lx = frame.right() + 18 * pt, ly = frame.top(),
                 lh = std::min(160 * pt, frame.height() * 0.6);
    QLinearGradient g(QPointF(0, ly + lh), QPointF(0, ly));
    for (int i = 0; i <= 8; ++i)
        g.setColorAt(i / 8.0, pctReRamp(i / 8.0));
    p.setPen(QPen(Qt::black, 0.6 * pt));
    p.setBrush(g);
    p.drawRect(QRectF(lx, ly, 14 * pt, lh));
    p.setFont(pictureFont(7, dpi));
    for (int i = 0; i <= 4; ++i)
        pictureText(p, QPointF(lx + 18 * pt, ly + lh - i * lh / 4), QString::number(scale * i / 4, 'f', 1),
                    Qt::AlignLeft | Qt::AlignVCenter, rec);
    p.setFont(pictureFont(8, dpi, true));
    pictureText(p, QPointF(lx, ly - 3 * pt), QStringLiteral("%RE"), Qt::AlignLeft | Qt::AlignBottom, rec);
    p.setFont(pictureFont(7, dpi));
    double y = ly + lh + 16 * pt;
    p.setPen(QPen(QColor(120, 80, 40), 1.5 * pt));
    p.drawLine(QPointF(lx, y), QPointF(lx + 14 * pt, y));
    p.setPen(Qt::black);
    pictureText(p, QPointF(lx + 18 * pt, y), QStringLiteral("Ground"), Qt::AlignLeft | Qt::AlignVCenter, rec);
    y += 12 * pt;
    p.setPen(QPen(QColor(30, 90, 220), 1.2 * pt, Qt::DashLine));
    p.drawLine(QPointF(lx, y), QPointF(lx + 14 * pt, y));
    p.setPen(Qt::black);
    pictureText(p, QPointF(lx + 18 * pt, y), QStringLiteral("Water table"), Qt::AlignLeft | Qt::AlignVCenter,
                rec);
    y += 12 * pt;
    pictureText(p, QPointF(lx, y), QStringLiteral("Bars: %RE, in the\nchannel colours"),
                Qt::AlignLeft | Qt::AlignTop, rec);
    p.restore();
}

} // namespace zel::plot
