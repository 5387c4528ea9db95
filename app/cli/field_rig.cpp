#include "app/cli/field_rig.h"

#include "common/number_text.h"
#include "instruments/platform/qt_byte_stream.h"

namespace zel::cli {

void ScopeAdapter::ReadSetup() {
    s_.Tek_Wave_Info();
}

bool ScopeAdapter::Acquire(std::string_view source, Waveform& wave) {
    if (!s_.Connected) return false;
    if (source == "CH2") {
        std::int32_t status = 0;
        s_.Tek_Wave_Acq(false, false, status);
        lastStatus_ = status;
        if (status != 1) return false;
    } else {
        s_.Tek_DataSource(std::string(source));
        s_.Tek_Wave_Transfer(false, false);
        s_.Tek_DataSource("CH2");
    }
    if (s_.Waveform.empty()) return false;
    wave.samples = s_.Waveform;
    wave.deltaX = s_.Wave_DeltaX;
    wave.delay = s_.HorizontalDelay;
    return true;
}

void ScopeAdapter::StoreReference(std::string_view source, std::string_view memory) {
    s_.Tek_SaveWaveInternal(std::string(source), std::string(memory));
}

int ScopeAdapter::Status() {
    return s_.Connected && lastStatus_ == 1 ? 1 : 0;
}

double ScopeAdapter::Delay() {
    return s_.HorizontalDelay;
}

void ScopeAdapter::SetDelay(double seconds) {
    s_.Tek_DelayTime(static_cast<float>(seconds), false);
}

void ScopeAdapter::StartPush() {
    s_.Tek_State_Run();
}

SimRig::SimRig(Host& host, const Clock& clock, const SimRigOptions& options) {
    const std::string sim = options.program.empty() ? simProgramPath() : options.program;
    std::vector<std::string> scopeArgs{"scope", "--host", "127.0.0.1", "--portmap-port", "0"};
    if (options.sweepMs >= 0)
        scopeArgs.insert(scopeArgs.end(), {"--sweep-ms", std::to_string(options.sweepMs)});
    scopeSim_ = std::make_unique<SimChild>(sim, scopeArgs);
    depthSim_ = std::make_unique<SimChild>(
        sim, std::vector<std::string>{"depth", "--rate", formatNumber(options.rateFtPerS, "#0.000")});
    gpsSim_ = std::make_unique<SimChild>(sim, std::vector<std::string>{"gps"});
    if (!scopeSim_->running() || !depthSim_->running() || !gpsSim_->running()) {
        error_ = "the simulators did not start (" + sim + ")";
        return;
    }

    visa_ = std::make_unique<visa::NetVisa>(
        platform::qtByteStreamFactory(),
        visa::NetVisaOptions{static_cast<std::uint16_t>(scopeSim_->port("scope", "portmap")), 2000});
    scopeDriver_ = std::make_unique<cZEL_Scope>(visa_.get(), host, clock);
    scopeDriver_->Init("127.0.0.1");
    scopeAdapter_ = std::make_unique<ScopeAdapter>(*scopeDriver_);
    if (!scopeDriver_->Connected) {
        error_ = "no scope";
        return;
    }

    const std::string depthPty = depthSim_->text("depth", "pty");
    depthDriver_ = std::make_unique<cZEL_Depth>(host, clock, depthPort_, depthTimer_,
                                                [depthPty](int) { return depthPty; });
    depthAdapter_ = std::make_unique<DepthAdapter>(*depthDriver_, host);
    // The simulated board's string pot is calibrated at 1 mV per V per inch (its default).
    depthDriver_->Int_CalVal = 1.0f;
    depthDriver_->Int_UpdateTimeMS = 100;
    if (!depthDriver_->Init(static_cast<int>(DepthSource::Interface), 1, 0, false)) {
        error_ = "the depth board did not open";
        return;
    }
    depthDriver_->Int_StreamStart();

    gpsDriver_ = std::make_unique<cZEL_GPS>(clock);
    gpsDriver_->Open(gpsPort_, gpsSim_->text("gps", "pty"));
    gpsAdapter_ = std::make_unique<GpsAdapter>(*gpsDriver_);
}

SimRig::~SimRig() = default;

} // namespace zel::cli
