// zel-cli cut, stitch and gps: mending a site's logs in the office. cut and stitch write a new raw log (the
// originals stay as they are); gps writes surveyed positions into logs pushed without a fix.
#include "app/cli/command.h"
#include "app/jobs/batch.h"
#include "app/jobs/quiet_log.h"

#include "common/console_host.h"
#include "common/number_text.h"
#include "log/log_file_names.h"
#include "log/path_text.h"
#include "log/raw_log_writer.h"
#include "site/gps_import.h"
#include "site/log_edit.h"

#include <filesystem>
#include <iostream>
#include <memory>

namespace zel::cli {

namespace {

namespace fs = std::filesystem;

int fail(const char* command, const std::string& why) {
    std::cerr << "zel-cli " << command << ": " << why << '\n';
    return 1;
}

// The new log's path with its family's extension; refused when a log of that name exists, so an edit never
// replaces a log (the originals least of all).
std::optional<std::string> newLogPath(const std::string& out, const RawLogContext& ctx, std::string& error) {
    const std::string path = withRawLogExtension(out, ctx.family);
    std::error_code ec;
    if (fs::exists(path, ec)) {
        error = path + " exists; choose another name";
        return std::nullopt;
    }
    return path;
}

// The log, then its plot companion (callouts, plot settings) copied beside it when the source has one.
int saveEdited(const char* command, jobs::QuietLog& l, const std::string& path,
               const std::string& companionOf, ConsoleHost& host) {
    l.log.File_Title(fs::path(path).filename().string());
    l.log.File_FullPath(path);
    const RawLogSaveResult saved = SaveRawLog(path, l.log, l.arrays, l.ctx, host);
    if (!saved.ok) return fail(command, "the new log could not be written");
    std::string error;
    const std::string from = plotSettingsPath(companionOf), to = plotSettingsPath(saved.path);
    std::error_code ec;
    if (const auto bytes = fs::exists(from, ec) ? jobs::readWholeFile(from, error) : std::nullopt;
        bytes && !to.empty() && !jobs::writeWholeFile(to, *bytes, error))
        std::cerr << "zel-cli " << command << ": " << error << '\n';
    std::cout << saved.path << ": " << l.log.DataPoints() + 1 << " points, "
              << formatNumber(l.arrays.columns.at(point_column::Depth, 0).value_or(0.0f), "#0.000") << " to "
              << formatNumber(l.arrays.columns.at(point_column::Depth, l.arrays.points() - 1).value_or(0.0f),
                              "#0.000")
              << (l.log.Metric() ? " m" : " ft") << ", max " << formatNumber(l.log.Signal_MaxValue(), "#0.00")
              << " %RE\n";
    return 0;
}

// ---- cut

struct CutArgs {
    std::string input, out;
    double top = 0, bottom = 0;
};

int runCut(const CutArgs& a) {
    ConsoleHost host(std::cerr);
    auto l = jobs::loadQuietly(a.input, host);
    if (!l) return fail("cut", a.input + " did not load");
    std::string error;
    const auto path = newLogPath(a.out, l->ctx, error);
    if (!path) return fail("cut", error);
    if (!site::cutLog(l->log, l->arrays, static_cast<float>(a.top), static_cast<float>(a.bottom), error))
        return fail("cut", a.input + ": " + error);
    return saveEdited("cut", *l, *path, a.input, host);
}

// ---- stitch

struct StitchArgs {
    std::string upper, lower, out;
};

int runStitch(const StitchArgs& a) {
    ConsoleHost host(std::cerr);
    auto upper = jobs::loadQuietly(a.upper, host);
    if (!upper) return fail("stitch", a.upper + " did not load");
    const auto lower = jobs::loadQuietly(a.lower, host);
    if (!lower) return fail("stitch", a.lower + " did not load");
    std::string error;
    const auto path = newLogPath(a.out, upper->ctx, error);
    if (!path) return fail("stitch", error);
    if (!site::stitchLogs(upper->log, upper->arrays, upper->ctx, lower->log, lower->arrays, lower->ctx,
                          error))
        return fail("stitch", "cannot join " + a.lower + " below " + a.upper + ": " + error);
    return saveEdited("stitch", *upper, *path, a.upper, host);
}

// ---- gps

struct GpsArgs {
    std::string positions;
    std::vector<std::string> inputs;
    bool overwrite = false;
};

bool hasFix(const cZEL_Data& log) {
    return log.Latitude_Dec() != 0.0 || log.Longitude_Dec() != 0.0;
}

int runGps(const GpsArgs& a) {
    ConsoleHost host(std::cerr);
    std::string error;
    const auto text = jobs::readWholeFile(a.positions, error);
    if (!text) return fail("gps", error);
    const bool gpx = endsWithNoCase(a.positions, ".gpx");
    const auto positions =
        gpx ? site::parsePositionsGpx(*text, error) : site::parsePositionsCsv(*text, error);
    if (!positions) return fail("gps", a.positions + ": " + error);
    return jobs::runBatch(
        "gps", jobs::rawLogsOf(a.inputs), std::cout, [&](const std::string& file, std::string& out) {
            auto l = jobs::loadQuietly(file, host);
            if (!l) return false;
            const std::string name = l->log.File_Title_NoExt();
            const auto* p = site::findPosition(*positions, name);
            if (!p) {
                out = "no position named " + name + " (left as it was)";
                return true;
            }
            if (hasFix(l->log) && !a.overwrite) {
                out = "has a GPS fix (left as it was; --overwrite replaces it)";
                return true;
            }
            site::applyPosition(l->log, *p);
            const auto bytes = jobs::readWholeFile(file, out);
            if (!bytes) return false;
            const std::string text = rawLogText(l->log, l->arrays, l->ctx);
            const auto edited =
                site::replaceSection(*bytes, !l->ctx.hdBoardMode, "GPS", site::sectionOf(text, "GPS"), out);
            if (!edited || !jobs::writeWholeFile(file, *edited, out)) return false;
            out = formatNumber(p->lat, "#0.000000") + ", " + formatNumber(p->lon, "#0.000000");
            return true;
        });
}

} // namespace

void addLogEditCommands(CLI::App& app, CommandRunner& run) {
    auto c = std::make_shared<CutArgs>();
    auto* cut = app.add_subcommand("cut", "Write the part of a log between two depths as a new raw log");
    cut->add_option("INPUT", c->input, "raw log")->required()->check(CLI::ExistingFile);
    cut->add_option("--top", c->top, "shallowest depth kept (the log's unit)")->required();
    cut->add_option("--bottom", c->bottom, "deepest depth kept (the log's unit)")->required();
    cut->add_option("--out", c->out, "the new log (must not exist)")->required();
    cut->callback([c, &run] { run = [c] { return runCut(*c); }; });

    auto s = std::make_shared<StitchArgs>();
    auto* stitch = app.add_subcommand(
        "stitch", "Join the log of a push resumed after a refusal below the first log of the boring");
    stitch->add_option("UPPER", s->upper, "the first log of the boring")
        ->required()
        ->check(CLI::ExistingFile);
    stitch->add_option("LOWER", s->lower, "the resumed push")->required()->check(CLI::ExistingFile);
    stitch->add_option("--out", s->out, "the joined log (must not exist)")->required();
    stitch->callback([s, &run] { run = [s] { return runStitch(*s); }; });

    auto g = std::make_shared<GpsArgs>();
    auto* gps = app.add_subcommand(
        "gps", "Write surveyed positions (CSV with name, latitude, longitude[, elevation] or GPX) into the "
               "logs of the same name that have no GPS fix");
    gps->add_option("POSITIONS", g->positions, "CSV or GPX of the borings")
        ->required()
        ->check(CLI::ExistingFile);
    gps->add_option("INPUT", g->inputs, "raw logs or folders of them")->required();
    gps->add_flag("--overwrite", g->overwrite, "Replace the position of logs that have a fix as well");
    gps->callback([g, &run] { run = [g] { return runGps(*g); }; });
}

} // namespace zel::cli
