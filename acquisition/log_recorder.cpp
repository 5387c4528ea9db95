#include "acquisition/log_recorder.h"

#include "analysis/dissipation.h"
#include "analysis/k_estimate.h"
#include "common/number_text.h"
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

bool LogRecorder::beginHd(const ReferenceControl& reference) {
    if (!reference.HdRE) {
        host_.message("Error in Begin: there is no RE to record the push against.", MsgButtons::Ok,
                      MsgIcon::Critical);
        return false;
    }
    if (HdMask == 0 || (HdMask & hd_layout::kPushValuesBit) == 0) {
        host_.message("Error in Begin: the data board streams no column.", MsgButtons::Ok, MsgIcon::Critical);
        return false;
    }
    samples_ = hd_layout::kSignalColumns;
    columns_.assign(hd_layout::kPointColumns, 0.0f);
    hdRecordValues_ = hd_layout::recordValues(HdMask);
    hdRecords_.clear();
    if (arrays_.beginPush(samples_, hd_layout::kPointColumns, false) != ArrayStatus::Ok) {
        host_.message("Error in Begin: no room for the push's points.", MsgButtons::Ok, MsgIcon::Critical);
        return false;
    }
    // The RE and background as the DATA lists keep them (two decimals): the reader takes the background
    // off the board's channels with the listed values, and so does the push.
    const auto listed = [](const HdChannels& values) {
        std::vector<float> out;
        for (const float v : values)
            out.push_back(static_cast<float>(val(formatNumber(v, "#0.00"))));
        return out;
    };
    arrays_.re = {};
    arrays_.re.samples = listed(*reference.HdRE);
    arrays_.blank = {};
    if (reference.HdBackground) arrays_.blank.samples = listed(*reference.HdBackground);
    log_.Fill_Info_Start();
    log_.File_FullPath(rawPath_);
    log_.File_Title(std::filesystem::path(rawPath_).filename().string());
    log_.Wave_DeltaX(0.0f);
    log_.WavePoints(samples_ - 1);
    log_.DataSets(hd_layout::kPointColumns);
    log_.DataPoints(-1);
    Context.channels = hd_layout::kSignalColumns;
    Context.modeId = reference.Mode;
    Context.hdBoardMode = true;

    scan_ = {};
    tempBehindTold_ = false;
    keptCrashed_.clear();
    rescued_.clear();
    const std::string streamPath = hdSideFilePath(rawPath_);
    if (!temp_.open(streamPath, HdMask)) {
        host_.message("Error in Begin: the HD board data file " + streamPath + " " +
                          (temp_.lastError() == "exists"
                               ? std::string("of an earlier push that was never saved is in the way. Recover "
                                             "it or choose another log name")
                               : temp_.lastError()) +
                          ".",
                      MsgButtons::Ok, MsgIcon::Critical);
        return false;
    }
    return true;
}

bool LogRecorder::Begin(const ReferenceControl& reference, float, int depthMode) {
    Context.depthMode = depthMode;
    if (Context.hdBoardMode) return beginHd(reference);
    const cZEL_Waveform& re = reference.RE();
    samples_ = static_cast<int>(reference.RERaw.samples.size());
    if (samples_ == 0) {
        host_.message("Error in Begin: there is no RE to record the push against.", MsgButtons::Ok,
                      MsgIcon::Critical);
        return false;
    }
    columns_.assign(push_column::Count, 0.0f);
    if (arrays_.beginPush(samples_, push_column::Count, Hydraulic.presFlow) != ArrayStatus::Ok) {
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
    log_.PresFlow(Hydraulic.presFlow);
    log_.PF_Offset(Hydraulic.pfOffsetFt);
    log_.FlowCal(0, Hydraulic.flowCal[0]);
    log_.FlowCal(1, Hydraulic.flowCal[1]);
    log_.HPT1ft(Hydraulic.hpt1ft);
    log_.HPT0ft(Hydraulic.hpt0ft);

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
    dissipations_.clear();
    files_ = {};
    tempBehindTold_ = false;
    keptCrashed_.clear();
    rescued_.clear();
    const std::string tempPath = tempPointFilePath(rawPath_);
    std::error_code ec;
    if (std::filesystem::exists(tempPath, ec)) {
        // A push under this name ended without a save: its points are only in that file.
        const std::string kept = crashedTempFilePath(tempPath);
        if (kept.empty() || (std::filesystem::rename(tempPath, kept, ec), ec)) {
            host_.message("Error in Begin: the temporary point file " + tempPath +
                              " of an earlier push that was never saved is in the way and cannot be moved. "
                              "Recover it or choose another log name.",
                          MsgButtons::Ok, MsgIcon::Critical);
            return false;
        }
        keptCrashed_ = kept;
        host_.message("The temporary point file of an earlier push under this name, which was never saved, "
                      "has been kept as " +
                          kept + ". Use Recover push from temporary file to rebuild that push.",
                      MsgButtons::Ok, MsgIcon::Exclamation);
    }
    if (!temp_.open(tempPath)) {
        host_.message("Error in Begin: the temporary point file " + tempPath + " " + temp_.lastError() + ".",
                      MsgButtons::Ok, MsgIcon::Critical);
        return false;
    }
    return true;
}

bool LogRecorder::catchUpTemp() {
    if (Context.hdBoardMode) {
        const auto width = static_cast<std::size_t>(hdRecordValues_);
        while (static_cast<std::size_t>(temp_.records()) * width < hdRecords_.size()) {
            const auto record = std::span<const float>(hdRecords_)
                                    .subspan(static_cast<std::size_t>(temp_.records()) * width, width);
            if (!temp_.usable() || !temp_.writePoint(record, {}, {})) return false;
        }
        return true;
    }
    const auto columns = static_cast<std::size_t>(push_column::Count);
    while (temp_.records() < arrays_.points()) {
        const int p = temp_.records();
        const std::span<const float> presFlow = arrays_.presFlow.width() > 0
                                                    ? std::span<const float>(arrays_.presFlow.row(p))
                                                    : std::span<const float>{};
        if (!temp_.usable() ||
            !temp_.writePoint(arrays_.columns.row(p).first(columns), presFlow, arrays_.waves.wave(p)))
            return false;
    }
    return true;
}

bool LogRecorder::appendHd(const PointRecord& p) {
    if (!p.board) return false;
    const std::vector<float> record =
        HdStreamRecord(HdMask, *p.board, {p.depth, p.signal, p.conductivity, p.rate});
    // The arrays take the point as the reader spreads the side file, so the live plot is the saved log.
    std::fill(columns_.begin(), columns_.end(), 0.0f);
    columns_[push_column::RateMark] = p.rateExceeded ? 1.0f : 0.0f;
    std::array<float, hd_layout::kSignalColumns> wave{};
    HdChannels background{};
    for (std::size_t k = 0; k < background.size() && k < arrays_.blank.samples.size(); ++k)
        background[k] = arrays_.blank.samples[k];
    DistributeHdRecord(HdMask, record, background, columns_, wave);
    PointValues values;
    values.wave = wave;
    values.columns = columns_;
    if (arrays_.appendPoint(values) != ArrayStatus::Ok) return false;
    hdRecords_.insert(hdRecords_.end(), record.begin(), record.end());
    return true;
}

bool LogRecorder::appendScope(const PointRecord& p) {
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
    if (Hydraulic.presFlow) {
        // The pressure port is not at the probe's depth reference: its readings belong PF_Offset away.
        const float offset = log_.Metric() ? Hydraulic.pfOffsetFt * 0.3048f : Hydraulic.pfOffsetFt;
        values.presFlow = {p.depth + offset,    p.presFlow.timeS, p.presFlow.presUp,
                           p.presFlow.presDown, p.presFlow.flow,  0.0f};
        log_.CurrentPresDwn(p.presFlow.presDown);
        log_.CurrentFlow(p.presFlow.flow);
    }
    return arrays_.appendPoint(values) == ArrayStatus::Ok;
}

bool LogRecorder::Append(const PointRecord& p) {
    if (Context.hdBoardMode) {
        if (!appendHd(p)) return false;
    } else if (!appendScope(p)) {
        return false;
    }
    log_.DataPoints(arrays_.points() - 1);
    if (Hydraulic.presFlow) estimateKAt(log_, arrays_.presFlow, arrays_.points() - 1);
    scan_.add(p.depth, p.signal);
    const bool wasBehind = tempBehindTold_;
    if (catchUpTemp()) {
        if (wasBehind) {
            host_.progress("The temporary point file " + temp_.path() + " holds every point again (" +
                           std::to_string(temp_.records()) + ").");
            tempBehindTold_ = false;
        }
    } else if (!tempBehindTold_) {
        tempBehindTold_ = true;
        host_.message("The temporary point file " + temp_.path() + " " + temp_.lastError() +
                          ": it holds points 1 to " + std::to_string(temp_.records()) +
                          " only. The push goes on; its points are kept in memory and saved in the raw log "
                          "when the push ends. Free some disk space.",
                      MsgButtons::Ok, MsgIcon::Exclamation);
    }
    return true;
}

int LogRecorder::AddDissipation(DissipationCurve curve) {
    const int slot = static_cast<int>(dissipations_.size());
    const auto level = staticPressure(curve);
    if (slot >= cZEL_Data::kDissipationTests) {
        host_.message("This log holds five dissipation tests already; the test at " +
                          formatNumber(curve.depth, "#0.00") + " was not kept.",
                      MsgButtons::Ok, MsgIcon::Exclamation);
        return -1;
    }
    if (!level) {
        host_.message("The dissipation test at " + formatNumber(curve.depth, "#0.00") +
                          " has too few readings for a static pressure; it was not kept.",
                      MsgButtons::Ok, MsgIcon::Exclamation);
        return -1;
    }
    curve.test = slot;
    const double depthFt = log_.Metric() ? curve.depth / 0.3048 : curve.depth;
    log_.DisDepth(slot, curve.depth);
    log_.DisPres(slot, static_cast<float>(*level));
    log_.DisWT(slot, static_cast<float>(waterTableFromStatic(depthFt, *level, log_.HPT1ft())));
    log_.DisInclude(slot, true);
    log_.DisCount(slot + 1);
    dissipations_.push_back(std::move(curve));
    return slot;
}

void LogRecorder::saveElsewhere() {
    // The log's own folder took neither the raw log nor every point: the system's temporary folder is
    // often another disk.
    std::error_code ec;
    const std::filesystem::path folder = std::filesystem::temp_directory_path(ec);
    const int points = arrays_.points();
    std::string text = "The raw log " + rawPath_ + " could not be written. ";
    // An HD-board log is made from its side file, which stays where it is.
    if (!ec && !Context.hdBoardMode) {
        const std::string other = (folder / std::filesystem::path(rawPath_).filename()).string();
        if (other != rawPath_ && !std::filesystem::exists(other, ec)) {
            const std::string kept = log_.File_FullPath();
            log_.File_FullPath(other);
            const RawLogSaveResult saved = SaveRawLog(other, log_, arrays_, Context, host_);
            log_.File_FullPath(kept);
            if (saved.ok) {
                rescued_ = saved.path;
                host_.message(text + "Its " + std::to_string(points) + " points were saved in " + saved.path +
                                  " instead.",
                              MsgButtons::Ok, MsgIcon::Exclamation);
                return;
            }
            std::filesystem::remove(other, ec);
        }
    }
    if (temp_.records() >= points) {
        text += "All " + std::to_string(points) + " points are kept in the temporary point file " +
                temp_.path() + ": recover the push from it once there is room.";
    } else {
        text += "The temporary point file " + temp_.path() + " keeps points 1 to " +
                std::to_string(temp_.records()) + " of " + std::to_string(points) +
                "; the others are in memory only and are lost when the program ends. Free some disk space "
                "and save again.";
    }
    host_.message(text, MsgButtons::Ok, MsgIcon::Critical);
}

void LogRecorder::Finish() {
    // A last chance for the file to take the points it missed, should the raw log fail as well.
    catchUpTemp();
    temp_.close();
    // The stop time, and the information texts again: the operator may have corrected them during the push.
    // The log's position is the fix at its end.
    log_.Fill_Info();
    log_.GPS_Fill();
    log_.DataPoints(arrays_.points() - 1);
    applySignalMax(log_, scan_);
    // A water table found during the push holds for the points above the test too.
    if (log_.PresFlow()) estimateK(log_, arrays_.presFlow);
    if (arrays_.points() == 0) {
        // Nothing to save; the empty temporary file is of no use to recovery either.
        temp_.remove();
        return;
    }
    const RawLogSaveResult saved = SaveRawLog(rawPath_, log_, arrays_, Context, host_);
    if (!saved.ok) {
        // The temporary file stays for recovery, whatever else happens.
        std::error_code ec;
        std::filesystem::remove(rawPath_, ec); // a raw log cut short is no log
        saveElsewhere();
        return;
    }
    files_.rawLog = saved.path;
    files_.companion = log_.File_FullPath_Plt();
    if (!files_.companion.empty()) SaveCompanionSettings(files_.companion, forms_, PlotWindows{});
    // The export's default columns are this layout's: %RE in 2, the channel areas in 8..11.
    static_assert(push_column::Signal == ExportColumns{}.signal &&
                  push_column::Ch1 == ExportColumns{}.channels[0]);
    if (auto exported = ExportDataText(log_, arrays_, Context, {}, host_)) files_.dataExport = *exported;
    files_.runLog = WriteRunLog(dataRoot_, log_, clock_, false);
    if (!dissipations_.empty()) {
        std::string error;
        const std::string side = dissipationFilePath(saved.path);
        if (writeDissipationFile(side, dissipations_, error))
            files_.dissipation = side;
        else
            host_.message("The dissipation curves were not saved: " + error +
                              ". The log keeps each test's "
                              "depth, static pressure and water table.",
                          MsgButtons::Ok, MsgIcon::Exclamation);
    }
    temp_.remove();
}

} // namespace zel::acq
