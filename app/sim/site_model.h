#pragma once
// The synthetic site every simulator shares: what the ground holds at each depth. Fluorescence comes in
// layers (a clean background, two contaminated lenses of different composition), so a push through it
// gives a log with structure the processing can find. Seeded, so a run can be repeated exactly.

#include <array>
#include <cstdint>

namespace zel::sim {

struct Fluorescence {
    std::array<double, 4> amplitudeV{}; // peak of each wavelength channel, volts at the detector
    std::array<double, 4> decayNs{};    // decay time of each channel
};

class SiteModel {
public:
    explicit SiteModel(std::uint32_t seed = 1);

    Fluorescence fluorescenceAt(double depthFt) const;
    // Conductivity (mS/m) for the depth board simulator to report beside the optical log.
    double conductivityAt(double depthFt) const;
    std::uint32_t seed() const { return seed_; }

private:
    std::uint32_t seed_;
    double lens1TopFt_;
    double lens2TopFt_;
};

} // namespace zel::sim
