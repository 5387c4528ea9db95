#pragma once
// The push rate: depth change over elapsed time across the last Rate_Num2Avg readings. Times are seconds
// since midnight, so a push that runs past midnight is corrected by a day.

#include <cstddef>
#include <deque>

namespace zel {

class DepthRate {
public:
    // Until a second reading arrives (the start of a push) the rate is 0.
    void reset() { samples_.clear(); }
    // Adds a reading and returns the averaged rate in feet per second.
    double add(double secondsOfDay, double depthFt, int samplesToAverage);

private:
    struct Sample {
        double seconds;
        double depthFt;
    };
    std::deque<Sample> samples_;
};

} // namespace zel
