#pragma once
// The site in three dimensions, for plume modelling tools: every point of every located boring at its
// easting, northing and elevation, and a gridded %RE volume interpolated between the borings.
//
// The volume: each boring's %RE is averaged into the grid's elevation layers; a node takes the
// inverse-distance-weighted mean (weights 1/d^power, horizontal distance) of the borings that have a value in
// its layer and stand within the search radius, or exactly the value of a boring standing on the node. A
// node no boring reaches is left out (valid 0, %RE 0). LIF plumes are layered, so values are spread across
// the site within a layer and never between layers.

#include "log/log_arrays.h"
#include "log/log_data.h"

#include <array>
#include <cmath>
#include <string>
#include <vector>

namespace zel::site {

// One located boring in metres on the site's UTM grid.
struct BoringProfile {
    std::string name;
    double easting = 0, northing = 0;
    double topElevationM = 0; // ground at the boring (the log's GPS altitude)
    std::vector<double> depthM;
    std::vector<float> pctRe;
    std::vector<std::array<float, 4>> sharesPct; // channel shares of the signal, NaN where there is none
    std::vector<float> kFtDay;                   // empty when the log has no pressure/flow
    double waterTableDepthM = NAN;               // from the log's dissipation tests, NaN when it has none
};

// The site's grid: the UTM zone every boring is projected into (the first located boring's).
struct UtmFrame {
    int zone = 0; // 0: not yet chosen
    bool north = true;
};

// Nullopt-like: false when the log has no position on the globe.
bool profileOf(const cZEL_Data& log, const LogArrays& arrays, UtmFrame& frame, BoringProfile& out);

// "Boring,Easting_m,Northing_m,Elevation_m,Depth_m,PctRE,Ch1_pct,..,Ch4_pct,K_ft_day", one line a point.
std::string pointsCsv(const std::vector<BoringProfile>& borings);
// Legacy VTK polydata (ParaView, VisIt): one vertex a point, one polyline a boring, point data pct_re,
// ch1..ch4 and k_ft_day (-1 where there is none).
std::string pointsVtk(const std::vector<BoringProfile>& borings);

struct GridOptions {
    double cellM = 0;    // horizontal cell; 0: a fortieth of the site's larger extent, at least 0.5 m
    double layerM = 0.1; // vertical cell
    double radiusM = 0;  // search radius; 0: 1.5 times the largest distance from a boring to its nearest
    double power = 2;
};

struct Volume {
    int nx = 0, ny = 0, nz = 0;
    double x0 = 0, y0 = 0, z0 = 0; // the first node (west, south, lowest)
    double dx = 0, dy = 0, dz = 0;
    std::vector<float> pctRe; // x fastest, then y, then z
    std::vector<unsigned char> valid;
    float at(int i, int j, int k) const { return pctRe[(static_cast<std::size_t>(k) * ny + j) * nx + i]; }
};

inline constexpr std::size_t kMaxVolumeNodes = 20'000'000;

// False with the reason when no boring holds a point or the grid would exceed kMaxVolumeNodes.
bool gridVolume(const std::vector<BoringProfile>& borings, const GridOptions& options, Volume& out,
                std::string& error);
// Legacy VTK structured points with point data pct_re and valid.
std::string volumeVtk(const Volume& volume);

} // namespace zel::site
