#include "site/log_summary.h"

#include "common/date_time.h"
#include "common/number_text.h"
#include "common/windows1252.h"

#include <GeographicLib/UTMUPS.hpp>
#include <nlohmann/json.hpp>

#include <cmath>

namespace zel::site {

namespace {

constexpr float kFeetPerMetre = 3.28084f;

std::string csvField(const std::string& text) {
    if (text.find_first_of(",\"\r\n") == std::string::npos) return text;
    std::string q = "\"";
    for (const char c : text)
        q += c == '"' ? std::string("\"\"") : std::string(1, c);
    return q + "\"";
}

// Plain JSON numbers of a fixed precision (no binary tails like 0.30000001).
double rounded(double v, const char* pattern) {
    return val(formatNumber(v, pattern));
}

} // namespace

LogSummary summarise(const cZEL_Data& log, const LogArrays& arrays, const std::string& file,
                     float threshold) {
    LogSummary s;
    s.name = log.File_Title_NoExt();
    s.file = file;
    s.date = formatDateTime(log.Time_Start(), "yyyy-mm-dd");
    s.siteName = log.Site();
    s.client = log.Client();
    s.job = log.JobNumber();
    s.operatorName = log.Operator();
    s.probe = log.mode();
    s.metric = log.Metric();
    s.points = arrays.points();
    s.reArea = log.RE_Area();
    s.lat = log.Latitude_Dec();
    s.lon = log.Longitude_Dec();
    s.hasFix = std::isfinite(s.lat) && std::isfinite(s.lon) && (s.lat != 0 || s.lon != 0) &&
               std::abs(s.lat) <= 90 && std::abs(s.lon) <= 180;
    s.elevationM = log.Altitude_M();
    if (s.hasFix) {
        try {
            int zone = 0;
            bool north = true;
            GeographicLib::UTMUPS::Forward(s.lat, s.lon, zone, north, s.easting, s.northing);
            s.utmZone = zone;
            s.utmNorth = north;
        } catch (const std::exception&) {
            s.utmZone = 0;
        }
    }
    const PointMatrix& c = arrays.columns;
    bool inside = false;
    for (int p = 0; p < s.points; ++p) {
        const float d = c(point_column::Depth, p);
        const float sig = c(point_column::Signal, p);
        if (p == 0 || d > s.totalDepth) s.totalDepth = d;
        if (p == 0 || sig > s.maxSignal) {
            s.maxSignal = sig;
            s.maxSignalDepth = d;
        }
        if (sig >= threshold && threshold > 0) {
            if (!inside) s.above.push_back({d, d});
            s.above.back().bottom = d;
            inside = true;
        } else {
            inside = false;
        }
    }
    if (s.points > 0) s.footage = s.totalDepth - std::min(c(point_column::Depth, 0), s.totalDepth);
    return s;
}

std::string summaryCsv(const std::vector<LogSummary>& logs) {
    std::string out =
        "Name,File,Date,Site,Client,Job,Operator,Probe,Latitude,Longitude,UTM zone,Easting,"
        "Northing,Elevation (m),Unit,Total depth,Footage,Points,Max %RE,Max %RE depth,RE area (pVs),"
        "Above threshold\r\n";
    for (const auto& s : logs) {
        std::string ranges;
        for (const auto& r : s.above)
            ranges += (ranges.empty() ? "" : "; ") + formatNumber(r.top, "#0.00") + "-" +
                      formatNumber(r.bottom, "#0.00");
        const std::string zone = s.utmZone > 0 ? std::to_string(s.utmZone) + (s.utmNorth ? "N" : "S") : "";
        const auto fix = [&](double v, const char* pattern) {
            return s.hasFix ? formatNumber(v, pattern) : "";
        };
        out += csvField(s.name) + ',' + csvField(s.file) + ',' + s.date + ',' + csvField(s.siteName) + ',' +
               csvField(s.client) + ',' + csvField(s.job) + ',' + csvField(s.operatorName) + ',' +
               csvField(s.probe) + ',' + fix(s.lat, "#0.000000") + ',' + fix(s.lon, "#0.000000") + ',' +
               zone + ',' + (s.utmZone > 0 ? formatNumber(s.easting, "#0.0") : "") + ',' +
               (s.utmZone > 0 ? formatNumber(s.northing, "#0.0") : "") + ',' + fix(s.elevationM, "#0.0") +
               ',' + (s.metric ? "m" : "ft") + ',' + formatNumber(s.totalDepth, "#0.00") + ',' +
               formatNumber(s.footage, "#0.00") + ',' + std::to_string(s.points) + ',' +
               formatNumber(s.maxSignal, "#0.00") + ',' + formatNumber(s.maxSignalDepth, "#0.00") + ',' +
               formatNumber(s.reArea, "#0.0") + ',' + csvField(ranges) + "\r\n";
    }
    return out;
}

FootageTotals footageTotals(const std::vector<LogSummary>& logs) {
    FootageTotals t;
    for (const auto& s : logs) {
        const double ft = s.metric ? s.footage * kFeetPerMetre : s.footage;
        t.byDayFt[s.date] += ft;
        t.totalFt += ft;
        ++t.logs;
    }
    return t;
}

std::string boringsGeoJson(const std::vector<LogSummary>& logs) {
    nlohmann::ordered_json fc;
    fc["type"] = "FeatureCollection";
    fc["features"] = nlohmann::json::array();
    for (const auto& s : logs) {
        if (!s.hasFix) continue;
        nlohmann::ordered_json f;
        f["type"] = "Feature";
        f["geometry"] = {{"type", "Point"},
                         {"coordinates", {rounded(s.lon, "#0.000000"), rounded(s.lat, "#0.000000")}}};
        // GeoJSON is UTF-8 (RFC 8259); the logs' texts are the files' 8-bit ones.
        f["properties"] = {{"name", windows1252ToUtf8(s.name)},
                           {"date", s.date},
                           {"site", windows1252ToUtf8(s.siteName)},
                           {"client", windows1252ToUtf8(s.client)},
                           {"probe", windows1252ToUtf8(s.probe)},
                           {"unit", s.metric ? "m" : "ft"},
                           {"total_depth", rounded(s.totalDepth, "#0.00")},
                           {"footage", rounded(s.footage, "#0.00")},
                           {"points", s.points},
                           {"max_pct_re", rounded(s.maxSignal, "#0.00")},
                           {"max_pct_re_depth", rounded(s.maxSignalDepth, "#0.00")},
                           {"elevation_m", rounded(s.elevationM, "#0.0")}};
        fc["features"].push_back(f);
    }
    return fc.dump(1);
}

namespace {

std::string xmlEscaped(const std::string& eightBit) {
    std::string out;
    for (char c : windows1252ToUtf8(eightBit)) {
        switch (c) {
        case '&': out += "&amp;"; break;
        case '<': out += "&lt;"; break;
        case '>': out += "&gt;"; break;
        case '"': out += "&quot;"; break;
        default: out += c;
        }
    }
    return out;
}

// The map's colour classes of maximum %RE, as KML's aabbggrr.
const char* kmlColour(float maxPctRe) {
    if (maxPctRe >= 50) return "ff0000ff"; // red
    if (maxPctRe >= 10) return "ff0080ff"; // orange
    if (maxPctRe >= 1) return "ff00ffff";  // yellow
    return "ff00c000";                     // green
}

} // namespace

std::string boringsKml(const std::vector<LogSummary>& logs) {
    std::string out =
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
        "<kml xmlns=\"http://www.opengis.net/kml/2.2\">\n<Document>\n<name>ZEL borings</name>\n";
    for (const char* c : {"ff0000ff", "ff0080ff", "ff00ffff", "ff00c000"})
        out += std::string("<Style id=\"re") + c + "\"><IconStyle><color>" + c +
               "</color></IconStyle></Style>\n";
    for (const auto& s : logs) {
        if (!s.hasFix) continue;
        const std::string unit = s.metric ? " m" : " ft";
        out += "<Placemark>\n<name>" + xmlEscaped(s.name) + "</name>\n<description>Max " +
               formatNumber(s.maxSignal, "#0.00") + " %RE at " + formatNumber(s.maxSignalDepth, "#0.00") +
               unit + "; total depth " + formatNumber(s.totalDepth, "#0.00") + unit + "; " + s.date +
               "</description>\n<styleUrl>#re" + kmlColour(s.maxSignal) + "</styleUrl>\n<ExtendedData>\n";
        const auto data = [&](const char* name, const std::string& value) {
            out += std::string("<Data name=\"") + name + "\"><value>" + value + "</value></Data>\n";
        };
        data("date", s.date);
        data("site", xmlEscaped(s.siteName));
        data("client", xmlEscaped(s.client));
        data("probe", xmlEscaped(s.probe));
        data("unit", s.metric ? "m" : "ft");
        data("total_depth", formatNumber(s.totalDepth, "#0.00"));
        data("max_pct_re", formatNumber(s.maxSignal, "#0.00"));
        data("max_pct_re_depth", formatNumber(s.maxSignalDepth, "#0.00"));
        data("elevation_m", formatNumber(s.elevationM, "#0.0"));
        out += "</ExtendedData>\n<Point><coordinates>" + formatNumber(s.lon, "#0.000000") + "," +
               formatNumber(s.lat, "#0.000000") + ",0</coordinates></Point>\n</Placemark>\n";
    }
    return out + "</Document>\n</kml>\n";
}

} // namespace zel::site
