// The options file at exit: SaveOptions over a bloated options file (20 MB: sections left by other programs
// or years of stale keys), and for scale a single key written to the same file, which is what each of the
// several hundred keys of an exit used to cost when every key was its own write.

#include "common/atomic_file.h"
#include "common/testing/recording_host.h"
#include "settings/memory_form.h"
#include "settings/options.h"
#include "settings/profile.h"

#include <benchmark/benchmark.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;

constexpr std::size_t kBloat = 20u << 20;
constexpr int kControlsPerForm = 60;

// Beside this program, on the disk, so that the fsyncs are real.
fs::path folder() {
    return fs::read_symlink("/proc/self/exe").parent_path() / ("options_bench_" + std::to_string(::getpid()));
}

std::string bloatedFile() {
    std::string text = "[ZEL]\r\nInitDir=/logs\r\nInitFile=/logs/x.lif.raw.bin\r\n[Stale]\r\n";
    for (int i = 0; text.size() < kBloat; ++i)
        text += "OldKey" + std::to_string(i) + "=" + std::string(90, 'v') + "\r\n";
    return text;
}

struct Setup {
    zel::testing::RecordingHost host;
    zel::MemoryFormSet forms;
    std::string path = (folder() / "ZEL_Options.ini").string();
    Setup() {
        fs::create_directories(folder());
        for (const char* name : zel::Options::kSavedForms) {
            zel::MemoryForm& f = forms.add(name);
            for (int i = 0; i < kControlsPerForm; ++i)
                f.add(zel::ControlType::TextBox, "txtValue" + std::to_string(i)).withText("12.5");
        }
        std::ofstream(path, std::ios::binary | std::ios::trunc) << bloatedFile();
    }
    ~Setup() {
        std::error_code ec;
        fs::remove_all(folder(), ec);
    }
};

void BM_SaveOptions_20MB(benchmark::State& state) {
    Setup s;
    zel::Options options(s.host, s.forms, s.path);
    options.SaveOptions();
    int flip = 0;
    std::uint64_t bytes = 0, writes = 0;
    for (auto _ : state) {
        // A value changes each time, as it does between sessions, so every save has something to write.
        s.forms.at("frmTab").at("txtValue0").setText(std::to_string(++flip));
        const auto b = zel::atomicBytesWritten();
        const auto w = zel::ini::fileWriteCount();
        options.SaveOptions();
        bytes += zel::atomicBytesWritten() - b;
        writes += zel::ini::fileWriteCount() - w;
    }
    const double n = static_cast<double>(state.iterations());
    state.counters["file_bytes"] = static_cast<double>(fs::file_size(s.path));
    state.counters["bytes_written"] = static_cast<double>(bytes) / n;
    state.counters["writes"] = static_cast<double>(writes) / n;
    state.counters["keys"] = 8.0 * kControlsPerForm + 1;
}
BENCHMARK(BM_SaveOptions_20MB)->Unit(benchmark::kMillisecond)->Iterations(5);

void BM_OneKeyWrite_20MB(benchmark::State& state) {
    Setup s;
    int flip = 0;
    for (auto _ : state)
        zel::ini::writeProfileString(s.path, "Tab", "0,txtValue0", std::to_string(++flip));
}
BENCHMARK(BM_OneKeyWrite_20MB)->Unit(benchmark::kMillisecond)->Iterations(5);

} // namespace

BENCHMARK_MAIN();
