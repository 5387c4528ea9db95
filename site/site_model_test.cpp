// Reading a boring's %RE at a depth between its points, as the volume and the section do.
#include "site/site_model.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

namespace zel::site {
namespace {

struct LayerCase {
    const char* what;
    std::vector<double> depth;
    std::vector<float> pct;
    double at;
    double expected; // NaN: no value there
};

TEST(PctReAtLayers, ReadsBetweenTheBracketingPoints) {
    const float nan = NAN;
    const LayerCase cases[] = {
        {"between two points", {0, 1, 2, 3}, {0, 10, 20, 30}, 2.25, 22.5},
        {"on the first point", {0, 1, 2, 3}, {4, 10, 20, 30}, 0.0, 4},
        {"on the last point", {0, 1, 2, 3}, {4, 10, 20, 30}, 3.0, 30},
        {"above the first point", {0.5, 1, 2}, {4, 10, 20}, 0.2, NAN},
        {"below the last point", {0, 1, 2}, {4, 10, 20}, 2.5, NAN},
        {"a depth logged twice: the first pair in order", {0, 1, 1, 2}, {0, 10, 50, 20}, 1.0, 10},
        {"a pair without a value is passed over", {0, 1, 1, 2}, {0, nan, 50, 20}, 1.0, 50},
        {"no value on either side", {0, 1, 2}, {0, nan, 20}, 0.5, NAN},
        {"a log that came back up: the first pair in order", {0, 2, 1, 3}, {0, 20, 10, 30}, 1.5, 15},
        {"and below its turn", {0, 2, 1, 3}, {0, 20, 10, 30}, 2.5, 25},
        {"a single point within half a layer", {1.0}, {7}, 1.04, 7},
    };
    for (const auto& c : cases) {
        BoringProfile b;
        b.topElevationM = 10;
        b.depthM = c.depth;
        b.pctRe = c.pct;
        const auto v = pctReAtLayers(b, b.topElevationM - c.at, 0.1, 1);
        ASSERT_EQ(v.size(), 1u);
        if (std::isnan(c.expected))
            EXPECT_TRUE(std::isnan(v[0])) << c.what << ": " << v[0];
        else
            EXPECT_NEAR(v[0], c.expected, 1e-9) << c.what;
    }
}

// Many layers over a long ordered log read the same values as the same log with one depth out of order
// (read point by point) wherever the turn does not bracket the layer.
TEST(PctReAtLayers, OrderedAndUnorderedReadsAgree) {
    BoringProfile ordered;
    ordered.topElevationM = 30;
    for (int p = 0; p < 2001; ++p) {
        ordered.depthM.push_back(0.01 * p);
        ordered.pctRe.push_back(static_cast<float>(std::sin(p * 0.01) * 20 + 20));
    }
    BoringProfile turned = ordered;
    turned.depthM.push_back(19.0); // the probe pulled up a little at the end
    turned.pctRe.push_back(0);
    const auto a = pctReAtLayers(ordered, 10.05, 0.1, 200);
    const auto b = pctReAtLayers(turned, 10.05, 0.1, 200);
    for (int k = 0; k < 200; ++k) {
        const double depth = 30 - (10.05 + k * 0.1);
        if (depth > 19.0 || depth < 0) continue;
        EXPECT_NEAR(a[static_cast<std::size_t>(k)], b[static_cast<std::size_t>(k)], 1e-9) << depth;
        EXPECT_FALSE(std::isnan(a[static_cast<std::size_t>(k)])) << depth;
    }
}

} // namespace
} // namespace zel::site
