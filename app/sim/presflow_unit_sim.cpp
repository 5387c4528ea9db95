#include "app/sim/presflow_unit_sim.h"

#include <algorithm>
#include <cmath>

namespace zel::sim {

namespace {
constexpr double kPsiPerFtOfWater = 0.433;
}

presflow_protocol::Reading presFlowReading(const PresFlowOptions& o, const SiteModel& site, double depthFt,
                                           bool pumping, double timeS) {
    const double wt = site.site().waterTableFt;
    const double head = depthFt > wt ? (depthFt - wt) * kPsiPerFtOfWater : 0.0;
    double pc = 0, q = 0;
    if (pumping) {
        const double ratio = std::exp((site.groundAt(depthFt).kFtPerDay - 7.0) / 20.0); // Q / Pc
        q = o.flowSetMlMin;
        pc = q / ratio;
        if (pc > o.maxPressurePsi) {
            pc = o.maxPressurePsi;
            q = pc * ratio;
        }
    }
    presflow_protocol::Reading r;
    r.timeS = timeS;
    r.presDownPsi = o.surfacePsi + pc + head;
    r.presUpPsi = pc + q * o.lineLossPsiPerMlMin;
    r.flowMlMin = q;
    return r;
}

presflow_protocol::Reading dissipatingReading(const PresFlowOptions& o, const SiteModel& site, double depthFt,
                                              double fromPsi, double sinceS, double timeS) {
    auto r = presFlowReading(o, site, depthFt, false, timeS);
    const double k = std::max(0.01, site.groundAt(depthFt).kFtPerDay);
    const double tauS = std::clamp(2.0 * std::sqrt(5.0 / k), 0.5, 20.0);
    r.presDownPsi += (fromPsi - r.presDownPsi) * std::exp(-std::max(0.0, sinceS) / tauS);
    return r;
}

PresFlowUnitSim::PresFlowUnitSim(PresFlowOptions options, PtyDevice& pty, Transcript& transcript,
                                 const SiteModel& site, ProbeFeed probe, std::uint32_t seed)
    : o_(options), pty_(pty), transcript_(transcript), site_(site), probe_(std::move(probe)), seed_(seed) {
    clock_.start();
    QObject::connect(&timer_, &QTimer::timeout, [this] { send(); });
}

void PresFlowUnitSim::receive(std::string_view bytes) {
    for (const char c : bytes) {
        if (c == '\r') {
            command(line_);
            line_.clear();
        } else if (line_.size() < 32) {
            line_ += c;
        }
    }
}

void PresFlowUnitSim::command(const std::string& cmd) {
    transcript_.line(printable(cmd));
    if (const auto period = presflow_protocol::parseStreamCommand(cmd)) {
        if (*period == 0)
            timer_.stop();
        else
            timer_.start(*period);
    } else if (cmd == presflow_protocol::kStop) {
        timer_.stop();
    } else if (cmd == presflow_protocol::kQuery) {
        send();
    } else if (cmd == presflow_protocol::kZeroClock) {
        // The clock is zeroed as a push starts, and the pump goes on with it.
        clock_.restart();
        pumping_ = true;
        probe_.started();
    } else if (cmd == presflow_protocol::kFlowOff) {
        if (!flowOff_) {
            flowOff_ = true;
            offAtS_ = clock_.elapsed() / 1000.0;
            offFromPsi_ = lastDownPsi_;
        }
    } else if (cmd == presflow_protocol::kFlowOn) {
        flowOff_ = false;
        pumping_ = true;
    } else if (cmd == presflow_protocol::kIdentify) {
        pty_.send("V,ZEL-PF simulated unit 1.0\r\n");
    } else {
        pty_.send("E," + cmd.substr(0, 8) + "\r\n");
    }
}

void PresFlowUnitSim::send() {
    // The pump runs while the probe goes down, whether or not this unit's clock was zeroed.
    const double depth = probe_.depth();
    const double now = clock_.elapsed() / 1000.0;
    auto r = flowOff_ ? dissipatingReading(o_, site_, depth, offFromPsi_, now - offAtS_, now)
                      : presFlowReading(o_, site_, depth, pumping_ || depth > 0, now);
    // In the tube the water over the port adds its head; once the probe goes down it is out of the tube.
    if (tubeFt_ > 0 && depth <= 0.0 && !pumping_) r.presDownPsi += tubeFt_ * kPsiPerFtOfWater;
    lastDownPsi_ = r.presDownPsi;
    std::mt19937 rng(seed_ * 40503u + static_cast<std::uint32_t>(readings_++));
    std::normal_distribution<double> noise(0.0, 1.0);
    r.presDownPsi += 0.01 * noise(rng);
    r.presUpPsi += 0.01 * noise(rng);
    r.flowMlMin = std::max(0.0, r.flowMlMin + (r.flowMlMin > 0 ? 0.3 * noise(rng) : 0.0));
    pty_.send(presflow_protocol::formatReading(r));
}

} // namespace zel::sim
