#include "log/log_file_names.h"

#include "common/clock.h"
#include "common/testing/recording_host.h"
#include "log/log_data.h"

#include <gtest/gtest.h>

namespace zel {
namespace {

struct NameCase {
    const char* given;
    const char* expected;
};

TEST(StripLogExtension, RemovesTheDoubleExtensionOfEveryFamilyAndOnlyAtTheEnd) {
    const NameCase cases[] = {
        {"x.lif.raw.bin", "x"},
        {"x.clr.raw.bin", "x"},
        {"x.o2.raw.bin", "x"},
        {"MW-7 deep.lif.raw.bin", "MW-7 deep"},
        {"X.LIF.Raw.BIN", "X"}, // copied from a Windows machine
        {"x.raw.bin", "x"},
        {"x.lif", "x"},
        {"binary.lif.raw.bin", "binary"}, // "bin" inside the stem stays
        {"a.bin.lif.raw.bin", "a.bin"},   // each extension once, so the stem's own ".bin" stays
        {"x.lif.lif.raw.bin", "x.lif"},   // the family only once
        {"x.o2.lif.raw.bin", "x.o2"},     // one family only
        {"x.raw.lif", "x.raw"},           // ".raw" is only taken before the family
        {"x.lifraw.bin", "x.lifraw"},     // an extension needs its dot
        {"x.lif.plt", "x.lif.plt"},       // the companion is not a raw log
        {"x.lif.raw.bin.temp", "x.lif.raw.bin.temp"},
        {".lif.raw.bin", ""},
        {"", ""},
    };
    for (const auto& c : cases)
        EXPECT_EQ(stripLogExtension(c.given), c.expected) << c.given;
}

TEST(PlotSettingsPath, ReplacesTheTrailingRawBinAndRefusesOtherPaths) {
    const NameCase cases[] = {
        {"C:\\logs\\x.lif.raw.bin", "C:\\logs\\x.lif.plt"},
        {"/data/raw.bin.d/x.clr.raw.bin", "/data/raw.bin.d/x.clr.plt"}, // a folder named like it stays
        {"X.LIF.RAW.BIN", "X.LIF.plt"},
        {"x.lif.plt", ""},
        {"xraw.bin", ""},
        {"x.lif.raw.bin.temp", ""},
        {"", ""},
    };
    for (const auto& c : cases)
        EXPECT_EQ(plotSettingsPath(c.given), c.expected) << c.given;
}

TEST(LogDataFileNames, TheTitleAndThePathCarryTheirDerivedNames) {
    testing::RecordingHost host;
    FakeClock clock;
    cZEL_Data log(host, clock);
    log.File_Title("001-UV.lif.raw.bin");
    log.File_FullPath("/logs/001-UV.lif.raw.bin");
    EXPECT_EQ(log.File_Title_NoExt(), "001-UV");
    EXPECT_EQ(log.File_FullPath_Plt(), "/logs/001-UV.lif.plt");
    log.File_Title_NoExt("MW-8.o2.raw.bin");
    EXPECT_EQ(log.File_Title_NoExt(), "MW-8");
}

} // namespace
} // namespace zel
