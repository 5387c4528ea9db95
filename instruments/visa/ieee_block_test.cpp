#include "instruments/visa/ieee_block.h"

#include <gtest/gtest.h>

namespace zel::visa {
namespace {

TEST(BlockParser, CompleteBlockInAnySplit) {
    const std::string payload = std::string("\x00\x0a\xff\x80\n#", 6) + "xyz";
    const std::string wire = "#19" + payload + "\n";
    for (std::size_t chunk : {1, 2, 3, 50}) {
        BlockParser p(100);
        std::size_t used = 0;
        for (std::size_t i = 0; i < wire.size(); i += chunk)
            used += p.feed(std::string_view(wire).substr(i, chunk));
        EXPECT_TRUE(p.complete()) << chunk;
        EXPECT_EQ(used, wire.size()) << "the trailing LF is consumed";
        EXPECT_EQ(p.data(), payload);
    }
}

TEST(BlockParser, LongerHeaderAndMessageEndWithoutLf) {
    BlockParser p(2000);
    const std::string data(1000, '\x7f');
    EXPECT_EQ(p.feed("#41000" + data), 1006u);
    EXPECT_TRUE(p.hasAllData());
    EXPECT_FALSE(p.complete());
    p.finish();
    EXPECT_TRUE(p.complete());
    EXPECT_EQ(p.data().size(), 1000u);
}

TEST(BlockParser, BytesAfterTheBlockAreLeft) {
    BlockParser p(10);
    EXPECT_EQ(p.feed("#12abX"), 5u);
    EXPECT_TRUE(p.complete());
    EXPECT_EQ(p.data(), "ab");
}

TEST(BlockParser, Errors) {
    struct Case {
        std::string wire;
        std::string why;
    };
    const Case cases[] = {
        {"12ab", "no #"},
        {"#0abc\n", "indefinite"},
        {"#2a1xx", "letter in digits"},
        {"#3100", "short: no data"},
        {"#15abc", "short block"},
        {"#", "header cut"},
        {"#211", "header cut inside the count"},
        {"#3999" + std::string(999, 'x'), "over the cap"},
    };
    for (const auto& c : cases) {
        BlockParser p(500);
        p.feed(c.wire);
        p.finish();
        EXPECT_TRUE(p.failed()) << c.why;
        EXPECT_TRUE(p.data().empty()) << c.why;
        EXPECT_FALSE(p.error().empty()) << c.why;
    }
}

} // namespace
} // namespace zel::visa
