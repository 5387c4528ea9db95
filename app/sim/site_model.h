#pragma once
// The site every simulator of one rig shares, as the instruments see it at a depth: the light the scope
// digitises, the conductivity the depth board reports, the hydraulic conductivity behind the pressure/flow
// unit's readings. The built-in site unless a site file was given.

#include "app/sim/scope_waveform.h"
#include "app/sim/site.h"

#include <cstdint>

namespace zel::sim {

class SiteModel {
public:
    explicit SiteModel(std::uint32_t seed = 1) : SiteModel(defaultSite(), seed) {}
    SiteModel(Site site, std::uint32_t seed) : site_(std::move(site)), seed_(seed) {}

    const Site& site() const { return site_; }
    int channels() const { return site_.channels(); }
    GroundAt groundAt(double depthFt) const { return zel::sim::groundAt(site_, depthFt); }
    // The light at a depth as a record taken over t sees it.
    Fluorescence fluorescenceAt(double depthFt, const SampleTimes& t = {}) const {
        return groundLight(groundAt(depthFt), t);
    }
    // Conductivity (mS/m) for the depth board and the data board to report beside the optical log.
    double conductivityAt(double depthFt) const { return groundAt(depthFt).ecMsPerM; }
    std::uint32_t seed() const { return seed_; }

private:
    Site site_;
    std::uint32_t seed_;
};

} // namespace zel::sim
