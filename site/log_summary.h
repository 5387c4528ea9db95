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
    float reArea = 0;              // pVs
    std::vector<DepthRange> above; // depth ranges where %RE stands at or above the threshold
};

LogSummary summarise(const cZEL_Data& log, const LogArrays& arrays, const std::string& file,
                     float thresholdPctRe);

// One header line and a line a log, comma-separated, texts quoted where they need it.
std::string summaryCsv(const std::vector<LogSummary>& logs);

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
