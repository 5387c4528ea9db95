#pragma once
// Colours of the waveform channels and of each point of the %RE track.
//
// The mapping from a wavelength to a colour is the usual piecewise-linear approximation of the visible
// spectrum (after Dan Bruton), without its intensity fall-off at the ends so that every channel stays bright:
//   380..440 nm  violet to blue     (R falls 1..0, B 1)
//   440..490 nm  blue to cyan       (G rises 0..1, B 1)
//   490..510 nm  cyan to green      (B falls 1..0, G 1)
//   510..580 nm  green to yellow    (R rises 0..1, G 1)
//   580..645 nm  yellow to red      (G falls 1..0, R 1)
//   645..780 nm  red
// Wavelengths outside 380..780 nm take the colour of the nearer end.
//
// The probes' bands often lie partly outside the visible (350 nm on the UV probes, 750 nm on the dye
// probes), where true colours would make two channels the same violet or red. So, unless "real colour" is
// asked for, a mode's numeric labels are stretched linearly onto 400..700 nm (lowest label at 400, highest
// at 700) before the mapping: four bands then read as blue, green, orange and red whatever the probe.
// A channel labelled "Sctr" carries scatter, not light of a band: it is grey and takes no part in a point's
// fill. Labels that are not numbers ("Ch1") or are empty take a fixed palette by channel index.
//
// A point's fill colour is the mean of its fluorescence channels' colours weighted by their shares (the
// point's channel areas, negative ones counted as 0), scaled up so that its brightest component is full:
// the hue carries the channel balance, the %RE track's length carries the intensity.
//
// With real colour, mixing the channels' colours would paint nearly every point of a UV probe the same
// violet (its 350 and 400 nm bands both lie at the violet end). There a point takes the colour of its mean
// wavelength instead (the channels' wavelengths weighted by their shares): a shift of the spectrum toward
// the longer bands then reads as a shift from violet through blue to green, as the light itself would.

#include <array>
#include <cstdint>
#include <span>
#include <string>

namespace zel::plot {

struct Colour {
    std::uint8_t r = 0, g = 0, b = 0;
    friend bool operator==(const Colour&, const Colour&) = default;
};

inline constexpr int kMaxChannels = 4;
inline constexpr Colour kScatterGrey{128, 128, 128};
// The fill of a point whose channels are all 0 (or all scatter).
inline constexpr Colour kNoShareGrey{160, 160, 160};

Colour wavelengthToRgb(double nanometres);

struct ChannelColours {
    std::array<Colour, kMaxChannels> colour{};
    std::array<bool, kMaxChannels> scatter{}; // the channel is "Sctr"
    int channels = kMaxChannels;
    // Real colour: each channel's wavelength (nm; 0 for a label that names none), and a point's fill is the
    // colour of its mean wavelength.
    std::array<double, kMaxChannels> wavelength{};
    bool meanWavelength = false;
};

// The colours of a mode's channel labels (settings/startup/modes.h: ModeEntry::labels).
ChannelColours channelColours(std::span<const std::string> labels, bool realColour);

// A point's fill from its channel areas (CH1 first; at most kMaxChannels are used).
Colour pointColour(const ChannelColours& colours, std::span<const float> channelAreas);

// The same colours with CH1 out of the fill, as scatter is: a fill of the fluorescence channels alone.
ChannelColours fluorescenceOnly(ChannelColours colours);

} // namespace zel::plot
