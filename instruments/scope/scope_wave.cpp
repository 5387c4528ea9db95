#include "instruments/scope/scope.h"

#include "common/number_text.h"
#include "instruments/visa/ieee_block.h"

#include <algorithm>
#include <cmath>

namespace zel {

namespace {
constexpr int kMaxPoints = 10000; // the scope's longest record
constexpr int kMinPoints = 30;    // the baseline (points 2..25) and the tail need at least this many
constexpr double kWaitLimitS = 15.0;
constexpr double kCountsPerDivision = 6553.6;
} // namespace

void cZEL_Scope::Tek_Wave_Info() {
    if (!Connected) return;
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
    if (!Connected) {
        status = 2;
        return;
    }
    double start = std::floor(clock_.secondsSinceMidnight());
    // A scope that stops answering would fail every poll; one report per wait is enough.
    bool reported = !send("*OPC", "Wave_Acq");
    std::int32_t esr = 0;
    while (true) {
        if (esr & 1) {
            send("*CLS", "Wave_Acq");
            Tek_Wave_Transfer(flag, autoScale);
            status = 1;
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

void cZEL_Scope::Tek_Wave_Transfer(bool /*flag*/, bool autoScale) {
    if (!Connected) return;
    const char* const where = "Wave_Transfer";
    if (!send("Curve?", where)) return;
    std::string reply;
    const visa::ViStatus st = visa_->read(Instr, reply, 2 * kMaxPoints + 16);
    if (st < 0) return ErrorHandler(st, where);
    visa::BlockParser block(2 * kMaxPoints);
    block.feed(reply);
    block.finish();
    if (block.failed()) return reportError(block.error(), where);
    const std::string& bytes = block.data();
    const int points = static_cast<int>(bytes.size() / 2);
    if (bytes.size() % 2 != 0 || points < kMinPoints)
        return reportError("unexpected record of " + std::to_string(bytes.size()) + " bytes", where);

    if (!QuerySingle("WFMPRE:YZERO?", YZero) || !QuerySingle("WFMPRE:YOFF?", YOff) ||
        !QuerySingle("WFMPRE:YMULT?", YMult))
        return;

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
}

void cZEL_Scope::Tek_ScaleStep(std::int32_t steps) {
    if (!Connected) return;
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
