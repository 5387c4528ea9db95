#pragma once
// Text drawing shared by the painters: every text goes through here so that a caller's sink sees it (the
// page's render record, which the tests read instead of pixels).

#include <QPainter>
#include <QRectF>
#include <QString>

#include <functional>
#include <string_view>

namespace zel::plot {

struct TextSink {
    const std::function<void(std::string_view)>& sink;
};

inline void drawText(QPainter& p, const QRectF& r, int flags, const QString& text, const TextSink& to) {
    if (text.isEmpty()) return;
    p.drawText(r, flags, text);
    if (to.sink) {
        const QByteArray utf8 = text.toUtf8();
        to.sink(std::string_view(utf8.constData(), static_cast<std::size_t>(utf8.size())));
    }
}

} // namespace zel::plot
