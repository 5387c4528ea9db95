#include "app/sim/site_model.h"

#include <cmath>
#include <random>

namespace zel::sim {

namespace {
// A smooth bump: 1 inside [top, top + thick], falling off over half a foot on either side.
double lens(double depth, double top, double thick) {
    const auto edge = [](double x) { return 1.0 / (1.0 + std::exp(-x / 0.15)); };
    return edge(depth - top) * edge(top + thick - depth);
}
} // namespace

SiteModel::SiteModel(std::uint32_t seed) : seed_(seed) {
    std::mt19937 rng(seed);
    std::uniform_real_distribution<double> top(8.0, 14.0);
    lens1TopFt_ = top(rng);
    lens2TopFt_ = lens1TopFt_ + 6.0 + top(rng);
}

Fluorescence SiteModel::fluorescenceAt(double depthFt) const {
    // Background soil: weak, mostly in the first channel. Lens 1: a fuel-like product bright in the
    // short-wavelength channels; lens 2: a heavier product with long decays in the red channels.
    const double a = lens(depthFt, lens1TopFt_, 3.0);
    const double b = lens(depthFt, lens2TopFt_, 5.0);
    Fluorescence f;
    const std::array<double, 4> soil{0.012, 0.008, 0.005, 0.003};
    const std::array<double, 4> fuel{0.090, 0.140, 0.070, 0.020};
    const std::array<double, 4> heavy{0.020, 0.050, 0.110, 0.080};
    const std::array<double, 4> soilTau{6.0, 7.0, 8.0, 9.0};
    const std::array<double, 4> fuelTau{9.0, 11.0, 14.0, 16.0};
    const std::array<double, 4> heavyTau{12.0, 18.0, 24.0, 30.0};
    for (int c = 0; c < 4; ++c) {
        f.amplitudeV[c] = soil[c] + a * fuel[c] + b * heavy[c];
        const double w = soil[c] + a * fuel[c] + b * heavy[c];
        f.decayNs[c] = (soil[c] * soilTau[c] + a * fuel[c] * fuelTau[c] + b * heavy[c] * heavyTau[c]) / w;
    }
    return f;
}

double SiteModel::conductivityAt(double depthFt) const {
    return 20.0 + 15.0 * std::sin(depthFt / 7.0) + 40.0 * lens(depthFt, lens2TopFt_ + 2.0, 4.0);
}

} // namespace zel::sim
