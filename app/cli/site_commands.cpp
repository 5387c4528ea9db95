// zel-cli summary, las and map: a site's deliverables from its logs. summary tabulates the borings (CSV or
// JSON, with the footage totals), las writes each log's curves as LAS 2.0, map the borings as GeoJSON.
#include "app/cli/batch.h"
#include "app/cli/command.h"

#include "analysis/waveform_fits.h"
#include "common/clock.h"
#include "common/console_host.h"
#include "common/number_text.h"
#include "log/load_file.h"
#include "log/path_text.h"
#include "log/raw_log_format.h"
#include "site/las_export.h"
#include "site/log_summary.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <memory>
#include <sstream>

namespace zel::cli {

namespace {

namespace fs = std::filesystem;

struct Loaded {
    SystemClock clock;
    cZEL_Data log;
    LogArrays arrays;
    RawLogContext ctx;
    bool conductivity = false;
    explicit Loaded(Host& host) : log(host, clock) {}
};

std::unique_ptr<Loaded> load(const std::string& file, Host& host) {
    auto l = std::make_unique<Loaded>(host);
    LoadSession session;
    session.family = familyOfPath(file);
    LoadRequest request;
    request.path = file;
    request.quiet = true;
    const LoadResult r = Load_File(request, session, {l->log, l->arrays, l->ctx}, host);
    if (r.outcome != LoadOutcome::Loaded) return nullptr;
    l->conductivity = l->ctx.conductivity;
    return l;
}

// The raw logs named, a folder standing for the raw logs in it (sorted by name).
std::vector<std::string> rawLogs(const std::vector<std::string>& inputs) {
    std::vector<std::string> out;
    for (const auto& in : inputs) {
        std::error_code ec;
        if (!fs::is_directory(in, ec)) {
            out.push_back(in);
            continue;
        }
        std::vector<std::string> found;
        for (const auto& e : fs::directory_iterator(in, ec))
            if (e.is_regular_file() && endsWithNoCase(e.path().filename().string(), ".raw.bin"))
                found.push_back(e.path().string());
        std::sort(found.begin(), found.end());
        out.insert(out.end(), found.begin(), found.end());
    }
    return out;
}

std::optional<std::string> readText(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    if (!in) return std::nullopt;
    std::ostringstream s;
    s << in.rdbuf();
    return s.str();
}

bool writeText(const std::string& path, const std::string& text, std::string& error) {
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out << text;
    out.flush();
    if (!out) error = "cannot write " + path;
    return static_cast<bool>(out);
}

// ---- summary

struct SummaryArgs {
    std::vector<std::string> inputs;
    double threshold = 1.0;
    std::string csv;
    std::string geojson;
    bool json = false;
};

int runSummary(const SummaryArgs& a) {
    ConsoleHost host(std::cerr);
    std::vector<site::LogSummary> logs;
    std::ostringstream quiet;
    const int code = runBatch(
        "summary", rawLogs(a.inputs), a.json ? quiet : std::cerr,
        [&](const std::string& file, std::string& text) {
            const auto l = load(file, host);
            if (!l) return false;
            logs.push_back(site::summarise(l->log, l->arrays, file, static_cast<float>(a.threshold)));
            text = "max " + formatNumber(logs.back().maxSignal, "#0.00") + " %RE";
            return true;
        });
    std::string error;
    if (!a.csv.empty() && !writeText(a.csv, site::summaryCsv(logs), error)) {
        std::cerr << "zel-cli summary: " << error << '\n';
        return 1;
    }
    if (!a.geojson.empty() && !writeText(a.geojson, site::boringsGeoJson(logs), error)) {
        std::cerr << "zel-cli summary: " << error << '\n';
        return 1;
    }
    const auto totals = site::footageTotals(logs);
    if (!a.json) {
        if (a.csv.empty()) std::cout << site::summaryCsv(logs);
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
        o["name"] = s.name;
        o["file"] = s.file;
        o["date"] = s.date;
        o["site"] = s.siteName;
        o["client"] = s.client;
        o["probe"] = s.probe;
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
    ConsoleHost host(std::cerr);
    return runBatch("las", rawLogs(a.inputs), std::cout, [&](const std::string& file, std::string& text) {
        const auto l = load(file, host);
        if (!l) return false;
        // The decay times and basis shares go in when the log has them beside it.
        std::string ignored;
        std::optional<analysis::LogLifetimes> tau;
        std::optional<analysis::LogNnls> nnls;
        if (const auto t = readText(analysis::lifetimePath(file)))
            tau = analysis::parseLifetimeText(*t, ignored);
        if (const auto t = readText(analysis::nnlsPath(file))) nnls = analysis::parseNnlsText(*t, ignored);
        site::LasExtras extras;
        extras.conductivity = l->conductivity;
        extras.conductivityColumn =
            l->ctx.birchMode ? point_column::ConductivityBirch : point_column::Conductivity;
        extras.lifetimes = tau ? &*tau : nullptr;
        extras.nnls = nnls ? &*nnls : nullptr;
        std::string path = site::lasPath(file);
        if (!a.to.empty()) path = (fs::path(a.to) / fs::path(path).filename()).string();
        if (!writeText(path, site::lasText(l->log, l->arrays, extras), text)) return false;
        text = path;
        return true;
    });
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
    summary->add_flag("--json", s->json, "One JSON object on stdout: logs, footage_ft, footage_by_day_ft");
    summary->callback([s, &run] { run = [s] { return runSummary(*s); }; });

    auto l = std::make_shared<LasArgs>();
    auto* las = app.add_subcommand("las", "Write each log's curves as LAS 2.0 (<name>.lif.las)");
    las->add_option("INPUT", l->inputs, "raw logs or folders of them")->required();
    las->add_option("--to", l->to, "folder for the LAS files (default: beside each raw log)")
        ->check(CLI::ExistingDirectory);
    las->callback([l, &run] { run = [l] { return runLas(*l); }; });
}

} // namespace zel::cli
