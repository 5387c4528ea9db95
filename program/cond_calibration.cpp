#include "program/cond_calibration.h"

#include "common/hd_layout.h"

#include <filesystem>

namespace zel::program {

CondInput ConductivityInput(FieldInstruments& in, bool hdMode) {
    if (hdMode && in.HdBoardOpen()) return CondInput::DataBoard;
    if (in.DepthOpen() && in.Depth().Source() == DepthSource::Interface) return CondInput::DepthBoard;
    return CondInput::None;
}

namespace {

constexpr int kConductivityColumn = 5; // the data board's first 5-volt analogue column

std::optional<float> fromDepthBoard(cZEL_Depth& d, Host& host, const Clock& clock, const CondReading& how) {
    const auto start = clock.monotonicMs();
    while (clock.monotonicMs() - start < how.settleMs)
        host.sleepMs(20);
    double sum = 0.0;
    int taken = 0;
    long long seen = d.Readings;
    while (taken < how.readings && clock.monotonicMs() - start < how.settleMs + how.timeoutMs) {
        host.sleepMs(10);
        // Each batch of the board's lines ends with its counter, which counts the reading: the analogue
        // value before it is that batch's.
        if (d.Readings == seen) continue;
        seen = d.Readings;
        sum += d.Cond_Raw;
        ++taken;
    }
    if (taken < how.readings) return std::nullopt;
    return static_cast<float>(sum / taken);
}

std::optional<float> fromDataBoard(clsHD& hd, Host& host, const Clock& clock, const CondReading& how) {
    hd.ClearRecords();
    hd.SetDS(hd_protocol::kMaxMask);
    const auto start = clock.monotonicMs();
    while (clock.monotonicMs() - start < how.settleMs)
        host.sleepMs(20);
    hd.ClearRecords();
    while (static_cast<int>(hd.Records().size()) < how.readings &&
           clock.monotonicMs() - start < how.settleMs + how.timeoutMs)
        if (!hd.WaitRecord(500)) host.sleepMs(10);
    hd.Stop();
    const auto& records = hd.Records();
    if (static_cast<int>(records.size()) < how.readings) return std::nullopt;
    double sum = 0.0;
    for (int i = 0; i < how.readings; ++i)
        sum += records[static_cast<std::size_t>(i)][kConductivityColumn];
    hd.ClearRecords();
    return static_cast<float>(sum / how.readings);
}

} // namespace

std::optional<float> ReadConductivityVolts(FieldInstruments& in, CondInput input, Host& host,
                                           const Clock& clock, const CondReading& how) {
    std::optional<float> v;
    if (input == CondInput::DepthBoard) v = fromDepthBoard(in.Depth(), host, clock, how);
    if (input == CondInput::DataBoard) v = fromDataBoard(in.HdBoard(), host, clock, how);
    if (input == CondInput::None) {
        host.message(kNoCondInput);
        return std::nullopt;
    }
    if (!v)
        host.message("The conductivity input sent fewer than " + std::to_string(how.readings) +
                     " readings; the reading was not taken.");
    return v;
}

bool ApplyConductivityCalibration(const cond_cal::Calibration& c, FieldInstruments& in,
                                  const std::string& optionsPath) {
    FieldConfig& cfg = in.Config;
    cfg.condOffset = c.constants[0];
    cfg.condConstant = c.constants[1];
    cfg.condConstant2 = c.constants[2];
    cfg.condVolts = c.volts;
    cZEL_Depth& d = in.Depth();
    d.Cond_Offset = cfg.condOffset;
    d.Cond_Constant = cfg.condConstant;
    d.Cond_Constant2 = cfg.condConstant2;
    // A fresh installation has no options folder until the first save.
    std::error_code ec;
    std::filesystem::create_directories(std::filesystem::path(optionsPath).parent_path(), ec);
    return saveConductivityCalibration(optionsPath, cfg);
}

} // namespace zel::program
