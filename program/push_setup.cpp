#include "program/push_setup.h"

#include "analysis/cond_cal.h"
#include "common/date_time.h"
#include "log/raw_log_reader.h"
#include "log/re_reference.h"
#include "settings/startup/command_line.h"

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

void ConfigureGates(const SettingsModel& m, acq::ReferenceControl& reference) {
    reference.Gates = ReadGateOptions(m);
    reference.SuppressPrompts = m.checked(control::kAdv, control::kSuppressPrompts);
}

ScopeSetup ReadScopeSetup(const SettingsModel& m, const StartupSettings& s) {
    const SwitchLists lists;
    // A list keeps its index; one that is missing or outside the list leaves the session's value.
    const auto listed = [&m](const char* name, const std::vector<int>& values, int fallback) {
        const auto index = m.number(control::kAdv, name);
        if (!index || *index < 0 || *index >= static_cast<double>(values.size()) ||
            *index != std::floor(*index))
            return fallback;
        return values[static_cast<std::size_t>(*index)];
    };
    ScopeSetup scope;
    scope.averaging =
        s.averagingFromSwitch ? s.averaging : listed(control::kScopeAverage, lists.averages, s.averaging);
    scope.yScale = s.yScaleFromSwitch ? s.yScale : listed(control::kScopeYScale, lists.yScales, s.yScale);
    scope.reScale =
        s.reScaleFromSwitch ? s.reScale : listed(control::kScopeREScale, lists.reScales, s.reScale);
    scope.unlock = s.unlock || m.checked(control::kAdv, control::kUnlockScope);
    return scope;
}

void ConfigureScope(const ScopeSetup& setup, ScopeAdapter& scope, acq::ReferenceControl& reference) {
    scope.setAveraging(setup.averaging);
    scope.setMinimumScale(static_cast<float>(setup.yScale));
    scope.setUnlockedDuringPush(setup.unlock);
    reference.REScale = static_cast<float>(setup.reScale);
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

std::vector<float> StoredBaseline(const std::string& rawLog, Host& host, const Clock& clock) {
    cZEL_Data log(host, clock);
    LogArrays arrays;
    RawLogContext ctx;
    RawLogLoadOptions options;
    options.quiet = true;
    options.baselineFeature = true;
    options.repair = false;
    if (!LoadRawLog(rawLog, log, arrays, ctx, host, options).ok) return {};
    if (arrays.baseline.empty())
        host.message(rawLog + " keeps no stored baseline.", MsgButtons::Ok, MsgIcon::Exclamation);
    return std::move(arrays.baseline);
}

void UseBaseline(const std::vector<float>& baseline, LogArrays& arrays, acq::LogRecorder& recorder) {
    arrays.baseline = baseline;
    recorder.Context.baselineInUse = !baseline.empty();
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

void RecordConductivityCalibration(const FieldConfig& config, cZEL_Data& log, RawLogContext& context) {
    log.setLoadedCond_Constant(0, config.condOffset);
    log.setLoadedCond_Constant(1, config.condConstant);
    log.setLoadedCond_Constant(2, config.condConstant2);
    context.condV = config.condVolts;
    // The solutions' conductivities go with the voltages: none without a calibration.
    for (std::size_t i = 0; i < context.condMS.size(); ++i)
        context.condMS[i] = config.condCalibrated() ? cond_cal::kSolutionMs[i] : 0.0f;
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
