#include "settings/startup/modes.h"

#include <algorithm>
#include <system_error>

namespace zel {
namespace {

constexpr ModeEntry kModes[] = {
    {0, "Alder\xAE", {"350", "400", "450", "500"}, 11},  {1, "Birch\xAE", {"Sctr", "570", "620", "670"}, 11},
    {2, "Dogwood", {"600", "650", "700", "750"}, 11},    {3, "Cedar", {"600", "650", "700", "750"}, 11},
    {4, "Juniper", {"350", "400", "450", "500"}, 11},    {7, "Gum", {"Ch1", "Ch2", "Ch3", "Ch4"}, 11},
    {21, "Elm", {"600", "650", "675", "700"}, 11},       {51, "Larch-UV", {"350", "400", "450", "500"}, 10},
    {52, "Larch-BX", {"Sctr", "570", "620", "670"}, 10}, {61, "Elm", {"Sctr", "570", "620", "670"}, 11},
    {66, "Fir", {"340", "390", "440", "490"}, 11},       {99, "Hazel\xAE", {"", "", "", ""}, 11},
};

constexpr int kFactorMode = 51;
constexpr double kFactorOfMode51 = 1.519;

constexpr Rgb kPink{186, 113, 164};

constexpr ModeLook kLooks[] = {
    {0, "Alder", std::nullopt, "lib/blue fade.gif", "lib/wave banner blue fade.bmp"},
    {1, "Birch", std::nullopt, "lib/green fade.gif", "lib/wave banner green fade.bmp"},
    {61, "Elm", std::nullopt, "lib/green fade.gif", "lib/wave banner green fade.bmp"},
    {2, "Dogwood", kPink, "lib/pink fade.gif", "lib/wave banner pink fade.bmp"},
    {3, "Cedar", kPink, "lib/pink fade.gif", "lib/wave banner pink fade.bmp"},
    {21, "Elm", kPink, "lib/pink fade.gif", "lib/wave banner pink fade.bmp"},
};

std::filesystem::path ifPresent(const std::filesystem::path& folder, const char* relative) {
    const std::filesystem::path p = folder / relative;
    std::error_code ec;
    return std::filesystem::is_regular_file(p, ec) ? p : std::filesystem::path{};
}

} // namespace

std::span<const ModeEntry> modeTable() {
    return kModes;
}

const ModeEntry* findMode(int mode) {
    const auto it = std::find_if(std::begin(kModes), std::end(kModes),
                                 [mode](const ModeEntry& e) { return e.mode == mode; });
    return it == std::end(kModes) ? nullptr : &*it;
}

bool setMode(StartupSettings& settings, int mode) {
    if (mode < 0 || mode > kMaxMode) return false;
    settings.mode = static_cast<std::int16_t>(mode);
    settings.modeFactor = mode == kFactorMode ? kFactorOfMode51 : 1.0;
    if (const ModeEntry* e = findMode(mode)) {
        settings.model = e->model;
        for (std::size_t i = 0; i < settings.labels.size(); ++i)
            settings.labels[i] = e->labels[i];
        settings.pageFont = e->pageFont;
    }
    return true;
}

const ModeLook* findLook(int mode) {
    const auto it = std::find_if(std::begin(kLooks), std::end(kLooks),
                                 [mode](const ModeLook& l) { return l.mode == mode; });
    return it == std::end(kLooks) ? nullptr : &*it;
}

std::string reScaleCaption(std::int32_t reScale) {
    return "RE VScale (" + std::to_string(reScale) + "mV)";
}

AppliedLook applyLook(const ModeLook& look, std::int32_t reScale,
                      const std::filesystem::path& programFolder) {
    return {look.caption, look.fill, ifPresent(programFolder, look.fadePicture),
            ifPresent(programFolder, look.bannerPicture), reScaleCaption(reScale)};
}

} // namespace zel
