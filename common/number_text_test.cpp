#include "common/number_text.h"

#include <gtest/gtest.h>

#include <clocale>
#include <cmath>
#include <cstdio>
#include <limits>
#include <locale>
#include <random>

namespace zel {
namespace {

struct FloatCase {
    float value;
    const char* text;
};
struct DoubleCase {
    double value;
    const char* text;
};
struct PatternCase {
    double value;
    const char* pattern;
    const char* text;
};

const FloatCase kFloatTexts[] = {
    {0.5f, "0.5"},
    {1.0f / 3.0f, "0.3333333"},
    {123.456789f, "123.4568"},
    {12345678.0f, "1.234568E+07"},
    {1.0f / 11.0f, "9.090909E-02"},
    {0.000005f, "0.000005"},
    {1.5e-7f, "1.5E-07"},
    {654322.25f, "654322.3"}, // an exact tie on the binary value rounds away from zero
    {-654322.25f, "-654322.3"},
    {-0.0f, "0"},
    {0.0f, "0"},
    {100.0f, "100"},
    {1234567.0f, "1234567"},
    {9999999.0f, "9999999"},
    {0.1f, "0.1"},
    {0.0001f, "0.0001"},
    {1e-10f, "1E-10"},
    {-2.5f, "-2.5"},
    {3.4e38f, "3.4E+38"},
};

const DoubleCase kDoubleTexts[] = {
    {0.1, "0.1"},
    {1.0 / 3.0, "0.333333333333333"},
    {1e15, "1E+15"},
    {123456789012345.0, "123456789012345"},
    {123456789012345678.0, "1.23456789012346E+17"},
    {0.000001234, "0.000001234"},
    {1.5e-16, "1.5E-16"},
    {-42.0, "-42"},
    {2.675, "2.675"},
    {0.99999999999999994, "1"}, // rounding carries into a new leading digit
    {-9.9999999999999996e22, "-1E+23"},
};

const PatternCase kPatterns[] = {
    {2.675, "#0.00", "2.68"}, // the 15-digit text is 2.675, whatever the binary value
    {0.125, "#0.00", "0.13"},
    {2.5, "#0", "3"},
    {-2.5, "#0", "-3"},
    {0.4, "#0", "0"},
    {0.6, "#0", "1"},
    {1.5, "#0.00000", "1.50000"},
    {1.25, "0.000", "1.250"},
    {1.25, "#0.000", "1.250"},
    {5, "#00", "05"},
    {-3, "#00", "-03"},
    {123, "#00", "123"},
    {0.5, "#.0", ".5"},
    {0.04, "#.0", ".0"},
    {12.34, "#.0", "12.3"},
    {-0.0004, "#0.000", "-0.000"},
    {99.995, "#0.00", "100.00"},
    {9.9999, "#0.00", "10.00"},
    {0.006, "#0.00", "0.01"},
    {0.0, "#0.00", "0.00"},
    {-1234.5678, "#0.0", "-1234.6"},
    {1234567890123456789.0, "#0", "1234567890123460000"},
    {1e-20, "#0.0000", "0.0000"},
    {12345.678, "0.00", "12345.68"},
    {7.0, "#0.0", "7.0"},
};

void checkAllTexts() {
    for (const auto& c : kFloatTexts)
        EXPECT_EQ(shortestText(c.value), c.text) << c.text;
    for (const auto& c : kDoubleTexts)
        EXPECT_EQ(shortestText(c.value), c.text) << c.text;
    for (const auto& c : kPatterns)
        EXPECT_EQ(formatNumber(c.value, c.pattern), c.text) << c.value << " " << c.pattern;
}

TEST(NumberText, ShortestAndPatternTexts) {
    checkAllTexts();
}

TEST(NumberText, FloatPatternsUseSevenDigits) {
    EXPECT_EQ(formatNumber(12345678.9f, "#0"), "12345680");
    EXPECT_EQ(formatNumber(12345678.9, "#0"), "12345679");
    EXPECT_EQ(formatNumber(0.1f, "#0.000"), "0.100");
    EXPECT_EQ(formatNumber(2.675f, "#0.00"), "2.68");
    EXPECT_EQ(formatNumber(7, "#00"), "07");
}

TEST(NumberText, NonFiniteValuesGiveTheClassicTexts) {
    EXPECT_EQ(shortestText(std::numeric_limits<float>::infinity()), "1.#INF");
    EXPECT_EQ(shortestText(-std::numeric_limits<double>::infinity()), "-1.#INF");
    EXPECT_EQ(shortestText(std::nanf("")), "-1.#IND");
    EXPECT_EQ(formatNumber(std::numeric_limits<double>::quiet_NaN(), "#0.00"), "-1.#IND");
}

// The fast writer of the big text files must give the pattern formatter's text byte for byte.
std::string fixedPattern(int decimals) {
    return decimals == 0 ? "#0" : "#0." + std::string(static_cast<size_t>(decimals), '0');
}
template <typename T> std::string fixed(T v, int decimals) {
    std::string out = "x"; // appends, never replaces
    appendFixed(out, v, decimals);
    return out.substr(1);
}

TEST(AppendFixed, GivesThePatternTextOfTheHardCases) {
    struct Case {
        double value;
        int decimals;
        const char* text;
    };
    const Case cases[] = {
        {-999.25, 4, "-999.2500"}, // the LAS null
        {-999.25, 1, "-999.3"},    // a tie rounds away from zero
        {0.125, 2, "0.13"},        // printf would round this tie to even
        {2.675, 2, "2.68"},        // 2.67499999... cut to 15 digits first, then rounded
        {-0.00001, 4, "-0.0000"},  // the sign stays on a value rounded to zero
        {-0.0, 2, "-0.00"},        //
        {0.0, 3, "0.000"},         //
        {9.99995, 4, "10.0000"},   // the carry makes a new integer digit
        {999999.99996, 4, "1000000.0000"},
        {0.00005, 4, "0.0001"},  // the first digit is the one dropped
        {0.000049, 4, "0.0000"}, //
        {0.0000001, 2, "0.00"},  // every digit beyond the places
        {12345.6, 0, "12346"},   // no point without decimals
        {1e20, 2, "100000000000000000000.00"},
        {123456789012345678.0, 1, "123456789012346000.0"}, // 15 digits, then zeros
        {1.5e300, 0, ""},                                  // only compared with the formatter (300 digits)
        {std::numeric_limits<double>::quiet_NaN(), 4, "-1.#IND"},
        {std::numeric_limits<double>::infinity(), 4, "1.#INF"},
        {-std::numeric_limits<double>::infinity(), 2, "-1.#INF"},
        {std::numeric_limits<double>::max(), 3, ""},
        {std::numeric_limits<double>::denorm_min(), 6, "0.000000"},
    };
    for (const auto& c : cases) {
        const std::string want = formatNumber(c.value, fixedPattern(c.decimals));
        EXPECT_EQ(fixed(c.value, c.decimals), want) << c.value << " to " << c.decimals;
        if (*c.text) {
            EXPECT_EQ(want, c.text) << c.value;
        }
        // The float path (seven digits) where the value is one.
        const float f = static_cast<float>(c.value);
        EXPECT_EQ(fixed(f, c.decimals), formatNumber(f, fixedPattern(c.decimals))) << f;
    }
    EXPECT_EQ(fixed(654322.25f, 1), "654322.3"); // a float tie: seven digits, away from zero
    EXPECT_EQ(fixed(0.1f, 3), "0.100");
    EXPECT_EQ(fixed(3.4e38f, 2), formatNumber(3.4e38f, "#0.00"));
}

// Values of every size and sign at every number of places, floats and doubles, against the formatter.
TEST(AppendFixed, AgreesWithThePatternFormatterOnRandomValues) {
    std::mt19937_64 rng(20261124);
    std::uniform_real_distribution<double> mantissa(-10.0, 10.0);
    std::uniform_int_distribution<int> exponent(-12, 16), places(0, 9);
    for (int i = 0; i < 200000; ++i) {
        const int decimals = places(rng);
        double v = mantissa(rng) * std::pow(10.0, exponent(rng));
        if (i % 4 == 0) v = std::round(v * 1e4) / 1e4 + (i % 8 == 0 ? 0.00005 : 0.0); // ties and near ties
        const std::string pattern = fixedPattern(decimals);
        const float f = static_cast<float>(v);
        ASSERT_EQ(fixed(v, decimals), formatNumber(v, pattern)) << std::hexfloat << v << " " << pattern;
        ASSERT_EQ(fixed(f, decimals), formatNumber(f, pattern)) << std::hexfloat << f << " " << pattern;
    }
}

// A reference of the two roundings written the slow way: the exact expansion of a value with a short binary
// fraction (printf is exact there), cut half up to the significant digits, then half up to the places.
std::string slowFixed(double v, int precision, int decimals) {
    char buf[200];
    std::snprintf(buf, sizeof buf, "%.120f", std::fabs(v));
    std::string digits = buf;
    std::size_t intDigits = digits.find('.');
    digits.erase(intDigits, 1);
    // Half up on digit keep; true when the carry made a new leading digit.
    const auto roundAt = [&](std::size_t keep) {
        if (keep >= digits.size()) return false;
        const bool up = digits[keep] >= '5';
        digits.resize(keep);
        if (!up) return false;
        for (std::size_t i = keep; i-- > 0;) {
            if (digits[i] != '9') {
                ++digits[i];
                return false;
            }
            digits[i] = '0';
        }
        digits.insert(digits.begin(), '1');
        return true;
    };
    const std::size_t first = digits.find_first_not_of('0');
    if (first != std::string::npos && roundAt(first + static_cast<std::size_t>(precision))) ++intDigits;
    const auto padTo = [&](std::size_t n) {
        if (digits.size() < n) digits.append(n - digits.size(), '0');
    };
    padTo(intDigits + static_cast<std::size_t>(decimals) + 1);
    if (roundAt(intDigits + static_cast<std::size_t>(decimals))) ++intDigits;
    padTo(intDigits + static_cast<std::size_t>(decimals));
    std::string whole = digits.substr(0, intDigits);
    whole.erase(0, std::min(whole.find_first_not_of('0'), whole.size() - 1));
    return (std::signbit(v) ? "-" : "") + whole +
           (decimals ? "." + digits.substr(intDigits, static_cast<std::size_t>(decimals)) : "");
}

// Values of few binary digits sit on the ties of both roundings; the formatter and the fast writer decide
// them as the exact expansion does.
TEST(AppendFixed, ExactTiesRoundAwayFromZero) {
    std::mt19937_64 rng(7);
    std::uniform_int_distribution<long long> mantissa(-(1LL << 24), 1LL << 24);
    std::uniform_int_distribution<int> scale(0, 40), places(0, 9);
    for (int i = 0; i < 100000; ++i) {
        const double v = std::ldexp(static_cast<double>(mantissa(rng)), -scale(rng));
        const int decimals = places(rng);
        ASSERT_EQ(fixed(v, decimals), slowFixed(v, 15, decimals)) << std::hexfloat << v << " " << decimals;
        const float f = static_cast<float>(v);
        ASSERT_EQ(fixed(f, decimals), slowFixed(f, 7, decimals)) << std::hexfloat << f << " " << decimals;
    }
}

// The files must not change with the user's regional settings.
TEST(NumberText, TextsIgnoreACommaDecimalLocale) {
    struct CommaPoint : std::numpunct<char> {
        char do_decimal_point() const override { return ','; }
        char do_thousands_sep() const override { return '.'; }
        std::string do_grouping() const override { return "\3"; }
    };
    const std::locale saved = std::locale::global(std::locale(std::locale::classic(), new CommaPoint));
    const std::string savedC = std::setlocale(LC_ALL, nullptr);
    const bool german = std::setlocale(LC_ALL, "de_DE.UTF-8") != nullptr;
    checkAllTexts();
    EXPECT_DOUBLE_EQ(val("1.5"), 1.5);
    std::setlocale(LC_ALL, savedC.c_str());
    std::locale::global(saved);
    if (!german)
        GTEST_SKIP() << "de_DE.UTF-8 is not generated on this machine; only the C++ locale was changed";
}

TEST(Val, ReadsLikeBasic) {
    const DoubleCase cases[] = {
        {12.5, "  12.5"}, {123, "1 2 3"},      {1, "1,5"},
        {1000, "1E3"},    {100, "1D2"},        {0, ""},
        {0, "abc"},       {-3.5, "-3.5xyz"},   {-5, "- 5"},
        {4, "+4"},        {0.5, ".5"},         {1.2, "1.2.3"},
        {1, "1e"},        {1.5e-7, "1.5E-07"}, {1.234568e7, "1.234568E+07"},
        {255, "&HFF"},    {-1, "&HFFFF"},      {65535, "&HFFFF&"},
        {8, "&O10"},      {42, "42\r\n"},
    };
    for (const auto& c : cases)
        EXPECT_DOUBLE_EQ(val(c.text), c.value) << '"' << c.text << '"';
}

} // namespace
} // namespace zel
