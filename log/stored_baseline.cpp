#include "log/stored_baseline.h"

#include "common/text.h"
#include "log/data_lists.h"
#include "log/log_limits.h"
#include "log/raw_log_format.h"

namespace zel {

namespace {

// Puts the reader's path and section back when the call ends, however it ends.
class KeepIniPlace {
public:
    explicit KeepIniPlace(cInifile& ini)
        : ini_(ini), path_(ini.Path), section_(ini.Section), big_(ini.BigGetString) {}
    ~KeepIniPlace() {
        ini_.Path = path_;
        ini_.Section = section_;
        ini_.BigGetString = big_;
    }
    KeepIniPlace(const KeepIniPlace&) = delete;
    KeepIniPlace& operator=(const KeepIniPlace&) = delete;

private:
    cInifile& ini_;
    std::string path_, section_;
    bool big_;
};

std::string storedText(const std::string& rawLogPath, cInifile& ini) {
    ini.Path = rawLogPath;
    ini.Section = std::string(raw_log::kDataInfo);
    ini.Key = "BASELINE";
    ini.Default.clear();
    ini.BigGetString = true;
    return ini.Value();
}

} // namespace

bool HasStoredBaseline(const std::string& rawLogPath, cInifile& ini) {
    KeepIniPlace keep(ini);
    return !trimBlanks(storedText(rawLogPath, ini)).empty();
}

bool LoadStoredBaseline(const std::string& rawLogPath, cInifile& ini, LogArrays& arrays) {
    KeepIniPlace keep(ini);
    const std::string text(trimBlanks(storedText(rawLogPath, ini)));
    if (text.empty()) return false;
    std::vector<float> values;
    if (!parseDataList(text, kMaxSamplesPerWave, values).ok) return false;
    arrays.baseline = std::move(values);
    return true;
}

void SaveBaseline(const std::string& rawLogPath, cInifile& ini, const LogArrays& arrays) {
    KeepIniPlace keep(ini);
    ini.Path = rawLogPath;
    ini.Section = std::string(raw_log::kDataInfo);
    ini.Key = "BASELINE";
    ini.Value(formatDataList(arrays.baseline, 2));
}

} // namespace zel
