// libFuzzer target: any bytes as a raw log file, through the loader and the trailer repair. A damaged log
// must be refused through the host; a crash, a sanitizer report or an allocation beyond the fuzzer's limit
// is a fault.

#include "common/clock.h"
#include "common/host.h"
#include "log/log_arrays.h"
#include "log/log_data.h"
#include "log/raw_log_reader.h"

#include <cstdint>
#include <cstdio>
#include <string>
#include <unistd.h>

namespace {

// Shows nothing and answers every box with its first button (Yes to the baseline question, so the stored
// baseline's list is read as well).
class SilentHost final : public zel::Host {
public:
    zel::MsgResult message(std::string_view, zel::MsgButtons buttons, zel::MsgIcon,
                           std::string_view) override {
        return zel::defaultResult(buttons);
    }
    std::optional<std::string> input(std::string_view, std::string_view, std::string_view d) override {
        return std::string(d);
    }
    std::optional<zel::FileDialogResult> openFileDialog(const zel::FileDialogRequest&) override { return {}; }
    std::optional<zel::FileDialogResult> saveFileDialog(const zel::FileDialogRequest&) override { return {}; }
    void progress(std::string_view) override {}
    void yield() override {}
    void sleepMs(int) override {}
    void beep() override {}
    void setBusy(bool) override {}
};

// The reader works on files; a memory-backed folder keeps each run off the disk.
const std::string& scratchPath() {
    static const std::string path = (::access("/dev/shm", W_OK) == 0 ? "/dev/shm" : "/tmp") +
                                    std::string("/zel_raw_log_fuzz_") + std::to_string(::getpid()) +
                                    ".lif.raw.bin";
    return path;
}

bool writeFile(const std::string& path, const std::uint8_t* data, std::size_t size) {
    std::FILE* f = std::fopen(path.c_str(), "wb");
    if (!f) return false;
    const bool ok = std::fwrite(data, 1, size, f) == size;
    return std::fclose(f) == 0 && ok;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string& path = scratchPath();
    if (!writeFile(path, data, size)) return 0;
    SilentHost host;
    zel::FakeClock clock;
    zel::cZEL_Data log(host, clock);
    zel::LogArrays arrays;
    zel::RawLogContext ctx;
    zel::RawLogLoadOptions options;
    options.baselineFeature = true;
    // The family decides which lists are read (O2, the colour spectra); the input's length picks one.
    constexpr zel::LogFamily kFamilies[] = {zel::LogFamily::Lif, zel::LogFamily::O2, zel::LogFamily::Colour};
    options.family = kFamilies[size % 3];
    (void)zel::LoadRawLog(path, log, arrays, ctx, host, options);

    // The repair on the original bytes again (the load may have mended the trailer already).
    if (!writeFile(path, data, size)) return 0;
    (void)zel::CheckAndRepairTrailer(path, host, false);
    return 0;
}
