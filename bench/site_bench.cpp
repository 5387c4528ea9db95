// A site of 100 full logs (10,001 points of 501 samples, 20 MB each) turned into its deliverables by zel-cli,
// each command a whole process as a consultant runs it: the summary, the LAS files, the 3D points, the map
// and a section. The logs are independent, so the commands share them among the cores. Target: a few seconds
// each.

#include "app/plot/synthetic_log.h"
#include "common/clock.h"
#include "common/console_host.h"
#include "log/raw_log_writer.h"

#include <benchmark/benchmark.h>

#include <cstdlib>
#include <filesystem>
#include <sstream>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;
using namespace zel;

constexpr int kLogs = 100;

struct Site {
    fs::path dir = fs::temp_directory_path() / ("zel_site_bench_" + std::to_string(::getpid()));
    Site() {
        std::ostringstream shown;
        ConsoleHost host(shown);
        SystemClock clock;
        cZEL_Data log{host, clock};
        LogArrays arrays;
        plot::synthetic::fillSyntheticLog(log, arrays, kMaxPoints, 501);
        fs::create_directories(dir);
        // Ten by ten borings 15 m apart.
        for (int i = 0; i < kLogs; ++i) {
            log.Latitude_Dec(45.5 + (i / 10) * 0.000135);
            log.Longitude_Dec(-73.5 + (i % 10) * 0.00019);
            log.Altitude_M(30.0);
            const std::string name = "B" + std::to_string(i + 100);
            log.File_Title(name + ".lif.raw.bin");
            if (!SaveRawLog((dir / name).string(), log, arrays, RawLogContext{}, host).ok) std::abort();
        }
    }
    ~Site() { fs::remove_all(dir); }
};

const Site& site() {
    static const Site s;
    return s;
}

void cli(benchmark::State& state, const std::string& args) {
    const Site& s = site();
    const std::string command =
        std::string(ZEL_CLI) + " " + args + " '" + s.dir.string() + "' >/dev/null 2>&1";
    for (auto _ : state)
        if (std::system(command.c_str()) != 0) state.SkipWithError(("failed: " + command).c_str());
    state.counters["logs"] = kLogs;
}

void BM_Summary(benchmark::State& state) {
    cli(state, "summary --json");
}
void BM_Las(benchmark::State& state) {
    cli(state, "las");
}
void BM_ModelPoints(benchmark::State& state) {
    cli(state, "model --csv /dev/null");
}
void BM_Map(benchmark::State& state) {
    cli(state, "map --out " + (site().dir / "map.png").string());
}
void BM_Section(benchmark::State& state) {
    cli(state, "section --out " + (site().dir / "section.png").string());
}

BENCHMARK(BM_Summary)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(3);
BENCHMARK(BM_Las)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(3);
BENCHMARK(BM_ModelPoints)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(3);
BENCHMARK(BM_Map)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(3);
BENCHMARK(BM_Section)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(3);

} // namespace

BENCHMARK_MAIN();
