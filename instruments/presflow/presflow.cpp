#include "instruments/presflow/presflow.h"

#include <algorithm>

namespace zel {

bool cZEL_PresFlow::Open(SerialPort& port, const std::string& device, std::string_view settings) {
    Close();
    port_ = &port;
    buffer_.clear();
    discarding_ = false;
    Readings = NoiseLines = 0;
    last_.reset();
    downs_.clear();
    lastReadingMs_ = -1;
    if (!port.open(device, settings)) return false;
    port.setReceiveHandler([this] { OnComm(); });
    return true;
}

void cZEL_PresFlow::Close() {
    if (port_ && port_->isOpen()) {
        StopStream();
        port_->close();
    }
}

void cZEL_PresFlow::send(const std::string& command) {
    if (PortOpen()) port_->write(command + "\r");
}

void cZEL_PresFlow::StartStream(int periodMs) {
    if (periodMs <= 0) {
        StopStream();
        return;
    }
    periodMs_ = std::clamp(periodMs, presflow_protocol::kMinPeriodMs, presflow_protocol::kMaxPeriodMs);
    // The silence clock starts with the stream, so a unit that never answers is found out too.
    lastReadingMs_ = clock_.monotonicMs();
    send(presflow_protocol::streamCommand(periodMs_));
}

void cZEL_PresFlow::StopStream() {
    periodMs_ = 0;
    send(presflow_protocol::kStop);
}

void cZEL_PresFlow::ZeroClock() {
    send(presflow_protocol::kZeroClock);
}

void cZEL_PresFlow::SetFlow(bool on) {
    send(on ? presflow_protocol::kFlowOn : presflow_protocol::kFlowOff);
}

void cZEL_PresFlow::Query() {
    send(presflow_protocol::kQuery);
}

void cZEL_PresFlow::OnComm() {
    if (PortOpen()) AddText(port_->readAll());
}

void cZEL_PresFlow::AddText(std::string_view text) {
    for (const char c : text) {
        if (c == '\r' || c == '\n') {
            if (!discarding_ && !buffer_.empty()) line(buffer_);
            buffer_.clear();
            discarding_ = false;
        } else if (discarding_) {
            continue;
        } else if (buffer_.size() >= presflow_protocol::kMaxLine) {
            // Too long to be a reading: noise up to the next line end.
            buffer_.clear();
            discarding_ = true;
            ++NoiseLines;
        } else {
            buffer_ += c;
        }
    }
}

void cZEL_PresFlow::line(std::string_view text) {
    if (text.starts_with("V,")) return; // the identification
    const auto r = presflow_protocol::parseReading(text);
    if (!r) {
        ++NoiseLines;
        return;
    }
    last_ = r;
    Time_S = static_cast<float>(r->timeS);
    PresUp = static_cast<float>(r->presUpPsi);
    PresDown = static_cast<float>(r->presDownPsi);
    Flow = static_cast<float>(r->flowMlMin);
    downs_.push_back(r->presDownPsi);
    while (static_cast<int>(downs_.size()) > std::max(averageCount, 1))
        downs_.pop_front();
    ++Readings;
    lastReadingMs_ = clock_.monotonicMs();
    if (NewReading) NewReading();
}

bool cZEL_PresFlow::Answering() const {
    if (!PortOpen() || lastReadingMs_ < 0) return false;
    const std::int64_t silentMs = std::max<std::int64_t>(2000, 3LL * periodMs_);
    return last_.has_value() && clock_.monotonicMs() - lastReadingMs_ <= silentMs;
}

double cZEL_PresFlow::AveragePresDown() const {
    if (downs_.empty()) return 0.0;
    double sum = 0;
    for (const double d : downs_)
        sum += d;
    return sum / static_cast<double>(downs_.size());
}

} // namespace zel
