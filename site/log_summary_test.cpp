// The summary table's choices: the name column, the RE area column, the callout maxima, the totals rows.
#include "site/log_summary.h"

#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

namespace zel::site {
namespace {

std::vector<std::vector<std::string>> rowsOf(const std::string& csv) {
    std::vector<std::vector<std::string>> rows;
    std::istringstream in(csv);
    for (std::string line; std::getline(in, line);) {
        if (!line.empty() && line.back() == '\r') line.pop_back();
        std::vector<std::string> cells;
        std::string cell;
        for (char c : line + ",") {
            if (c == ',') {
                cells.push_back(cell);
                cell.clear();
            } else {
                cell += c;
            }
        }
        rows.push_back(cells);
    }
    return rows;
}

std::vector<LogSummary> twoLogs() {
    LogSummary a;
    a.name = "B1";
    a.file = "/site/B1.lif.raw.bin";
    a.date = "2026-11-23";
    a.totalDepth = 12.5f;
    a.footage = 12.0f;
    a.points = 100;
    a.maxSignal = 40.25f;
    a.reArea = 8700;
    a.callouts = {{"Fuel", 2, 4, 40.25f, 3.5f, 20}, {"Below", 9, 20, 0, 0, 0}};
    LogSummary b = a;
    b.name = "B2";
    b.file = "/site/B2.lif.raw.bin";
    b.date = "2026-11-24";
    b.metric = true;
    b.totalDepth = 3.0f;
    b.footage = 3.0f; // metres: 9.84 ft
    b.points = 50;
    b.maxSignal = 2.0f;
    b.callouts = {};
    return {a, b};
}

TEST(SummaryCsv, NameColumnFollowsTheNameFormat) {
    const std::pair<int, const char*> cases[] = {
        {0, "B1"}, {1, "B1.lif.raw.bin"}, {2, "/site/B1.lif.raw.bin"}};
    for (const auto& [format, name] : cases) {
        SummaryOptions o;
        o.nameFormat = format;
        EXPECT_EQ(rowsOf(summaryCsv(twoLogs(), o))[1][0], name) << format;
    }
}

TEST(SummaryCsv, ColumnsFollowTheChoicesAndEveryRowFitsTheHeader) {
    struct Case {
        bool area, callouts;
        std::size_t columns;
    };
    for (const Case& c : {Case{true, false, 22}, Case{false, false, 21}, Case{true, true, 28}}) {
        SummaryOptions o;
        o.reArea = c.area;
        o.calloutMax = c.callouts;
        o.totals = true;
        o.footageByDate = true;
        const auto rows = rowsOf(summaryCsv(twoLogs(), o));
        ASSERT_EQ(rows.size(), 1u + 2 + 1 + 2);
        EXPECT_EQ(rows[0].size(), c.columns);
        for (const auto& row : rows)
            EXPECT_LE(row.size(), c.columns) << row[0];
        for (std::size_t r = 1; r <= 2; ++r)
            EXPECT_EQ(rows[r].size(), c.columns) << r;
        const bool hasArea = summaryCsv(twoLogs(), o).find("RE area (pVs)") != std::string::npos;
        EXPECT_EQ(hasArea, c.area);
        if (c.callouts) {
            // B1's two ranges, B2 with none: empty cells; a range without points has no maximum.
            EXPECT_EQ(rows[0][22], "Callout 1");
            EXPECT_EQ(rows[1][22], "Fuel");
            EXPECT_EQ(rows[1][23], "40.25");
            EXPECT_EQ(rows[1][24], "3.50");
            EXPECT_EQ(rows[1][25], "Below");
            EXPECT_EQ(rows[1][26], "");
            EXPECT_EQ(rows[2][22], "");
        }
    }
}

TEST(SummaryCsv, TotalsAndFootageByDateInFeet) {
    SummaryOptions o;
    o.totals = true;
    o.footageByDate = true;
    const auto rows = rowsOf(summaryCsv(twoLogs(), o));
    const auto& total = rows[3];
    EXPECT_EQ(total[0], "Total (2 logs)");
    EXPECT_EQ(total[14], "ft");
    EXPECT_EQ(total[15], "12.50"); // the deepest, B1 (B2's 3 m is 9.84 ft)
    EXPECT_EQ(total[16], "21.84"); // 12 ft + 3 m
    EXPECT_EQ(total[17], "150");
    EXPECT_EQ(total[18], "40.25");
    EXPECT_EQ(rows[4][0], "Footage 2026-11-23");
    EXPECT_EQ(rows[4][2], "2026-11-23");
    EXPECT_EQ(rows[4][16], "12.00");
    EXPECT_EQ(rows[5][16], "9.84");

    // Neither: the table alone.
    EXPECT_EQ(rowsOf(summaryCsv(twoLogs())).size(), 3u);
}

TEST(PageBaseName, ByNameOrByDateAndName) {
    EXPECT_EQ(pageBaseName("B1", "2026-11-24", 0), "B1");
    EXPECT_EQ(pageBaseName("B1", "2026-11-24", 1), "2026-11-24_B1");
    EXPECT_EQ(pageBaseName("B1", "", 1), "B1"); // no date: the name alone
}

} // namespace
} // namespace zel::site
