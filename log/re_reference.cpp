#include "log/re_reference.h"

#include "common/number_text.h"
#include "settings/data_root.h"
#include "settings/ini_file.h"
#include "settings/profile.h"

namespace zel {

namespace {

constexpr std::array<const char*, 4> kChannelKeys{"CH1", "CH2", "CH3", "CH4"};

const char* section(bool background) {
    return background ? "HD-BK" : "HD-RE";
}

} // namespace

std::string reReferencePath(const std::string& root) {
    return root + "/ref/RE.lif.ref.txt";
}

void WriteReReference(const std::string& root, bool background, const std::array<float, 4>& channels,
                      const Clock& clock) {
    cInifile ini;
    ini.Path = reReferencePath(root);
    ensureParentFolder(ini.Path);
    ini::FileBatch batch(ini.Path);
    ini.Section = section(background);
    ini.Key = "Time";
    ini.Value(formatDateTime(clock.now(), "YYYY-MM-DD HH:mm:ss"));
    for (std::size_t i = 0; i < kChannelKeys.size(); ++i) {
        ini.Key = kChannelKeys[i];
        ini.Value(shortestText(channels[i]));
    }
}

void WriteReReference(const std::string& root, bool background, const cZEL_Waveform& wave,
                      const Clock& clock) {
    const auto& areas = background ? wave.Blank_AreaCH : wave.RE_AreaCH;
    WriteReReference(root, background, {areas[0], areas[1], areas[2], areas[3]}, clock);
}

std::optional<ReReference> ReadReReference(const std::string& root, bool background) {
    cInifile ini;
    ini.Path = reReferencePath(root);
    ini.Section = section(background);
    if (ini.EnumerateCurrentSection().empty()) return std::nullopt;
    ReReference r;
    ini.Key = "Time";
    r.time = ini.Value();
    for (std::size_t i = 0; i < kChannelKeys.size(); ++i) {
        ini.Key = kChannelKeys[i];
        r.channels[i] = static_cast<float>(val(ini.Value()));
    }
    return r;
}

} // namespace zel
