#include "program/push_setup.h"

#include "common/date_time.h"
#include "log/re_reference.h"

#include <cmath>
#include <vector>

namespace zel::program {

namespace {

// Depths beyond this are not a push (and not a float worth comparing).
constexpr double kDepthLimit = 100000.0;

std::optional<float> depthValue(std::optional<double> v) {
    if (!v || std::fabs(*v) > kDepthLimit) return std::nullopt;
    return static_cast<float>(*v);
}

} // namespace

PushSetup ReadPushSetup(const SettingsModel& m) {
    using namespace control;
    PushSetup s;
    s.metric = m.checked(kTab, kMetric);
    s.startDepth = depthValue(m.number(kTab, kStartDepth));
    if (m.checked(kTab, kAutoStop)) s.stopDepth = depthValue(m.number(kTab, kStopDepth));
    const double delay = m.number(kTab, kStartDelay).value_or(0.0);
    s.startDelaySeconds = delay > 0.0 && delay < 86400.0 ? static_cast<int>(delay) : 0;
    const double interval = m.number(kTab, kInterval).value_or(2.0);
    s.intervalSeconds = acq::ClampInterval(static_cast<float>(std::isfinite(interval) ? interval : 2.0));
    const std::string step = m.text(kTab, kStep);
    if (!step.empty()) s.stepText = step;
    if (m.checked(kTab, kEmulateStop)) {
        const double count = m.number(kTab, kEmulateStopCount).value_or(0.0);
        s.emulationStopCount = count >= 1.0 && count <= 1e6 ? static_cast<int>(count) : 0;
    }
    s.presFlow = m.checked(kTab, kPresFlow);
    const double pfOffset = m.number(kTab, kPFOffset).value_or(0.0);
    s.pfOffsetFt = std::fabs(pfOffset) <= 100.0 ? static_cast<float>(pfOffset) : 0.0f;
    return s;
}

acq::GateOptions ReadGateOptions(const SettingsModel& m) {
    acq::GateOptions g;
    g.noAreaCheck = m.checked(acq::kSettingsForm, acq::kNoREGateControl);
    g.diagnosticRE = m.checked(acq::kSettingsForm, acq::kDiagnosticREControl);
    g.lowOutputRE = m.checked(acq::kSettingsForm, acq::kLowOutputREControl);
    g.overrideRE = m.checked(acq::kSettingsForm, acq::kREOverrideControl);
    g.fixedCutoffs = m.checked(acq::kSettingsForm, acq::kFixedCutoffsControl);
    return g;
}

void ConfigureReference(const ProcessingSettings& p, acq::ReferenceControl& reference) {
    reference.Mode = p.mode;
    reference.AcqType = p.acqType;
    reference.WaveOptions = p.setup.options;
}

void ConfigurePush(const PushSetup& s, const ProcessingSettings& p, acq::PushSettings& push,
                   DepthAdapter& depth) {
    push.metric = s.metric;
    push.startDepth = s.startDepth;
    push.startDelaySeconds = s.startDelaySeconds;
    push.timed = s.timed;
    push.intervalSetting = s.intervalSeconds;
    push.continuous = s.continuous;
    push.autoStop = s.stopDepth.has_value();
    push.emulationAutoStop = s.emulationStopCount > 0;
    push.emulationStopCount = s.emulationStopCount;
    push.stepText = s.stepText;
    push.widthLimit = p.setup.widthLimit;
    push.gain = p.setup.gain;
    push.exclude = p.setup.exclude;
    push.excludeCH1 = p.setup.excludeCH1;
    push.ch1Correction = p.setup.ch1Correction;
    depth.metric = s.metric;
    depth.stopDepth = s.stopDepth;
}

bool WriteReferenceFile(int kind, const acq::ReferenceControl& reference, const acq::Board& board,
                        const std::string& dataRoot, const Clock& clock) {
    if (!board.InUse() || !reference.HasRE) return false;
    if (board.Digitiser()) {
        if (!reference.HdRE) return false;
        if (kind == acq::kRE) WriteReReference(dataRoot, false, *reference.HdRE, clock);
        if (!reference.HdBackground) return kind == acq::kRE;
        WriteReReference(dataRoot, true, *reference.HdBackground, clock);
        return true;
    }
    const cZEL_Waveform& re = reference.RE();
    if (kind == acq::kRE) WriteReReference(dataRoot, false, re, clock);
    if (reference.Background.empty()) return kind == acq::kRE;
    // The background in the RE's channels, as the RE's processing measured it (a new background is
    // measured here with the RE in force).
    cZEL_Waveform blank = re;
    std::vector<float> samples = reference.Background.samples;
    if (!blank.Process_Blank(samples)) return kind == acq::kRE;
    WriteReReference(dataRoot, true, blank, clock);
    return true;
}

bool PrepareHdRecording(BoardAdapter& board, acq::LogRecorder& recorder) {
    if (!board.Digitiser()) return false;
    board.ReadStatus();
    recorder.Context.hdBoardMode = true;
    recorder.HdMask = static_cast<std::uint32_t>(board.PushMask()) | hd_layout::kPushValuesBit;
    recorder.Context.hdInt = board.IntegrationTime();
    recorder.Context.hdAvg = board.Averaging();
    return true;
}

void PrepareConductivity(const BoardAdapter& board, const cZEL_Depth& depth, acq::LogRecorder& recorder) {
    recorder.Context.conductivity =
        board.InUse() || (depth.Source() == DepthSource::Interface && depth.Int_A1_Enable);
}

int ReadReferenceFile(acq::ReferenceControl& reference, const acq::Board& board,
                      const std::string& dataRoot) {
    if (!board.Digitiser()) return 0;
    int taken = 0;
    for (const int kind : {acq::kBackground, acq::kRE}) {
        const auto kept = ReadReReference(dataRoot, kind == acq::kBackground);
        if (!kept) continue;
        // An RE whose time cannot be read counts as old: the start gate asks about it.
        const DateTime time = parseDateTime(kept->time).value_or(DateTime{});
        reference.UseHdReference(kind, kept->channels, time);
        ++taken;
    }
    return taken;
}

} // namespace zel::program
