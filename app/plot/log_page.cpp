#include "app/plot/log_page.h"

#include "analysis/k_estimate.h"
#include "app/plot/paint_text.h"
#include "app/plot/qt_text.h"
#include "common/date_time.h"
#include "common/version.h"

#include <QFileInfo>
#include <QImage>
#include <QImageReader>
#include <QMarginsF>
#include <QPageSize>

#include <algorithm>
#include <cmath>

namespace zel::plot {
namespace {

constexpr int kMaxPages = 200;
constexpr double kTitleBlockLines = 10.6; // the first page's title block
constexpr double kShortHeaderLines = 2.0; // the header of continuation pages (and of "hide info")
constexpr double kFooterLines = 1.5;
constexpr double kTrackTitleLines = 3.2; // depth_plot's title block
constexpr double kPlotFontScale = 0.85;  // the plot's text against the header's
constexpr double kSideColumn = 0.27;     // the legends' and callouts' share of the page width

int fontPoints(const PageInput& in) {
    return in.fontPoints > 0 ? in.fontPoints : 10;
}

// Line height of the page's text in device units: fixed by the font's point size, so that the page count
// (computed before any painter exists) and the drawing agree on where the tracks start and end.
double lineHeight(const PageInput& in, double dpi) {
    return 1.3 * fontPoints(in) / 72.0 * dpi;
}

struct PageGeometry {
    QRectF header, body, footer, plot, side;
    double lh = 0;
};

bool fullTitleBlock(const PageInput& in, int page) {
    return page == 0 && !in.model.settings().hideInfo;
}

PageGeometry geometryOf(const QRectF& rect, double dpi, const PageInput& in, int page) {
    PageGeometry g;
    g.lh = lineHeight(in, dpi);
    const double headerHeight = (fullTitleBlock(in, page) ? kTitleBlockLines : kShortHeaderLines) * g.lh;
    g.header = QRectF(rect.left(), rect.top(), rect.width(), headerHeight);
    g.footer = QRectF(rect.left(), rect.bottom() - kFooterLines * g.lh, rect.width(), kFooterLines * g.lh);
    g.body = QRectF(rect.left(), g.header.bottom() + 0.4 * g.lh, rect.width(),
                    std::max(0.0, g.footer.top() - g.header.bottom() - 0.6 * g.lh));
    const double sideWidth = rect.width() * kSideColumn;
    g.plot = QRectF(g.body.left(), g.body.top(), g.body.width() - sideWidth, g.body.height());
    g.side = QRectF(g.plot.right() + g.lh * 0.8, g.body.top(), std::max(0.0, sideWidth - g.lh * 0.8),
                    g.body.height());
    return g;
}

// Inches of depth the tracks of a page hold below their titles.
double plotDataInches(const PageGeometry& g, double dpi) {
    return std::max(0.0, g.plot.height() - kTrackTitleLines * kPlotFontScale * g.lh) / dpi;
}

double snapDown(double v, double step) {
    return step > 0 ? std::floor(v / step + 1e-9) * step : v;
}

// The page's depth scale and the window of each page; rect and dpi as renderLogPage takes them.
struct PagePlan {
    double perInch = 1.0;
    std::vector<DepthWindow> windows;
};

PagePlan planPages(const PageInput& in, const QRectF& rect, double dpi) {
    const PlotSettings& s = in.model.settings();
    // The settings' depth range, within the log's own extent: a page never runs on over depths without data.
    DepthWindow all = in.model.defaultWindow();
    all = {std::max(all.top, in.model.dataTop()), std::min(all.bottom, in.model.dataBottom())};
    if (!(all.span() > 0)) all = {in.model.dataTop(), in.model.dataBottom()};
    if (!(all.span() > 0)) all = in.model.defaultWindow();
    const double first = plotDataInches(geometryOf(rect, dpi, in, 0), dpi);
    const double later = plotDataInches(geometryOf(rect, dpi, in, 1), dpi);
    PagePlan plan;
    if (!(first > 0) || !(later > 0) || !(all.span() > 0) || !std::isfinite(all.span())) {
        plan.windows.push_back(all);
        return plan;
    }
    // The top starts on a round depth, so the depth ticks of every page fall on round values too.
    const auto topFor = [&](double perInch) {
        return snapDown(all.top, std::pow(10.0, std::floor(std::log10(perInch))));
    };
    if (s.perInch && s.depthPerInch > 0 && std::isfinite(s.depthPerInch)) {
        plan.perInch = s.depthPerInch;
    } else {
        static constexpr double kFeet[] = {0.5, 1, 2, 2.5, 5};
        static constexpr double kMetres[] = {0.1, 0.2, 0.25, 0.5, 1, 1.5};
        const std::span<const double> scales =
            in.model.metric() ? std::span<const double>(kMetres) : std::span<const double>(kFeet);
        plan.perInch = scales.back();
        for (double c : scales)
            if (topFor(c) + c * first >= all.bottom - 1e-9) {
                plan.perInch = c;
                break;
            }
    }
    // Each page breaks at a round depth (a whole unit of the scale's decade): its tracks end a little above
    // the footer rather than the scale bending to fill them.
    const double unit = std::pow(10.0, std::floor(std::log10(plan.perInch)));
    double top = topFor(plan.perInch);
    for (int page = 0; page < kMaxPages; ++page) {
        const double room = plan.perInch * (page == 0 ? first : later);
        const double span = std::max(unit, snapDown(room, unit));
        plan.windows.push_back({top, top + span});
        top += span;
        if (top >= all.bottom - 1e-9) break;
    }
    return plan;
}

QString qs(const std::string& s) {
    return toQt(s);
}

QString number(double v, int decimals) {
    return QString::number(v, 'f', decimals);
}

// Hydraulic profiling: the reference tests and the water table the K track was computed with.
QString hydraulicLine(const cZEL_Data& log) {
    if (!log.PresFlow()) return {};
    QString line = QStringLiteral("HP tests: ");
    if (log.HPT1ft() == 0.0f && log.HPT0ft() == 0.0f)
        line += QStringLiteral("none");
    else
        line += QStringLiteral("1 ft %1, 0 ft %2 PSI (%3)")
                    .arg(number(log.HPT1ft(), 3), number(log.HPT0ft(), 3),
                         referenceTestPasses(log.HPT1ft(), log.HPT0ft()) ? QStringLiteral("passed")
                                                                         : QStringLiteral("failed"));
    int tests = 0;
    for (int i = 0; i < cZEL_Data::kDissipationTests; ++i)
        tests += log.DisInclude(i) ? 1 : 0;
    if (tests > 0)
        line += QStringLiteral("   Water table %1 ft (%2 dissipation test%3)")
                    .arg(number(log.DisWTavg(), 2))
                    .arg(tests)
                    .arg(tests > 1 ? QStringLiteral("s") : QString());
    return line;
}

QString depthText(double v) {
    return QString::number(v, 'g', 6);
}

QString unitOf(const PageInput& in) {
    return QString::fromLatin1(in.model.depthUnit());
}

QString scaleNote(const PageInput& in, double perInch) {
    return QStringLiteral("Depth scale: 1 in = %1 %2").arg(depthText(perInch), unitOf(in));
}

QString logName(const cZEL_Data& log) {
    return qs(log.File_Title_NoExt().empty() ? log.File_Title() : log.File_Title_NoExt());
}

void setPointSize(QPainter& p, double points, bool bold = false) {
    QFont f = p.font();
    f.setPointSizeF(points);
    f.setBold(bold);
    p.setFont(f);
}

// The logo scaled into box, keeping its shape; its width used (0 when there is none).
double drawLogo(QPainter& p, const QRectF& box, const std::string& path) {
    if (path.empty()) return 0.0;
    QImageReader reader(qs(path));
    reader.setAutoTransform(true);
    const QImage logo = reader.read();
    if (logo.isNull() || logo.height() <= 0) return 0.0;
    const double scale = std::min(box.height() / logo.height(), 2.5 * box.height() / logo.width());
    const QSizeF size(logo.width() * scale, logo.height() * scale);
    p.drawImage(QRectF(box.topLeft(), size), logo);
    return size.width();
}

// A label and its value, the label bold, the value shortened to the column only when it must be.
void drawField(QPainter& p, const QRectF& r, const QString& label, const QString& value,
               const TextSink& sink) {
    const QFont original = p.font();
    QFont bold = original;
    bold.setBold(true);
    p.setFont(bold);
    const double labelWidth = QFontMetricsF(bold, p.device()).horizontalAdvance(label + QStringLiteral("  "));
    drawText(p, r, Qt::AlignLeft | Qt::AlignVCenter, label, sink);
    p.setFont(original);
    const QRectF v = r.adjusted(labelWidth, 0, 0, 0);
    const QFontMetricsF fm(original, p.device());
    if (fm.horizontalAdvance(value) <= v.width()) {
        drawText(p, v, Qt::AlignLeft | Qt::AlignVCenter, value, sink);
    } else {
        p.drawText(v, Qt::AlignLeft | Qt::AlignVCenter, fm.elidedText(value, Qt::ElideRight, v.width()));
        recordText(p, v, value, sink);
    }
}

void drawTitleBlock(QPainter& p, const PageGeometry& g, const PageInput& in, const TextSink& sink) {
    const cZEL_Data& log = in.log;
    const double lh = g.lh;
    const double pt = fontPoints(in);
    const QRectF& h = g.header;
    p.save();
    p.setPen(QPen(Qt::black, std::max(1.0, lh / 12)));
    p.drawRect(h);

    // Company and logo at the left, the log and the probe's model at the right.
    const QRectF band(h.left() + 0.4 * lh, h.top() + 0.3 * lh, h.width() - 0.8 * lh, 2.4 * lh);
    const double logoWidth = drawLogo(p, band, in.logoPath);
    const QRectF names = band.adjusted(logoWidth > 0 ? logoWidth + 0.6 * lh : 0, 0, 0, 0);
    setPointSize(p, pt * 1.45, true);
    drawText(p, QRectF(names.left(), names.top(), names.width() * 0.55, 1.4 * lh),
             Qt::AlignLeft | Qt::AlignVCenter, qs(in.company), sink);
    drawText(p, QRectF(names.left() + names.width() * 0.4, names.top(), names.width() * 0.6, 1.4 * lh),
             Qt::AlignRight | Qt::AlignVCenter, logName(log), sink);
    setPointSize(p, pt * 0.95);
    drawText(p, QRectF(names.left(), names.top() + 1.4 * lh, names.width() * 0.55, lh),
             Qt::AlignLeft | Qt::AlignVCenter, QStringLiteral("Laser-induced fluorescence log"), sink);
    const QString probe = in.modelName.empty() ? QString() : qs(in.modelName) + QStringLiteral(" probe");
    drawText(p, QRectF(names.left() + names.width() * 0.4, names.top() + 1.4 * lh, names.width() * 0.6, lh),
             Qt::AlignRight | Qt::AlignVCenter, probe, sink);
    if (in.model.settings().draft) {
        setPointSize(p, pt * 1.45, true);
        p.setPen(QColor(200, 0, 0));
        drawText(p, QRectF(names.left(), names.top(), names.width() * 0.95, 1.4 * lh), Qt::AlignHCenter,
                 QStringLiteral("DRAFT"), sink);
        p.setPen(Qt::black);
    }
    const double ruleY = band.bottom() + 0.3 * lh;
    p.drawLine(QPointF(h.left(), ruleY), QPointF(h.right(), ruleY));

    // Three columns of fields: the boring, its location, the log.
    const QString unit = unitOf(in);
    const bool fix = !log.Latitude().empty() || log.Latitude_Dec() != 0.0 || log.Longitude_Dec() != 0.0;
    const double altitude = log.Metric() ? log.Altitude_M() : log.Altitude_Ft();
    const double maxDepth = log.Metric() ? log.Depth_Max_M() : log.Depth_Max_Ft();
    const double maxSignalDepth = log.Metric() ? log.Signal_MaxDepth_M() : log.Signal_MaxDepth_Ft();
    const auto text = [](const std::string& v) { return v.empty() ? QStringLiteral("-") : qs(v); };
    const auto when = [&](const DateTime& t) {
        const std::string d = generalDateText(t);
        return d.empty()
                   ? QStringLiteral("-")
                   : qs(d) + (log.TimeZone().empty() ? QString() : QLatin1Char(' ') + qs(log.TimeZone()));
    };
    using Field = std::pair<QString, QString>;
    const std::vector<std::vector<Field>> columns{
        {{QStringLiteral("Site"), text(log.Site())},
         {QStringLiteral("Client"), text(log.Client())},
         {QStringLiteral("Job"), text(log.JobNumber())},
         {QStringLiteral("Operator"), text(log.Operator())},
         {QStringLiteral("Unit"), text(log.ZEL_Unit())}},
        {{QStringLiteral("Latitude"),
          fix ? number(log.Latitude_Dec(), 6) + QStringLiteral("\u00B0") : QStringLiteral("no GPS fix")},
         {QStringLiteral("Longitude"),
          fix ? number(log.Longitude_Dec(), 6) + QStringLiteral("\u00B0") : QStringLiteral("-")},
         {QStringLiteral("Datum"), fix ? text(log.CoordSystem()) : QStringLiteral("-")},
         {QStringLiteral("Elevation"),
          fix ? number(altitude, 1) + QLatin1Char(' ') + unit + QStringLiteral(" (GPS, MSL)")
              : QStringLiteral("-")},
         {QStringLiteral("GPS"),
          fix ? QStringLiteral("fix %1, %2 sat., HDOP %3")
                    .arg(text(log.QualityIndicator()), text(log.Satellites()), text(log.HDOP()))
              : QStringLiteral("-")}},
        {{QStringLiteral("Total depth"), number(maxDepth, 2) + QLatin1Char(' ') + unit},
         {QStringLiteral("Max %RE"),
          QStringLiteral("%1 at %2 %3")
              .arg(number(log.Signal_MaxValue(), 1), number(maxSignalDepth, 2), unit)},
         {QStringLiteral("RE area"), number(log.RE_Area(), 1) + QStringLiteral(" pVs")},
         {QStringLiteral("Start"), when(log.Time_Start())},
         {QStringLiteral("Stop"), when(log.Time_Stop())}},
    };
    setPointSize(p, pt * 0.9);
    const double top = ruleY + 0.3 * lh;
    const double inner = h.width() - 0.8 * lh;
    const double widths[] = {0.3, 0.33, 0.37};
    double x = h.left() + 0.4 * lh;
    for (std::size_t c = 0; c < columns.size(); ++c) {
        const double w = inner * widths[c];
        for (std::size_t i = 0; i < columns[c].size(); ++i)
            drawField(p, QRectF(x, top + double(i) * lh, w - 0.6 * lh, lh), columns[c][i].first,
                      columns[c][i].second, sink);
        x += w;
    }
    QString note = qs(log.Note());
    note.replace(QStringLiteral("\r\n"), QStringLiteral(" / "));
    note.replace(QLatin1Char('\n'), QStringLiteral(" / "));
    // A log with pressure and flow shares the row with its reference tests and water table.
    const QString hp = hydraulicLine(log);
    drawField(p, QRectF(h.left() + 0.4 * lh, top + 5.2 * lh, hp.isEmpty() ? inner : inner * 0.45, lh),
              QStringLiteral("Note"), note.isEmpty() ? QStringLiteral("-") : note, sink);
    if (!hp.isEmpty())
        drawField(p, QRectF(h.left() + 0.4 * lh + inner * 0.47, top + 5.2 * lh, inner * 0.53, lh),
                  QStringLiteral("Hydraulic"), hp, sink);
    p.restore();
}

// The short header of continuation pages (and of every page when the information is hidden).
void drawShortHeader(QPainter& p, const PageGeometry& g, const PageInput& in, const DepthWindow& window,
                     int page, const TextSink& sink) {
    const double pt = fontPoints(in);
    p.save();
    const QRectF line(g.header.left(), g.header.top(), g.header.width(), 1.5 * g.lh);
    setPointSize(p, pt * 1.2, true);
    QString left = logName(in.log);
    if (!in.company.empty()) left = qs(in.company) + QStringLiteral("  \u2013  ") + left;
    if (!in.modelName.empty()) left += QStringLiteral("  (") + qs(in.modelName) + QLatin1Char(')');
    drawText(p, line, Qt::AlignLeft | Qt::AlignVCenter, left, sink);
    setPointSize(p, pt);
    const QString right = page > 0 ? QStringLiteral("continued: %1 to %2 %3")
                                         .arg(number(window.top, 2), number(window.bottom, 2), unitOf(in))
                                   : QString();
    drawText(p, line, Qt::AlignRight | Qt::AlignVCenter, right, sink);
    if (in.model.settings().draft) {
        setPointSize(p, pt * 1.2, true);
        p.setPen(QColor(200, 0, 0));
        drawText(p, line, Qt::AlignHCenter | Qt::AlignVCenter, QStringLiteral("DRAFT"), sink);
    }
    p.setPen(QPen(Qt::black, std::max(1.0, g.lh / 12)));
    p.drawLine(QPointF(g.header.left(), line.bottom() + 0.2 * g.lh),
               QPointF(g.header.right(), line.bottom() + 0.2 * g.lh));
    p.restore();
}

void drawDiagonal(QPainter& p, const QRectF& area, const QString& text, const QColor& colour,
                  double pointSize, const TextSink& sink) {
    if (text.isEmpty()) return;
    p.save();
    p.setClipRect(area);
    QFont f = p.font();
    f.setPointSizeF(pointSize);
    f.setBold(true);
    // A long watermark is set smaller rather than running off the tracks.
    const double room = std::hypot(area.width(), area.height()) * 0.8;
    const double needed = QFontMetricsF(f, p.device()).horizontalAdvance(text);
    if (needed > room) f.setPointSizeF(pointSize * std::max(0.2, room / needed));
    p.setFont(f);
    p.setPen(colour);
    p.translate(area.center());
    p.rotate(-std::atan2(area.height(), area.width()) * 180.0 / M_PI);
    const double w = std::hypot(area.width(), area.height());
    drawText(p, QRectF(-w / 2, -area.height() / 2, w, area.height()), Qt::AlignCenter, text, sink);
    p.restore();
}

QString channelName(const std::string& label) {
    bool numeric = false;
    toQt(label).toDouble(&numeric);
    return numeric ? toQt(label) + QStringLiteral(" nm") : toQt(label);
}

// The side column: the callouts' waveforms (first page), the callouts' legend, the fill colours' legend
// and the reference line's meaning. Returns nothing; stops where the column ends.
void drawSide(QPainter& p, const PageGeometry& g, const PageInput& in, int page, const QFont& font,
              const TextSinkFunction& collect, const TextSink& sink) {
    const QRectF& side = g.side;
    if (!(side.width() > 0) || !(side.height() > 0)) return;
    const PlotSettings& s = in.model.settings();
    const double lh = g.lh * kPlotFontScale;
    p.save();
    p.setFont(font);
    double y = side.top();
    const auto heading = [&](const QString& text) {
        QFont bold = font;
        bold.setBold(true);
        p.setFont(bold);
        drawText(p, QRectF(side.left(), y, side.width(), lh), Qt::AlignLeft | Qt::AlignVCenter, text, sink);
        p.setFont(font);
        y += 1.2 * lh;
    };

    if (page == 0 && s.calloutWaves && !in.callouts.empty()) {
        heading(QStringLiteral("Callout waveforms"));
        WaveformView view;
        view.deltaX = in.waveDeltaX;
        view.callouts = in.callouts;
        view.depthUnit = in.model.depthUnit();
        view.font = font;
        view.textSink = collect;
        view.legend = false; // the legend below names each curve
        const double height = std::min(side.height() * 0.4, side.width() * 1.1);
        paintWaveform(p, QRectF(side.left(), y - 1.2 * lh, side.width(), height), view);
        y += height - 0.6 * lh;
    }

    if (!in.callouts.empty()) {
        heading(QStringLiteral("Callouts"));
        for (const CalloutWave& c : in.callouts) {
            if (y + 3.2 * lh > side.bottom()) break;
            const QRectF swatch(side.left(), y + 0.1 * lh, 1.8 * lh, 1.8 * lh);
            p.fillRect(swatch, QColor(c.colour.r, c.colour.g, c.colour.b));
            const Colour sc = calloutSlotColour(c.slot);
            p.setPen(QPen(QColor(sc.r, sc.g, sc.b), std::max(1.0, lh / 6)));
            p.drawRect(swatch);
            p.setPen(Qt::black);
            const QRectF text(swatch.right() + 0.5 * lh, y, side.right() - swatch.right() - 0.5 * lh, lh);
            drawText(p, text, Qt::AlignLeft | Qt::AlignVCenter, qs(c.caption), sink);
            drawText(p, text.translated(0, lh), Qt::AlignLeft | Qt::AlignVCenter,
                     QStringLiteral("%1 to %2 %3").arg(number(c.top, 2), number(c.bottom, 2), unitOf(in)),
                     sink);
            drawText(p, text.translated(0, 2 * lh), Qt::AlignLeft | Qt::AlignVCenter,
                     QStringLiteral("mean %1 %RE").arg(number(c.meanSignal, 1)), sink);
            y += 3.4 * lh;
        }
        y += 0.4 * lh;
    }

    // The fill: each channel's own colour; a point's fill mixes them by its channel balance.
    const ChannelColours& colours = in.model.channelColours();
    if (!s.printBlack && y + 3 * lh < side.bottom()) {
        heading(QStringLiteral("%RE fill colour"));
        for (int k = 0; k < colours.channels && k < kMaxChannels; ++k) {
            const auto i = static_cast<std::size_t>(k);
            if (colours.scatter[i]) continue;
            if (y + lh > side.bottom()) break;
            const Colour c = colours.colour[i];
            const QRectF swatch(side.left(), y + 0.15 * lh, 1.8 * lh, 0.7 * lh);
            p.fillRect(swatch, QColor(c.r, c.g, c.b));
            p.setPen(Qt::black);
            drawText(p, QRectF(swatch.right() + 0.5 * lh, y, side.width() - 2.3 * lh, lh),
                     Qt::AlignLeft | Qt::AlignVCenter,
                     QStringLiteral("CH%1  %2").arg(k + 1).arg(channelName(in.channelLabels[i])), sink);
            y += lh;
        }
    }
    // The classes of the strip beside the %RE track.
    const auto& classes = in.model.classNames();
    if (in.model.track(TrackKind::Class) && !classes.empty() && y + 3 * lh < side.bottom()) {
        y += 0.4 * lh;
        heading(QStringLiteral("Classes"));
        for (std::size_t k = 0; k < classes.size(); ++k) {
            if (y + lh > side.bottom()) break;
            const Colour c = classColour(static_cast<int>(k));
            const QRectF swatch(side.left(), y + 0.15 * lh, 1.8 * lh, 0.7 * lh);
            p.fillRect(swatch, QColor(c.r, c.g, c.b));
            p.setPen(Qt::black);
            drawText(p, QRectF(swatch.right() + 0.5 * lh, y, side.width() - 2.3 * lh, lh),
                     Qt::AlignLeft | Qt::AlignVCenter, qs(classes[k]), sink);
            y += lh;
        }
    }
    // A wrapped note as tall as its text needs, left out when the column has no room for it.
    const auto note = [&](const QString& text) {
        const int flags = Qt::AlignLeft | Qt::AlignTop | Qt::TextWordWrap;
        const double height =
            p.boundingRect(QRectF(side.left(), y, side.width(), side.height()), flags, text).height();
        if (y + height > side.bottom()) return;
        drawText(p, QRectF(side.left(), y, side.width(), height), flags, text, sink);
        y += height + 0.4 * lh;
    };
    if (!s.printBlack)
        note(s.realColour
                 ? QStringLiteral("A point's fill: the colour of its mean wavelength")
                 : QStringLiteral("A point's fill: its channels' colours (spread over the spectrum) mixed "
                                  "by area"));
    if (s.referenceRe) note(QStringLiteral("Dashed red: reference %1 %RE").arg(depthText(*s.referenceRe)));
    if (s.signalFloor > 0) note(QStringLiteral("%RE below %1 not drawn").arg(depthText(s.signalFloor)));
    if (in.model.track(TrackKind::Lifetime)) {
        note(s.printBlack ? QStringLiteral("Decay time: a line a channel (solid, dashed, dotted, dash-dot)")
                          : QStringLiteral("Decay time: a line a channel, in the channel's colour"));
        if (s.lifetimeCutoff)
            note(QStringLiteral("No decay time below %1 %RE").arg(depthText(*s.lifetimeCutoff)));
    }
    p.restore();
}

} // namespace

bool PageRecord::contains(std::string_view text) const {
    return std::any_of(texts.begin(), texts.end(), [&](const std::string& t) { return t == text; });
}

QPageLayout pageLayoutFor(const PlotSettings& s) {
    const QPageSize size(s.pageSize == PageSize::Legal ? QPageSize::Legal : QPageSize::Letter);
    return QPageLayout(size, s.landscape ? QPageLayout::Landscape : QPageLayout::Portrait,
                       QMarginsF(0.4, 0.4, 0.4, 0.4), QPageLayout::Inch);
}

namespace {
QRectF paintRectPoints(const QPageLayout& layout) {
    const QRectF inches = layout.paintRect(QPageLayout::Inch);
    return QRectF(0, 0, inches.width() * 72.0, inches.height() * 72.0);
}
} // namespace

double pageDepthPerInch(const PageInput& in, const QPageLayout& layout) {
    return planPages(in, paintRectPoints(layout), 72.0).perInch;
}

int logPageCount(const PageInput& in, const QPageLayout& layout) {
    return static_cast<int>(planPages(in, paintRectPoints(layout), 72.0).windows.size());
}

void renderLogPage(QPainter& p, const QRectF& rect, double dpi, const PageInput& in, int pageIndex,
                   int pageCount, PageRecord* record) {
    TextSinkFunction collect;
    if (record)
        collect = [record, pageIndex](std::string_view t, const QRectF& box) {
            record->texts.emplace_back(t);
            record->boxes.push_back(box);
            record->textPages.push_back(pageIndex);
        };
    const TextSink sink{collect};
    const PageGeometry g = geometryOf(rect, dpi, in, pageIndex);
    const PlotSettings& s = in.model.settings();
    const PagePlan plan = planPages(in, rect, dpi);
    const DepthWindow window =
        plan.windows[static_cast<std::size_t>(std::clamp(pageIndex, 0, int(plan.windows.size()) - 1))];

    p.save();
    QFont font(QStringLiteral("DejaVu Sans"));
    font.setPointSizeF(fontPoints(in));
    p.setFont(font);
    p.setPen(Qt::black);
    if (fullTitleBlock(in, pageIndex))
        drawTitleBlock(p, g, in, sink);
    else
        drawShortHeader(p, g, in, window, pageIndex, sink);

    DepthPlotStyle style;
    style.font = font;
    style.font.setPointSizeF(fontPoints(in) * kPlotFontScale);
    style.lineHeight = g.lh * kPlotFontScale;
    style.textSink = collect;
    for (const CalloutWave& c : in.callouts)
        style.bands.push_back({c.top, c.bottom, calloutSlotColour(c.slot), c.caption});
    // A fixed printed scale sets the linear %RE track's range from its printed width as well.
    std::optional<PlotModel> scaled;
    const PlotModel* model = &in.model;
    const QRectF plotArea(
        g.plot.left(), g.plot.top(), g.plot.width(),
        std::min(g.plot.height(), kTrackTitleLines * style.lineHeight + window.span() / plan.perInch * dpi));
    const std::vector<QRectF> rects = trackRects(plotArea, in.model, style, p.device());
    if (s.perInch && s.rePerInch > 0) {
        const auto& tracks = in.model.tracks();
        for (std::size_t i = 0; i < tracks.size() && i < rects.size(); ++i) {
            if (tracks[i].kind != TrackKind::Signal || tracks[i].scale != Scale::Linear) continue;
            scaled = in.model;
            scaled->setTrackRange(TrackKind::Signal, tracks[i].min,
                                  tracks[i].min + s.rePerInch * rects[i].width() / dpi);
            model = &*scaled;
        }
    }
    paintDepthPlot(p, plotArea, *model, window, style);
    // The watermark lies over the tracks only, under nothing a reader needs.
    QRectF tracksArea = g.plot;
    if (!rects.empty()) tracksArea = QRectF(rects.front().topLeft(), rects.back().bottomRight());
    drawDiagonal(p, tracksArea, qs(s.watermark), QColor(120, 120, 120, 60), fontPoints(in) * 5.0, sink);
    if (s.draft)
        drawDiagonal(p, tracksArea, QStringLiteral("DRAFT"), QColor(220, 0, 0, 50), fontPoints(in) * 8.0,
                     sink);

    drawSide(p, g, in, pageIndex, style.font, collect, sink);

    p.setPen(Qt::black);
    setPointSize(p, fontPoints(in) * kPlotFontScale);
    drawText(p, g.footer, Qt::AlignLeft | Qt::AlignVCenter, qs(in.creator), sink);
    drawText(p, g.footer, Qt::AlignHCenter | Qt::AlignVCenter, scaleNote(in, plan.perInch), sink);
    drawText(p, g.footer, Qt::AlignRight | Qt::AlignVCenter,
             QStringLiteral("Page %1 of %2").arg(pageIndex + 1).arg(pageCount), sink);
    p.restore();
    if (record) {
        record->windows.push_back(window);
        record->depthPerInch = plan.perInch;
        const QRectF heads = rects.empty() ? QRectF()
                                           : QRectF(QPointF(rects.front().left(), g.plot.top()),
                                                    QPointF(rects.back().right(), rects.front().top()));
        record->trackHeads.push_back(p.transform().mapRect(heads));
        record->dataAreas.push_back(p.transform().mapRect(rects.empty() ? QRectF() : tracksArea));
    }
}

vxPDF::vxPDF(const QString& path) : path_(path), writer_(std::make_unique<QPdfWriter>(path)) {
    writer_->setResolution(300);
}

vxPDF::~vxPDF() {
    if (painter_ && painter_->isActive()) painter_->end();
}

void vxPDF::setTitle(const QString& title) {
    writer_->setTitle(title);
}
void vxPDF::setCreator(const QString& creator) {
    writer_->setCreator(creator);
}
void vxPDF::setPageLayout(const QPageLayout& layout) {
    writer_->setPageLayout(layout);
}
void vxPDF::setResolution(int dpi) {
    writer_->setResolution(std::clamp(dpi, 72, 1200));
}
int vxPDF::resolution() const {
    return writer_->resolution();
}

bool vxPDF::begin() {
    painter_ = std::make_unique<QPainter>();
    if (!painter_->begin(writer_.get())) {
        error_ = QStringLiteral("cannot write %1").arg(path_);
        painter_.reset();
        return false;
    }
    return true;
}

QPainter& vxPDF::painter() {
    return *painter_;
}

QRectF vxPDF::pageRect() const {
    // The painter's origin is the printable area's top-left corner.
    const QRect r = writer_->pageLayout().paintRectPixels(writer_->resolution());
    return QRectF(0, 0, r.width(), r.height());
}

bool vxPDF::newPage() {
    return writer_->newPage();
}

bool vxPDF::end() {
    if (!painter_) return false;
    const bool ok = painter_->end();
    painter_.reset();
    if (!ok) error_ = QStringLiteral("writing %1 failed").arg(path_);
    return ok;
}

bool writePdfPage(const std::string& path, const PageInput& in, std::string& error, PageRecord* record) {
    const QPageLayout layout = pageLayoutFor(in.model.settings());
    vxPDF pdf(QString::fromStdString(path));
    pdf.setPageLayout(layout);
    const int pages = static_cast<int>(planPages(in, pdf.pageRect(), pdf.resolution()).windows.size());
    pdf.setTitle(QString::fromStdString(in.log.File_Title_NoExt().empty() ? in.log.File_Title()
                                                                          : in.log.File_Title_NoExt()));
    pdf.setCreator(QString::fromStdString(in.creator));
    if (!pdf.begin()) {
        error = pdf.errorText().toStdString();
        return false;
    }
    for (int i = 0; i < pages; ++i) {
        if (i > 0 && !pdf.newPage()) {
            error = "cannot start page " + std::to_string(i + 1);
            pdf.end();
            return false;
        }
        renderLogPage(pdf.painter(), pdf.pageRect(), pdf.resolution(), in, i, pages, record);
    }
    if (!pdf.end()) {
        error = pdf.errorText().toStdString();
        return false;
    }
    if (record) {
        record->pages = pages;
        record->pageSizePoints = layout.fullRectPoints().size().toSizeF();
    }
    return true;
}

bool writeJpgPage(const std::string& path, const PageInput& in, std::string& error, int dpi, int quality,
                  PageRecord* record) {
    dpi = std::clamp(dpi, 36, 600);
    const QPageLayout layout = pageLayoutFor(in.model.settings());
    const QRect full = layout.fullRectPixels(dpi);
    const QRect paint = layout.paintRectPixels(dpi);
    const int pages =
        static_cast<int>(planPages(in, QRectF(0, 0, paint.width(), paint.height()), dpi).windows.size());
    const QFileInfo info(QString::fromStdString(path));
    for (int i = 0; i < pages; ++i) {
        QImage image(full.size(), QImage::Format_RGB32);
        if (image.isNull()) {
            error = "no memory for a page image";
            return false;
        }
        const int dotsPerMetre = static_cast<int>(std::lround(dpi / 0.0254));
        image.setDotsPerMeterX(dotsPerMetre);
        image.setDotsPerMeterY(dotsPerMetre);
        image.fill(Qt::white);
        {
            QPainter p(&image);
            p.translate(paint.topLeft());
            renderLogPage(p, QRectF(0, 0, paint.width(), paint.height()), dpi, in, i, pages, record);
        }
        const QString out = i == 0 ? info.filePath()
                                   : info.path() + QLatin1Char('/') + info.completeBaseName() +
                                         QStringLiteral("_%1.").arg(i + 1) + info.suffix();
        if (!image.save(out, "JPG", std::clamp(quality, 1, 100))) {
            error = "cannot write " + out.toStdString();
            return false;
        }
    }
    if (record) {
        record->pages = pages;
        record->pageSizePoints = layout.fullRectPoints().size().toSizeF();
    }
    return true;
}

namespace {
PlotModel modelFor(const cZEL_Data& log, const LogArrays& arrays, const LogPageRequest& r) {
    PlotSource source{log, arrays};
    source.labels = r.labels;
    source.birchMode = r.birchMode;
    return PlotModel::build(source, r.settings);
}
} // namespace

LogPage::LogPage(const cZEL_Data& log, const LogArrays& arrays, const LogPageRequest& r)
    : model_(modelFor(log, arrays, r)),
      input_(log, model_,
             logCallouts(log, arrays,
                         r.calloutFluorColour ? fluorescenceOnly(model_.channelColours())
                                              : model_.channelColours())) {
    input_.modelName = r.modelName;
    input_.fontPoints = r.fontPoints;
    // The footer names the program that made the page, the same from every program.
    input_.creator = std::string("ZEL ") + kVersionText;
    input_.waveDeltaX = log.Wave_DeltaX();
    input_.company = r.company;
    input_.logoPath = r.logoPath;
    input_.channelLabels = r.labels;
}

bool LogPage::writePdf(const std::string& path, std::string& error, PageRecord* record) const {
    return writePdfPage(path, input_, error, record);
}

bool LogPage::writeJpg(const std::string& path, std::string& error, int dpi, PageRecord* record) const {
    return writeJpgPage(path, input_, error, dpi, 90, record);
}

} // namespace zel::plot
