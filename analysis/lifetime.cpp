#include "analysis/lifetime.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace zel::analysis {

namespace {

struct Trial {
    double misfit = std::numeric_limits<double>::infinity();
    double amplitude = 0, offset = 0;
};

// The response convolved with exp(-t / tau), sample by sample: the decay is a first-order recursion, so
// the convolution costs one pass, not a double sum. The response is taken as positive light only.
void convolve(std::span<const float> response, double dtNs, double tauNs, std::vector<double>& out) {
    const double keep = std::exp(-dtNs / tauNs);
    out.resize(response.size());
    double y = 0.0;
    for (std::size_t k = 0; k < response.size(); ++k) {
        y = y * keep + std::max(0.0f, response[k]);
        out[k] = y;
    }
}

// Least squares of signal = a * model + c in closed form, with the model made on the fly in the same
// pass: the misfit follows from the sums (|s|^2 - a s.m - c sum s), so nothing is stored per sample.
Trial trial(std::span<const float> s, std::span<const float> response, double dtNs, double tauNs, double ss,
            double sss) {
    const double keep = std::exp(-dtNs / tauNs);
    const double n = static_cast<double>(s.size());
    double y = 0, sm = 0, smm = 0, ssm = 0;
    for (std::size_t k = 0; k < s.size(); ++k) {
        y = y * keep + std::max(0.0f, response[k]);
        sm += y;
        smm += y * y;
        ssm += s[k] * y;
    }
    const double det = n * smm - sm * sm;
    Trial t;
    if (!(std::abs(det) > 1e-300)) return t;
    t.amplitude = (n * ssm - sm * ss) / det;
    t.offset = (ss - t.amplitude * sm) / n;
    t.misfit = std::max(0.0, sss - t.amplitude * ssm - t.offset * ss);
    return t;
}

} // namespace

std::vector<double> convolvedDecay(std::span<const float> response, double dtNs, double tauNs) {
    std::vector<double> m;
    convolve(response, dtNs, tauNs, m);
    return m;
}

LifetimeFit fitDecay(std::span<const float> signal, std::span<const float> response, double dtNs,
                     const LifetimeSettings& settings) {
    LifetimeFit fit;
    const std::size_t n = std::min(signal.size(), response.size());
    if (n < 4 || !(dtNs > 0) || !(settings.minTauNs > 0) || !(settings.maxTauNs > settings.minTauNs)) {
        fit.weak = true;
        return fit;
    }
    signal = signal.first(n);
    response = response.first(n);
    double area = 0, squares = 0;
    for (const float v : signal) {
        area += v;
        squares += static_cast<double>(v) * v;
    }
    if (!std::isfinite(area) || area < settings.cutoffArea || area <= 0) {
        fit.weak = true;
        return fit;
    }
    const auto misfitAt = [&](double logTau, Trial& t) {
        t = trial(signal, response, dtNs, std::exp(logTau), area, squares);
        // A negative amplitude is not a decay of this light.
        return t.amplitude > 0 ? t.misfit : std::numeric_limits<double>::infinity();
    };
    // Coarse scan on a logarithmic grid, then golden section in the bracket around the best node.
    constexpr int kNodes = 16;
    const double lo = std::log(settings.minTauNs), hi = std::log(settings.maxTauNs);
    const double step = (hi - lo) / (kNodes - 1);
    int best = 0;
    double bestMisfit = std::numeric_limits<double>::infinity();
    Trial t;
    for (int i = 0; i < kNodes; ++i) {
        const double m = misfitAt(lo + i * step, t);
        if (m < bestMisfit) bestMisfit = m, best = i;
    }
    if (!std::isfinite(bestMisfit)) {
        fit.weak = true;
        return fit;
    }
    double a = lo + std::max(best - 1, 0) * step, b = lo + std::min(best + 1, kNodes - 1) * step;
    const double g = (std::sqrt(5.0) - 1) / 2;
    double x1 = b - g * (b - a), x2 = a + g * (b - a);
    Trial t1, t2;
    double f1 = misfitAt(x1, t1), f2 = misfitAt(x2, t2);
    // 1e-4 in the logarithm: the decay to a hundredth of a percent, far below what the noise allows.
    for (int i = 0; i < 40 && b - a > 1e-4; ++i) {
        if (f1 < f2) {
            b = x2, x2 = x1, f2 = f1;
            x1 = b - g * (b - a);
            f1 = misfitAt(x1, t1);
        } else {
            a = x1, x1 = x2, f1 = f2;
            x2 = a + g * (b - a);
            f2 = misfitAt(x2, t2);
        }
    }
    const double logTau = (a + b) / 2;
    const double m = misfitAt(logTau, t);
    if (!std::isfinite(m)) {
        fit.weak = true;
        return fit;
    }
    fit.tauNs = std::exp(logTau);
    fit.amplitude = t.amplitude;
    fit.offset = t.offset;
    fit.residual = std::sqrt(m / static_cast<double>(n));
    return fit;
}

std::vector<LifetimeFit> fitChannels(std::span<const float> wave, std::span<const float> re,
                                     std::span<const int> boundaries, double dtNs,
                                     const LifetimeSettings& settings) {
    const int n = static_cast<int>(std::min(wave.size(), re.size()));
    std::vector<int> edges{0};
    for (const int b : boundaries)
        if (b > edges.back() && b < n) edges.push_back(b);
    edges.push_back(n);
    std::vector<LifetimeFit> fits;
    for (std::size_t c = 0; c + 1 < edges.size(); ++c) {
        const auto first = static_cast<std::size_t>(edges[c]);
        const auto count = static_cast<std::size_t>(edges[c + 1] - edges[c]);
        fits.push_back(fitDecay(wave.subspan(first, count), re.subspan(first, count), dtNs, settings));
    }
    return fits;
}

} // namespace zel::analysis
