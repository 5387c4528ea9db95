#include "log/data_lists.h"

#include "common/number_text.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <random>
#include <string>
#include <vector>

namespace zel {
namespace {

std::string pattern(int decimals) {
    return decimals ? "#0." + std::string(static_cast<std::size_t>(decimals), '0') : "#0";
}

TEST(DataLists, ElementsAreTheNumberPatternsText) {
    struct Case {
        float value;
        int decimals;
        const char* text;
    };
    // Ties are rounded away from zero on the 7-digit text, not on the binary value (0.125 -> 0.13).
    for (const Case& c :
         {Case{0.125f, 2, "0.13"}, Case{-0.125f, 2, "-0.13"}, Case{2.5f, 0, "3"}, Case{1.0005f, 3, "1.001"},
          Case{12345678.0f, 2, "12345680.00"}, Case{0.0004f, 3, "0.000"}, Case{-0.0004f, 3, "-0.000"},
          Case{0.0f, 2, "0.00"}, Case{99.995f, 2, "100.00"}, Case{9999999.5f, 0, "10000000"}})
        EXPECT_EQ(formatListElement(c.value, c.decimals), c.text) << c.value;
}

// NaN and infinity: the list must load in this program's reader and in a Basic-style Val reader, and both
// must see the same values.
TEST(DataLists, NonFiniteValuesAreWrittenSoThatEveryReaderLoadsThem) {
    const float inf = std::numeric_limits<float>::infinity();
    // The largest float's seven significant digits, read back.
    const float top = 3.402823e38f;
    const std::vector<float> values{std::nanf(""), inf, -inf, 1.5f, -std::nanf("")};
    for (int decimals : {0, 2, 3}) {
        const std::string text = formatDataList(values, decimals);
        EXPECT_EQ(text.find_first_of("#INFinfNa"), std::string::npos) << text;
        std::vector<float> back;
        ASSERT_TRUE(parseDataList(text, 10, back).ok) << text;
        EXPECT_EQ(back, (std::vector<float>{0.0f, top, -top, decimals ? 1.5f : 2.0f, 0.0f})) << text;
        std::size_t pos = 0;
        for (float expected : back) {
            const std::size_t end = std::min(text.find(',', pos), text.size());
            EXPECT_EQ(static_cast<float>(val(std::string_view(text).substr(pos, end - pos))), expected)
                << text.substr(pos, end - pos);
            pos = end + 1;
        }
        EXPECT_EQ(listValue(inf, decimals), top);
        EXPECT_EQ(listValue(-inf, decimals), -top);
        EXPECT_EQ(formatListElement(std::nanf(""), decimals), formatListElement(0.0f, decimals));
    }
}

// The integer fast path must give the general pattern text for every float; compare them on a spread of
// random bit patterns and on the values around decimal ties.
TEST(DataLists, FastElementTextAgreesWithTheGeneralPattern) {
    std::mt19937 rng(12345);
    std::uniform_int_distribution<std::uint32_t> bits;
    std::uniform_int_distribution<int> decimals(0, 3);
    for (int i = 0; i < 100000; ++i) {
        const float v = std::bit_cast<float>(bits(rng));
        const int d = decimals(rng);
        if (std::isnan(v)) continue;
        ASSERT_EQ(formatListElement(v, d), formatNumber(v, pattern(d))) << v << " " << d;
    }
    for (int n = -10000; n <= 10000; ++n)
        for (float base : {n / 8.0f, n / 1000.0f, n * 0.005f, n * 12.345f})
            for (float v : {base, std::nextafter(base, 1e30f), std::nextafter(base, -1e30f)})
                for (int d = 0; d <= 3; ++d)
                    ASSERT_EQ(formatListElement(v, d), formatNumber(v, pattern(d))) << v << " " << d;
}

// Fixed-point elements are converted without the general conversion; the value must be the one it gives.
TEST(DataLists, FastElementReadingAgreesWithTheGeneralConversion) {
    std::mt19937_64 rng(777);
    std::vector<float> out;
    for (int i = 0; i < 200000; ++i) {
        std::string text = std::to_string(rng() >> (14 + rng() % 50)); // 1 to 15 digits
        text.insert(rng() % (text.size() + 1), ".");
        text.insert(0, rng() % 2 ? "-" : "+");
        ASSERT_TRUE(parseDataList(text, 1, out).ok) << text;
        ASSERT_EQ(out[0], static_cast<float>(std::strtod(text.c_str(), nullptr))) << text;
    }
}

TEST(DataLists, ListTextAndItsReading) {
    const std::vector<float> values{1.0f, -2.5f, 0.125f};
    EXPECT_EQ(formatDataList(values, 2), "1.00,-2.50,0.13");
    EXPECT_EQ(formatDataList({}, 2), "");

    std::vector<float> out;
    EXPECT_TRUE(parseDataList(" 1.5 ,-2,3E2,1D-1,,+4.", 10, out).ok);
    EXPECT_EQ(out, (std::vector<float>{1.5f, -2.0f, 300.0f, 0.1f, 0.0f, 4.0f}));
    struct Bad {
        const char* text;
        std::size_t element;
    };
    for (const Bad& b : {Bad{"1,2,x", 2}, Bad{"1,2e", 1}, Bad{"1.2.3", 0}, Bad{"1,-", 1}, Bad{"5e40", 0}})
        EXPECT_EQ(parseDataList(b.text, 10, out).badElement, b.element) << b.text;
    EXPECT_TRUE(parseDataList("1,2,3", 2, out).tooLong);
    EXPECT_TRUE(out.empty());
}

} // namespace
} // namespace zel
