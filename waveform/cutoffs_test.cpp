#include "waveform/cutoffs.h"

#include "waveform/synthetic_waves.h"

#include <gtest/gtest.h>

#include <limits>

namespace zel {
namespace {

TEST(ScanForRise, FirstStrictlyGreaterRiseReportsTheSampleBefore) {
    const std::vector<float> w{0, 0, 1, 1, 5, 5}; // rises of 0.1 at index 2 and 0.4 at index 4 (range 10)
    // threshold, start, end, range -> result; 0 is also "none"
    const std::tuple<double, std::int64_t, std::int64_t, float, std::int32_t> cases[] = {
        {0.05, 1, 5, 10, 1}, {0.1, 1, 5, 10, 3},   {0.4, 1, 5, 10, 0},  {0.05, 3, 5, 10, 3},
        {0.05, 0, 5, 10, 1}, {0.05, 1, 99, 10, 1}, {0.05, 4, 3, 10, 0}, {0.05, 1, 5, 0, 0},
    };
    for (auto [threshold, start, end, range, expected] : cases) {
        EXPECT_EQ(ScanForRise(w, range, threshold, start, end), expected)
            << threshold << " " << start << ".." << end << " range " << range;
    }
}

TEST(CutoffShift, NearestToHundredthMinusOneTiesToEvenAndGapOverflow) {
    const std::pair<std::int32_t, std::int32_t> cases[] = {{150, 0},   {250, 2},  {350, 2}, {450, 4},
                                                           {149, 0},   {151, 1},  {50, 0},  {49, -1},
                                                           {1050, 10}, {1150, 10}};
    for (auto [n, shift] : cases)
        EXPECT_EQ(cutoffShift(n), shift) << "N " << n;
    constexpr std::int32_t top = std::numeric_limits<std::int32_t>::max();
    EXPECT_EQ(addGap(top - 50, 50), top);
    EXPECT_FALSE(addGap(top - 49, 50).has_value());
}

TEST(SearchCutoffs, FindsBoundariesJustBeforeTheRises) {
    struct Case {
        const char* name;
        int size;
        std::vector<testing::Pulse> pulses;
        bool keepPosition;
        std::int16_t count;
        std::array<std::int32_t, kMaxCutoffs> cutoff; // rise - 1 - round-half-even(N / 100 - 1)
    };
    // clang-format off
    const Case cases[] = {
        {"500 samples, shift 4", 500, {{40}, {110}, {180}, {250}}, false, 3, {105, 175, 245}},
        {"kept on the rise", 500, {{40}, {110}, {180}, {250}}, true, 3, {109, 179, 249}},
        {"N 299: gap 20, shift 2", 300, {{40}, {70}, {100}, {130}}, false, 3, {67, 97, 127}},
        {"N 300: gap 50, shift 2", 301, {{40}, {70}, {120}, {170}, {220}}, false, 3, {117, 167, 217}},
        {"N 150: shift 0", 151, {{40}, {70}, {100}, {130}}, false, 3, {69, 99, 129}},
        {"N 350: shift 2", 351, {{40}, {110}, {180}, {250}}, false, 3, {107, 177, 247}},
        {"seven channels", 500, {{40}, {100}, {160}, {220}, {280}, {340}, {400}}, false, 6, {95, 155, 215, 275, 335, 395}},
        {"95 and 150 force 205", 500, {{40}, {100}, {155}, {230}}, false, 3, {95, 150, 205}},
        // 0.003 of the range only clears half of the last pass's 0.005; 0.002 clears nothing.
        {"weak rise found by the last pass", 500, {{40}, {110}, {180}, {250, 0.3f}}, false, 3, {105, 175, 245}},
        {"rise below every pass", 500, {{40}, {110}, {180}, {250, 0.2f}}, false, 3, {105, 175, 0}},
        // The fourth rise gets no half-threshold retry: 0.03 does not clear 0.040.
        {"weak fourth rise ignored", 500, {{40}, {110}, {180}, {250}, {320, 3.0f}}, false, 3, {105, 175, 245}},
        // A fourth rise without a fifth: the sixth is searched from 0 + gap and lands on the second rise.
        {"fourth rise alone", 500, {{40}, {110}, {180}, {250}, {320, 5.0f}}, false, 6, {105, 175, 245, 315, 0, 105}},
    };
    // clang-format on
    for (const Case& c : cases) {
        const CutoffSearch r =
            searchCutoffs(testing::pulseTrain(c.size, c.pulses), 2e-10f, c.keepPosition, false);
        EXPECT_EQ(r.firstRise, 39) << c.name;
        EXPECT_EQ(r.count, c.count) << c.name;
        EXPECT_EQ(r.cutoff, c.cutoff) << c.name;
        EXPECT_FALSE(r.generic) << c.name;
        for (int k = 0; k < kMaxCutoffs; ++k)
            EXPECT_NEAR(r.time[k], c.cutoff[k] * 0.2, 1e-5) << c.name;
    }
}

} // namespace
} // namespace zel
