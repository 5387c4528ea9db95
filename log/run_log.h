#pragma once
// The monthly run log: one INI file a unit and month under the data root's "log" folder, one section a log
// (its name without extension). The section is deleted before it is written, so saving a log again
// replaces its entry instead of adding a second one.
#include "common/clock.h"
#include "log/log_data.h"

#include <string>

namespace zel {

// root + "/log/" + unit + "_" + "YYYY_MM" of now + ".lif.log" (".clr.log" in colour mode).
std::string runLogPath(const std::string& root, const std::string& unit, const DateTime& now,
                       bool colourMode);

// Writes the log's entry (after every raw-log save); returns the run log's path. The colour entry has
// fewer keys (no signal, areas or emulation).
std::string WriteRunLog(const std::string& root, const cZEL_Data& log, const Clock& clock, bool colourMode);

} // namespace zel
