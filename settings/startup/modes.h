#pragma once
// The operating modes: the probe model each stands for, its four channel labels, the page font of its log
// pages, and the look of the setup form that goes with it.

#include "settings/startup/startup_settings.h"

#include <array>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <span>
#include <string>

namespace zel {

struct ModeEntry {
    int mode;
    const char* model;
    std::array<const char*, 4> labels; // "Sctr": the channel carries scatter, not a wavelength band
    int pageFont;                      // points; the page renderer treats 0 as 10
};

std::span<const ModeEntry> modeTable();
const ModeEntry* findMode(int mode);

inline constexpr int kMaxMode = 99;

// Stores the mode and, for a listed one, its model, labels and page font; sets the mode factor. A number
// outside 0..99 changes nothing (false).
bool setMode(StartupSettings& settings, int mode);

struct Rgb {
    std::uint8_t red;
    std::uint8_t green;
    std::uint8_t blue;
    friend bool operator==(const Rgb&, const Rgb&) = default;
};

struct ModeLook {
    int mode;
    const char* caption;       // on the setup form
    std::optional<Rgb> fill;   // none: the form's design-time colour
    const char* fadePicture;   // under the program's folder
    const char* bannerPicture; // under the program's folder
};

// nullptr for a mode without a look of its own.
const ModeLook* findLook(int mode);

// A look made ready for the forms: pictures that are missing from the program's folder are left out (empty
// path), so the form keeps what it has.
struct AppliedLook {
    std::string caption;
    std::optional<Rgb> fill;
    std::filesystem::path fadePicture;
    std::filesystem::path bannerPicture;
    std::string reScaleCaption;
};
AppliedLook applyLook(const ModeLook& look, std::int32_t reScale, const std::filesystem::path& programFolder);

// "RE VScale (50mV)".
std::string reScaleCaption(std::int32_t reScale);

} // namespace zel
