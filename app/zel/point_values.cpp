#include "app/zel/point_values.h"

#include "waveform/waveform.h"

#include <vector>

namespace zel::gui {

namespace {

// Keeps the recomputation's messages (a failed boundary search on an old RE) from repeating the load's.
class QuietHost final : public Host {
public:
    explicit QuietHost(Host& inner) : inner_(inner) {}
    MsgResult message(std::string_view, MsgButtons b, MsgIcon, std::string_view) override {
        return defaultResult(b);
    }
    std::optional<std::string> input(std::string_view, std::string_view, std::string_view) override {
        return std::nullopt;
    }
    std::optional<FileDialogResult> openFileDialog(const FileDialogRequest&) override { return std::nullopt; }
    std::optional<FileDialogResult> saveFileDialog(const FileDialogRequest&) override { return std::nullopt; }
    void progress(std::string_view) override {}
    void yield() override { inner_.yield(); }
    void sleepMs(int ms) override { inner_.sleepMs(ms); }
    void beep() override {}
    void setBusy(bool) override {}

private:
    Host& inner_;
};

} // namespace

bool pointValuesPresent(const LogArrays& a) {
    if (a.columns.width() <= point_column::Signal) return false;
    for (int p = 0; p < a.columns.points(); ++p)
        if (a.columns(point_column::Signal, p) != 0.0f) return true;
    return false;
}

int fillLoadedPointValues(const cZEL_Data& log, LogArrays& a, const RawLogContext& ctx, Host& host) {
    const int points = a.points();
    if (points == 0 || a.re.samples.empty() || a.columns.points() != points) return 0;
    if (a.columns.width() < point_column::Ch1 + 4 || pointValuesPresent(a)) return 0;

    QuietHost quiet(host);
    cZEL_Waveform re(quiet);
    re.Mode = ctx.modeId;
    re.NoScatterScaling = true;
    re.DeltaX = log.Wave_DeltaX();
    re.RE_Delay = ctx.waveDelay;
    if (!a.blank.samples.empty()) re.SetBackground(a.blank.samples);
    std::vector<float> samples = a.re.samples;
    if (!re.Process_Wave(samples)) return 0;
    re.Process_Cutoffs(samples, false);
    if (!re.Process_RE(samples, true, false)) return 0;

    cZEL_Waveform w(quiet, re.Options);
    w.Mode = ctx.modeId;
    w.DeltaX = log.Wave_DeltaX();
    w.CopyCutoffs(re);
    w.CopyReference(re);
    int filled = 0;
    for (int p = 0; p < points; ++p) {
        const auto wave = a.waves.wave(p);
        samples.assign(wave.begin(), wave.end());
        bool low = false;
        if (samples.empty() || !w.ProcessWaveform(samples, false, low)) continue;
        a.columns(point_column::Signal, p) = w.Wave_Signal;
        a.columns(point_column::Scatter, p) = w.Wave_ScatSum;
        a.columns(point_column::Fluorescence, p) = w.Wave_FluorSum;
        for (int k = 0; k < 4; ++k)
            a.columns(point_column::Ch1 + k, p) = w.Wave_AreaCH[k];
        ++filled;
    }
    return filled;
}

} // namespace zel::gui
