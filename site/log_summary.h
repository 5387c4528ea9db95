#pragma once
// What a consultant reports of each boring of a site: one summary a log (identification, position, depth,
// footage, maximum %RE and where the signal stands above a threshold), the footage totals a crew bills by
// day, and the site's borings as GeoJSON for a GIS.

#include "log/log_arrays.h"
#include "log/log_data.h"

#include <map>
#include <string>
#include <vector>

namespace zel::site {

struct DepthRange {
    float top = 0, bottom = 0;
};

// The maximum %RE within one of the log's callout ranges.
struct CalloutMax {
    std::string caption;
    float top = 0, bottom = 0;
    float maxSignal = 0, maxSignalDepth = 0;
    int points = 0; // points within the range; 0: no maximum
};

struct LogSummary {
    std::string name; // the log's title without extension
    std::string file;
    std::string date; // yyyy-mm-dd of the push's start
    std::string siteName, client, job, operatorName, probe;
    bool hasFix = false;
    double lat = 0, lon = 0;
    int utmZone = 0;
    bool utmNorth = true;
    double easting = 0, northing = 0;
    double elevationM = 0;
    bool metric = false;  // depths in metres
    float totalDepth = 0; // the deepest point
    float footage = 0;    // from the first point to the deepest, what was pushed and logged
    int points = 0;
    float maxSignal = 0; // %RE
    float maxSignalDepth = 0;
    float reArea = 0;                 // pVs
    std::vector<DepthRange> above;    // depth ranges where %RE stands at or above the threshold
    std::vector<CalloutMax> callouts; // the log's callout ranges in use, by slot
};

// The batch file utility's choices (the options file's "FileUtilities" section).
struct SummaryOptions {
    int nameFormat = 0;         // "optSummary_NameFormat": 0 the log's name, 1 its file name, 2 its path
    bool reArea = true;         // "chkSummary_Area": the RE area column
    bool calloutMax = false;    // "chkCalloutMax": each callout range's maximum %RE and its depth
    bool totals = false;        // "chkSummary_Total": a last row of totals
    bool footageByDate = false; // "chkFootage_Date": the footage of each day under the table
    int pageName = 0;           // "optBatchJPGName": 0 the log's name, 1 the push's date and the name
};

// The callout ranges are the log's own callout slots (a loaded companion scheme fills them); a slot whose
// bottom is not below its top is not in use.
LogSummary summarise(const cZEL_Data& log, const LogArrays& arrays, const std::string& file,
                     float thresholdPctRe);

// The log's name in the table as nameFormat asks: "B1", "B1.lif.raw.bin" or the path as given.
std::string summaryName(const LogSummary& log, int nameFormat);
// A batch page's file name without its extension: "B1", or "2026-11-24_B1" by the push's date.
std::string pageBaseName(const std::string& logName, const std::string& date, int pageName);

// One header line and a line a log, comma-separated, texts quoted where they need it; the options add or
// leave out columns and rows.
std::string summaryCsv(const std::vector<LogSummary>& logs, const SummaryOptions& options = {});

struct FootageTotals {
    std::map<std::string, double> byDayFt; // date -> feet
    double totalFt = 0;
    int logs = 0;
};
FootageTotals footageTotals(const std::vector<LogSummary>& logs);

// RFC 7946: a FeatureCollection of Points, longitude first, six decimals; logs without a fix are left out.
std::string boringsGeoJson(const std::vector<LogSummary>& logs);
// KML 2.2 for Google Earth and GIS: one placemark a located boring, coloured by its maximum %RE (green below
// 1, yellow below 10, orange below 50, red), the summary values as ExtendedData. UTF-8, as XML expects.
std::string boringsKml(const std::vector<LogSummary>& logs);

} // namespace zel::site
