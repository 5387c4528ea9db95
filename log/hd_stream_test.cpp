#include "log/hd_stream.h"

#include "log/log_arrays.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

namespace zel {
namespace {

using namespace hd_layout;

constexpr float kUntouched = -777.0f;

HdBoardValues boardValues() {
    HdBoardValues b{};
    for (int c = 0; c < kBoardColumns; ++c)
        b[static_cast<std::size_t>(c)] = 100.0f + static_cast<float>(c);
    return b;
}

// A record made for a mask and spread again lands every selected board column in its own per-point column,
// the channels less the background in 8..11 and the wave, and the push's values where the log keeps them;
// what the mask leaves out is not touched.
TEST(HdStream, RecordsSpreadBackToTheColumnsTheyCameFrom) {
    const HdBoardValues board = boardValues();
    const std::array<float, kPushValues> push{12.5f, 37.0f, 4.25f, 9.0f};
    const HdChannels background{1.0f, 2.0f, 3.0f, 4.0f};
    struct Case {
        std::uint32_t mask;
        std::vector<int> columns; // board columns expected in the record, in record order
    };
    const std::vector<Case> cases{
        {0x0FFFu | kPushValuesBit, {0, 1, 2, 3, 4, 5, 6, 11, 7, 8, 9, 10}},
        {0x0080u | kPushValuesBit, {11}},
        {0x001Eu, {1, 2, 3, 4}},
        {0x0901u, {0, 7, 10}},
    };
    for (const Case& c : cases) {
        const std::vector<float> record = HdStreamRecord(c.mask, board, push);
        ASSERT_EQ(record.size(), static_cast<std::size_t>(recordValues(c.mask))) << c.mask;
        for (std::size_t i = 0; i < c.columns.size(); ++i)
            EXPECT_EQ(record[i], board[static_cast<std::size_t>(c.columns[i])]) << c.mask << " " << i;

        std::vector<float> columns(kPointColumns, kUntouched);
        std::vector<float> wave(kSignalColumns, kUntouched);
        DistributeHdRecord(c.mask, record, background, columns, wave);
        for (int col = 0; col < kBoardColumns; ++col) {
            const bool selected = std::find(c.columns.begin(), c.columns.end(), col) != c.columns.end();
            EXPECT_EQ(columns[static_cast<std::size_t>(kFirstBoardPointColumn + col)],
                      selected ? board[static_cast<std::size_t>(col)] : kUntouched)
                << c.mask << " column " << col;
            const int k = col - kFirstSignalColumn;
            if (k >= 0 && k < kSignalColumns) {
                const float expected =
                    selected ? board[static_cast<std::size_t>(col)] - background[k] : kUntouched;
                EXPECT_EQ(wave[static_cast<std::size_t>(k)], expected) << c.mask << " channel " << k;
                EXPECT_EQ(columns[static_cast<std::size_t>(point_column::Ch1 + k)], expected);
            }
        }
        const bool withPush = (c.mask & kPushValuesBit) != 0;
        EXPECT_EQ(columns[point_column::Depth], withPush ? push[PushDepth] : kUntouched) << c.mask;
        EXPECT_EQ(columns[point_column::Signal], withPush ? push[PushSignal] : kUntouched) << c.mask;
        EXPECT_EQ(columns[point_column::Conductivity], withPush ? push[PushConductivity] : kUntouched);
        EXPECT_EQ(columns[point_column::Rate], withPush ? push[PushRate] : kUntouched) << c.mask;
    }
}

TEST(HdStream, ShortRecordsAndShortRowsAreLeftAlone) {
    const std::uint32_t mask = 0x0FFFu | kPushValuesBit;
    const std::vector<float> record(static_cast<std::size_t>(recordValues(mask)) - 1, 1.0f);
    std::vector<float> columns(kPointColumns, kUntouched), wave(kSignalColumns, kUntouched);
    DistributeHdRecord(mask, record, {}, columns, wave);
    EXPECT_EQ(columns, std::vector<float>(kPointColumns, kUntouched));
    const std::vector<float> whole(static_cast<std::size_t>(recordValues(mask)), 1.0f);
    std::vector<float> narrow(kPointColumns - 1, kUntouched);
    DistributeHdRecord(mask, whole, {}, narrow, wave);
    EXPECT_EQ(narrow, std::vector<float>(kPointColumns - 1, kUntouched));
}

TEST(HdStream, PercentREIsTheBackgroundFreeSumsRatio) {
    struct Case {
        HdChannels point, re, background;
        float expected;
    };
    const std::vector<Case> cases{
        {{2, 2, 2, 2}, {4, 4, 4, 4}, {0, 0, 0, 0}, 50.0f}, {{3, 3, 3, 3}, {5, 5, 5, 5}, {1, 1, 1, 1}, 50.0f},
        {{1, 1, 1, 1}, {5, 5, 5, 5}, {1, 1, 1, 1}, 0.0f},  {{9, 0, 0, 0}, {1, 2, 3, 4}, {0, 0, 0, 0}, 90.0f},
        {{5, 5, 5, 5}, {1, 1, 1, 1}, {1, 1, 1, 1}, 0.0f}, // RE no brighter than the background
        {{5, 5, 5, 5}, {0, 0, 0, 0}, {1, 1, 1, 1}, 0.0f},
    };
    for (const Case& c : cases)
        EXPECT_FLOAT_EQ(HdPercentRE(c.point, c.re, c.background), c.expected);
}

TEST(HdStream, RecordValuesCountTheBoardBitsAndThePushValues) {
    EXPECT_EQ(recordValues(0), 0);
    EXPECT_EQ(recordValues(0x0FFF), 12);
    EXPECT_EQ(recordValues(0x0FFF | kPushValuesBit), 16);
    EXPECT_EQ(recordValues(kPushValuesBit), 4);
    EXPECT_EQ(recordValues(0xB000), 0); // bits above 11 other than 14 carry nothing
    EXPECT_EQ(recordValues(0x3000 | 0x0081), 2);
}

} // namespace
} // namespace zel
