#pragma once
// The simulated oscilloscope's command interpreter and state, independent of the transport: the family's
// syntax (short or long mnemonics, ";" staying in the subtree, star commands), HEADER on/off, the event
// status register with *OPC completing after the averaging sweeps, and CURVE? from the site model.

#include "app/sim/site_model.h"

#include <cstdint>
#include <functional>
#include <map>
#include <random>
#include <string>
#include <string_view>
#include <vector>

namespace zel::sim {

struct ScopeSimOptions {
    int sweepMs = 0; // time of one averaged sweep
    std::uint32_t seed = 1;
    std::string idn = "TEKTRONIX,TDS 3054,0,CF:91.1CT FV:v1.00 TDS3FFT:v1.00";
    std::string networkName = "\"ZELSCOPE07\"";
    // The first darkAcquisitions acquisitions see no light (the background: detector noise
    // only); the next reAcquisitions see the probe's reference emitter (the RE cap is on) at reScale of its
    // normal brightness; the later ones see the ground.
    int darkAcquisitions = 0;
    int reAcquisitions = 0;
    double reScale = 1.0;
    // Test aid: the acquisition of this record (1 for the first) takes stallMs longer to complete, a scope
    // that stops triggering for a while. 0: never.
    int stallRecord = 0;
    int stallMs = 0;
};

// One CURVE? answer as it left the scope, with the preamble texts the scope answers beside it.
struct CurveSent {
    int record = 0;                   // the acquisition it came from, 1 for the first
    std::vector<std::int32_t> values; // the data points as encoded in the block (one or two bytes each)
    std::string yMult, yOff, yZero;   // replies to WFMPRE:YMULT?, YOFF?, YZERO?
};

class ScopeModel {
public:
    using NowMs = std::function<std::int64_t()>;

    ScopeModel(const SiteModel& site, ScopeSimOptions options, NowMs now);

    // One program message as received. Returns the reply (queries' answers joined by ";" and ended by
    // LF), or nothing when the message holds no query.
    std::string handle(std::string_view message);

    void setDepthFt(double depth) { depthFt_ = depth; }
    // Settings as the scope keeps them, by their long path ("CH2:SCALE"); empty when never set.
    std::string setting(const std::string& path) const;
    double number(const std::string& path) const;

    // Scaling of the record CURVE? sends: volts = (level - yOff) * yMult + yZero.
    double yMult() const;
    double yOff() const;
    double yZero() const;
    double xIncr() const;
    // Levels of the last completed acquisition (empty before the first).
    const std::vector<std::int16_t>& record() const { return record_; }
    int acquisitions() const { return acquisitions_; }
    // Where the probe is when an acquisition completes; without it, the depth last set.
    std::function<double()> probeDepth;
    // Called when a push starts: the waveform kept in REF1/REF2, then the acquisition set running.
    std::function<void()> onPushStart;
    // Called with every CURVE? answer (the simulator's --dump).
    std::function<void(const CurveSent&)> onCurve;

private:
    void update();
    void acquire();
    int sweepsPerAcquisition() const;
    int integer(const std::string& path, int lo, int hi) const;
    void command(const std::string& path, bool query, std::string_view args, std::string& reply);
    std::string queryValue(const std::string& path);
    std::string curveBlock();
    void event(int bits);

    const SiteModel& site_;
    ScopeSimOptions options_;
    NowMs now_;
    std::mt19937 rng_;
    std::map<std::string, std::string> settings_;
    std::vector<std::int16_t> record_;
    double depthFt_ = 0.0;
    int esr_ = 0;
    bool opcPending_ = false;
    bool stalled_ = false; // the stall of options_.stallRecord has been served
    std::int64_t opcDueMs_ = 0;
    int acquisitions_ = 0;
    int records_ = 0; // completed acquisitions, each one record
    bool headers_ = true;
    // The waveform was just kept in REF1/REF2; a push's start follows with RUN, an RE with REF4.
    bool referencesKept_ = false;
};

// One CURVE? answer as the --dump file keeps it: a JSON object on one line (record, ymult, yoff, yzero,
// values), without its line end.
std::string curveJsonLine(const CurveSent& curve);

// The canonical long form of a header ("hor:del:tim" -> "HORIZONTAL:DELAY:TIME"); unknown mnemonics are
// kept upper-cased.
std::string canonicalPath(std::string_view header);

} // namespace zel::sim
