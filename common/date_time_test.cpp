#include "common/date_time.h"

#include <gtest/gtest.h>

namespace zel {
namespace {

struct TextCase {
    DateTime value;
    const char* text;
};

TEST(GeneralDateText, UsFormWithoutPaddingAndTheMidnightAndZeroDateRules) {
    const TextCase cases[] = {
        {{2016, 4, 12, 15, 45, 10}, "4/12/2016 3:45:10 PM"},
        {{2016, 12, 1, 0, 5, 9}, "12/1/2016 12:05:09 AM"},
        {{2016, 12, 1, 12, 0, 0}, "12/1/2016 12:00:00 PM"},
        {{1900, 12, 30, 0, 0, 0}, "12/30/1900"},    // exactly midnight: date only
        {{1899, 12, 30, 15, 45, 10}, "3:45:10 PM"}, // zero date part: time only
        {{1899, 12, 30, 0, 0, 0}, "12:00:00 AM"},   // both zero
        {{2001, 1, 2, 9, 3, 4}, "1/2/2001 9:03:04 AM"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(generalDateText(c.value), c.text) << c.text;
}

TEST(FormatDateTime, PatternsOfFileNamesAndReferenceTimes) {
    const DateTime t{2016, 4, 2, 15, 5, 9};
    struct Case {
        const char* pattern;
        const char* text;
    };
    const Case cases[] = {
        {"YYYY-MM-DD HH:mm:ss", "2016-04-02 15:05:09"},
        {"YYYYMMDD_HHMMSS", "20160402_150509"}, // MM after an hour means minutes
        {"YYYYMMDD HHnnSS", "20160402 150509"},
        {"m/d/yy h:nn AM/PM", "4/2/16 3:05 PM"},
        {"MMSS", "0509"}, // MM before seconds means minutes
        {"dd.mm.yyyy", "02.04.2016"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(formatDateTime(t, c.pattern), c.text) << c.pattern;
}

TEST(ParseDateTime, AcceptsEveryWrittenAndCommonForm) {
    struct Case {
        const char* text;
        DateTime expected;
    };
    const Case cases[] = {
        {"4/12/2016 3:45:10 PM", {2016, 4, 12, 15, 45, 10}},
        {"  12/1/2016 12:05:09 am ", {2016, 12, 1, 0, 5, 9}},
        {"12/1/2016 12:00:00 PM", {2016, 12, 1, 12, 0, 0}},
        {"12/30/1900", {1900, 12, 30, 0, 0, 0}},
        {"3:45:10 PM", {1899, 12, 30, 15, 45, 10}},
        {"15:45", {1899, 12, 30, 15, 45, 0}},
        {"2016-04-12 15:45:10", {2016, 4, 12, 15, 45, 10}},
        {"2016-04-12T15:45:10", {2016, 4, 12, 15, 45, 10}},
        {"2016-04-12T15:45:10.250Z", {2016, 4, 12, 15, 45, 10}},
        {"2016-04-12", {2016, 4, 12, 0, 0, 0}},
        {"4/12/16 3:45:10 PM", {2016, 4, 12, 15, 45, 10}},
        {"4/12/29", {2029, 4, 12, 0, 0, 0}},
        {"4/12/30", {1930, 4, 12, 0, 0, 0}},
        {"2/29/2016", {2016, 2, 29, 0, 0, 0}},
    };
    for (const auto& c : cases) {
        auto r = parseDateTime(c.text);
        ASSERT_TRUE(r.has_value()) << c.text;
        EXPECT_EQ(*r, c.expected) << c.text;
    }
}

TEST(ParseDateTime, RejectsNonDates) {
    for (const char* text : {"", "   ", "hello", "13/1/2016", "2/30/2016", "2/29/2015", "4/12/2016 25:00:00",
                             "4/12/2016 3:45:10 PMx", "13:00:00 PM", "2016-04", "4/12/201"})
        EXPECT_FALSE(parseDateTime(text).has_value()) << text;
}

TEST(DateTimeSerial, MatchesTheClassicDayCount) {
    struct Case {
        DateTime value;
        double serial;
    };
    const Case cases[] = {
        {{1899, 12, 30, 0, 0, 0}, 0.0},
        {{1900, 1, 1, 0, 0, 0}, 2.0},
        {{1899, 12, 29, 6, 0, 0}, -1.25}, // negative serials keep a positive time fraction
        {{2016, 4, 12, 18, 0, 0}, 42472.75},
    };
    for (const auto& c : cases) {
        EXPECT_DOUBLE_EQ(c.value.toSerial(), c.serial);
        EXPECT_EQ(DateTime::fromSerial(c.serial), c.value);
    }
    const DateTime t{2016, 12, 31, 23, 59, 30};
    EXPECT_EQ(t.addSeconds(45), (DateTime{2017, 1, 1, 0, 0, 15}));
    EXPECT_EQ((DateTime{2016, 3, 1}.addSeconds(-1)), (DateTime{2016, 2, 29, 23, 59, 59}));
}

} // namespace
} // namespace zel
