#pragma once
// Loading a log for viewing, printing and export: the entry behind the Open menu (path empty: a file
// dialog) and behind batch callers (quiet, with an export target).
#include "common/host.h"
#include "log/log_arrays.h"
#include "log/log_data.h"
#include "log/point_processing.h"
#include "log/raw_log_format.h"
#include "settings/form.h"
#include "settings/plot_settings.h"

#include <string>

namespace zel {

// What the program keeps between loads: its mode's log family, the open dialog's folder and filter, the
// baseline feature and the program-wide quiet flag (set for the duration of a load).
struct LoadSession {
    LogFamily family = LogFamily::Lif;
    std::string initialDir;
    int filterIndex = 1;
    bool baselineFeature = false;
    bool quiet = false;
    // The waveform processing settings the loaded points' %RE and channel values are recomputed with.
    PointProcessingSetup processing;
};

// The plot whose settings the companion holds; both null for callers without a display.
struct PlotTarget {
    FormSet* forms = nullptr;
    PlotWindows* windows = nullptr;
};

struct LoadRequest {
    std::string path; // empty: ask with the file dialog
    bool quiet = false;
    std::string exportTarget; // quiet loads: write the data export into this folder
    PlotTarget plot;
};

enum class LoadOutcome {
    Loaded,
    Cancelled,       // the dialog was cancelled; nothing shown
    Refused,         // wrong mode, missing file, wrong extension: the message was shown
    FvdNotAvailable, // an ".fvd" file: its conversion is not part of this program
    Failed,          // the raw log could not be read or a step failed; reported through the host
};

struct LoadResult {
    LoadOutcome outcome = LoadOutcome::Failed;
    std::string path;
    bool repaired = false;
    bool pointValues = false; // %RE and channel values recomputed (the log has an RE and waveforms)
    int calloutSchemes = 0;   // schemes in the companion (interactive loads)
    std::string exportPath;   // the data export written (quiet loads with a target)
};

// The log being viewed: its description, its arrays and the raw log's context.
struct LoadedLog {
    cZEL_Data& log;
    LogArrays& arrays;
    RawLogContext& ctx;
};

inline constexpr std::string_view kFvdNotAvailable =
    "FVD files cannot be converted by this version of the program; the file was not loaded:\r\n";

// Load_File: every refusal and message of the Open path; the interactive path pauses 50 ms after each of
// the first five reader steps (the display redraws in them), quiet batch loads do not.
LoadResult Load_File(const LoadRequest& request, LoadSession& session, LoadedLog target, Host& host);
// The fits beside a raw log (its ".tau.txt", ".nnls.txt" and ".class.txt") read into the loaded log again,
// after they were made for it: each that is not of the log's points is named through host and left out.
void ReadFitsBeside(const std::string& rawLogPath, LoadedLog target, Host& host);
// The same for colour logs (".clr.raw.bin"), which only the colour mode loads.
LoadResult Load_Color_File(const LoadRequest& request, LoadSession& session, LoadedLog target, Host& host);

} // namespace zel
