#pragma once
// One push: the start sequence with its gates, the loop that takes a point at every new depth step (or
// on every pass, or on a timer), pause and stop, and the end with its rate report and the files.
//
// One thread. The loop yields to the Host on every pass and while it waits, so the stop and pause handlers
// run between passes; they only set flags that the loop reads. A failed instrument call inside the loop is
// reported and the loop goes on with its next pass.

#include "acquisition/instruments.h"
#include "acquisition/reference.h"
#include "common/clock.h"
#include "common/host.h"
#include "waveform/waveform.h"

#include <array>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace zel::acq {

// One point as the loop hands it to the log.
struct PointRecord {
    float depth = 0.0f;
    float signal = 0.0f; // %RE
    float rate = 0.0f;   // push rate from the depth source, in/s or cm/s
    bool rateExceeded = false;
    float scatter = 0.0f;      // S
    float fluorescence = 0.0f; // F
    std::array<float, 4> channelArea{};
    float conductivity = 0.0f;
    std::array<float, 2> aux{}; // the data board's analogue values
    float counter = 0.0f;       // the depth encoder's stored step, in stepped read-back mode
    Position position;
    std::span<const float> wave; // background subtracted, as processed
    // HD-board mode: the board's record of the point, by board column (the wave is then its four channel
    // values less the background's).
    std::optional<HdBoardValues> board;
    float deltaX = 0.0f;
    double delay = 0.0;
};

// The log side of a push: where points go as they are taken and what happens to them at the end.
class PushRecorder {
public:
    virtual ~PushRecorder() = default;
    // A new log for the push; depthMode as the depth source reports it (2: points carry their stored step).
    // False refuses the start.
    virtual bool Begin(const ReferenceControl& reference, float firstDepth, int depthMode) = 0;
    // Stores one point durably before the next is taken. False when it could not be stored.
    virtual bool Append(const PointRecord& point) = 0;
    // The files of the finished push; the point store kept for recovery is removed once they are written.
    virtual void Finish() = 0;
};

struct PushSettings {
    bool metric = false;
    std::optional<float> startDepth;
    int startDelaySeconds = 0;
    bool continuous = false;
    bool timed = false;
    float intervalSetting = 2.0f; // seconds between points in the timed variant, before the clamp
    bool autoStop = false;
    bool emulationAutoStop = false;
    int emulationStopCount = 0;
    std::string stepText = "0.05"; // the depth step as the settings show it
    // The points' processing beyond the RE's own (layout, options and boundaries, their count included,
    // come from the RE, so a seven-channel RE is never cut to four channels).
    std::int16_t widthLimit = 0;
    std::array<float, kGainChannels> gain{};
    std::array<bool, kGainChannels> exclude{};
    bool excludeCH1 = false;
    float ch1Correction = 0.0f;
};

// 2 .. 300 seconds.
float ClampInterval(float seconds);

struct RateReport {
    int exceedances = 0;
    int points = 0;
    double average = 0.0;
    bool flagged = false;
    std::string message; // empty when nothing was shown
};
// The end-of-push rate report over the points' rates (in/s, or cm/s in metric units).
RateReport CheckPushRate(std::span<const float> rates, bool metric, bool suppressPrompts, Host& host);

class PushControl {
public:
    PushControl(Host& host, const Clock& clock, ReferenceControl& reference, Scope& scope, Board& board,
                PushDepth& depth, Gps& gps, FieldDisplay& display, PushRecorder& recorder);

    PushSettings Settings;

    // Start sequence, loop and end. False when the push was not started (a gate cancelled or the log
    // could not be begun); nothing is recorded then.
    bool StartPush();
    void RunPush();
    bool AcquirePoint();
    void FinishPush();

    // Handlers: they only act on flags and on the depth source, never on the loop itself.
    void RequestStop();
    void PausePush();
    void SetContinuous(bool on);
    // The timed acquisition command; returns its new caption.
    std::string ToggleTimed();

    // Loop state.
    bool Acquiring() const { return acquiring_; }
    int Points() const { return points_; }
    float LastDepth() const { return lastDepth_; }
    double RateEstimate() const { return rateEstimate_; }
    int EmulatedSteps() const { return emulatedSteps_; }
    const std::vector<float>& PointRates() const { return pointRates_; }
    const RateReport& LastRateReport() const { return rateReport_; }
    // Reported after each point is stored (the console prints progress from it).
    std::function<void(int point, const PointRecord&)> PointTaken;

private:
    void preparePointWave();
    // HD-board mode: the point from the board's record.
    void boardPoint(PointRecord& p);
    void updateRate();
    bool waitInterval();
    void waitStartDelay();
    void report(const char* routine, int step, const std::string& what);

    Host& host_;
    const Clock& clock_;
    ReferenceControl& ref_;
    Scope& scope_;
    Board& board_;
    PushDepth& depth_;
    Gps& gps_;
    FieldDisplay& display_;
    PushRecorder& recorder_;
    std::unique_ptr<cZEL_Waveform> point_;

    bool acquiring_ = false;
    bool stopLatched_ = false;
    float lastDepth_ = -9.0f;
    int points_ = 0;
    double lastPointTime_ = -1.0; // seconds since midnight
    double rateEstimate_ = 0.0;
    bool rateBeeped_ = false;
    bool rateExceeded_ = false;
    int emulatedSteps_ = 0;
    float lastSignal_ = 0.0f;
    std::vector<float> pointRates_;
    RateReport rateReport_;
    Waveform wave_;
    std::vector<float> hdWave_;
};

} // namespace zel::acq
