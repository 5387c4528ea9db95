#include "app/cli/field_rig.h"

#include "common/number_text.h"

namespace zel::cli {

void ScopeAdapter::ReadSetup() {
    s_.Tek_Wave_Info();
}

bool ScopeAdapter::Acquire(std::string_view source, Waveform& wave) {
    // Not Connected: a broken link is tried again by the acquisition itself.
    if (!s_.SessionOpen()) return false;
    if (source == "CH2") {
        std::int32_t status = 0;
        s_.Tek_Wave_Acq(false, false, status);
        lastStatus_ = status;
        if (status != 1) return false;
    } else {
        s_.Tek_DataSource(std::string(source));
        const bool transferred = s_.Tek_Wave_Transfer(false, false);
        s_.Tek_DataSource("CH2");
        if (!transferred) return false;
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

acq::FirmwareVersion BoardAdapter::Firmware() {
    if (!hd_.LastStatus()) hd_.Stat(0);
    const auto& s = hd_.LastStatus();
    return s ? acq::FirmwareVersion{s->firmwareMajor, s->firmwareMinor, s->firmwarePatch}
             : acq::FirmwareVersion{};
}

void BoardAdapter::StartPush() {
    hd_.ClearRecords();
    hd_.SetDS(hd_protocol::kMaxMask);
}

std::array<float, 2> BoardAdapter::AuxValues() {
    if (hd_.Records().empty()) return {};
    const auto& r = hd_.Records().back();
    return {depth_.EC_VtoMS(r[5]), r[hd_protocol::kThreeVoltColumn]};
}

void DepthAdapter::Reset(float) {
    d_.Push_Begin();
    silent_ = false;
    lastReadings_ = -1;
}

bool DepthAdapter::EndOfPush() {
    if (silent_ || (ended && ended())) return true;
    if (idleMs_ <= 0) return false;
    const auto now = clock_.monotonicMs();
    const float depth = d_.Depth_Current_Ft();
    // lastReadings_: the readings count at the last new depth, so the message can tell a dead line from a
    // probe that stopped.
    if (lastReadings_ < 0 || depth != lastDepth_) {
        lastDepth_ = depth;
        lastReadings_ = d_.Readings;
        lastReadingMs_ = now;
    } else if (now - lastReadingMs_ > idleMs_) {
        silent_ = true;
        const std::string seconds = std::to_string(idleMs_ / 1000);
        host_.message(d_.Readings == lastReadings_
                          ? "The depth source has sent nothing for " + seconds + " s; the push ends."
                          : "The depth has not changed for " + seconds + " s; the push ends.");
    }
    return silent_;
}

void DisplayAdapter::ShowText(std::string_view text) {
    d_.Show_PushStart();
    d_.SendText(1, cZEL_Display_J10::Fit(text));
}

void DisplayAdapter::ShowPoint(float depth, float signal) {
    d_.Depth = depth;
    d_.Rate = depth_.Rate();
    if (signal != d_.Signal_Current || !started_) {
        started_ = true;
        d_.Signal_Current = signal;
        if (signal > d_.Signal_MaxValue) {
            d_.Signal_MaxValue = signal;
            d_.Signal_MaxDepth = depth;
        }
        d_.Push_Update();
    } else {
        d_.T2_Update();
    }
}

void DisplayAdapter::ShowPause(bool paused) {
    if (paused)
        d_.Push_Pause();
    else
        d_.Push_PauseEND();
}

std::optional<FieldConfig> startSimulators(Host& host, const SimOptions& o,
                                           std::vector<std::unique_ptr<SimChild>>& sims) {
    const std::string sim = o.program.empty() ? simProgramPath() : o.program;
    const std::size_t first = sims.size();
    const auto child = [&](std::vector<std::string> args) -> SimChild& {
        sims.push_back(std::make_unique<SimChild>(sim, std::move(args)));
        return *sims.back();
    };
    std::vector<std::string> scopeArgs{"scope", "--host", "127.0.0.1", "--portmap-port", "0"};
    // The simulated probe's first acquisition sees no light (the background), the second its RE cap.
    scopeArgs.insert(scopeArgs.end(), {"--dark-acquisitions", "1", "--re-acquisitions", "1", "--re-scale",
                                       formatNumber(o.reScale, "0.0##")});
    if (o.sweepMs >= 0) scopeArgs.insert(scopeArgs.end(), {"--sweep-ms", std::to_string(o.sweepMs)});
    if (!o.scopeDump.empty()) scopeArgs.insert(scopeArgs.end(), {"--dump", o.scopeDump});
    SimChild& scopeSim = child(scopeArgs);
    std::vector<std::string> depthArgs{"depth", "--rate", formatNumber(o.rateFtPerS, "#0.000")};
    if (o.depthNoiseEvery > 0)
        depthArgs.insert(depthArgs.end(), {"--noise-every", std::to_string(o.depthNoiseEvery)});
    SimChild& depthSim = child(depthArgs);
    SimChild& gpsSim = child({"gps"});
    SimChild& displaySim = child({"display"});
    SimChild* hdSim = o.hd ? &child({"hd", "--rate", formatNumber(o.rateFtPerS, "#0.000")}) : nullptr;
    for (std::size_t i = first; i < sims.size(); ++i)
        if (!sims[i]->running()) {
            host.message("The simulators did not start (" + sim + ").");
            return std::nullopt;
        }
    FieldConfig c;
    c.scopeAddress = "127.0.0.1";
    c.scopePortmap = static_cast<std::uint16_t>(scopeSim.port("scope", "portmap"));
    c.depthPort = depthSim.text("depth", "pty");
    c.gpsPort = gpsSim.text("gps", "pty");
    c.displayPort = displaySim.text("display", "pty");
    // The simulated board's string pot is calibrated at 1 mV per V per inch (its default).
    c.stringPotCal = 1.0f;
    c.depthUpdateMs = 100;
    if (hdSim) {
        c.hdAddress = "127.0.0.1";
        const auto port = [&](const char* name) {
            return static_cast<std::uint16_t>(hdSim->port("hd", name));
        };
        c.hdPorts = {port("command"), port("record"), port("second")};
    }
    return c;
}

PushRig::PushRig(Host& host, const Clock& clock, std::unique_ptr<FieldInstruments> drivers,
                 std::vector<std::unique_ptr<SimChild>> sims, bool hdInUse, std::int64_t depthIdleMs)
    : sims_(std::move(sims)), drivers_(std::move(drivers)), scope_(drivers_->Scope()),
      board_(drivers_->HdBoard(), drivers_->Depth(), hdInUse),
      depth_(drivers_->Depth(), host, clock, depthIdleMs), gps_(drivers_->Gps()),
      display_(drivers_->Display(), depth_) {}

PushRig::~PushRig() {
    drivers_->Close();
}

void PushRig::setMetric(bool metric) {
    depth_.metric = metric;
    display_.setMetric(metric);
}

std::unique_ptr<PushRig> openSimulatedRig(Host& host, const Clock& clock, const SimOptions& options) {
    std::vector<std::unique_ptr<SimChild>> sims;
    const auto config = startSimulators(host, options, sims);
    if (!config) return nullptr;
    auto drivers = std::make_unique<FieldInstruments>(host, clock, *config);
    drivers->loadSerialPorts();
    const std::string resource = "TCPIP::" + config->scopeAddress + "::INSTR";
    if (!drivers->openScope(config->scopeAddress, resource) || !drivers->openDepth()) {
        host.message("The simulated scope or depth board did not open.");
        return nullptr;
    }
    drivers->openGps();
    drivers->openDisplay();
    if (options.hd) drivers->openHdBoard(config->hdAddress);
    return std::make_unique<PushRig>(host, clock, std::move(drivers), std::move(sims), options.hd);
}

} // namespace zel::cli
