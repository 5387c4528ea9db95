#include "app/plot/channel_colours.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <optional>

namespace zel::plot {
namespace {

std::uint8_t channel(double unit) {
    return static_cast<std::uint8_t>(std::lround(std::clamp(unit, 0.0, 1.0) * 255.0));
}

std::optional<double> labelWavelength(const std::string& label) {
    double nm = 0.0;
    const char* b = label.data();
    const char* e = b + label.size();
    const auto [end, ec] = std::from_chars(b, e, nm);
    if (ec != std::errc{} || end != e || !std::isfinite(nm) || nm <= 0.0) return std::nullopt;
    return nm;
}

// For labels that name no wavelength ("Ch1" ... or the blank labels of a mode without a channel set).
constexpr std::array<Colour, kMaxChannels> kPalette{
    {{40, 90, 255}, {0, 190, 80}, {255, 150, 0}, {220, 30, 30}}};

} // namespace

Colour wavelengthToRgb(double nm) {
    if (!std::isfinite(nm)) return kNoShareGrey;
    nm = std::clamp(nm, 380.0, 780.0);
    double r = 0, g = 0, b = 0;
    if (nm < 440.0) {
        r = (440.0 - nm) / 60.0;
        b = 1.0;
    } else if (nm < 490.0) {
        g = (nm - 440.0) / 50.0;
        b = 1.0;
    } else if (nm < 510.0) {
        g = 1.0;
        b = (510.0 - nm) / 20.0;
    } else if (nm < 580.0) {
        r = (nm - 510.0) / 70.0;
        g = 1.0;
    } else if (nm < 645.0) {
        r = 1.0;
        g = (645.0 - nm) / 65.0;
    } else {
        r = 1.0;
    }
    return {channel(r), channel(g), channel(b)};
}

ChannelColours channelColours(std::span<const std::string> labels, bool realColour) {
    ChannelColours out;
    out.channels = static_cast<int>(std::min<std::size_t>(labels.size(), kMaxChannels));
    std::array<std::optional<double>, kMaxChannels> nm{};
    double lo = 0, hi = 0;
    bool any = false;
    for (int i = 0; i < out.channels; ++i) {
        const auto& label = labels[static_cast<std::size_t>(i)];
        if (label == "Sctr") {
            out.scatter[static_cast<std::size_t>(i)] = true;
            continue;
        }
        nm[static_cast<std::size_t>(i)] = labelWavelength(label);
        if (const auto v = nm[static_cast<std::size_t>(i)]) {
            lo = any ? std::min(lo, *v) : *v;
            hi = any ? std::max(hi, *v) : *v;
            any = true;
        }
    }
    const bool stretch = !realColour && any && hi > lo;
    out.meanWavelength = realColour && any;
    for (int i = 0; i < kMaxChannels; ++i) {
        const auto k = static_cast<std::size_t>(i);
        if (out.scatter[k]) {
            out.colour[k] = kScatterGrey;
        } else if (nm[k]) {
            const double v = stretch ? 400.0 + (*nm[k] - lo) / (hi - lo) * 300.0 : *nm[k];
            out.colour[k] = wavelengthToRgb(v);
            out.wavelength[k] = *nm[k];
        } else {
            out.colour[k] = kPalette[k];
        }
    }
    return out;
}

ChannelColours fluorescenceOnly(ChannelColours colours) {
    colours.scatter[0] = true;
    return colours;
}

Colour pointColour(const ChannelColours& colours, std::span<const float> channelAreas) {
    double r = 0, g = 0, b = 0, total = 0, nm = 0, nmTotal = 0;
    const int n = std::min<int>(static_cast<int>(channelAreas.size()), colours.channels);
    for (int i = 0; i < n; ++i) {
        const auto k = static_cast<std::size_t>(i);
        if (colours.scatter[k]) continue;
        const float a = channelAreas[k];
        if (!std::isfinite(a) || a <= 0.0f) continue;
        r += a * colours.colour[k].r;
        g += a * colours.colour[k].g;
        b += a * colours.colour[k].b;
        total += a;
        if (colours.wavelength[k] > 0) {
            nm += a * colours.wavelength[k];
            nmTotal += a;
        }
    }
    if (total <= 0.0) return kNoShareGrey;
    if (colours.meanWavelength && nmTotal > 0.0) return wavelengthToRgb(nm / nmTotal);
    const double peak = std::max({r, g, b});
    if (peak <= 0.0) return kNoShareGrey;
    // The mean of bright colours is dull; scaling its brightest component to full keeps the hue and reads
    // like the channels themselves.
    return {channel(r / peak), channel(g / peak), channel(b / peak)};
}

} // namespace zel::plot
