#include "app/plot/site_picture.h"

#include "app/plot/qt_text.h"

#include <QFileInfo>
#include <QImage>
#include <QPageLayout>
#include <QPageSize>
#include <QPdfWriter>

#include <algorithm>
#include <cmath>

namespace zel::plot {

QColor pctReRamp(double f) {
    f = std::clamp(std::isfinite(f) ? f : 0.0, 0.0, 1.0);
    // white -> yellow -> orange -> red -> deep red, even steps
    static const QColor stops[] = {QColor(255, 255, 255), QColor(255, 236, 120), QColor(253, 150, 40),
                                   QColor(220, 30, 30), QColor(120, 0, 20)};
    const double x = f * 4.0;
    const int i = std::min(3, static_cast<int>(x));
    const double t = x - i;
    const QColor& a = stops[i];
    const QColor& b = stops[i + 1];
    return QColor(static_cast<int>(std::lround(a.red() + t * (b.red() - a.red()))),
                  static_cast<int>(std::lround(a.green() + t * (b.green() - a.green()))),
                  static_cast<int>(std::lround(a.blue() + t * (b.blue() - a.blue()))));
}

QColor pctReClass(double maxPctRe) {
    if (maxPctRe >= 50) return QColor(220, 0, 0);
    if (maxPctRe >= 10) return QColor(255, 128, 0);
    if (maxPctRe >= 1) return QColor(235, 205, 0);
    return QColor(0, 160, 0);
}

double niceStep(double span, int ticks) {
    if (!(span > 0) || ticks < 1) return 1.0;
    const double raw = span / ticks;
    const double mag = std::pow(10.0, std::floor(std::log10(raw)));
    for (double m : {1.0, 2.0, 2.5, 5.0, 10.0})
        if (raw <= m * mag) return m * mag;
    return 10.0 * mag;
}

void pictureText(QPainter& painter, const QPointF& anchor, const QString& text, Qt::Alignment align,
                 PictureRecord* record) {
    const QRectF big(anchor.x() - 5000, anchor.y() - 5000, 10000, 10000);
    QRectF box = painter.boundingRect(big, Qt::AlignCenter, text);
    if (align & Qt::AlignLeft) box.moveLeft(anchor.x());
    if (align & Qt::AlignRight) box.moveRight(anchor.x());
    if (align & Qt::AlignHCenter) box.moveLeft(anchor.x() - box.width() / 2);
    if (align & Qt::AlignTop) box.moveTop(anchor.y());
    if (align & Qt::AlignBottom) box.moveBottom(anchor.y());
    if (align & Qt::AlignVCenter) box.moveTop(anchor.y() - box.height() / 2);
    painter.drawText(box, Qt::AlignCenter, text);
    if (record) record->texts.push_back(fromQt(text));
}

QFont pictureFont(double points, double dpi, bool bold) {
    QFont f(QStringLiteral("DejaVu Sans"));
    f.setPixelSize(std::max(1, static_cast<int>(std::lround(points * dpi / 72.0))));
    f.setBold(bold);
    return f;
}

bool writeSitePicture(const std::string& path, int dpi,
                      const std::function<void(QPainter&, const QRectF&, double, PictureRecord*)>& draw,
                      std::string& error, PictureRecord* record) {
    const QPageLayout layout(QPageSize(QPageSize::Letter), QPageLayout::Landscape,
                             QMarginsF(0.4, 0.4, 0.4, 0.4), QPageLayout::Inch);
    const QString file = QString::fromStdString(path);
    if (QFileInfo(file).suffix().compare(QStringLiteral("pdf"), Qt::CaseInsensitive) == 0) {
        QPdfWriter pdf(file);
        pdf.setPageLayout(layout);
        pdf.setResolution(300);
        pdf.setCreator(QStringLiteral("ZEL"));
        QPainter p;
        if (!p.begin(&pdf)) {
            error = "cannot write " + path;
            return false;
        }
        const QRect paint = layout.paintRectPixels(pdf.resolution());
        draw(p, QRectF(0, 0, paint.width(), paint.height()), pdf.resolution(), record);
        if (!p.end()) {
            error = "cannot write " + path;
            return false;
        }
        return true;
    }
    dpi = std::clamp(dpi, 36, 600);
    const QRect full = layout.fullRectPixels(dpi), paint = layout.paintRectPixels(dpi);
    QImage image(full.size(), QImage::Format_RGB32);
    if (image.isNull()) {
        error = "no memory for the picture";
        return false;
    }
    image.fill(Qt::white);
    {
        QPainter p(&image);
        p.setRenderHint(QPainter::Antialiasing);
        p.translate(paint.topLeft());
        draw(p, QRectF(0, 0, paint.width(), paint.height()), dpi, record);
    }
    if (record) record->origin += paint.topLeft();
    if (!image.save(file, "PNG")) {
        error = "cannot write " + path;
        return false;
    }
    return true;
}

} // namespace zel::plot
