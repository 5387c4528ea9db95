#pragma once
// A site's deliverables from its logs, as zel-cli makes them and the desktop program's Site window makes
// them too (one implementation, so both write the same bytes): the summary rows, the LAS files, the 3D
// files and the pictures. Progress lines go to a stream; idle, when given, runs on the calling thread while
// the logs load on the machine's cores, so a window stays alive.

#include "app/jobs/site_borings.h"
#include "app/plot/site_picture.h"
#include "site/log_summary.h"
#include "site/site_model.h"

#include <functional>
#include <ostream>
#include <string>
#include <vector>

namespace zel::jobs {

struct SiteSummary {
    std::vector<site::LogSummary> logs; // the logs that loaded, in file order
    int code = 0;                       // 1 when a log did not load
};
// One line a file: "i/n FILE -> max 12.34 %RE". With callouts each log's latest callout scheme (from its
// companion) gives its callout ranges.
SiteSummary summariseLogs(const std::vector<std::string>& files, double thresholdPctRe, bool callouts,
                          std::ostream& progress, const std::function<void()>& idle = {});

// The batch file utility's choices as the options file keeps them ("FileUtilities"); a missing or unreadable
// key keeps its default.
site::SummaryOptions fileUtilityOptions(const std::string& optionsPath);

// The LAS file of one raw log (with its decay times and basis shares when they lie beside it): beside the
// log, or in toDir when given. True with the path written in text, false with the reason.
bool writeLogLas(const std::string& file, const std::string& toDir, std::string& text);
// Every file's LAS; one line a file, "i/n FILE -> PATH". The exit code: 1 when one failed.
int writeLasFiles(const std::vector<std::string>& files, const std::string& toDir, std::ostream& progress,
                  const std::function<void()>& idle = {});

// The 3D files of the located borings (each path may be empty: not written). The volume's size goes to
// report ("Volume 40 x 41 x 120 nodes of ..."). False with the reason.
bool writeModelFiles(const std::vector<site::BoringProfile>& borings, const std::string& csv,
                     const std::string& vtk, const std::string& grid, const site::GridOptions& options,
                     std::ostream& report, std::string& error);

struct PictureOptions {
    std::string title;   // empty: from the site's name
    plot::SiteLine line; // the section line A-A'; empty: through the borings in order (and none on the map)
    double widthM = 0, scalePctRe = 0, layerM = 0.1;
    int dpi = 150;
};
plot::SiteMapInput siteMapInput(const SiteBorings& site, const PictureOptions& options);
plot::SectionInput sectionInput(const SiteBorings& site, const PictureOptions& options);
// The map or the section written to out (PDF by its extension, else PNG). False with the reason.
bool writeSiteMap(const SiteBorings& site, const PictureOptions& options, const std::string& out,
                  plot::PictureRecord* record, std::string& error);
bool writeSection(const SiteBorings& site, const PictureOptions& options, const std::string& out,
                  plot::PictureRecord* record, std::string& error);
// "Section: B2 at 0.0 m B3 at 67.7 m": the borings a section shows.
std::string sectionBoringsText(const plot::SectionInput& input);

} // namespace zel::jobs
