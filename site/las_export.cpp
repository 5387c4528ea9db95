#include "site/las_export.h"

#include "common/date_time.h"
#include "common/number_text.h"
#include "log/path_text.h"

#include <cmath>
#include <cstdio>

namespace zel::site {

namespace {

struct Curve {
    std::string mnemonic, unit, description;
    std::vector<double> values; // one a point; kLasNull where there is none
};

// "MNEM.UNIT    value    : description", the columns aligned as people expect, with at least four blanks
// either side of the value: some readers find the value only between such runs of blanks.
std::string headerLine(const std::string& mnemonic, const std::string& unit, const std::string& value,
                       const std::string& description) {
    char buf[512];
    std::snprintf(buf, sizeof buf, " %-10s    %-24s    : %s\r\n", (mnemonic + "." + unit).c_str(),
                  value.c_str(), description.c_str());
    return buf;
}

// Header values may not hold the colon that ends them, nor line ends.
std::string headerValue(std::string text) {
    for (char& c : text)
        if (c == ':' || c == '\r' || c == '\n' || c == '\t') c = ' ';
    return text;
}

void appendNumber(std::string& out, double v) {
    appendFixed(out, std::isfinite(v) ? v : kLasNull, 4);
}

std::string number(double v) {
    std::string out;
    appendNumber(out, v);
    return out;
}

} // namespace

std::string lasText(const cZEL_Data& log, const LogArrays& arrays, const LasExtras& extras) {
    const bool metric = log.Metric();
    const std::string depthUnit = metric ? "M" : "F";
    const PointMatrix& c = arrays.columns;
    const int n = arrays.points();
    std::vector<Curve> curves;
    const auto column = [&](int col) {
        std::vector<double> v;
        for (int p = 0; p < n; ++p)
            v.push_back(col < c.width() ? c(col, p) : kLasNull);
        return v;
    };
    curves.push_back({"DEPT", depthUnit, "DEPTH", column(point_column::Depth)});
    curves.push_back(
        {"PRE", "%", "FLUORESCENCE, PERCENT OF THE REFERENCE EMITTER", column(point_column::Signal)});
    for (int ch = 0; ch < 4; ++ch) {
        Curve share{"CH" + std::to_string(ch + 1),
                    "%",
                    "CHANNEL " + std::to_string(ch + 1) + " SHARE OF THE SIGNAL",
                    {}};
        for (int p = 0; p < n; ++p) {
            double total = 0;
            for (int k = 0; k < 4; ++k)
                total += c(point_column::Ch1 + k, p);
            share.values.push_back(total > 0 ? 100.0 * c(point_column::Ch1 + ch, p) / total : kLasNull);
        }
        curves.push_back(std::move(share));
    }
    curves.push_back({"RATE", metric ? "CM/S" : "IN/S", "PUSH RATE", column(point_column::Rate)});
    if (extras.conductivity)
        curves.push_back({"COND", "MS/M", "CONDUCTIVITY", column(extras.conductivityColumn)});
    if (log.PresFlow() && arrays.presFlow.points() == n) {
        const auto pf = [&](int col) {
            std::vector<double> v;
            for (int p = 0; p < n; ++p)
                v.push_back(arrays.presFlow(col, p));
            return v;
        };
        curves.push_back({"PUP", "PSI", "UPWARD PRESSURE", pf(presflow_column::PressureUp)});
        curves.push_back({"PDN", "PSI", "DOWNWARD PRESSURE", pf(presflow_column::PressureDown)});
        curves.push_back({"FLOW", "ML/MIN", "UPWARD FLOW", pf(presflow_column::FlowUp)});
        curves.push_back({"KEST", metric ? "M/DAY" : "FT/DAY", "ESTIMATED HYDRAULIC CONDUCTIVITY",
                          pf(presflow_column::KEstimate)});
    }
    if (extras.lifetimes && static_cast<int>(extras.lifetimes->points.size()) == n) {
        for (int ch = 0; ch < extras.lifetimes->channels; ++ch) {
            Curve tau{"TAU" + std::to_string(ch + 1),
                      "NS",
                      "CHANNEL " + std::to_string(ch + 1) + " DECAY TIME",
                      {}};
            for (const auto& p : extras.lifetimes->points) {
                const auto& f = p[static_cast<std::size_t>(ch)];
                tau.values.push_back(f.weak ? kLasNull : f.tauNs);
            }
            curves.push_back(std::move(tau));
        }
    }
    if (extras.nnls && static_cast<int>(extras.nnls->depth.size()) == n) {
        for (std::size_t b = 0; b < extras.nnls->names.size(); ++b) {
            Curve share{"BAS" + std::to_string(b + 1),
                        "%",
                        "SHARE OF BASIS " + headerValue(extras.nnls->names[b]),
                        {}};
            for (const auto& p : extras.nnls->shares)
                share.values.push_back(100.0 * p[b]);
            curves.push_back(std::move(share));
        }
    }

    const std::string start = n > 0 ? number(curves[0].values.front()) : number(kLasNull);
    const std::string stop = n > 0 ? number(curves[0].values.back()) : number(kLasNull);
    std::string out = "~Version Information\r\n";
    out += headerLine("VERS", "", "2.0", "CWLS LOG ASCII STANDARD - VERSION 2.0");
    out += headerLine("WRAP", "", "NO", "ONE LINE PER DEPTH STEP");
    out += "~Well Information\r\n";
    out += "#MNEM.UNIT       DATA                            : DESCRIPTION\r\n";
    out += headerLine("STRT", depthUnit, start, "START DEPTH");
    out += headerLine("STOP", depthUnit, stop, "STOP DEPTH");
    out += headerLine("STEP", depthUnit, number(0.0), "STEP (0: IRREGULAR DEPTH STEPS)");
    out += headerLine("NULL", "", number(kLasNull), "NULL VALUE");
    out += headerLine("COMP", "", headerValue(log.Client()), "COMPANY");
    out += headerLine("WELL", "", headerValue(log.File_Title_NoExt()), "WELL");
    out += headerLine("FLD", "", headerValue(log.Site()), "FIELD");
    out += headerLine("LOC", "", headerValue(log.Latitude() + " " + log.Longitude()), "LOCATION");
    out += headerLine("SRVC", "", headerValue(log.Operator()), "SERVICE COMPANY");
    out += headerLine("DATE", "", formatDateTime(log.Time_Start(), "yyyy-mm-dd hh:nn:ss"), "LOG DATE");
    out += headerLine("UWI", "", headerValue(log.JobNumber()), "UNIQUE WELL ID");
    out += headerLine("LATI", "DEG", formatNumber(log.Latitude_Dec(), "#0.000000"), "LATITUDE (WGS-84)");
    out += headerLine("LONG", "DEG", formatNumber(log.Longitude_Dec(), "#0.000000"), "LONGITUDE (WGS-84)");
    out += "~Curve Information\r\n";
    out += "#MNEM.UNIT       API CODE                        : CURVE DESCRIPTION\r\n";
    for (const auto& cv : curves)
        out += headerLine(cv.mnemonic, cv.unit, "", cv.description);
    out += "~Parameter Information\r\n";
    out += headerLine("PROB", "", headerValue(log.mode()), "PROBE");
    out += headerLine("REAR", "PVS", number(log.RE_Area()), "RE AREA");
    out += "~ASCII ";
    for (const auto& cv : curves)
        out += cv.mnemonic + " ";
    out += "\r\n";
    // Each value right-aligned in 11 places, a blank between them.
    out.reserve(out.size() + static_cast<std::size_t>(n) * (curves.size() * 12 + 2));
    std::string v;
    for (int p = 0; p < n; ++p) {
        for (std::size_t i = 0; i < curves.size(); ++i) {
            v.clear();
            appendNumber(v, curves[i].values[static_cast<std::size_t>(p)]);
            if (i) out += ' ';
            if (v.size() < 11) out.append(11 - v.size(), ' ');
            out += v;
        }
        out += "\r\n";
    }
    return out;
}

std::string lasPath(const std::string& rawLogPath) {
    return replaceEndingNoCase(rawLogPath, ".raw.bin", ".las");
}

} // namespace zel::site
