#include "instruments/depth/depth.h"

#include "instruments/depth/depth_protocol.h"

#include <cmath>

namespace zel {

cZEL_Depth::cZEL_Depth(Host& host, const Clock& clock, SerialPort& port, PeriodicTimer& timer,
                       std::function<std::string(int)> portPath)
    : host_(host), clock_(clock), port_(port), timer_(timer), portPath_(std::move(portPath)) {}

void cZEL_Depth::RodLength_Ft(float v) {
    rodLengthFt_ = v;
}
void cZEL_Depth::RodLength_M(float v) {
    rodLengthFt_ = v * kFeetPerMetre;
}

void cZEL_Depth::Offset_Ft(float v) {
    // A new offset moves the reported depth but is not a new reading.
    offsetFt_ = v;
    if (!DepthPause) currentFt_ = rawFt_ + offsetFt_;
}
void cZEL_Depth::Offset_M(float v) {
    Offset_Ft(v * kFeetPerMetre);
}

bool cZEL_Depth::Init(int source, int port, int port2nd, bool reinitialise) {
    RefVolt_HD = 3.18f;
    if (reinitialise) {
        Int_UpdateTimeMS = 333;
        return Init_Int(CommPort, true);
    }
    timer_.stop();
    Close();
    carry_.clear();
    rate_.reset();
    StatusOK = false;
    TimeMode = 0;
    CommPort = port;
    CommPort2nd = port2nd;
    switch (source) {
    case 0: Init_Emulate(false); return true;
    case 1: return Init_Int(port, false);
    case 2: return Init_AD4(port);
    case 3: return Init_PCU(port);
    case 4: return Init_FCE(port);
    default: host_.message("Depth source " + std::to_string(source) + " is not known."); return false;
    }
}

bool cZEL_Depth::openPort(int port, std::string_view settings) {
    port_.close();
    port_.setReceiveHandler([this] { OnComm(); });
    PortOpen = port_.open(portPath_ ? portPath_(port) : std::string{}, settings);
    if (!PortOpen)
        host_.message("Depth source: cannot open port " + std::to_string(port) + " (" + port_.errorText() +
                      ")");
    return PortOpen;
}

bool cZEL_Depth::Init_Int(int port, bool keep) {
    source_ = DepthSource::Interface;
    CommPort = port;
    if (!keep || !port_.isOpen()) {
        if (!openPort(port, depth_protocol::kIntSettings)) return false;
    }
    RefVolt = UseHdReference ? RefVolt_HD : 5.0f;
    stringFactor_ = 0;
    String_VtoFt(0); // computes the factor with the reference just chosen
    StatusOK = true;
    return true;
}

bool cZEL_Depth::Init_AD4(int port) {
    source_ = DepthSource::AD4;
    CommPort = port;
    StatusOK = openPort(port, depth_protocol::kAd4Settings);
    return StatusOK;
}

// The framing of these sources is not known to this program; saying so is better than showing a depth
// that means nothing.
bool cZEL_Depth::Init_PCU(int port) {
    source_ = DepthSource::PCU;
    CommPort = port;
    host_.message("Depth source PCU is not supported by this program.");
    return false;
}

bool cZEL_Depth::Init_FCE(int port) {
    source_ = DepthSource::CAN;
    CommPort = port;
    host_.message("Depth source CAN is not supported by this program.");
    return false;
}

void cZEL_Depth::Init_Emulate(bool metric) {
    source_ = DepthSource::Emulate;
    TimeMode = 1;
    Emulate_TimeDelta_s = 1;
    if (metric)
        Emulate_DepthDelta_M(0.1f);
    else
        Emulate_DepthDelta_Ft(0.1f);
    StatusOK = true;
    timer_.start(1000, [this] { TimerEvent(); });
}

void cZEL_Depth::Close() {
    if (port_.isOpen()) port_.close();
    PortOpen = false;
}

void cZEL_Depth::Push_Begin() {
    rate_.reset();
    Rate_In = Rate_Cm = 0;
    // The push counts its own blows.
    Blow_Offset = static_cast<float>(blowTotal_);
    Blows_In = Blows_Cm = 0;
    haveBlowBase_ = true;
    blowBaseCount_ = 0;
    blowBaseFt_ = currentFt_;
    maxFt_ = currentFt_;
    DepthPause = false;
}

void cZEL_Depth::Push_End() {
    rate_.reset();
}

void cZEL_Depth::Emulate_Play() {
    EmulatePause = false;
}
void cZEL_Depth::Emulate_Pause() {
    EmulatePause = true;
}

void cZEL_Depth::Emulate_Increment() {
    ++Readings;
    setRawDepth(rawFt_ + emulateStepFt_);
}

void cZEL_Depth::TimerEvent() {
    if (TimeMode != 0 && !EmulatePause) Emulate_Increment();
}

float cZEL_Depth::EC_VtoMS(float volts) const {
    return Cond_Offset + volts * Cond_Constant + volts * volts * Cond_Constant2;
}

float cZEL_Depth::String_VtoFt(float volts) {
    if (stringFactor_ == 0) stringFactor_ = Int_CalVal / 1000.0f * RefVolt;
    const float travel = stringFactor_ == 0 ? 0.0f : volts / stringFactor_ / 12.0f;
    return UpAcquire ? 8.0f - travel : travel;
}

void cZEL_Depth::setRawDepth(float feet, bool announce) {
    if (!std::isfinite(feet)) return;
    rawFt_ = feet;
    if (DepthPause) return;
    const float before = currentFt_;
    currentFt_ = rawFt_ + offsetFt_;
    if (currentFt_ > maxFt_) maxFt_ = currentFt_;
    // Every reading enters the rate, a still one too: a probe that stops must read 0 after a few readings,
    // not keep the rate it had when it last moved.
    const double ftPerS = rate_.add(clock_.secondsSinceMidnight(), currentFt_, Rate_Num2Avg);
    Rate_In = static_cast<float>(ftPerS * 12.0);
    Rate_Cm = static_cast<float>(ftPerS / kFeetPerMetre * 100.0);
    if (currentFt_ == before || !announce) return;
    updateBlows();
    if (NewDepth) NewDepth();
}

void cZEL_Depth::blowCounter(std::uint16_t value) {
    // The board's count is 16 bits; the difference modulo 2^16 survives its wrap.
    if (haveBlows_) blowTotal_ += static_cast<std::uint16_t>(value - lastBlowValue_);
    lastBlowValue_ = value;
    haveBlows_ = true;
}

void cZEL_Depth::updateBlows() {
    if (!haveBlows_) return;
    const float count = Blows_Count();
    if (!haveBlowBase_) {
        haveBlowBase_ = true;
        blowBaseCount_ = count;
        blowBaseFt_ = currentFt_;
        return;
    }
    const float inches = (currentFt_ - blowBaseFt_) * 12.0f;
    // Until the probe advances, the blows add up for the next advance.
    if (!(inches > 0.0f)) return;
    Blows_In = (count - blowBaseCount_) / inches;
    Blows_Cm = Blows_In / 2.54f;
    blowBaseCount_ = count;
    blowBaseFt_ = currentFt_;
}

void cZEL_Depth::reportError(std::string_view handler, std::string_view step, std::string_view what) {
    host_.message(std::string(what) + "\n" + std::string(handler) + " Line of error: " + std::string(step));
}

} // namespace zel
