#pragma once
// The field instruments as acquisition sees them (acquisition/instruments.h), and the one set of them that
// runs on any PC: zel-sim children for the scope, the depth board and the GPS, opened through the real
// drivers on loopback ports and pseudo-terminals. zel-cli push --sim and the desktop program's --sim share
// it, so both push against exactly the same wiring.

#include "acquisition/instruments.h"
#include "app/cli/sim_children.h"
#include "common/clock.h"
#include "common/host.h"
#include "instruments/depth/depth.h"
#include "instruments/gps/gps.h"
#include "instruments/platform/qt_serial_port.h"
#include "instruments/scope/scope.h"
#include "instruments/visa/net_visa.h"

#include <functional>
#include <memory>
#include <string>

namespace zel::cli {

// What a push needs, whichever devices stand behind it.
class FieldInstruments {
public:
    virtual ~FieldInstruments() = default;
    virtual acq::Scope& scope() = 0;
    virtual acq::Board& board() = 0;
    virtual acq::PushDepth& depth() = 0;
    virtual acq::Gps& gps() = 0;
    virtual acq::FieldDisplay& display() = 0;
    // The simulated scope has no reference emitter nor dark input: no background, RE area exemption.
    virtual bool simulated() const = 0;
    // Depths in metres (rates in cm/s) instead of feet (in/s), from the next reading on.
    virtual void setMetric(bool metric) = 0;
};

class ScopeAdapter : public acq::Scope {
public:
    explicit ScopeAdapter(cZEL_Scope& s) : s_(s) {}
    void ReadSetup() override;
    bool Acquire(std::string_view source, Waveform& wave) override;
    void StoreReference(std::string_view source, std::string_view memory) override;
    int Status() override;
    double Delay() override;
    void SetDelay(double seconds) override;
    void StartPush() override;
    void StopPush() override {}

private:
    cZEL_Scope& s_;
    int lastStatus_ = 1;
};

class NoBoard : public acq::Board {
public:
    bool InUse() const override { return false; }
    void EnterReferenceState() override {}
    acq::FirmwareVersion Firmware() override { return {}; }
    void StartPush() override {}
    void StopPush() override {}
    void WaitTrigger() override {}
    std::array<float, 2> AuxValues() override { return {}; }
};

class DepthAdapter : public acq::PushDepth {
public:
    DepthAdapter(cZEL_Depth& d, Host& host) : d_(d), host_(host) {}
    // Depths in metres (rates in cm/s) instead of feet (in/s).
    bool metric = false;
    // Whether the push has reached its end (the console's point count); none: only a stop ends it.
    std::function<bool()> ended;

    bool StatusGood() override { return d_.StatusOK; }
    void Reset(float) override { d_.Push_Begin(); }
    // Depth lines arrive as serial events; a short wait lets the event loop deliver them without spinning.
    void Read() override { host_.sleepMs(5); }
    float Current() override { return metric ? d_.Depth_Current_M() : d_.Depth_Current_Ft(); }
    float Rate() override { return metric ? d_.Rate_Cm : d_.Rate_In; }
    float Conductivity() override { return d_.Conductivity; }
    int Mode() override { return static_cast<int>(d_.Source()); }
    bool EndOfPush() override { return ended && ended(); }
    void Pause() override { d_.DepthPause = true; }
    void Resume() override { d_.DepthPause = false; }
    float StopDepth() override { return 1e9f; }
    void SetRatePerMinute(double) override {}
    void StopEmulation() override { d_.Emulate_Pause(); }

private:
    cZEL_Depth& d_;
    Host& host_;
};

class GpsAdapter : public acq::Gps {
public:
    explicit GpsAdapter(cZEL_GPS& g) : g_(g) {}
    acq::Position Current() override { return {g_.Latitude_Dec, g_.Longitude_Dec, g_.QualityIndicator > 0}; }

private:
    cZEL_GPS& g_;
};

class NoDisplay : public acq::FieldDisplay {
public:
    void ShowText(std::string_view) override {}
    void ShowPoint(float, float) override {}
    void ShowPause(bool) override {}
};

struct SimRigOptions {
    double rateFtPerS = 0.06; // the simulated push rate
    int sweepMs = -1;         // the scope simulator's time per averaged sweep; negative: its own default
    std::string program;      // zel-sim; empty: beside the running program
};

// The simulators started and opened. Needs a Qt application object (the drivers' sockets and serial ports).
class SimRig final : public FieldInstruments {
public:
    SimRig(Host& host, const Clock& clock, const SimRigOptions& options = {});
    ~SimRig() override;

    // Empty when every simulator runs and its driver opened; otherwise what failed.
    const std::string& error() const { return error_; }

    acq::Scope& scope() override { return *scopeAdapter_; }
    acq::Board& board() override { return board_; }
    DepthAdapter& depth() override { return *depthAdapter_; }
    acq::Gps& gps() override { return *gpsAdapter_; }
    acq::FieldDisplay& display() override { return display_; }
    bool simulated() const override { return true; }
    void setMetric(bool metric) override {
        if (depthAdapter_) depthAdapter_->metric = metric;
    }

private:
    std::string error_;
    std::unique_ptr<SimChild> scopeSim_, depthSim_, gpsSim_;
    std::unique_ptr<visa::NetVisa> visa_;
    std::unique_ptr<cZEL_Scope> scopeDriver_;
    platform::QtSerialPort depthPort_;
    platform::QtTimer depthTimer_;
    std::unique_ptr<cZEL_Depth> depthDriver_;
    platform::QtSerialPort gpsPort_;
    std::unique_ptr<cZEL_GPS> gpsDriver_;
    std::unique_ptr<ScopeAdapter> scopeAdapter_;
    NoBoard board_;
    std::unique_ptr<DepthAdapter> depthAdapter_;
    std::unique_ptr<GpsAdapter> gpsAdapter_;
    NoDisplay display_;
};

} // namespace zel::cli
