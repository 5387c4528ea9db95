// zel-cli wave-math on a log pushed against the rig: the averaged range is the mean of its points'
// waveforms as zel-cli info gives them, every N points make the groups in order, and the text file says
// what the JSON says.

#include "tests/e2e/run_program.h"

#include "analysis/wave_math.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <cmath>
#include <fstream>
#include <sstream>

namespace zel::e2e {
namespace {

const std::string kCli = ZEL_CLI;

std::string readAll(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::stringstream s;
    s << in.rdbuf();
    return s.str();
}

struct PushedLog {
    TempDir dir;
    std::string rawLog;
    std::vector<double> depths;
    std::vector<std::vector<double>> waves;
};

// One push of 12 points, with every point's depth and waveform read back through zel-cli info.
const PushedLog& pushedLog() {
    static PushedLog* log = [] {
        auto* l = new PushedLog;
        const RunResult push =
            runProgram("ZEL_DATA_ROOT=" + quote((l->dir.path / "root").string()) + " " + kCli +
                       " push --sim --seed 5 --rate 1 --rod-ft 0 --sweep-ms 0 --points 12 --yes "
                       "--name Waves --out " +
                       quote(l->dir.path.string()));
        const auto summary = lastJsonLine(push);
        if (!summary.is_object() || !summary.contains("raw_log")) return l;
        l->rawLog = summary["raw_log"].get<std::string>();
        const auto lists = nlohmann::json::parse(
            runProgram(kCli + " info " + quote(l->rawLog) + " --lists").out, nullptr, false);
        if (!lists.is_object()) return l;
        for (const auto& d : lists["lists"]["DEPTH"])
            l->depths.push_back(d.get<double>());
        for (std::size_t p = 0; p < l->depths.size(); ++p) {
            const auto w = nlohmann::json::parse(
                runProgram(kCli + " info " + quote(l->rawLog) + " --wave " + std::to_string(p)).out, nullptr,
                false);
            l->waves.push_back(w["wave"]["samples"].get<std::vector<double>>());
        }
        return l;
    }();
    return *log;
}

TEST(WaveMathCli, TheAveragedRangeIsTheMeanOfItsPoints) {
    const PushedLog& l = pushedLog();
    ASSERT_GE(l.depths.size(), 12u);
    // The range from the third point's depth to the seventh's.
    const double from = l.depths[2] - 1e-3, to = l.depths[6] + 1e-3;
    std::vector<double> mean(l.waves[0].size(), 0.0);
    int n = 0;
    for (std::size_t p = 0; p < l.depths.size(); ++p)
        if (l.depths[p] >= from && l.depths[p] <= to) {
            for (std::size_t k = 0; k < mean.size(); ++k)
                mean[k] += l.waves[p][k];
            ++n;
        }
    ASSERT_GE(n, 5);
    const std::string out = (l.dir.path / "avg.txt").string();
    const std::string range = std::to_string(from) + "-" + std::to_string(to);
    const RunResult r = runProgram(kCli + " wave-math " + quote(l.rawLog) + " --avg " + range + " --out " +
                                   quote(out) + " --json");
    ASSERT_EQ(r.exitCode, 0) << r.err;
    const auto j = nlohmann::json::parse(r.out);
    ASSERT_EQ(j["curves"].size(), 1u);
    EXPECT_EQ(j["curves"][0]["points"].get<int>(), n);
    const auto samples = j["curves"][0]["samples"].get<std::vector<double>>();
    ASSERT_EQ(samples.size(), mean.size());
    for (std::size_t k = 0; k < mean.size(); ++k)
        EXPECT_NEAR(samples[k], mean[k] / n, 1e-3 * (1 + std::fabs(mean[k] / n))) << "sample " << k;

    // The file read back holds the same curve, to its four decimals (half a step and the float's own
    // rounding), against time in ns.
    std::string error;
    const auto t = wave_math::readText(readAll(out), error);
    ASSERT_TRUE(t) << error;
    EXPECT_EQ(t->xHeading, "Time (ns)");
    EXPECT_EQ(t->logName, "Waves");
    ASSERT_EQ(t->values.size(), 1u);
    ASSERT_EQ(t->values[0].size(), samples.size());
    for (std::size_t k = 0; k < samples.size(); ++k)
        EXPECT_NEAR(t->values[0][k], samples[k], 6e-5) << k;
    EXPECT_GT(t->timeNs[1], 0.0);
}

TEST(WaveMathCli, EveryNPointsAndADifference) {
    const PushedLog& l = pushedLog();
    ASSERT_GE(l.depths.size(), 12u);
    const std::string out = (l.dir.path / "every.txt").string();
    RunResult r = runProgram(kCli + " wave-math " + quote(l.rawLog) + " --every 5 --out " + quote(out) +
                             " --json --y-label Light --legend First");
    ASSERT_EQ(r.exitCode, 0) << r.err;
    auto j = nlohmann::json::parse(r.out);
    const std::size_t groups = (l.depths.size() + 4) / 5;
    ASSERT_EQ(j["curves"].size(), groups);
    EXPECT_EQ(j["curves"][0]["legend"], "First");
    EXPECT_EQ(j["y"], "Light (mV)");
    // The last group: the points after the full groups.
    const std::size_t first = (groups - 1) * 5;
    const auto last = j["curves"][groups - 1]["samples"].get<std::vector<double>>();
    for (std::size_t k = 0; k < last.size(); k += 25) {
        double m = 0;
        for (std::size_t p = first; p < l.depths.size(); ++p)
            m += l.waves[p][k];
        m /= static_cast<double>(l.depths.size() - first);
        EXPECT_NEAR(last[k], m, 1e-3 * (1 + std::fabs(m))) << k;
    }

    // One point less another: sample by sample.
    const std::string a = std::to_string(l.depths[1]), b = std::to_string(l.depths[9]);
    r = runProgram(kCli + " wave-math " + quote(l.rawLog) + " --diff " + a + " " + b + " --out " +
                   quote(out) + " --json");
    ASSERT_EQ(r.exitCode, 0) << r.err;
    j = nlohmann::json::parse(r.out);
    const auto d = j["curves"][0]["samples"].get<std::vector<double>>();
    for (std::size_t k = 0; k < d.size(); ++k)
        EXPECT_NEAR(d[k], l.waves[1][k] - l.waves[9][k], 1e-3 * (1 + std::fabs(l.waves[1][k]))) << k;
}

TEST(WaveMathCli, RefusesWhatTheLogCannotGive) {
    const PushedLog& l = pushedLog();
    ASSERT_FALSE(l.rawLog.empty());
    const std::string out = (l.dir.path / "none.txt").string();
    RunResult r = runProgram(kCli + " wave-math " + quote(l.rawLog) + " --avg 90-95 --out " + quote(out));
    EXPECT_EQ(r.exitCode, 1);
    EXPECT_NE(r.err.find("no point of the log lies between 90.00 and 95.00 ft"), std::string::npos) << r.err;
    r = runProgram(kCli + " wave-math " + quote(l.rawLog) + " --avg 0-9 --baseline --out " + quote(out));
    EXPECT_EQ(r.exitCode, 1);
    EXPECT_NE(r.err.find("the log has no stored baseline"), std::string::npos) << r.err;
    r = runProgram(kCli + " wave-math " + quote(l.rawLog) + " --out " + quote(out));
    EXPECT_EQ(r.exitCode, 1);
    EXPECT_FALSE(std::filesystem::exists(out));
}

} // namespace
} // namespace zel::e2e
