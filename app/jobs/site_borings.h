#pragma once
// The located logs of a site, loaded for the commands that place them (model, map, section): each on the
// site's UTM grid, a log without a position left out and named in the progress lines.

#include "app/jobs/quiet_log.h"
#include "common/host.h"
#include "site/site_model.h"

#include <array>
#include <functional>
#include <iostream>
#include <string>
#include <vector>

namespace zel::jobs {

struct SiteBorings {
    std::vector<site::BoringProfile> borings;
    site::UtmFrame frame;
    std::array<std::string, 4> labels; // channel labels of the first log's mode
    std::string siteName;              // the first log's Site text
    int code = 0;                      // 1 when a log did not load
    std::string zone() const { return std::to_string(frame.zone) + (frame.north ? "N" : "S"); }
};

// Progress lines go to progress (zel-cli: stderr); idle runs on the calling thread while it waits.
SiteBorings loadSiteBorings(const char* command, const std::vector<std::string>& inputs,
                            std::ostream& progress, const std::function<void()>& idle = {});
inline SiteBorings loadSiteBorings(const char* command, const std::vector<std::string>& inputs) {
    return loadSiteBorings(command, inputs, std::cerr);
}

} // namespace zel::jobs
