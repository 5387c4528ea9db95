#include "analysis/cond_cal.h"

#include "common/number_text.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace zel::cond_cal {

double Calibration::conductivity(double v) const {
    return constants[0] + constants[1] * v + constants[2] * v * v;
}

namespace {

// Solves the 3 x 3 system a x = b by Gaussian elimination with partial pivoting; empty when singular.
std::optional<std::array<double, 3>> solve(std::array<std::array<double, 3>, 3> a, std::array<double, 3> b) {
    double scale = 0.0;
    for (const auto& row : a)
        for (double v : row)
            scale = std::max(scale, std::fabs(v));
    if (!(scale > 0.0)) return std::nullopt;
    for (int col = 0; col < 3; ++col) {
        int pivot = col;
        for (int r = col + 1; r < 3; ++r)
            if (std::fabs(a[r][col]) > std::fabs(a[pivot][col])) pivot = r;
        if (std::fabs(a[pivot][col]) < 1e-12 * scale) return std::nullopt;
        std::swap(a[pivot], a[col]);
        std::swap(b[pivot], b[col]);
        for (int r = col + 1; r < 3; ++r) {
            const double f = a[r][col] / a[col][col];
            for (int k = col; k < 3; ++k)
                a[r][k] -= f * a[col][k];
            b[r] -= f * b[col];
        }
    }
    std::array<double, 3> x{};
    for (int r = 2; r >= 0; --r) {
        double s = b[r];
        for (int k = r + 1; k < 3; ++k)
            s -= a[r][k] * x[k];
        x[r] = s / a[r][r];
    }
    return x;
}

std::string solutionText(float ms) {
    return shortestText(ms) + " mS/m";
}

} // namespace

std::optional<Calibration> fit(const std::array<float, kSolutions>& volts, std::string& error,
                               const std::array<float, kSolutions>& ms) {
    for (int i = 0; i < kSolutions; ++i) {
        const float v = volts[i];
        if (!std::isfinite(v) || !std::isfinite(ms[i])) {
            error = "The reading in the " + solutionText(ms[i]) + " solution is not a number.";
            return std::nullopt;
        }
        // The zero solution may sit at the bottom of the input: a circuit without an offset reads 0 V there.
        if (v >= kFullScaleV - kRailMarginV || (i > 0 && v <= kRailMarginV) || v < 0.0f) {
            error = "The reading in the " + solutionText(ms[i]) + " solution (" + formatNumber(v, "#0.000") +
                    " V) is at the end of the input's range.";
            return std::nullopt;
        }
        if (i > 0 && !(v > volts[i - 1] && ms[i] > ms[i - 1])) {
            error = "The reading in the " + solutionText(ms[i]) + " solution (" + formatNumber(v, "#0.000") +
                    " V) is not above the one in the " + solutionText(ms[i - 1]) + " solution (" +
                    formatNumber(volts[i - 1], "#0.000") +
                    " V). Check that the probe was in that solution and read it again.";
            return std::nullopt;
        }
    }
    // Normal equations of the least-squares fit in the powers 0, 1, 2 of the voltage.
    std::array<std::array<double, 3>, 3> ata{};
    std::array<double, 3> atb{};
    for (int i = 0; i < kSolutions; ++i) {
        const double v = volts[i];
        const std::array<double, 3> row = {1.0, v, v * v};
        for (int r = 0; r < 3; ++r) {
            for (int c = 0; c < 3; ++c)
                ata[r][c] += row[r] * row[c];
            atb[r] += row[r] * ms[i];
        }
    }
    const auto x = solve(ata, atb);
    if (!x) {
        error = "The readings do not determine a calibration: the voltages are too close together.";
        return std::nullopt;
    }
    Calibration c;
    c.volts = volts;
    c.ms = ms;
    for (int k = 0; k < 3; ++k)
        c.constants[k] = static_cast<float>((*x)[k]);
    return c;
}

double worstResidual(const Calibration& c) {
    double worst = 0.0;
    for (int i = 0; i < kSolutions; ++i)
        worst = std::max(worst, std::fabs(c.conductivity(c.volts[i]) - c.ms[i]));
    return worst;
}

} // namespace zel::cond_cal
