// zel-cli stitch, cut and gps on logs pushed with the rig: the new logs read back by the program and by an
// independent reader (tools/raw-log-check), point for point against the logs they came from.

#include "tests/e2e/loaded_log.h"
#include "tests/e2e/run_program.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <fstream>
#include <set>
#include <sstream>

namespace zel::e2e {
namespace {

const std::string kCli = ZEL_CLI;

std::string slurp(const std::filesystem::path& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream s;
    s << in.rdbuf();
    return s.str();
}

nlohmann::json independent(const std::filesystem::path& raw) {
    const RunResult r =
        runProgram("python3 " + quote(std::string(ZEL_SOURCE_DIR) + "/tools/raw-log-check/check.py") + " " +
                   quote(raw.string()));
    EXPECT_EQ(r.exitCode, 0) << r.err;
    return r.exitCode == 0 ? nlohmann::json::parse(r.out) : nlohmann::json{};
}

float signalAt(const LoadedLog& l, int i) {
    return l.arrays.columns.at(point_column::Signal, i).value_or(-1);
}

// One boring pushed twice: A from the top, then B resumed at 1.5 ft after a refusal.
struct Boring {
    TempDir dir;
    std::filesystem::path a, b;
    Boring() {
        const std::string site = dir.write(
            "site.json",
            R"({"lat": 45.5, "lon": -73.5, "bottom_ft": 4, "layers": [{"top_ft": 0, "bottom_ft": 1, "pct_re": 0.5},)"
            R"( {"top_ft": 1, "bottom_ft": 2, "pct_re": 30}, {"top_ft": 2, "bottom_ft": 4, "pct_re": 5}]})");
        const std::string common = kCli + " push --sim --site " + quote(site) +
                                   " --rate 1 --rod-ft 0 --sweep-ms 0 --yes --out " +
                                   quote(dir.path.string());
        EXPECT_EQ(runProgram(common + " --points 30 --name A").exitCode, 0);
        EXPECT_EQ(runProgram(common + " --points 10 --start-depth 1.5 --seed 2 --name B").exitCode, 0);
        a = dir.path / "A.lif.raw.bin";
        b = dir.path / "B.lif.raw.bin";
    }
};

TEST(CliLogEdit, StitchAndCutKeepEveryPointOfTheirSources) {
    Boring boring;
    const auto ab = boring.dir.path / "AB.lif.raw.bin";
    const RunResult s =
        runProgram(kCli + " stitch " + quote(boring.a.string()) + " " + quote(boring.b.string()) + " --out " +
                   quote((boring.dir.path / "AB").string()));
    ASSERT_EQ(s.exitCode, 0) << s.err;

    const auto ja = independent(boring.a), jb = independent(boring.b), jab = independent(ab);
    const auto& depthA = ja["lists"]["DEPTH"];
    const auto& depthB = jb["lists"]["DEPTH"];
    const double join = depthB[0];
    std::size_t kept = 0;
    while (kept < depthA.size() && depthA[kept].get<double>() < join)
        ++kept;
    ASSERT_GT(kept, 0u);
    ASSERT_LT(kept, depthA.size()); // A went on below the join, so the joint really drops points
    ASSERT_EQ(jab["points"], kept + depthB.size());
    for (std::size_t i = 0; i < jab["points"].get<std::size_t>(); ++i) {
        const bool upper = i < kept;
        const auto& from = upper ? ja : jb;
        const std::size_t k = upper ? i : i - kept;
        EXPECT_EQ(jab["lists"]["DEPTH"][i], from["lists"]["DEPTH"][k]) << i;
        EXPECT_EQ(jab["wave_digests"][i], from["wave_digests"][k]) << i;
    }
    EXPECT_EQ(jab["sections"]["INFO"]["Time_Start"], ja["sections"]["INFO"]["Time_Start"]);
    EXPECT_EQ(jab["sections"]["INFO"]["Time_Stop"], jb["sections"]["INFO"]["Time_Stop"]);
    EXPECT_EQ(jab["sections"]["STATS"]["RE_Area"], ja["sections"]["STATS"]["RE_Area"]);

    // The program's reading: B's points keep their %RE under A's RE (the two REs agree within 1 %).
    LoadedLog la(boring.a), lb(boring.b), lab(ab);
    ASSERT_TRUE(la.ok && lb.ok && lab.ok);
    float max = 0;
    for (int i = 0; i < lab.arrays.points(); ++i) {
        const bool upper = i < static_cast<int>(kept);
        const float want = upper ? signalAt(la, i) : signalAt(lb, i - static_cast<int>(kept));
        EXPECT_NEAR(signalAt(lab, i), want, 0.012 * std::abs(want) + 0.02) << i;
        max = std::max(max, signalAt(lab, i));
    }
    EXPECT_NEAR(lab.log.Signal_MaxValue(), max, 1e-4);
    EXPECT_GT(max, 20.0f); // the 30 %RE layer is in the joint log

    // A cut of the joint log to the bright layer.
    const RunResult c = runProgram(kCli + " cut " + quote(ab.string()) + " --top 1 --bottom 2 --out " +
                                   quote((boring.dir.path / "C").string()));
    ASSERT_EQ(c.exitCode, 0) << c.err;
    const auto jc = independent(boring.dir.path / "C.lif.raw.bin");
    std::vector<std::string> want;
    for (std::size_t i = 0; i < jab["points"].get<std::size_t>(); ++i) {
        const double d = jab["lists"]["DEPTH"][i];
        if (d >= 1.0 && d <= 2.0) want.push_back(jab["wave_digests"][i]);
    }
    ASSERT_FALSE(want.empty());
    EXPECT_EQ(jc["wave_digests"].get<std::vector<std::string>>(), want);
    const auto info = nlohmann::json::parse(
        runProgram(kCli + " info " + quote((boring.dir.path / "C.lif.raw.bin").string())).out);
    EXPECT_NEAR(info["signal_max"]["value"].get<double>(), max, 0.01);
}

TEST(CliLogEdit, RefusalsWriteNothingAndNameTheReason) {
    Boring boring;
    const std::string before = slurp(boring.a);
    const auto out = [&](const char* name) { return quote((boring.dir.path / name).string()); };
    struct Case {
        std::string args, reason;
        const char* name;
    };
    const Case cases[] = {
        {"stitch " + quote(boring.b.string()) + " " + quote(boring.a.string()) + " --out " + out("X"),
         "not below the first log's first point", "X"},
        {"cut " + quote(boring.a.string()) + " --top 30 --bottom 40 --out " + out("Y"),
         "no point lies between", "Y"},
        {"cut " + quote(boring.a.string()) + " --top 2 --bottom 1 --out " + out("Z"), "below its bottom",
         "Z"},
        {"cut " + quote(boring.a.string()) + " --top 0 --bottom 9 --out " + out("B"), "exists", nullptr},
    };
    for (const auto& c : cases) {
        const RunResult r = runProgram(kCli + " " + c.args);
        EXPECT_EQ(r.exitCode, 1) << c.args;
        EXPECT_NE(r.err.find(c.reason), std::string::npos) << r.err;
        if (c.name) {
            EXPECT_FALSE(std::filesystem::exists(boring.dir.path / (std::string(c.name) + ".lif.raw.bin")));
        }
    }
    EXPECT_EQ(slurp(boring.a), before);
}

TEST(CliLogEdit, SurveyedPositionsReplaceOnlyTheGpsSection) {
    Boring boring;
    const auto ja = independent(boring.a), jb = independent(boring.b);
    const std::string csv =
        boring.dir.write("survey.csv", "Boring;Lat;Lon;Elev\nx9;1;2;3\na;45.123456;-73.654321;31.5\n");
    const std::string gpx = boring.dir.write(
        "survey.gpx", R"(<gpx><wpt lat="46.5" lon="-72.25"><ele>12</ele><name>B</name></wpt></gpx>)");
    const std::string bad = boring.dir.write("bad.csv", "name,lat,lon\nA,95,1\n");

    // The rig's logs have a fix: left alone unless told.
    RunResult r = runProgram(kCli + " gps " + quote(csv) + " " + quote(boring.a.string()));
    EXPECT_EQ(r.exitCode, 0) << r.err;
    EXPECT_EQ(independent(boring.a)["sections"], ja["sections"]);
    r = runProgram(kCli + " gps " + quote(bad) + " " + quote(boring.dir.path.string()) + " --overwrite");
    EXPECT_EQ(r.exitCode, 1);
    EXPECT_NE(r.err.find("line 2"), std::string::npos) << r.err;

    ASSERT_EQ(runProgram(kCli + " gps " + quote(csv) + " " + quote(boring.dir.path.string()) + " --overwrite")
                  .exitCode,
              0);
    ASSERT_EQ(
        runProgram(kCli + " gps " + quote(gpx) + " " + quote(boring.b.string()) + " --overwrite").exitCode,
        0);
    struct Want {
        const nlohmann::json& before;
        std::filesystem::path raw;
        const char *lat, *lon, *latDec, *altM;
    };
    const Want wants[] = {{ja, boring.a, "45 07.4074 N", "073 39.2593 W", "45.123456", "31.5"},
                          {jb, boring.b, "46 30.0000 N", "072 15.0000 W", "46.5", "12"}};
    for (const auto& w : wants) {
        const auto after = independent(w.raw);
        const auto& gps = after["sections"]["GPS"];
        EXPECT_EQ(gps["Latitude"], w.lat);
        EXPECT_EQ(gps["Longitude"], w.lon);
        EXPECT_EQ(gps["Latitude_Dec"], w.latDec);
        EXPECT_EQ(gps["Altitude_M"], w.altM);
        auto rest = after["sections"], restBefore = w.before["sections"];
        rest.erase("GPS");
        restBefore.erase("GPS");
        EXPECT_EQ(rest, restBefore);
        EXPECT_EQ(after["lists"], w.before["lists"]);
        EXPECT_EQ(after["wave_digests"], w.before["wave_digests"]);
    }
}

// A day's logs copied into its folder, each with its own files only; a second run finds them there, and a
// file of other contents in the way is never replaced.
TEST(CliLogEdit, ArrangeCopiesEachLogWithItsFilesIntoItsDay) {
    Boring boring;
    namespace fs = std::filesystem;
    fs::copy_file(boring.a, boring.dir.path / "A.5.lif.raw.bin");
    boring.dir.write("A.5.lif.plt", "[Settings]\r\n");
    boring.dir.write("A_2.jpg", "page two");
    const auto to = boring.dir.path / "site";
    const std::string command =
        kCli + " arrange " + quote(boring.dir.path.string()) + " --to " + quote(to.string());
    RunResult r = runProgram(command);
    ASSERT_EQ(r.exitCode, 0) << r.err;
    const auto summary =
        nlohmann::json::parse(runProgram(kCli + " summary --json " + quote(boring.a.string())).out);
    const auto day = to / summary["logs"][0]["date"].get<std::string>();
    std::set<std::string> names;
    for (const auto& e : fs::directory_iterator(day))
        names.insert(e.path().filename().string());
    const std::set<std::string> want = {"A.lif.raw.bin", "A.lif.plt",       "A.lif.dat.txt",
                                        "A_2.jpg",       "B.lif.raw.bin",   "B.lif.plt",
                                        "B.lif.dat.txt", "A.5.lif.raw.bin", "A.5.lif.plt"};
    EXPECT_EQ(names, want);
    EXPECT_EQ(slurp(day / "A.lif.raw.bin"), slurp(boring.a));
    EXPECT_NE(r.out.find("A.5.lif.raw.bin -> " + day.string() + " (2 copied)"), std::string::npos) << r.out;

    r = runProgram(command);
    EXPECT_EQ(r.exitCode, 0) << r.err;
    EXPECT_NE(r.out.find("(0 copied, 4 already there)"), std::string::npos)
        << r.out; // A: raw, plt, export, page

    boring.dir.write("site/" + day.filename().string() + "/B.lif.plt", "edited in the office");
    r = runProgram(command);
    EXPECT_EQ(r.exitCode, 1);
    EXPECT_NE(r.out.find("exists with other contents"), std::string::npos) << r.out;
    EXPECT_EQ(slurp(day / "B.lif.plt"), "edited in the office");
}

} // namespace
} // namespace zel::e2e
