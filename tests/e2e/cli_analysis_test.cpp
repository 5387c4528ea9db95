// zel-cli basis, nnls and tau on logs pushed over rig sites made of known products: a basis library built
// from two reference logs, a third log fitted, and each layer's product found where it lies.

#include "tests/e2e/run_program.h"

#include "analysis/waveform_fits.h"
#include "common/testing/recording_host.h"
#include "log/load_file.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <fstream>
#include <sstream>

namespace zel::e2e {
namespace {

const std::string kCli = ZEL_CLI;

constexpr const char* kLight = R"("shares": [18, 43, 29, 10], "decay_ns": [10, 12, 15, 17])";
constexpr const char* kHeavy = R"("shares": [8, 22, 38, 32], "decay_ns": [14, 20, 26, 32])";

std::string site(const std::string& layers) {
    return R"({"bottom_ft": 4, "layers": [)" + layers + "]}";
}

std::string layer(double top, double bottom, double pct, const char* product) {
    std::ostringstream s;
    s << R"({"top_ft": )" << top << R"(, "bottom_ft": )" << bottom << R"(, "pct_re": )" << pct << ", "
      << product << "}";
    return s.str();
}

std::string pushLog(const TempDir& dir, const std::string& name, const std::string& siteText) {
    const std::string file = dir.write(name + ".json", siteText);
    const RunResult r = runProgram(kCli + " push --sim --site " + quote(file) +
                                   " --rate 1 --rod-ft 0 --sweep-ms 0 --points 25 --yes --name " + name +
                                   " --out " + quote(dir.path.string()));
    EXPECT_EQ(r.exitCode, 0) << r.err;
    return (dir.path / (name + ".lif.raw.bin")).string();
}

std::string slurp(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream s;
    s << in.rdbuf();
    return s.str();
}

TEST(CliAnalysis, BasisLibraryFromReferenceLogsFindsEachLayersProduct) {
    TempDir dir;
    const std::string light = pushLog(dir, "RefLight", site(layer(0, 4, 30, kLight)));
    const std::string heavy = pushLog(dir, "RefHeavy", site(layer(0, 4, 30, kHeavy)));
    const std::string mixed =
        pushLog(dir, "Boring", site(layer(0, 1.5, 20, kLight) + ", " + layer(1.5, 4, 40, kHeavy)));
    const std::string lib = (dir.path / "products.zbl").string();
    for (const auto& [name, log] : {std::pair{"Light", light}, std::pair{"Heavy", heavy}}) {
        const RunResult r = runProgram(kCli + " basis add " + quote(lib) + " --name " + name + " --log " +
                                       quote(log) + " --from 0.5 --to 2.5");
        ASSERT_EQ(r.exitCode, 0) << r.err;
    }
    // A name already in the library is refused and the library stays as it was.
    const std::string before = slurp(lib);
    EXPECT_EQ(runProgram(kCli + " basis add " + quote(lib) + " --name Light --log " + quote(light) +
                         " --from 0 --to 1")
                  .exitCode,
              1);
    EXPECT_EQ(slurp(lib), before);

    const RunResult fit = runProgram(kCli + " nnls " + quote(mixed) + " --basis " + quote(lib) + " --json");
    ASSERT_EQ(fit.exitCode, 0) << fit.err;
    const auto j = nlohmann::json::parse(fit.out);
    ASSERT_EQ(j.size(), 1u);
    EXPECT_EQ(j[0]["bases"], nlohmann::json({"Light", "Heavy"}));
    int above = 0, below = 0;
    for (const auto& p : j[0]["points"]) {
        const double depth = p["depth"], l = p["shares"][0], h = p["shares"][1];
        if (depth < 1.2) {
            ++above;
            EXPECT_GT(l, 0.9) << depth;
            EXPECT_LT(h, 0.1) << depth;
        } else if (depth > 1.8) {
            ++below;
            EXPECT_GT(h, 0.9) << depth;
            EXPECT_LT(l, 0.1) << depth;
        }
        EXPECT_LT(p["residual"].get<double>(), 0.1) << depth;
    }
    EXPECT_GE(above, 8);
    EXPECT_GE(below, 6);
    // The file beside the log reads back with the same shares.
    std::string error;
    const auto file = analysis::parseNnlsText(slurp(analysis::nnlsPath(mixed)), error);
    ASSERT_TRUE(file) << error;
    ASSERT_EQ(file->depth.size(), j[0]["points"].size());
    EXPECT_FLOAT_EQ(file->shares[0][0], j[0]["points"][0]["shares"][0].get<float>());

    // A load of the log takes the fit as its NNLS column: the share of the basis explaining most of the log.
    const auto load = [&](cZEL_Data& log, LogArrays& arrays, zel::testing::RecordingHost& host) {
        RawLogContext ctx;
        LoadSession session;
        LoadRequest request;
        request.path = mixed;
        request.quiet = true;
        return Load_File(request, session, zel::LoadedLog{log, arrays, ctx}, host).outcome ==
               LoadOutcome::Loaded;
    };
    {
        FakeClock clock;
        zel::testing::RecordingHost host{&clock};
        cZEL_Data log{host, clock};
        LogArrays arrays;
        ASSERT_TRUE(load(log, arrays, host));
        double sums[2] = {0, 0};
        for (const auto& p : j[0]["points"])
            sums[0] += p["shares"][0].get<double>(), sums[1] += p["shares"][1].get<double>();
        const int dominant = sums[1] > sums[0] ? 1 : 0;
        EXPECT_EQ(arrays.nnlsTitle, dominant ? "Heavy" : "Light");
        ASSERT_EQ(arrays.nnls.size(), j[0]["points"].size());
        float max = 0;
        for (std::size_t i = 0; i < arrays.nnls.size(); ++i) {
            EXPECT_NEAR(arrays.nnls[i], 100 * j[0]["points"][i]["shares"][dominant].get<double>(), 0.01) << i;
            max = std::max(max, arrays.nnls[i]);
        }
        EXPECT_FLOAT_EQ(log.NNLS_max(), max);
    }
    {
        // Fits of other points (a line lost) are named and left out; the log still loads.
        std::string text = slurp(analysis::nnlsPath(mixed));
        text.erase(text.rfind('\n', text.size() - 2) + 1);
        std::ofstream(analysis::nnlsPath(mixed), std::ios::binary) << text;
        FakeClock clock;
        zel::testing::RecordingHost host{&clock};
        cZEL_Data log{host, clock};
        LogArrays arrays;
        ASSERT_TRUE(load(log, arrays, host));
        EXPECT_TRUE(arrays.nnls.empty());
        const auto said = host.messages();
        EXPECT_TRUE(std::any_of(said.begin(), said.end(), [](const std::string& m) {
            return m.find("holds the fits of other points") != std::string::npos;
        })) << ::testing::PrintToString(said);
    }

    EXPECT_EQ(runProgram(kCli + " basis remove " + quote(lib) + " --name Light").exitCode, 0);
    const auto listed = nlohmann::json::parse(runProgram(kCli + " basis list " + quote(lib)).out);
    ASSERT_EQ(listed.size(), 1u);
    EXPECT_EQ(listed[0]["name"], "Heavy");
}

// The heavy product decays more slowly than the light one in every channel, and the lifetime file reads
// back one row a point.
TEST(CliAnalysis, LifetimesOrderTheProducts) {
    TempDir dir;
    const std::string light = pushLog(dir, "Light", site(layer(0, 4, 30, kLight)));
    const std::string heavy = pushLog(dir, "Heavy", site(layer(0, 4, 30, kHeavy)));
    const RunResult r = runProgram(kCli + " tau " + quote(light) + " " + quote(heavy) + " --json");
    ASSERT_EQ(r.exitCode, 0) << r.err;
    const auto j = nlohmann::json::parse(r.out);
    ASSERT_EQ(j.size(), 2u);
    for (int c = 0; c < 4; ++c)
        EXPECT_GT(j[1]["median_tau_ns"][c].get<double>(), j[0]["median_tau_ns"][c].get<double>()) << c;
    std::string error;
    const auto file = analysis::parseLifetimeText(slurp(analysis::lifetimePath(heavy)), error);
    ASSERT_TRUE(file) << error;
    EXPECT_EQ(file->channels, 4);
    EXPECT_EQ(file->points.size(), 25u);
}

TEST(CliAnalysis, MalformedLibraryIsRefusedNamingTheFile) {
    TempDir dir;
    const std::string lib = dir.write("bad.zbl", "ZEL basis library 1\nOnly a name\n");
    const RunResult r = runProgram(kCli + " basis list " + quote(lib));
    EXPECT_EQ(r.exitCode, 1);
    EXPECT_NE(r.err.find("bad.zbl"), std::string::npos) << r.err;
    EXPECT_NE(r.err.find("line 2"), std::string::npos) << r.err;
}

} // namespace
} // namespace zel::e2e
