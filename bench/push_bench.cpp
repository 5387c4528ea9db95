// The push loop's own work per point: the loop, the waveform processing, the log arrays and the durable
// write of the point into the temporary file, against instruments that answer at once (so nothing here
// waits on an instrument). The target is well under 1 ms a point, fsync included.
//
// The temporary file goes to a folder on the disk beside this program (the fdatasync of every point is
// real) or, with fsync:0, to /dev/shm, where the flush costs nothing: the difference is the price of the
// durability. With driver:1 the waveforms come through the oscilloscope driver from a VISA session that
// answers at once, so its parsing and smoothing are counted too. The counters split a point into the
// recorder's Append (arrays, file write, flush) and the rest (loop, acquisition copy, processing); the end of
// the push (raw log, companion, export, run log) is reported apart, once per push.

#include "acquisition/fakes.h"
#include "acquisition/log_recorder.h"
#include "acquisition/push.h"
#include "acquisition/reference.h"
#include "common/testing/recording_host.h"
#include "instruments/scope/fake_visa.h"
#include "instruments/scope/scope.h"
#include "settings/memory_form.h"
#include "waveform/synthetic_waves.h"

#include <benchmark/benchmark.h>

#include <chrono>
#include <filesystem>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;
using namespace zel;
using Steady = std::chrono::steady_clock;

constexpr int kPoints = 1000;
constexpr int kSamples = 501; // the scope's record, 0..500

double secondsSince(Steady::time_point t) {
    return std::chrono::duration<double>(Steady::now() - t).count();
}

// Times the recorder's share of every point and the end of the push.
class TimedRecorder : public acq::PushRecorder {
public:
    explicit TimedRecorder(acq::LogRecorder& inner) : inner_(inner) {}
    bool Begin(const acq::ReferenceControl& r, float depth, int mode) override {
        return inner_.Begin(r, depth, mode);
    }
    bool Append(const acq::PointRecord& p) override {
        const auto t = Steady::now();
        const bool ok = inner_.Append(p);
        appendS += secondsSince(t);
        return ok;
    }
    void Finish() override {
        const auto t = Steady::now();
        inner_.Finish();
        finishS = secondsSince(t);
    }
    int AddDissipation(DissipationCurve curve) override { return inner_.AddDissipation(std::move(curve)); }
    double appendS = 0.0;
    double finishS = 0.0;

private:
    acq::LogRecorder& inner_;
};

// The oscilloscope driver itself on a VISA session that answers at once: the operation-complete poll, the
// curve block's parsing, scaling, smoothing and baseline are counted as the program's own work.
class DriverScope : public acq::Scope {
public:
    DriverScope(Host& host, const Clock& clock, const std::vector<float>& millivolts)
        : scope_(&visa_, host, clock) {
        constexpr double yMult = 4e-5; // volts a count
        std::string block;
        for (std::size_t i = 1; i < millivolts.size(); ++i) {
            const auto level =
                static_cast<std::uint16_t>(static_cast<std::int16_t>(millivolts[i] / 1000.0 / yMult));
            block += static_cast<char>(level >> 8);
            block += static_cast<char>(level & 0xFF);
        }
        const std::string count = std::to_string(block.size());
        visa_.replies = {{"*ESR?", "1"},
                         {"Curve?", "#" + std::to_string(count.size()) + count + block + "\n"},
                         {"WFMPRE:YZERO?", "0"},
                         {"WFMPRE:YOFF?", "0"},
                         {"WFMPRE:YMULT?", "4E-5"}};
        scope_.Attach(1, 2);
        scope_.Wave_DeltaX = 8e-10f;
    }
    void ReadSetup() override {}
    bool Acquire(std::string_view, Waveform& wave) override {
        std::int32_t status = 0;
        scope_.Tek_Wave_Acq(false, false, status);
        // The session keeps every command; only the replies matter here.
        visa_.writes.clear();
        if (status != 1) return false;
        wave.samples = scope_.Waveform;
        wave.deltaX = scope_.Wave_DeltaX;
        wave.delay = scope_.HorizontalDelay;
        return true;
    }
    void StoreReference(std::string_view, std::string_view) override {}
    int Status() override { return 1; }
    double Delay() override { return 0.0; }
    void SetDelay(double) override {}
    void SetVerticalScale(float) override {}
    void StartPush() override {}
    void StopPush() override {}

private:
    zel::testing::FakeVisa visa_;
    cZEL_Scope scope_;
};

fs::path folderFor(bool fsync) {
    const fs::path base = fsync ? fs::read_symlink("/proc/self/exe").parent_path() : fs::path("/dev/shm");
    return base / ("zel_push_bench_" + std::to_string(::getpid()));
}

void BM_PushLoop(benchmark::State& state) {
    const bool fsync = state.range(0) != 0;
    const bool driver = state.range(1) != 0;
    const fs::path dir = folderFor(fsync);
    std::error_code ec;
    fs::create_directories(dir, ec);
    if (ec) {
        state.SkipWithError(("cannot create " + dir.string()).c_str());
        return;
    }
    std::vector<float> depths(kPoints);
    for (int i = 0; i < kPoints; ++i)
        depths[i] = 0.05f * static_cast<float>(i + 1);
    // About 10,000 pVs in all, inside the RE area limits.
    const std::vector<testing::Pulse> pulses{{40, 600.0f}, {110, 600.0f}, {180, 600.0f}, {250, 600.0f}};

    double loopS = 0.0, appendS = 0.0, finishS = 0.0;
    int points = 0, pushes = 0;
    for (auto _ : state) {
        FakeClock clock;
        testing::RecordingHost host{&clock};
        acq::testing::FakeScope fakeScope;
        DriverScope driverScope(host, clock, testing::pulseTrain(kSamples, pulses, 0.85f));
        acq::Scope& scope = driver ? static_cast<acq::Scope&>(driverScope) : fakeScope;
        acq::testing::FakeBoard board;
        acq::testing::FakePushDepth depth;
        acq::testing::FakeGps gps;
        acq::testing::FakeDisplay display;
        MemoryFormSet forms;
        cZEL_Data log{host, clock};
        LogArrays arrays;
        acq::LogRecorder recorder{host, clock, log, arrays, forms, (dir / "Bench").string(), dir.string()};
        TimedRecorder timed{recorder};
        acq::ReferenceControl reference{host, clock, scope, board, depth};
        acq::PushControl push{host, clock, reference, scope, board, depth, gps, display, timed};

        fakeScope.waves["CH2"] = Waveform{testing::pulseTrain(kSamples, pulses), 8e-10f, 0.0};
        reference.AcquireReference(acq::kRE);
        reference.FirstAcquisition = true;
        fakeScope.waves["CH2"] = Waveform{testing::pulseTrain(kSamples, pulses, 0.85f), 8e-10f, 0.0};
        depth.script = depths;
        push.Settings.startDepth = 0.0f;

        // From the first point stored to the last: the loop at full speed, without the start and the end.
        Steady::time_point first;
        double lastS = 0.0;
        int taken = 0;
        push.PointTaken = [&](int n, const acq::PointRecord&) {
            if (n == 1)
                first = Steady::now();
            else
                lastS = secondsSince(first);
            taken = n;
        };
        push.StartPush();
        if (taken != kPoints) {
            const auto shown = host.messages();
            state.SkipWithError(
                ("the push did not take every point: " + (shown.empty() ? std::string() : shown.front()))
                    .c_str());
            break;
        }
        loopS += lastS;
        appendS += timed.appendS;
        finishS += timed.finishS;
        points += taken - 1;
        ++pushes;
        state.SetIterationTime(lastS);
    }
    fs::remove_all(dir, ec);
    if (points == 0) return;
    state.counters["points_per_s"] = points / loopS;
    state.counters["us_per_point"] = 1e6 * loopS / points;
    state.counters["append_us"] = 1e6 * appendS / (points + pushes);
    state.counters["rest_us"] = 1e6 * loopS / points - 1e6 * appendS / (points + pushes);
    state.counters["finish_ms"] = 1e3 * finishS / pushes;
}
BENCHMARK(BM_PushLoop)
    ->ArgNames({"fsync", "driver"})
    ->Args({1, 0})
    ->Args({0, 0})
    ->Args({0, 1})
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);

} // namespace

BENCHMARK_MAIN();
