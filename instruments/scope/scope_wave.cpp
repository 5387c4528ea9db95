#include "instruments/scope/scope.h"

#include "common/number_text.h"
#include "instruments/visa/ieee_block.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace zel {

namespace {
constexpr int kMaxPoints = 10000; // the scope's longest record
constexpr int kMinPoints = 30;    // the baseline (points 2..25) and the tail need at least this many
constexpr double kWaitLimitS = 15.0;
constexpr double kCountsPerDivision = 6553.6;

// A preamble value: a finite number that fits a single. An empty reply is no number (val would read 0).
bool preambleValue(const std::string& reply, float& out) {
    if (reply.find_first_not_of(" \t\r\n") == std::string::npos) return false;
    const double v = val(reply);
    if (!std::isfinite(v) || std::abs(v) > std::numeric_limits<float>::max()) return false;
    out = static_cast<float>(v);
    return true;
}
} // namespace

void cZEL_Scope::Tek_Wave_Info() {
    if (!sessionOpen_) return;
    std::int32_t start = 0, stop = 0;
    if (QueryInt("DAT:STAR?", start) && QueryInt("DAT:STOP?", stop) && stop >= start &&
        stop - start < kMaxPoints)
        RecordLength = stop - start + 1;
    QuerySingle("WFMPRE:XINCR?", Wave_DeltaX);
    QuerySingle("HORizontal:DELay:TIMe?", HorizontalDelay);
    QuerySingle("CH2:SCA?", VertScale);
    QuerySingle("CH2:POS?", VertPos);
}

void cZEL_Scope::Tek_Wave_Acq(bool flag, bool autoScale, std::int32_t& status) {
    if (!sessionOpen_) {
        status = 2;
        return;
    }
    double start = std::floor(clock_.secondsSinceMidnight());
    // A scope that stops answering would fail every poll; one report per wait is enough.
    bool opcSent = send("*OPC", "Wave_Acq");
    bool reported = !opcSent;
    // The request never reached a scope whose link broke; once the link is up again (the scope restarted)
    // it is asked again. A request that merely timed out on a live link may still arrive: not repeated.
    bool linkLost = !Connected;
    std::int32_t esr = 0;
    while (true) {
        if (!opcSent && linkLost && Connected) {
            quietErrors_ = reported;
            opcSent = send("*OPC", "Wave_Acq");
            quietErrors_ = false;
        }
        if (esr & 1) {
            send("*CLS", "Wave_Acq");
            // A transfer that failed (reported there) leaves no waveform: the caller sees it as a time-out,
            // never the previous record as this one.
            status = Tek_Wave_Transfer(flag, autoScale) ? 1 : 2;
            break;
        }
        quietErrors_ = reported;
        std::string reply;
        if (ask("*ESR?", reply, "Wave_Acq")) {
            esr = static_cast<std::int32_t>(std::nearbyint(std::clamp(val(reply), -1e9, 1e9)));
        } else {
            reported = true;
        }
        quietErrors_ = false;
        linkLost = linkLost || !Connected;
        const double now = clock_.secondsSinceMidnight();
        if (now < start) start -= 86400.0; // midnight passed
        if (now - start > kWaitLimitS) {
            status = 2;
            break;
        }
        host_.sleepMs(50);
        host_.yield();
    }
}

bool cZEL_Scope::Tek_Wave_Transfer(bool /*flag*/, bool autoScale) {
    if (!sessionOpen_) return false;
    // Whatever goes wrong below, the previous record must not pass for this one.
    Waveform.clear();
    const char* const where = "Wave_Transfer";
    const auto refuse = [this, where](const std::string& why) {
        reportError(why, where);
        return false;
    };
    if (!send("Curve?", where)) return false;
    std::string reply;
    const visa::ViStatus st = visa_->read(Instr, reply, 2 * kMaxPoints + 16);
    updateLinkState();
    if (st < 0) {
        ErrorHandler(st, where);
        return false;
    }
    visa::BlockParser block(2 * kMaxPoints);
    block.feed(reply);
    block.finish();
    if (block.failed()) return refuse(block.error());
    const std::string& bytes = block.data();
    const int points = static_cast<int>(bytes.size() / 2);
    if (bytes.size() % 2 != 0 || points < kMinPoints)
        return refuse("unexpected record of " + std::to_string(bytes.size()) + " bytes");
    // The record must be the one the data range asked for: a short one is a transfer cut off.
    if (RecordLength > 0 && points != RecordLength)
        return refuse("record of " + std::to_string(points) + " points where " +
                      std::to_string(RecordLength) + " were expected");

    // An empty or non-numeric reply converts to 0 (or is refused by QuerySingle): a zero multiplier would
    // make a flat record, and a stale one the last record's scale.
    std::string yReply[3];
    const char* const yQuery[3] = {"WFMPRE:YZERO?", "WFMPRE:YOFF?", "WFMPRE:YMULT?"};
    float y[3] = {0, 0, 0};
    for (int k = 0; k < 3; ++k) {
        if (!ask(yQuery[k], yReply[k], where)) return false;
        if (!preambleValue(yReply[k], y[k]))
            return refuse(std::string("no number in the reply to ") + yQuery[k]);
    }
    if (y[2] == 0.0f) return refuse("the vertical multiplier is 0");
    YZero = y[0];
    YOff = y[1];
    YMult = y[2];

    // Point i (1-based) is bytes 2i-1 and 2i, high byte first; index 0 is never filled by the record.
    const int last = points;
    Waveform.assign(static_cast<std::size_t>(last) + 1, 0.0f);
    std::int32_t peak = -32767;
    for (int i = 1; i <= last; ++i) {
        std::int32_t raw =
            static_cast<unsigned char>(bytes[2 * i - 2]) << 8 | static_cast<unsigned char>(bytes[2 * i - 1]);
        if (raw > 32767) raw -= 65536;
        if (i < last) peak = std::max(peak, raw);
        Waveform[i] = static_cast<float>(((raw - YOff) * YMult + YZero) * 1000.0f);
    }

    // Five-point quadratic Savitzky-Golay, in place and in increasing i: each window already holds the
    // smoothed values of the two points before it. The stored logs depend on exactly this filter.
    auto& w = Waveform;
    double sum = 0.0;
    int count = 0;
    for (int i = 2; i <= last - 2; ++i) {
        w[i] = (-3 * w[i - 2] + 12 * w[i - 1] + 17 * w[i] + 12 * w[i + 1] - 3 * w[i + 2]) / 35;
        if (i <= 25) {
            sum += w[i];
            ++count;
        }
    }
    // The baseline: the mean of 24 points at the start of the record, before the fluorescence rises.
    const float baseline = static_cast<float>(sum / count);
    for (int i = 0; i <= last; ++i)
        w[i] -= baseline;
    for (int i = last - 3; i <= last; ++i)
        w[i] = 0.8f * w[i - 1];
    // A preamble that scales the counts past what a single holds (at any step of the filter) is no
    // measurement.
    if (!std::all_of(w.begin(), w.end(), [](float v) { return std::isfinite(v); })) {
        Waveform.clear();
        return refuse("the preamble scales the record beyond any voltage");
    }

    if (autoScale) {
        if (peak > 26213)
            Tek_ScaleStep(-3);
        else if (peak > 19660)
            Tek_ScaleStep(-2);
        else if (peak > 13106)
            Tek_ScaleStep(-1);
        const double aboveZero = peak - VertPos * kCountsPerDivision;
        if (aboveZero < kCountsPerDivision)
            Tek_ScaleStep(2);
        else if (aboveZero < 2 * kCountsPerDivision)
            Tek_ScaleStep(1);
    }
    return true;
}

void cZEL_Scope::Tek_ScaleStep(std::int32_t steps) {
    if (!sessionOpen_) return;
    int from = static_cast<int>(VertScaleLadder.size()) - 1;
    for (int i = 0; i < static_cast<int>(VertScaleLadder.size()); ++i)
        if (VertScaleLadder[i] >= VertScale) {
            from = i;
            break;
        }
    int target = std::clamp(from - steps, 0, static_cast<int>(VertScaleLadder.size()) - 1);
    const float minimum = MinVertScale_mV / 1000.0f;
    if (VertScaleLadder[target] < minimum)
        for (int i = 0; i < static_cast<int>(VertScaleLadder.size()); ++i)
            if (std::abs(VertScaleLadder[i] - minimum) <= 1e-6f * minimum) target = i;
    if (target == from) return;
    Tek_VertScale("CH2", VertScaleLadder[target]);
}

} // namespace zel
