#include "analysis/dissipation.h"

#include "analysis/k_estimate.h"
#include "common/atomic_file.h"
#include "common/number_text.h"

#include <charconv>
#include <cmath>
#include <fstream>
#include <iterator>
#include <map>
#include <sstream>

namespace zel {

namespace {

double meanOver(const DissipationCurve& c, double fromS, double toS, int& count) {
    double sum = 0.0;
    count = 0;
    for (std::size_t i = 0; i < c.timeS.size() && i < c.presDown.size(); ++i)
        if (c.timeS[i] >= fromS && c.timeS[i] <= toS) {
            sum += c.presDown[i];
            ++count;
        }
    return count > 0 ? sum / count : 0.0;
}

std::optional<double> fieldNumber(std::string_view t) {
    double v = 0.0;
    const auto [end, ec] = std::from_chars(t.data(), t.data() + t.size(), v);
    if (t.empty() || ec != std::errc() || end != t.data() + t.size() || !std::isfinite(v))
        return std::nullopt;
    return v;
}

constexpr const char* kHeader = "Test\tDepth\tTime\tPresDown";
constexpr std::size_t kMaxReadings = 100000;

} // namespace

namespace {

struct ExponentialFit {
    double level = 0.0;
    double tau = 0.0;
    double residual = 0.0;
};

// For a fixed tau the level and amplitude are a straight-line fit against e^(-t / tau).
ExponentialFit fitAt(const DissipationCurve& c, double tau) {
    const std::size_t n = c.timeS.size();
    double sx = 0, sp = 0;
    for (std::size_t i = 0; i < n; ++i) {
        sx += std::exp(-c.timeS[i] / tau);
        sp += c.presDown[i];
    }
    const double mx = sx / n, mp = sp / n;
    double sxx = 0, sxp = 0;
    for (std::size_t i = 0; i < n; ++i) {
        const double x = std::exp(-c.timeS[i] / tau) - mx;
        sxx += x * x;
        sxp += x * (c.presDown[i] - mp);
    }
    const double b = sxx > 0 ? sxp / sxx : 0.0;
    ExponentialFit f{mp - b * mx, tau, 0.0};
    for (std::size_t i = 0; i < n; ++i) {
        const double e = c.presDown[i] - (f.level + b * std::exp(-c.timeS[i] / tau));
        f.residual += e * e;
    }
    return f;
}

} // namespace

std::optional<double> staticPressure(const DissipationCurve& curve) {
    if (curve.timeS.empty() || curve.timeS.size() != curve.presDown.size()) return std::nullopt;
    const double end = curve.timeS.back();
    if (static_cast<int>(curve.timeS.size()) >= dissipation::kMinFitReadings && end > 0.0) {
        // A logarithmic scan of tau from a tenth of a second to twice the test, then finer ones about the
        // best: a test stopped early puts its level far from the last reading, where tau matters.
        ExponentialFit best = fitAt(curve, 0.1);
        const auto scan = [&](double from, double to, int steps) {
            for (int i = 0; i <= steps; ++i) {
                const ExponentialFit f =
                    fitAt(curve, from * std::pow(to / from, static_cast<double>(i) / steps));
                if (f.residual < best.residual) best = f;
            }
        };
        scan(0.1, 2.0 * end, 120);
        for (double span : {1.1, 1.01, 1.001})
            scan(best.tau / span, best.tau * span, 40);
        if (best.tau <= end) return best.level;
    }
    int count = 0;
    const double level = meanOver(curve, end - end * dissipation::kLevelShare, end, count);
    if (count < dissipation::kMinLevelReadings) return std::nullopt;
    return level;
}

bool levelled(const DissipationCurve& curve, double windowS, double tolerancePsi) {
    if (curve.timeS.empty() || curve.timeS.back() < windowS) return false;
    const double end = curve.timeS.back();
    int early = 0, late = 0;
    const double a = meanOver(curve, end - windowS, end - windowS / 2, early);
    const double b = meanOver(curve, end - windowS / 2 + 1e-9, end, late);
    return early >= 2 && late >= 2 && std::fabs(b - a) < tolerancePsi;
}

double waterTableFromStatic(double depthFt, double staticPsi, float hpt1ft) {
    const double p0 = hpt1ft == 0.0f ? k_estimate::kDefaultReferencePsi
                                     : static_cast<double>(hpt1ft) - k_estimate::kPsiPerFootOfWater;
    return depthFt - (staticPsi - p0) / k_estimate::kPsiPerFootOfWater;
}

std::string dissipationFilePath(const std::string& rawLogPath) {
    for (const char* ext : {".raw.bin", ".RAW.BIN"}) {
        const std::string e = ext;
        if (rawLogPath.size() >= e.size() &&
            rawLogPath.compare(rawLogPath.size() - e.size(), e.size(), e) == 0)
            return rawLogPath.substr(0, rawLogPath.size() - e.size()) + ".dis.txt";
    }
    return rawLogPath + ".dis.txt";
}

bool writeDissipationFile(const std::string& path, const std::vector<DissipationCurve>& curves,
                          std::string& error) {
    std::string out = std::string(kHeader) + "\r\n";
    for (const DissipationCurve& c : curves)
        for (std::size_t i = 0; i < c.timeS.size() && i < c.presDown.size(); ++i)
            out += std::to_string(c.test) + '\t' + formatNumber(c.depth, "#0.000") + '\t' +
                   formatNumber(c.timeS[i], "#0.000") + '\t' + formatNumber(c.presDown[i], "#0.000") + "\r\n";
    if (replaceFileAtomically(path, out)) return true;
    error = "cannot write " + path;
    return false;
}

std::optional<std::vector<DissipationCurve>> readDissipationFile(const std::string& path,
                                                                 std::string& error) {
    std::ifstream in(path, std::ios::binary);
    if (!in) return std::vector<DissipationCurve>{};
    std::map<int, DissipationCurve> tests;
    std::string line;
    int number = 0;
    while (std::getline(in, line)) {
        ++number;
        if (!line.empty() && line.back() == '\r') line.pop_back();
        if (line.empty() || (number == 1 && line == kHeader)) continue;
        std::vector<std::string_view> f;
        std::string_view rest = line;
        for (std::size_t tab; (tab = rest.find('\t')) != std::string_view::npos; rest.remove_prefix(tab + 1))
            f.push_back(rest.substr(0, tab));
        f.push_back(rest);
        const auto test = f.size() == 4 ? fieldNumber(f[0]) : std::nullopt;
        const auto depth = f.size() == 4 ? fieldNumber(f[1]) : std::nullopt;
        const auto time = f.size() == 4 ? fieldNumber(f[2]) : std::nullopt;
        const auto pres = f.size() == 4 ? fieldNumber(f[3]) : std::nullopt;
        if (!test || !depth || !time || !pres || *test < 0 || *test >= dissipation::kMaxTests ||
            *test != std::floor(*test)) {
            error =
                path + " line " + std::to_string(number) + ": expected Test (0..4), Depth, Time, PresDown";
            return std::nullopt;
        }
        DissipationCurve& c = tests[static_cast<int>(*test)];
        if (c.timeS.size() >= kMaxReadings) {
            error = path + " line " + std::to_string(number) + ": more readings than a test can hold";
            return std::nullopt;
        }
        c.test = static_cast<int>(*test);
        c.depth = static_cast<float>(*depth);
        c.timeS.push_back(static_cast<float>(*time));
        c.presDown.push_back(static_cast<float>(*pres));
    }
    std::vector<DissipationCurve> curves;
    for (auto& [n, c] : tests)
        curves.push_back(std::move(c));
    return curves;
}

} // namespace zel
