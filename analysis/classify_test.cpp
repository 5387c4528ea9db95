#include "analysis/classify.h"

#include <gtest/gtest.h>

#include <random>

namespace zel::analysis {
namespace {

// Points drawn around known centres, in blocks of depth (cluster c fills depths [c, c + 1)), with the given
// spread; every point's true cluster is kept.
struct Synthetic {
    FeatureRows features;
    std::vector<float> depth;
    std::vector<int> truth;
};

Synthetic clusters(const std::vector<std::vector<double>>& centres, int perCluster, double spread,
                   unsigned seed) {
    Synthetic s;
    std::mt19937 rng(seed);
    std::normal_distribution<double> noise(0.0, spread);
    for (std::size_t c = 0; c < centres.size(); ++c)
        for (int i = 0; i < perCluster; ++i) {
            std::vector<double> v;
            for (const double x : centres[c])
                v.push_back(x + noise(rng));
            s.features.push_back(v);
            s.depth.push_back(static_cast<float>(c + double(i) / perCluster));
            s.truth.push_back(static_cast<int>(c));
        }
    return s;
}

TEST(Classify, RecoversKnownClustersFromRangeAndVectorSeeds) {
    const struct {
        const char* what;
        std::vector<std::vector<double>> centres;
        double spread;
        bool vectorSeeds; // seeds given as vectors away from the true centres, else as depth ranges
    } cases[] = {
        {"two share clusters by range", {{0.18, 0.43, 0.29, 0.10}, {0.08, 0.22, 0.38, 0.32}}, 0.02, false},
        {"three close share clusters by range",
         {{0.25, 0.25, 0.25, 0.25}, {0.30, 0.30, 0.20, 0.20}, {0.20, 0.20, 0.30, 0.30}},
         0.015,
         false},
        {"decay times by vector", {{10, 12, 15, 17}, {14, 20, 26, 32}, {4, 5, 6, 8}}, 0.8, true},
    };
    for (const auto& c : cases) {
        const Synthetic s = clusters(c.centres, 60, c.spread, 7);
        std::vector<ClassSeed> seeds;
        for (std::size_t k = 0; k < c.centres.size(); ++k) {
            ClassSeed seed;
            seed.name = "P" + std::to_string(k);
            if (c.vectorSeeds) {
                // A rough guess: k-means has to move the centre to the points.
                for (const double x : c.centres[k])
                    seed.centre.push_back(x * 1.15);
            } else {
                // Only the first fifth of the cluster's depths: the rest is found.
                seed.range = std::pair{double(k), k + 0.2};
            }
            seeds.push_back(seed);
        }
        std::string error;
        const auto r = classify(s.features, s.depth, seeds,
                                c.vectorSeeds ? ClassFeature::Tau : ClassFeature::Shares, error);
        ASSERT_TRUE(r) << c.what << ": " << error;
        int wrong = 0;
        for (std::size_t p = 0; p < s.truth.size(); ++p)
            wrong += r->pointClass[p] != s.truth[p];
        EXPECT_EQ(wrong, 0) << c.what;
        for (std::size_t k = 0; k < c.centres.size(); ++k)
            for (std::size_t x = 0; x < c.centres[k].size(); ++x)
                EXPECT_NEAR(r->centres[k][x], c.centres[k][x], 3 * c.spread) << c.what << " class " << k;
        EXPECT_GE(r->iterations, 1);
    }
}

TEST(Classify, PointsWithoutFeaturesStayUnclassified) {
    Synthetic s = clusters({{0.5, 0.5}, {0.1, 0.9}}, 10, 0.01, 3);
    s.features[4].clear();
    s.features[15].clear();
    std::string error;
    const auto r =
        classify(s.features, s.depth, {{"A", std::pair{0.0, 1.0}, {}}, {"B", std::nullopt, {0.1, 0.9}}},
                 ClassFeature::Shares, error);
    ASSERT_TRUE(r) << error;
    EXPECT_EQ(r->pointClass[4], -1);
    EXPECT_EQ(r->pointClass[15], -1);
    EXPECT_EQ(r->pointClass[3], 0);
    EXPECT_EQ(r->pointClass[16], 1);
}

TEST(Classify, BadSeedsAreRefusedWithTheReason) {
    const Synthetic s = clusters({{0.5, 0.5}, {0.1, 0.9}}, 10, 0.01, 3);
    const struct {
        std::vector<ClassSeed> seeds;
        const char* says;
    } cases[] = {
        {{{"A", std::pair{5.0, 6.0}, {}}}, "no point"},
        {{{"A", std::nullopt, {0.1, 0.2, 0.3}}}, "has 3 values"},
        {{{"A", std::nullopt, {0.1, 0.9}}, {"A", std::nullopt, {0.5, 0.5}}}, "two seeds"},
        {{}, "seeds are needed"},
    };
    for (const auto& c : cases) {
        std::string error;
        EXPECT_FALSE(classify(s.features, s.depth, c.seeds, ClassFeature::Shares, error));
        EXPECT_NE(error.find(c.says), std::string::npos) << error;
    }
    std::string error;
    EXPECT_FALSE(
        classify(FeatureRows(5), s.depth, {{"A", std::nullopt, {1, 2}}}, ClassFeature::Shares, error));
}

TEST(Classify, SeedsParseFromTheCommandLine) {
    const struct {
        const char* text;
        bool ok;
        std::optional<std::pair<double, double>> range;
        std::vector<double> centre;
    } cases[] = {
        {"Diesel:1.5-3", true, std::pair{1.5, 3.0}, {}},
        {"Gas:4-2.5", true, std::pair{2.5, 4.0}, {}},
        {"Up:-1-0.5", true, std::pair{-1.0, 0.5}, {}},
        {"Coal=0.1,0.2,0.3,0.4", true, std::nullopt, {0.1, 0.2, 0.3, 0.4}},
        {"NoRange:", false, std::nullopt, {}},
        {":1-2", false, std::nullopt, {}},
        {"Bad=0.1,x", false, std::nullopt, {}},
        {"Bad:1.5", false, std::nullopt, {}},
        {"plain", false, std::nullopt, {}},
    };
    for (const auto& c : cases) {
        std::string error;
        const auto s = parseSeed(c.text, error);
        ASSERT_EQ(s.has_value(), c.ok) << c.text << " " << error;
        if (!s) continue;
        EXPECT_EQ(s->range, c.range) << c.text;
        EXPECT_EQ(s->centre, c.centre) << c.text;
    }
}

TEST(Classify, ClassFileReadsBackAndRefusesDamage) {
    const Synthetic s = clusters({{0.5, 0.5}, {0.1, 0.9}}, 5, 0.01, 3);
    FeatureRows f = s.features;
    f[2].clear();
    std::string error;
    const auto r =
        classify(f, s.depth, {{"Light", std::nullopt, {0.5, 0.5}}, {"Heavy", std::nullopt, {0.1, 0.9}}},
                 ClassFeature::Tau, error);
    ASSERT_TRUE(r) << error;
    const std::string text = classText(*r);
    const auto back = parseClassText(text, error);
    ASSERT_TRUE(back) << error;
    EXPECT_EQ(back->names, r->names);
    EXPECT_EQ(back->feature, ClassFeature::Tau);
    EXPECT_EQ(back->pointClass, r->pointClass);
    ASSERT_EQ(back->centres.size(), 2u);
    EXPECT_NEAR(back->centres[1][1], r->centres[1][1], 1e-4);
    ASSERT_EQ(back->depth.size(), s.depth.size());
    EXPECT_NEAR(back->depth[7], s.depth[7], 1e-3);

    const auto replaced = [&](const std::string& from, const std::string& to, bool last = false) {
        std::string t = text;
        t.replace(last ? t.rfind(from) : t.find(from), from.size(), to);
        return t;
    };
    const std::string damaged[] = {
        "",
        replaced("Classes", "Klasses"),
        replaced("Feature\ttau", "Feature\tcolour"),
        replaced("Centre\tHeavy", "Centre\tOther"),
        replaced("Depth\tClass", "Depth\tKind"),
        replaced("\tHeavy\t", "\tUnknown\t", true),
        text + "12.000\tLight\tx\r\n",
        text + "nan\t\t\r\n",
        "Classes\tA\tA\r\nFeature\tshares\r\nCentre\tA\t1\r\nCentre\tA\t1\r\nDepth\tClass\tDistance\r\n",
    };
    for (const auto& d : damaged) {
        std::string why;
        EXPECT_FALSE(parseClassText(d, why)) << d.substr(0, 80);
        EXPECT_FALSE(why.empty());
    }
}

} // namespace
} // namespace zel::analysis
