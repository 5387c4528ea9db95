#include "app/jobs/site_jobs.h"

#include "analysis/waveform_fits.h"
#include "app/jobs/batch.h"
#include "app/jobs/quiet_log.h"
#include "common/console_host.h"
#include "common/number_text.h"
#include "log/plot_companion.h"
#include "settings/basic_convert.h"
#include "settings/ini_file.h"
#include "site/las_export.h"

#include <filesystem>
#include <iostream>
#include <optional>

namespace zel::jobs {

SiteSummary summariseLogs(const std::vector<std::string>& files, double threshold, bool callouts,
                          std::ostream& progress, const std::function<void()>& idle) {
    std::vector<std::optional<site::LogSummary>> rows(files.size());
    SiteSummary out;
    out.code = runParallelBatch(
        "summary", files, progress,
        [&](std::size_t i, const std::string& file, std::string& text) {
            ConsoleHost host(std::cerr);
            const auto l = loadQuietly(file, host);
            if (!l) return false;
            if (callouts) {
                const std::string plt = l->log.File_FullPath_Plt();
                CalloutDisplay display;
                std::string label;
                if (const int scheme = nextCalloutScheme(plt) - 1; scheme >= 1)
                    LoadCalloutScheme(plt, scheme, l->log, display, label);
            }
            rows[i] = site::summarise(l->log, l->arrays, file, static_cast<float>(threshold));
            text = "max " + formatNumber(rows[i]->maxSignal, "#0.00") + " %RE";
            return true;
        },
        idle);
    for (auto& r : rows)
        if (r) out.logs.push_back(std::move(*r));
    return out;
}

site::SummaryOptions fileUtilityOptions(const std::string& optionsPath) {
    site::SummaryOptions o;
    cInifile ini;
    ini.Path = optionsPath;
    ini.Section = "FileUtilities";
    const auto number = [&](const char* key) -> std::optional<int> {
        ini.Key = key;
        const std::string text = ini.Value();
        if (text.empty() || text == " ") return std::nullopt;
        return basicInteger(text);
    };
    if (const auto v = number("optSummary_NameFormat"); v && *v >= 0 && *v <= 2) o.nameFormat = *v;
    if (const auto v = number("optBatchJPGName"); v && *v >= 0 && *v <= 1) o.pageName = *v;
    if (const auto v = number("chkSummary_Area")) o.reArea = *v != 0;
    if (const auto v = number("chkCalloutMax")) o.calloutMax = *v != 0;
    if (const auto v = number("chkSummary_Total")) o.totals = *v != 0;
    if (const auto v = number("chkFootage_Date")) o.footageByDate = *v != 0;
    return o;
}

bool writeLogLas(const std::string& file, const std::string& toDir, std::string& text) {
    ConsoleHost host(std::cerr);
    const auto l = loadQuietly(file, host);
    if (!l) return false;
    // The decay times and basis shares go in when the log has them beside it.
    std::string ignored;
    std::optional<analysis::LogLifetimes> tau;
    std::optional<analysis::LogNnls> nnls;
    if (const auto t = readWholeFile(analysis::lifetimePath(file), ignored))
        tau = analysis::parseLifetimeText(*t, ignored);
    if (const auto t = readWholeFile(analysis::nnlsPath(file), ignored))
        nnls = analysis::parseNnlsText(*t, ignored);
    site::LasExtras extras;
    extras.conductivity = l->ctx.conductivity;
    extras.conductivityColumn =
        l->ctx.birchMode ? point_column::ConductivityBirch : point_column::Conductivity;
    extras.lifetimes = tau ? &*tau : nullptr;
    extras.nnls = nnls ? &*nnls : nullptr;
    std::string path = site::lasPath(file);
    if (!toDir.empty())
        path = (std::filesystem::path(toDir) / std::filesystem::path(path).filename()).string();
    if (!writeWholeFile(path, site::lasText(l->log, l->arrays, extras), text)) return false;
    text = path;
    return true;
}

int writeLasFiles(const std::vector<std::string>& files, const std::string& toDir, std::ostream& progress,
                  const std::function<void()>& idle) {
    return runParallelBatch(
        "las", files, progress,
        [&](std::size_t, const std::string& file, std::string& text) {
            return writeLogLas(file, toDir, text);
        },
        idle);
}

bool writeModelFiles(const std::vector<site::BoringProfile>& borings, const std::string& csv,
                     const std::string& vtk, const std::string& grid, const site::GridOptions& options,
                     std::ostream& report, std::string& error) {
    bool ok = true;
    const auto write = [&](const std::string& path, const std::string& text) {
        if (path.empty() || writeWholeFile(path, text, error)) return true;
        ok = false;
        return false;
    };
    if (!csv.empty()) write(csv, site::pointsCsv(borings));
    if (!vtk.empty()) write(vtk, site::pointsVtk(borings));
    if (!grid.empty()) {
        site::Volume v;
        std::string why;
        if (!site::gridVolume(borings, options, v, why)) {
            error = why;
            return false;
        }
        if (write(grid, site::volumeVtk(v)))
            report << "Volume " << v.nx << " x " << v.ny << " x " << v.nz << " nodes of "
                   << formatNumber(v.dx, "#0.00") << " x " << formatNumber(v.dy, "#0.00") << " x "
                   << formatNumber(v.dz, "#0.00") << " m\n";
    }
    return ok;
}

plot::SiteMapInput siteMapInput(const SiteBorings& site, const PictureOptions& o) {
    plot::SiteMapInput in;
    in.borings = site.borings;
    in.title = o.title.empty() ? site.siteName : o.title;
    in.zone = site.zone();
    in.section = o.line;
    return in;
}

plot::SectionInput sectionInput(const SiteBorings& site, const PictureOptions& o) {
    plot::SectionInput in;
    in.borings = site.borings;
    in.line = o.line;
    in.widthM = o.widthM;
    in.scalePctRe = o.scalePctRe;
    in.layerM = o.layerM;
    in.colours = plot::channelColours(site.labels, false);
    in.title = o.title.empty() ? (site.siteName.empty() ? "Section A-A'" : site.siteName + ": section A-A'")
                               : o.title;
    return in;
}

bool writeSiteMap(const SiteBorings& site, const PictureOptions& o, const std::string& out,
                  plot::PictureRecord* record, std::string& error) {
    const plot::SiteMapInput in = siteMapInput(site, o);
    return plot::writeSitePicture(
        out, o.dpi,
        [&](QPainter& p, const QRectF& rect, double dpi, plot::PictureRecord* r) {
            plot::renderSiteMap(p, rect, dpi, in, r);
        },
        error, record);
}

bool writeSection(const SiteBorings& site, const PictureOptions& o, const std::string& out,
                  plot::PictureRecord* record, std::string& error) {
    const plot::SectionInput in = sectionInput(site, o);
    return plot::writeSitePicture(
        out, o.dpi,
        [&](QPainter& p, const QRectF& rect, double dpi, plot::PictureRecord* r) {
            plot::renderSection(p, rect, dpi, in, r);
        },
        error, record);
}

std::string sectionBoringsText(const plot::SectionInput& input) {
    std::string text = "Section:";
    for (const auto& s : plot::sectionBorings(input))
        text += ' ' + s.boring->name + " at " + formatNumber(s.chainage, "#0.0") + " m";
    return text;
}

} // namespace zel::jobs
