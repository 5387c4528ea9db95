// zel-cli push --sim with the simulators set up to misbehave or to report what they sent: the waveforms
// in the log against the scope's own record of its curves, a dim reference emitter, an old RE, and line
// noise on the depth line.

#include "tests/e2e/field_sim.h"
#include "tests/e2e/loaded_log.h"
#include "tests/e2e/run_program.h"
#include "tests/e2e/scope_curves.h"

#include "common/clock.h"
#include "common/number_text.h"
#include "common/testing/recording_host.h"
#include "instruments/scope/fake_visa.h"
#include "instruments/scope/scope.h"
#include "log/raw_log_reader.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <chrono>
#include <cmath>
#include <fcntl.h>
#include <fstream>
#include <map>
#include <poll.h>
#include <termios.h>
#include <unistd.h>

namespace zel::e2e {
namespace {

const std::string kCli = ZEL_CLI;
namespace fs = std::filesystem;

RunResult push(const TempDir& dir, const std::string& name, int points, const std::string& extra) {
    return runProgram(kCli + " push --sim --rate 2 --sweep-ms 0 --points " + std::to_string(points) +
                      " --name " + name + " --out " + quote(dir.path.string()) + " " + extra);
}

// Every waveform in the log is what the scope sent, after the driver's processing: the background and
// the RE as acquired (kept in the text part to two decimals), each point with the background taken off and
// the processing's two zeroed end samples (kept as floats in the binary block).
TEST(CliPushSim, LogWaveformsAreTheCurvesTheScopeSent) {
    TempDir dir;
    const std::string dump = (dir.path / "curves.jsonl").string();
    const RunResult r = push(dir, "W1", 6, "--yes --scope-dump " + quote(dump));
    ASSERT_EQ(r.exitCode, 0) << r.err;

    std::vector<std::vector<float>> sent;
    std::ifstream in(dump);
    for (std::string line; std::getline(in, line);)
        sent.push_back(driverWaveform(nlohmann::json::parse(line)));
    ASSERT_EQ(sent.size(), 8u) << "the background, the RE and six points";

    LoadedLog l(dir.path / "W1.lif.raw.bin");
    ASSERT_TRUE(l.ok);
    ASSERT_EQ(l.arrays.points(), 6);
    const int samples = l.arrays.waves.samplesPerWave();
    const std::vector<float>& background = sent[0];
    const auto nearText = [](float logged, float wave) {
        return std::abs(logged - wave) <= 0.005f + 1e-5f * std::abs(wave);
    };
    for (const auto& [logged, wave] :
         {std::pair{&l.arrays.blank.samples, &sent[0]}, {&l.arrays.re.samples, &sent[1]}}) {
        ASSERT_EQ(logged->size(), wave->size());
        for (std::size_t i = 0; i < wave->size(); ++i)
            ASSERT_PRED2(nearText, (*logged)[i], (*wave)[i]) << i;
    }
    for (int p = 0; p < 6; ++p) {
        std::vector<float> expected = sent[p + 2];
        ASSERT_EQ(static_cast<int>(expected.size()), samples) << p;
        for (int i = 0; i < samples; ++i)
            expected[i] -= background[i];
        expected[samples - 1] = expected[samples - 2] = 0.0f;
        const auto logged = l.arrays.waves.wave(p);
        for (int i = 0; i < samples; ++i)
            ASSERT_FLOAT_EQ(logged[i], expected[i]) << "point " << p << " sample " << i;
    }
}

std::vector<nlohmann::json> curvesOf(const std::string& dump) {
    std::ifstream in(dump);
    std::vector<nlohmann::json> curves;
    for (std::string line; std::getline(in, line);)
        curves.push_back(nlohmann::json::parse(line));
    return curves;
}

// During the push the scope's scale follows the light down to the minimum of "/Y" and never below it: over a
// faint top soil the curves reach that scale, and the bright layer below is still logged at its %RE rather
// than clipped.
TEST(CliPushSim, TheAutoScaleStopsAtTheMinimumOfTheSwitch) {
    TempDir dir;
    const std::string site = dir.write(
        "site.json", R"({"bottom_ft": 2.5, "layers": [{"top_ft": 0, "bottom_ft": 1.2, "pct_re": 0.3},)"
                     R"( {"top_ft": 1.2, "bottom_ft": 2.5, "pct_re": 62}]})");
    std::map<int, double> finest;
    for (const int mv : {5, 50}) {
        const std::string dump = (dir.path / ("y" + std::to_string(mv) + ".jsonl")).string();
        const std::string name = "Y" + std::to_string(mv);
        const RunResult r =
            push(dir, name, 10001,
                 "--yes --rod-ft 0 --stop-depth 2.2 --site " + quote(site) + " --scope-dump " + quote(dump) +
                     " /Y" + (mv < 10 ? "00" : "0") + std::to_string(mv));
        ASSERT_EQ(r.exitCode, 0) << r.err;
        const auto curves = curvesOf(dump);
        ASSERT_GT(curves.size(), 10u);
        double smallest = 1e9;
        for (std::size_t i = 2; i < curves.size(); ++i) // the points, after the background and the RE
            smallest = std::min(smallest, val(curves[i]["ymult"].get<std::string>()));
        finest[mv] = smallest;
        LoadedLog l(dir.path / (name + ".lif.raw.bin"));
        ASSERT_TRUE(l.ok);
        float brightest = 0.0f;
        for (int p = 0; p < l.arrays.points(); ++p)
            if (l.arrays.columns(point_column::Depth, p) > 1.5f)
                brightest = std::max(brightest, l.arrays.columns(point_column::Signal, p));
        EXPECT_NEAR(brightest, 62.0f, 4.0f) << "/Y" << mv;
    }
    EXPECT_NEAR(finest[50] / finest[5], 10.0, 1e-6);
}

// The same minimum from the options file: the Advanced form's "Scope Y-Scale:" list, kept by its index (2: 5
// mV, 5: 50 mV a division), when no switch chose one.
TEST(CliPushSim, TheAutoScaleStopsAtTheMinimumOfTheYScaleList) {
    TempDir dir;
    const std::string site = dir.write(
        "site.json", R"({"bottom_ft": 2.5, "layers": [{"top_ft": 0, "bottom_ft": 1.2, "pct_re": 0.3},)"
                     R"( {"top_ft": 1.2, "bottom_ft": 2.5, "pct_re": 62}]})");
    std::map<int, double> finest;
    for (const int index : {2, 5}) {
        const fs::path root = dir.path / ("root" + std::to_string(index));
        fs::create_directories(root / "ini");
        std::ofstream(root / "ini" / "ZEL_Options.ini", std::ios::binary)
            << "[AdvOptions]\r\n0,cmbScopeYScale=" << index << "\r\n";
        const std::string dump = (dir.path / ("list" + std::to_string(index) + ".jsonl")).string();
        const RunResult r =
            runProgram("ZEL_DATA_ROOT=" + quote(root.string()) + " " + kCli +
                       " push --sim --rate 2 --sweep-ms 0 --points 10001 --name L" + std::to_string(index) +
                       " --out " + quote(dir.path.string()) + " --yes --rod-ft 0 --stop-depth 2.2 --site " +
                       quote(site) + " --scope-dump " + quote(dump));
        ASSERT_EQ(r.exitCode, 0) << r.err;
        const auto curves = curvesOf(dump);
        ASSERT_GT(curves.size(), 10u);
        double smallest = 1e9;
        for (std::size_t i = 2; i < curves.size(); ++i)
            smallest = std::min(smallest, val(curves[i]["ymult"].get<std::string>()));
        finest[index] = smallest;
    }
    EXPECT_NEAR(finest[5] / finest[2], 10.0, 1e-6);
}

// The RE is taken at the RE scale: "/RE" (here 20 and 100 mV a division) sets the scope's input before the
// RE's curve, whose scaling follows it.
TEST(CliPushSim, TheREIsTakenAtTheREScaleOfTheSwitch) {
    TempDir dir;
    std::map<int, double> reYMult;
    for (const int mv : {20, 100}) {
        const std::string dump = (dir.path / ("curves" + std::to_string(mv) + ".jsonl")).string();
        const std::string name = "R" + std::to_string(mv);
        const RunResult r =
            push(dir, name, 2,
                 "--yes --scope-dump " + quote(dump) + " /RE" + (mv < 100 ? "0" : "") + std::to_string(mv));
        ASSERT_EQ(r.exitCode, 0) << r.err;
        const auto curves = curvesOf(dump);
        ASSERT_GE(curves.size(), 2u);
        reYMult[mv] = val(curves[1]["ymult"].get<std::string>()); // after the background
        LoadedLog l(dir.path / (name + ".lif.raw.bin"));
        ASSERT_TRUE(l.ok);
        EXPECT_GT(l.log.RE_Area(), 0.0f);
    }
    EXPECT_NEAR(reYMult[100] / reYMult[20], 5.0, 1e-6);
}

// The RE area gate against the simulated reference emitter: dim enough blocks the push before anything
// is recorded; a little dim warns and the push goes on.
TEST(CliPushSim, DimReferenceEmitter) {
    const struct {
        const char* scale;
        const char* message;
        bool blocks;
    } cases[] = {
        {"0.3", "RE area is below 5000 pVs. Acquisition will NOT be allowed to continue.", true},
        {"0.75", "RE area is below 7000 pVs. Acquisition will be allowed to continue, but RE suspect.",
         false},
    };
    for (const auto& c : cases) {
        TempDir dir;
        const RunResult r = push(dir, "D1", 2, std::string("--yes --re-scale ") + c.scale);
        EXPECT_NE(r.err.find(std::string(c.message) + "\n"), std::string::npos) << c.scale << r.err;
        EXPECT_EQ(r.exitCode, c.blocks ? 1 : 0) << c.scale;
        EXPECT_EQ(r.out.find("point ") == std::string::npos, c.blocks) << c.scale;
        EXPECT_EQ(fs::is_empty(dir.path), c.blocks) << c.scale;
    }
}

// An RE dated 45 minutes back: the age question comes first; Cancel records nothing, OK goes on to the
// push. A fresh RE is not asked about.
TEST(CliPushSim, OldREAsksFirst) {
    const std::string question =
        "Old RE: RE is older than 30 minutes. Select OK to proceed or Cancel to take new RE.\n";
    const struct {
        const char* args;
        bool asked, pushed;
    } cases[] = {
        {"--no --re-age-min 45", true, false},
        {"--yes --re-age-min 45", true, true},
        {"--yes --re-age-min 0", false, true},
    };
    for (const auto& c : cases) {
        TempDir dir;
        const RunResult r = push(dir, "A1", 2, c.args);
        EXPECT_EQ(r.err.find(question) != std::string::npos, c.asked) << c.args << r.err;
        EXPECT_EQ(r.exitCode, c.pushed ? 0 : 1) << c.args;
        if (!c.pushed) {
            EXPECT_EQ(r.err.find("First Push"), std::string::npos) << "asked after the cancel";
            EXPECT_TRUE(fs::is_empty(dir.path));
        } else {
            EXPECT_TRUE(fs::exists(dir.path / "A1.lif.raw.bin")) << c.args;
        }
    }
}

// What the depth board sends with --noise-every 1 (the stream started at a 50 ms period), for 400 ms.
std::string depthLineWithNoise() {
    SimChild sim(ZEL_SIM, {"depth", "--noise-every", "1"});
    const int fd = ::open(sim.text("depth", "pty").c_str(), O_RDWR | O_NOCTTY);
    if (fd < 0) return {};
    termios t{};
    ::tcgetattr(fd, &t);
    ::cfmakeraw(&t);
    ::tcsetattr(fd, TCSANOW, &t);
    const std::string start = "W0400\rW0532\r";
    std::string got;
    if (::write(fd, start.data(), start.size()) == static_cast<ssize_t>(start.size())) {
        const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(400);
        char buf[256];
        while (std::chrono::steady_clock::now() < end) {
            pollfd p{fd, POLLIN, 0};
            if (::poll(&p, 1, 50) > 0) {
                const ssize_t n = ::read(fd, buf, sizeof buf);
                if (n > 0) got.append(buf, static_cast<std::size_t>(n));
            }
        }
    }
    ::close(fd);
    return got;
}

// Malformed lines between the depth board's readings neither stop the push nor move the depth back.
TEST(CliPushSim, LineNoiseOnTheDepthLine) {
    // The noise is on the line: readings and malformed lines alternate.
    const std::string line = depthLineWithNoise();
    EXPECT_NE(line.find("0ZZ1G0X\r"), std::string::npos) << line;
    EXPECT_NE(line.find("\r0000000"), std::string::npos) << line; // a counter reading after it

    TempDir dir;
    const RunResult r = push(dir, "N1", 8, "--yes --depth-noise 2");
    ASSERT_EQ(r.exitCode, 0) << r.err;
    EXPECT_EQ(r.err.find("Line of error"), std::string::npos) << r.err;
    LoadedLog l(dir.path / "N1.lif.raw.bin");
    ASSERT_TRUE(l.ok);
    ASSERT_EQ(l.arrays.points(), 8);
    for (int p = 1; p < 8; ++p)
        EXPECT_GT(l.arrays.columns(point_column::Depth, p), l.arrays.columns(point_column::Depth, p - 1))
            << p;
}

} // namespace
} // namespace zel::e2e
