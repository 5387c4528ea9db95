#pragma once
// The hydraulic-profiling pressure/flow unit as the rig plays it. Water is pumped down the rods and out of
// the probe's screen: the controller holds the flow at its set point until the injection pressure reaches
// its limit. What the soil lets through sets the ratio of flow to corrected pressure, so the readings imply
// the layer's hydraulic conductivity through the estimate K = 20 ln(Q / Pc) + 7 (ft/day), with the
// hydrostatic head of the water column added below the water table and the transducer's reading at the
// surface (P0) under both.

#include "app/sim/probe.h"
#include "app/sim/pty_device.h"
#include "app/sim/site_model.h"
#include "instruments/presflow/presflow_protocol.h"

#include <QElapsedTimer>
#include <QTimer>

#include <random>
#include <string>

namespace zel::sim {

struct PresFlowOptions {
    double surfacePsi = 18.6;   // the downhole transducer's reading with the probe at 0 ft (P0)
    double flowSetMlMin = 300;  // the pump's set point
    double maxPressurePsi = 90; // the controller's limit on the corrected pressure
    double lineLossPsiPerMlMin = 0.015;
};

// What the unit reads with the probe at a depth, the pump on (after a push started) or off, no noise.
presflow_protocol::Reading presFlowReading(const PresFlowOptions& o, const SiteModel& site, double depthFt,
                                           bool pumping, double timeS);
// With the injection stopped sinceS seconds ago at fromPsi: the pressure dissipates towards the static head
// (the transducer's surface reading plus the water column), faster in permeable soil.
presflow_protocol::Reading dissipatingReading(const PresFlowOptions& o, const SiteModel& site, double depthFt,
                                              double fromPsi, double sinceS, double timeS);

class PresFlowUnitSim {
public:
    PresFlowUnitSim(PresFlowOptions options, PtyDevice& pty, Transcript& transcript, const SiteModel& site,
                    ProbeFeed probe, std::uint32_t seed);
    void receive(std::string_view bytes);
    // The rig's operator puts the probe, at the surface, in the water tube with its pressure port this many
    // feet under water for the reference tests; negative: out of the tube.
    void setTube(double feetUnderWater) { tubeFt_ = feetUnderWater; }

private:
    void command(const std::string& cmd);
    void send();

    PresFlowOptions o_;
    PtyDevice& pty_;
    Transcript& transcript_;
    const SiteModel& site_;
    ProbeFeed probe_;
    std::uint32_t seed_;
    QTimer timer_;
    QElapsedTimer clock_;
    std::string line_;
    long readings_ = 0;
    bool pumping_ = false;
    // Injection stopped ("F0"): the pressure falls from where it was to the static head.
    bool flowOff_ = false;
    double offAtS_ = 0;
    double offFromPsi_ = 0;
    double lastDownPsi_ = 0;
    double tubeFt_ = -1;
};

} // namespace zel::sim
