#include "app/plot/channel_colours.h"

#include <gtest/gtest.h>

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
    const ChannelColours c = channelColours(std::vector<std::string>{"Sctr", "440", "510", "645"}, true);
    const float onlyBlue[] = {100, 1, 0, 0};
    EXPECT_EQ(pointColour(c, onlyBlue), (Colour{0, 0, 255})); // scatter takes no part
    const float greenAndRed[] = {0, 0, 1, 1};
    EXPECT_EQ(pointColour(c, greenAndRed), (Colour{255, 255, 0}));
    const float negative[] = {0, -5, 0, 2};
    EXPECT_EQ(pointColour(c, negative), (Colour{255, 0, 0}));
    const float none[] = {3, 0, 0, 0};
    EXPECT_EQ(pointColour(c, none), kNoShareGrey);
    const float nan[] = {0, std::numeric_limits<float>::quiet_NaN(), 0, 0};
    EXPECT_EQ(pointColour(c, nan), kNoShareGrey);
}

} // namespace
} // namespace zel::plot
