#include "program/session_naming.h"

#include <gtest/gtest.h>

namespace zel::program {
namespace {

TEST(SessionNaming, FirstNamesAndExtensionsFollowTheMode) {
    struct Case {
        bool colour, o2, birch;
        const char* first;
        LogFamily family;
    };
    const Case cases[] = {{false, false, false, "001-UV", LogFamily::Lif},
                          {false, false, true, "001-BX", LogFamily::Lif},
                          {true, false, false, "Clr_001", LogFamily::Colour},
                          {false, true, false, "O2_001", LogFamily::O2}};
    for (const Case& c : cases) {
        const SessionNaming n = NamingFor(c.colour, c.o2, c.birch);
        EXPECT_EQ(n.Proposal(""), c.first);
        EXPECT_EQ(n.family(), c.family);
    }
}

// Only a recorded push moves the counter, and it counts on from the whole name without its extension.
TEST(SessionNaming, RecordedPushesMoveTheCounter) {
    SessionNaming n = NamingFor(false, false, false);
    EXPECT_EQ(n.Proposal(""), "001-UV");
    EXPECT_EQ(n.Proposal(""), "001-UV"); // nothing recorded yet: the same proposal again
    n.Recorded("/logs/Site 1.5.lif.raw.bin");
    EXPECT_EQ(n.last(), "Site 1.5");
    EXPECT_EQ(n.Proposal(""), "Site 1.6");
    n.Recorded("/logs/O2_009.o2.raw.bin");
    EXPECT_EQ(n.Proposal(""), "O2_010");
}

// A typed name is taken once; after a push was recorded under it the counter moves on from it, so
// automatic naming never meets its own file again.
TEST(SessionNaming, TypedNameIsNotReused) {
    SessionNaming n = NamingFor(false, false, false);
    EXPECT_EQ(n.Proposal("  MW-7 deep "), "MW-7 deep");
    n.Recorded("/logs/MW-7 deep.lif.raw.bin");
    EXPECT_EQ(n.Proposal("MW-7 deep"), "MW-8 deep");
    n.Recorded("/logs/MW-8 deep.lif.raw.bin");
    EXPECT_EQ(n.Proposal("MW-7 deep"), "MW-9 deep");
    EXPECT_EQ(n.Proposal("Other"), "Other");
}

} // namespace
} // namespace zel::program
