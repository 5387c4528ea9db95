#include "program/processing_settings.h"

#include "common/clock.h"
#include "common/testing/recording_host.h"

#include <gtest/gtest.h>

namespace zel::program {
namespace {

// Mode and the RE's boundary count -> the settings the push and every load process with.
TEST(ProcessingSettings, ModeAndBoundariesGiveLayoutAndChannelCount) {
    ProcessingSetup setup;
    setup.widthLimit = 40;
    setup.gain = {1.5f, 2.0f, 0.0f, 1.0f};
    setup.exclude = {false, true, false, false};
    setup.ch1Correction = 3.0f;
    setup.options.scatterScaling = true;
    struct Case {
        int mode;
        int boundaries;
        int acqType;
        int channelCount;
    };
    const Case cases[] = {
        {0, 3, 0, 3},                // Alder: standard layout
        {1, 3, 1, 3},                // Birch: scatter peak first, gated
        {52, 3, 1, 3},               // Larch-BX
        {61, 3, 1, 3},               // Elm with the scatter channel
        {21, 3, 0, 3},               // Elm without it
        {2, 6, 0, 6},                // a seven-pulse RE keeps its six boundaries
        {1, 6, 1, 6},  {0, 4, 0, 3}, // anything but 6 is 3
        {50, 3, 0, 3},               // a mode the table does not list: standard
    };
    for (const Case& c : cases) {
        SCOPED_TRACE("mode " + std::to_string(c.mode) + ", boundaries " + std::to_string(c.boundaries));
        const ProcessingSettings s = DeriveProcessing(c.mode, setup, c.boundaries, 20104);
        EXPECT_EQ(s.mode, c.mode);
        EXPECT_EQ(s.acqType, c.acqType);
        EXPECT_EQ(s.channelCount, c.channelCount);
        const PointProcessingSetup p = s.forPoints();
        EXPECT_EQ(p.acqType, c.acqType);
        EXPECT_EQ(p.channelCount, c.channelCount);
        EXPECT_EQ(p.widthLimit, 40);
        EXPECT_EQ(p.gain, setup.gain);
        EXPECT_EQ(p.exclude, setup.exclude);
        EXPECT_EQ(p.ch1Correction, 3.0f);
        EXPECT_EQ(p.firmwareVersion, 20104);
        EXPECT_TRUE(p.options.scatterScaling);
    }
}

TEST(ProcessingSettings, LogModeFromModeIdOrProbeName) {
    struct Case {
        int modeId;
        const char* text;
        int programMode;
        int expected;
    };
    const Case cases[] = {
        {1, "Birch\xAE", 0, 1},   // ModeID wins
        {52, "", 0, 52},          // even without a name
        {0, "Birch\xAE", 0, 1},   // no ModeID: the probe name, in the log's code page
        {0, "Birch\u00AE", 7, 1}, // or in UTF-8
        {0, "Alder\xAE", 1, 0},
        {0, "", 61, 61}, // names nothing: the program's mode
        {0, "Unknown probe", 1, 0},
        {120, "", 3, 3}, // out of range: as if absent
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(std::string(c.text) + " / " + std::to_string(c.modeId));
        EXPECT_EQ(LogMode(c.modeId, c.text, c.programMode), c.expected);
    }
}

// A load's settings follow the log being loaded, not the program's mode.
TEST(ProcessingSettings, LoadProcessingFollowsEachLog) {
    FakeClock clock;
    testing::RecordingHost host{&clock};
    ProcessingSetup setup;
    setup.widthLimit = 25;
    PointProcessingSetup p = LoadProcessing(setup, 0, 0);
    EXPECT_EQ(p.acqType, 0);
    ASSERT_TRUE(p.forLog);

    struct Case {
        int modeId;
        int channels;
        int acqType;
        int boundaries;
    };
    const Case cases[] = {{1, 4, 1, 3}, {0, 7, 0, 6}, {61, 7, 1, 6}, {0, 4, 0, 3}};
    for (const Case& c : cases) {
        cZEL_Data log(host, clock);
        RawLogContext ctx;
        ctx.modeId = c.modeId;
        ctx.channels = c.channels;
        PointProcessingSetup applied = p;
        applied.forLog(applied, log, ctx);
        EXPECT_EQ(applied.acqType, c.acqType);
        EXPECT_EQ(applied.channelCount, c.boundaries);
        EXPECT_EQ(applied.widthLimit, 25);
        // The hook stays for the next log.
        EXPECT_TRUE(applied.forLog);
    }
}

} // namespace
} // namespace zel::program
