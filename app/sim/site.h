#pragma once
// The ground a simulated push goes through: layers of soil, each with the fluorescence a probe logs there
// (relative to its reference emitter, with the channel shares and decay times of the product), the soil's
// electrical and hydraulic conductivity, and a water table. Read from a JSON site file or the built-in
// fuel-release site. Contacts between layers blend over a few inches, as real ones do.

#include <optional>
#include <string>
#include <vector>

namespace zel::sim {

struct SiteLayer {
    double topFt = 0.0;
    double bottomFt = 0.0;
    double pctRe = 0.5;                         // fluorescence as %RE, what a push should log here
    std::vector<double> shares{25, 25, 25, 25}; // percent of the signal in each channel (4 or 7)
    std::vector<double> decayNs{6, 7, 8, 9};    // decay time of each channel
    double ecMsPerM = 20.0;                     // electrical conductivity of the soil
    double kFtPerDay = 5.0;                     // hydraulic conductivity of the soil
};

struct Site {
    std::string name = "Simulated site";
    double lat = 45.50206;
    double lon = -73.56717;
    double altM = 32.0;
    double waterTableFt = 11.5;
    double bottomFt = 30.0;
    std::vector<SiteLayer> layers;

    int channels() const { return layers.empty() ? 4 : static_cast<int>(layers.front().shares.size()); }
};

// What the ground is at one depth, contacts blended.
struct GroundAt {
    double pctRe = 0.0;
    std::vector<double> shares;  // fractions summing to 1
    std::vector<double> decayNs; // per channel
    double ecMsPerM = 0.0;
    double kFtPerDay = 0.0;
};

// A weathered fuel release: clean fill, a smear zone of light fuel around the water table, a thin heavy
// product lens below it, and clean silty sand to the bottom.
Site defaultSite();

// The site file's text; nullopt with error naming the offending key when it is not a site.
std::optional<Site> parseSite(const std::string& json, std::string& error);
// The file read and parsed; error names the file.
std::optional<Site> loadSite(const std::string& path, std::string& error);

GroundAt groundAt(const Site& site, double depthFt);

} // namespace zel::sim
