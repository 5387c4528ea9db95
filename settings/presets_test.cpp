#include "settings/presets.h"

#include "common/testing/recording_host.h"
#include "settings/data_root.h"
#include "settings/memory_form.h"
#include "settings/test_files.h"

#include <algorithm>
#include <filesystem>

namespace zel {
namespace {

using testing::RecordingHost;

class PresetsTest : public testing::TempDataRoot {
protected:
    void SetUp() override {
        TempDataRoot::SetUp();
        MemoryForm& tab = forms.add("frmTab");
        tab.add(ControlType::TextBox, "txtDepthMin").withText("0");
        tab.add(ControlType::TextBox, "txtDepthMax").withText("30");
        forms.add("frmAdvOptions").add(ControlType::TextBox, "txtWatermark").withText("");
        path = presetsFilePath(dataRoot());
    }
    MemoryControl& depthMax() { return forms.at("frmTab").at("txtDepthMax"); }

    RecordingHost host;
    MemoryFormSet forms;
    PlotWindows windows;
    std::string path;
};

TEST_F(PresetsTest, SaveAsksForALabelAndBlankCancels) {
    Presets presets(host, forms, windows, path);
    EXPECT_EQ(path, root_.string() + "/ZEL_Presets.lif.pre");
    EXPECT_TRUE(presets.List().empty());

    host.answerInput("");
    host.answerInput(std::nullopt);
    EXPECT_FALSE(presets.Save());
    EXPECT_FALSE(presets.Save());
    EXPECT_FALSE(std::filesystem::exists(path));

    host.answerInput("Deep");
    EXPECT_TRUE(presets.Save());
    depthMax().setText("80");
    host.answerInput("Very deep");
    EXPECT_TRUE(presets.Save());
    EXPECT_EQ(host.events().front().text, "Input label for this preset. Leave blank to cancel save.");
    EXPECT_EQ(presets.List(), (std::vector<std::string>{"Deep", "Very deep"}));
    const std::string bytes = get(path);
    const std::string deep = "[Deep]\r\nFTtxtDepthMin=0\r\nFTtxtDepthMax=30\r\nFTtxtElevScale0= \r\n";
    EXPECT_EQ(bytes.substr(0, deep.size()), deep);
    EXPECT_NE(bytes.find("\r\nFAtxtWatermark= \r\n"), std::string::npos);
    EXPECT_NE(bytes.find("\r\n[Very deep]\r\nFTtxtDepthMin=0\r\nFTtxtDepthMax=80\r\n"), std::string::npos);
}

// A whole preset (every key, an 8-bit watermark over two lines) exported as text and imported again gives
// back the same bytes.
TEST_F(PresetsTest, ExportThenImportGivesBackTheSamePreset) {
    forms.at("frmAdvOptions").at("txtWatermark").setText("Entw\xFCrfe\r\n\xA9 2016");
    Presets presets(host, forms, windows, path);
    host.answerInput("Full");
    ASSERT_TRUE(presets.Save());
    const std::string saved = get(path);
    const std::string text = presets.ExportText("Full");
    EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 141);
    EXPECT_NE(text.find("\r\nFAtxtWatermark=Entw\xFCrfe\x03\xA9 2016\r\n"), std::string::npos);
    presets.Delete("Full");
    EXPECT_TRUE(presets.ImportText(text));
    EXPECT_EQ(get(path), saved);
}

TEST_F(PresetsTest, LoadDeleteAndExport) {
    put(path, "[Deep]\r\nFTtxtDepthMax=30\r\nFAtxtWatermark=a\x03"
              "b\r\n[Shallow]\r\nFTtxtDepthMax=5\r\n");
    Presets presets(host, forms, windows, path);
    int redraws = 0;
    presets.Redraw = [&] { ++redraws; };
    EXPECT_EQ(presets.List(), (std::vector<std::string>{"Deep", "Shallow"}));

    presets.Load("shallow");
    EXPECT_EQ(depthMax().text(), "5");
    EXPECT_EQ(redraws, 1);

    EXPECT_EQ(presets.ExportText("Deep"), "[Deep]\r\nFTtxtDepthMax=30\r\nFAtxtWatermark=a\x03"
                                          "b");

    presets.Delete("Deep");
    EXPECT_EQ(get(path), "[Shallow]\r\nFTtxtDepthMax=5\r\n");
    EXPECT_EQ(presets.List(), (std::vector<std::string>{"Shallow"}));
}

TEST_F(PresetsTest, ImportChecksTheNameLineAndAsksBeforeOverwriting) {
    put(path, "[Shallow]\r\nFTtxtDepthMax=5\r\n");
    Presets presets(host, forms, windows, path);

    for (const char* refused : {"Deep]\r\nFTtxtDepthMax=9", "[Deep\r\nFTtxtDepthMax=9", "[Deep]", ""})
        EXPECT_FALSE(presets.ImportText(refused)) << refused;
    EXPECT_EQ(get(path), "[Shallow]\r\nFTtxtDepthMax=5\r\n");
    EXPECT_TRUE(host.messages().empty());

    EXPECT_TRUE(presets.ImportText(
        "[Deep]\r\nFTtxtDepthMax=9\r\n\r\nnot a pair\r\nFAtxtWatermark=x=y\r\nFTtxtDepthMin="));
    EXPECT_EQ(get(path), "[Shallow]\r\nFTtxtDepthMax=5\r\n"
                         "[Deep]\r\nFTtxtDepthMax=9\r\nFAtxtWatermark=x=y\r\nFTtxtDepthMin= \r\n");
    EXPECT_EQ(presets.List(), (std::vector<std::string>{"Shallow", "Deep"}));
    EXPECT_TRUE(host.messages().empty());

    host.answerMessage(MsgResult::Cancel);
    EXPECT_FALSE(presets.ImportText("[SHALLOW]\nFTtxtDepthMax=7"));
    EXPECT_EQ(get(path).substr(0, 30), "[Shallow]\r\nFTtxtDepthMax=5\r\n[D");
    ASSERT_EQ(host.events().size(), 1u);
    EXPECT_EQ(host.events()[0].text, "Preset exists. Overwrite?");
    EXPECT_EQ(host.events()[0].title, "Preset");
    EXPECT_EQ(host.events()[0].buttons, MsgButtons::OkCancel);

    host.answerMessage(MsgResult::Ok);
    EXPECT_TRUE(presets.ImportText("[SHALLOW]\nFTtxtDepthMax=7"));
    EXPECT_EQ(get(path).substr(0, 30), "[Shallow]\r\nFTtxtDepthMax=7\r\n[D");

    // What an export gives, an import takes back.
    const std::string text = presets.ExportText("Deep");
    presets.Delete("Deep");
    EXPECT_TRUE(presets.ImportText(text));
    EXPECT_EQ(presets.ExportText("Deep"), text);
}

} // namespace
} // namespace zel
