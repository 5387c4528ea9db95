#include "app/sim/site.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cmath>
#include <fstream>
#include <sstream>

namespace zel::sim {

namespace {

// Logistic half-width of a contact: 10 % to 90 % of the change over about four inches.
constexpr double kContactFt = 0.08;
constexpr std::size_t kMaxLayers = 200;

SiteLayer layer(double top, double bottom, double pct, std::vector<double> shares, std::vector<double> decay,
                double ec, double k) {
    return {top, bottom, pct, std::move(shares), std::move(decay), ec, k};
}

// Reads one number of an object; absent keys keep their default.
bool number(const nlohmann::json& o, const char* key, const std::string& where, double lo, double hi,
            double& value, std::string& error) {
    if (!o.contains(key)) return true;
    const auto& v = o[key];
    if (!v.is_number() || !std::isfinite(v.get<double>()) || v.get<double>() < lo || v.get<double>() > hi) {
        std::ostringstream s;
        s << where << key << ": expected a number from " << lo << " to " << hi;
        error = s.str();
        return false;
    }
    value = v.get<double>();
    return true;
}

bool numbers(const nlohmann::json& o, const char* key, const std::string& where, double lo, double hi,
             std::vector<double>& values, std::string& error) {
    if (!o.contains(key)) return true;
    const auto& v = o[key];
    const auto bad = [&] {
        std::ostringstream s;
        s << where << key << ": expected 4 or 7 numbers from " << lo << " to " << hi;
        error = s.str();
        return false;
    };
    if (!v.is_array() || (v.size() != 4 && v.size() != 7)) return bad();
    std::vector<double> out;
    for (const auto& e : v) {
        if (!e.is_number() || !std::isfinite(e.get<double>()) || e.get<double>() < lo || e.get<double>() > hi)
            return bad();
        out.push_back(e.get<double>());
    }
    values = std::move(out);
    return true;
}

// Default decay times for a channel count that the file's shares chose.
std::vector<double> defaultDecays(std::size_t n) {
    return n == 7 ? std::vector<double>{5, 6, 7, 8, 9, 10, 11} : std::vector<double>{6, 7, 8, 9};
}

double sigmoid(double x) {
    return 1.0 / (1.0 + std::exp(-x));
}

} // namespace

Site defaultSite() {
    Site s;
    s.name = "Former fuel depot, tank 3";
    s.waterTableFt = 11.5;
    s.bottomFt = 30.0;
    const std::vector<double> soil{30, 35, 22, 13}, soilTau{5, 6, 7, 8};
    s.layers = {
        layer(0.0, 3.0, 0.6, soil, soilTau, 18, 8.0),                          // fill
        layer(3.0, 9.0, 0.4, {28, 36, 23, 13}, soilTau, 55, 0.3),              // silty clay
        layer(9.0, 10.5, 4.0, {20, 42, 28, 10}, {9, 11, 14, 16}, 22, 15.0),    // vadose sand
        layer(10.5, 14.5, 38.0, {18, 43, 29, 10}, {10, 12, 15, 17}, 30, 25.0), // smear zone
        layer(14.5, 16.0, 62.0, {8, 22, 38, 32}, {14, 20, 26, 32}, 40, 12.0),  // heavy product
        layer(16.0, 22.0, 2.5, {22, 40, 26, 12}, {8, 10, 12, 14}, 28, 6.0),    // dissolved tail
        layer(22.0, 30.0, 0.5, soil, soilTau, 24, 18.0),                       // dense sand
    };
    return s;
}

std::optional<Site> parseSite(const std::string& text, std::string& error) {
    const auto j = nlohmann::json::parse(text, nullptr, false);
    if (j.is_discarded() || !j.is_object()) {
        error = "not a JSON object";
        return std::nullopt;
    }
    Site s = defaultSite();
    if (j.contains("name")) {
        if (!j["name"].is_string()) {
            error = "name: expected a text";
            return std::nullopt;
        }
        s.name = j["name"].get<std::string>().substr(0, 200);
    }
    if (!number(j, "lat", "", -90, 90, s.lat, error) || !number(j, "lon", "", -180, 180, s.lon, error) ||
        !number(j, "alt_m", "", -500, 9000, s.altM, error) ||
        !number(j, "water_table_ft", "", 0, 1000, s.waterTableFt, error) ||
        !number(j, "bottom_ft", "", 0.5, 1000, s.bottomFt, error))
        return std::nullopt;
    if (j.contains("layers")) {
        const auto& ls = j["layers"];
        if (!ls.is_array() || ls.empty() || ls.size() > kMaxLayers) {
            error = "layers: expected a list of 1 to " + std::to_string(kMaxLayers) + " layers";
            return std::nullopt;
        }
        s.layers.clear();
        double previousBottom = 0.0;
        for (std::size_t i = 0; i < ls.size(); ++i) {
            const std::string where = "layers[" + std::to_string(i) + "].";
            const auto& o = ls[i];
            if (!o.is_object()) {
                error = "layers[" + std::to_string(i) + "]: expected an object";
                return std::nullopt;
            }
            SiteLayer l;
            l.topFt = previousBottom;
            l.bottomFt = -1;
            l.decayNs.clear();
            if (!number(o, "top_ft", where, 0, 1000, l.topFt, error) ||
                !number(o, "bottom_ft", where, 0, 1000, l.bottomFt, error) ||
                !number(o, "pct_re", where, 0, 10000, l.pctRe, error) ||
                !numbers(o, "shares", where, 0, 100, l.shares, error) ||
                !numbers(o, "decay_ns", where, 0.5, 200, l.decayNs, error) ||
                !number(o, "ec_ms_m", where, 0, 2000, l.ecMsPerM, error) ||
                !number(o, "k_ft_day", where, 0.001, 100000, l.kFtPerDay, error))
                return std::nullopt;
            if (l.bottomFt < 0) l.bottomFt = std::min(l.topFt + 1.0, 1000.0);
            if (l.bottomFt <= l.topFt) {
                error = where + "bottom_ft: must lie below top_ft";
                return std::nullopt;
            }
            if (!o.contains("shares") && o.contains("decay_ns"))
                l.shares.assign(l.decayNs.size(), 100.0 / static_cast<double>(l.decayNs.size()));
            if (l.decayNs.empty()) l.decayNs = defaultDecays(l.shares.size());
            if (l.decayNs.size() != l.shares.size()) {
                error = where + "decay_ns: needs one decay time for each of the " +
                        std::to_string(l.shares.size()) + " shares";
                return std::nullopt;
            }
            double sum = 0;
            for (const double v : l.shares)
                sum += v;
            if (sum <= 0) {
                error = where + "shares: at least one share must be above 0";
                return std::nullopt;
            }
            if (!s.layers.empty() && l.shares.size() != s.layers.front().shares.size()) {
                error = where + "shares: every layer needs the same number of channels as the first";
                return std::nullopt;
            }
            previousBottom = l.bottomFt;
            s.layers.push_back(std::move(l));
        }
    }
    if (!j.contains("bottom_ft") && j.contains("layers")) s.bottomFt = s.layers.back().bottomFt;
    return s;
}

std::optional<Site> loadSite(const std::string& path, std::string& error) {
    std::ifstream in(path, std::ios::binary);
    if (!in) {
        error = "cannot read the site file " + path;
        return std::nullopt;
    }
    std::string text;
    char buf[4096];
    while (in.read(buf, sizeof buf) || in.gcount() > 0) {
        text.append(buf, static_cast<std::size_t>(in.gcount()));
        if (text.size() > (4u << 20)) {
            error = "the site file " + path + " is larger than 4 MB";
            return std::nullopt;
        }
    }
    auto site = parseSite(text, error);
    if (!site) error = "site file " + path + ": " + error;
    return site;
}

GroundAt groundAt(const Site& site, double d) {
    GroundAt g;
    const std::size_t n = static_cast<std::size_t>(site.channels());
    g.shares.assign(n, 0.0);
    g.decayNs.assign(n, 0.0);
    if (site.layers.empty()) {
        g.shares.assign(n, 1.0 / static_cast<double>(n));
        g.decayNs.assign(n, 8.0);
        return g;
    }
    std::vector<double> w(site.layers.size());
    double total = 0;
    for (std::size_t i = 0; i < w.size(); ++i) {
        const auto& l = site.layers[i];
        // The first layer reaches up to the surface and the last one down past its bottom.
        const double top = i == 0 ? 1.0 : sigmoid((d - l.topFt) / kContactFt);
        const double bottom = i + 1 == w.size() ? 1.0 : sigmoid((l.bottomFt - d) / kContactFt);
        w[i] = top * bottom;
        total += w[i];
    }
    if (total < 1e-9) { // a gap between layers: the nearer one
        std::size_t best = 0;
        double distance = 1e300;
        for (std::size_t i = 0; i < w.size(); ++i) {
            const auto& l = site.layers[i];
            const double dd = d < l.topFt ? l.topFt - d : (d > l.bottomFt ? d - l.bottomFt : 0.0);
            if (dd < distance) distance = dd, best = i;
        }
        std::fill(w.begin(), w.end(), 0.0);
        w[best] = total = 1.0;
    }
    double logK = 0;
    std::vector<double> signal(n, 0.0), weightedTau(n, 0.0), plainTau(n, 0.0);
    for (std::size_t i = 0; i < w.size(); ++i) {
        const auto& l = site.layers[i];
        const double wi = w[i] / total;
        double shareSum = 0;
        for (const double v : l.shares)
            shareSum += v;
        g.pctRe += wi * l.pctRe;
        g.ecMsPerM += wi * l.ecMsPerM;
        logK += wi * std::log(l.kFtPerDay);
        for (std::size_t c = 0; c < n; ++c) {
            const double part = wi * l.pctRe * l.shares[c] / shareSum;
            signal[c] += part;
            weightedTau[c] += part * l.decayNs[c];
            plainTau[c] += wi * l.decayNs[c];
        }
    }
    g.kFtPerDay = std::exp(logK);
    double sum = 0;
    for (const double v : signal)
        sum += v;
    for (std::size_t c = 0; c < n; ++c) {
        g.shares[c] = sum > 0 ? signal[c] / sum : 1.0 / static_cast<double>(n);
        g.decayNs[c] = signal[c] > 0 ? weightedTau[c] / signal[c] : plainTau[c];
    }
    return g;
}

} // namespace zel::sim
