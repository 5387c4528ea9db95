#pragma once
// The per-point values a push computes from each waveform but the raw log does not keep as lists: %RE, S,
// F and the CH1..CH4 areas. A loaded log gets them back by processing its stored waveforms against its
// stored RE and background, with the log's boundaries (Cutoff_Index), channel count and mode, exactly as
// the push processed them; the export of a loaded log then matches the one written at the end of its push.
//
// The stored waveforms are the push's processed ones (background already subtracted, last two samples
// cleared), so they are processed as they are. The RE is stored raw and the background separately, so the
// RE is taken through the same subtraction and RE processing as when it was acquired.

#include "common/host.h"
#include "log/log_arrays.h"
#include "log/log_data.h"
#include "log/raw_log_format.h"
#include "waveform/waveform.h"

#include <array>
#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

namespace zel {

// The program's processing settings of the moment (the log does not keep them): the same ones the push
// used when the log was made in this program with these settings.
struct PointProcessingSetup {
    WaveformOptions options;
    int acqType = 0; // 1: gated layout
    // Boundaries (3 or 6) as the log's RE has them (DATA_INFO Channels). The points are processed with the
    // count the RE ends up with, so a seven-channel RE is never cut to four channels.
    int channelCount = 3;
    std::int16_t widthLimit = 0;
    std::array<float, kGainChannels> gain{};
    std::array<bool, kGainChannels> exclude{};
    bool excludeCH1 = false;
    float ch1Correction = 0.0f;
    int firmwareVersion = 0;
    // Settings that depend on the log itself (its mode, its channel count): called once INFO and DATA_INFO
    // are read, before anything is processed. None: the settings stand as given.
    std::function<void(PointProcessingSetup&, const cZEL_Data&, const RawLogContext&)> forLog;
};

class LogPointProcessing {
public:
    LogPointProcessing(Host& host, const PointProcessingSetup& setup);

    // The preparation step between DATA_INFO and DATA: the RE and point instances take the log's
    // boundaries, channel count, time step and mode.
    void prepare(const cZEL_Data& log, const RawLogContext& ctx);
    // After the RE and background lists: the RE (less the background) as the reference. False when the
    // log has no RE, the per-point table is narrower than point_column::PushCount, or processing failed.
    bool reference(const LogArrays& arrays);
    // Points first..end-1 into the per-point columns point_column::Signal, Scatter, Fluorescence and
    // Ch1..Ch4, as soon as their waveforms are read (while they are still in the cache). Needs reference().
    bool points(LogArrays& arrays, int first, int end);
    // Both, for every point.
    bool run(LogArrays& arrays);

private:
    Host& host_;
    PointProcessingSetup setup_;
    std::unique_ptr<cZEL_Waveform> re_;
    std::unique_ptr<cZEL_Waveform> point_;
    bool searchRest_ = false; // the first rise and boundaries 4..6 are not stored: found on the RE again
    bool ready_ = false;
    std::vector<float> scratch_;
};

} // namespace zel
