// Log pages of a full log (10,001 points of 501 samples): the PDF and the JPG as zel-cli page makes them
// (model built from the log, page drawn, file written), the recomputation of a loaded log's %RE, and one
// repaint of the screen's depth plot. Target: under 0.5 s for each page.

#include "app/plot/depth_plot.h"
#include "app/plot/log_page.h"
#include "app/plot/synthetic_log.h"
#include "common/clock.h"
#include "common/console_host.h"
#include "log/load_file.h"
#include "log/raw_log_writer.h"

#include <QGuiApplication>
#include <QImage>

#include <benchmark/benchmark.h>

#include <filesystem>
#include <sstream>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;
using namespace zel;

struct Fixture {
    std::ostringstream shown;
    ConsoleHost host{shown};
    SystemClock clock;
    cZEL_Data log{host, clock};
    LogArrays arrays;
    plot::PlotSettings settings;
    fs::path dir = fs::temp_directory_path() / ("zel_page_bench_" + std::to_string(::getpid()));

    Fixture() {
        plot::synthetic::fillSyntheticLog(log, arrays, kMaxPoints, 501);
        settings.rate.shown = true;
        settings.conductivity.shown = true;
        settings.presFlow[0].shown = true;
        settings.presFlow[1].shown = true;
        settings.zoom.shown = true;
        for (int slot = 0; slot < 3; ++slot) {
            log.Callout_Index(slot, 0, static_cast<std::int16_t>(1000 + 3000 * slot));
            log.Callout_Index(slot, 1, static_cast<std::int16_t>(1200 + 3000 * slot));
        }
        fs::create_directories(dir);
    }
    ~Fixture() { fs::remove_all(dir); }
};

Fixture& fixture() {
    static Fixture f;
    return f;
}

void page(benchmark::State& state, bool pdf) {
    Fixture& f = fixture();
    const std::string out = (f.dir / (pdf ? "page.pdf" : "page.jpg")).string();
    for (auto _ : state) {
        const plot::PlotModel model = plot::PlotModel::build({f.log, f.arrays}, f.settings);
        const plot::PageInput in{f.log, model, plot::logCallouts(f.log, f.arrays, model.channelColours())};
        std::string error;
        const bool ok = pdf ? plot::writePdfPage(out, in, error) : plot::writeJpgPage(out, in, error);
        if (!ok) state.SkipWithError(error.c_str());
    }
    state.counters["bytes"] = static_cast<double>(fs::file_size(out));
}

void BM_PagePdf(benchmark::State& state) {
    page(state, true);
}
void BM_PageJpg(benchmark::State& state) {
    page(state, false);
}

// What zel-cli page does for one file: the raw log loaded quietly, its %RE computed again, the page written.
void BM_RawLogToPdf(benchmark::State& state) {
    Fixture& f = fixture();
    RawLogContext ctx;
    const std::string raw = SaveRawLog((f.dir / "full").string(), f.log, f.arrays, ctx, f.host).path;
    const std::string out = (f.dir / "full.pdf").string();
    for (auto _ : state) {
        cZEL_Data log{f.host, f.clock};
        LogArrays arrays;
        RawLogContext loaded;
        LoadSession session;
        LoadRequest request;
        request.path = raw;
        request.quiet = true;
        if (Load_File(request, session, {log, arrays, loaded}, f.host).outcome != LoadOutcome::Loaded) {
            state.SkipWithError("the log did not load");
            break;
        }
        const plot::PlotModel model = plot::PlotModel::build({log, arrays}, f.settings);
        const plot::PageInput in{log, model, plot::logCallouts(log, arrays, model.channelColours())};
        std::string error;
        if (!plot::writePdfPage(out, in, error)) state.SkipWithError(error.c_str());
    }
}

// One repaint of the screen's plot (a push's live update redraws the whole plot).
void BM_DepthPlotRepaint(benchmark::State& state) {
    Fixture& f = fixture();
    const plot::PlotModel model = plot::PlotModel::build({f.log, f.arrays}, f.settings);
    QImage screen(900, 1000, QImage::Format_RGB32);
    for (auto _ : state) {
        QPainter p(&screen);
        plot::paintDepthPlot(p, QRectF(0, 0, 900, 1000), model, model.defaultWindow());
    }
}

void BM_PlotModelBuild(benchmark::State& state) {
    Fixture& f = fixture();
    for (auto _ : state)
        benchmark::DoNotOptimize(plot::PlotModel::build({f.log, f.arrays}, f.settings));
}

BENCHMARK(BM_PagePdf)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_PageJpg)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_RawLogToPdf)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_DepthPlotRepaint)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_PlotModelBuild)->Unit(benchmark::kMillisecond);

} // namespace

int main(int argc, char** argv) {
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
    int qtArgc = 1;
    char name[] = "page_bench";
    char* qtArgv[] = {name, nullptr};
    QGuiApplication app(qtArgc, qtArgv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
