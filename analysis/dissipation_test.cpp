#include "analysis/dissipation.h"

#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <fstream>

namespace zel {
namespace {

// A pressure settling exponentially from `from` to `level` over `tau` seconds, a reading every 0.2 s.
DissipationCurve settling(double from, double level, double tau, double seconds) {
    DissipationCurve c;
    for (double t = 0.0; t <= seconds + 1e-9; t += 0.2) {
        c.timeS.push_back(static_cast<float>(t));
        c.presDown.push_back(static_cast<float>(level + (from - level) * std::exp(-t / tau)));
    }
    return c;
}

TEST(Dissipation, StaticPressureIsTheLevelTheCurveSettledAt) {
    struct Case {
        double from, level, tau, seconds, tolerance;
        bool known;
    };
    for (const Case& c : {Case{60.0, 24.44, 2.0, 30.0, 0.01, true}, Case{90.0, 18.6, 5.0, 60.0, 0.02, true},
                          Case{20.0, 30.0, 1.0, 10.0, 0.02, true}, // rising back (a probe that sucked)
                          Case{60.0, 24.0, 4.0, 10.0, 0.01, true}, // stopped 3 PSI above its level
                          Case{60.0, 24.44, 2.0, 0.2, 0.0, false}}) {
        const auto level = staticPressure(settling(c.from, c.level, c.tau, c.seconds));
        ASSERT_EQ(level.has_value(), c.known) << c.from << " -> " << c.level;
        if (c.known) {
            EXPECT_NEAR(*level, c.level, c.tolerance) << c.from << " -> " << c.level;
        }
    }
    EXPECT_FALSE(staticPressure(DissipationCurve{}).has_value());
}

TEST(Dissipation, LevelledOnlyOnceThePressureStopsFalling) {
    const DissipationCurve early = settling(60.0, 24.44, 3.0, 4.0);
    const DissipationCurve late = settling(60.0, 24.44, 3.0, 40.0);
    EXPECT_FALSE(levelled(early, 4.0, 0.02));
    EXPECT_TRUE(levelled(late, 4.0, 0.02));
    EXPECT_FALSE(levelled(late, 60.0, 0.02)); // a window longer than the test
}

TEST(Dissipation, WaterTableFromTheStaticHead) {
    struct Case {
        double depth, staticPsi;
        float hpt1ft;
        double waterTable;
    };
    for (const Case& c : {
             Case{25.0, 18.6 + 13.5 * 0.433, 0.0f, 11.5},    // no 1 ft test: the 18.6 PSI reference
             Case{25.0, 18.6 + 13.5 * 0.433, 19.033f, 11.5}, // a 1 ft test that agrees
             Case{25.0, 20.0 + 5.0 * 0.433, 20.433f, 20.0},  // the 1 ft test's reference, not 18.6
             Case{8.0, 18.6, 0.0f, 8.0},                     // no head: the water stands at the probe
         })
        EXPECT_NEAR(waterTableFromStatic(c.depth, c.staticPsi, c.hpt1ft), c.waterTable, 1e-4)
            << c.depth << " ft at " << c.staticPsi << " PSI";
}

class DissipationFileTest : public ::testing::Test {
protected:
    std::filesystem::path dir =
        std::filesystem::temp_directory_path() /
        ("zel_dis_" + std::to_string(::testing::UnitTest::GetInstance()->random_seed()) +
         ::testing::UnitTest::GetInstance()->current_test_info()->name());
    void SetUp() override { std::filesystem::create_directories(dir); }
    void TearDown() override { std::filesystem::remove_all(dir); }
    std::string write(const std::string& text) {
        const std::string path = (dir / "x.lif.dis.txt").string();
        std::ofstream(path, std::ios::binary) << text;
        return path;
    }
};

TEST_F(DissipationFileTest, CurvesComeBackAsWritten) {
    EXPECT_EQ(dissipationFilePath("/a/b/Site 1.lif.raw.bin"), "/a/b/Site 1.lif.dis.txt");
    DissipationCurve a = settling(60.0, 24.0, 2.0, 3.0);
    a.test = 0;
    a.depth = 25.25f;
    DissipationCurve b = settling(40.0, 20.0, 1.0, 2.0);
    b.test = 3;
    b.depth = 18.5f;
    const std::string path = (dir / "x.lif.dis.txt").string();
    std::string error;
    ASSERT_TRUE(writeDissipationFile(path, {a, b}, error)) << error;
    const auto back = readDissipationFile(path, error);
    ASSERT_TRUE(back) << error;
    ASSERT_EQ(back->size(), 2u);
    for (const auto& [written, read] : {std::pair{&a, &(*back)[0]}, std::pair{&b, &(*back)[1]}}) {
        EXPECT_EQ(read->test, written->test);
        EXPECT_FLOAT_EQ(read->depth, written->depth);
        ASSERT_EQ(read->timeS.size(), written->timeS.size());
        for (std::size_t i = 0; i < read->timeS.size(); ++i) {
            EXPECT_NEAR(read->timeS[i], written->timeS[i], 5e-4);
            EXPECT_NEAR(read->presDown[i], written->presDown[i], 5e-4);
        }
    }
}

TEST_F(DissipationFileTest, DamagedLinesAreRefusedWithTheirNumber) {
    struct Case {
        const char* text;
        const char* line;
    };
    for (const Case& c :
         {Case{"Test\tDepth\tTime\tPresDown\r\n0\t1\t2\r\n", "line 2"},
          Case{"Test\tDepth\tTime\tPresDown\r\n5\t1\t2\t3\r\n", "line 2"},
          Case{"0\t1\t2\t3\r\n-1\t1\t2\t3\r\n", "line 2"}, Case{"0\t1\t2\t3\r\n1.5\t1\t2\t3\r\n", "line 2"},
          Case{"0\t1\tx\t3\r\n", "line 1"}, Case{"0\t1\t2\tnan\r\n", "line 1"}}) {
        std::string error;
        EXPECT_FALSE(readDissipationFile(write(c.text), error)) << c.text;
        EXPECT_NE(error.find(c.line), std::string::npos) << error;
    }
    std::string error;
    const auto none = readDissipationFile((dir / "missing.lif.dis.txt").string(), error);
    ASSERT_TRUE(none);
    EXPECT_TRUE(none->empty());
}

} // namespace
} // namespace zel
