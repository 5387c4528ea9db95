#include "app/jobs/site_borings.h"

#include "app/jobs/batch.h"
#include "common/number_text.h"
#include "program/settings_model.h"
#include "settings/startup/modes.h"

#include "common/console_host.h"

#include <iostream>
#include <optional>

namespace zel::jobs {

SiteBorings loadSiteBorings(const char* command, const std::vector<std::string>& inputs,
                            std::ostream& progress, const std::function<void()>& idle) {
    struct Loaded {
        site::BoringProfile boring;
        int modeId = 0;
        std::string mode, siteName;
    };
    const auto files = rawLogsOf(inputs);
    std::vector<std::optional<Loaded>> loaded(files.size());
    SiteBorings s;
    s.code = runParallelBatch(
        command, files, progress,
        [&](std::size_t i, const std::string& file, std::string& text) {
            ConsoleHost host(std::cerr);
            const auto l = loadQuietly(file, host);
            if (!l) return false;
            Loaded one;
            // Each log on its own zone here; the site's zone is the first located
            // log's, applied below.
            site::UtmFrame own;
            if (!site::profileOf(l->log, l->arrays, own, one.boring)) {
                text = "no position (left out; zel-cli gps can give it one)";
                return true;
            }
            one.modeId = l->ctx.modeId;
            one.mode = l->log.mode();
            one.siteName = l->log.Site() == " " ? "" : l->log.Site();
            text = formatNumber(one.boring.easting, "#0.0") + " E, " +
                   formatNumber(one.boring.northing, "#0.0") + " N";
            loaded[i] = std::move(one);
            return true;
        },
        idle);
    for (auto& l : loaded) {
        if (!l) continue;
        if (s.borings.empty()) {
            s.siteName = l->siteName;
            if (const ModeEntry* mode = findMode(program::LogMode(l->modeId, l->mode, 0)))
                for (std::size_t i = 0; i < s.labels.size(); ++i)
                    s.labels[i] = mode->labels[i];
        }
        site::projectOnto(s.frame, l->boring);
        s.borings.push_back(std::move(l->boring));
    }
    return s;
}

} // namespace zel::jobs
