#include "instruments/hd_board/hd.h"

#include <algorithm>
#include <cmath>

namespace zel {

namespace {

// Records drain as they arrive; this much undecoded data means the stream is not what we expect.
constexpr std::size_t kMaxPending = 1 << 16;

} // namespace

clsHD::clsHD(Host& host, const Clock& clock, TcpLinkFactory links)
    : host_(host), clock_(clock), makeLink_(std::move(links)) {}

bool clsHD::Connect(const std::string& address, const hd_protocol::Ports& ports, int timeoutMs) {
    Close();
    bool all = true;
    const std::pair<Role, std::uint16_t> roles[] = {
        {Role::Command, ports.command}, {Role::Record, ports.record}, {Role::Second, ports.second}};
    for (const auto& [role, number] : roles) {
        auto port = std::make_unique<Port>();
        port->role = role;
        port->number = number;
        port->link = makeLink_();
        Port* p = port.get();
        p->link->setDataHandler([this, p] { onData(*p); });
        p->link->connect(address, number);
        const auto end = clock_.monotonicMs() + timeoutMs;
        // A refused connection falls back to unconnected at once; only a silent one waits it out.
        while (p->link->state() == TcpLink::State::Connecting && clock_.monotonicMs() < end)
            host_.sleepMs(10);
        if (p->link->state() != TcpLink::State::Connected) {
            host_.message("Timeout (3) - Connect to Port: " + std::to_string(number));
            all = false;
        }
        ports_.push_back(std::move(port));
    }
    return all;
}

bool clsHD::Connected() const {
    return std::any_of(ports_.begin(), ports_.end(), [](const auto& p) {
        return p->role == Role::Command && p->link->state() == TcpLink::State::Connected;
    });
}

void clsHD::Close() {
    for (auto& p : ports_)
        p->link->close();
    ports_.clear();
}

clsHD::Port* clsHD::command() {
    for (auto& p : ports_)
        if (p->role == Role::Command) return p.get();
    return nullptr;
}

void clsHD::send(std::string_view text) {
    // After a quiet second the board needs a moment before it takes a command again.
    if (sentBefore_ && clock_.monotonicMs() - lastSentMs_ > 1000) host_.sleepMs(500);
    Port* p = command();
    if (p && p->link->state() == TcpLink::State::Connected) p->link->write(std::string(text) + "\r");
    lastSentMs_ = clock_.monotonicMs();
    sentBefore_ = true;
}

void clsHD::Stop() {
    send("Stop");
}

void clsHD::SetDS(int mask) {
    mask_ = std::clamp(mask, 0, hd_protocol::kMaxMask);
    send("SetDS " + std::to_string(mask_));
    newColumnMap();
}

void clsHD::newColumnMap() {
    // Bytes of a record begun under the old selection would shift every later record by their length.
    for (auto& p : ports_)
        if (p->role == Role::Record) {
            p->link->readAll();
            p->pending.clear();
        }
    map_ = hd_protocol::columnMap(mask_);
}

void clsHD::SetICF(int n) {
    send("SetICF " + std::to_string(n));
}

void clsHD::SampleInterval(int n) {
    send("SampleInterval " + std::to_string(n));
}

void clsHD::IntTime(int n) {
    intTime_ = std::clamp(n, 1, 1000);
    send("IntTime " + std::to_string(intTime_));
}

bool clsHD::await(std::string_view operation, int timeoutMs, const std::function<bool()>& done) {
    const auto end = clock_.monotonicMs() + timeoutMs;
    while (!done()) {
        if (!Connected() || clock_.monotonicMs() >= end) {
            host_.message("Timeout " + std::string(operation));
            return false;
        }
        host_.sleepMs(5);
    }
    return true;
}

bool clsHD::Stat(int mode) {
    const auto before = replyCount_;
    send("Stat " + std::to_string(mode));
    const bool answered = await("Stat", ReplyTimeoutMs, [&] { return replyCount_ != before; });
    newColumnMap();
    send("SetDS " + std::to_string(mask_));
    return answered;
}

bool clsHD::WaitRecord(int timeoutMs) {
    const auto before = recordCount_;
    return await("WaitRecord", timeoutMs, [&] { return recordCount_ != before; });
}

int clsHD::CVValue(double volts) {
    if (!std::isfinite(volts)) volts = 0;
    volts = std::clamp(volts, 0.0, 800.0);
    const double value = std::nearbyint(volts / 1000.0 * 255.0); // the default mode rounds ties to even
    return std::max(1, static_cast<int>(value));
}

void clsHD::SetCV(int channel, double volts) {
    const int value = CVValue(volts);
    if (channel <= 1)
        send("CV1 " + std::to_string(value));
    else if (channel <= 4)
        send("CV" + std::to_string(channel) + " " + std::to_string(value));
}

void clsHD::ClearCounter() {
    send("ClearCounter");
}

bool clsHD::CheckICF(int integrationsPerCycle, int overSamplingPoints) {
    if (static_cast<long long>(integrationsPerCycle) * overSamplingPoints > 256) {
        host_.message("Integrations per Cycle * OverSampling Points must be 256 or less");
        return false;
    }
    return true;
}

std::string clsHD::HV_Toggle() {
    hvOn_ = !hvOn_;
    SetCV(1, hvOn_ ? 600.0 : 0.0);
    return HV_Caption();
}

void clsHD::onData(Port& port) {
    std::string bytes = port.link->readAll();
    if (port.role == Role::Second) return; // the second stream is not read
    port.pending.append(bytes);
    if (port.role == Role::Record)
        decode(port.pending);
    else
        replies(port.pending);
    if (port.pending.size() > kMaxPending) port.pending.clear();
}

void clsHD::replies(std::string& bytes) {
    std::size_t start = 0;
    for (auto cr = bytes.find('\r'); cr != std::string::npos; cr = bytes.find('\r', start)) {
        std::string_view line = std::string_view(bytes).substr(start, cr - start);
        while (!line.empty() && line.front() == '\n')
            line.remove_prefix(1);
        if (auto s = hd_protocol::parseStatus(line)) {
            status_ = *s;
            ++replyCount_;
        }
        start = cr + 1;
    }
    bytes.erase(0, start);
    // A line that never ends is not a reply.
    if (bytes.size() > hd_protocol::kMaxReplyLine) bytes.clear();
}

void clsHD::decode(std::string& bytes) {
    const int columns = hd_protocol::selectedColumns(map_);
    if (columns == 0) {
        bytes.clear();
        return;
    }
    const std::size_t size = static_cast<std::size_t>(columns) * hd_protocol::kBytesPerValue;
    std::size_t at = 0;
    for (; bytes.size() - at >= size; at += size) {
        const auto* raw = reinterpret_cast<const unsigned char*>(bytes.data() + at);
        Record r{};
        for (int c = 0; c < hd_protocol::kColumns; ++c) {
            const int pos = map_[static_cast<std::size_t>(c)];
            if (pos < 0) continue;
            r[static_cast<std::size_t>(c)] =
                hd_protocol::scaleColumn(c, hd_protocol::decodeValue(raw + static_cast<std::size_t>(pos) *
                                                                               hd_protocol::kBytesPerValue));
        }
        if (records_.size() >= kMaxRecords) records_.pop_front();
        records_.push_back(r);
        ++recordCount_;
        if (NewRecord) NewRecord(r);
    }
    bytes.erase(0, at);
}

} // namespace zel
