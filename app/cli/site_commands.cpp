// zel-cli summary, las and map: a site's deliverables from its logs. summary tabulates the borings (CSV or
// JSON, with the footage totals), las writes each log's curves as LAS 2.0, map the borings as GeoJSON.
#include "app/cli/command.h"
#include "app/jobs/batch.h"
#include "app/jobs/quiet_log.h"
#include "app/jobs/site_borings.h"
#include "app/jobs/site_jobs.h"

#include "analysis/waveform_fits.h"
#include "common/console_host.h"
#include "common/number_text.h"
#include "common/windows1252.h"
#include "settings/data_root.h"
#include "site/las_export.h"
#include "site/log_summary.h"
#include "site/site_model.h"

#include <nlohmann/json.hpp>

#include <filesystem>
#include <iostream>
#include <memory>
#include <sstream>

namespace zel::cli {

namespace {

// ---- summary

struct SummaryArgs {
    std::vector<std::string> inputs;
    double threshold = 1.0;
    std::string csv;
    std::string geojson;
    std::string kml;
    bool json = false;
    // The batch file utility's choices; unset: the options file's.
    std::optional<int> nameFormat;
    std::optional<bool> area, calloutMax, totals, footageByDate;
};

int runSummary(const SummaryArgs& a) {
    site::SummaryOptions options = jobs::fileUtilityOptions(optionsFilePath());
    if (a.nameFormat) options.nameFormat = *a.nameFormat;
    if (a.area) options.reArea = *a.area;
    if (a.calloutMax) options.calloutMax = *a.calloutMax;
    if (a.totals) options.totals = *a.totals;
    if (a.footageByDate) options.footageByDate = *a.footageByDate;
    std::ostringstream quiet;
    jobs::SiteSummary summary = jobs::summariseLogs(jobs::rawLogsOf(a.inputs), a.threshold,
                                                    options.calloutMax, a.json ? quiet : std::cerr);
    const int code = summary.code;
    const std::vector<site::LogSummary>& logs = summary.logs;
    std::string error;
    if (!a.csv.empty() && !jobs::writeWholeFile(a.csv, site::summaryCsv(logs, options), error)) {
        std::cerr << "zel-cli summary: " << error << '\n';
        return 1;
    }
    if (!a.geojson.empty() && !jobs::writeWholeFile(a.geojson, site::boringsGeoJson(logs), error)) {
        std::cerr << "zel-cli summary: " << error << '\n';
        return 1;
    }
    if (!a.kml.empty() && !jobs::writeWholeFile(a.kml, site::boringsKml(logs), error)) {
        std::cerr << "zel-cli summary: " << error << '\n';
        return 1;
    }
    const auto totals = site::footageTotals(logs);
    if (!a.json) {
        if (a.csv.empty()) std::cout << site::summaryCsv(logs, options);
        std::cout << "Footage: " << formatNumber(totals.totalFt, "#0.00") << " ft in " << totals.logs
                  << " logs\n";
        for (const auto& [day, ft] : totals.byDayFt)
            std::cout << "  " << day << ": " << formatNumber(ft, "#0.00") << " ft\n";
        return code;
    }
    nlohmann::ordered_json j;
    j["logs"] = nlohmann::json::array();
    const auto num = [](double v, const char* pattern) { return val(formatNumber(v, pattern)); };
    for (const auto& s : logs) {
        nlohmann::ordered_json o;
        o["name"] = windows1252ToUtf8(s.name);
        o["file"] = s.file;
        o["date"] = s.date;
        o["site"] = windows1252ToUtf8(s.siteName);
        o["client"] = windows1252ToUtf8(s.client);
        o["probe"] = windows1252ToUtf8(s.probe);
        o["lat"] = s.hasFix ? nlohmann::json(num(s.lat, "#0.000000")) : nlohmann::json(nullptr);
        o["lon"] = s.hasFix ? nlohmann::json(num(s.lon, "#0.000000")) : nlohmann::json(nullptr);
        if (s.utmZone > 0) {
            o["utm_zone"] = std::to_string(s.utmZone) + (s.utmNorth ? "N" : "S");
            o["easting"] = num(s.easting, "#0.0");
            o["northing"] = num(s.northing, "#0.0");
        }
        o["elevation_m"] = num(s.elevationM, "#0.0");
        o["unit"] = s.metric ? "m" : "ft";
        o["total_depth"] = num(s.totalDepth, "#0.000");
        o["footage"] = num(s.footage, "#0.000");
        o["points"] = s.points;
        o["max_pct_re"] = num(s.maxSignal, "#0.00");
        o["max_pct_re_depth"] = num(s.maxSignalDepth, "#0.000");
        o["re_area"] = num(s.reArea, "#0.0");
        o["above_threshold"] = nlohmann::json::array();
        for (const auto& r : s.above)
            o["above_threshold"].push_back({num(r.top, "#0.000"), num(r.bottom, "#0.000")});
        if (options.calloutMax) {
            o["callouts"] = nlohmann::json::array();
            for (const auto& m : s.callouts)
                o["callouts"].push_back(
                    {{"caption", windows1252ToUtf8(m.caption)},
                     {"top", num(m.top, "#0.000")},
                     {"bottom", num(m.bottom, "#0.000")},
                     {"max_pct_re", m.points ? nlohmann::json(num(m.maxSignal, "#0.00")) : nlohmann::json()},
                     {"max_pct_re_depth",
                      m.points ? nlohmann::json(num(m.maxSignalDepth, "#0.000")) : nlohmann::json()}});
        }
        j["logs"].push_back(o);
    }
    j["footage_ft"] = num(totals.totalFt, "#0.00");
    j["footage_by_day_ft"] = nlohmann::json::object();
    for (const auto& [day, ft] : totals.byDayFt)
        j["footage_by_day_ft"][day] = num(ft, "#0.00");
    std::cout << j.dump() << std::endl;
    return code;
}

// ---- las

struct LasArgs {
    std::vector<std::string> inputs;
    std::string to;
};

int runLas(const LasArgs& a) {
    return jobs::writeLasFiles(jobs::rawLogsOf(a.inputs), a.to, std::cout);
}

// ---- model

struct ModelArgs {
    std::vector<std::string> inputs;
    std::string csv, vtk, grid;
    site::GridOptions options;
};

int runModel(const ModelArgs& a) {
    if (a.csv.empty() && a.vtk.empty() && a.grid.empty()) {
        std::cerr << "zel-cli model: name at least one of --csv, --vtk and --grid\n";
        return 1;
    }
    const jobs::SiteBorings site = jobs::loadSiteBorings("model", a.inputs);
    const auto& borings = site.borings;
    int code = site.code;
    if (borings.empty()) {
        std::cerr << "zel-cli model: no located boring\n";
        return 1;
    }
    std::cout << "UTM zone " << site.zone() << ", " << borings.size() << " borings\n";
    std::string error;
    if (!jobs::writeModelFiles(borings, a.csv, a.vtk, a.grid, a.options, std::cout, error)) {
        std::cerr << "zel-cli model: " << error << '\n';
        return 1;
    }
    return code;
}

} // namespace

void addSiteCommands(CLI::App& app, CommandRunner& run) {
    auto s = std::make_shared<SummaryArgs>();
    auto* summary =
        app.add_subcommand("summary", "One row a log of a site (folders stand for their raw logs): "
                                      "position, depth, footage, maximum %RE; footage totals by day");
    summary->add_option("INPUT", s->inputs, "raw logs or folders of them")->required();
    summary->add_option("--threshold", s->threshold, "%RE at or above which a depth range is listed")
        ->capture_default_str();
    summary->add_option("--csv", s->csv, "Write the table as CSV to this file (else it goes to stdout)");
    summary->add_option("--geojson", s->geojson, "Write the borings as GeoJSON to this file");
    summary->add_option("--kml", s->kml, "Write the borings as KML (Google Earth) to this file");
    summary->add_flag("--json", s->json, "One JSON object on stdout: logs, footage_ft, footage_by_day_ft");
    summary
        ->add_option(
            "--name-format", s->nameFormat,
            "Name column: 0 the log's name, 1 its file name, 2 its path (default: the options file's "
            "optSummary_NameFormat)")
        ->check(CLI::Range(0, 2));
    summary->add_option("--area", s->area,
                        "RE area column, true/false (default: chkSummary_Area, else true)");
    summary->add_option("--callout-max", s->calloutMax,
                        "Each callout range's maximum %RE and depth, true/false (default: chkCalloutMax)");
    summary->add_option("--totals", s->totals,
                        "A last row of totals, true/false (default: chkSummary_Total)");
    summary->add_option("--footage-by-date", s->footageByDate,
                        "The footage of each day under the table, true/false (default: chkFootage_Date)");
    summary->callback([s, &run] { run = [s] { return runSummary(*s); }; });

    auto l = std::make_shared<LasArgs>();
    auto* las = app.add_subcommand("las", "Write each log's curves as LAS 2.0 (<name>.lif.las)");
    las->add_option("INPUT", l->inputs, "raw logs or folders of them")->required();
    las->add_option("--to", l->to, "folder for the LAS files (default: beside each raw log)")
        ->check(CLI::ExistingDirectory);
    las->callback([l, &run] { run = [l] { return runLas(*l); }; });

    auto m = std::make_shared<ModelArgs>();
    auto* model = app.add_subcommand(
        "model", "The site in 3D: every point of the located logs (CSV, VTK) and a gridded %RE volume (VTK)");
    model->add_option("INPUT", m->inputs, "raw logs or folders of them")->required();
    model->add_option("--csv", m->csv,
                      "Write the points as CSV (easting, northing, elevation, %RE, shares, K)");
    model->add_option("--vtk", m->vtk, "Write the points and borings as VTK polydata (ParaView)");
    model->add_option("--grid", m->grid, "Write the interpolated %RE volume as VTK structured points");
    model
        ->add_option("--cell", m->options.cellM,
                     "Horizontal cell of the volume, m (0: a fortieth of the site)")
        ->check(CLI::Range(0.0, 1e5));
    model->add_option("--layer", m->options.layerM, "Vertical cell of the volume, m")
        ->capture_default_str()
        ->check(CLI::Range(0.001, 1e3));
    model
        ->add_option("--radius", m->options.radiusM,
                     "Search radius, m (0: 1.5 times the largest distance between neighbouring borings)")
        ->check(CLI::Range(0.0, 1e6));
    model->add_option("--power", m->options.power, "Power of the inverse-distance weights")
        ->capture_default_str()
        ->check(CLI::Range(0.5, 6.0));
    model->callback([m, &run] { run = [m] { return runModel(*m); }; });
}

} // namespace zel::cli
