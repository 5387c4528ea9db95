#include "log/plot_companion.h"

#include "common/testing/recording_host.h"
#include "log/raw_log_test_data.h"
#include "settings/memory_form.h"
#include "settings/profile.h"

#include <gtest/gtest.h>

namespace zel {
namespace {

using namespace testdata;

class PlotCompanionTest : public ::testing::Test {
protected:
    void SetUp() override { ini::forgetCachedFiles(); }
    testing::RecordingHost host;
    FakeClock clock{DateTime{2016, 4, 12, 15, 45, 10}};
    cZEL_Data log{host, clock};
    TempFolder dir;
    std::string plt = dir.file("push.lif.plt");
};

TEST_F(PlotCompanionTest, SchemeTakesTheNextNumberAndWritesEverySlot) {
    // Both sections start with "PLOT" once upper-cased, so the new scheme is number 3.
    writeAll(plt, "[plot_1]\r\nTime=x\r\n[Plotter]\r\nk=v\r\n");
    log.Callout_Index(0, 0, 3);
    log.Callout_Index(0, 1, 17);
    log.Callout_Range(0, 0, 0.5f);
    log.Callout_Range(0, 1, 12.25f);
    log.Callout_Note(0, "LNAPL");
    CalloutDisplay display;
    display.text[0] = "1";
    display.pic[0] = "0";
    host.answerInput("Tank farm");
    EXPECT_EQ(SaveCalloutScheme(plt, log, display, host, clock), 3);
    ASSERT_EQ(host.events().size(), 1u);
    EXPECT_EQ(host.events()[0].text, "Input label for this callout scheme, or leave blank");
    EXPECT_EQ(host.events()[0].title, "Callouts");

    std::string expected = "[plot_1]\r\nTime=x\r\n[Plotter]\r\nk=v\r\n"
                           "[PLOT_3]\r\n"
                           "Time=4/12/2016 3:45:10 PM\r\n"
                           "Label=Tank farm\r\n"
                           "Index C0=3,17\r\n"
                           "Range C0=.5,12.3\r\n"
                           "Note C0=LNAPL\r\n"
                           "Text C0=1\r\n"
                           "Pic C0=0\r\n";
    for (int i = 1; i < 5; ++i) {
        const std::string n = std::to_string(i);
        expected += "Index C" + n + "=0,0\r\nRange C" + n + "=.0,.0\r\nNote C" + n + "= \r\nText C" + n +
                    "= \r\nPic C" + n + "= \r\n";
    }
    EXPECT_EQ(readAll(plt), expected);

    // A cancelled label box is an empty label; the scheme after it is number 4.
    host.answerInput(std::nullopt);
    EXPECT_EQ(SaveCalloutScheme(plt, log, display, host, clock), 4);

    cZEL_Data loaded{host, clock};
    CalloutDisplay shown;
    std::string label;
    ASSERT_TRUE(LoadCalloutScheme(plt, 3, loaded, shown, label));
    EXPECT_EQ(label, "Tank farm");
    EXPECT_EQ(loaded.Callout_Index(0, 1), 17);
    EXPECT_EQ(loaded.Callout_Range(0, 1), 12.3f);
    EXPECT_EQ(loaded.Callout_Note(0), "LNAPL");
    EXPECT_EQ(shown.text[0], "1");
    EXPECT_FALSE(LoadCalloutScheme(plt, 9, loaded, shown, label));
}

TEST_F(PlotCompanionTest, DissipationAndSettingsSections) {
    log.DisInclude(1, true);
    SaveDissipation(plt, log);
    MemoryFormSet forms;
    forms.add("frmTab").add(ControlType::TextBox, "txtDepthMin", std::nullopt).withText("5");
    PlotWindows windows;
    windows.visible[1] = true;
    SaveCompanionSettings(plt, forms, windows);
    const std::string bytes = readAll(plt);
    EXPECT_TRUE(
        bytes.starts_with("[Dissipation]\r\nDisInclude0=False\r\nDisInclude1=True\r\nDisInclude2=False\r\n"
                          "DisInclude3=False\r\nDisInclude4=False\r\n[Settings]\r\nFTtxtDepthMin=5\r\n"))
        << bytes;

    cZEL_Data loaded{host, clock};
    LoadDissipation(plt, loaded);
    EXPECT_TRUE(loaded.DisInclude(1));
    EXPECT_FALSE(loaded.DisInclude(0));
    PlotWindows back;
    LoadCompanionSettings(plt, forms, back);
    EXPECT_EQ(back, windows);
}

} // namespace
} // namespace zel
