// zel-cli push --sim over a rig site of known layers: what the push logs at each depth against what the
// site holds there, and the same seed giving the same log.

#include "tests/e2e/run_program.h"

#include "common/number_text.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <cmath>
#include <fstream>
#include <numeric>
#include <sstream>

namespace zel::e2e {
namespace {

const std::string kCli = ZEL_CLI;

// Soil, a bright product between 1.5 and 3.0 ft with its own channel balance, soil again.
constexpr const char* kSite = R"({
  "name": "Bright layer", "lat": 45.5, "lon": -73.6, "alt_m": 30, "water_table_ft": 2.0, "bottom_ft": 4.6,
  "layers": [
    {"top_ft": 0.0, "bottom_ft": 1.5, "pct_re": 0.5, "shares": [30, 35, 22, 13], "decay_ns": [5, 6, 7, 8],
     "ec_ms_m": 15, "k_ft_day": 8},
    {"top_ft": 1.5, "bottom_ft": 3.0, "pct_re": 40, "shares": [10, 20, 30, 40], "decay_ns": [8, 10, 12, 14],
     "ec_ms_m": 90, "k_ft_day": 20},
    {"top_ft": 3.0, "bottom_ft": 4.6, "pct_re": 0.5, "shares": [30, 35, 22, 13], "decay_ns": [5, 6, 7, 8],
     "ec_ms_m": 35, "k_ft_day": 2}
  ]
})";

struct Row {
    double depth = 0, signal = 0, ec = 0;
    std::array<double, 4> ch{};
};

std::vector<std::string> split(const std::string& line, char sep) {
    std::vector<std::string> f;
    std::stringstream in(line);
    for (std::string s; std::getline(in, s, sep);)
        f.push_back(s);
    return f;
}

// The push's data export, one row a point.
std::vector<Row> exportRows(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::vector<Row> rows;
    std::string line;
    std::getline(in, line); // the column names
    while (std::getline(in, line)) {
        if (!line.empty() && line.back() == '\r') line.pop_back();
        const auto f = split(line, '\t');
        if (f.size() < 9) continue;
        Row r;
        r.depth = val(f[0]);
        r.signal = val(f[1]);
        for (int c = 0; c < 4; ++c)
            r.ch[c] = val(f[2 + c]);
        r.ec = val(f[8]);
        rows.push_back(r);
    }
    return rows;
}

struct Push {
    RunResult result;
    std::vector<Row> rows;
};

Push push(const TempDir& dir, const std::string& name, int seed) {
    const std::string site = dir.write("site.json", kSite);
    Push p;
    p.result = runProgram(kCli + " push --sim --site " + quote(site) + " --seed " + std::to_string(seed) +
                          " --rate 1 --rod-ft 0 --sweep-ms 0 --points 40 --yes --name " + name + " --out " +
                          quote(dir.path.string()));
    std::string out = p.result.out;
    while (!out.empty() && out.back() == '\n')
        out.pop_back();
    const auto summary = nlohmann::json::parse(out.substr(out.rfind('\n') + 1), nullptr, false);
    if (summary.is_object() && summary.contains("data_export"))
        p.rows = exportRows(summary["data_export"].get<std::string>());
    return p;
}

// Inside the bright layer (away from its contacts) the log holds the layer's %RE and channel balance and the
// soil's conductivity; outside it the soil's faint background; the log's maximum lies in the layer.
TEST(RigPush, LogFollowsTheSiteLayers) {
    TempDir dir;
    const Push p = push(dir, "Layers", 7);
    ASSERT_EQ(p.result.exitCode, 0) << p.result.err;
    ASSERT_EQ(p.rows.size(), 40u);
    const std::array<double, 4> layerShares{0.10, 0.20, 0.30, 0.40};
    int inside = 0, outside = 0;
    const Row* max = &p.rows.front();
    for (const Row& r : p.rows) {
        if (r.signal > max->signal) max = &r;
        if (r.depth > 1.8 && r.depth < 2.7) {
            ++inside;
            EXPECT_NEAR(r.signal, 40.0, 2.0) << "at " << r.depth << " ft";
            const double total = std::accumulate(r.ch.begin(), r.ch.end(), 0.0);
            ASSERT_GT(total, 0.0);
            for (int c = 0; c < 4; ++c)
                EXPECT_NEAR(r.ch[c] / total, layerShares[c], 0.02)
                    << "channel " << c + 1 << " at " << r.depth;
            EXPECT_NEAR(r.ec, 90.0, 2.0) << "at " << r.depth << " ft";
        } else if (r.depth < 1.0 || (r.depth > 3.5 && r.depth < 4.5)) {
            ++outside;
            EXPECT_NEAR(r.signal, 0.5, 1.0) << "at " << r.depth << " ft";
            EXPECT_NEAR(r.ec, r.depth < 1.0 ? 15.0 : 35.0, 2.0) << "at " << r.depth << " ft";
        }
    }
    EXPECT_GE(inside, 6);
    EXPECT_GE(outside, 10);
    EXPECT_GT(max->depth, 1.5);
    EXPECT_LT(max->depth, 3.0);
}

TEST(RigPush, SameSeedGivesTheSameLog) {
    TempDir dir;
    const Push a = push(dir, "SeedA", 11);
    const Push b = push(dir, "SeedB", 11);
    ASSERT_EQ(a.result.exitCode, 0) << a.result.err;
    ASSERT_EQ(b.result.exitCode, 0) << b.result.err;
    ASSERT_EQ(a.rows.size(), 40u);
    ASSERT_EQ(b.rows.size(), 40u);
    for (std::size_t i = 0; i < a.rows.size(); ++i) {
        EXPECT_EQ(a.rows[i].depth, b.rows[i].depth) << "point " << i;
        EXPECT_EQ(a.rows[i].signal, b.rows[i].signal) << "point " << i;
        EXPECT_EQ(a.rows[i].ch, b.rows[i].ch) << "point " << i;
    }
}

TEST(RigPush, MalformedSiteFileIsRefusedNamingTheKey) {
    TempDir dir;
    const std::string site =
        dir.write("bad.json", R"({"layers": [{"top_ft": 0, "bottom_ft": 2, "pct_re": "x"}]})");
    const RunResult r = runProgram(kCli + " push --sim --site " + quote(site) + " --points 2 --yes --out " +
                                   quote(dir.path.string()));
    EXPECT_NE(r.exitCode, 0);
    EXPECT_NE(r.err.find("layers[0].pct_re"), std::string::npos) << r.err;
}

} // namespace
} // namespace zel::e2e
