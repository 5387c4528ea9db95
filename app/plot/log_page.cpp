#include "app/plot/log_page.h"

#include "analysis/k_estimate.h"
#include "app/plot/paint_text.h"
#include "app/plot/qt_text.h"
#include "common/date_time.h"

#include <QFileInfo>
#include <QImage>
#include <QMarginsF>
#include <QPageSize>

#include <algorithm>
#include <cmath>

namespace zel::plot {
namespace {

constexpr int kMaxPages = 200;
constexpr double kHeaderLines = 8.5;
constexpr double kHiddenHeaderLines = 2.0;
constexpr double kFooterLines = 1.5;
constexpr double kTrackTitleLines = 3.2; // depth_plot's title block
constexpr double kPlotFontScale = 0.85;  // the plot's text against the header's

int fontPoints(const PageInput& in) {
    return in.fontPoints > 0 ? in.fontPoints : 10;
}

// Line height of the page's text in device units: fixed by the font's point size, so that the page count
// (computed before any painter exists) and the drawing agree on where the tracks start and end.
double lineHeight(const PageInput& in, double dpi) {
    return 1.3 * fontPoints(in) / 72.0 * dpi;
}

struct PageGeometry {
    QRectF header, body, footer, plot, waves;
    double lh = 0;
};

PageGeometry geometryOf(const QRectF& rect, double dpi, const PageInput& in) {
    PageGeometry g;
    g.lh = lineHeight(in, dpi);
    const PlotSettings& s = in.model.settings();
    const double headerHeight = (s.hideInfo ? kHiddenHeaderLines : kHeaderLines) * g.lh;
    g.header = QRectF(rect.left(), rect.top(), rect.width(), headerHeight);
    g.footer = QRectF(rect.left(), rect.bottom() - kFooterLines * g.lh, rect.width(), kFooterLines * g.lh);
    g.body = QRectF(rect.left(), g.header.bottom(), rect.width(),
                    std::max(0.0, g.footer.top() - g.header.bottom()));
    const bool waves = s.calloutWaves && !in.callouts.empty();
    const double wavesWidth = waves ? rect.width() * (s.landscape ? 0.4 : 0.36) : 0.0;
    g.plot = QRectF(g.body.left(), g.body.top(), g.body.width() - wavesWidth, g.body.height());
    g.waves = QRectF(g.plot.right() + g.lh * 0.5, g.body.top(), std::max(0.0, wavesWidth - g.lh * 0.5),
                     g.body.height());
    return g;
}

DepthWindow pageWindow(const PageInput& in, double plotDataInches, int page) {
    const DepthWindow all = in.window.value_or(in.model.defaultWindow());
    const PlotSettings& s = in.model.settings();
    if (!s.perInch || !(plotDataInches > 0)) return all;
    const double perPage = s.depthPerInch * plotDataInches;
    return {all.top + page * perPage, all.top + (page + 1) * perPage};
}

double plotDataInches(const PageGeometry& g, double dpi) {
    return std::max(0.0, g.plot.height() - kTrackTitleLines * kPlotFontScale * g.lh) / dpi;
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

void drawHeader(QPainter& p, const PageGeometry& g, const PageInput& in, const TextSink& sink) {
    const cZEL_Data& log = in.log;
    const double lh = g.lh;
    QFont titleFont = p.font();
    titleFont.setBold(true);
    titleFont.setPointSizeF(titleFont.pointSizeF() * 1.4);
    p.save();
    p.setFont(titleFont);
    p.setPen(Qt::black);
    const QString title =
        (in.modelName.empty() ? QString() : qs(in.modelName) + QStringLiteral("  ")) +
        QString::fromStdString(log.File_Title_NoExt().empty() ? log.File_Title() : log.File_Title_NoExt());
    drawText(p, QRectF(g.header.left(), g.header.top(), g.header.width(), 1.5 * lh),
             Qt::AlignLeft | Qt::AlignVCenter, title, sink);
    if (in.model.settings().draft) {
        p.setPen(QColor(200, 0, 0));
        drawText(p, QRectF(g.header.left(), g.header.top(), g.header.width(), 1.5 * lh),
                 Qt::AlignRight | Qt::AlignVCenter, QStringLiteral("DRAFT"), sink);
    }
    p.restore();
    if (in.model.settings().hideInfo) return;

    const char* unit = log.Metric() ? "m" : "ft";
    const double maxDepth = log.Metric() ? log.Depth_Max_M() : log.Depth_Max_Ft();
    const double maxSignalDepth = log.Metric() ? log.Signal_MaxDepth_M() : log.Signal_MaxDepth_Ft();
    const std::vector<QString> left{
        QStringLiteral("Site: ") + qs(log.Site()),
        QStringLiteral("Client: ") + qs(log.Client()),
        QStringLiteral("Job: ") + qs(log.JobNumber()),
        QStringLiteral("Operator: ") + qs(log.Operator()) + QStringLiteral("   Unit: ") + qs(log.ZEL_Unit()),
        QStringLiteral("Start: ") + qs(generalDateText(log.Time_Start())) + QStringLiteral(" ") +
            qs(log.TimeZone()),
        QStringLiteral("Stop: ") + qs(generalDateText(log.Time_Stop())),
    };
    const bool fix = !log.Latitude().empty() || log.Latitude_Dec() != 0.0 || log.Longitude_Dec() != 0.0;
    const std::vector<QString> right{
        fix ? QStringLiteral("GPS: %1, %2 (%3)")
                  .arg(number(log.Latitude_Dec(), 6), number(log.Longitude_Dec(), 6), qs(log.CoordSystem()))
            : QStringLiteral("GPS: no fix"),
        fix ? QStringLiteral("Fix %1   Satellites %2   HDOP %3   Alt. %4 %5")
                  .arg(qs(log.QualityIndicator()), qs(log.Satellites()), qs(log.HDOP()),
                       number(log.Metric() ? log.Altitude_M() : log.Altitude_Ft(), 1),
                       QString::fromLatin1(unit))
            : QString(),
        QStringLiteral("Max %RE: %1 at %2 %3")
            .arg(number(log.Signal_MaxValue(), 1), number(maxSignalDepth, 2), QString::fromLatin1(unit)),
        QStringLiteral("Max depth: %1 %2").arg(number(maxDepth, 2), QString::fromLatin1(unit)),
        QStringLiteral("Points: %1   RE area: %2 pVs")
            .arg(log.DataPoints() + 1)
            .arg(number(log.RE_Area(), 1)),
        QStringLiteral("Mode: ") + qs(log.mode()),
    };
    const double top = g.header.top() + 1.6 * lh;
    const double half = g.header.width() / 2;
    for (std::size_t i = 0; i < left.size(); ++i)
        drawText(p, QRectF(g.header.left(), top + double(i) * lh, half - lh, lh),
                 Qt::AlignLeft | Qt::AlignVCenter, left[i], sink);
    for (std::size_t i = 0; i < right.size(); ++i)
        drawText(p, QRectF(g.header.left() + half, top + double(i) * lh, half, lh),
                 Qt::AlignLeft | Qt::AlignVCenter, right[i], sink);
    const QString hp = hydraulicLine(log);
    if (!hp.isEmpty())
        drawText(p, QRectF(g.header.left(), top + 6 * lh, half - lh, lh), Qt::AlignLeft | Qt::AlignVCenter,
                 hp, sink);
    QString note = qs(log.Note());
    note.replace(QStringLiteral("\r\n"), QStringLiteral(" / "));
    const double noteLeft = hp.isEmpty() ? g.header.left() : g.header.left() + half;
    if (!note.isEmpty())
        drawText(p, QRectF(noteLeft, top + 6 * lh, g.header.right() - noteLeft, lh),
                 Qt::AlignLeft | Qt::AlignVCenter, QStringLiteral("Note: ") + note, sink);
}

void drawDiagonal(QPainter& p, const QRectF& area, const QString& text, const QColor& colour,
                  double pointSize, const TextSink& sink) {
    if (text.isEmpty()) return;
    p.save();
    QFont f = p.font();
    f.setPointSizeF(pointSize);
    f.setBold(true);
    p.setFont(f);
    p.setPen(colour);
    p.translate(area.center());
    p.rotate(-45);
    const double w = std::hypot(area.width(), area.height());
    drawText(p, QRectF(-w / 2, -area.height() / 2, w, area.height()), Qt::AlignCenter, text, sink);
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

int logPageCount(const PageInput& in, const QPageLayout& layout) {
    const PlotSettings& s = in.model.settings();
    if (!s.perInch) return 1;
    constexpr double dpi = 72.0;
    const PageGeometry g = geometryOf(layout.paintRectPoints().toRectF(), dpi, in);
    const double inches = plotDataInches(g, dpi);
    const DepthWindow all = in.window.value_or(in.model.defaultWindow());
    if (!(inches > 0) || !(s.depthPerInch > 0)) return 1;
    const double pages = std::ceil(all.span() / (s.depthPerInch * inches) - 1e-9);
    if (!std::isfinite(pages) || pages < 1) return 1;
    return static_cast<int>(std::min<double>(pages, kMaxPages));
}

void renderLogPage(QPainter& p, const QRectF& rect, double dpi, const PageInput& in, int pageIndex,
                   int pageCount, PageRecord* record) {
    std::function<void(std::string_view)> collect;
    if (record) collect = [record](std::string_view t) { record->texts.emplace_back(t); };
    const TextSink sink{collect};
    const PageGeometry g = geometryOf(rect, dpi, in);
    const PlotSettings& s = in.model.settings();

    p.save();
    QFont font(QStringLiteral("DejaVu Sans"));
    font.setPointSizeF(fontPoints(in));
    p.setFont(font);
    p.setPen(Qt::black);
    drawHeader(p, g, in, sink);

    DepthPlotStyle style;
    style.font = font;
    style.font.setPointSizeF(fontPoints(in) * kPlotFontScale);
    style.lineHeight = g.lh * kPlotFontScale;
    style.textSink = collect;
    for (const CalloutWave& c : in.callouts)
        style.bands.push_back({c.top, c.bottom, calloutSlotColour(c.slot), c.caption});
    const DepthWindow window = pageWindow(in, plotDataInches(g, dpi), pageIndex);
    // A fixed printed scale sets the linear %RE track's range from its printed width as well.
    std::optional<PlotModel> scaled;
    const PlotModel* model = &in.model;
    if (s.perInch && s.rePerInch > 0) {
        const auto& tracks = in.model.tracks();
        const std::vector<QRectF> rects = trackRects(g.plot, in.model, style, p.device());
        for (std::size_t i = 0; i < tracks.size() && i < rects.size(); ++i) {
            if (tracks[i].kind != TrackKind::Signal || tracks[i].scale != Scale::Linear) continue;
            scaled = in.model;
            scaled->setTrackRange(TrackKind::Signal, tracks[i].min,
                                  tracks[i].min + s.rePerInch * rects[i].width() / dpi);
            model = &*scaled;
        }
    }
    paintDepthPlot(p, g.plot, *model, window, style);

    if (g.waves.width() > 0 && g.waves.height() > 0) {
        WaveformView view;
        view.re = in.re;
        view.deltaX = in.waveDeltaX;
        view.title = "Callouts";
        view.callouts = in.callouts;
        view.depthUnit = in.model.depthUnit();
        view.font = style.font;
        view.textSink = collect;
        view.legend = false; // the page draws its own, larger, below
        // The waveforms above, the legend (colour swatches of the callouts) below them.
        paintWaveform(p, QRectF(g.waves.left(), g.waves.top(), g.waves.width(), g.waves.height() * 0.45),
                      view);
        double y = g.waves.top() + g.waves.height() * 0.48;
        for (const CalloutWave& c : in.callouts) {
            if (y + 2.2 * g.lh > g.waves.bottom()) break;
            const QRectF swatch(g.waves.left(), y, 2.0 * g.lh, 2.0 * g.lh);
            p.fillRect(swatch, QColor(c.colour.r, c.colour.g, c.colour.b));
            const Colour sc = calloutSlotColour(c.slot);
            p.setPen(QPen(QColor(sc.r, sc.g, sc.b), std::max(1.0, g.lh / 8)));
            p.drawRect(swatch);
            p.setPen(Qt::black);
            const QRectF text(swatch.right() + 0.5 * g.lh, y, g.waves.right() - swatch.right() - 0.5 * g.lh,
                              g.lh);
            drawText(p, text, Qt::AlignLeft | Qt::AlignVCenter, qs(c.caption), sink);
            drawText(p, text.translated(0, g.lh), Qt::AlignLeft | Qt::AlignVCenter,
                     QStringLiteral("%1-%2 %3   %RE %4")
                         .arg(number(c.top, 1), number(c.bottom, 1),
                              QString::fromLatin1(in.model.depthUnit()), number(c.meanSignal, 1)),
                     sink);
            y += 2.6 * g.lh;
        }
    }

    drawDiagonal(p, g.body, qs(s.watermark), QColor(120, 120, 120, 70), fontPoints(in) * 5.0, sink);
    if (s.draft)
        drawDiagonal(p, g.body, QStringLiteral("DRAFT"), QColor(220, 0, 0, 60), fontPoints(in) * 8.0, sink);

    p.setPen(Qt::black);
    drawText(p, g.footer, Qt::AlignLeft | Qt::AlignVCenter, qs(in.creator), sink);
    drawText(p, g.footer, Qt::AlignRight | Qt::AlignVCenter,
             QStringLiteral("Page %1 of %2").arg(pageIndex + 1).arg(pageCount), sink);
    p.restore();
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
    const int pages = logPageCount(in, layout);
    vxPDF pdf(QString::fromStdString(path));
    pdf.setPageLayout(layout);
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
    const int pages = logPageCount(in, layout);
    const QRect full = layout.fullRectPixels(dpi);
    const QRect paint = layout.paintRectPixels(dpi);
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

} // namespace zel::plot
