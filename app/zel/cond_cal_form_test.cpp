// frmCondCal against the simulated rig: the operator's button for each solution, the rig's operator
// standing the probe in it, and the fitted curve put into the running depth driver and the options file.

#include "app/zel/cond_cal_form.h"

#include "app/zel/gui_test_app.h"
#include "common/testing/recording_host.h"
#include "instruments/field/field_config.h"
#include "instruments/platform/event_loop_host.h"
#include "program/field_rig.h"
#include "settings/test_files.h"

#include <QLabel>
#include <QPushButton>
#include <gtest/gtest.h>

namespace zel::gui {
namespace {

class CondCalFormTest : public zel::testing::TempDataRoot {
protected:
    void SetUp() override {
        zel::testing::TempDataRoot::SetUp();
        testing::guiTestApp();
        program::SimOptions o;
        // The rig's circuit: 0.4 V + mS/m / 150, which the nominal set-up (100 mS/m a volt) misreads.
        o.condMsPerV = 150.0;
        o.condOffsetV = 0.4;
        rig = program::openSimulatedRig(loopHost, clock, o);
        ASSERT_NE(rig, nullptr);
    }
    std::unique_ptr<CondCalForm> newForm() {
        auto f = std::make_unique<CondCalForm>(rig->drivers(), program::CondInput::DepthBoard, loopHost,
                                               clock, file("ini/ZEL_Options.ini"));
        f->reading.settleMs = 300;
        f->reading.readings = 3;
        f->putProbeIn = [this](float ms) { rig->placeInSolution(ms); };
        return f;
    }

    zel::testing::RecordingHost host;
    platform::EventLoopHost loopHost{host};
    SystemClock clock;
    std::unique_ptr<program::PushRig> rig;
};

TEST_F(CondCalFormTest, TheFourReadingsMakeTheCalibrationInUse) {
    auto form = newForm();
    auto* fit = form->findChild<QPushButton*>("cmdCondFit");
    ASSERT_NE(fit, nullptr);
    const double ms[] = {0, 25, 266, 560};
    for (int i = 0; i < 4; ++i) {
        EXPECT_FALSE(fit->isEnabled()) << i; // until every solution is read
        form->findChild<QPushButton*>(QStringLiteral("cmdCondRead%1").arg(ms[i]))->click();
        ASSERT_TRUE(form->volts()[static_cast<std::size_t>(i)]) << i;
        EXPECT_NEAR(*form->volts()[static_cast<std::size_t>(i)], 0.4 + ms[i] / 150.0, 5.0 / 4096.0) << i;
    }
    EXPECT_TRUE(fit->isEnabled());
    std::optional<cond_cal::Calibration> kept;
    form->kept = [&](const cond_cal::Calibration& c) { kept = c; };
    ASSERT_TRUE(form->fitAndKeep());
    ASSERT_TRUE(kept);

    // The depth driver converts with it at once: the probe in 266 mS/m now reads 266.
    const cZEL_Depth& d = rig->drivers().Depth();
    EXPECT_NEAR(d.Cond_Offset, -60.0, 1.0);
    EXPECT_NEAR(d.Cond_Constant, 150.0, 1.0);
    EXPECT_NEAR(d.EC_VtoMS(static_cast<float>(0.4 + 266.0 / 150.0)), 266.0, 0.5);
    // And the options file keeps it for the next start.
    const FieldConfig saved = loadFieldConfig(file("ini/ZEL_Options.ini"));
    EXPECT_TRUE(saved.condCalibrated());
    EXPECT_FLOAT_EQ(saved.condConstant, d.Cond_Constant);
    EXPECT_FLOAT_EQ(saved.condOffset, d.Cond_Offset);
    EXPECT_FLOAT_EQ(saved.condConstant2, d.Cond_Constant2);
    for (std::size_t i = 0; i < 4; ++i) // kept as seven-digit text
        EXPECT_NEAR(saved.condVolts[i], kept->volts[i], 1e-6) << i;
    EXPECT_NE(form->resultText().indexOf("mS/m = "), -1);
}

TEST_F(CondCalFormTest, ASolutionReadOutOfTurnIsRefusedAndNothingChanges) {
    auto form = newForm();
    // The operator read the 266 solution with the probe still in 25.
    form->putProbeIn = [this](float ms) { rig->placeInSolution(ms == 266.0f ? 25.0f : ms); };
    for (const char* s : {"0", "25", "266", "560"})
        form->findChild<QPushButton*>(QStringLiteral("cmdCondRead") + s)->click();
    const float constantBefore = rig->drivers().Depth().Cond_Constant;
    EXPECT_FALSE(form->fitAndKeep());
    EXPECT_EQ(rig->drivers().Depth().Cond_Constant, constantBefore);
    EXPECT_FALSE(std::filesystem::exists(file("ini/ZEL_Options.ini")));
    bool said = false;
    for (const auto& e : host.events())
        said = said || e.text.find("266 mS/m solution") != std::string::npos;
    EXPECT_TRUE(said);
}

} // namespace
} // namespace zel::gui
