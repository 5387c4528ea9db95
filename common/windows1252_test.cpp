#include "common/windows1252.h"

#include <gtest/gtest.h>

namespace zel {
namespace {

TEST(Windows1252, EveryByteSurvivesTheTripThroughUnicode) {
    std::string all;
    for (int b = 0; b < 256; ++b)
        all += static_cast<char>(b);
    EXPECT_EQ(utf8ToWindows1252(windows1252ToUtf8(all)), all);
}

TEST(Windows1252, TextsBothWays) {
    struct Case {
        std::string cp1252, utf8;
    };
    for (const Case& c : {Case{"Alder\xAE", "Alder\xC2\xAE"},
                          Case{"Caf\xE9 \x80 \x96", "Caf\xC3\xA9 \xE2\x82\xAC \xE2\x80\x93"},
                          Case{"\x9F\x8A", "\xC5\xB8\xC5\xA0"}, Case{"plain", "plain"}, Case{"", ""}}) {
        EXPECT_EQ(windows1252ToUtf8(c.cp1252), c.utf8) << c.cp1252;
        EXPECT_EQ(utf8ToWindows1252(c.utf8), c.cp1252) << c.cp1252;
    }
    // Characters the code page lacks, and bytes that are no UTF-8 (taken as they are).
    EXPECT_EQ(utf8ToWindows1252("\xE2\x84\x83 \xF0\x9F\x98\x80"), "? ?");
    EXPECT_EQ(utf8ToWindows1252("Alder\xAE \xC0\xAF \xED\xA0\x80"), "Alder\xAE \xC0\xAF \xED\xA0\x80");
    EXPECT_EQ(utf8ToWindows1252("\xC2"), "\xC2");
}

TEST(Windows1252, SingleCharacters) {
    EXPECT_EQ(windows1252ToUnicode(0x80), U'\u20AC');
    EXPECT_EQ(windows1252ToUnicode(0x81), U'\u0081');
    EXPECT_EQ(windows1252ToUnicode(0xAE), U'\u00AE');
    EXPECT_EQ(unicodeToWindows1252(U'\u2122'), 0x99);
    EXPECT_EQ(unicodeToWindows1252(U'\u0080'), std::nullopt); // a C1 control the code page replaced
    EXPECT_EQ(unicodeToWindows1252(U'\u0100'), std::nullopt);
}

} // namespace
} // namespace zel
