#include "analysis/cond_cal.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace zel::cond_cal {
namespace {

struct FitCase {
    const char* name;
    std::array<float, kSolutions> volts;
    std::array<float, kSolutions> ms;
    std::array<double, 3> constants; // solved by hand
    double worst;                    // the largest misfit at a solution, by hand
};

// The first two lie exactly on their curves. The third does not: for equally spaced voltages the misfit of
// a second-order fit is the cubic contrast (-1, 3, -3, 1) times (sum of y times it) / 20 = -8.15, so the
// fitted values are 0, 25, 266, 560 + 8.15 x (-1, 3, -3, 1) and the curve through them is solved from
// f(0), f(1), f(2); the largest misfit is 3 x 8.15.
const FitCase kFits[] = {
    {"straight line, no offset", {0.0f, 0.2f, 2.128f, 4.48f}, {0, 25, 266, 560}, {0, 125, 0}, 0},
    {"offset and curvature", {0.5f, 1.0f, 2.0f, 3.0f}, {11.25f, 20, 45, 80}, {5, 10, 5}, 0},
    {"least squares", {0.0f, 1.0f, 2.0f, 3.0f}, {0, 25, 266, 560}, {-8.15, -9.65, 67.25}, 24.45},
};

TEST(CondCal, FitsTheCurveThroughTheSolutions) {
    for (const FitCase& f : kFits) {
        SCOPED_TRACE(f.name);
        std::string error;
        const auto c = fit(f.volts, error, f.ms);
        ASSERT_TRUE(c) << error;
        for (int k = 0; k < 3; ++k)
            EXPECT_NEAR(c->constants[k], f.constants[k], 1e-3 * (1 + std::fabs(f.constants[k]))) << k;
        EXPECT_NEAR(worstResidual(*c), f.worst, 1e-3);
        EXPECT_EQ(c->volts, f.volts);
        EXPECT_EQ(c->ms, f.ms);
    }
}

TEST(CondCal, TheCurveIsTheOneTheDepthDriverEvaluates) {
    Calibration c;
    c.constants = {2.0f, 150.0f, -4.0f};
    EXPECT_DOUBLE_EQ(c.conductivity(0.0), 2.0);
    EXPECT_DOUBLE_EQ(c.conductivity(2.0), 2.0 + 300.0 - 16.0);
}

struct Refusal {
    const char* name;
    std::array<float, kSolutions> volts;
    const char* says;
};

const Refusal kRefusals[] = {
    {"solution read twice",
     {0.1f, 0.5f, 0.5f, 4.0f},
     "The reading in the 266 mS/m solution (0.500 V) is not above the one in the 25 mS/m solution (0.500 "
     "V)."},
    {"falling", {0.1f, 2.0f, 1.0f, 4.0f}, "266 mS/m solution (1.000 V) is not above"},
    {"top of the range",
     {0.1f, 0.5f, 2.0f, 5.0f},
     "The reading in the 560 mS/m solution (5.000 V) is at the end of the input's range."},
    {"probe out of the liquid", {0.0f, 0.0f, 2.0f, 4.0f}, "25 mS/m solution (0.000 V) is at the end"},
    {"negative", {-0.2f, 0.5f, 2.0f, 4.0f}, "0 mS/m solution (-0.200 V) is at the end"},
    {"not a number", {0.1f, std::numeric_limits<float>::quiet_NaN(), 2.0f, 4.0f}, "is not a number"},
};

TEST(CondCal, RefusesReadingsThatCannotBeACalibration) {
    for (const Refusal& r : kRefusals) {
        SCOPED_TRACE(r.name);
        std::string error;
        EXPECT_FALSE(fit(r.volts, error));
        EXPECT_NE(error.find(r.says), std::string::npos) << error;
    }
}

} // namespace
} // namespace zel::cond_cal
