// Saving and loading a full raw log (10,001 points of 501 samples, about 20 MB) next to writing and reading
// the same number of bytes raw. The design target is a ratio within 2x for both; the ratios are printed
// after the runs. The load includes what every load does beyond reading: the %RE and channel values of
// all points recomputed from the waveforms, and the K estimate.

#include "common/clock.h"
#include "common/console_host.h"
#include "log/log_arrays.h"
#include "log/log_data.h"
#include "log/raw_log_reader.h"
#include "log/raw_log_writer.h"

#include <benchmark/benchmark.h>

#include <cstdio>
#include <filesystem>
#include <iostream>
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <unistd.h>
#include <vector>

namespace {

namespace fs = std::filesystem;
using namespace zel;

constexpr int kPoints = kMaxPoints;
constexpr int kSamples = 501;

struct Fixture {
    std::ostringstream shown;
    ConsoleHost host{shown};
    SystemClock clock;
    cZEL_Data log{host, clock};
    LogArrays arrays;
    RawLogContext ctx;
    fs::path dir;
    std::string savedPath;
    std::uintmax_t fileBytes = 0;

    Fixture() {
        dir = fs::temp_directory_path() / ("zel_rawlog_bench_" + std::to_string(::getpid()));
        fs::create_directories(dir);
        log.Time_Start(DateTime{2016, 4, 12, 15, 45, 10});
        log.Site("North field");
        log.mode("Alder");
        log.DataPoints(kPoints - 1);
        log.WavePoints(kSamples - 1);
        log.DataSets(8);
        log.Blow_Max(12.0f);
        log.PresFlow(true);
        ctx.conductivity = true;
        ctx.baselineInUse = true;
        arrays.resize(kSamples, 8, kPoints, true);
        arrays.re.samples.assign(kSamples, 0.0f);
        arrays.blank.samples.assign(kSamples, 0.0f);
        arrays.baseline.assign(kSamples, 0.0f);
        for (int s = 0; s < kSamples; ++s) {
            arrays.re.samples[static_cast<std::size_t>(s)] = 100.0f * static_cast<float>(s % 97) / 97.0f;
            arrays.blank.samples[static_cast<std::size_t>(s)] = 0.01f * static_cast<float>(s % 13);
        }
        for (int p = 0; p < kPoints; ++p) {
            std::span<float> w = arrays.waves.row(p);
            for (int s = 0; s < kSamples; ++s)
                w[static_cast<std::size_t>(s)] = static_cast<float>((p * 7 + s * 13) % 1000) * 0.173f - 20.0f;
            // As a push stores its points: processing has cleared the last two samples of each record.
            w[kSamples - 1] = w[kSamples - 2] = 0.0f;
            arrays.columns(0, p) = 0.01f * static_cast<float>(p);
            arrays.columns(3, p) = 2.0f + static_cast<float>(p % 50) * 0.01f;
            arrays.columns(4, p) = 10.0f + static_cast<float>(p % 300) * 0.37f;
            arrays.hammer(1, p) = static_cast<float>(p % 12);
            for (int c = 1; c <= 4; ++c)
                arrays.presFlow(c, p) = static_cast<float>(p) * 0.001f * static_cast<float>(c);
        }
        const auto r = SaveRawLog((dir / "bench").string(), log, arrays, ctx, host);
        if (!r.ok) std::cerr << "raw_log_bench: the log could not be saved: " << shown.str();
        savedPath = r.path;
        fileBytes = fs::file_size(savedPath);
    }
    ~Fixture() {
        std::error_code ec;
        fs::remove_all(dir, ec);
    }
};

Fixture& fixture() {
    static Fixture f;
    return f;
}

void BM_RawLogSave(benchmark::State& state) {
    Fixture& f = fixture();
    const std::string path = (f.dir / "saved.lif.raw.bin").string();
    for (auto _ : state) {
        const auto r = SaveRawLog(path, f.log, f.arrays, f.ctx, f.host);
        benchmark::DoNotOptimize(r.ok);
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * f.fileBytes));
}

void BM_RawWriteSameBytes(benchmark::State& state) {
    Fixture& f = fixture();
    const std::string path = (f.dir / "raw.bin").string();
    const std::vector<char> bytes(f.fileBytes, 'x');
    for (auto _ : state) {
        fs::remove(path);
        std::FILE* out = std::fopen(path.c_str(), "wb");
        std::fwrite(bytes.data(), 1, bytes.size(), out);
        std::fclose(out);
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * f.fileBytes));
}

void BM_RawLogLoad(benchmark::State& state) {
    Fixture& f = fixture();
    cZEL_Data log(f.host, f.clock);
    LogArrays arrays;
    RawLogContext ctx;
    for (auto _ : state) {
        const auto r = LoadRawLog(f.savedPath, log, arrays, ctx, f.host);
        benchmark::DoNotOptimize(r.ok);
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * f.fileBytes));
}

void BM_RawReadSameBytes(benchmark::State& state) {
    Fixture& f = fixture();
    std::vector<char> bytes;
    for (auto _ : state) {
        // A fresh buffer each time, as a load sizes its arrays afresh.
        bytes = std::vector<char>(f.fileBytes);
        std::FILE* in = std::fopen(f.savedPath.c_str(), "rb");
        benchmark::DoNotOptimize(std::fread(bytes.data(), 1, bytes.size(), in));
        std::fclose(in);
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * f.fileBytes));
}

BENCHMARK(BM_RawLogSave)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_RawWriteSameBytes)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_RawLogLoad)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_RawReadSameBytes)->Unit(benchmark::kMillisecond);

// Keeps each benchmark's time per iteration so the ratios can be printed at the end.
class RatioReporter : public benchmark::ConsoleReporter {
public:
    void ReportRuns(const std::vector<Run>& runs) override {
        // With repetitions the median stands for the benchmark; a single run stands for itself.
        for (const Run& r : runs) {
            if (r.run_type == Run::RT_Iteration && !medians.contains(r.run_name.function_name))
                times[r.run_name.function_name] = r.GetAdjustedRealTime();
            if (r.run_type == Run::RT_Aggregate && r.aggregate_name == "median") {
                times[r.run_name.function_name] = r.GetAdjustedRealTime();
                medians.insert(r.run_name.function_name);
            }
        }
        ConsoleReporter::ReportRuns(runs);
    }
    std::map<std::string, double> times;
    std::set<std::string> medians;
};

} // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    RatioReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    auto ratio = [&](const char* log, const char* raw) {
        const auto a = reporter.times.find(log), b = reporter.times.find(raw);
        if (a == reporter.times.end() || b == reporter.times.end() || b->second <= 0) return;
        std::printf("%s / %s = %.2f (target: within 2x)\n", log, raw, a->second / b->second);
    };
    ratio("BM_RawLogSave", "BM_RawWriteSameBytes");
    ratio("BM_RawLogLoad", "BM_RawReadSameBytes");
    benchmark::Shutdown();
    return 0;
}
