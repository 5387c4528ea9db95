#include "site/site_model.h"

#include "common/number_text.h"

#include <GeographicLib/UTMUPS.hpp>

#include <algorithm>
#include <cmath>
#include <limits>

namespace zel::site {

namespace {

constexpr double kMetresPerFoot = 0.3048;
constexpr float kNone = -1.0f; // VTK readers take no NaN in ASCII files

std::string num(double v, const char* pattern) {
    return formatNumber(v, pattern);
}

// formatNumber(v, "#0.00..") of `decimals` places, appended: the point clouds hold millions of numbers.
void add(std::string& out, double v, int decimals) {
    appendFixed(out, v, decimals);
}

float orNone(float v) {
    return std::isfinite(v) ? v : kNone;
}

} // namespace

bool projectOnto(UtmFrame& frame, BoringProfile& b) {
    try {
        int zone = 0;
        bool north = true;
        GeographicLib::UTMUPS::Forward(b.lat, b.lon, zone, north, b.easting, b.northing,
                                       frame.zone > 0 ? frame.zone : GeographicLib::UTMUPS::STANDARD);
        if (frame.zone == 0) frame = {zone, north};
        // A boring across the equator from the first keeps the first one's false northing.
        if (north != frame.north) b.northing += north ? 10'000'000.0 : -10'000'000.0;
    } catch (const std::exception&) {
        return false;
    }
    return true;
}

bool profileOf(const cZEL_Data& log, const LogArrays& arrays, UtmFrame& frame, BoringProfile& out) {
    out.lat = log.Latitude_Dec();
    out.lon = log.Longitude_Dec();
    if (!std::isfinite(out.lat) || !std::isfinite(out.lon) || (out.lat == 0 && out.lon == 0) ||
        std::abs(out.lat) > 90 || std::abs(out.lon) > 180 || !projectOnto(frame, out))
        return false;
    out.name = log.File_Title_NoExt();
    out.topElevationM = std::isfinite(log.Altitude_M()) ? log.Altitude_M() : 0.0;
    const double toM = log.Metric() ? 1.0 : kMetresPerFoot;
    if (const float wt = log.DisWTavg(); std::isfinite(wt) && wt > 0) out.waterTableDepthM = wt * toM;
    const PointMatrix& c = arrays.columns;
    const bool withK = log.PresFlow() && arrays.presFlow.points() == arrays.points();
    for (int p = 0; p < arrays.points(); ++p) {
        out.depthM.push_back(c(point_column::Depth, p) * toM);
        out.pctRe.push_back(c(point_column::Signal, p));
        std::array<float, 4> share{};
        float total = 0;
        for (int k = 0; k < 4; ++k)
            total += c(point_column::Ch1 + k, p);
        for (int k = 0; k < 4; ++k)
            share[k] = total > 0 ? 100.0f * c(point_column::Ch1 + k, p) / total : NAN;
        out.sharesPct.push_back(share);
        if (withK) out.kFtDay.push_back(arrays.presFlow(presflow_column::KEstimate, p));
    }
    return true;
}

std::string pointsCsv(const std::vector<BoringProfile>& borings) {
    std::string out =
        "Boring,Easting_m,Northing_m,Elevation_m,Depth_m,PctRE,Ch1_pct,Ch2_pct,Ch3_pct,Ch4_pct,K_ft_day"
        "\r\n";
    std::size_t points = 0;
    for (const auto& b : borings)
        points += b.depthM.size();
    out.reserve(out.size() + points * 80);
    for (const auto& b : borings) {
        // The boring's name and place are the same on each of its lines.
        const std::string place =
            '"' + b.name + "\"," + num(b.easting, "#0.00") + ',' + num(b.northing, "#0.00") + ',';
        for (std::size_t p = 0; p < b.depthM.size(); ++p) {
            out += place;
            add(out, b.topElevationM - b.depthM[p], 3);
            out += ',';
            add(out, b.depthM[p], 3);
            out += ',';
            add(out, static_cast<double>(b.pctRe[p]), 3);
            for (float s : b.sharesPct[p]) {
                out += ',';
                if (std::isfinite(s)) add(out, static_cast<double>(s), 2);
            }
            out += ',';
            if (p < b.kFtDay.size() && std::isfinite(b.kFtDay[p]))
                add(out, static_cast<double>(b.kFtDay[p]), 3);
            out += "\r\n";
        }
    }
    return out;
}

std::string pointsVtk(const std::vector<BoringProfile>& borings) {
    std::size_t n = 0;
    for (const auto& b : borings)
        n += b.depthM.size();
    std::string out = "# vtk DataFile Version 3.0\nZEL site points\nASCII\nDATASET POLYDATA\nPOINTS " +
                      std::to_string(n) + " double\n";
    out.reserve(out.size() + n * 120);
    for (const auto& b : borings) {
        const std::string place = num(b.easting, "#0.000") + ' ' + num(b.northing, "#0.000") + ' ';
        for (double d : b.depthM) {
            out += place;
            add(out, b.topElevationM - d, 3);
            out += '\n';
        }
    }
    out += "VERTICES " + std::to_string(n) + ' ' + std::to_string(2 * n) + '\n';
    for (std::size_t i = 0; i < n; ++i)
        out += "1 " + std::to_string(i) + '\n';
    std::size_t lines = 0, lineSize = 0;
    for (const auto& b : borings)
        if (b.depthM.size() > 1) {
            ++lines;
            lineSize += b.depthM.size() + 1;
        }
    if (lines > 0) {
        out += "LINES " + std::to_string(lines) + ' ' + std::to_string(lineSize) + '\n';
        std::size_t first = 0;
        for (const auto& b : borings) {
            if (b.depthM.size() > 1) {
                out += std::to_string(b.depthM.size());
                for (std::size_t i = 0; i < b.depthM.size(); ++i)
                    out += ' ' + std::to_string(first + i);
                out += '\n';
            }
            first += b.depthM.size();
        }
    }
    out += "POINT_DATA " + std::to_string(n) + '\n';
    const auto scalars = [&](const char* name, auto value) {
        out += std::string("SCALARS ") + name + " float 1\nLOOKUP_TABLE default\n";
        for (const auto& b : borings)
            for (std::size_t p = 0; p < b.depthM.size(); ++p) {
                add(out, static_cast<double>(orNone(value(b, p))), 3);
                out += '\n';
            }
    };
    scalars("pct_re", [](const BoringProfile& b, std::size_t p) { return b.pctRe[p]; });
    for (int k = 0; k < 4; ++k) {
        const std::string name = "ch" + std::to_string(k + 1) + "_pct";
        scalars(name.c_str(), [k](const BoringProfile& b, std::size_t p) { return b.sharesPct[p][k]; });
    }
    scalars("k_ft_day",
            [](const BoringProfile& b, std::size_t p) { return p < b.kFtDay.size() ? b.kFtDay[p] : NAN; });
    return out;
}

std::vector<double> pctReAtLayers(const BoringProfile& b, double z0, double dz, int n) {
    std::vector<double> out(std::max(n, 0), NAN);
    const std::size_t points = std::min(b.depthM.size(), b.pctRe.size());
    // A push goes down: with its depths in order the bracketing points are found by bisection; a log that
    // came back up somewhere is read point by point from the top.
    const bool ordered =
        std::is_sorted(b.depthM.begin(), b.depthM.begin() + static_cast<std::ptrdiff_t>(points));
    for (int k = 0; k < n; ++k) {
        const double d = b.topElevationM - (z0 + k * dz);
        std::size_t from = 0;
        if (ordered && points > 1) {
            const auto at =
                std::lower_bound(b.depthM.begin(), b.depthM.begin() + static_cast<std::ptrdiff_t>(points), d);
            // Every point before the one above d lies shallower than d: no earlier pair brackets it.
            from = static_cast<std::size_t>(std::max<std::ptrdiff_t>(at - b.depthM.begin() - 1, 0));
        }
        for (std::size_t p = from; p + 1 < points; ++p) {
            const double d0 = b.depthM[p], d1 = b.depthM[p + 1];
            if (d < std::min(d0, d1) || d > std::max(d0, d1) || !std::isfinite(b.pctRe[p]) ||
                !std::isfinite(b.pctRe[p + 1])) {
                if (ordered && d0 > d) break; // every later point lies deeper still
                continue;
            }
            const double t = d1 != d0 ? (d - d0) / (d1 - d0) : 0.0;
            out[k] = b.pctRe[p] + t * (b.pctRe[p + 1] - b.pctRe[p]);
            break;
        }
        if (points == 1 && std::fabs(d - b.depthM[0]) <= dz / 2) out[k] = b.pctRe[0];
    }
    return out;
}

bool gridVolume(const std::vector<BoringProfile>& borings, const GridOptions& o, Volume& v,
                std::string& error) {
    double xMin = INFINITY, xMax = -INFINITY, yMin = INFINITY, yMax = -INFINITY, zMin = INFINITY,
           zMax = -INFINITY;
    for (const auto& b : borings)
        for (double d : b.depthM) {
            xMin = std::min(xMin, b.easting), xMax = std::max(xMax, b.easting);
            yMin = std::min(yMin, b.northing), yMax = std::max(yMax, b.northing);
            zMin = std::min(zMin, b.topElevationM - d), zMax = std::max(zMax, b.topElevationM - d);
        }
    if (!std::isfinite(xMin)) {
        error = "no located boring holds a point";
        return false;
    }
    double radius = o.radiusM;
    if (!(radius > 0)) {
        double widest = 0;
        for (std::size_t i = 0; i < borings.size(); ++i) {
            double nearest = INFINITY;
            for (std::size_t j = 0; j < borings.size(); ++j)
                if (j != i)
                    nearest = std::min(nearest, std::hypot(borings[i].easting - borings[j].easting,
                                                           borings[i].northing - borings[j].northing));
            if (std::isfinite(nearest)) widest = std::max(widest, nearest);
        }
        radius = widest > 0 ? 1.5 * widest : 10.0;
    }
    const double extent = std::max(xMax - xMin, yMax - yMin);
    const double cell = o.cellM > 0 ? o.cellM : std::max(0.5, extent / 40.0);
    const double layer = o.layerM > 0 ? o.layerM : 0.1;
    const double pad = cell;
    v.dx = v.dy = cell;
    v.dz = layer;
    v.x0 = xMin - pad;
    v.y0 = yMin - pad;
    v.z0 = std::floor(zMin / layer) * layer;
    const auto count = [](double span, double step) {
        return static_cast<long long>(std::floor(span / step)) + 1;
    };
    const long long nx = count(xMax + pad - v.x0, cell), ny = count(yMax + pad - v.y0, cell),
                    nz = count(zMax - v.z0, layer);
    if (nx * ny * nz > static_cast<long long>(kMaxVolumeNodes)) {
        error = "the grid would hold " + std::to_string(nx * ny * nz) + " nodes; choose larger cells";
        return false;
    }
    v.nx = static_cast<int>(nx), v.ny = static_cast<int>(ny), v.nz = static_cast<int>(nz);

    std::vector<std::vector<double>> layerMean;
    for (const auto& b : borings)
        layerMean.push_back(pctReAtLayers(b, v.z0, layer, v.nz));
    const std::size_t nodes = static_cast<std::size_t>(nx * ny * nz);
    v.pctRe.assign(nodes, 0.0f);
    v.valid.assign(nodes, 0);
    std::vector<double> dist(borings.size());
    for (int j = 0; j < v.ny; ++j)
        for (int i = 0; i < v.nx; ++i) {
            const double x = v.x0 + i * cell, y = v.y0 + j * cell;
            for (std::size_t b = 0; b < borings.size(); ++b)
                dist[b] = std::hypot(x - borings[b].easting, y - borings[b].northing);
            for (int k = 0; k < v.nz; ++k) {
                double wSum = 0, vSum = 0;
                bool exact = false;
                for (std::size_t b = 0; b < borings.size() && !exact; ++b) {
                    const double m = layerMean[b][k];
                    if (!std::isfinite(m) || dist[b] > radius) continue;
                    if (dist[b] < 1e-6) {
                        exact = true;
                        wSum = 1;
                        vSum = m;
                        continue;
                    }
                    const double w = 1.0 / std::pow(dist[b], o.power);
                    wSum += w;
                    vSum += w * m;
                }
                if (wSum > 0) {
                    const std::size_t at = (static_cast<std::size_t>(k) * v.ny + j) * v.nx + i;
                    v.pctRe[at] = static_cast<float>(vSum / wSum);
                    v.valid[at] = 1;
                }
            }
        }
    return true;
}

std::string volumeVtk(const Volume& v) {
    std::string out =
        "# vtk DataFile Version 3.0\nZEL %RE volume\nASCII\nDATASET STRUCTURED_POINTS\nDIMENSIONS " +
        std::to_string(v.nx) + ' ' + std::to_string(v.ny) + ' ' + std::to_string(v.nz) + "\nORIGIN " +
        num(v.x0, "#0.000") + ' ' + num(v.y0, "#0.000") + ' ' + num(v.z0, "#0.000") + "\nSPACING " +
        num(v.dx, "#0.000") + ' ' + num(v.dy, "#0.000") + ' ' + num(v.dz, "#0.000") + "\nPOINT_DATA " +
        std::to_string(v.pctRe.size()) + "\nSCALARS pct_re float 1\nLOOKUP_TABLE default\n";
    out.reserve(out.size() + v.pctRe.size() * 9);
    for (float x : v.pctRe) {
        add(out, static_cast<double>(x), 2);
        out += '\n';
    }
    out += "SCALARS valid unsigned_char 1\nLOOKUP_TABLE default\n";
    for (unsigned char x : v.valid)
        out += x ? "1\n" : "0\n";
    return out;
}

} // namespace zel::site
