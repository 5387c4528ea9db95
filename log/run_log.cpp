#include "log/run_log.h"

#include "common/number_text.h"
#include "log/path_text.h"
#include "settings/data_root.h"
#include "settings/ini_file.h"
#include "settings/profile.h"

namespace zel {

std::string runLogPath(const std::string& root, const std::string& unit, const DateTime& now,
                       bool colourMode) {
    return root + "/log/" + unit + "_" + formatDateTime(now, "YYYY_MM") +
           std::string(familyTag(colourMode, false)) + ".log";
}

std::string WriteRunLog(const std::string& root, const cZEL_Data& log, const Clock& clock, bool colourMode) {
    cInifile ini;
    ini.Path = runLogPath(root, log.ZEL_Unit(), clock.now(), colourMode);
    ensureParentFolder(ini.Path);
    ini::FileBatch batch(ini.Path);
    ini.Section = log.File_Title_NoExt();
    ini.DeleteSection();
    const auto put = [&ini](const char* key, const std::string& value) {
        ini.Key = key;
        ini.Value(value);
    };
    put("Time_Start", generalDateText(log.Time_Start()));
    put("Site", log.Site());
    put("Client", log.Client());
    put("Mode", log.mode());
    if (!colourMode) {
        put("Emulate", boolText(log.Emulate()));
        put("Signal_MaxValue", shortestText(log.Signal_MaxValue()));
        put("Signal_MaxDepth_Ft", shortestText(log.Signal_MaxDepth_Ft()));
        put("Signal_MaxDepth_M", shortestText(log.Signal_MaxDepth_M()));
    }
    put("Depth_Max_Ft", shortestText(log.Depth_Max_Ft()));
    put("Depth_Max_M", shortestText(log.Depth_Max_M()));
    if (!colourMode) {
        put("RE_Area", shortestText(log.RE_Area()));
        put("Background_Area", shortestText(log.Blank_Area()));
    }
    put("Latitude", log.Latitude());
    put("Longitude", log.Longitude());
    put("CoordSystem", log.CoordSystem());
    // The same count the raw log's Data_Points key carries.
    put("Data_Points", shortestText(log.DataPoints()));
    return ini.Path;
}

} // namespace zel
