#include "analysis/classify.h"

#include "analysis/text_fields.h"
#include "common/number_text.h"
#include "log/path_text.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <sstream>

namespace zel::analysis {

namespace {

constexpr std::size_t kMaxClasses = 32;
constexpr std::size_t kMaxFeatures = 16;
constexpr std::size_t kMaxRows = 10001;

std::optional<double> number(const std::string& field) {
    std::size_t start = 0;
    while (start < field.size() && field[start] == ' ')
        ++start;
    if (start == field.size()) return std::nullopt;
    // The whole field must be a number: "1.5x" is not one.
    for (std::size_t i = start; i < field.size(); ++i) {
        const char c = field[i];
        if (!((c >= '0' && c <= '9') || c == '.' || c == '-' || c == '+' || c == 'e' || c == 'E'))
            return std::nullopt;
    }
    const double v = val(field.substr(start));
    if (!std::isfinite(v) || std::abs(v) > 3.0e38) return std::nullopt;
    return v;
}

double distance2(const std::vector<double>& a, const std::vector<double>& b) {
    double d = 0;
    for (std::size_t i = 0; i < a.size() && i < b.size(); ++i)
        d += (a[i] - b[i]) * (a[i] - b[i]);
    return d;
}

std::string clean(std::string text) {
    for (char& c : text)
        if (c == '\t' || c == '\r' || c == '\n') c = ' ';
    return text;
}

bool belowFloor(const LogArrays& arrays, int p, double floorPct) {
    if (!(floorPct > 0) || point_column::Signal >= arrays.columns.width()) return false;
    const float s = arrays.columns(point_column::Signal, p);
    return !(s >= floorPct);
}

} // namespace

FeatureRows shareFeatures(const LogArrays& arrays, int channels, double floorPct) {
    const int n = arrays.columns.points();
    const int width = std::clamp(std::min(channels, arrays.columns.width() - point_column::Ch1), 0, 4);
    FeatureRows out(static_cast<std::size_t>(n));
    if (width < 2) return out;
    for (int p = 0; p < n; ++p) {
        if (belowFloor(arrays, p, floorPct)) continue;
        std::vector<double> v;
        double total = 0;
        for (int c = 0; c < width; ++c) {
            const float a = arrays.columns(point_column::Ch1 + c, p);
            // A channel below its background carries no light of the point.
            v.push_back(std::isfinite(a) ? std::max(0.0, double(a)) : 0.0);
            total += v.back();
        }
        if (!(total > 0) || !std::isfinite(total)) continue;
        for (double& x : v)
            x /= total;
        out[static_cast<std::size_t>(p)] = std::move(v);
    }
    return out;
}

FeatureRows tauFeatures(const LogArrays& arrays, const std::vector<std::vector<float>>& tauRows,
                        double floorPct) {
    const int n = arrays.columns.points();
    FeatureRows out(static_cast<std::size_t>(n));
    if (tauRows.empty()) return out;
    for (const auto& row : tauRows)
        if (static_cast<int>(row.size()) != n) return out;
    for (int p = 0; p < n; ++p) {
        if (belowFloor(arrays, p, floorPct)) continue;
        std::vector<double> v;
        for (const auto& row : tauRows) {
            const float tau = row[static_cast<std::size_t>(p)];
            if (!(tau > 0) || !std::isfinite(tau)) {
                v.clear();
                break;
            }
            v.push_back(tau);
        }
        out[static_cast<std::size_t>(p)] = std::move(v);
    }
    return out;
}

std::optional<ClassSeed> parseSeed(const std::string& text, std::string& error) {
    ClassSeed seed;
    const auto colon = text.find(':');
    const auto equals = text.find('=');
    const auto at = std::min(colon, equals);
    if (at == std::string::npos || at == 0) {
        error = "a seed is NAME:FROM-TO or NAME=V1,V2,... (\"" + text + "\")";
        return std::nullopt;
    }
    seed.name = clean(text.substr(0, at));
    const std::string rest = text.substr(at + 1);
    if (at == colon) {
        // The separator is the first "-" after the first character, so a negative top still reads.
        const auto dash = rest.find('-', 1);
        const auto from = dash == std::string::npos ? std::nullopt : number(rest.substr(0, dash));
        const auto to = dash == std::string::npos ? std::nullopt : number(rest.substr(dash + 1));
        if (!from || !to) {
            error = "the seed \"" + text + "\" has no depth range FROM-TO";
            return std::nullopt;
        }
        seed.range = std::pair{std::min(*from, *to), std::max(*from, *to)};
        return seed;
    }
    for (const auto& field : splitFields(rest, ',')) {
        const auto v = number(field);
        if (!v) {
            error = "the seed \"" + text + "\" has a value that is not a number";
            return std::nullopt;
        }
        seed.centre.push_back(*v);
    }
    if (seed.centre.empty() || seed.centre.size() > kMaxFeatures) {
        error = "the seed \"" + text + "\" needs 1 to " + std::to_string(kMaxFeatures) + " values";
        return std::nullopt;
    }
    return seed;
}

std::optional<Classification> classify(const FeatureRows& features, const std::vector<float>& depth,
                                       const std::vector<ClassSeed>& seeds, ClassFeature feature,
                                       std::string& error, int maxIterations) {
    std::size_t dims = 0;
    for (const auto& f : features)
        if (!f.empty()) {
            dims = f.size();
            break;
        }
    if (dims == 0) {
        error = "no point has the features to classify by";
        return std::nullopt;
    }
    if (seeds.empty() || seeds.size() > kMaxClasses) {
        error = "between 1 and " + std::to_string(kMaxClasses) + " seeds are needed";
        return std::nullopt;
    }
    Classification c;
    c.feature = feature;
    for (const ClassSeed& s : seeds) {
        if (std::find(c.names.begin(), c.names.end(), s.name) != c.names.end()) {
            error = "two seeds are named \"" + s.name + "\"";
            return std::nullopt;
        }
        c.names.push_back(s.name);
        std::vector<double> centre(dims, 0.0);
        if (s.range) {
            int count = 0;
            for (std::size_t p = 0; p < features.size() && p < depth.size(); ++p) {
                const double d = depth[p];
                if (features[p].size() != dims || !(d >= s.range->first && d <= s.range->second)) continue;
                for (std::size_t k = 0; k < dims; ++k)
                    centre[k] += features[p][k];
                ++count;
            }
            if (count == 0) {
                error = "the seed \"" + s.name + "\" has no point to classify between " +
                        formatNumber(s.range->first, "#0.000") + " and " +
                        formatNumber(s.range->second, "#0.000");
                return std::nullopt;
            }
            for (double& v : centre)
                v /= count;
        } else {
            if (s.centre.size() != dims) {
                error = "the seed \"" + s.name + "\" has " + std::to_string(s.centre.size()) +
                        " values; the points have " + std::to_string(dims);
                return std::nullopt;
            }
            centre = s.centre;
        }
        c.centres.push_back(std::move(centre));
    }

    const std::size_t n = features.size();
    c.pointClass.assign(n, -1);
    c.distance.assign(n, 0.0);
    for (std::size_t p = 0; p < n; ++p)
        c.depth.push_back(p < depth.size() ? depth[p] : std::numeric_limits<float>::quiet_NaN());
    const std::size_t k = c.centres.size();
    for (c.iterations = 1; c.iterations <= std::max(1, maxIterations); ++c.iterations) {
        bool changed = false;
        std::vector<std::vector<double>> sums(k, std::vector<double>(dims, 0.0));
        std::vector<int> counts(k, 0);
        for (std::size_t p = 0; p < n; ++p) {
            if (features[p].size() != dims) continue;
            int best = 0;
            double bestD = std::numeric_limits<double>::infinity();
            for (std::size_t j = 0; j < k; ++j) {
                const double d = distance2(features[p], c.centres[j]);
                if (d < bestD) bestD = d, best = static_cast<int>(j);
            }
            if (c.pointClass[p] != best) changed = true;
            c.pointClass[p] = best;
            c.distance[p] = std::sqrt(bestD);
            for (std::size_t x = 0; x < dims; ++x)
                sums[static_cast<std::size_t>(best)][x] += features[p][x];
            ++counts[static_cast<std::size_t>(best)];
        }
        if (!changed) break;
        // A class that lost every point keeps its seed's centre: the analyst named it, so it stays.
        for (std::size_t j = 0; j < k; ++j)
            if (counts[j] > 0)
                for (std::size_t x = 0; x < dims; ++x)
                    c.centres[j][x] = sums[j][x] / counts[j];
    }
    c.iterations = std::min(c.iterations, std::max(1, maxIterations));
    return c;
}

std::string classText(const Classification& c) {
    std::string out = "Classes";
    for (const auto& name : c.names)
        out += '\t' + clean(name);
    out += "\r\nFeature\t";
    out += c.feature == ClassFeature::Tau ? "tau" : "shares";
    out += "\r\n";
    for (std::size_t j = 0; j < c.names.size() && j < c.centres.size(); ++j) {
        out += "Centre\t" + clean(c.names[j]);
        for (const double v : c.centres[j])
            out += '\t' + formatNumber(v, "#0.0000");
        out += "\r\n";
    }
    out += "Depth\tClass\tDistance\r\n";
    for (std::size_t p = 0; p < c.pointClass.size(); ++p) {
        out += formatNumber(c.depth[p], "#0.000") + '\t';
        const int k = c.pointClass[p];
        if (k >= 0 && static_cast<std::size_t>(k) < c.names.size())
            out +=
                clean(c.names[static_cast<std::size_t>(k)]) + '\t' + formatNumber(c.distance[p], "#0.0000");
        else
            out += '\t';
        out += "\r\n";
    }
    return out;
}

std::optional<Classification> parseClassText(const std::string& text, std::string& error) {
    const auto ls = textLines(text);
    const auto fail = [&](const std::string& why) {
        error = why;
        return std::nullopt;
    };
    if (ls.size() < 3) return fail("not a class file (too short)");
    Classification c;
    const auto classes = splitFields(ls[0], '\t');
    if (classes[0] != "Classes" || classes.size() < 2 || classes.size() > kMaxClasses + 1)
        return fail("not a class file (first line \"" + ls[0].substr(0, 60) + "\")");
    c.names.assign(classes.begin() + 1, classes.end());
    for (const auto& name : c.names)
        if (name.empty() || std::count(c.names.begin(), c.names.end(), name) > 1)
            return fail("line 1: a class name is empty or given twice");
    const auto feature = splitFields(ls[1], '\t');
    if (feature.size() != 2 || feature[0] != "Feature" || (feature[1] != "shares" && feature[1] != "tau"))
        return fail("line 2 is not \"Feature\" shares or tau");
    c.feature = feature[1] == "tau" ? ClassFeature::Tau : ClassFeature::Shares;
    std::size_t i = 2;
    for (; i < ls.size() && ls[i].rfind("Centre\t", 0) == 0; ++i) {
        const auto f = splitFields(ls[i], '\t');
        if (c.centres.size() >= c.names.size() || f.size() < 3 || f.size() > kMaxFeatures + 2 ||
            f[1] != c.names[c.centres.size()])
            return fail("line " + std::to_string(i + 1) + " is not the next class's centre");
        std::vector<double> centre;
        for (std::size_t k = 2; k < f.size(); ++k) {
            const auto v = number(f[k]);
            if (!v) return fail("line " + std::to_string(i + 1) + ": a centre value is not a number");
            centre.push_back(*v);
        }
        if (!c.centres.empty() && centre.size() != c.centres.front().size())
            return fail("line " + std::to_string(i + 1) + ": the centres differ in length");
        c.centres.push_back(std::move(centre));
    }
    if (c.centres.size() != c.names.size()) return fail("a class has no centre line");
    if (i >= ls.size() || ls[i] != "Depth\tClass\tDistance") return fail("no \"Depth\" header line");
    if (ls.size() - i - 1 > kMaxRows) return fail("more than 10001 points");
    for (++i; i < ls.size(); ++i) {
        const std::string where = "line " + std::to_string(i + 1);
        const auto f = splitFields(ls[i], '\t');
        const auto d = f.size() == 3 ? number(f[0]) : std::nullopt;
        if (!d) return fail(where + " is not a point");
        c.depth.push_back(static_cast<float>(*d));
        if (f[1].empty()) {
            c.pointClass.push_back(-1);
            c.distance.push_back(0.0);
            continue;
        }
        const auto k = std::find(c.names.begin(), c.names.end(), f[1]);
        const auto dist = number(f[2]);
        if (k == c.names.end() || !dist)
            return fail(where + ": class \"" + f[1] + "\" is not one of the file's");
        c.pointClass.push_back(static_cast<int>(k - c.names.begin()));
        c.distance.push_back(*dist);
    }
    return c;
}

std::optional<std::vector<int>> classColumn(const Classification& c, const PointMatrix& columns) {
    if (c.pointClass.size() != c.depth.size() || !sameDepths(c.depth, columns)) return std::nullopt;
    return c.pointClass;
}

std::string classPath(const std::string& rawLogPath) {
    return replaceEndingNoCase(rawLogPath, ".raw.bin", ".class.txt");
}

} // namespace zel::analysis
