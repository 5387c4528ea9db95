// The rig's site, probe and pressure/flow unit: what each instrument is made to see.

#include "analysis/k_estimate.h"
#include "app/sim/presflow_unit_sim.h"
#include "app/sim/probe.h"
#include "app/sim/scope_waveform.h"
#include "app/sim/site.h"
#include "app/sim/site_model.h"

#include <gtest/gtest.h>

#include <cmath>
#include <tuple>

namespace zel::sim {
namespace {

TEST(SiteFile, MalformedFilesNameTheKey) {
    const std::pair<const char*, const char*> cases[] = {
        {"[1, 2]", "not a JSON object"},
        {"{\"lat\": 95}", "lat:"},
        {"{\"name\": 3}", "name:"},
        {"{\"layers\": []}", "layers:"},
        {"{\"layers\": [{\"pct_re\": \"x\"}]}", "layers[0].pct_re:"},
        {"{\"layers\": [{\"top_ft\": 2, \"bottom_ft\": 1}]}", "layers[0].bottom_ft:"},
        {"{\"layers\": [{\"shares\": [1, 2, 3]}]}", "layers[0].shares:"},
        {"{\"layers\": [{\"shares\": [0, 0, 0, 0]}]}", "layers[0].shares:"},
        {"{\"layers\": [{\"shares\": [1, 1, 1, 1, 1, 1, 1], \"decay_ns\": [5, 6, 7, 8]}]}",
         "layers[0].decay_ns:"},
        {"{\"layers\": [{}, {\"shares\": [1, 1, 1, 1, 1, 1, 1]}]}", "layers[1].shares:"},
        {"{\"layers\": [{\"k_ft_day\": 0}]}", "layers[0].k_ft_day:"},
    };
    for (const auto& [text, key] : cases) {
        std::string error;
        EXPECT_FALSE(parseSite(text, error)) << text;
        EXPECT_EQ(error.rfind(key, 0), 0u) << text << " -> " << error;
    }
}

TEST(SiteFile, MissingKeysTakeDefaultsAndLayersFollowOnEachOther) {
    std::string error;
    const auto s = parseSite(R"({"layers": [{"bottom_ft": 2, "pct_re": 10}, {"bottom_ft": 5}]})", error);
    ASSERT_TRUE(s) << error;
    EXPECT_EQ(s->layers.size(), 2u);
    EXPECT_EQ(s->layers[1].topFt, 2.0);
    EXPECT_EQ(s->bottomFt, 5.0); // the last layer's bottom when the file gives none
    EXPECT_FALSE(
        parseSite(R"({"layers": [{"bottom_ft": 2}, {"bottom_ft": 5, "decay_ns": [5,6,7,8,9,10,11]}]})",
                  error)); // seven channels after four
    const auto seven = parseSite(R"({"layers": [{"shares": [1,1,1,1,1,1,1]}]})", error);
    ASSERT_TRUE(seven) << error;
    EXPECT_EQ(seven->channels(), 7);
    EXPECT_EQ(seven->layers[0].decayNs.size(), 7u);
}

TEST(SiteModelTest, ContactsBlendOverAFewInches) {
    Site s;
    s.layers = {{0, 2, 1.0, {25, 25, 25, 25}, {5, 5, 5, 5}, 10, 1},
                {2, 4, 51.0, {10, 20, 30, 40}, {20, 20, 20, 20}, 110, 100}};
    const struct {
        double depth, pct, tolerance;
    } cases[] = {{1.0, 1.0, 1e-3}, {1.6, 1.0, 0.5}, {2.0, 26.0, 1e-9}, {2.4, 51.0, 0.5}, {3.5, 51.0, 1e-3}};
    for (const auto& c : cases)
        EXPECT_NEAR(groundAt(s, c.depth).pctRe, c.pct, c.tolerance) << c.depth;
    const GroundAt mid = groundAt(s, 2.0);
    EXPECT_NEAR(mid.ecMsPerM, 60.0, 1e-9);
    EXPECT_NEAR(mid.kFtPerDay, 10.0, 1e-9); // hydraulic conductivity blends geometrically
    // The channel balance of the blend is the light's: the bright layer's dominates.
    EXPECT_NEAR(mid.shares[3], (0.5 * 0.25 + 25.5 * 0.4) / 26.0, 1e-9);
    EXPECT_GT(mid.decayNs[0], 15.0);
}

TEST(SiteModelTest, GroundLightHasTheLayersAreaAgainstTheEmitter) {
    const SampleTimes t;
    std::mt19937 rng(1);
    const auto area = [&](const Fluorescence& f) {
        double sum = 0;
        for (const double v : lifSignal(f, t, 1000000, rng))
            sum += v;
        return sum;
    };
    GroundAt g;
    g.pctRe = 37.0;
    g.shares = {0.1, 0.2, 0.3, 0.4};
    g.decayNs = {8, 12, 16, 20};
    EXPECT_NEAR(area(groundLight(g, t)) / area(referenceEmitter(1.0)) * 100.0, 37.0, 0.05);
}

TEST(ProbeTest, StandsUntilStartedPausesAtRodsStopsAtBottom) {
    ProbeMotion m;
    m.rateFtPerS = 1.0;
    m.rodFt = 2.0;
    m.rodPauseS = 3.0;
    m.bottomFt = 5.0;
    Probe p(m);
    p.advance(10);
    EXPECT_EQ(p.depthFt(), 0.0);
    p.start();
    p.advance(1.5);
    EXPECT_NEAR(p.depthFt(), 1.5, 0.15); // the pace wanders by about a tenth
    p.advance(1.0);
    EXPECT_DOUBLE_EQ(p.depthFt(), 2.0); // held at the rod change
    EXPECT_TRUE(p.pausedForRod());
    p.advance(2.0);
    EXPECT_DOUBLE_EQ(p.depthFt(), 2.0);
    p.advance(30);
    EXPECT_DOUBLE_EQ(p.depthFt(), 5.0);

    // The same steps give the same depths, whatever the seed's pace.
    Probe a(m), b(m);
    a.start();
    b.start();
    for (int i = 0; i < 50; ++i) {
        a.advance(0.1);
        b.advance(0.1);
        ASSERT_EQ(a.depthFt(), b.depthFt());
    }
}

// The unit's readings give back each layer's K through the program's own estimate, above and below the
// water table, with the transducer's surface reading as the reference.
TEST(PresFlowUnit, ReadingsImplyTheLayersK) {
    Site s;
    s.waterTableFt = 10.0;
    s.layers = {{0, 8, 1, {25, 25, 25, 25}, {5, 5, 5, 5}, 10, 0.5},
                {8, 16, 1, {25, 25, 25, 25}, {5, 5, 5, 5}, 10, 12.0},
                {16, 30, 1, {25, 25, 25, 25}, {5, 5, 5, 5}, 10, 60.0}};
    const SiteModel site(s, 1);
    const PresFlowOptions o;
    for (const double depth : {4.0, 9.0, 14.0, 25.0}) {
        const auto r = presFlowReading(o, site, depth, true, 0.0);
        const double k = pointK(depth, r.presDownPsi, r.flowMlMin, o.surfacePsi, s.waterTableFt, false);
        EXPECT_NEAR(k, site.groundAt(depth).kFtPerDay, 1e-4) << depth;
    }
    const auto idle = presFlowReading(o, site, 0.0, false, 0.0);
    EXPECT_DOUBLE_EQ(idle.flowMlMin, 0.0);
    EXPECT_DOUBLE_EQ(idle.presDownPsi, o.surfacePsi);
}

} // namespace
} // namespace zel::sim

namespace zel::sim {
namespace {

// The README's example site file is the built-in site, layer for layer.
TEST(SiteFile, TheDocumentedExampleIsTheBuiltInSite) {
    std::string error;
    const auto file = loadSite(std::string(ZEL_SOURCE_DIR) + "/docs/site-example.json", error);
    ASSERT_TRUE(file) << error;
    const Site built = defaultSite();
    EXPECT_EQ(file->name, built.name);
    EXPECT_EQ(file->waterTableFt, built.waterTableFt);
    EXPECT_EQ(file->bottomFt, built.bottomFt);
    ASSERT_EQ(file->layers.size(), built.layers.size());
    for (std::size_t i = 0; i < built.layers.size(); ++i) {
        const auto &a = file->layers[i], &b = built.layers[i];
        EXPECT_EQ(std::tie(a.topFt, a.bottomFt, a.pctRe, a.shares, a.decayNs, a.ecMsPerM, a.kFtPerDay),
                  std::tie(b.topFt, b.bottomFt, b.pctRe, b.shares, b.decayNs, b.ecMsPerM, b.kFtPerDay))
            << "layer " << i;
    }
}

} // namespace
} // namespace zel::sim
