#include "app/zel/analysis_window.h"

#include "analysis/classify.h"
#include "analysis/waveform_fits.h"
#include "app/plot/synthetic_log.h"
#include "app/zel/gui_test_app.h"
#include "common/clock.h"
#include "common/testing/recording_host.h"

#include <QComboBox>
#include <QLineEdit>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <iterator>

namespace zel::gui {
namespace {

namespace fs = std::filesystem;

// A made-up log of 201 points (channel balance drifting with depth) standing as a raw log in a folder of
// its own, so the window's files land beside it.
class AnalysisWindowTest : public ::testing::Test {
protected:
    void SetUp() override {
        testing::guiTestApp();
        dir = fs::temp_directory_path() / ("zel-analysis-" + std::to_string(::getpid()));
        fs::create_directories(dir);
        plot::synthetic::fillSyntheticLog(log, arrays, 201, 300, false);
        log.File_FullPath((dir / "SYN-1.lif.raw.bin").string());
        ctx.channels = 4;
        window = std::make_unique<AnalysisWindow>(LoadedLog{log, arrays, ctx},
                                                  std::array<std::string, 4>{"350", "400", "450", "500"},
                                                  host, [this] { ++refreshed; });
    }
    void TearDown() override { fs::remove_all(dir); }

    bool said(const std::string& part) const {
        const auto m = host.messages();
        return std::any_of(m.begin(), m.end(),
                           [&](const std::string& s) { return s.find(part) != std::string::npos; });
    }

    fs::path dir;
    FakeClock clock;
    zel::testing::RecordingHost host{&clock};
    cZEL_Data log{host, clock};
    LogArrays arrays;
    RawLogContext ctx;
    int refreshed = 0;
    std::unique_ptr<AnalysisWindow> window;
};

TEST_F(AnalysisWindowTest, DecayTimesAreWrittenAndReadIntoTheLog) {
    ASSERT_TRUE(window->fitDecayTimes());
    const std::string path = analysis::lifetimePath(log.File_FullPath());
    ASSERT_TRUE(fs::exists(path));
    ASSERT_EQ(arrays.tau.size(), 4u);
    EXPECT_EQ(arrays.tau[0].size(), 201u);
    EXPECT_EQ(refreshed, 1);
    EXPECT_NE(window->results().find("Decay times of 201 points"), std::string::npos) << window->results();
    // Each value is the file's, read back (NaN where the file leaves a channel unfitted).
    std::string error;
    std::ifstream in(path, std::ios::binary);
    const auto file = analysis::parseLifetimeText(std::string(std::istreambuf_iterator<char>(in), {}), error);
    ASSERT_TRUE(file) << error;
    for (const int p : {0, 60, 200})
        for (std::size_t c = 0; c < 4; ++c) {
            const auto& f = file->points[static_cast<std::size_t>(p)][c];
            if (f.weak)
                EXPECT_TRUE(std::isnan(arrays.tau[c][static_cast<std::size_t>(p)]));
            else
                EXPECT_NEAR(arrays.tau[c][static_cast<std::size_t>(p)], f.tauNs, 1e-6);
        }
}

TEST_F(AnalysisWindowTest, ClassesFromSeedsAndRefusals) {
    // The first channel's share falls and the fourth's rises over every 200 points (10 ft).
    window->seeds()->setText("Blue:0.5-2.5 Red:7.5-9.5");
    ASSERT_TRUE(window->classifyPoints());
    ASSERT_EQ(arrays.pointClass.size(), 201u);
    EXPECT_EQ(arrays.classNames, (std::vector<std::string>{"Blue", "Red"}));
    EXPECT_EQ(arrays.pointClass[10], 0);
    EXPECT_EQ(arrays.pointClass[190], 1);
    EXPECT_TRUE(fs::exists(analysis::classPath(log.File_FullPath())));
    EXPECT_EQ(refreshed, 1);

    const struct {
        const char* seeds;
        const char* says;
    } refused[] = {
        {"Blue", "The classes were not made: a seed is NAME:FROM-TO"},
        {"Deep:40-50", "has no point to classify"},
        {"", "seeds are needed"},
    };
    for (const auto& r : refused) {
        window->seeds()->setText(r.seeds);
        EXPECT_FALSE(window->classifyPoints()) << r.seeds;
        EXPECT_TRUE(said(r.says)) << ::testing::PrintToString(host.messages());
    }
    EXPECT_EQ(refreshed, 1);
}

TEST_F(AnalysisWindowTest, CalloutsAndBasesNeedTheirInputs) {
    EXPECT_FALSE(window->fitCallouts());
    EXPECT_TRUE(said("The log has no callouts to fit"));
    EXPECT_FALSE(window->fitBases());
    EXPECT_TRUE(said("Choose a basis library first"));

    // A library of one basis made from the log itself: the band it came from is all that basis.
    analysis::BasisLibrary lib;
    std::string error;
    log.RE_Area(1000.0f);
    auto b = analysis::basisFromLog(log, arrays, "Self", 2.5, 3.5, error);
    ASSERT_TRUE(b) << error;
    lib.bases.push_back(*b);
    const std::string libPath = (dir / "self.zbl").string();
    std::ofstream(libPath, std::ios::binary) << analysis::basisLibraryText(lib);
    window->library()->setText(QString::fromStdString(libPath));
    log.Callout_Range(0, 0, 2.5f);
    log.Callout_Range(0, 1, 3.5f);
    log.Callout_Index(0, 0, -1);
    log.Callout_Caption(0, "Plume");
    ASSERT_TRUE(window->fitCallouts());
    EXPECT_NE(window->results().find("Plume (2.50 to 3.50, 21 points)  decay ns "), std::string::npos)
        << window->results();
    EXPECT_NE(window->results().find("Self 100 %"), std::string::npos) << window->results();
    ASSERT_TRUE(window->fitBases());
    EXPECT_FALSE(arrays.nnls.empty());
}

TEST_F(AnalysisWindowTest, WithoutALogNothingRuns) {
    LogArrays empty;
    cZEL_Data none{host, clock};
    AnalysisWindow w(LoadedLog{none, empty, ctx}, {"350", "400", "450", "500"}, host, {});
    EXPECT_FALSE(w.fitDecayTimes());
    EXPECT_FALSE(w.classifyPoints());
    EXPECT_TRUE(said("Load a log first"));
}

} // namespace
} // namespace zel::gui
