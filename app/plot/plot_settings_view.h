#pragma once
// How a log is plotted, as one plain value: the plot-settings key set ("FT...", "FA...", "FC..." keys of a
// companion's "Settings" section or a preset) read into numbers and flags. The depth plot and the log page
// take this struct only; they never look at dialogs or INI files themselves. A default-constructed value is
// what a log without any settings is plotted with.

#include "settings/form.h"

#include <array>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace zel::plot {

// One secondary track's switches: "FTchkPlotX", "FTchk2ndLog_X", "FTchk2ndScale_X", "FTtxt2ndScale_X0/1".
struct TrackSwitches {
    bool shown = false;
    bool logScale = false;
    bool manual = false; // fixed min/max instead of the log's own range
    double min = 0.0;
    double max = 100.0;
    friend bool operator==(const TrackSwitches&, const TrackSwitches&) = default;
};

enum class PageSize { Letter, Legal };

struct PlotSettings {
    // "FTtxtDepthMin", "FTtxtDepthMax": the depth range shown; none means the log's own extent.
    std::optional<double> depthMin, depthMax;

    // %RE track: "FTtxtSignalMin/Max/Floor", "FTchkRElog", "FTchkManualScaleLog0" (manual scale).
    bool signalManual = false;
    bool signalLog = false;
    double signalMin = 0.0;
    double signalMax = 100.0;
    double signalFloor = 0.0; // points below it are not drawn (and not filled)

    // Zoomed %RE: "FTchkPlotZoom", "FTchk2ndLog_Zoom", "FTtxt2ndScale_Zoom0/1" (always manual).
    TrackSwitches zoom{false, false, true, 0.0, 10.0};
    TrackSwitches rate, conductivity, scatter, fluorescence, nnls;
    // Four pressure/flow curves: "FTchkPresFlowPlot0..3", "FTchkPresFlowAuto0..3" (auto = !manual),
    // "FTtxtPFscale0..7" (min, max pairs).
    std::array<TrackSwitches, 4> presFlow{};
    // The K estimate track: shown with the pressure/flow curves when the log carries them.
    bool kEstimate = true;

    // "FAchkGrid", "FAchkPrint_Black", "FAchkDraft", "FAtxtWatermark", "FAchkHideInfo", "FAchkBare_Scale",
    // "FAchkDepthScale_Hide".
    bool grid = true;
    bool printBlack = false;
    bool draft = false;
    std::string watermark;
    bool hideInfo = false;
    bool bareScale = false;
    bool hideDepthScale = false;

    // Reference lines: "FAchkReferenceLineRE/Depth/Cond" and their "FAtxt..." values.
    std::optional<double> referenceRe, referenceDepth, referenceCond;
    // Clip depths: "FAchkDepth_ClipMIN" + "FAtxtDepth_ClipMIN_Value", "FAchkDepth_Clip" + "..._Value".
    std::optional<double> clipMin, clipMax;

    // Fixed printed scale: "FAchkPerInch", "FAtxtFtPerInch" (depth units per inch), "FAtxtRePerInch".
    bool perInch = false;
    double depthPerInch = 5.0;
    double rePerInch = 50.0;

    // "FAoptDepth_Secondary0..4": the secondary depth axis at the right of the plot: 0 none, 1 depth in the
    // other unit (m beside ft, ft beside m), 2 elevation (the log's GPS altitude less the depth). 3 and 4
    // are drawn as none.
    int secondaryDepth = 0;

    // "FAoptOrientation0/1" (portrait/landscape), "FAoptPrintSize0/1" (Letter/Legal).
    bool landscape = false;
    PageSize pageSize = PageSize::Letter;

    // "FTchkRealColor": channel colours at their true wavelength rather than stretched over the spectrum.
    bool realColour = false;
    // "FCchkCalloutWaves": the callouts' averaged waveforms are drawn on the page.
    bool calloutWaves = true;

    // "FWchkLifetime": the decay times of a loaded lifetime fit as a track, a line a channel.
    // "FCchkCutoffTau" with "FCtxtCutoffTau": a point below that %RE has no decay time drawn (a faint
    // waveform's decay is noise).
    bool lifetime = true;
    std::optional<double> lifetimeCutoff;
    // "FTchkCluster": each point's class (a loaded classification) as a coloured strip beside the %RE track.
    bool classes = true;

    // Relative widths of the tracks on screen and page: the %RE track, then each secondary track.
    double signalWidth = 3.0;
    double secondaryWidth = 1.0;

    friend bool operator==(const PlotSettings&, const PlotSettings&) = default;
};

// One value of the key set by key name; nullopt or an empty text when the key is absent.
using SettingLookup = std::function<std::optional<std::string>(std::string_view key)>;

// Reads the set through lookup. An absent key or a value that does not convert leaves the default; numbers
// are read with "." as the separator, check boxes as integers, option buttons as "True"/"False".
PlotSettings plotSettingsFrom(const SettingLookup& lookup);
// The same from the program's dialogs (control names as the key set names them) ...
PlotSettings plotSettingsFromForms(FormSet& forms);
// ... and from a companion's (or presets file's) section, without any dialog.
PlotSettings plotSettingsFromIni(const std::string& path, const std::string& section = "Settings");

} // namespace zel::plot
