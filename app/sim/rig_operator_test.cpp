#include "app/sim/rig_operator.h"

#include <gtest/gtest.h>

#include <cmath>

namespace zel::sim {
namespace {

TEST(RigOperator, TakesTheTubeRequestsItCanCarryOutAndRefusesTheRest) {
    struct Case {
        const char* line;
        const char* answer;
        double placed; // NaN: nothing done
    };
    const double none = std::nan("");
    const Case cases[] = {
        {"tube 1", "ok", 1.0},
        {"tube 0", "ok", 0.0},
        {"tube 2.5", "ok", 2.5},
        {"tube out", "ok", -1.0},
        {"tube -1", "error: the tube takes 0 to 10 ft", none},
        {"tube 11", "error: the tube takes 0 to 10 ft", none},
        {"tube 1ft", "error: the tube takes 0 to 10 ft", none},
        {"tube nan", "error: the tube takes 0 to 10 ft", none},
        {"tube ", "error: the tube takes 0 to 10 ft", none},
        {"hold 5", "error: unknown request", none},
    };
    for (const Case& c : cases) {
        RigOperator op;
        double placed = none;
        op.placeInTube = [&placed](double feet) { placed = feet; };
        EXPECT_EQ(op.request(c.line), c.answer) << c.line;
        if (std::isnan(c.placed))
            EXPECT_TRUE(std::isnan(placed)) << c.line;
        else
            EXPECT_EQ(placed, c.placed) << c.line;
    }
}

} // namespace
} // namespace zel::sim
