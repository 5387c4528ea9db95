#pragma once
// The classification's cross-plot: every classified point's features against each other, a panel for each
// pair of features (the channel shares CH1 x CH2, CH1 x CH3 ...; or the decay times), each point a dot in its
// class's colour, each class's centre a cross, and the classes named in a legend. Written as a PNG.

#include "analysis/classify.h"

#include <QPainter>
#include <QRectF>

#include <string>
#include <vector>

namespace zel::plot {

struct ClassPlotInput {
    const analysis::FeatureRows& features; // one row a point; empty rows are left out
    const analysis::Classification& classes;
    std::vector<std::string> axisNames; // one a feature: "CH1 share", "Tau1 (ns)" ...
    std::string title;                  // e.g. the log's name
};

// Where each panel's data frame lies and what it spans: the tests check dots by data, not by pixels.
struct ClassPanel {
    int xFeature = 0, yFeature = 1;
    QRectF frame;
    double xMin = 0, xMax = 1, yMin = 0, yMax = 1;
    QPointF toPixel(double x, double y) const {
        return {frame.left() + (x - xMin) / (xMax - xMin) * frame.width(),
                frame.bottom() - (y - yMin) / (yMax - yMin) * frame.height()};
    }
};

// Draws the panels (at most six: the pairs among the first four features) into rect.
std::vector<ClassPanel> paintClassPlot(QPainter& painter, const QRectF& rect, const ClassPlotInput& input);

// The picture as a PNG of width x height pixels; false with error set when it cannot be written.
bool writeClassPlot(const std::string& path, const ClassPlotInput& input, std::string& error,
                    int width = 1500, int height = 1000, std::vector<ClassPanel>* panels = nullptr);

} // namespace zel::plot
