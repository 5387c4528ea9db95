#include "app/zel/dissipation_window.h"

#include "analysis/k_estimate.h"
#include "app/plot/qt_text.h"
#include "common/number_text.h"
#include "log/plot_companion.h"
#include "log/raw_log_writer.h"

#include <QDialogButtonBox>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QPainter>
#include <QPainterPath>
#include <QPushButton>
#include <QTableWidget>
#include <QVBoxLayout>

#include <algorithm>
#include <cmath>

namespace zel::gui {

namespace {

enum Column { kTest, kDepth, kStatic, kWaterTable, kIncluded, kColumns };

// Two small plots of one curve: pressure against time, and against the square root of time, where the early
// fall of a dissipation test is a straight line.
class CurveView final : public QWidget {
public:
    const DissipationCurve* curve = nullptr;
    double level = 0.0;

protected:
    void paintEvent(QPaintEvent*) override {
        QPainter p(this);
        p.fillRect(rect(), Qt::white);
        if (!curve || curve->timeS.size() < 2) {
            p.drawText(rect(), Qt::AlignCenter, QStringLiteral("No curve kept for this test"));
            return;
        }
        const int w = width() / 2;
        draw(p, QRectF(0, 0, w, height()), false);
        draw(p, QRectF(w, 0, width() - w, height()), true);
    }

private:
    void draw(QPainter& p, const QRectF& area, bool sqrtTime) const {
        const QRectF plot = area.adjusted(50, 10, -10, -30);
        const auto x = [&](float t) { return sqrtTime ? std::sqrt(std::max(0.0f, t)) : t; };
        const double xMax = std::max(1e-6, static_cast<double>(x(curve->timeS.back())));
        const auto [lo, hi] = std::minmax_element(curve->presDown.begin(), curve->presDown.end());
        double yMin = std::min<double>(*lo, level), yMax = std::max<double>(*hi, level);
        if (yMax - yMin < 0.01) yMax = yMin + 0.01;
        const auto toPoint = [&](double xv, double yv) {
            return QPointF(plot.left() + plot.width() * xv / xMax,
                           plot.bottom() - plot.height() * (yv - yMin) / (yMax - yMin));
        };
        p.setPen(Qt::black);
        p.drawRect(plot);
        p.drawText(QRectF(area.left(), plot.bottom() + 5, area.width(), 20), Qt::AlignCenter,
                   sqrtTime ? QStringLiteral("sqrt(time) (sqrt s)") : QStringLiteral("time (s)"));
        p.drawText(QRectF(area.left(), plot.top(), 48, 16), Qt::AlignRight, toQt(formatNumber(yMax, "#0.0")));
        p.drawText(QRectF(area.left(), plot.bottom() - 16, 48, 16), Qt::AlignRight,
                   toQt(formatNumber(yMin, "#0.0")));
        QPainterPath path;
        for (std::size_t i = 0; i < curve->timeS.size(); ++i) {
            const QPointF pt = toPoint(x(curve->timeS[i]), curve->presDown[i]);
            if (i == 0)
                path.moveTo(pt);
            else
                path.lineTo(pt);
        }
        p.setPen(QPen(QColor(0, 90, 220), 1.5));
        p.drawPath(path);
        // The static pressure the water table is read from.
        p.setPen(QPen(QColor(200, 0, 0), 1, Qt::DashLine));
        p.drawLine(toPoint(0, level), toPoint(xMax, level));
    }
};

bool slotInUse(const cZEL_Data& log, int i) {
    return log.DisDepth(i) != 0.0f || log.DisPres(i) != 0.0f || log.DisWT(i) != 0.0f || log.DisInclude(i);
}

} // namespace

DissipationWindow::DissipationWindow(Host& host, cZEL_Data& log, LogArrays& arrays,
                                     const RawLogContext& context, QWidget* parent)
    : QDialog(parent), host_(host), log_(log), arrays_(arrays), context_(context) {
    setObjectName("frmDissipation");
    setWindowTitle(QStringLiteral("Dissipation tests"));
    auto* v = new QVBoxLayout(this);
    table_ = new QTableWidget(0, kColumns);
    table_->setObjectName("tblDissipation");
    table_->setHorizontalHeaderLabels(
        {"Test", log_.Metric() ? "Depth (m)" : "Depth (ft)", "Static (PSI)", "Water table (ft)", "Included"});
    table_->horizontalHeader()->setStretchLastSection(true);
    table_->setSelectionBehavior(QAbstractItemView::SelectRows);
    v->addWidget(table_);
    auto* view = new CurveView;
    view->setMinimumSize(560, 220);
    curveView_ = view;
    v->addWidget(curveView_, 1);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Save | QDialogButtonBox::Close);
    v->addWidget(buttons);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    connect(buttons->button(QDialogButtonBox::Save), &QPushButton::clicked, this, [this] { save(); });

    std::string error;
    if (const auto curves = readDissipationFile(dissipationFilePath(log_.File_FullPath()), error))
        curves_ = *curves;
    else
        host_.message("The dissipation curves could not be read: " + error, MsgButtons::Ok,
                      MsgIcon::Exclamation);

    connect(table_, &QTableWidget::currentCellChanged, this, [this](int row) { showCurve(row); });
    connect(table_, &QTableWidget::itemChanged, this, [this](QTableWidgetItem* item) {
        if (filling_ || item->row() < 0 || item->row() >= static_cast<int>(slots_.size())) return;
        const int slot = slots_[item->row()];
        const int column = item->column();
        const bool checked = item->checkState() == Qt::Checked;
        const std::string text = fromQt(item->text());
        // The edit refills the table: it is applied once the cell's own signal is over.
        QMetaObject::invokeMethod(
            this,
            [this, slot, column, checked, text] {
                if (column == kIncluded) setIncluded(slot, checked);
                if (column != kStatic) return;
                const bool number =
                    !text.empty() && text.find_first_not_of("0123456789.-+ ") == std::string::npos;
                if (!number || !setStaticPressure(slot, val(text))) {
                    host_.message("Enter the static pressure in PSI.", MsgButtons::Ok, MsgIcon::Exclamation);
                    fill();
                }
            },
            Qt::QueuedConnection);
    });
    fill();
    if (!slots_.empty()) table_->setCurrentCell(0, kStatic);
}

void DissipationWindow::fill() {
    filling_ = true;
    slots_.clear();
    for (int i = 0; i < cZEL_Data::kDissipationTests; ++i)
        if (slotInUse(log_, i)) slots_.push_back(i);
    table_->setRowCount(static_cast<int>(slots_.size()));
    for (int row = 0; row < static_cast<int>(slots_.size()); ++row) {
        const int i = slots_[row];
        const auto cell = [&](int column, const std::string& text, bool editable) {
            auto* item = new QTableWidgetItem(toQt(text));
            if (!editable) item->setFlags(item->flags() & ~Qt::ItemIsEditable);
            table_->setItem(row, column, item);
            return item;
        };
        cell(kTest, std::to_string(i + 1), false);
        cell(kDepth, formatNumber(log_.DisDepth(i), "#0.00"), false);
        cell(kStatic, formatNumber(log_.DisPres(i), "#0.000"), true);
        cell(kWaterTable, formatNumber(log_.DisWT(i), "#0.00"), false);
        QTableWidgetItem* inc = cell(kIncluded, "", false);
        inc->setFlags(inc->flags() | Qt::ItemIsUserCheckable);
        inc->setCheckState(log_.DisInclude(i) ? Qt::Checked : Qt::Unchecked);
    }
    filling_ = false;
    showCurve(table_->currentRow());
}

void DissipationWindow::recompute() {
    if (arrays_.presFlow.width() > 0) estimateK(log_, arrays_.presFlow);
    fill();
    if (changed) changed();
}

void DissipationWindow::setIncluded(int slot, bool included) {
    log_.DisInclude(slot, included);
    recompute();
}

bool DissipationWindow::setStaticPressure(int slot, double psi) {
    if (!std::isfinite(psi) || psi < -100.0 || psi > 10000.0) return false;
    log_.DisPres(slot, static_cast<float>(psi));
    const double depthFt = log_.Metric() ? log_.DisDepth(slot) / 0.3048 : log_.DisDepth(slot);
    log_.DisWT(slot, static_cast<float>(waterTableFromStatic(depthFt, psi, log_.HPT1ft())));
    recompute();
    return true;
}

bool DissipationWindow::save() {
    const std::string raw = log_.File_FullPath();
    if (raw.empty()) return false;
    // The raw log is written whole, as every save of it is; the companion keeps the analyst's choice too.
    const RawLogSaveResult saved = SaveRawLog(raw, log_, arrays_, context_, host_);
    if (!saved.ok) return false;
    const std::string plt = log_.File_FullPath_Plt();
    if (!plt.empty()) SaveDissipation(plt, log_);
    return true;
}

void DissipationWindow::showCurve(int row) {
    auto* view = static_cast<CurveView*>(curveView_);
    view->curve = nullptr;
    if (row >= 0 && row < static_cast<int>(slots_.size())) {
        const int slot = slots_[row];
        for (const DissipationCurve& c : curves_)
            if (c.test == slot) view->curve = &c;
        view->level = log_.DisPres(slot);
    }
    view->update();
}

} // namespace zel::gui
