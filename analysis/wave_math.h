#pragma once
// Waveform mathematics on a log: the mean waveform of the points in a depth range or of every N points,
// the difference of two of them (or of one and the background), the log's stored baseline taken off, and
// the normalisation to the RE as %RE is normalised; with the axes' and curves' own labels and units, and
// the text file they are exported to.
//
// Normalised to the RE, a sample is its share of the RE's area in percent: sample (mV) x time step (s) x
// 1e9 (pVs) x 100 / RE area (pVs). Over the channels' samples these add up to the point's %RE in the
// standard layout (no channel gains), so a normalised curve reads as "%RE a sample".
//
// The export ("Waveform mathematics text") is 8-bit Windows-1252 text, lines ended by CR LF, fields by tabs,
// numbers with "." whatever the locale:
//
//   # ZEL waveform mathematics
//   # Log<TAB><log name>
//   # Operation<TAB><what was computed, e.g. "avg 1.5-2.0 ft; baseline; normalised">
//   # Y<TAB><y label><TAB><y unit>
//   <x label> (<x unit>)<TAB><legend of curve 1><TAB><legend of curve 2> ...
//   <time><TAB><value of curve 1><TAB> ...          one line a sample
//
// Times are in ns ("#0.000"), values "#0.0000". The readers skip the "#" lines and take the headings line
// and the numbers.

#include "log/log_arrays.h"
#include "log/log_data.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace zel::wave_math {

// One waveform made from the log, in mV (or normalised) a sample.
struct Curve {
    std::string legend;
    std::vector<float> samples;
    int points = 0;          // points averaged; 0 for the background or a difference
    double firstDepth = 0.0; // depths of the shallowest and deepest point averaged
    double lastDepth = 0.0;
};

// What a curve is made of: the points of a depth range (the nearest point for a single depth), or the
// log's background.
struct Selection {
    enum class Kind { Range, Nearest, Background } kind = Kind::Range;
    double from = 0.0; // log unit; from <= to
    double to = 0.0;
};

// "1.5-2.0" (a range; either order), "1.5" (the point nearest that depth) or "bg" (the background).
std::optional<Selection> parseSelection(std::string_view text);

// The mean waveform of the selection. Empty, with the reason in error, when no point lies in the range, the
// log has no points, or (the background) the log has none of the waveforms' length.
std::optional<Curve> select(const LogArrays& arrays, const Selection& s, const std::string& depthUnit,
                            std::string& error);
// The mean of every n consecutive points (the last group may be shorter), in depth order of the log.
std::vector<Curve> averageEvery(const LogArrays& arrays, int n, const std::string& depthUnit);
// a - b, sample by sample; the legend says so. Empty when their lengths differ.
std::optional<Curve> difference(const Curve& a, const Curve& b, std::string& error);
// Takes the log's stored baseline off every sample. False, with the reason, when the log has none or it
// has another length than the curve.
bool subtractBaseline(Curve& c, const std::vector<float>& baseline, std::string& error);
// Normalises to the RE (see above). False when the RE area or the time step is not positive.
bool normalise(Curve& c, double reArea, double deltaX, std::string& error);

// The axes' titles and the first two curves' legends; the custom ones (the wave-mathematics page's "Custom
// labels and units") replace the defaults where they are not empty.
struct Labels {
    std::string xLabel = "Time";
    std::string xUnit = "ns";
    std::string yLabel = "Signal";
    std::string yUnit = "mV";
    std::vector<std::string> legends; // replace the curves' own legends, in order

    void applyCustom(const std::string& xLabelText, const std::string& xUnitText,
                     const std::string& yLabelText, const std::string& yUnitText);
};
// The normalised curves' default value title.
inline constexpr const char* kNormalisedUnit = "%RE a sample";

std::string exportText(const std::vector<Curve>& curves, double deltaX, const Labels& labels,
                       const std::string& logName, const std::string& operation);

// A file of exportText read back: the times (ns), the headings and each curve's values.
struct Table {
    std::string xHeading;
    std::vector<std::string> legends;
    std::vector<double> timeNs;
    std::vector<std::vector<double>> values; // one vector a curve
    std::string yLabel, yUnit, operation, logName;
};
std::optional<Table> readText(std::string_view text, std::string& error);

} // namespace zel::wave_math
