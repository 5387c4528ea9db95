#pragma once
// One push: the start sequence with its gates, the loop that takes a point at every new depth step (or
// on every pass, or on a timer), pause and stop, and the end with its rate report and the files.
//
// One thread. The loop yields to the Host on every pass and while it waits, so the stop and pause handlers
// run between passes; they only set flags that the loop reads. A failed instrument call inside the loop is
// reported and the loop goes on with its next pass.

#include "acquisition/instruments.h"
#include "acquisition/reference.h"
#include "analysis/dissipation.h"
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
    // The pressure/flow unit's reading at the point, when the push logs pressure and flow (zeros while the
    // unit does not answer).
    bool hasPresFlow = false;
    PresFlowReading presFlow;
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
    // A dissipation test taken during the push; returns its slot (0..4), or -1 when the log has no room left
    // (five tests) or the curve gave no static pressure.
    virtual int AddDissipation(DissipationCurve curve) = 0;
};

// A dissipation test the push takes by itself: once the depth reaches `depth` (log unit) and the rods stand
// still, for at most `seconds`.
struct DissipationRequest {
    float depth = 0.0f;
    double seconds = 120.0;
};

namespace dissipation_timing {
inline constexpr double kMinSeconds = 10.0;  // never shorter: the curve must show where it goes
inline constexpr double kLevelWindowS = 6.0; // levelled: the last 6 s moved less than
inline constexpr double kLevelTolerancePsi = 0.02;
inline constexpr std::int64_t kStillMs = 1000; // the rods stand still: no new depth for this long
inline constexpr std::int64_t kStillWaitMs = 60000;
inline constexpr std::int64_t kSilentMs = 5000; // no reading this long ends the test
// A request is met this close above its depth (log unit): the encoder's last step may stop just short of
// where the rods are held.
inline constexpr float kReachSlack = 0.05f;
} // namespace dissipation_timing

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
    // Dissipation tests at given depths (zel-cli's --dissipation); taken in depth order, only when the push
    // logs pressure and flow.
    std::vector<DissipationRequest> dissipations;
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
    // The dissipation command: a test at the depth where the rods are stopped, from the next pass on.
    void RequestDissipation(double seconds);
    // Records one test now: injection off, the rods' standing still awaited, the downward pressure against
    // time until it levels or `seconds` have passed, injection on again. The curve goes to the recorder.
    // Returns the slot it took, or -1.
    int RecordDissipation(double seconds);
    // Reported after each dissipation test, with the slot it took (-1: not kept).
    std::function<void(int slot, const DissipationCurve&)> DissipationTaken;

    // The timed acquisition command; returns its new caption.
    std::string ToggleTimed();

    // The pressure/flow unit of a hydraulic-profiling push; none (or one not in use): no pressure or flow.
    // It must outlive the push.
    void SetPresFlow(PresFlowUnit* unit) { presFlow_ = unit; }
    bool LogsPresFlow() const { return presFlow_ && presFlow_->InUse(); }

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
    PresFlowUnit* presFlow_ = nullptr;
    bool presFlowSilentTold_ = false;
    std::vector<DissipationRequest> pendingDissipations_; // by depth
    std::optional<double> requestedDissipation_;          // the command's, at the next pass
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
