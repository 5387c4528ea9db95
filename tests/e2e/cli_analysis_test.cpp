// zel-cli basis, nnls and tau on logs pushed over rig sites made of known products: a basis library built
// from two reference logs, a third log fitted, and each layer's product found where it lies.

#include "tests/e2e/run_program.h"

#include "analysis/classify.h"
#include "analysis/waveform_fits.h"
#include "app/plot/plot_model.h"
#include "app/plot/plot_settings_view.h"
#include "common/testing/recording_host.h"
#include "log/load_file.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <cmath>
#include <filesystem>
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

// A log loaded quietly, as the viewer and the page load it, with the messages the load showed.
struct Loaded {
    FakeClock clock;
    zel::testing::RecordingHost host{&clock};
    cZEL_Data log{host, clock};
    LogArrays arrays;
    bool ok = false;
    explicit Loaded(const std::string& path) {
        RawLogContext ctx;
        LoadSession session;
        LoadRequest request;
        request.path = path;
        request.quiet = true;
        ok = Load_File(request, session, zel::LoadedLog{log, arrays, ctx}, host).outcome ==
             LoadOutcome::Loaded;
    }
    bool said(const std::string& part) const {
        const auto m = host.messages();
        return std::any_of(m.begin(), m.end(),
                           [&](const std::string& s) { return s.find(part) != std::string::npos; });
    }
};

// zel-cli tau, then the log as the viewer and the page load it: the decay times are the lifetime track's
// lines, value for value; a file of other points is named and left out.
TEST(CliAnalysis, DecayTimesReachTheLoadedLogAndItsPage) {
    TempDir dir;
    const std::string log = pushLog(dir, "Tau", site(layer(0, 4, 30, kHeavy)));
    ASSERT_EQ(runProgram(kCli + " tau " + quote(log)).exitCode, 0);
    std::string error;
    const auto file = analysis::parseLifetimeText(slurp(analysis::lifetimePath(log)), error);
    ASSERT_TRUE(file) << error;
    {
        Loaded l(log);
        ASSERT_TRUE(l.ok);
        ASSERT_EQ(l.arrays.tau.size(), 4u);
        const plot::PlotModel m =
            plot::PlotModel::build({l.log, l.arrays}, plot::plotSettingsFromIni(l.log.File_FullPath_Plt()));
        const plot::Track* t = m.track(plot::TrackKind::Lifetime);
        ASSERT_NE(t, nullptr);
        ASSERT_EQ(t->lines.size(), 4u);
        int fitted = 0;
        for (std::size_t c = 0; c < 4; ++c) {
            ASSERT_EQ(t->lines[c].values.size(), file->points.size());
            for (std::size_t p = 0; p < file->points.size(); ++p) {
                const auto& f = file->points[p][c];
                if (f.weak) {
                    EXPECT_TRUE(std::isnan(t->lines[c].values[p]));
                    continue;
                }
                ++fitted;
                EXPECT_NEAR(t->lines[c].values[p], f.tauNs, 1e-4) << c << " " << p;
            }
        }
        EXPECT_GT(fitted, 60);
    }
    // The page of the log draws from the same load.
    const RunResult page = runProgram(kCli + " page " + quote(log) + " --pdf");
    EXPECT_EQ(page.exitCode, 0) << page.err;
    EXPECT_TRUE(std::filesystem::exists(dir.path / "Tau.pdf"));

    std::string text = slurp(analysis::lifetimePath(log));
    text.erase(text.rfind('\n', text.size() - 2) + 1);
    std::ofstream(analysis::lifetimePath(log), std::ios::binary) << text;
    Loaded l(log);
    ASSERT_TRUE(l.ok);
    EXPECT_TRUE(l.arrays.tau.empty());
    EXPECT_TRUE(l.said("The decay times were not loaded: " + analysis::lifetimePath(log) +
                       " holds the fits of other points."))
        << ::testing::PrintToString(l.host.messages());
}

// A boring through two products, each layer given its own class by k-means seeded from a depth range of
// each; the class file reads back into the loaded log and its class strip, and the cross-plot is drawn.
TEST(CliAnalysis, ClassifyGivesEachProductLayerItsOwnClass) {
    TempDir dir;
    const std::string log =
        pushLog(dir, "Layers", site(layer(0, 1.2, 30, kLight) + ", " + layer(1.2, 4, 30, kHeavy)));
    const std::string png = (dir.path / "cross.png").string();
    for (const char* by : {"shares", "tau"}) {
        SCOPED_TRACE(by);
        const RunResult r = runProgram(kCli + " classify " + quote(log) +
                                       " --seed Light:0.2-0.8 --seed Heavy:1.8-2.3 --json --by " + by +
                                       " --plot " + quote(png));
        ASSERT_EQ(r.exitCode, 0) << r.err;
        const auto j = nlohmann::json::parse(r.out);
        EXPECT_EQ(j["feature"], by);
        ASSERT_EQ(j["classes"].size(), 2u);
        EXPECT_EQ(j["classes"][0]["name"], "Light");
        int checked = 0;
        for (const auto& p : j["points"]) {
            const double depth = p["depth"];
            if (depth < 1.1) {
                EXPECT_EQ(p["class"], "Light") << depth;
                ++checked;
            } else if (depth > 1.3) {
                EXPECT_EQ(p["class"], "Heavy") << depth;
                ++checked;
            }
        }
        EXPECT_GE(checked, 20);
        ASSERT_TRUE(std::filesystem::exists(png));
        EXPECT_GT(std::filesystem::file_size(png), 1000u);

        Loaded l(log);
        ASSERT_TRUE(l.ok);
        EXPECT_EQ(l.arrays.classNames, (std::vector<std::string>{"Light", "Heavy"}));
        ASSERT_EQ(l.arrays.pointClass.size(), j["points"].size());
        for (std::size_t p = 0; p < l.arrays.pointClass.size(); ++p)
            EXPECT_EQ(l.arrays.pointClass[p], j["points"][p]["class"] == "Light" ? 0 : 1) << p;
        const plot::PlotModel m = plot::PlotModel::build({l.log, l.arrays}, plot::PlotSettings{});
        ASSERT_GE(m.tracks().size(), 2u);
        EXPECT_EQ(m.tracks()[1].kind, plot::TrackKind::Class);
    }
    // A seed over depths the log does not reach is refused, naming it; the class file stays as it was.
    const std::string before = slurp(analysis::classPath(log));
    const RunResult bad = runProgram(kCli + " classify " + quote(log) + " --seed Deep:30-40");
    EXPECT_EQ(bad.exitCode, 1);
    EXPECT_NE(bad.err.find("Deep"), std::string::npos) << bad.err;
    EXPECT_EQ(slurp(analysis::classPath(log)), before);
}

// The callout bands of the companion's latest scheme, each band's averaged waveform fitted for decay times
// and basis shares.
TEST(CliAnalysis, CalloutBandsAreFittedOneEntryABand) {
    TempDir dir;
    const std::string log =
        pushLog(dir, "Bands", site(layer(0, 1.2, 30, kLight) + ", " + layer(1.2, 4, 30, kHeavy)));
    const std::string plt = (dir.path / "Bands.lif.plt").string();
    {
        std::ofstream out(plt, std::ios::binary | std::ios::app);
        out << "\r\n[PLOT_1]\r\nLabel=two\r\nIndex C0=-1,-1\r\nRange C0=0.3,0.9\r\nText C0=Upper\r\n"
               "Index C1=-1,-1\r\nRange C1=1.6,2.3\r\nText C1=Lower\r\n";
    }
    const RunResult tau = runProgram(kCli + " tau " + quote(log) + " --callouts");
    ASSERT_EQ(tau.exitCode, 0) << tau.err;
    const auto t = nlohmann::json::parse(tau.out);
    ASSERT_EQ(t.size(), 2u) << tau.out;
    EXPECT_EQ(t[0]["caption"], "Upper");
    EXPECT_EQ(t[1]["caption"], "Lower");
    EXPECT_NEAR(t[0]["top"].get<double>(), 0.3, 1e-3);
    EXPECT_GT(t[0]["points"].get<int>(), 3);
    for (int c = 0; c < 4; ++c)
        EXPECT_GT(t[1]["tau_ns"][c].get<double>(), t[0]["tau_ns"][c].get<double>()) << c;
    EXPECT_FALSE(std::filesystem::exists(analysis::lifetimePath(log))); // the bands only: no file

    const std::string lib = (dir.path / "bands.zbl").string();
    for (const auto& [name, range] :
         {std::pair{"Light", "--from 0.3 --to 0.9"}, std::pair{"Heavy", "--from 1.6 --to 2.3"}})
        ASSERT_EQ(runProgram(kCli + " basis add " + quote(lib) + " --name " + name + " --log " + quote(log) +
                             " " + range)
                      .exitCode,
                  0);
    const RunResult nnls =
        runProgram(kCli + " nnls " + quote(log) + " --basis " + quote(lib) + " --callouts");
    ASSERT_EQ(nnls.exitCode, 0) << nnls.err;
    const auto n = nlohmann::json::parse(nnls.out);
    ASSERT_EQ(n.size(), 2u);
    EXPECT_EQ(n[0]["bases"], nlohmann::json({"Light", "Heavy"}));
    EXPECT_GT(n[0]["shares"][0].get<double>(), 0.95);
    EXPECT_GT(n[1]["shares"][1].get<double>(), 0.95);
    EXPECT_LT(n[1]["residual"].get<double>(), 0.05);
}

} // namespace
} // namespace zel::e2e
