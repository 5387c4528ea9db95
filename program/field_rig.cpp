#include "program/field_rig.h"

#include "common/number_text.h"

#include <QTcpSocket>

#include <algorithm>
#include <cmath>
#include <limits>

namespace zel::program {

void ScopeAdapter::ReadSetup() {
    s_.Tek_Wave_Info();
}

bool ScopeAdapter::Acquire(std::string_view source, Waveform& wave) {
    // Not Connected: a broken link is tried again by the acquisition itself.
    if (!s_.SessionOpen()) return false;
    if (source == "CH2") {
        std::int32_t status = 0;
        s_.Tek_Wave_Acq(false, pushing_, status);
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

void ScopeAdapter::setMinimumScale(float millivolts) {
    if (millivolts > 0.0f && millivolts <= 10000.0f) s_.MinVertScale_mV = millivolts;
}

void ScopeAdapter::setAveraging(int count) {
    std::int32_t n = count;
    s_.Tek_Average(n);
}

void ScopeAdapter::SetVerticalScale(float millivoltsPerDivision) {
    if (millivoltsPerDivision > 0.0f && millivoltsPerDivision <= 10000.0f)
        s_.Tek_VertScale("CH2", millivoltsPerDivision / 1000.0f);
}

void ScopeAdapter::StartPush() {
    pushing_ = true;
    // A knob turned by accident during a push would change what is logged.
    s_.Tek_Lock(!unlocked_);
    s_.Tek_State_Run();
}

void ScopeAdapter::StopPush() {
    pushing_ = false;
    s_.Tek_State_Stop();
    if (!unlocked_) s_.Tek_Lock(false);
}

acq::FirmwareVersion BoardAdapter::Firmware() {
    // Without a data board there is nobody to ask: the status request would only time out.
    if (!hd_.Connected()) return {};
    if (!hd_.LastStatus()) hd_.Stat(0);
    const auto& s = hd_.LastStatus();
    return s ? acq::FirmwareVersion{s->firmwareMajor, s->firmwareMinor, s->firmwarePatch}
             : acq::FirmwareVersion{};
}

void BoardAdapter::StartPush() {
    hd_.ClearRecords();
    hd_.SetDS(hd_protocol::kMaxMask);
}

std::optional<HdBoardValues> BoardAdapter::LastRecord() {
    if (hd_.Records().empty()) return std::nullopt;
    return hd_.Records().back();
}

std::optional<HdChannels> BoardAdapter::ReadChannels() {
    int mask = 0;
    for (int bit = 0; bit < hd_protocol::kColumns; ++bit) {
        const int column = hd_layout::columnOfBit(bit);
        if (column >= hd_layout::kFirstSignalColumn &&
            column < hd_layout::kFirstSignalColumn + hd_layout::kSignalColumns)
            mask |= 1 << bit;
    }
    hd_.ClearRecords();
    hd_.SetDS(mask);
    for (int k = 0; k < kReferenceRecords; ++k)
        if (!hd_.WaitRecord(2000)) break;
    hd_.Stop();
    if (hd_.Records().empty()) return std::nullopt;
    HdChannels sum{};
    for (const auto& r : hd_.Records())
        for (std::size_t k = 0; k < sum.size(); ++k)
            sum[k] += r[static_cast<std::size_t>(hd_layout::kFirstSignalColumn) + k];
    for (float& v : sum)
        v /= static_cast<float>(hd_.Records().size());
    hd_.ClearRecords();
    return sum;
}

std::array<float, 2> BoardAdapter::AuxValues() {
    if (hd_.Records().empty()) return {};
    const auto& r = hd_.Records().back();
    return {depth_.EC_VtoMS(r[5]), r[hd_protocol::kThreeVoltColumn]};
}

void DepthAdapter::Reset(std::optional<float> startDepth) {
    d_.Push_Begin();
    if (startDepth) {
        const float start = *startDepth > 0.0f ? *startDepth : 0.0f;
        if (metric)
            d_.Offset_M(start - d_.Depth_Raw_M());
        else
            d_.Offset_Ft(start - d_.Depth_Raw_Ft());
    }
    ratePerMinute_ = 0.0;
    silent_ = false;
    lastReadings_ = -1;
}

float DepthAdapter::Current() {
    if (ratePerMinute_ <= 0.0) return encoderDepth();
    // Whole intervals in milliseconds, so an interval that has just elapsed is never lost to rounding.
    const auto intervalMs = std::max<std::int64_t>(1, std::llround(ratePerMinute_ * 60000.0));
    const std::int64_t steps = (clock_.monotonicMs() - timedSinceMs_) / intervalMs;
    return static_cast<float>(timedFrom_ + static_cast<double>(steps) * ratePerMinute_);
}

float DepthAdapter::StopDepth() {
    return stopDepth.value_or(std::numeric_limits<float>::max());
}

void DepthAdapter::SetRatePerMinute(double rate) {
    timedFrom_ = Current();
    ratePerMinute_ = rate > 0.0 && rate < 1e6 ? rate : 0.0;
    timedSinceMs_ = clock_.monotonicMs();
}

bool DepthAdapter::EndOfPush() {
    if (silent_ || (ended && ended())) return true;
    if (idleMs_ <= 0) return false;
    const auto now = clock_.monotonicMs();
    // A probe standing at the bottom still sends readings: only a new depth counts as the push going on.
    // A timed push stands still on purpose; there only a silent line ends it.
    const float depth = d_.Depth_Current_Ft();
    const bool timedAlive = ratePerMinute_ > 0.0 && d_.Readings != lastReadings_;
    if (lastReadings_ < 0 || depth != lastDepthFt_ || timedAlive) {
        lastReadings_ = d_.Readings;
        lastDepthFt_ = depth;
        lastReadingMs_ = now;
    } else if (now - lastReadingMs_ > idleMs_) {
        silent_ = true;
        host_.message("No new depth for " + std::to_string(idleMs_ / 1000) + " s; the push ends.");
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

void PresFlowAdapter::Monitor() {
    if (u_.PortOpen()) u_.StartStream(periodMs);
}

void PresFlowAdapter::StartPush() {
    u_.ZeroClock();
    u_.SetFlow(true);
    u_.StartStream(periodMs);
}

void PresFlowAdapter::StopPush() {
    // The stream goes on: the form keeps showing the live pressure between pushes.
    u_.SetFlow(false);
}

std::optional<acq::PresFlowReading> PresFlowAdapter::Current() {
    const auto r = u_.Last();
    if (!r || !u_.Answering()) return std::nullopt;
    return acq::PresFlowReading{static_cast<float>(r->timeS), static_cast<float>(r->presUpPsi),
                                static_cast<float>(r->presDownPsi), static_cast<float>(r->flowMlMin)};
}

std::optional<FieldConfig> startSimulators(Host& host, const SimOptions& o,
                                           std::vector<std::unique_ptr<SimChild>>& sims) {
    const std::string sim = o.program.empty() ? simProgramPath() : o.program;
    // One rig: every instrument sees the same probe going down through the same site. Its first
    // acquisition sees no light (the background), the second the probe's RE cap.
    std::vector<std::string> args{"rig",
                                  "--host",
                                  "127.0.0.1",
                                  "--portmap-port",
                                  "0",
                                  "--rate",
                                  formatNumber(o.rateFtPerS, "#0.000"),
                                  "--seed",
                                  std::to_string(o.seed),
                                  "--re-scale",
                                  formatNumber(o.reScale, "0.0##")};
    const auto add = [&args](std::initializer_list<std::string> more) { args.insert(args.end(), more); };
    if (!o.site.empty()) add({"--site", o.site});
    if (o.rodFt >= 0) add({"--rod-ft", formatNumber(o.rodFt, "#0.0##")});
    if (o.rodPauseS >= 0) add({"--rod-pause-s", formatNumber(o.rodPauseS, "#0.0##")});
    if (o.sweepMs >= 0) add({"--sweep-ms", std::to_string(o.sweepMs)});
    if (!o.scopeDump.empty()) add({"--scope-dump", o.scopeDump});
    if (!o.transcripts.empty()) add({"--transcripts", o.transcripts});
    if (!o.scopeStall.empty()) add({"--scope-stall", o.scopeStall});
    if (o.depthNoiseEvery > 0) add({"--depth-noise", std::to_string(o.depthNoiseEvery)});
    if (o.hd) add({"--hd"});
    if (o.condMsPerV != 100.0) add({"--cond-ms-per-v", formatNumber(o.condMsPerV, "#0.0###")});
    if (o.condOffsetV != 0.0) add({"--cond-offset-v", formatNumber(o.condOffsetV, "#0.0###")});
    for (const std::string& hold : o.holds)
        add({"--hold", hold});
    sims.push_back(std::make_unique<SimChild>(sim, std::move(args)));
    const SimChild& rig = *sims.back();
    if (!rig.running()) {
        host.message("The simulated rig did not start (" + sim + ").");
        return std::nullopt;
    }
    FieldConfig c;
    c.scopeAddress = "127.0.0.1";
    c.scopePortmap = static_cast<std::uint16_t>(rig.port("scope", "portmap"));
    c.depthPort = rig.text("depth", "pty");
    c.auxPort = rig.text("presflow", "pty");
    c.gpsPort = rig.text("gps", "pty");
    c.displayPort = rig.text("display", "pty");
    // The rig's string pot is calibrated at 1 mV per V per inch, its conductivity circuit nominally at 100
    // mS/m a volt: the set-up's own calibration (taken in the solutions) replaces that when there is one.
    c.stringPotCal = 1.0f;
    c.condConstant = 100.0f;
    c.condOffset = 0.0f;
    c.depthUpdateMs = 100;
    if (o.hd) {
        c.hdAddress = "127.0.0.1";
        const auto port = [&](const char* name) { return static_cast<std::uint16_t>(rig.port("hd", name)); };
        c.hdPorts = {port("command"), port("record"), port("second")};
    }
    return c;
}

PushRig::PushRig(Host& host, const Clock& clock, std::unique_ptr<FieldInstruments> drivers,
                 std::vector<std::unique_ptr<SimChild>> sims, bool hdInUse, std::int64_t depthIdleMs)
    : sims_(std::move(sims)), drivers_(std::move(drivers)), scope_(drivers_->Scope()),
      // Without an oscilloscope (HD-board mode opens none) the board is the digitiser.
      board_(drivers_->HdBoard(), drivers_->Depth(), hdInUse, hdInUse && !drivers_->ScopeOpen()),
      depth_(drivers_->Depth(), host, clock, depthIdleMs), gps_(drivers_->Gps()),
      display_(drivers_->Display(), depth_), presFlow_(drivers_->PresFlow()) {}

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
    drivers->openPresFlow();
    if (options.hd) drivers->openHdBoard(config->hdAddress);
    return std::make_unique<PushRig>(host, clock, std::move(drivers), std::move(sims), options.hd);
}

bool askRigOperator(const std::vector<std::unique_ptr<SimChild>>& sims, const std::string& request) {
    for (const auto& sim : sims) {
        const int port = sim->port("operator", "port");
        if (port <= 0) continue;
        QTcpSocket socket;
        socket.connectToHost(QStringLiteral("127.0.0.1"), static_cast<quint16>(port));
        if (!socket.waitForConnected(2000)) return false;
        socket.write((request + "\n").c_str());
        while (!socket.canReadLine())
            if (!socket.waitForReadyRead(2000)) return false;
        return socket.readLine(64).trimmed() == "ok";
    }
    return false;
}

bool PushRig::placeInWaterTube(double feetUnderWater) {
    return askRigOperator(sims_,
                          feetUnderWater < 0 ? "tube out" : "tube " + formatNumber(feetUnderWater, "0.0##"));
}

bool PushRig::placeInSolution(std::optional<double> ms) {
    return askRigOperator(sims_, ms ? "solution " + formatNumber(*ms, "0.0##") : "solution off");
}

} // namespace zel::program
