// Lifetimes and basis fits of a whole log: 10,001 waveforms of 501 samples, four channels, four bases.
// Each iteration is the whole log, so the reported time is the time a load or a push would spend.
#include "analysis/classify.h"
#include "analysis/lifetime.h"
#include "analysis/nnls.h"

#include <benchmark/benchmark.h>

#include <cmath>
#include <random>
#include <vector>

namespace {

constexpr int kPoints = 10001;
constexpr int kSamples = 501;
constexpr double kDtNs = 0.8;
const std::vector<int> kBoundaries{125, 225, 325};

// Four channel pulses 100 samples apart with the given decays and shares.
std::vector<float> wave(const double (&tau)[4], const double (&share)[4], double noise, std::mt19937& rng) {
    std::normal_distribution<double> n(0.0, noise);
    std::vector<float> w(kSamples);
    for (int k = 0; k < kSamples; ++k) {
        double v = 0;
        for (int c = 0; c < 4; ++c) {
            const double t = (k - 50 - 100 * c) * kDtNs;
            if (t > 0) v += 100 * share[c] * std::exp(-t / tau[c]) * (1 - std::exp(-t / 1.5));
        }
        w[static_cast<std::size_t>(k)] = static_cast<float>(v + (noise > 0 ? n(rng) : 0.0));
    }
    return w;
}

std::vector<std::vector<float>> logWaves(std::mt19937& rng) {
    std::vector<std::vector<float>> waves;
    for (int p = 0; p < kPoints; ++p) {
        const double f = (p % 100) / 100.0;
        waves.push_back(
            wave({8 + 4 * f, 10, 12 + 8 * f, 14}, {0.2, 0.4 - 0.2 * f, 0.3, 0.1 + 0.2 * f}, 1.5, rng));
    }
    return waves;
}

void LogLifetimes(benchmark::State& state) {
    std::mt19937 rng(1);
    const auto re = wave({3, 3, 3, 3}, {0.25, 0.25, 0.25, 0.25}, 0.0, rng);
    const auto waves = logWaves(rng);
    for (auto _ : state) {
        double sum = 0;
        for (const auto& w : waves)
            for (const auto& f : zel::analysis::fitChannels(w, re, kBoundaries, kDtNs))
                sum += f.tauNs;
        benchmark::DoNotOptimize(sum);
    }
    state.counters["points"] = kPoints;
}
BENCHMARK(LogLifetimes)->Unit(benchmark::kMillisecond)->Iterations(3);

void LogNnls(benchmark::State& state) {
    std::mt19937 rng(2);
    Eigen::MatrixXd A(kSamples, 4);
    const double taus[4][4] = {{8, 10, 12, 14}, {12, 10, 20, 14}, {20, 24, 28, 32}, {4, 5, 6, 7}};
    const double shares[4][4] = {
        {0.2, 0.4, 0.3, 0.1}, {0.1, 0.2, 0.3, 0.4}, {0.25, 0.25, 0.25, 0.25}, {0.4, 0.3, 0.2, 0.1}};
    for (int j = 0; j < 4; ++j) {
        const auto b = wave(taus[j], shares[j], 0.0, rng);
        for (int k = 0; k < kSamples; ++k)
            A(k, j) = b[static_cast<std::size_t>(k)];
    }
    const auto waves = logWaves(rng);
    Eigen::VectorXd v(kSamples);
    for (auto _ : state) {
        double sum = 0;
        for (const auto& w : waves) {
            for (int k = 0; k < kSamples; ++k)
                v(k) = w[static_cast<std::size_t>(k)];
            sum += zel::analysis::nnls(A, v).x.sum();
        }
        benchmark::DoNotOptimize(sum);
    }
    state.counters["points"] = kPoints;
}
BENCHMARK(LogNnls)->Unit(benchmark::kMillisecond)->Iterations(3);

// k-means of a whole log's channel shares into three classes seeded by depth ranges.
void LogClassify(benchmark::State& state) {
    std::mt19937 rng(3);
    std::normal_distribution<double> noise(0.0, 0.03);
    zel::analysis::FeatureRows features;
    std::vector<float> depth;
    const double centres[3][4] = {{0.2, 0.4, 0.3, 0.1}, {0.1, 0.2, 0.3, 0.4}, {0.3, 0.3, 0.2, 0.2}};
    for (int p = 0; p < kPoints; ++p) {
        const auto& c = centres[(p / 1000) % 3];
        std::vector<double> v;
        for (const double x : c)
            v.push_back(x + noise(rng));
        features.push_back(v);
        depth.push_back(static_cast<float>(p * 0.01));
    }
    const std::vector<zel::analysis::ClassSeed> seeds{
        {"A", std::pair{0.0, 5.0}, {}}, {"B", std::pair{10.0, 15.0}, {}}, {"C", std::pair{20.0, 25.0}, {}}};
    for (auto _ : state) {
        std::string error;
        const auto c =
            zel::analysis::classify(features, depth, seeds, zel::analysis::ClassFeature::Shares, error);
        benchmark::DoNotOptimize(c->iterations);
    }
    state.counters["points"] = kPoints;
}
BENCHMARK(LogClassify)->Unit(benchmark::kMillisecond)->Iterations(5);

} // namespace

BENCHMARK_MAIN();
