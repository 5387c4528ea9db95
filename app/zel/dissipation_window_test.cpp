#include "app/zel/dissipation_window.h"

#include "analysis/k_estimate.h"
#include "app/plot/synthetic_log.h"
#include "app/zel/gui_test_app.h"
#include "common/testing/recording_host.h"
#include "log/raw_log_reader.h"
#include "settings/ini_file.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace zel::gui {
namespace {

namespace fs = std::filesystem;

struct DissipationWindowTest : ::testing::Test {
    FakeClock clock;
    zel::testing::RecordingHost host{&clock};
    cZEL_Data log{host, clock};
    LogArrays arrays;
    RawLogContext ctx;
    fs::path dir = fs::temp_directory_path() / ("zel_dis_window_" + std::to_string(::getpid()));

    void SetUp() override {
        testing::guiTestApp();
        fs::create_directories(dir);
        plot::synthetic::fillSyntheticLog(log, arrays, 200, 64); // 0 .. 9.95 ft
        log.File_FullPath((dir / "SYN-1.lif.raw.bin").string());
        // Two tests: one at 8 ft finding the water at 5 ft, one left out.
        log.DisDepth(0, 8.0f);
        log.DisPres(0, static_cast<float>(18.6 + 3.0 * 0.433));
        log.DisWT(0, 5.0f);
        log.DisInclude(0, true);
        log.DisDepth(2, 9.0f);
        log.DisPres(2, 18.6f);
        log.DisWT(2, 9.0f);
        estimateK(log, arrays.presFlow);
    }
    void TearDown() override { fs::remove_all(dir); }
    float kAt(int point) const { return arrays.presFlow(presflow_column::KEstimate, point); }
};

TEST_F(DissipationWindowTest, EditsRecomputeTheWaterTableAndKAtOnce) {
    DissipationWindow window(host, log, arrays, ctx);
    int changes = 0;
    window.changed = [&] { ++changes; };
    const int deep = 190, shallow = 20; // 9.5 ft and 1 ft
    const float kDeepWithWater = kAt(deep), kShallow = kAt(shallow);

    // No water table: the deep point loses its correction, the shallow one is above it either way.
    window.setIncluded(0, false);
    EXPECT_EQ(log.DisWTavg(), 0.0f);
    EXPECT_LT(kAt(deep), kDeepWithWater);
    EXPECT_EQ(kAt(shallow), kShallow);
    const float kDeepNoWater = kAt(deep);

    // The other test, whose static pressure now reads 2 ft of water at 9 ft: the table at 7 ft.
    window.setIncluded(2, true);
    ASSERT_TRUE(window.setStaticPressure(2, 18.6 + 2.0 * 0.433));
    EXPECT_NEAR(log.DisWT(2), 7.0f, 1e-4);
    EXPECT_NEAR(log.DisWTavg(), 7.0f, 1e-4);
    // 2.5 ft of water above the deep point instead of 4.5: a smaller correction than before.
    EXPECT_GT(kAt(deep), kDeepNoWater);
    EXPECT_LT(kAt(deep), kDeepWithWater);
    EXPECT_FALSE(window.setStaticPressure(2, std::nan("")));
    EXPECT_EQ(changes, 3);

    // Saved, the edits are the log's: the raw log's DATA_INFO and the companion's include flags.
    ASSERT_TRUE(window.save());
    cZEL_Data back{host, clock};
    LogArrays backArrays;
    RawLogContext backCtx;
    ASSERT_TRUE(LoadRawLog(log.File_FullPath(), back, backArrays, backCtx, host).ok);
    EXPECT_FALSE(back.DisInclude(0));
    EXPECT_TRUE(back.DisInclude(2));
    EXPECT_NEAR(back.DisWT(2), 7.0f, 1e-3);
    EXPECT_NEAR(backArrays.presFlow(presflow_column::KEstimate, deep), kAt(deep), 1e-3);
    cInifile plt;
    plt.Path = log.File_FullPath_Plt();
    plt.Section = "Dissipation";
    plt.Key = "DisInclude2";
    EXPECT_EQ(plt.Value(), "True");
}

} // namespace
} // namespace zel::gui
