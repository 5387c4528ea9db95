#pragma once
// The field instruments as acquisition sees them (acquisition/instruments.h): the opened drivers with an
// adapter each, and the simulated set of them (zel-sim children opened through the same drivers on loopback
// ports and pseudo-terminals). zel-cli push and the desktop program share this wiring, so both push against
// exactly the same code whether the instruments are real or simulated.

#include "acquisition/instruments.h"
#include "common/clock.h"
#include "common/host.h"
#include "instruments/field/field_instruments.h"
#include "program/sim_children.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace zel::program {

class ScopeAdapter : public acq::Scope {
public:
    explicit ScopeAdapter(cZEL_Scope& s) : s_(s) {}
    void ReadSetup() override;
    bool Acquire(std::string_view source, Waveform& wave) override;
    void StoreReference(std::string_view source, std::string_view memory) override;
    int Status() override;
    double Delay() override;
    void SetDelay(double seconds) override;
    // During a push the vertical scale follows the signal (the transfer's auto-scale), never below this
    // many millivolts a division (the "/Y" set-up), so a bright layer is not logged clipped.
    void setMinimumScale(float millivolts);
    // The sweeps the scope averages a waveform over (rounded up to a power of two, 2 .. 512, by the driver).
    void setAveraging(int count);
    // Whether the front panel stays usable during a push; locked otherwise, and unlocked again at its end.
    void setUnlockedDuringPush(bool unlocked) { unlocked_ = unlocked; }
    void SetVerticalScale(float millivoltsPerDivision) override;
    void StartPush() override;
    void StopPush() override;

private:
    cZEL_Scope& s_;
    int lastStatus_ = 1;
    bool pushing_ = false;
    bool unlocked_ = false;
};

// The data board in the push: it triggers the points and digitises the auxiliary inputs. Off (InUse false)
// unless the start-up is in HD-board mode and the board answered. As the digitiser (HD-board mode without
// an oscilloscope) its records are the points and its channels the RE and background.
class BoardAdapter : public acq::Board {
public:
    BoardAdapter(clsHD& hd, cZEL_Depth& depth, bool inUse, bool digitiser = false)
        : hd_(hd), depth_(depth), inUse_(inUse), digitiser_(digitiser) {}
    bool InUse() const override { return inUse_ && hd_.Connected(); }
    bool Digitiser() const override { return digitiser_ && InUse(); }
    int PushMask() const override { return hd_protocol::kMaxMask; }
    std::optional<HdBoardValues> LastRecord() override;
    // Streams the four channel columns for a few records and averages them.
    std::optional<HdChannels> ReadChannels() override;
    void EnterReferenceState() override { hd_.Stop(); }
    acq::FirmwareVersion Firmware() override;
    void StartPush() override;
    void StopPush() override { hd_.Stop(); }
    void WaitTrigger() override { hd_.WaitRecord(2000); }
    // The conductivity input (column 5, calibrated as the depth board's) and the 3-volt analogue input.
    std::array<float, 2> AuxValues() override;
    // Asks the board for its settings; false when it did not answer.
    bool ReadStatus() { return hd_.Stat(0); }
    // The board's settings as DATA_INFO keeps them: integration time and integrations per cycle.
    int IntegrationTime() const {
        return hd_.LastStatus() ? hd_.LastStatus()->intTime : hd_.IntegrationTime();
    }
    int Averaging() const { return hd_.LastStatus() ? hd_.LastStatus()->icf : 0; }

    // Records averaged for a reference.
    static constexpr int kReferenceRecords = 4;

private:
    clsHD& hd_;
    cZEL_Depth& depth_;
    bool inUse_;
    bool digitiser_;
};

class DepthAdapter : public acq::PushDepth {
public:
    // idleMs > 0: the push ends when no new depth has come for that long, a dead line or a probe at its
    // refusal (a headless push has no operator to notice); 0: only ended() or a stop ends it.
    DepthAdapter(cZEL_Depth& d, Host& host, const Clock& clock, std::int64_t idleMs)
        : d_(d), host_(host), clock_(clock), idleMs_(idleMs) {}
    // Depths in metres (rates in cm/s) instead of feet (in/s).
    bool metric = false;
    // Whether the push has reached its end (the console's point count); none: only a stop ends it.
    std::function<bool()> ended;
    // The automatic stop's depth in the log's unit; none: the push is not stopped by depth.
    std::optional<float> stopDepth;

    bool StatusGood() override { return d_.StatusOK; }
    // Zeroes the push's counters and, with a start depth, sets the encoder's offset so that it reads that
    // depth (below 0: 0) in the log's unit from here on; without one the encoder keeps its reading.
    void Reset(std::optional<float> startDepth) override;
    // Depth lines arrive as serial events; a short wait lets the event loop deliver them without spinning.
    void Read() override { host_.sleepMs(5); }
    // The encoder's depth, or in the timed variant the depth reached by time (see SetRatePerMinute).
    float Current() override;
    float Rate() override { return metric ? d_.Rate_Cm : d_.Rate_In; }
    float Conductivity() override { return d_.Conductivity; }
    int Mode() override { return static_cast<int>(d_.Source()); }
    float StoredStep() override { return static_cast<float>(d_.Int_Counter_Value); }
    bool EndOfPush() override;
    void Pause() override { d_.DepthPause = true; }
    // A pause is not the line gone quiet: the idle time counts again from the resume.
    void Resume() override {
        d_.DepthPause = false;
        lastReadings_ = -1;
    }
    float StopDepth() override;
    // The timed variant: from now on the depth advances by `rate` (the interval in minutes) once every
    // interval, from the depth it has now, whatever the encoder does; the log's depths then count minutes.
    // 0 or less returns to the encoder.
    void SetRatePerMinute(double rate) override;
    void StopEmulation() override { d_.Emulate_Pause(); }
    double RatePerMinute() const { return ratePerMinute_; }

private:
    float encoderDepth() const { return metric ? d_.Depth_Current_M() : d_.Depth_Current_Ft(); }

    cZEL_Depth& d_;
    Host& host_;
    const Clock& clock_;
    std::int64_t idleMs_;
    double ratePerMinute_ = 0.0;
    float timedFrom_ = 0.0f;
    std::int64_t timedSinceMs_ = 0;
    bool silent_ = false;
    long long lastReadings_ = -1;
    float lastDepthFt_ = 0;
    std::int64_t lastReadingMs_ = 0;
};

class GpsAdapter : public acq::Gps {
public:
    explicit GpsAdapter(cZEL_GPS& g) : g_(g) {}
    acq::Position Current() override { return {g_.Latitude_Dec, g_.Longitude_Dec, g_.QualityIndicator > 0}; }

private:
    cZEL_GPS& g_;
};

// The field display at the rig. The loop refreshes it on every pass: the whole push screen goes out when a
// point brought a new signal, otherwise only the depth and rate rows that moved (the line is 9600 baud).
class DisplayAdapter : public acq::FieldDisplay {
public:
    DisplayAdapter(cZEL_Display_J10& d, DepthAdapter& depth) : d_(d), depth_(depth) {}
    void setMetric(bool metric) { d_.Units_Metric = metric; }
    void ShowText(std::string_view text) override;
    void ShowPoint(float depth, float signal) override;
    void ShowPause(bool paused) override;

private:
    cZEL_Display_J10& d_;
    DepthAdapter& depth_;
    bool started_ = false;
};

// The hydraulic-profiling unit in the push: in use when the set-up asks for pressure and flow ("/PF" or the
// Setup form's box) and the unit's line is open.
class PresFlowAdapter : public acq::PresFlowUnit {
public:
    explicit PresFlowAdapter(cZEL_PresFlow& unit) : u_(unit) {}
    bool enabled = false;
    int periodMs = 200; // ten readings, the reference tests' average, in 2 s

    bool InUse() const override { return enabled && u_.PortOpen(); }
    // Streams without touching the unit's clock or pump: the live reading of the form and the tests.
    void Monitor();
    void StartPush() override;
    void StopPush() override;
    std::optional<acq::PresFlowReading> Current() override;
    double AveragePresDown() override { return u_.AveragePresDown(); }
    void SetFlow(bool on) override { u_.SetFlow(on); }

private:
    cZEL_PresFlow& u_;
};

// What the simulated instruments do; the test aids let end-to-end tests misbehave on purpose.
struct SimOptions {
    double rateFtPerS = 0.06; // 0.72 in/s, under the 0.8 in/s target
    int sweepMs = -1;         // the scope simulator's time per averaged sweep; negative: its own default
    double reScale = 1.0;     // brightness of the simulated reference emitter
    std::string scopeDump;    // the scope simulator's record of every curve it sent
    std::string transcripts;  // a folder for each simulated instrument's record of what it received
    std::string scopeStall;   // "RECORD,MS": that acquisition of the simulated scope completes MS later
    int depthNoiseEvery = 0;  // line noise on the simulated depth line
    bool hd = false;          // the data board's simulator too
    std::string site;         // the rig's site file; empty: its built-in site
    std::uint32_t seed = 1;   // the rig's noise, pace and GPS wander
    double rodFt = -1;        // rod length (pause at each multiple); negative: the rig's default
    double rodPauseS = -1;    // each rod change's pause; negative: the rig's default
    std::string program;      // zel-sim; empty: beside the running program
    // Where the rig's operator holds the rods still (a dissipation test): "DEPTH:SECONDS" each.
    std::vector<std::string> holds;
    // The rig's conductivity circuit: volts = offset + mS/m / (mS/m per volt).
    double condMsPerV = 100.0;
    double condOffsetV = 0.0;
};

// Starts the simulators as children (appended to sims) and returns the settings that point the openers at
// them; empty, with the reason shown, when one did not start.
std::optional<FieldConfig> startSimulators(Host& host, const SimOptions& options,
                                           std::vector<std::unique_ptr<SimChild>>& sims);

// The opened drivers (and the simulators behind them, if any) with their adapters: everything a push runs
// against. Needs a Qt application object (the drivers' sockets and serial ports).
class PushRig {
public:
    PushRig(Host& host, const Clock& clock, std::unique_ptr<FieldInstruments> drivers,
            std::vector<std::unique_ptr<SimChild>> sims, bool hdInUse, std::int64_t depthIdleMs = 0);
    ~PushRig();

    ScopeAdapter& scope() { return scope_; }
    BoardAdapter& board() { return board_; }
    DepthAdapter& depth() { return depth_; }
    acq::Gps& gps() { return gps_; }
    DisplayAdapter& display() { return display_; }
    PresFlowAdapter& presFlow() { return presFlow_; }
    FieldInstruments& drivers() { return *drivers_; }
    bool simulated() const { return !sims_.empty(); }
    // The simulated rig's operator puts the probe in the water tube with its pressure port feetUnderWater
    // under water (negative: out of it), as a prompt asks the crew on a real rig. False when no simulated
    // operator took the request (a real rig: the crew does it by hand).
    bool placeInWaterTube(double feetUnderWater);
    // The simulated rig's operator stands the probe in a calibration solution of ms mS/m (none: takes it
    // out). False when no simulated operator took the request (a real rig: the crew does it by hand).
    bool placeInSolution(std::optional<double> ms);
    // Depths in metres (rates in cm/s) instead of feet (in/s), from the next reading on.
    void setMetric(bool metric);

private:
    std::vector<std::unique_ptr<SimChild>> sims_;
    std::unique_ptr<FieldInstruments> drivers_;
    ScopeAdapter scope_;
    BoardAdapter board_;
    DepthAdapter depth_;
    GpsAdapter gps_;
    DisplayAdapter display_;
    PresFlowAdapter presFlow_;
};

// A request to the simulated rig's operator ("tube 1", "solution 266"): true when it answered "ok"; false
// without a simulated rig, as at a real one, where the crew does it by hand.
bool askRigOperator(const std::vector<std::unique_ptr<SimChild>>& sims, const std::string& request);

// The simulated rig in one step: simulators started, drivers opened at once (no paced start-up). Empty with
// the reason shown when a simulator did not start or its driver did not open.
std::unique_ptr<PushRig> openSimulatedRig(Host& host, const Clock& clock, const SimOptions& options);

} // namespace zel::program
