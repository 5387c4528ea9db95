#include "site/log_summary.h"

#include "common/date_time.h"
#include "common/number_text.h"
#include "common/windows1252.h"

#include <GeographicLib/UTMUPS.hpp>
#include <nlohmann/json.hpp>

#include <algorithm>
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

// The rows under the table put their values in the columns of the same meaning.
constexpr int kDateColumn = 2, kUnitColumn = 14;
std::string row(const std::vector<std::pair<int, std::string>>& cells) {
    std::string out;
    int at = 0;
    for (const auto& [column, text] : cells) {
        for (; at < column; ++at)
            out += ',';
        out += csvField(text);
    }
    return out + "\r\n";
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
    for (int slot = 0; slot < cZEL_Data::kCalloutSlots; ++slot) {
        CalloutMax m;
        m.top = log.Callout_Range(slot, 0);
        m.bottom = log.Callout_Range(slot, 1);
        if (!(m.bottom > m.top)) continue;
        m.caption = log.Callout_Caption(slot);
        for (int p = 0; p < s.points; ++p) {
            const float d = c(point_column::Depth, p);
            const float sig = c(point_column::Signal, p);
            if (d < m.top || d > m.bottom) continue;
            if (m.points++ == 0 || sig > m.maxSignal) {
                m.maxSignal = sig;
                m.maxSignalDepth = d;
            }
        }
        s.callouts.push_back(std::move(m));
    }
    return s;
}

std::string summaryName(const LogSummary& s, int nameFormat) {
    if (nameFormat == 1) {
        const std::size_t slash = s.file.find_last_of("/\\");
        return slash == std::string::npos ? s.file : s.file.substr(slash + 1);
    }
    if (nameFormat == 2) return s.file;
    return s.name;
}

std::string pageBaseName(const std::string& logName, const std::string& date, int pageName) {
    return pageName == 1 && !date.empty() ? date + "_" + logName : logName;
}

std::string summaryCsv(const std::vector<LogSummary>& logs, const SummaryOptions& o) {
    std::size_t callouts = 0;
    if (o.calloutMax)
        for (const auto& s : logs)
            callouts = std::max(callouts, s.callouts.size());
    std::string out = "Name,File,Date,Site,Client,Job,Operator,Probe,Latitude,Longitude,UTM zone,Easting,"
                      "Northing,Elevation (m),Unit,Total depth,Footage,Points,Max %RE,Max %RE depth,";
    if (o.reArea) out += "RE area (pVs),";
    out += "Above threshold";
    for (std::size_t i = 1; i <= callouts; ++i) {
        const std::string n = std::to_string(i);
        out += ",Callout " + n + ",Callout " + n + " max %RE,Callout " + n + " max %RE depth";
    }
    out += "\r\n";
    for (const auto& s : logs) {
        std::string ranges;
        for (const auto& r : s.above)
            ranges += (ranges.empty() ? "" : "; ") + formatNumber(r.top, "#0.00") + "-" +
                      formatNumber(r.bottom, "#0.00");
        const std::string zone = s.utmZone > 0 ? std::to_string(s.utmZone) + (s.utmNorth ? "N" : "S") : "";
        const auto fix = [&](double v, const char* pattern) {
            return s.hasFix ? formatNumber(v, pattern) : "";
        };
        out += csvField(summaryName(s, o.nameFormat)) + ',' + csvField(s.file) + ',' + s.date + ',' +
               csvField(s.siteName) + ',' + csvField(s.client) + ',' + csvField(s.job) + ',' +
               csvField(s.operatorName) + ',' + csvField(s.probe) + ',' + fix(s.lat, "#0.000000") + ',' +
               fix(s.lon, "#0.000000") + ',' + zone + ',' +
               (s.utmZone > 0 ? formatNumber(s.easting, "#0.0") : "") + ',' +
               (s.utmZone > 0 ? formatNumber(s.northing, "#0.0") : "") + ',' + fix(s.elevationM, "#0.0") +
               ',' + (s.metric ? "m" : "ft") + ',' + formatNumber(s.totalDepth, "#0.00") + ',' +
               formatNumber(s.footage, "#0.00") + ',' + std::to_string(s.points) + ',' +
               formatNumber(s.maxSignal, "#0.00") + ',' + formatNumber(s.maxSignalDepth, "#0.00") + ',';
        if (o.reArea) out += formatNumber(s.reArea, "#0.0") + ',';
        out += csvField(ranges);
        for (std::size_t i = 0; i < callouts; ++i) {
            if (i >= s.callouts.size()) {
                out += ",,,";
                continue;
            }
            const CalloutMax& m = s.callouts[i];
            out += ',' + csvField(m.caption) + ',' + (m.points ? formatNumber(m.maxSignal, "#0.00") : "") +
                   ',' + (m.points ? formatNumber(m.maxSignalDepth, "#0.00") : "");
        }
        out += "\r\n";
    }
    const FootageTotals t = footageTotals(logs);
    if (o.totals) {
        // Footage in feet whatever each log's unit, as the crew bills it; the deepest and brightest of all.
        int points = 0;
        float deepestFt = 0, maxSignal = 0;
        for (const auto& s : logs) {
            points += s.points;
            deepestFt = std::max(deepestFt, s.metric ? s.totalDepth * kFeetPerMetre : s.totalDepth);
            maxSignal = std::max(maxSignal, s.maxSignal);
        }
        out += row({{0, "Total (" + std::to_string(t.logs) + " logs)"},
                    {kUnitColumn, "ft"},
                    {kUnitColumn + 1, formatNumber(deepestFt, "#0.00")},
                    {kUnitColumn + 2, formatNumber(t.totalFt, "#0.00")},
                    {kUnitColumn + 3, std::to_string(points)},
                    {kUnitColumn + 4, formatNumber(maxSignal, "#0.00")}});
    }
    if (o.footageByDate)
        for (const auto& [day, ft] : t.byDayFt)
            out += row({{0, "Footage " + day},
                        {kDateColumn, day},
                        {kUnitColumn, "ft"},
                        {kUnitColumn + 2, formatNumber(ft, "#0.00")}});
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
