#pragma once
// Text drawing shared by the painters: every text goes through here so that a caller's sink sees it with
// the box it covers on the device (the page's render record, which the tests read instead of pixels).

#include <QPainter>
#include <QRectF>
#include <QString>

#include <functional>
#include <string_view>

namespace zel::plot {

// Receives each text drawn and the device rectangle its glyphs cover.
using TextSinkFunction = std::function<void(std::string_view, const QRectF&)>;

struct TextSink {
    const TextSinkFunction& sink;
};

// Tells the sink about a text drawn some other way (shortened to fit, say): r is in painter coordinates.
inline void recordText(QPainter& p, const QRectF& r, const QString& text, const TextSink& to) {
    if (!to.sink) return;
    const QByteArray utf8 = text.toUtf8();
    to.sink(std::string_view(utf8.constData(), static_cast<std::size_t>(utf8.size())),
            p.transform().mapRect(r));
}

inline void drawText(QPainter& p, const QRectF& r, int flags, const QString& text, const TextSink& to) {
    if (text.isEmpty()) return;
    QRectF covered;
    p.drawText(r, flags, text, &covered);
    recordText(p, covered, text, to);
}

} // namespace zel::plot
