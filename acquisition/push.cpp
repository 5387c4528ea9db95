#include "acquisition/push.h"

#include "common/number_text.h"

#include <algorithm>
#include <cmath>
#include <exception>
#include <stdexcept>

namespace zel::acq {

namespace {

constexpr double kRateMarkLimit = 0.8;
constexpr int kPresFlowStartWaitMs = 2000;
constexpr float kPlateauPsi = 0.05f; // the transducer's noise, five times over
constexpr const char* kContinuousMessage =
    "In Continuous depth mode, data is taken throughout the push regardless "
    "of depth. This will not work properly with cycling rods.";
constexpr const char* kPauseMessage = "Depth is Paused. Click OK to Resume.\r\nWhen resumed, depth will "
                                      "increment from the new position. You may move "
                                      "push mechanism as needed to new location. Rod changes during pause "
                                      "are not recommended. Pause cannot be used "
                                      "reliably during the first rod.";

} // namespace

float ClampInterval(float seconds) {
    if (seconds < 2.0f) return 2.0f;
    if (seconds > 300.0f) return 300.0f;
    return seconds;
}

RateReport CheckPushRate(std::span<const float> rates, bool metric, bool suppressPrompts, Host& host) {
    host.sleepMs(100);
    RateReport r;
    const double limit = metric ? 3.0 * 2.54 : 3.0;
    const char* unit = metric ? " cm/s" : " in/s";
    double sum = 0.0;
    for (float rate : rates) {
        if (rate > limit) ++r.exceedances;
        sum += rate;
    }
    r.points = static_cast<int>(rates.size());
    r.average = r.points > 0 ? sum / r.points : 0.0;
    // The 1.2 stays as it is in metric units too.
    r.flagged = r.exceedances > 0 || r.average > 1.2;
    if (r.flagged && !suppressPrompts) {
        r.message = "Caution!\r\nRate exceeded " + formatNumber(limit, "#0.0") + unit + " during push " +
                    std::to_string(r.exceedances) + " times out of " + std::to_string(r.points) +
                    " data points.\r\nAverage rate was: " + formatNumber(r.average, "0.00") + unit +
                    "\r\nTarget rate is 0.8 in/s (2 cm/s).";
        host.message(r.message, MsgButtons::Ok);
    }
    return r;
}

PushControl::PushControl(Host& host, const Clock& clock, ReferenceControl& reference, Scope& scope,
                         Board& board, PushDepth& depth, Gps& gps, FieldDisplay& display,
                         PushRecorder& recorder)
    : host_(host), clock_(clock), ref_(reference), scope_(scope), board_(board), depth_(depth), gps_(gps),
      display_(display), recorder_(recorder) {}

void PushControl::report(const char* routine, int step, const std::string& what) {
    host_.message(what + "\r\nErl of " + routine + ": " + std::to_string(step), MsgButtons::Ok,
                  MsgIcon::Critical);
}

void PushControl::preparePointWave() {
    const cZEL_Waveform& re = ref_.RE();
    point_ = std::make_unique<cZEL_Waveform>(host_, re.Options);
    point_->Mode = ref_.Mode;
    point_->AcqType = ref_.AcqType;
    point_->FirmwareVersion = ref_.FirmwareVersion;
    point_->WidthLimit = Settings.widthLimit;
    point_->Gain = Settings.gain;
    point_->Exclude = Settings.exclude;
    point_->ExcludeCH1 = Settings.excludeCH1;
    point_->CH1Correction = Settings.ch1Correction;
    point_->CopyCutoffs(re);
    point_->CopyReference(re);
    if (!ref_.Background.empty()) point_->SetBackground(ref_.Background.samples);
}

bool PushControl::StartPush() {
    const bool digitiser = board_.Digitiser();
    if (!digitiser) preparePointWave();
    if (!ref_.CheckBeforePush()) return false;

    lastDepth_ = -9.0f;
    if (Settings.startDepth)
        lastDepth_ = *Settings.startDepth < 0.0f ? -0.001f : *Settings.startDepth - 0.001f;
    depth_.Reset(Settings.startDepth);
    depth_.Read();
    if (!recorder_.Begin(ref_, depth_.Current(), depth_.Mode())) return false;

    display_.ShowText(Settings.stepText + " per" + (Settings.metric ? " m" : " ft"));

    if (!digitiser) {
        scope_.StoreReference("CH2", "REF1");
        scope_.StoreReference("CH2", "REF2");
        scope_.StartPush();
    }
    if (board_.InUse()) board_.StartPush();
    presFlowSilentTold_ = false;
    if (LogsPresFlow()) {
        presFlow_->StartPush();
        // The first point should have its pressure: the unit gets a moment for its first reading.
        for (int waited = 0; waited < kPresFlowStartWaitMs && !presFlow_->Current(); waited += 20) {
            host_.yield();
            host_.sleepMs(20);
        }
    }
    if (Settings.timed) depth_.SetRatePerMinute(ClampInterval(Settings.intervalSetting) / 60.0);

    pendingDissipations_ = Settings.dissipations;
    std::sort(pendingDissipations_.begin(), pendingDissipations_.end(),
              [](const DissipationRequest& a, const DissipationRequest& b) { return a.depth < b.depth; });
    requestedDissipation_.reset();
    points_ = 0;
    pointRates_.clear();
    rateEstimate_ = 0.0;
    rateBeeped_ = false;
    lastPointTime_ = -1.0;
    emulatedSteps_ = 0;
    stopLatched_ = false;
    acquiring_ = true;
    waitStartDelay();
    RunPush();
    FinishPush();
    return true;
}

void PushControl::waitStartDelay() {
    if (Settings.startDelaySeconds <= 0) return;
    const long long start = clock_.now().toSeconds();
    while (acquiring_ && clock_.now().toSeconds() - start < Settings.startDelaySeconds) {
        host_.yield();
        host_.sleepMs(50);
    }
}

bool PushControl::waitInterval() {
    if (lastPointTime_ < 0.0) return true;
    const double interval = ClampInterval(Settings.intervalSetting);
    for (;;) {
        double elapsed = clock_.secondsSinceMidnight() - lastPointTime_;
        if (elapsed < 0.0) elapsed += 86400.0;
        if (elapsed >= interval) return true;
        host_.yield();
        if (!acquiring_) return false;
        host_.sleepMs(20);
        if (!acquiring_) return false;
    }
}

void PushControl::updateRate() {
    if (lastPointTime_ < 0.0) return;
    double interval = clock_.secondsSinceMidnight() - lastPointTime_;
    if (interval == 0.0) interval = 0.5;
    rateEstimate_ = 1.0 / interval;
    // Past midnight the difference is negative; the shown rate falls back to 1.
    if (rateEstimate_ < 0.0) rateEstimate_ = 1.0;
    rateExceeded_ = rateEstimate_ > kRateMarkLimit;
    if (rateExceeded_ && !rateBeeped_) {
        host_.beep();
        rateBeeped_ = true;
    }
}

void PushControl::RunPush() {
    while (acquiring_) {
        int step = 0;
        try {
            step = 1;
            depth_.Read();
            step = 2;
            if (Settings.timed && !waitInterval()) break;
            step = 3;
            if (board_.InUse()) board_.WaitTrigger();
            step = 4;
            if (depth_.EndOfPush()) break;
            step = 5;
            updateRate();
            step = 6;
            const float current = depth_.Current();
            const bool newDepth = current > lastDepth_;
            // The timed variant only paces the passes; a point still needs a new depth (the depth source
            // advances by time when it was handed the rate) or the continuous-depth flag.
            if (newDepth || Settings.continuous) {
                step = 7;
                lastDepth_ = current;
                // In stepped read-back mode the point takes the encoder's stored step along (AcquirePoint
                // reads it back before the point is stored, so the file never holds a point without it).
                if (AcquirePoint()) ++points_;
            }
            step = 8;
            // The emulator steps once a tick while the loop passes many times: only a new depth is a step.
            if (depth_.Mode() == 0 && newDepth) {
                ++emulatedSteps_;
                if (Settings.emulationAutoStop && Settings.emulationStopCount > 0 &&
                    emulatedSteps_ >= Settings.emulationStopCount) {
                    emulatedSteps_ = 0;
                    depth_.StopEmulation();
                    host_.beep();
                }
            }
            step = 9;
            if (LogsPresFlow()) {
                if (requestedDissipation_) {
                    const double seconds = *requestedDissipation_;
                    requestedDissipation_.reset();
                    RecordDissipation(seconds);
                } else if (!pendingDissipations_.empty() &&
                           current >= pendingDissipations_.front().depth - dissipation_timing::kReachSlack) {
                    const double seconds = pendingDissipations_.front().seconds;
                    pendingDissipations_.erase(pendingDissipations_.begin());
                    RecordDissipation(seconds);
                }
            }
            step = 10;
            display_.ShowPoint(current, lastSignal_);
            host_.yield();
            step = 11;
            if (Settings.autoStop) {
                const float stopAt = depth_.StopDepth();
                if (current >= stopAt || depth_.Current() >= stopAt) RequestStop();
            }
        } catch (const std::exception& e) {
            report("RunPush", step, e.what());
            host_.yield();
        }
    }
    acquiring_ = false;
}

void PushControl::boardPoint(PointRecord& p) {
    p.board = board_.LastRecord();
    if (!p.board) throw std::runtime_error("The data board sent no record.");
    const HdChannels none{};
    const HdChannels& background = ref_.HdBackground ? *ref_.HdBackground : none;
    HdChannels channels{};
    hdWave_.resize(channels.size());
    for (std::size_t k = 0; k < channels.size(); ++k) {
        channels[k] = (*p.board)[static_cast<std::size_t>(hd_layout::kFirstSignalColumn) + k];
        hdWave_[k] = channels[k] - background[k];
        p.channelArea[k] = hdWave_[k];
        p.fluorescence += hdWave_[k];
    }
    p.signal = ref_.HdRE ? HdPercentRE(channels, *ref_.HdRE, background) : 0.0f;
    p.wave = hdWave_;
}

bool PushControl::AcquirePoint() {
    int step = 0;
    try {
        step = 1;
        PointRecord p;
        if (board_.Digitiser()) {
            boardPoint(p);
            p.aux = board_.AuxValues();
        } else {
            if (!scope_.Acquire("CH2", wave_)) throw std::runtime_error("The oscilloscope gave no waveform.");
            if (board_.InUse()) p.aux = board_.AuxValues();
            step = 2;
            point_->DeltaX = wave_.deltaX;
            bool low = false;
            if (!point_->Process_Wave(wave_.samples, low)) return false;
            p.signal = point_->Wave_Signal;
            p.scatter = point_->Wave_ScatSum;
            p.fluorescence = point_->Wave_FluorSum;
            for (int k = 0; k < 4; ++k)
                p.channelArea[k] = point_->Wave_AreaCH[k];
            p.wave = wave_.samples;
            p.deltaX = wave_.deltaX;
            p.delay = wave_.delay;
        }
        step = 4;
        p.position = gps_.Current();
        if (LogsPresFlow()) {
            p.hasPresFlow = true;
            if (const auto r = presFlow_->Current()) {
                p.presFlow = *r;
            } else if (!presFlowSilentTold_) {
                // The point is still worth having for its fluorescence; its K repeats the one before.
                presFlowSilentTold_ = true;
                host_.progress(
                    "The pressure/flow unit is not answering; its points carry no pressure or flow.");
            }
        }
        step = 5;
        p.depth = lastDepth_;
        p.rate = depth_.Rate();
        p.rateExceeded = rateExceeded_;
        // With the data board in the push its analogue input is the conductivity.
        p.conductivity = board_.InUse() ? p.aux[0] : depth_.Conductivity();
        if (depth_.Mode() == 2) p.counter = depth_.StoredStep();
        if (!recorder_.Append(p)) throw std::runtime_error("The point could not be stored.");
        pointRates_.push_back(p.rate);
        lastSignal_ = p.signal;
        lastPointTime_ = clock_.secondsSinceMidnight();
        if (PointTaken) PointTaken(points_ + 1, p);
        return true;
    } catch (const std::exception& e) {
        report("AcquirePoint", step, e.what());
        return false;
    }
}

void PushControl::FinishPush() {
    if (board_.InUse()) board_.StopPush();
    if (!board_.Digitiser()) scope_.StopPush();
    if (LogsPresFlow()) presFlow_->StopPush();
    rateReport_ = CheckPushRate(pointRates_, Settings.metric, ref_.SuppressPrompts, host_);
    recorder_.Finish();
    ref_.REFresh = false;
    ref_.FirstAcquisition = true;
}

void PushControl::RequestDissipation(double seconds) {
    requestedDissipation_ = seconds;
}

int PushControl::RecordDissipation(double seconds) {
    using namespace dissipation_timing;
    if (!LogsPresFlow()) return -1;
    display_.ShowText("Dissipation test");
    // The rods stop: the test belongs to the depth where they stand, not to where the command came.
    const std::int64_t asked = clock_.monotonicMs();
    std::int64_t stillSince = asked;
    float depth = depth_.Current();
    while (acquiring_ && clock_.monotonicMs() - stillSince < kStillMs &&
           clock_.monotonicMs() - asked < kStillWaitMs) {
        host_.yield();
        host_.sleepMs(50);
        depth_.Read();
        if (depth_.Current() != depth) {
            depth = depth_.Current();
            stillSince = clock_.monotonicMs();
        }
    }
    // The rods are held for the test: the encoder too, so the time it takes is not a depth source gone quiet.
    // The curve starts as the injection stops.
    depth_.Pause();
    presFlow_->SetFlow(false);
    DissipationCurve curve;
    curve.depth = depth;
    std::optional<float> firstTime, lastTime;
    std::int64_t lastReadingMs = clock_.monotonicMs();
    // A stop during the test ends it; what was recorded is still a curve.
    while (acquiring_) {
        host_.yield();
        host_.sleepMs(50);
        const auto r = presFlow_->Current();
        if (r && (!lastTime || r->timeS != *lastTime)) {
            if (!firstTime) firstTime = r->timeS;
            lastTime = r->timeS;
            lastReadingMs = clock_.monotonicMs();
            curve.timeS.push_back(r->timeS - *firstTime);
            curve.presDown.push_back(r->presDown);
            const double elapsed = curve.timeS.back();
            if (elapsed >= seconds) break;
            if (elapsed >= kMinSeconds && levelled(curve, kLevelWindowS, kLevelTolerancePsi)) break;
        } else if (clock_.monotonicMs() - lastReadingMs > kSilentMs) {
            host_.progress("The pressure/flow unit stopped answering during the dissipation test.");
            break;
        }
    }
    presFlow_->SetFlow(true);
    depth_.Resume();
    // Readings the unit took before the injection stopped (in flight as it was told) stand level at the
    // pumping pressure: the curve starts at the last of them.
    std::size_t first = 0;
    while (first + 1 < curve.presDown.size() &&
           std::fabs(curve.presDown[first + 1] - curve.presDown[0]) <= kPlateauPsi)
        ++first;
    if (first > 0 && first + 1 < curve.presDown.size()) {
        const float t0 = curve.timeS[first];
        curve.timeS.erase(curve.timeS.begin(), curve.timeS.begin() + static_cast<std::ptrdiff_t>(first));
        curve.presDown.erase(curve.presDown.begin(),
                             curve.presDown.begin() + static_cast<std::ptrdiff_t>(first));
        for (float& t : curve.timeS)
            t -= t0;
    }
    const int slot = recorder_.AddDissipation(curve);
    if (DissipationTaken) DissipationTaken(slot, curve);
    return slot;
}

void PushControl::RequestStop() {
    if (stopLatched_) return;
    stopLatched_ = true;
    acquiring_ = false;
}

void PushControl::PausePush() {
    depth_.Pause();
    display_.ShowPause(true);
    host_.message(kPauseMessage, MsgButtons::Ok, MsgIcon::Critical, "Depth Paused");
    display_.ShowPause(false);
    depth_.Resume();
}

void PushControl::SetContinuous(bool on) {
    if (on && !Settings.continuous) host_.message(kContinuousMessage, MsgButtons::Ok);
    Settings.continuous = on;
}

std::string PushControl::ToggleTimed() {
    Settings.timed = !Settings.timed;
    if (!Settings.timed) RequestStop();
    return Settings.timed ? "STOP" : "Continuous Wave Acq.";
}

} // namespace zel::acq
