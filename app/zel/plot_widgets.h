#pragma once
// The screen side of the display library: the depth plot (wheel zooms about the pointer, a drag pans, the
// hover reads the values at the pointer's depth, a click selects a depth), the waveform of the selected
// depth with the callouts, and the RE panel shown after an RE.

#include "acquisition/reference.h"
#include "app/plot/depth_plot.h"
#include "app/plot/plot_model.h"
#include "app/plot/waveform_view.h"

#include <QWidget>

#include <functional>
#include <optional>
#include <vector>

class QLabel;

namespace zel::gui {

class DepthPlotWidget final : public QWidget {
public:
    explicit DepthPlotWidget(QWidget* parent = nullptr);

    // keepWindow: a live push or a redraw keeps the user's zoom; a new log starts at its default window.
    void setModel(plot::PlotModel model, bool keepWindow);
    const plot::PlotModel& model() const { return model_; }
    const plot::DepthWindow& depthWindow() const { return window_; }
    void setDepthWindow(const plot::DepthWindow& window);
    std::optional<double> selectedDepth() const { return selected_; }
    void selectDepth(double depth);
    // Back to the whole log (or the plot settings' depth range), following it again as it grows.
    void showWholeLog();
    // The callouts' depth ranges, marked across the tracks.
    void setBands(std::vector<plot::DepthBand> bands);
    const std::vector<plot::DepthBand>& bands() const { return bands_; }

    // The depth under a widget y, when y lies over the tracks.
    std::optional<double> depthAt(double y) const;
    // One line: "12.35 ft  %RE 4.10  Rate 0.72 in/s ..."; empty away from any point.
    QString readoutAt(double depth) const;

    std::function<void(const QString&)> onHover;
    std::function<void(double depth)> onSelect;

protected:
    void paintEvent(QPaintEvent*) override;
    void wheelEvent(QWheelEvent* e) override;
    void mousePressEvent(QMouseEvent* e) override;
    void mouseMoveEvent(QMouseEvent* e) override;
    void mouseReleaseEvent(QMouseEvent* e) override;
    void leaveEvent(QEvent*) override;
    void mouseDoubleClickEvent(QMouseEvent* e) override;

private:
    QRectF plotRect() const;
    plot::DepthPlotStyle style() const;
    void clampWindow();

    plot::PlotModel model_;
    plot::DepthWindow window_;
    std::optional<double> hover_;
    std::optional<double> selected_;
    std::optional<QPointF> dragFrom_;
    plot::DepthWindow dragWindow_;
    bool dragged_ = false;
    bool userWindow_ = false;
    std::vector<plot::DepthBand> bands_;
};

class WaveformWidget final : public QWidget {
public:
    explicit WaveformWidget(QWidget* parent = nullptr);
    // The view keeps its own copies: the log may grow under it during a push.
    void setView(plot::WaveformView view, std::vector<float> wave, std::vector<float> re,
                 std::vector<float> background);
    const plot::WaveformView& view() const { return view_; }
    // Where the last paint put the plot itself, inside the widget.
    QRectF plotArea() const { return plotArea_; }

protected:
    void paintEvent(QPaintEvent*) override;

private:
    plot::WaveformView view_;
    std::vector<float> wave_, re_, background_;
    QRectF plotArea_;
};

// The RE's channel shares against the mode's target, the scatter ratio, off-target values in red.
class REPanelWidget final : public QWidget {
public:
    explicit REPanelWidget(QWidget* parent = nullptr);
    void show(const acq::REPanel& panel, float areaPVs, const std::array<float, 4>& channelAreas);
    void clear();
    // No RE yet this session: what is known of the last one.
    void showStored(const QString& text);
    // HD-board mode: the board's RE and background, four channel values in volts.
    void showBoard(const std::array<float, 4>& re, const std::array<float, 4>& background);
    QString text() const; // everything shown, for the tests and the status line

private:
    QLabel* area_;
    QLabel* target_;
    std::array<QLabel*, 4> values_{};
    QLabel* ratio_;
};

} // namespace zel::gui
