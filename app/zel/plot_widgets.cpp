#include "app/zel/plot_widgets.h"

#include "app/plot/qt_text.h"

#include "common/number_text.h"

#include <QGridLayout>
#include <QLabel>
#include <QMouseEvent>
#include <QPainter>
#include <QWheelEvent>

#include <cmath>

namespace zel::gui {

namespace {

QString qs(const std::string& s) {
    return toQt(s);
}

constexpr double kWheelStep = 0.8; // one wheel notch shows 80 % of the depth span
constexpr int kMargin = 4;

} // namespace

DepthPlotWidget::DepthPlotWidget(QWidget* parent) : QWidget(parent) {
    setObjectName("picDepthPlot");
    setMouseTracking(true);
    setMinimumSize(240, 240);
    setAutoFillBackground(true);
    QPalette pal = palette();
    pal.setColor(QPalette::Window, Qt::white);
    setPalette(pal);
}

void DepthPlotWidget::setModel(plot::PlotModel model, bool keepWindow) {
    model_ = std::move(model);
    if (!keepWindow) {
        selected_.reset();
        userWindow_ = false;
    }
    // Until the user zooms or pans, the window follows the log (a push grows it point by point).
    if (!userWindow_) window_ = model_.defaultWindow();
    clampWindow();
    update();
}

void DepthPlotWidget::setDepthWindow(const plot::DepthWindow& window) {
    window_ = window;
    userWindow_ = true;
    clampWindow();
    update();
}

void DepthPlotWidget::selectDepth(double depth) {
    selected_ = depth;
    update();
    if (onSelect) onSelect(depth);
}

// The user may look a little beyond the log (a push goes on deeper) and the plot settings' range, never
// further out, and never at a window without a span.
void DepthPlotWidget::clampWindow() {
    const plot::DepthWindow whole = model_.defaultWindow();
    const double top = std::min(whole.top, model_.dataTop());
    const double bottom = std::max(whole.bottom, model_.dataBottom());
    const double margin = std::max(0.05 * (bottom - top), 0.1);
    window_ = window_.clamped(top - margin, bottom + margin, 0.1);
}

void DepthPlotWidget::showWholeLog() {
    userWindow_ = false;
    window_ = model_.defaultWindow();
    clampWindow();
    update();
}

void DepthPlotWidget::mouseDoubleClickEvent(QMouseEvent*) {
    showWholeLog();
}

QRectF DepthPlotWidget::plotRect() const {
    return QRectF(rect()).adjusted(kMargin, kMargin, -kMargin, -kMargin);
}

plot::DepthPlotStyle DepthPlotWidget::style() const {
    plot::DepthPlotStyle s;
    s.font = font();
    s.hoverDepth = hover_;
    s.bands = bands_;
    return s;
}

void DepthPlotWidget::setBands(std::vector<plot::DepthBand> bands) {
    bands_ = std::move(bands);
    update();
}

std::optional<double> DepthPlotWidget::depthAt(double y) const {
    const std::vector<QRectF> tracks = plot::trackRects(plotRect(), model_, style());
    if (tracks.empty()) return std::nullopt;
    const QRectF& r = tracks.front();
    if (y < r.top() || y > r.bottom() || r.height() <= 0) return std::nullopt;
    return window_.toDepth(y, r.top(), r.height());
}

QString DepthPlotWidget::readoutAt(double depth) const {
    const plot::PointReadout r = model_.valuesAt(depth);
    if (r.point < 0) return {};
    QString s = qs(formatNumber(r.depth, "#0.00")) + ' ' + model_.depthUnit();
    for (const plot::TrackValue& v : r.values) {
        s += QStringLiteral("   ") + qs(v.title) + ' ' + qs(formatNumber(v.value, "#0.00"));
        if (!v.unit.empty() && v.unit != v.title) s += ' ' + qs(v.unit);
    }
    return s;
}

void DepthPlotWidget::paintEvent(QPaintEvent*) {
    QPainter p(this);
    p.setRenderHint(QPainter::Antialiasing, false);
    if (model_.tracks().empty()) {
        p.drawText(rect(), Qt::AlignCenter, QStringLiteral("No log loaded"));
        return;
    }
    plot::paintDepthPlot(p, plotRect(), model_, window_, style());
    if (selected_) {
        const std::vector<QRectF> tracks = plot::trackRects(plotRect(), model_, style());
        if (!tracks.empty()) {
            const QRectF& first = tracks.front();
            const double y = window_.toY(*selected_, first.top(), first.height());
            if (y >= first.top() && y <= first.bottom()) {
                p.setPen(QPen(QColor(0, 90, 200), 2));
                p.drawLine(QPointF(first.left(), y), QPointF(tracks.back().right(), y));
            }
        }
    }
}

void DepthPlotWidget::wheelEvent(QWheelEvent* e) {
    const double notches = e->angleDelta().y() / 120.0;
    if (notches == 0.0) return;
    const std::optional<double> anchor = depthAt(e->position().y());
    const double at = anchor.value_or((window_.top + window_.bottom) / 2);
    window_ = window_.zoomed(std::pow(kWheelStep, notches), at);
    userWindow_ = true;
    clampWindow();
    update();
    e->accept();
}

void DepthPlotWidget::mousePressEvent(QMouseEvent* e) {
    if (e->button() != Qt::LeftButton) return;
    dragFrom_ = e->position();
    dragWindow_ = window_;
    dragged_ = false;
}

void DepthPlotWidget::mouseMoveEvent(QMouseEvent* e) {
    if (dragFrom_ && (e->buttons() & Qt::LeftButton)) {
        const std::vector<QRectF> tracks = plot::trackRects(plotRect(), model_, style());
        const double dy = e->position().y() - dragFrom_->y();
        if (std::abs(dy) > 3) dragged_ = true;
        if (dragged_ && !tracks.empty() && tracks.front().height() > 0) {
            // Dragging down brings shallower depths into view, as a page is dragged.
            window_ = dragWindow_.panned(-dy * dragWindow_.span() / tracks.front().height());
            userWindow_ = true;
            clampWindow();
        }
    }
    hover_ = depthAt(e->position().y());
    if (onHover) onHover(hover_ ? readoutAt(*hover_) : QString());
    update();
}

void DepthPlotWidget::mouseReleaseEvent(QMouseEvent* e) {
    if (e->button() != Qt::LeftButton || !dragFrom_) return;
    if (!dragged_)
        if (const std::optional<double> d = depthAt(e->position().y())) selectDepth(*d);
    dragFrom_.reset();
}

void DepthPlotWidget::leaveEvent(QEvent*) {
    hover_.reset();
    if (onHover) onHover(QString());
    update();
}

WaveformWidget::WaveformWidget(QWidget* parent) : QWidget(parent) {
    setObjectName("picWaveform");
    setMinimumSize(240, 160);
    setAutoFillBackground(true);
    QPalette pal = palette();
    pal.setColor(QPalette::Window, Qt::white);
    setPalette(pal);
}

void WaveformWidget::setView(plot::WaveformView view, std::vector<float> wave, std::vector<float> re,
                             std::vector<float> background) {
    wave_ = std::move(wave);
    re_ = std::move(re);
    background_ = std::move(background);
    view_ = std::move(view);
    view_.wave = wave_;
    view_.re = re_;
    view_.background = background_;
    update();
}

void WaveformWidget::paintEvent(QPaintEvent*) {
    QPainter p(this);
    plot::WaveformView v = view_;
    v.font = font();
    plotArea_ = plot::paintWaveform(p, QRectF(rect()).adjusted(kMargin, kMargin, -kMargin, -kMargin), v);
}

REPanelWidget::REPanelWidget(QWidget* parent) : QWidget(parent) {
    setObjectName("fraREPanel");
    auto* grid = new QGridLayout(this);
    area_ = new QLabel(this);
    target_ = new QLabel(this);
    ratio_ = new QLabel(this);
    grid->addWidget(area_, 0, 0, 1, 4);
    grid->addWidget(target_, 1, 0, 1, 4);
    for (int i = 0; i < 4; ++i) {
        values_[i] = new QLabel(this);
        grid->addWidget(values_[i], 2, i);
    }
    grid->addWidget(ratio_, 3, 0, 1, 4);
    clear();
}

void REPanelWidget::clear() {
    area_->setText(QStringLiteral("No RE taken"));
    target_->clear();
    ratio_->clear();
    for (QLabel* l : values_)
        l->clear();
}

void REPanelWidget::show(const acq::REPanel& panel, float areaPVs, const std::array<float, 4>& channelAreas) {
    const auto mark = [](QLabel* l, bool off) {
        l->setStyleSheet(off ? QStringLiteral("color: #c00000; font-weight: bold;") : QString());
    };
    area_->setText(QStringLiteral("RE area: ") + qs(formatNumber(areaPVs, "#0")) + QStringLiteral(" pVs"));
    target_->setText(qs(panel.targetText));
    for (int i = 0; i < 4; ++i) {
        QString t;
        if (i < panel.count) {
            // Modes that judge the scatter ratio show it in the first place, as their target text does.
            const bool ratioFirst = panel.ratioShown && panel.targetText.rfind("Target: 8.0", 0) == 0;
            t = ratioFirst && i == 0 ? qs(formatNumber(panel.value[i], "#0.0"))
                                     : qs(formatNumber(panel.value[i], "#0.0")) + '%';
        } else {
            t = QStringLiteral("CH%1: %2").arg(i + 1).arg(qs(formatNumber(channelAreas[i], "#0")));
        }
        values_[i]->setText(t);
        mark(values_[i], i < panel.count && panel.offTarget[i]);
    }
    ratio_->setText(qs(panel.ratioText));
    mark(ratio_, panel.ratioOffTarget);
}

void REPanelWidget::showBoard(const std::array<float, 4>& re, const std::array<float, 4>& background) {
    clear();
    float above = 0.0f;
    for (std::size_t i = 0; i < re.size(); ++i)
        above += re[i] - background[i];
    area_->setText(QStringLiteral("Board RE: ") + qs(formatNumber(above, "#0.000")) +
                   QStringLiteral(" V above the background"));
    for (std::size_t i = 0; i < re.size(); ++i)
        values_[i]->setText(QStringLiteral("CH%1: %2 V").arg(i + 1).arg(qs(formatNumber(re[i], "#0.000"))));
}

void REPanelWidget::showStored(const QString& text) {
    clear();
    target_->setText(text);
}

QString REPanelWidget::text() const {
    QStringList parts{area_->text(), target_->text()};
    for (QLabel* l : values_)
        parts << l->text();
    parts << ratio_->text();
    parts.removeAll(QString());
    return parts.join(QStringLiteral(" | "));
}

} // namespace zel::gui
