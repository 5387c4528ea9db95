#pragma once
// The depth sources as the simulators play them: the interface board (registers written with "W", a
// stream whose period is registers 04 and 05, counter, string pot, conductivity, hammer blows) and the AD4
// counter (binary frames on a timer). Both report the probe the feed gives them.

#include "app/sim/probe.h"
#include "app/sim/pty_device.h"
#include "app/sim/site_model.h"

#include <QElapsedTimer>
#include <QTimer>

#include <array>
#include <string>

namespace zel::sim {

struct DepthBoardOptions {
    double calMvPerVPerIn = 1.0; // the string pot's calibration
    double blowsPerIn = 2;       // the hammer's blows per inch of push
    double condMsPerV = 100.0;   // the conductivity circuit: mS/m per volt on analogue input 1
    double condOffsetV = 0.0;    // and its output in a liquid of no conductivity
    int noiseEvery = 0;          // a line of line noise before every Nth reading (0: none)
};

class DepthBoardSim {
public:
    DepthBoardSim(DepthBoardOptions options, PtyDevice& pty, Transcript& transcript, const SiteModel& site,
                  ProbeFeed probe);
    void receive(std::string_view bytes);
    bool streaming() const { return timer_.isActive(); }
    // Called when the stream starts (the single simulator's probe starts with it).
    std::function<void()> onStreamStart;

private:
    void command(const std::string& cmd);
    void periodChanged();
    long counts() const;
    void sendReadings();

    DepthBoardOptions o_;
    PtyDevice& pty_;
    Transcript& transcript_;
    const SiteModel& site_;
    ProbeFeed probe_;
    QTimer timer_;
    std::array<unsigned char, 256> registers_{};
    std::string line_;
    long counterZero_ = 0;
    long readings_ = 0;
};

class Ad4Sim {
public:
    Ad4Sim(double countsPerFt, int intervalMs, PtyDevice& pty, Transcript& transcript, ProbeFeed probe);
    void receive(std::string_view bytes);
    bool streaming() const { return timer_.isActive(); }

private:
    double countsPerFt_;
    int intervalMs_;
    PtyDevice& pty_;
    Transcript& transcript_;
    ProbeFeed probe_;
    QTimer timer_;
    std::string line_;
};

} // namespace zel::sim
