// zel-cli cond-cal against the rig: the probe put in each standard solution by the rig's operator, the
// curve fitted and kept in the options file, and the pushes after it logging the site's conductivity
// through it. The rig's circuit has an offset and a slope of its own, so the nominal set-up (100 mS/m a
// volt, no offset) logs the wrong values: only the calibration makes them right.

#include "tests/e2e/run_program.h"

#include "common/number_text.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <cmath>
#include <fstream>
#include <sstream>

namespace zel::e2e {
namespace {

const std::string kCli = ZEL_CLI;

// Three layers of known conductivity (mS/m).
constexpr const char* kSite = R"({
  "name": "Conductive layer", "lat": 45.5, "lon": -73.6, "alt_m": 30, "water_table_ft": 2.0, "bottom_ft": 6.0,
  "layers": [
    {"top_ft": 0.0, "bottom_ft": 1.8, "pct_re": 0.5, "shares": [30, 35, 22, 13], "decay_ns": [5, 6, 7, 8],
     "ec_ms_m": 15, "k_ft_day": 8},
    {"top_ft": 1.8, "bottom_ft": 3.6, "pct_re": 5, "shares": [10, 20, 30, 40], "decay_ns": [8, 10, 12, 14],
     "ec_ms_m": 240, "k_ft_day": 20},
    {"top_ft": 3.6, "bottom_ft": 6.0, "pct_re": 0.5, "shares": [30, 35, 22, 13], "decay_ns": [5, 6, 7, 8],
     "ec_ms_m": 35, "k_ft_day": 2}
  ]
})";

// The rig's circuit: volts = 0.4 + mS/m / 150.
constexpr double kOffsetV = 0.4;
constexpr double kMsPerV = 150.0;
const std::string kCircuit = " --cond-ms-per-v 150 --cond-offset-v 0.4";

// A reading is the mean of 12-bit values of a 5 V input: within a step of the circuit's voltage.
constexpr double kVoltTolerance = 5.0 / 4096.0;
// The logged conductivity against the site's: the input's step is 0.18 mS/m; the rig blends the layers over
// their contacts (within a tenth of a mS/m of the layer's value 0.6 ft away).
constexpr double kMsTolerance = 1.0;

double siteMs(double depthFt) {
    return depthFt < 1.8 ? 15.0 : depthFt < 3.6 ? 240.0 : 35.0;
}

bool awayFromContacts(double depthFt) {
    return std::fabs(depthFt - 1.8) > 0.6 && std::fabs(depthFt - 3.6) > 0.6;
}

std::vector<std::string> split(const std::string& line, char sep) {
    std::vector<std::string> f;
    std::stringstream in(line);
    for (std::string s; std::getline(in, s, sep);)
        f.push_back(s);
    return f;
}

// Depth and conductivity of each point of a push's data export.
std::vector<std::pair<double, double>> conductivityRows(const RunResult& push) {
    std::vector<std::pair<double, double>> rows;
    const auto summary = lastJsonLine(push);
    if (!summary.is_object() || !summary.contains("data_export")) return rows;
    std::ifstream in(summary["data_export"].get<std::string>(), std::ios::binary);
    std::string line;
    std::getline(in, line);
    while (std::getline(in, line)) {
        if (!line.empty() && line.back() == '\r') line.pop_back();
        const auto f = split(line, '\t');
        if (f.size() >= 9) rows.emplace_back(val(f[0]), val(f[8]));
    }
    return rows;
}

RunResult pushWith(const std::string& env, const TempDir& dir, const std::string& site,
                   const std::string& name) {
    return runProgram(env + kCli + " push --sim --site " + quote(site) + kCircuit +
                      " --seed 3 --rate 1 --rod-ft 0 --sweep-ms 0 --points 50 --yes --name " + name +
                      " --out " + quote(dir.path.string()));
}

TEST(CondCal, CalibratedAgainstTheRigThePushLogsTheSitesConductivity) {
    TempDir dir;
    const std::string site = dir.write("site.json", kSite);
    const std::string env = "ZEL_DATA_ROOT=" + quote((dir.path / "root").string()) + " ";

    const RunResult cal =
        runProgram(env + kCli + " cond-cal --sim --yes --json --settle-s 0.3 --readings 5 --site " +
                   quote(site) + kCircuit);
    ASSERT_EQ(cal.exitCode, 0) << cal.err;
    const auto j = lastJsonLine(cal);
    ASSERT_TRUE(j.is_object()) << cal.out;
    const std::array<double, 4> solutions{0, 25, 266, 560};
    for (std::size_t i = 0; i < 4; ++i) {
        EXPECT_NEAR(j["volts"][i].get<double>(), kOffsetV + solutions[i] / kMsPerV, kVoltTolerance) << i;
        EXPECT_EQ(j["ms"][i].get<double>(), solutions[i]);
    }
    // A straight circuit: the curve is its line, mS/m = -60 + 150 V.
    EXPECT_NEAR(j["constants"][0].get<double>(), -kOffsetV * kMsPerV, 1.0);
    EXPECT_NEAR(j["constants"][1].get<double>(), kMsPerV, 1.0);
    EXPECT_NEAR(j["constants"][2].get<double>(), 0.0, 0.2);
    EXPECT_LT(j["worst_residual_ms"].get<double>(), kMsTolerance);
    ASSERT_FALSE(j["options_file"].get<std::string>().empty());

    const RunResult push = pushWith(env, dir, site, "Calibrated");
    ASSERT_EQ(push.exitCode, 0) << push.err;
    const auto rows = conductivityRows(push);
    ASSERT_EQ(rows.size(), 50u);
    int checked = 0;
    for (const auto& [depth, ms] : rows) {
        if (!awayFromContacts(depth)) continue;
        ++checked;
        EXPECT_NEAR(ms, siteMs(depth), kMsTolerance) << "at " << depth << " ft";
    }
    EXPECT_GE(checked, 15);

    // DATA_INFO holds the voltages, their solutions and the constants the push converted with.
    const auto summary = lastJsonLine(push);
    const RunResult info = runProgram(kCli + " info " + quote(summary["raw_log"].get<std::string>()));
    ASSERT_EQ(info.exitCode, 0) << info.err;
    const auto header = nlohmann::json::parse(info.out)["header"]["DATA_INFO"];
    const auto number = [&](const std::string& key) { return val(header[key].get<std::string>()); };
    for (std::size_t i = 0; i < 4; ++i) {
        const std::string s = std::to_string(static_cast<int>(solutions[i]));
        EXPECT_NEAR(number("Conductivity_V" + s), j["volts"][i].get<double>(), 1e-4) << s;
        EXPECT_EQ(number("Conductivity_mS" + s), solutions[i]) << s;
    }
    for (std::size_t k = 0; k < 3; ++k)
        EXPECT_NEAR(number("Conductivity_Constant(" + std::to_string(k) + ")"),
                    j["constants"][k].get<double>(), 1e-3 * (1 + std::fabs(j["constants"][k].get<double>())))
            << k;
}

TEST(CondCal, WithoutTheCalibrationTheNominalSetUpMisreadsTheCircuit) {
    TempDir dir;
    const std::string site = dir.write("site.json", kSite);
    const std::string env = "ZEL_DATA_ROOT=" + quote((dir.path / "root").string()) + " ";
    const RunResult push = pushWith(env, dir, site, "Nominal");
    ASSERT_EQ(push.exitCode, 0) << push.err;
    const auto rows = conductivityRows(push);
    ASSERT_EQ(rows.size(), 50u);
    // 100 mS/m a volt over the rig's 0.4 V + mS/m / 150.
    for (const auto& [depth, ms] : rows) {
        if (awayFromContacts(depth)) {
            EXPECT_NEAR(ms, 100.0 * (kOffsetV + siteMs(depth) / kMsPerV), kMsTolerance)
                << "at " << depth << " ft";
        }
    }
}

TEST(CondCal, AReadingOffTheInputsRangeIsRefusedAndTheSetUpKept) {
    TempDir dir;
    const std::string env = "ZEL_DATA_ROOT=" + quote((dir.path / "root").string()) + " ";
    // 560 mS/m through 100 mS/m a volt is past the 5 V input: the last reading sits at its top.
    const RunResult cal = runProgram(env + kCli + " cond-cal --sim --yes --settle-s 0.3 --readings 3");
    EXPECT_EQ(cal.exitCode, 1);
    EXPECT_NE(
        cal.err.find("The reading in the 560 mS/m solution (4.999 V) is at the end of the input's range."),
        std::string::npos)
        << cal.err;
    EXPECT_FALSE(std::filesystem::exists(dir.path / "root" / "ini" / "ZEL_Options.ini"));
}

TEST(CondCal, CancelledAtAPromptKeepsTheSetUp) {
    TempDir dir;
    const std::string env = "ZEL_DATA_ROOT=" + quote((dir.path / "root").string()) + " ";
    const RunResult cal =
        runProgram(env + kCli + " cond-cal --sim --no --settle-s 0.1 --readings 2" + kCircuit);
    EXPECT_EQ(cal.exitCode, 1);
    EXPECT_NE(cal.err.find("Put the probe in the 0 mS/m solution, then press OK."), std::string::npos)
        << cal.err;
    EXPECT_NE(cal.err.find("The calibration was cancelled; the set-up keeps its calibration."),
              std::string::npos);
    EXPECT_FALSE(std::filesystem::exists(dir.path / "root" / "ini" / "ZEL_Options.ini"));
}

} // namespace
} // namespace zel::e2e
