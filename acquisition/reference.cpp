#include "acquisition/reference.h"

#include "common/number_text.h"
#include "log/data_lists.h"

#include <cmath>
#include <exception>

namespace zel::acq {

namespace {

constexpr const char* kFailed = "RE or Background acquisition failed.";
constexpr const char* kScatterWarning =
    "Scatter ratio is not within 8.0 +/- 0.5 range. Acquisition will be allowed to continue, but RE suspect.";

bool isOff(double share, double target) {
    return std::fabs(share - target) > 0.15 * target;
}

// Whole minutes between two times, counted as the calendar minutes they fall in (10:00:59 to 10:01:00 is
// one minute).
long long minutesBetween(const DateTime& from, const DateTime& to) {
    const auto minuteOf = [](const DateTime& t) {
        const long long s = t.toSeconds();
        return s >= 0 ? s / 60 : (s - 59) / 60;
    };
    return minuteOf(to) - minuteOf(from);
}

} // namespace

AreaGateResult CheckREArea(float area, const GateOptions& o) {
    if (o.lowOutputRE) {
        if (o.overrideRE) return {};
        if (area < 900.0f)
            return {AreaVerdict::Block,
                    "RE area is below 900 pVs. Acquisition will NOT be allowed to continue."};
        if (area < 1200.0f)
            return {AreaVerdict::Warn,
                    "RE area is below 1,200 pVs. Acquisition will be allowed to continue, but RE suspect."};
        if (area > 3000.0f)
            return {AreaVerdict::Warn,
                    "RE area is above 3,000 pVs. Acquisition will be allowed to continue, but RE suspect."};
        return {};
    }
    if (o.noAreaCheck || o.diagnosticRE) return {};
    if (area < 5000.0f)
        return {AreaVerdict::Block,
                "RE area is below 5000 pVs. Acquisition will NOT be allowed to continue."};
    if (area < 7000.0f)
        return {AreaVerdict::Warn,
                "RE area is below 7000 pVs. Acquisition will be allowed to continue, but RE suspect."};
    if (area > 20000.0f)
        return {AreaVerdict::Warn,
                "RE area is above 20000 pVs. Acquisition will be allowed to continue, but RE suspect."};
    return {};
}

bool ScatterRatioInRange(float ratio) {
    return ratio >= 7.5f && ratio <= 8.5f;
}

REPanel MakeREPanel(int mode, const std::array<float, 4>& ch, float scatterRatio) {
    REPanel p;
    const auto shares = [&](int first, const std::array<double, 4>& target) {
        double sum = 0.0;
        for (int k = first; k < 4; ++k)
            sum += ch[k];
        for (int k = first; k < 4; ++k) {
            p.value[k] = sum != 0.0 ? ch[k] / sum * 100.0 : 0.0;
            p.offTarget[k] = isOff(p.value[k], target[k]);
        }
        p.count = 4;
    };
    switch (mode) {
    case 0:
        p.targetText = "Target: 23%, 38%, 27%, 12%";
        shares(0, {23, 38, 27, 12});
        break;
    case 1:
    case 21:
        p.targetText = "Target: 8.0, 40%, 45%, 15%";
        shares(1, {0, 40, 45, 15});
        p.value[0] = scatterRatio;
        p.ratioShown = true;
        break;
    case 2:
    case 3:
        p.targetText = "Target: 50%, 30%, 15%, 5%";
        shares(0, {50, 30, 15, 5});
        break;
    case 7:
        p.ratioText = "Ratio (F/S): " + formatNumber(scatterRatio, "#0.0");
        p.ratioShown = true;
        break;
    default: break;
    }
    if (p.ratioShown) {
        p.ratioOffTarget = !ScatterRatioInRange(scatterRatio);
        if (p.count > 0) p.offTarget[0] = p.ratioOffTarget;
    }
    return p;
}

double BaselineNoise(const std::vector<float>& b) {
    constexpr int first = 2, last = 25, n = last - first + 1;
    if (static_cast<int>(b.size()) <= last) return 0.0;
    double mean = 0.0;
    for (int i = first; i <= last; ++i)
        mean += b[i];
    mean /= n;
    double ss = 0.0;
    for (int i = first; i <= last; ++i)
        ss += (b[i] - mean) * (b[i] - mean);
    return std::sqrt(ss / (n - 1)) * 100.0;
}

ReferenceControl::ReferenceControl(Host& host, const Clock& clock, Scope& scope, Board& board,
                                   DepthSource& depth)
    : host_(host), clock_(clock), scope_(scope), board_(board), depth_(depth),
      re_(std::make_unique<cZEL_Waveform>(host)) {}

void ReferenceControl::prepare(cZEL_Waveform& w) const {
    w.Options = WaveOptions;
    w.Options.fixedCutoffs = WaveOptions.fixedCutoffs || Gates.fixedCutoffs;
    w.Mode = Mode;
    w.AcqType = AcqType;
    w.FirmwareVersion = FirmwareVersion;
    // The RE is the base of the scatter scaling, it is not scaled by itself.
    w.NoScatterScaling = true;
}

bool ReferenceControl::processRE(const Waveform& raw, cZEL_Waveform& w) {
    prepare(w);
    w.DeltaX = raw.deltaX;
    w.RE_Delay = raw.delay;
    // The reference as the raw log keeps it (0.01 mV): the points of the push and of its log loaded later
    // are then processed against the same RE.
    std::vector<float> background = Background.samples;
    keepAsListValues(background, list_decimals::Wave);
    if (!Background.empty()) w.SetBackground(background);
    std::vector<float> samples = raw.samples;
    keepAsListValues(samples, list_decimals::Wave);
    if (!w.Process_Wave(samples)) return false;
    w.Process_Cutoffs(samples, false);
    if (!w.Process_RE(samples, true, false)) return false;
    // The background measured in the RE's channels: the log keeps its areas beside the RE's.
    if (Background.empty()) return true;
    std::vector<float> blank = Background.samples;
    return w.Process_Blank(blank);
}

void ReferenceControl::acceptRE(std::unique_ptr<cZEL_Waveform> candidate, const Waveform& raw,
                                bool interactive) {
    re_ = std::move(candidate);
    RERaw = raw;
    HasRE = true;
    const cZEL_Waveform& re = *re_;
    Panel = MakeREPanel(Mode, {re.RE_AreaCH[0], re.RE_AreaCH[1], re.RE_AreaCH[2], re.RE_AreaCH[3]},
                        re.ScatterRatio);
    if (Panel.ratioShown && Panel.ratioOffTarget && interactive)
        host_.message(kScatterWarning, MsgButtons::Ok);
}

bool ReferenceControl::AcquireReference(int kind, bool interactive) {
    if (board_.Digitiser()) return AcquireHdReference(kind);
    int step = 0;
    try {
        step = 1;
        scope_.ReadSetup();
        if (board_.InUse() && kind == kRE) board_.EnterReferenceState();

        step = 2;
        if (kind == kRE && REScale > 0.0f) scope_.SetVerticalScale(REScale);
        Waveform wave;
        const bool got = scope_.Acquire("CH2", wave);
        if (kind == kRE) {
            scope_.StoreReference("CH2", "REF1");
            scope_.StoreReference("CH2", "REF2");
        }
        // REF3 and REF4 keep the background and the RE for RecoverReference.
        scope_.StoreReference("CH2", kind == kRE ? "REF4" : "REF3");

        step = 3;
        if (scope_.Status() != 1 || !got) {
            host_.message(kFailed, MsgButtons::Ok);
            return false;
        }

        step = 4;
        FirmwareVersion = board_.Firmware().number();

        if (kind == kBackground) {
            step = 5;
            Background = std::move(wave);
            CheckBaselineNoise();
            return true;
        }

        step = 6;
        auto candidate = std::make_unique<cZEL_Waveform>(host_);
        if (!processRE(wave, *candidate)) return false;

        step = 7;
        const AreaGateResult gate = CheckREArea(candidate->RE_Area, Gates);
        if (gate.message) host_.message(gate.message, MsgButtons::Ok);
        if (gate.verdict == AreaVerdict::Block) return false;

        acceptRE(std::move(candidate), wave, interactive);
        RETime = clock_.now();
        REFresh = true;
        return true;
    } catch (const std::exception& e) {
        host_.message(std::string(e.what()) + "\r\nAcquireReference. Line of error: " + std::to_string(step),
                      MsgButtons::Ok, MsgIcon::Critical);
        return false;
    }
}

void ReferenceControl::CheckBaselineNoise() {
    if (board_.InUse()) return;
    const double noise = BaselineNoise(Background.samples);
    constexpr double limit = 18.0;
    if (noise <= limit) return;
    host_.message("Warning! Baseline noise (" + formatNumber(noise, "#0") + ") exceeds specified limit (" +
                      formatNumber(limit, "#0") +
                      "). You may proceed, but you should investigate the problem.\r\n"
                      "Check the following:\r\n"
                      "1) Signal grounding\r\n"
                      "2) Good connection of the cable to the right-angle BNC\r\n"
                      "3) Signal cable routing (e.g. not touching the frame)\r\n"
                      "4) If you are using a 20m cable, the noise is expected",
                  MsgButtons::Ok);
}

bool ReferenceControl::RescueReference(bool interactive) {
    int step = 0;
    try {
        step = 1;
        RescueCorrected = false;
        Waveform stored, live;
        if (!scope_.Acquire("REF1", stored) || !scope_.Acquire("CH2", live)) return false;
        // A comes from the RE the oscilloscope kept, B from a fresh acquisition at the current delay.
        auto candidate = std::make_unique<cZEL_Waveform>(host_);
        auto liveWave = std::make_unique<cZEL_Waveform>(host_);
        if (!processRE(stored, *candidate) || !processRE(live, *liveWave)) return false;

        step = 2;
        const int a = candidate->FirstRise;
        const int b = liveWave->FirstRise;
        if (!(a < 42 && b >= 39)) {
            step = 3;
            if (interactive) {
                host_.message("Rescued RE delay is suspect.", MsgButtons::Ok);
            } else {
                scope_.SetDelay(scope_.Delay() + (b - 40) * static_cast<double>(live.deltaX));
                if (!scope_.Acquire("CH2", live)) return false;
                RescueCorrected = true;
            }
        }
        step = 4;
        if (RescueCorrected && interactive) host_.message("Rescued RE waveform is suspect.", MsgButtons::Ok);
        acceptRE(std::move(candidate), stored, interactive);
        return true;
    } catch (const std::exception& e) {
        host_.message(std::string(e.what()) + "\r\nRescueReference. Line of error: " + std::to_string(step),
                      MsgButtons::Ok, MsgIcon::Critical);
        return false;
    }
}

void ReferenceControl::RecoverReference() {
    int step = 0;
    try {
        step = 1;
        if (scope_.Status() != 1) {
            host_.message("Scope status fail, recover cancelled", MsgButtons::Ok);
            return;
        }
        step = 2;
        Waveform background, re;
        if (!scope_.Acquire("REF3", background) || !scope_.Acquire("REF4", re)) return;
        Background = std::move(background);
        step = 3;
        auto candidate = std::make_unique<cZEL_Waveform>(host_);
        if (!processRE(re, *candidate)) return;
        acceptRE(std::move(candidate), re, true);
        RETime = clock_.now();
        REFresh = true;
    } catch (const std::exception& e) {
        host_.message(std::string(e.what()) + "\r\nRecoverReference. Line of error: " + std::to_string(step),
                      MsgButtons::Ok, MsgIcon::Critical);
    }
}

bool ReferenceControl::ask(const std::string& text, const char* title) {
    return host_.message(text, MsgButtons::OkCancel, MsgIcon::Question, title) == MsgResult::Ok;
}

bool ReferenceControl::AcquireHdReference(int kind) {
    board_.EnterReferenceState();
    const std::optional<HdChannels> channels = board_.ReadChannels();
    if (!channels) {
        host_.message(kFailed, MsgButtons::Ok);
        return false;
    }
    if (kind == kBackground) {
        HdBackground = channels;
        return true;
    }
    const HdChannels none{};
    if (!(HdPercentRE(*channels, *channels, HdBackground.value_or(none)) > 0.0f)) {
        host_.message("The RE is no brighter than the background: the data board's channels read " +
                          shortestText((*channels)[0]) + ", " + shortestText((*channels)[1]) + ", " +
                          shortestText((*channels)[2]) + ", " + shortestText((*channels)[3]) +
                          ". Check the reference emitter and take the RE again.",
                      MsgButtons::Ok, MsgIcon::Exclamation);
        return false;
    }
    FirmwareVersion = board_.Firmware().number();
    HdRE = channels;
    HasRE = true;
    RETime = clock_.now();
    REFresh = true;
    return true;
}

void ReferenceControl::UseHdReference(int kind, const HdChannels& channels, DateTime time) {
    if (kind == kBackground) {
        HdBackground = channels;
        return;
    }
    HdRE = channels;
    HasRE = true;
    RETime = time;
}

bool ReferenceControl::CheckBeforePush() {
    ++PushNumber;

    const DateTime now = clock_.now();
    if (!RETime || minutesBetween(*RETime, now) > 30) {
        if (!ask("RE is older than 30 minutes. Select OK to proceed or Cancel to take new RE.", "Old RE"))
            return false;
    }

    if (!depth_.StatusGood()) {
        host_.message("Depth status is not ok, acquisition canceled, investigate problem", MsgButtons::Ok,
                      MsgIcon::Critical);
        return false;
    }

    if (!FirstAcquisition && !SuppressPrompts) {
        if (ShowInfoTab) ShowInfoTab();
        if (!ask("This is the first acquisition since the software has been loaded.\r\n"
                 "Check the info tab for accuracy.\r\n"
                 "Cancel to edit the info, OK to proceed with acquisition.",
                 "First Push"))
            return false;
    }

    if (!SuppressPrompts && AcqType == 1 && !ScatterRatioInRange(RE().ScatterRatio)) {
        if (!ask("Scatter ratio is not 8 (range 7.5-8.5). Acquisition will be allowed to continue, but RE is "
                 "suspect.\r\nCancel to acquire a new RE, OK to proceed with acquisition.",
                 "Scatter Ratio"))
            return false;
    }

    if (!REFresh && !SuppressPrompts) {
        if (!ask("The current RE is at least one acquisition old.\r\n"
                 "Cancel to acquire a new RE, OK to proceed with acquisition.",
                 "Old RE"))
            return false;
    }
    return true;
}

} // namespace zel::acq
