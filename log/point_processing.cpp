#include "log/point_processing.h"

#include "waveform/cutoffs.h"

#include <algorithm>
#include <vector>

namespace zel {

LogPointProcessing::LogPointProcessing(Host& host, const PointProcessingSetup& setup)
    : host_(host), setup_(setup) {}

void LogPointProcessing::prepare(const cZEL_Data& log, const RawLogContext& ctx) {
    if (setup_.forLog) setup_.forLog(setup_, log, ctx);
    // A log keeps its channel count, not its number of boundaries: seven channels are six boundaries.
    const auto boundaries = static_cast<std::int16_t>(ctx.channels > 4 ? 6 : 3);
    const auto cut = log.Cutoff_Index();

    re_ = std::make_unique<cZEL_Waveform>(host_, setup_.options);
    re_->Mode = ctx.modeId;
    re_->AcqType = setup_.acqType;
    // The RE is the base of the scatter scaling and is not scaled by itself.
    re_->NoScatterScaling = true;
    re_->DeltaX = log.Wave_DeltaX();
    re_->RE_Delay = ctx.waveDelay;
    re_->ChannelCount = boundaries;
    re_->Cutoff = {cut[0], cut[1], cut[2], 0, 0, 0};
    // Only the first three boundaries are in the file; the first rise (the gated CH1) and boundaries 4..6
    // come from the RE itself once it is read. A log without any stored boundary takes the search's.
    searchRest_ = true;

    point_ = std::make_unique<cZEL_Waveform>(host_, setup_.options);
    point_->Mode = ctx.modeId;
    point_->AcqType = setup_.acqType;
    point_->WidthLimit = setup_.widthLimit;
    point_->Gain = setup_.gain;
    point_->Exclude = setup_.exclude;
    point_->ExcludeCH1 = setup_.excludeCH1;
    point_->CH1Correction = setup_.ch1Correction;
    point_->FirmwareVersion = setup_.firmwareVersion;
    point_->DeltaX = log.Wave_DeltaX();
    point_->ComputeStdDev = false;
}

bool LogPointProcessing::reference(const LogArrays& arrays) {
    ready_ = false;
    if (!re_ || !point_ || arrays.re.samples.empty()) return false;
    if (arrays.columns.width() < point_column::PushCount) return false;

    // The RE as acquisition processed it: background subtracted and the record cleared at its end (both
    // done by Process_Wave), the boundaries, then the RE processing that makes it the reference.
    std::vector<float> re = arrays.re.samples;
    if (!arrays.blank.samples.empty()) re_->SetBackground(arrays.blank.samples);
    if (!re_->Process_Wave(re)) return false;
    if (searchRest_) {
        const CutoffSearch found = searchCutoffs(re, re_->DeltaX, false, setup_.options.fixedCutoffs);
        re_->FirstRise = found.firstRise;
        const bool noneStored = re_->Cutoff[0] == 0 && re_->Cutoff[1] == 0 && re_->Cutoff[2] == 0;
        if (noneStored) {
            re_->Cutoff = found.cutoff;
            re_->ChannelCount = found.count;
        } else if (re_->ChannelCount == 6) {
            std::copy(found.cutoff.begin() + 3, found.cutoff.end(), re_->Cutoff.begin() + 3);
        }
        for (int k = 0; k < kMaxCutoffs; ++k)
            re_->CutoffTime[static_cast<std::size_t>(k)] =
                static_cast<double>(re_->Cutoff[static_cast<std::size_t>(k)]) * re_->DeltaX * 1e9;
    }
    if (!re_->Process_RE(re, true, false)) return false;

    point_->CopyCutoffs(*re_);
    // The points take the RE's boundaries, and so its count: a seven-channel RE is never cut to four.
    point_->ChannelCount = static_cast<std::int16_t>(re_->ChannelCount == 6 ? 6 : 3);
    point_->CopyReference(*re_);
    scratch_.assign(static_cast<std::size_t>(arrays.waves.width()), 0.0f);
    ready_ = true;
    return true;
}

bool LogPointProcessing::points(LogArrays& arrays, int first, int end) {
    if (!ready_) return false;
    PointMatrix& columns = arrays.columns;
    end = std::min(end, arrays.points());
    // The stored waveforms are already the processed ones. Processing clears the last two samples of a
    // record, which a push has done already: such a record is processed where it lies, any other through a
    // scratch copy, so the loaded data stays as read.
    bool lowSignal = false;
    for (int p = std::max(first, 0); p < end; ++p) {
        std::span<float> row = arrays.waves.row(p);
        const auto tail = static_cast<std::ptrdiff_t>(std::min<std::size_t>(row.size(), 2));
        const bool cleared = std::all_of(row.end() - tail, row.end(), [](float v) { return v == 0.0f; });
        if (!cleared) {
            std::copy(row.begin(), row.end(), scratch_.begin());
            row = scratch_;
        }
        if (!point_->ProcessWaveform(row, false, lowSignal)) return false;
        columns(point_column::Signal, p) = point_->Wave_Signal;
        columns(point_column::Scatter, p) = point_->Wave_ScatSum;
        columns(point_column::Fluorescence, p) = point_->Wave_FluorSum;
        for (int k = 0; k < 4; ++k)
            columns(point_column::Ch1 + k, p) = point_->Wave_AreaCH[static_cast<std::size_t>(k)];
    }
    return true;
}

bool LogPointProcessing::run(LogArrays& arrays) {
    return reference(arrays) && points(arrays, 0, arrays.points());
}

} // namespace zel
