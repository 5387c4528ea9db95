#pragma once
// How waveforms are processed, derived in one place: the probe's mode (a log's own INFO, or the start-up
// mode for a push), the RE's boundary count and the set-up's processing options. The push, every load
// (the desktop's and zel-cli's), recovery, export and page take their settings from here, so a log's %RE is
// the same however it is computed.

#include "log/log_data.h"
#include "log/point_processing.h"
#include "log/raw_log_format.h"
#include "waveform/waveform.h"
#include "waveform/waveform_options.h"

#include <array>
#include <cstdint>
#include <string_view>

namespace zel::program {

// The set-up's part: the Advanced and wave-mathematics forms' processing options.
struct ProcessingSetup {
    WaveformOptions options;
    std::int16_t widthLimit = 0; // 0 or above 100: no limit
    std::array<float, kGainChannels> gain{};
    std::array<bool, kGainChannels> exclude{};
    bool excludeCH1 = false;
    float ch1Correction = 0.0f; // the acquisition hardware's CH1 correction term, 0 = none
};

struct ProcessingSettings {
    int mode = 0;
    int acqType = 0;      // 1: the gated layout of the probes whose first channel is the scatter peak
    int channelCount = 3; // boundaries: 6 when the RE showed seven pulses, else 3
    int firmwareVersion = 0;
    ProcessingSetup setup;

    // The same settings for recomputing a log's points.
    PointProcessingSetup forPoints() const;
    // Onto a waveform instance (a push's point, an RE); the boundaries are not touched.
    void applyTo(cZEL_Waveform& w) const;
};

// The probes whose first channel carries the scatter peak ("Sctr") are processed in the gated layout.
bool GatedMode(int mode);

// The mode a log was made in: its ModeID, or (a log without one) the mode whose probe name its INFO "Mode"
// holds; a log that names neither is taken to be of the program's own mode.
int LogMode(int modeId, std::string_view modeText, int programMode);

// reBoundaries: the boundary count the RE search found (or the log recorded); anything but 6 is 3.
ProcessingSettings DeriveProcessing(int mode, const ProcessingSetup& setup, int reBoundaries = 3,
                                    int firmwareVersion = 0);

// For a load: settings that follow each log's own mode and channel count (read from its INFO and DATA_INFO
// before the points are processed), with the set-up's options and the program's mode for logs that name
// none.
PointProcessingSetup LoadProcessing(const ProcessingSetup& setup, int programMode, int firmwareVersion = 0);

} // namespace zel::program
