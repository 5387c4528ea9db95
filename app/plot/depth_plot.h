#pragma once
// The depth plot painter: the same code draws the screen widget and the log page. Each track is decimated to
// one min/max pair per pixel row, so a repaint costs the same for 100 points as for 10,001.

#include "app/plot/paint_text.h"
#include "app/plot/plot_model.h"

#include <QFont>
#include <QPainter>
#include <QRectF>

#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace zel::plot {

// A depth range highlighted across the tracks (a callout), labelled at the left of the first track.
struct DepthBand {
    double top = 0.0;
    double bottom = 0.0;
    Colour colour;
    std::string label;
};

struct DepthPlotStyle {
    QFont font;                       // titles and scale labels; the page sets its mode's page font
    bool drawDepthScale = true;       // the depth axis at the left of the plot
    bool drawTitles = true;           // the title block with unit and range above each track
    double depthScaleWidth = 0;       // 0: derived from the font
    std::optional<double> hoverDepth; // a horizontal cursor line (the screen's hover)
    std::vector<DepthBand> bands;
    double lineHeight = 0; // the title block's line height; 0: the font's own (a page fixes it for its scale)
    // Called with every text drawn, so a page's tests can find its titles without reading pixels.
    TextSinkFunction textSink;
};

// Lays the model's tracks out side by side in rect (by their relative widths) and draws each for window.
void paintDepthPlot(QPainter& painter, const QRectF& rect, const PlotModel& model, const DepthWindow& window,
                    const DepthPlotStyle& style = {});

// Where each track lies inside rect, in the order of model.tracks() (for the widget's hit-testing). device:
// the one painted on, when its resolution is not the screen's (a page).
std::vector<QRectF> trackRects(const QRectF& rect, const PlotModel& model, const DepthPlotStyle& style = {},
                               QPaintDevice* device = nullptr);

} // namespace zel::plot
