#include "analysis/waveform_fits.h"

#include "analysis/nnls.h"
#include "analysis/text_fields.h"
#include "common/host.h"
#include "common/number_text.h"
#include "log/path_text.h"
#include "waveform/waveform.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <sstream>

namespace zel::analysis {

namespace {

constexpr const char* kLibraryHeader = "ZEL basis library 1";
constexpr std::size_t kMaxSamples = 100000;
constexpr std::size_t kMaxBases = 64;
constexpr std::size_t kMaxRows = 10001;

// A number field of a file: finite, or nullopt.
std::optional<float> number(const std::string& field) {
    if (field.empty()) return std::nullopt;
    const double v = val(field);
    if (!std::isfinite(v) || std::abs(v) > 3.0e38) return std::nullopt;
    return static_cast<float>(v);
}

// No separator of the library's line can stand in a basis name or a log's name.
std::string clean(std::string text) {
    for (char& c : text)
        if (c == '\t' || c == '\r' || c == '\n') c = ' ';
    return text;
}

double sum(std::span<const float> v) {
    double s = 0;
    for (const float x : v)
        s += x;
    return s;
}

} // namespace

std::vector<int> logBoundaries(const cZEL_Data& log, const LogArrays& arrays, int channels, Host& host) {
    if (channels <= 4) {
        const auto& c = log.Cutoff_Index();
        return {c[0], c[1], c[2]};
    }
    // Seven channels: the file keeps three boundaries, the search on the RE finds the six.
    cZEL_Waveform re(host);
    re.ChannelCount = 6;
    const std::vector<float> response = logResponse(arrays);
    re.Process_Cutoffs(response, false);
    std::vector<int> b;
    for (int i = 0; i < re.ChannelCount && i < kMaxCutoffs; ++i)
        b.push_back(re.Cutoff[static_cast<std::size_t>(i)]);
    return b;
}

std::vector<float> logResponse(const LogArrays& arrays) {
    std::vector<float> r = arrays.re.samples;
    const auto& bg = arrays.blank.samples;
    for (std::size_t k = 0; k < r.size() && k < bg.size(); ++k)
        r[k] -= bg[k];
    return r;
}

LifetimeFitter::LifetimeFitter(const cZEL_Data& log, const LogArrays& arrays, int channels,
                               const LifetimeSettings& settings, Host& host)
    : boundaries_(logBoundaries(log, arrays, channels, host)), response_(logResponse(arrays)),
      dtNs_(log.Wave_DeltaX() * 1e9), channels_(static_cast<int>(boundaries_.size()) + 1),
      settings_(settings) {}

std::vector<LifetimeFit> LifetimeFitter::fit(std::span<const float> wave) const {
    auto fits = fitChannels(wave, response_, boundaries_, dtNs_, settings_);
    fits.resize(static_cast<std::size_t>(channels_)); // windows the record cannot hold stay unfitted
    for (auto& f : fits)
        if (f.tauNs == 0) f.weak = true;
    return fits;
}

LogLifetimes fitLogLifetimes(const cZEL_Data& log, const LogArrays& arrays, int channels,
                             const LifetimeSettings& settings, Host& host) {
    LogLifetimes out;
    const LifetimeFitter fitter(log, arrays, channels, settings, host);
    out.channels = fitter.channels();
    for (int p = 0; p < arrays.points(); ++p) {
        out.depth.push_back(arrays.columns(point_column::Depth, p));
        out.points.push_back(fitter.fit(arrays.waves.wave(p)));
    }
    return out;
}

std::string lifetimeText(const LogLifetimes& fits) {
    std::string out = "Depth";
    for (int c = 1; c <= fits.channels; ++c)
        out += "\tTau" + std::to_string(c);
    for (int c = 1; c <= fits.channels; ++c)
        out += "\tRms" + std::to_string(c);
    out += "\r\n";
    for (std::size_t p = 0; p < fits.points.size(); ++p) {
        out += formatNumber(fits.depth[p], "#0.000");
        for (const auto& f : fits.points[p])
            out += '\t' + (f.weak ? std::string() : formatNumber(f.tauNs, "#0.000"));
        for (const auto& f : fits.points[p])
            out += '\t' + (f.weak ? std::string() : formatNumber(f.residual, "#0.0000"));
        out += "\r\n";
    }
    return out;
}

std::optional<LogLifetimes> parseLifetimeText(const std::string& text, std::string& error) {
    const auto ls = textLines(text);
    if (ls.empty() || ls.size() > kMaxRows + 1) {
        error = "not a lifetime file (no header, or more than 10001 points)";
        return std::nullopt;
    }
    const auto head = splitFields(ls[0], '\t');
    if (head.size() < 3 || head[0] != "Depth" || head.size() % 2 != 1 || head.size() > 15) {
        error = "not a lifetime file (header \"" + ls[0].substr(0, 60) + "\")";
        return std::nullopt;
    }
    LogLifetimes out;
    out.channels = static_cast<int>(head.size() / 2);
    for (std::size_t i = 1; i < ls.size(); ++i) {
        const auto f = splitFields(ls[i], '\t');
        const auto depth = f.size() == head.size() ? number(f[0]) : std::nullopt;
        if (!depth) {
            error = "line " + std::to_string(i + 1) + " is not a point";
            return std::nullopt;
        }
        out.depth.push_back(*depth);
        std::vector<LifetimeFit> fits(static_cast<std::size_t>(out.channels));
        for (int c = 0; c < out.channels; ++c) {
            const auto tau = number(f[1 + c]);
            const auto rms = number(f[1 + out.channels + c]);
            fits[c].weak = !tau;
            fits[c].tauNs = tau.value_or(0.0f);
            fits[c].residual = rms.value_or(0.0f);
        }
        out.points.push_back(std::move(fits));
    }
    return out;
}

const BasisWaveform* BasisLibrary::find(const std::string& name) const {
    for (const auto& b : bases)
        if (b.name == name) return &b;
    return nullptr;
}

std::string basisLibraryText(const BasisLibrary& library) {
    std::string out = std::string(kLibraryHeader) + "\r\n";
    for (const auto& b : library.bases) {
        out += clean(b.name) + '\t' + clean(b.source) + '\t' + shortestText(b.fromDepth) + '\t' +
               shortestText(b.toDepth) + '\t' + shortestText(b.reArea) + '\t' + shortestText(b.deltaX) + '\t';
        for (std::size_t k = 0; k < b.samples.size(); ++k)
            out += (k ? "," : "") + shortestText(b.samples[k]);
        out += "\r\n";
    }
    return out;
}

std::optional<BasisLibrary> parseBasisLibrary(const std::string& text, std::string& error) {
    const auto ls = textLines(text);
    if (ls.empty() || ls[0] != kLibraryHeader) {
        error = "not a basis library (its first line is not \"" + std::string(kLibraryHeader) + "\")";
        return std::nullopt;
    }
    BasisLibrary lib;
    for (std::size_t i = 1; i < ls.size(); ++i) {
        const std::string where = "line " + std::to_string(i + 1);
        const auto f = splitFields(ls[i], '\t');
        if (f.size() != 7 || f[0].empty()) {
            error = where + ": expected name, source, from, to, RE area, time step and samples";
            return std::nullopt;
        }
        if (lib.bases.size() >= kMaxBases) {
            error = "more than " + std::to_string(kMaxBases) + " bases";
            return std::nullopt;
        }
        BasisWaveform b;
        b.name = f[0];
        b.source = f[1];
        const auto from = number(f[2]), to = number(f[3]), area = number(f[4]), dt = number(f[5]);
        if (!from || !to || !area || !dt || !(*area > 0) || !(*dt > 0)) {
            error = where + ": a depth, the RE area or the time step is not a number (the last two above 0)";
            return std::nullopt;
        }
        b.fromDepth = *from, b.toDepth = *to, b.reArea = *area, b.deltaX = *dt;
        const auto values = splitFields(f[6], ',');
        if (values.size() < 4 || values.size() > kMaxSamples) {
            error = where + ": between 4 and " + std::to_string(kMaxSamples) + " samples expected";
            return std::nullopt;
        }
        for (const auto& v : values) {
            const auto x = number(v);
            if (!x) {
                error = where + ": a sample is not a number";
                return std::nullopt;
            }
            b.samples.push_back(*x);
        }
        if (lib.find(b.name)) {
            error = where + ": the name \"" + b.name + "\" is already in the library";
            return std::nullopt;
        }
        lib.bases.push_back(std::move(b));
    }
    return lib;
}

std::optional<BasisWaveform> basisFromLog(const cZEL_Data& log, const LogArrays& arrays,
                                          const std::string& name, float fromDepth, float toDepth,
                                          std::string& error) {
    if (!(log.RE_Area() > 0)) {
        error = "the log has no RE area to normalise by";
        return std::nullopt;
    }
    if (fromDepth > toDepth) std::swap(fromDepth, toDepth);
    const int n = arrays.waves.samplesPerWave();
    std::vector<double> acc(static_cast<std::size_t>(n), 0.0);
    int count = 0;
    for (int p = 0; p < arrays.points(); ++p) {
        const float d = arrays.columns(point_column::Depth, p);
        if (d < fromDepth || d > toDepth) continue;
        const auto w = arrays.waves.wave(p);
        for (int k = 0; k < n; ++k)
            acc[static_cast<std::size_t>(k)] += w[static_cast<std::size_t>(k)];
        ++count;
    }
    if (count == 0) {
        error = "no point of the log lies between " + formatNumber(fromDepth, "#0.000") + " and " +
                formatNumber(toDepth, "#0.000");
        return std::nullopt;
    }
    BasisWaveform b;
    b.name = clean(name);
    b.source = clean(log.File_Title_NoExt());
    b.fromDepth = fromDepth;
    b.toDepth = toDepth;
    b.reArea = log.RE_Area();
    b.deltaX = log.Wave_DeltaX();
    for (const double v : acc)
        b.samples.push_back(static_cast<float>(v / count * 1000.0 / b.reArea));
    return b;
}

std::optional<NnlsFitter> NnlsFitter::make(const cZEL_Data& log, const LogArrays& arrays,
                                           const std::vector<const BasisWaveform*>& bases,
                                           std::string& error) {
    const int n = arrays.waves.samplesPerWave();
    if (bases.empty()) {
        error = "no basis waveform to fit with";
        return std::nullopt;
    }
    if (!(log.RE_Area() > 0)) {
        error = "the log has no RE area to normalise by";
        return std::nullopt;
    }
    NnlsFitter f;
    f.A_.resize(n, static_cast<Eigen::Index>(bases.size()));
    for (std::size_t j = 0; j < bases.size(); ++j) {
        const BasisWaveform& b = *bases[j];
        const double dt = log.Wave_DeltaX();
        if (static_cast<int>(b.samples.size()) != n || !(std::abs(b.deltaX - dt) <= 0.01 * std::abs(dt))) {
            error = "the basis \"" + b.name + "\" has " + std::to_string(b.samples.size()) + " samples of " +
                    shortestText(b.deltaX) + " s, the log " + std::to_string(n) + " of " +
                    shortestText(log.Wave_DeltaX()) + " s";
            return std::nullopt;
        }
        for (int k = 0; k < n; ++k)
            f.A_(k, static_cast<Eigen::Index>(j)) = b.samples[static_cast<std::size_t>(k)];
        f.basisArea_.push_back(sum(b.samples));
        f.names_.push_back(b.name);
    }
    f.scale_ = 1000.0 / log.RE_Area();
    return f;
}

NnlsPoint NnlsFitter::fit(std::span<const float> wave) const {
    const auto n = A_.rows();
    Eigen::VectorXd v = Eigen::VectorXd::Zero(n);
    for (Eigen::Index k = 0; k < n && static_cast<std::size_t>(k) < wave.size(); ++k)
        v(k) = wave[static_cast<std::size_t>(k)] * scale_;
    const NnlsResult r = nnls(A_, v);
    const double area = v.sum();
    NnlsPoint out;
    double explained = 0;
    for (std::size_t j = 0; j < names_.size(); ++j) {
        const double share = area > 0 ? r.x(static_cast<Eigen::Index>(j)) * basisArea_[j] / area : 0.0;
        out.shares.push_back(static_cast<float>(share));
        explained += share;
    }
    out.generic = static_cast<float>(std::max(0.0, 1.0 - explained));
    const double norm = v.norm();
    out.residual = static_cast<float>(norm > 0 ? r.residualNorm / norm : 0.0);
    return out;
}

std::optional<LogNnls> fitLogNnls(const cZEL_Data& log, const LogArrays& arrays,
                                  const std::vector<const BasisWaveform*>& bases, std::string& error) {
    const auto fitter = NnlsFitter::make(log, arrays, bases, error);
    if (!fitter) return std::nullopt;
    LogNnls out;
    out.names = fitter->names();
    for (int p = 0; p < arrays.points(); ++p) {
        NnlsPoint r = fitter->fit(arrays.waves.wave(p));
        out.depth.push_back(arrays.columns(point_column::Depth, p));
        out.shares.push_back(std::move(r.shares));
        out.generic.push_back(r.generic);
        out.residual.push_back(r.residual);
    }
    return out;
}

std::string nnlsText(const LogNnls& fits) {
    std::string out = "Depth";
    for (const auto& name : fits.names)
        out += '\t' + clean(name);
    out += "\tGeneric\tResidual\r\n";
    for (std::size_t p = 0; p < fits.depth.size(); ++p) {
        out += formatNumber(fits.depth[p], "#0.000");
        for (const float s : fits.shares[p])
            out += '\t' + formatNumber(s, "#0.0000");
        out += '\t' + formatNumber(fits.generic[p], "#0.0000") + '\t' +
               formatNumber(fits.residual[p], "#0.0000");
        out += "\r\n";
    }
    return out;
}

std::optional<LogNnls> parseNnlsText(const std::string& text, std::string& error) {
    const auto ls = textLines(text);
    if (ls.empty() || ls.size() > kMaxRows + 1) {
        error = "not an NNLS file (no header, or more than 10001 points)";
        return std::nullopt;
    }
    const auto head = splitFields(ls[0], '\t');
    if (head.size() < 4 || head.size() > kMaxBases + 3 || head[0] != "Depth" ||
        head[head.size() - 2] != "Generic" || head.back() != "Residual") {
        error = "not an NNLS file (header \"" + ls[0].substr(0, 60) + "\")";
        return std::nullopt;
    }
    LogNnls out;
    out.names.assign(head.begin() + 1, head.end() - 2);
    for (std::size_t i = 1; i < ls.size(); ++i) {
        const auto f = splitFields(ls[i], '\t');
        std::vector<float> values;
        for (const auto& field : f)
            if (const auto x = number(field)) values.push_back(*x);
        if (f.size() != head.size() || values.size() != head.size()) {
            error = "line " + std::to_string(i + 1) + " is not a point";
            return std::nullopt;
        }
        out.depth.push_back(values[0]);
        out.shares.emplace_back(values.begin() + 1, values.end() - 2);
        out.generic.push_back(values[values.size() - 2]);
        out.residual.push_back(values.back());
    }
    return out;
}

std::string lifetimePath(const std::string& rawLogPath) {
    return replaceEndingNoCase(rawLogPath, ".raw.bin", ".tau.txt");
}

std::string nnlsPath(const std::string& rawLogPath) {
    return replaceEndingNoCase(rawLogPath, ".raw.bin", ".nnls.txt");
}

bool sameDepths(const std::vector<float>& depths, const PointMatrix& columns) {
    const int n = columns.points();
    if (static_cast<int>(depths.size()) != n || point_column::Depth >= columns.width()) return false;
    for (int p = 0; p < n; ++p)
        // The fits name their points by depth, as the text file prints it (three decimals).
        if (!(std::fabs(depths[static_cast<std::size_t>(p)] - columns(point_column::Depth, p)) <= 0.0006f))
            return false;
    return true;
}

std::optional<std::vector<std::vector<float>>> lifetimeRows(const LogLifetimes& fits,
                                                            const PointMatrix& columns) {
    if (fits.channels < 1 || fits.points.size() != fits.depth.size() || !sameDepths(fits.depth, columns))
        return std::nullopt;
    std::vector<std::vector<float>> rows(static_cast<std::size_t>(fits.channels));
    for (const auto& point : fits.points) {
        if (static_cast<int>(point.size()) != fits.channels) return std::nullopt;
        for (std::size_t c = 0; c < point.size(); ++c)
            rows[c].push_back(point[c].weak ? std::numeric_limits<float>::quiet_NaN()
                                            : static_cast<float>(point[c].tauNs));
    }
    return rows;
}

std::optional<NnlsColumn> nnlsColumn(const LogNnls& fits, const PointMatrix& columns) {
    const int n = columns.points();
    if (fits.names.empty() || static_cast<int>(fits.shares.size()) != n || !sameDepths(fits.depth, columns))
        return std::nullopt;
    std::vector<double> total(fits.names.size(), 0.0);
    for (int p = 0; p < n; ++p) {
        if (fits.shares[p].size() != fits.names.size()) return std::nullopt;
        for (std::size_t b = 0; b < total.size(); ++b)
            total[b] += fits.shares[p][b];
    }
    const auto best = static_cast<std::size_t>(std::max_element(total.begin(), total.end()) - total.begin());
    NnlsColumn c;
    c.basis = fits.names[best];
    for (int p = 0; p < n; ++p)
        c.sharePct.push_back(100.0f * fits.shares[p][best]);
    return c;
}

} // namespace zel::analysis
