// Hydraulic-profiling pushes (zel-cli push --sim /PF) over a rig site of layers of known hydraulic
// conductivity and a known water table: the K estimate the export gives in each layer, and the water table
// a dissipation test finds, against what the site holds.

#include "tests/e2e/loaded_log.h"
#include "tests/e2e/run_program.h"

#include "analysis/dissipation.h"
#include "common/number_text.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <cmath>
#include <fstream>
#include <sstream>

namespace zel::e2e {
namespace {

const std::string kCli = ZEL_CLI;

constexpr double kWaterTableFt = 6.0;
// The simulated unit holds the corrected pressure at 90 PSI in all three layers (the pump's limit): the flow
// carries the soil's K.
constexpr double kPressureLimitPsi = 90.0;
constexpr const char* kSite = R"({
  "name": "HP layers", "lat": 45.5, "lon": -73.6, "alt_m": 30, "water_table_ft": 6.0, "bottom_ft": 12.0,
  "layers": [
    {"top_ft": 0.0, "bottom_ft": 4.0, "k_ft_day": 3},
    {"top_ft": 4.0, "bottom_ft": 8.0, "k_ft_day": 25},
    {"top_ft": 8.0, "bottom_ft": 12.0, "k_ft_day": 5}
  ]
})";

// Inside each layer, away from its contacts (they blend over about four inches, and a reading may be a
// fifth of a second older than its point).
struct Layer {
    double top, bottom, k;
};
constexpr Layer kLayers[] = {{0.6, 3.4, 3.0}, {4.6, 7.4, 25.0}, {8.6, 11.4, 5.0}};

// The K estimate's tolerance against the site's K, ft/day.
constexpr double kKToleranceFtDay = 0.4;

struct HpRow {
    double depth = 0, k = 0;
};

std::vector<HpRow> hpRows(const std::string& exportPath) {
    std::ifstream in(exportPath, std::ios::binary);
    std::string line;
    std::getline(in, line);
    std::vector<std::string> names;
    {
        std::stringstream s(line);
        for (std::string f; std::getline(s, f, '\t');)
            names.push_back(f.back() == '\r' ? f.substr(0, f.size() - 1) : f);
    }
    const auto column = [&](const std::string& name) {
        return static_cast<std::size_t>(std::find(names.begin(), names.end(), name) - names.begin());
    };
    const std::size_t depthCol = column("HP Depth"), kCol = column("HP K est.");
    std::vector<HpRow> rows;
    if (depthCol >= names.size() || kCol >= names.size()) return rows;
    while (std::getline(in, line)) {
        if (!line.empty() && line.back() == '\r') line.pop_back();
        std::vector<std::string> f;
        std::stringstream s(line);
        for (std::string v; std::getline(s, v, '\t');)
            f.push_back(v);
        if (f.size() > kCol) rows.push_back({val(f[depthCol]), val(f[kCol])});
    }
    return rows;
}

struct HpPush {
    RunResult result;
    nlohmann::json summary;
    std::vector<HpRow> rows;
};

HpPush push(const TempDir& dir, const std::string& name, const std::string& extra) {
    const std::string site = dir.write("site.json", kSite);
    HpPush p;
    p.result = runProgram(
        kCli + " push --sim --site " + quote(site) +
        " --seed 3 --rate 1 --rod-ft 0 --sweep-ms 0 --points 10001 --stop-depth 11.6 --yes --name " + name +
        " --out " + quote(dir.path.string()) + " " + extra);
    const auto brace = p.result.out.rfind("\n{");
    if (brace != std::string::npos)
        p.summary = nlohmann::json::parse(p.result.out.substr(brace + 1), nullptr, false);
    if (p.summary.is_object() && p.summary.contains("data_export"))
        p.rows = hpRows(p.summary["data_export"].get<std::string>());
    return p;
}

// What the estimate gives at a depth when the water column above the probe is taken for soil resistance:
// the 0.433 PSI a foot below the water table adds to the corrected pressure while the flow stays.
double withoutHydrostaticCorrection(double k, double depthFt) {
    const double head = depthFt > kWaterTableFt ? (depthFt - kWaterTableFt) * 0.433 : 0.0;
    return k - 20.0 * std::log((kPressureLimitPsi + head) / kPressureLimitPsi);
}

TEST(HydraulicPush, KInEachLayerAndTheWaterTableOfADissipationTest) {
    TempDir dir;
    // The plain push: no water table known, so below it the estimate is low by the water column.
    const HpPush plain = push(dir, "HP", "/PF");
    ASSERT_EQ(plain.result.exitCode, 0) << plain.result.err;
    ASSERT_TRUE(plain.summary["instruments"]["presflow"].get<bool>());
    LoadedLog plainLog(plain.summary["raw_log"].get<std::string>());
    ASSERT_TRUE(plainLog.ok);
    EXPECT_TRUE(plainLog.log.PresFlow());
    const int points = plain.summary["points"].get<int>();
    ASSERT_GT(points, 80);
    ASSERT_EQ(plainLog.arrays.presFlow.points(), points); // the four lists, one element a point
    ASSERT_EQ(static_cast<int>(plain.rows.size()), points);
    for (int p = 1; p < points; ++p) // the unit's clock runs with the push
        EXPECT_GE(plainLog.arrays.presFlow(presflow_column::Time, p),
                  plainLog.arrays.presFlow(presflow_column::Time, p - 1));

    // With a dissipation test at 9 ft, 3 ft under the water table.
    const HpPush tested = push(dir, "HPdis", "/PF --dissipation 9:40");
    ASSERT_EQ(tested.result.exitCode, 0) << tested.result.err;
    EXPECT_NE(tested.result.out.find("dissipation 0 depth "), std::string::npos) << tested.result.out;
    LoadedLog testedLog(tested.summary["raw_log"].get<std::string>());
    ASSERT_TRUE(testedLog.ok);
    EXPECT_TRUE(testedLog.log.DisInclude(0));
    EXPECT_NEAR(testedLog.log.DisDepth(0), 9.0, 0.05);
    EXPECT_NEAR(testedLog.log.DisWT(0), kWaterTableFt, 0.1);
    EXPECT_NEAR(testedLog.log.DisWTavg(), kWaterTableFt, 0.1);
    EXPECT_NEAR(testedLog.log.DisPres(0), 18.6 + 3.0 * 0.433, 0.05);
    // Its curve beside the log, from the pump's pressure down to the static head.
    std::string error;
    const auto curves = readDissipationFile(tested.summary["dissipation"].get<std::string>(), error);
    ASSERT_TRUE(curves) << error;
    ASSERT_EQ(curves->size(), 1u);
    ASSERT_GT((*curves)[0].presDown.size(), 20u);
    EXPECT_GT((*curves)[0].presDown.front(), (*curves)[0].presDown.back() + 50.0f);
    EXPECT_NEAR((*curves)[0].presDown.back(), 18.6 + 3.0 * 0.433, 0.1);
    // zel-cli info reports the test with its curve.
    const RunResult info = runProgram(kCli + " info " + quote(tested.summary["raw_log"].get<std::string>()));
    ASSERT_EQ(info.exitCode, 0) << info.err;
    const auto hp = nlohmann::json::parse(info.out)["hydraulic"];
    EXPECT_EQ(hp["reference_test"], "not taken");
    EXPECT_NEAR(hp["water_table_ft"].get<double>(), kWaterTableFt, 0.1);
    ASSERT_EQ(hp["dissipation_tests"].size(), 1u);
    EXPECT_EQ(hp["dissipation_tests"][0]["readings"].get<std::size_t>(), (*curves)[0].timeS.size());

    double worst = 0.0;
    for (const Layer& layer : kLayers) {
        int inPlain = 0, inTested = 0;
        for (const HpRow& r : plain.rows)
            if (r.depth >= layer.top && r.depth <= layer.bottom) {
                ++inPlain;
                const double expected = withoutHydrostaticCorrection(layer.k, r.depth);
                EXPECT_NEAR(r.k, expected, kKToleranceFtDay) << "plain push at " << r.depth;
                worst = std::max(worst, std::fabs(r.k - expected));
            }
        for (const HpRow& r : tested.rows)
            if (r.depth >= layer.top && r.depth <= layer.bottom) {
                ++inTested;
                EXPECT_NEAR(r.k, layer.k, kKToleranceFtDay) << "push with the water table at " << r.depth;
                worst = std::max(worst, std::fabs(r.k - layer.k));
            }
        EXPECT_GT(inPlain, 10) << layer.top;
        EXPECT_GT(inTested, 10) << layer.top;
    }
    std::cerr << "largest K error inside the layers: " << formatNumber(worst, "0.000") << " ft/day\n";
}

// The rig's operator puts the probe in the water tube as each prompt asks: the two live readings differ by a
// foot of water and pass the test's window; the log and zel-cli info keep them.
TEST(HydraulicPush, TheReferenceTestsReadAFootOfWaterInTheTube) {
    TempDir dir;
    const HpPush tested = push(dir, "HPref", "/PF --reference-tests");
    ASSERT_EQ(tested.result.exitCode, 0) << tested.result.err;
    const std::string& out = tested.result.out;
    const std::string& messages = tested.result.err;
    EXPECT_NE(messages.find("Passed test."), std::string::npos) << messages;
    EXPECT_EQ(messages.find("Failed test"), std::string::npos) << messages;
    const auto printed = [&out](const std::string& key) {
        const auto at = out.find(key + " ");
        return at == std::string::npos ? -1.0 : val(out.substr(at + key.size() + 1, 12));
    };
    const double oneFoot = printed("HPT1ft"), zeroFoot = printed("HPT0ft");
    EXPECT_NEAR(zeroFoot, 18.6, 0.05); // the transducer's surface reading
    EXPECT_NEAR(oneFoot - zeroFoot, 0.433, 0.0433);
    const RunResult info = runProgram(kCli + " info " + quote(tested.summary["raw_log"].get<std::string>()));
    ASSERT_EQ(info.exitCode, 0) << info.err;
    const auto hp = nlohmann::json::parse(info.out)["hydraulic"];
    EXPECT_EQ(hp["reference_test"], "passed");
    EXPECT_NEAR(hp["hpt1ft"].get<double>(), oneFoot, 0.001);
    EXPECT_NEAR(hp["hpt0ft"].get<double>(), zeroFoot, 0.001);
}

TEST(HydraulicPush, ADissipationTestNeedsThePressureFlowUnit) {
    TempDir dir;
    const RunResult r = runProgram(kCli + " push --sim --points 3 --yes --out " + quote(dir.path.string()) +
                                   " --dissipation 5:30");
    EXPECT_EQ(r.exitCode, 2);
    EXPECT_NE(r.err.find("needs the pressure/flow unit"), std::string::npos) << r.err;
}

} // namespace
} // namespace zel::e2e
