#include "app/sim/depth_board_sim.h"

#include "instruments/depth/depth_protocol.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace zel::sim {

namespace {

// What a long cable near a generator puts on the line: none of it is a well-formed reading.
constexpr const char* kNoiseLines[] = {
    "\x7F\xFE\x01\xA0\r", "0ZZ1G0X\r", "0NOISE!!!\r",  "U2XYZ\r", "U2\r", "I\r", "0\r",
    "U3-1.5e9\r",         "\r",        "##~~++~~##\r",
};

std::string hex(unsigned value, int digits) {
    char buf[16];
    std::snprintf(buf, sizeof buf, "%0*X", digits, value);
    return buf;
}

unsigned twelveBit(double volts) {
    return static_cast<unsigned>(std::clamp(std::lround(volts / 5.0 * 4096.0), 0L, 4095L));
}

} // namespace

DepthBoardSim::DepthBoardSim(DepthBoardOptions options, PtyDevice& pty, Transcript& transcript,
                             const SiteModel& site, ProbeFeed probe)
    : o_(options), pty_(pty), transcript_(transcript), site_(site), probe_(std::move(probe)) {
    QObject::connect(&timer_, &QTimer::timeout, [this] {
        probe_.passed(timer_.interval() / 1000.0);
        sendReadings();
    });
}

void DepthBoardSim::receive(std::string_view bytes) {
    for (const char c : bytes) {
        if (c == '\r') {
            command(line_);
            line_.clear();
        } else if (line_.size() < 64) {
            line_ += c;
        }
    }
}

void DepthBoardSim::command(const std::string& cmd) {
    transcript_.line(printable(cmd));
    if (cmd == depth_protocol::kHalt) {
        timer_.stop();
    } else if (cmd == depth_protocol::kMeasure) {
        sendReadings();
    } else if (cmd == depth_protocol::kCounterClear) {
        // The encoder is zeroed as a push starts.
        probe_.started();
        counterZero_ = counts();
    } else if (cmd.size() == 5 && cmd[0] == 'W') {
        const auto reg = std::strtoul(cmd.substr(1, 2).c_str(), nullptr, 16);
        const auto value = std::strtoul(cmd.substr(3, 2).c_str(), nullptr, 16);
        registers_[reg & 0xFF] = static_cast<unsigned char>(value);
        // The low byte comes last, so the new period takes effect with it.
        if (reg == 0x04) timer_.stop();
        if (reg == 0x05) periodChanged();
    } else {
        pty_.send("Er:" + cmd.substr(0, 5) + "\r");
    }
}

void DepthBoardSim::periodChanged() {
    const int period = registers_[0x04] << 8 | registers_[0x05];
    if (period == 0) {
        timer_.stop();
        return;
    }
    if (onStreamStart) onStreamStart();
    timer_.start(period);
}

long DepthBoardSim::counts() const {
    return std::lround(probe_.depth() * 100.0);
}

void DepthBoardSim::sendReadings() {
    const double d = probe_.depth();
    std::string out;
    if (o_.noiseEvery > 0 && ++readings_ % o_.noiseEvery == 0)
        out += kNoiseLines[(readings_ / o_.noiseEvery) % std::size(kNoiseLines)];
    const bool analogue = registers_[0x10] != 0;
    if (analogue && registers_[0x11] == 0x02) {
        // The string pot: travel in inches times the calibration at a 5 V reference.
        out += "U2" + hex(twelveBit(d * 12.0 * o_.calMvPerVPerIn / 1000.0 * 5.0), 3) + "\r";
    }
    if (analogue && registers_[0x12] == 0x03)
        out += "U3" +
               hex(twelveBit(o_.condOffsetV +
                             probe_.solution().value_or(site_.conductivityAt(d)) / o_.condMsPerV),
                   3) +
               "\r";
    if (registers_[0x1A] == 0xFF) out += "I" + hex(1, 4) + "\r";
    if (registers_[0x19] == 0xFF)
        out += "N" + hex(static_cast<unsigned>(std::lround(d * 12.0 * o_.blowsPerIn)) & 0xFFFF, 4) + "\r";
    out += "0" + hex(static_cast<unsigned>(counts() - counterZero_), 8) + "\r";
    pty_.send(out);
}

Ad4Sim::Ad4Sim(double countsPerFt, int intervalMs, PtyDevice& pty, Transcript& transcript, ProbeFeed probe)
    : countsPerFt_(countsPerFt), intervalMs_(intervalMs), pty_(pty), transcript_(transcript),
      probe_(std::move(probe)) {
    QObject::connect(&timer_, &QTimer::timeout, [this] {
        probe_.passed(intervalMs_ / 1000.0);
        const long count = std::clamp(
            depth_protocol::kAd4CountZero + std::lround(probe_.depth() * countsPerFt_), 0L, 65535L);
        pty_.send(depth_protocol::ad4Frame(static_cast<std::uint16_t>(count)));
    });
    timer_.start(intervalMs_);
}

void Ad4Sim::receive(std::string_view b) {
    transcript_.line(printable(b));
    for (const char c : b) {
        if (c != '\r') {
            if (line_.size() < 16) line_ += c;
            continue;
        }
        if (line_ == depth_protocol::kAd4TimerOn) {
            // The counter's frames restart as a push starts.
            probe_.started();
            timer_.start(intervalMs_);
        }
        if (line_ == depth_protocol::kAd4TimerOff) timer_.stop();
        line_.clear();
    }
}

} // namespace zel::sim
