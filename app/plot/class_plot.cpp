#include "app/plot/class_plot.h"

#include "app/plot/plot_model.h"
#include "app/plot/qt_text.h"

#include <QFontMetricsF>
#include <QImage>

#include <algorithm>
#include <cmath>
#include <limits>

namespace zel::plot {

namespace {

QColor qcolour(Colour c) {
    return QColor(c.r, c.g, c.b);
}

// A feature's range over the classified points and the centres, widened a little so no dot sits on the
// frame; shares never leave 0..1.
std::pair<double, double> rangeOf(const ClassPlotInput& in, std::size_t feature) {
    double lo = std::numeric_limits<double>::infinity(), hi = -lo;
    for (std::size_t p = 0; p < in.features.size(); ++p) {
        const auto& f = in.features[p];
        if (feature >= f.size() || p >= in.classes.pointClass.size() || in.classes.pointClass[p] < 0)
            continue;
        lo = std::min(lo, f[feature]);
        hi = std::max(hi, f[feature]);
    }
    for (const auto& c : in.classes.centres)
        if (feature < c.size()) lo = std::min(lo, c[feature]), hi = std::max(hi, c[feature]);
    if (!(hi >= lo)) return {0.0, 1.0};
    const double pad = std::max((hi - lo) * 0.05, 1e-3);
    lo -= pad, hi += pad;
    if (in.classes.feature == analysis::ClassFeature::Shares) lo = std::max(lo, 0.0), hi = std::min(hi, 1.0);
    if (in.classes.feature == analysis::ClassFeature::Tau) lo = std::max(lo, 0.0);
    return {lo, hi};
}

} // namespace

std::vector<ClassPanel> paintClassPlot(QPainter& p, const QRectF& rect, const ClassPlotInput& in) {
    std::vector<ClassPanel> panels;
    std::size_t dims = 0;
    for (const auto& f : in.features)
        dims = std::max(dims, f.size());
    dims = std::min<std::size_t>(dims, 4);
    p.save();
    p.setRenderHint(QPainter::Antialiasing);
    const QFontMetricsF fm(p.font(), p.device());
    const double lh = fm.height();
    const double lineWidth = std::max(1.0, lh / 14.0);

    // Title across the top, legend at the right, the panels in a grid in the rest.
    p.setPen(Qt::black);
    p.drawText(QRectF(rect.left(), rect.top(), rect.width(), 1.5 * lh), Qt::AlignCenter, toQt(in.title));
    const double legendWidth = std::min(rect.width() * 0.2, 16 * lh);
    const QRectF grid(rect.left(), rect.top() + 1.8 * lh, rect.width() - legendWidth,
                      rect.height() - 1.8 * lh);
    {
        double y = grid.top();
        const double x = grid.right() + lh;
        for (std::size_t k = 0; k < in.classes.names.size(); ++k) {
            int count = 0;
            for (const int c : in.classes.pointClass)
                count += c == static_cast<int>(k);
            p.fillRect(QRectF(x, y + 0.2 * lh, 0.8 * lh, 0.8 * lh),
                       qcolour(classColour(static_cast<int>(k))));
            p.drawText(QRectF(x + 1.2 * lh, y, legendWidth - 2.2 * lh, 1.2 * lh),
                       Qt::AlignLeft | Qt::AlignVCenter,
                       toQt(in.classes.names[k]) + QStringLiteral(" (%1)").arg(count));
            y += 1.3 * lh;
        }
        p.drawText(QRectF(x, y + 0.5 * lh, legendWidth - lh, 3 * lh), Qt::AlignLeft | Qt::TextWordWrap,
                   QStringLiteral("+ the class's centre"));
    }

    std::vector<std::pair<int, int>> pairs;
    for (int i = 0; i < static_cast<int>(dims); ++i)
        for (int j = i + 1; j < static_cast<int>(dims); ++j)
            pairs.emplace_back(i, j);
    if (pairs.empty()) {
        p.restore();
        return panels;
    }
    const int cols = pairs.size() > 3 ? 3 : static_cast<int>(pairs.size());
    const int rows = (static_cast<int>(pairs.size()) + cols - 1) / cols;
    const double cellW = grid.width() / cols, cellH = grid.height() / rows;
    const double dot = std::max(2.0, lh * 0.3);
    for (std::size_t n = 0; n < pairs.size(); ++n) {
        const int col = static_cast<int>(n) % cols, row = static_cast<int>(n) / cols;
        const QRectF cell(grid.left() + col * cellW, grid.top() + row * cellH, cellW, cellH);
        ClassPanel panel;
        panel.xFeature = pairs[n].first;
        panel.yFeature = pairs[n].second;
        panel.frame = cell.adjusted(5 * lh, 0.5 * lh, -1.0 * lh, -3.0 * lh);
        std::tie(panel.xMin, panel.xMax) = rangeOf(in, static_cast<std::size_t>(panel.xFeature));
        std::tie(panel.yMin, panel.yMax) = rangeOf(in, static_cast<std::size_t>(panel.yFeature));
        const QRectF& f = panel.frame;
        p.setPen(QPen(Qt::black, lineWidth));
        p.setBrush(Qt::NoBrush);
        p.drawRect(f);
        // Both ends of each axis and its name.
        const auto label = [](double v) { return QString::number(v, 'g', 3); };
        p.drawText(QRectF(f.left() - lh, f.bottom(), 4 * lh, lh), Qt::AlignLeft, label(panel.xMin));
        p.drawText(QRectF(f.right() - 3 * lh, f.bottom(), 4 * lh, lh), Qt::AlignRight, label(panel.xMax));
        p.drawText(QRectF(f.left(), f.bottom() + lh, f.width(), lh), Qt::AlignCenter,
                   toQt(in.axisNames.size() > static_cast<std::size_t>(panel.xFeature)
                            ? in.axisNames[static_cast<std::size_t>(panel.xFeature)]
                            : std::string()));
        p.drawText(QRectF(f.left() - 4.8 * lh, f.bottom() - lh, 4.6 * lh, lh), Qt::AlignRight,
                   label(panel.yMin));
        p.drawText(QRectF(f.left() - 4.8 * lh, f.top(), 4.6 * lh, lh), Qt::AlignRight, label(panel.yMax));
        p.save();
        p.translate(f.left() - 3.5 * lh, f.center().y());
        p.rotate(-90);
        p.drawText(QRectF(-f.height() / 2, -lh / 2, f.height(), lh), Qt::AlignCenter,
                   toQt(in.axisNames.size() > static_cast<std::size_t>(panel.yFeature)
                            ? in.axisNames[static_cast<std::size_t>(panel.yFeature)]
                            : std::string()));
        p.restore();

        p.save();
        p.setClipRect(f);
        p.setPen(Qt::NoPen);
        for (std::size_t q = 0; q < in.features.size() && q < in.classes.pointClass.size(); ++q) {
            const auto& v = in.features[q];
            const int k = in.classes.pointClass[q];
            if (k < 0 || v.size() <= static_cast<std::size_t>(std::max(panel.xFeature, panel.yFeature)))
                continue;
            p.setBrush(qcolour(classColour(k)));
            p.drawEllipse(panel.toPixel(v[static_cast<std::size_t>(panel.xFeature)],
                                        v[static_cast<std::size_t>(panel.yFeature)]),
                          dot, dot);
        }
        for (std::size_t k = 0; k < in.classes.centres.size(); ++k) {
            const auto& c = in.classes.centres[k];
            if (c.size() <= static_cast<std::size_t>(std::max(panel.xFeature, panel.yFeature))) continue;
            const QPointF at = panel.toPixel(c[static_cast<std::size_t>(panel.xFeature)],
                                             c[static_cast<std::size_t>(panel.yFeature)]);
            // Black under the class colour, so the cross stands out against its own dots.
            for (const auto& [pen, width] :
                 {std::pair{QColor(Qt::black), 4.0}, {qcolour(classColour(int(k))), 2.0}}) {
                p.setPen(QPen(pen, lineWidth * width));
                p.drawLine(at + QPointF(-3 * dot, 0), at + QPointF(3 * dot, 0));
                p.drawLine(at + QPointF(0, -3 * dot), at + QPointF(0, 3 * dot));
            }
        }
        p.restore();
        panels.push_back(panel);
    }
    p.restore();
    return panels;
}

bool writeClassPlot(const std::string& path, const ClassPlotInput& input, std::string& error, int width,
                    int height, std::vector<ClassPanel>* panels) {
    QImage image(std::clamp(width, 200, 8000), std::clamp(height, 150, 8000), QImage::Format_RGB32);
    if (image.isNull()) {
        error = "no memory for the picture";
        return false;
    }
    image.fill(Qt::white);
    std::vector<ClassPanel> drawn;
    {
        QPainter p(&image);
        QFont font = p.font();
        font.setPixelSize(std::max(10, image.height() / 60));
        p.setFont(font);
        const double margin = image.height() / 40.0;
        drawn = paintClassPlot(
            p, QRectF(margin, margin, image.width() - 2 * margin, image.height() - 2 * margin), input);
    }
    if (!image.save(QString::fromStdString(path), "PNG")) {
        error = "cannot write " + path;
        return false;
    }
    if (panels) *panels = std::move(drawn);
    return true;
}

} // namespace zel::plot
