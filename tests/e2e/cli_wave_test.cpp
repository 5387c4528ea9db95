// zel-cli wave as a script uses it: waveform files in, JSON out.

#include "tests/e2e/run_program.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <cmath>
#include <vector>

namespace zel::e2e {
namespace {

const std::string kCli = ZEL_CLI;

// Four channel pulses: a sharp rise at each start and an exponential decay.
std::vector<double> fourPulses(double scale, double offset) {
    std::vector<double> w(500, 0.0);
    const int starts[] = {60, 160, 260, 360};
    const double heights[] = {80, 120, 90, 40};
    for (int k = 0; k < 4; ++k)
        for (int i = starts[k]; i < 500; ++i)
            w[i] += heights[k] * std::exp(-(i - starts[k]) / 8.0);
    for (auto& v : w)
        v = v * scale + offset;
    return w;
}

std::string text(const std::vector<double>& w) {
    std::string s = "# samples in mV\n";
    for (double v : w)
        s += std::to_string(v) + "\n";
    return s;
}

nlohmann::json runJson(const std::string& args, int expectedExit = 0) {
    const RunResult r = runProgram(kCli + " wave " + args);
    EXPECT_EQ(r.exitCode, expectedExit) << r.err;
    if (r.exitCode != 0) return {};
    return nlohmann::json::parse(r.out);
}

TEST(CliWave, FlatReGivesTheGenericBoundariesAndTheMessage) {
    TempDir dir;
    const auto flat = dir.write("flat.txt", text(std::vector<double>(500, 2.0)));
    const auto j = runJson("--re " + quote(flat) + " --wave " + quote(flat));
    EXPECT_EQ(j["boundaries"], nlohmann::json({100, 160, 220}));
    EXPECT_EQ(j["messages"], nlohmann::json({"RE cutoff process failed. Generic cutoff values used."}));
}

TEST(CliWave, PulsesAreSplitAndScaledAgainstTheRe) {
    TempDir dir;
    const auto re = dir.write("re.txt", text(fourPulses(1.0, 0.0)));
    const auto half = dir.write("half.txt", text(fourPulses(0.5, 0.0)));
    const auto j =
        runJson("--re " + quote(re) + " --wave " + quote(half) + " --dt 8e-10 --delay 6e-7 --mode 0");
    // Rises found one sample before each pulse, then moved earlier by round(499/100 - 1) = 4 samples.
    EXPECT_EQ(j["boundaries"], nlohmann::json({155, 255, 355}));
    EXPECT_TRUE(j["messages"].empty());
    EXPECT_NEAR(j["pct_re"].get<double>(), 50.0, 1e-3);
    EXPECT_NEAR(j["fibre_length_m"].get<double>(), (300.0 - 110.1464) * 0.2997992 / 1.4769, 1e-3);

    // The channels cover samples 0 .. 2 x 355 - 255 = 455; the sum is in mV, x 0.8 ns gives pVs.
    double sum = 0;
    const auto w = fourPulses(0.5, 0.0);
    for (int i = 0; i <= 455; ++i)
        sum += w[i];
    EXPECT_NEAR(j["area_total"].get<double>(), sum * 0.8, sum * 0.8 * 1e-4);
    EXPECT_NEAR(j["SF"].get<double>(), j["S"].get<double>() + j["F"].get<double>(), 1e-2);
    EXPECT_EQ(j["sums"].size(), 4u);
    EXPECT_EQ(j["areas"].size(), 4u);
}

TEST(CliWave, BackgroundIsSubtractedFromBothWaveforms) {
    TempDir dir;
    const auto re = dir.write("re.txt", text(fourPulses(1.0, 3.0)));
    const auto wave = dir.write("w.txt", text(fourPulses(0.25, 3.0)));
    const auto bg = dir.write("bg.txt", text(std::vector<double>(500, 3.0)));
    const auto with = runJson("--re " + quote(re) + " --wave " + quote(wave) + " --bg " + quote(bg));
    EXPECT_NEAR(with["pct_re"].get<double>(), 25.0, 1e-3);
    const auto without = runJson("--re " + quote(re) + " --wave " + quote(wave));
    EXPECT_GT(without["pct_re"].get<double>(), 26.0); // the offset inflates the ratio when not removed
}

TEST(CliWave, BadInputIsRefusedWithAClearMessage) {
    TempDir dir;
    const auto good = dir.write("good.txt", text(fourPulses(1.0, 0.0)));
    const auto bad = dir.write("bad.txt", "1.0\n2.0\nabc\n");
    struct Case {
        std::string args;
        int exitCode;
        std::string errorPart;
    };
    const Case cases[] = {
        {"--re " + quote(good) + " --wave " + quote(bad), 1, "bad.txt:3: not a sample value: \"abc\""},
        {"--re " + quote((dir.path / "missing.txt").string()) + " --wave " + quote(good), 1, "cannot open"},
        {"--wave " + quote(good), 2, "--re"},
        {"--re " + quote(good) + " --wave " + quote(good) + " --mode 100", 2, "--mode"},
    };
    for (const auto& c : cases) {
        const RunResult r = runProgram(kCli + " wave " + c.args);
        EXPECT_EQ(r.exitCode, c.exitCode) << c.args;
        EXPECT_NE(r.err.find(c.errorPart), std::string::npos) << r.err;
        EXPECT_TRUE(r.out.empty());
    }
}

} // namespace
} // namespace zel::e2e
