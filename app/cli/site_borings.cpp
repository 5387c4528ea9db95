#include "app/cli/site_borings.h"

#include "app/cli/batch.h"
#include "common/number_text.h"
#include "program/settings_model.h"
#include "settings/startup/modes.h"

#include <iostream>

namespace zel::cli {

SiteBorings loadSiteBorings(const char* command, const std::vector<std::string>& inputs, Host& host) {
    SiteBorings s;
    s.code = runBatch(command, rawLogsOf(inputs), std::cerr, [&](const std::string& file, std::string& text) {
        const auto l = loadQuietly(file, host);
        if (!l) return false;
        site::BoringProfile b;
        if (!site::profileOf(l->log, l->arrays, s.frame, b)) {
            text = "no position (left out; zel-cli gps can give it one)";
            return true;
        }
        if (s.borings.empty()) {
            s.siteName = l->log.Site() == " " ? "" : l->log.Site();
            if (const ModeEntry* mode = findMode(program::LogMode(l->ctx.modeId, l->log.mode(), 0)))
                for (std::size_t i = 0; i < s.labels.size(); ++i)
                    s.labels[i] = mode->labels[i];
        }
        text = formatNumber(b.easting, "#0.0") + " E, " + formatNumber(b.northing, "#0.0") + " N";
        s.borings.push_back(std::move(b));
        return true;
    });
    return s;
}

} // namespace zel::cli
