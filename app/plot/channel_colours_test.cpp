#include "app/plot/channel_colours.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdlib>
#include <limits>
#include <string>
#include <vector>

namespace zel::plot {
namespace {

TEST(ChannelColours, WavelengthsMapToTheSpectrum) {
    struct Case {
        double nm;
        Colour rgb;
    };
    const Case cases[] = {
        {300, {255, 0, 255}},   // below the visible: the violet end
        {380, {255, 0, 255}},   //
        {410, {128, 0, 255}},   //
        {440, {0, 0, 255}},     // blue
        {490, {0, 255, 255}},   // cyan
        {510, {0, 255, 0}},     // green
        {580, {255, 255, 0}},   // yellow
        {612.5, {255, 128, 0}}, // orange
        {645, {255, 0, 0}},     // red
        {900, {255, 0, 0}},     //
    };
    for (const Case& c : cases)
        EXPECT_EQ(wavelengthToRgb(c.nm), c.rgb) << c.nm;
}

TEST(ChannelColours, ModeLabelsAreStretchedUnlessRealColourIsAsked) {
    const std::vector<std::string> alder{"350", "400", "450", "500"};
    const ChannelColours stretched = channelColours(alder, false);
    EXPECT_EQ(stretched.colour[0], wavelengthToRgb(400));
    EXPECT_EQ(stretched.colour[1], wavelengthToRgb(500));
    EXPECT_EQ(stretched.colour[2], wavelengthToRgb(600));
    EXPECT_EQ(stretched.colour[3], wavelengthToRgb(700));
    const ChannelColours real = channelColours(alder, true);
    EXPECT_EQ(real.colour[0], wavelengthToRgb(350));
    EXPECT_EQ(real.colour[3], wavelengthToRgb(500));

    // Scatter channels are grey and the stretch spans the wavelength channels only.
    const ChannelColours birch = channelColours(std::vector<std::string>{"Sctr", "570", "620", "670"}, false);
    EXPECT_TRUE(birch.scatter[0]);
    EXPECT_EQ(birch.colour[0], kScatterGrey);
    EXPECT_EQ(birch.colour[1], wavelengthToRgb(400));
    EXPECT_EQ(birch.colour[3], wavelengthToRgb(700));
    // Labels that are no wavelength fall back to a palette that still tells the channels apart.
    const ChannelColours gum = channelColours(std::vector<std::string>{"Ch1", "Ch2", "", "Ch4"}, false);
    EXPECT_NE(gum.colour[0], gum.colour[1]);
    EXPECT_NE(gum.colour[2], gum.colour[3]);
}

TEST(ChannelColours, PointFillWeighsTheFluorescenceChannels) {
    // 400..700 nm labels stretch onto themselves: each channel keeps its own colour.
    const ChannelColours c = channelColours(std::vector<std::string>{"Sctr", "400", "550", "700"}, false);
    struct Case {
        const char* name;
        std::array<float, 4> areas;
        Colour fill;
    };
    const float nan = std::numeric_limits<float>::quiet_NaN();
    const Case cases[] = {
        {"one channel, scatter takes no part", {100, 1, 0, 0}, wavelengthToRgb(400)},
        // (146, 255, 0) + (255, 0, 0), brightest component scaled to full
        {"two channels mixed", {0, 0, 1, 1}, {255, 162, 0}},
        {"negative areas count as 0", {0, -5, 0, 2}, wavelengthToRgb(700)},
        {"scatter only", {3, 0, 0, 0}, kNoShareGrey},
        {"not a number", {0, nan, 0, 0}, kNoShareGrey},
    };
    for (const Case& k : cases)
        EXPECT_EQ(pointColour(c, k.areas), k.fill) << k.name;
}

// Real colour: a point is the colour of its mean wavelength, so a UV probe's points are not all one violet.
TEST(ChannelColours, RealColourFillIsTheColourOfTheMeanWavelength) {
    const ChannelColours uv = channelColours(std::vector<std::string>{"350", "400", "450", "500"}, true);
    struct Case {
        std::array<float, 4> areas;
        double meanNm;
    };
    const Case cases[] = {
        {{1, 1, 0, 0}, 375},   {{0, 1, 1, 0}, 425}, {{0, 0, 1, 1}, 475},
        {{1, 0, 0, 3}, 462.5}, {{0, 0, 0, 1}, 500},
    };
    for (const Case& k : cases)
        EXPECT_EQ(pointColour(uv, k.areas), wavelengthToRgb(k.meanNm)) << k.meanNm;
    // Points weighted to the short and to the long bands differ in hue, not only in shade.
    const float shortBands[] = {3, 2, 1, 0}, longBands[] = {0, 1, 2, 3};
    const Colour a = pointColour(uv, shortBands), b = pointColour(uv, longBands);
    EXPECT_GT(std::abs(int(a.r) - int(b.r)) + std::abs(int(a.g) - int(b.g)), 200);
}

} // namespace
} // namespace zel::plot
