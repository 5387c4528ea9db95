#include "acquisition/log_recorder.h"

#include "log/data_export.h"
#include "log/plot_companion.h"
#include "log/raw_log_writer.h"
#include "log/run_log.h"

#include <filesystem>

namespace zel::acq {

LogRecorder::LogRecorder(Host& host, const Clock& clock, cZEL_Data& log, LogArrays& arrays, FormSet& forms,
                         std::string rawLogPath, std::string dataRoot, LogFamily family)
    : host_(host), clock_(clock), log_(log), arrays_(arrays), forms_(forms),
      rawPath_(withRawLogExtension(rawLogPath, family)), dataRoot_(std::move(dataRoot)),
      columns_(push_column::Count, 0.0f) {
    Context.family = family;
}

bool LogRecorder::Begin(const ReferenceControl& reference, float, int depthMode) {
    const cZEL_Waveform& re = reference.RE();
    samples_ = static_cast<int>(reference.RERaw.samples.size());
    if (samples_ == 0) {
        host_.message("Error in Begin: there is no RE to record the push against.", MsgButtons::Ok,
                      MsgIcon::Critical);
        return false;
    }
    if (arrays_.beginPush(samples_, push_column::Count, false) != ArrayStatus::Ok) {
        host_.message("Error in Begin: no room for the push's points.", MsgButtons::Ok, MsgIcon::Critical);
        return false;
    }
    arrays_.re = reference.RERaw;
    arrays_.blank = reference.Background;
    log_.Fill_Info_Start();
    log_.File_FullPath(rawPath_);
    log_.File_Title(std::filesystem::path(rawPath_).filename().string());
    log_.Wave_DeltaX(reference.RERaw.deltaX);
    log_.Cutoff_Index({re.Cutoff[0], re.Cutoff[1], re.Cutoff[2]});
    log_.RE_Area(re.RE_Area);
    log_.Blank_Area(re.Blank_Area);
    log_.WavePoints(samples_ - 1);
    log_.DataSets(push_column::Count);
    log_.DataPoints(-1);

    const int channels = re.ChannelsUsed();
    Context.channels = channels;
    Context.reAreaCh.assign(re.RE_AreaCH.begin(), re.RE_AreaCH.begin() + channels);
    Context.blankAreaCh.assign(re.Blank_AreaCH.begin(), re.Blank_AreaCH.begin() + channels);
    Context.reRatio = re.ScatterRatio;
    Context.reFluorSum = {re.RE_FluorSum, re.RE_FluorSum, re.RE_FluorSum};
    Context.waveDelay = reference.RERaw.delay;
    Context.fiberLength = re.FibreLength;
    Context.modeId = reference.Mode;
    // Mode 2's points carry the counter's stored step: the raw log keeps them as COUNTER.
    Context.depthMode = depthMode;

    scan_ = {};
    if (!temp_.open(tempPointFilePath(rawPath_))) {
        host_.message("Error in Begin: the temporary point file " + tempPointFilePath(rawPath_) +
                          " cannot be created.",
                      MsgButtons::Ok, MsgIcon::Critical);
        return false;
    }
    return true;
}

bool LogRecorder::Append(const PointRecord& p) {
    if (static_cast<int>(p.wave.size()) != samples_) return false;
    columns_[push_column::Depth] = p.depth;
    columns_[push_column::Signal] = p.signal;
    columns_[push_column::Rate] = p.rate;
    columns_[push_column::Conductivity] = p.conductivity;
    columns_[push_column::Scatter] = p.scatter;
    columns_[push_column::Fluorescence] = p.fluorescence;
    for (int k = 0; k < 4; ++k)
        columns_[push_column::Ch1 + k] = p.channelArea[k];
    columns_[push_column::RateMark] = p.rateExceeded ? 1.0f : 0.0f;

    PointValues values;
    values.wave = p.wave;
    values.columns = columns_;
    values.counter = p.counter;
    if (arrays_.appendPoint(values) != ArrayStatus::Ok) return false;
    // The file first: a point the loop reports as taken must be in it.
    if (!temp_.writePoint(columns_, {}, p.wave)) {
        arrays_.truncate(arrays_.points() - 1);
        return false;
    }
    log_.DataPoints(arrays_.points() - 1);
    scan_.add(p.depth, p.signal);
    return true;
}

void LogRecorder::Finish() {
    temp_.close();
    // The stop time, and the information texts again: the operator may have corrected them during the push.
    // The log's position is the fix at its end.
    log_.Fill_Info();
    log_.GPS_Fill();
    log_.DataPoints(arrays_.points() - 1);
    applySignalMax(log_, scan_);
    if (arrays_.points() == 0) {
        // Nothing to save; the empty temporary file is of no use to recovery either.
        temp_.remove();
        return;
    }
    const RawLogSaveResult saved = SaveRawLog(rawPath_, log_, arrays_, Context, host_);
    if (!saved.ok) return; // the temporary file stays for recovery
    files_.rawLog = saved.path;
    files_.companion = log_.File_FullPath_Plt();
    if (!files_.companion.empty()) SaveCompanionSettings(files_.companion, forms_, PlotWindows{});
    // The export's default columns are this layout's: %RE in 2, the channel areas in 8..11.
    static_assert(push_column::Signal == ExportColumns{}.signal &&
                  push_column::Ch1 == ExportColumns{}.channels[0]);
    if (auto exported = ExportDataText(log_, arrays_, Context, {}, host_)) files_.dataExport = *exported;
    files_.runLog = WriteRunLog(dataRoot_, log_, clock_, false);
    temp_.remove();
}

} // namespace zel::acq
