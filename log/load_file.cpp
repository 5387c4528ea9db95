#include "log/load_file.h"

#include "analysis/classify.h"
#include "analysis/waveform_fits.h"

#include "log/data_export.h"
#include "log/path_text.h"
#include "log/plot_companion.h"
#include "log/raw_log_reader.h"

#include <algorithm>
#include <exception>
#include <filesystem>
#include <fstream>
#include <optional>
#include <sstream>

namespace zel {

namespace {

// The interface redraws in these pauses between the reader steps. A quiet batch load has nothing to redraw
// and skips them: a folder of logs must not take a quarter second a file for nothing.
constexpr int kReaderPauseMs = 50;

// The program-wide quiet flag holds the request's value while the load runs.
class QuietScope {
public:
    QuietScope(LoadSession& s, bool quiet) : s_(s), old_(s.quiet) { s_.quiet = quiet; }
    ~QuietScope() { s_.quiet = old_; }
    QuietScope(const QuietScope&) = delete;
    QuietScope& operator=(const QuietScope&) = delete;

private:
    LoadSession& s_;
    bool old_;
};

std::string rawFilter(LogFamily family) {
    const std::string raw = "Raw Data|*" + std::string(rawLogExtension(family));
    return family == LogFamily::O2 ? raw : raw + "|FVD Data|*.fvd";
}

bool isFvd(const std::string& path) {
    return endsWithNoCase(path, "fvd");
}

void reportStep(Host& host, const std::exception& e, int step) {
    host.message(std::string(e.what()) + "\r\nLoad_File. Line of error: " + std::to_string(step),
                 MsgButtons::Ok, MsgIcon::Critical);
}

// A fit's file beside the log, whole; nullopt when there is none (or it cannot be read).
std::optional<std::string> fileBeside(const std::string& file) {
    std::error_code ec;
    if (file.empty() || !std::filesystem::is_regular_file(file, ec)) return std::nullopt;
    // A fit file of a full log is about a megabyte; anything far larger is not one.
    constexpr std::uintmax_t kMaxFitFile = 64u << 20;
    if (std::filesystem::file_size(file, ec) > kMaxFitFile || ec) return std::nullopt;
    std::ifstream in(file, std::ios::binary);
    if (!in) return std::nullopt;
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}

void notLoaded(Host& host, const char* what, const std::string& file, bool parsed, const std::string& error) {
    host.message(std::string("The ") + what + " were not loaded: " + file + " " +
                 (parsed ? std::string("holds the fits of other points") : error) + ".");
}

// The fits beside the log (zel-cli nnls, tau and classify write them), read after its points: the NNLS
// track's column and NNLS_max, the decay times of the lifetime track, each point's class. Results that are
// not of this log's points are named and left out; the log loads regardless.
void readNnlsResults(const std::string& path, LoadedLog target, Host& host) {
    const std::string file = analysis::nnlsPath(path);
    const auto text = fileBeside(file);
    if (!text) return;
    std::string error;
    const auto fits = analysis::parseNnlsText(*text, error);
    const auto column = fits ? analysis::nnlsColumn(*fits, target.arrays.columns) : std::nullopt;
    if (!column) return notLoaded(host, "NNLS results", file, fits.has_value(), error);
    target.arrays.nnls = column->sharePct;
    target.arrays.nnlsTitle = column->basis;
    target.log.NNLS_max(*std::max_element(column->sharePct.begin(), column->sharePct.end()));
}

void readLifetimeResults(const std::string& path, LoadedLog target, Host& host) {
    const std::string file = analysis::lifetimePath(path);
    const auto text = fileBeside(file);
    if (!text) return;
    std::string error;
    const auto fits = analysis::parseLifetimeText(*text, error);
    auto rows = fits ? analysis::lifetimeRows(*fits, target.arrays.columns) : std::nullopt;
    if (!rows) return notLoaded(host, "decay times", file, fits.has_value(), error);
    target.arrays.tau = std::move(*rows);
}

void readClassResults(const std::string& path, LoadedLog target, Host& host) {
    const std::string file = analysis::classPath(path);
    const auto text = fileBeside(file);
    if (!text) return;
    std::string error;
    const auto c = analysis::parseClassText(*text, error);
    auto column = c ? analysis::classColumn(*c, target.arrays.columns) : std::nullopt;
    if (!column) return notLoaded(host, "classes", file, c.has_value(), error);
    target.arrays.pointClass = std::move(*column);
    target.arrays.classNames = c->names;
}

// Steps 5 onwards of Load_File, shared by the LIF/O2 and colour loaders.
LoadResult loadChecked(const LoadRequest& request, const std::string& path, LoadSession& session,
                       LoadedLog target, Host& host) {
    LoadResult result;
    result.path = path;
    int step = 5;
    try {
        std::error_code ec;
        if (!std::filesystem::is_regular_file(path, ec)) {
            host.message("File does not exist:\r\n" + path);
            result.outcome = LoadOutcome::Refused;
            return result;
        }
        step = 6;
        if (!endsWithNoCase(path, rawLogExtension(session.family))) {
            host.message("Invalid file:\r\n" + path);
            result.outcome = LoadOutcome::Refused;
            return result;
        }
        step = 7;
        RawLogLoadOptions options;
        options.quiet = session.quiet;
        options.family = session.family;
        options.baselineFeature = session.baselineFeature;
        options.processing = session.processing;
        options.stepPauseMs = session.quiet ? 0 : kReaderPauseMs;
        const RawLogLoadResult raw = LoadRawLog(path, target.log, target.arrays, target.ctx, host, options);
        if (!raw.ok) {
            result.outcome = LoadOutcome::Failed;
            return result;
        }
        result.repaired = raw.repaired;
        result.pointValues = raw.pointValues;
        ReadFitsBeside(path, target, host);
        step = 8;
        if (!session.quiet) {
            const std::string plt = target.log.File_FullPath_Plt();
            if (!plt.empty() && std::filesystem::exists(plt, ec)) {
                if (request.plot.forms && request.plot.windows)
                    LoadCompanionSettings(plt, *request.plot.forms, *request.plot.windows);
                result.calloutSchemes = nextCalloutScheme(plt) - 1;
            }
        } else if (!request.exportTarget.empty()) {
            const auto written = ExportDataText(target.log, target.arrays, target.ctx, request.exportTarget,
                                                host, raw.pointValues);
            if (!written) {
                result.outcome = LoadOutcome::Failed;
                return result;
            }
            result.exportPath = *written;
        }
        result.outcome = LoadOutcome::Loaded;
    } catch (const std::exception& e) {
        reportStep(host, e, step);
        result.outcome = LoadOutcome::Failed;
    }
    return result;
}

} // namespace

void ReadFitsBeside(const std::string& rawLogPath, LoadedLog target, Host& host) {
    target.arrays.clearFits();
    readLifetimeResults(rawLogPath, target, host);
    readNnlsResults(rawLogPath, target, host);
    readClassResults(rawLogPath, target, host);
}

LoadResult Load_File(const LoadRequest& request, LoadSession& session, LoadedLog target, Host& host) {
    QuietScope quiet(session, request.quiet);
    LoadResult result;
    std::string path = request.path;
    result.path = path;
    if (endsWithNoCase(path, rawLogExtension(LogFamily::Colour))) {
        if (session.family == LogFamily::Colour) return Load_Color_File(request, session, target, host);
        host.message("Open the software in color mode prior to attempting to load this file");
        result.outcome = LoadOutcome::Refused;
        return result;
    }
    if (path.empty()) {
        FileDialogRequest dialog;
        dialog.title = "Load raw log data...";
        dialog.filter = rawFilter(session.family);
        dialog.filterIndex = session.filterIndex;
        dialog.initialDir = session.initialDir;
        const auto chosen = host.openFileDialog(dialog);
        if (!chosen || chosen->path.empty()) {
            result.outcome = LoadOutcome::Cancelled;
            return result;
        }
        path = chosen->path;
        session.filterIndex = chosen->filterIndex;
        session.initialDir = std::filesystem::path(path).parent_path().string();
    }
    if (isFvd(path)) {
        host.message(std::string(kFvdNotAvailable) + path, MsgButtons::Ok, MsgIcon::Exclamation);
        result.path = path;
        result.outcome = LoadOutcome::FvdNotAvailable;
        return result;
    }
    return loadChecked(request, path, session, target, host);
}

LoadResult Load_Color_File(const LoadRequest& request, LoadSession& session, LoadedLog target, Host& host) {
    QuietScope quiet(session, request.quiet);
    if (endsWithNoCase(request.path, rawLogExtension(LogFamily::Lif)) && session.family != LogFamily::Lif) {
        host.message("Open the software in LIF mode prior to attempting to load this file");
        LoadResult result;
        result.path = request.path;
        result.outcome = LoadOutcome::Refused;
        return result;
    }
    if (request.path.empty()) {
        LoadRequest asked = request;
        FileDialogRequest dialog;
        dialog.title = "Load raw log data...";
        dialog.filter = rawFilter(LogFamily::Colour);
        dialog.filterIndex = session.filterIndex;
        dialog.initialDir = session.initialDir;
        const auto chosen = host.openFileDialog(dialog);
        if (!chosen || chosen->path.empty())
            return LoadResult{LoadOutcome::Cancelled, {}, false, false, 0, {}};
        session.filterIndex = chosen->filterIndex;
        session.initialDir = std::filesystem::path(chosen->path).parent_path().string();
        return loadChecked(asked, chosen->path, session, target, host);
    }
    return loadChecked(request, request.path, session, target, host);
}

} // namespace zel
