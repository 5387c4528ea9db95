#include "instruments/depth/depth_rate.h"

#include <algorithm>

namespace zel {

double DepthRate::add(double secondsOfDay, double depthFt, int samplesToAverage) {
    // Averaging n rates needs n + 1 readings.
    const auto keep = static_cast<std::size_t>(std::clamp(samplesToAverage, 1, 1000)) + 1;
    samples_.push_back({secondsOfDay, depthFt});
    while (samples_.size() > keep)
        samples_.pop_front();
    if (samples_.size() < 2) return 0;
    const auto& first = samples_.front();
    const auto& last = samples_.back();
    // Each step is corrected on its own, so one midnight inside the window is handled wherever it falls.
    double elapsed = 0;
    for (std::size_t i = 1; i < samples_.size(); ++i) {
        double dt = samples_[i].seconds - samples_[i - 1].seconds;
        if (dt < 0) dt += 86400.0;
        elapsed += dt;
    }
    if (elapsed <= 0) return 0;
    return (last.depthFt - first.depthFt) / elapsed;
}

} // namespace zel
