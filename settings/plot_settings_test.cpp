#include "settings/plot_settings.h"

#include "settings/memory_form.h"
#include "settings/test_files.h"

#include <cctype>
#include <map>

namespace zel {
namespace {

// The keys as the files in the field hold them, in order.
// clang-format off
const std::vector<std::string> kExpectedKeys = {
    "FTtxtDepthMin", "FTtxtDepthMax", "FTtxtElevScale0", "FTtxtElevScale1", "FTchkManualScaleLog0",
    "FTchkManualScaleLog1", "FTchkManualScaleLog2", "FTtxtSignalMin", "FTtxtSignalMax", "FTtxtSignalFloor",
    "FTchkRElog", "FTchkPlotZoom", "FTchkBlackCore", "FTchk2ndLog_Zoom", "FTtxt2ndScale_Zoom0",
    "FTtxt2ndScale_Zoom1", "FTchkPlotRate", "FTchk2ndLog_Rate", "FTchk2ndScale_Rate", "FTtxt2ndScale_Rate0",
    "FTtxt2ndScale_Rate1", "FTchkPlotCond", "FTchk2ndLog_Cond", "FTchk2ndScale_Cond", "FTtxt2ndScale_Cond0",
    "FTtxt2ndScale_Cond1", "FTchkPlotScat", "FTchk2ndLog_Sctr", "FTchk2ndScale_Sctr", "FTtxt2ndScale_Sctr0",
    "FTtxt2ndScale_Sctr1", "FTchkPlotFluor", "FTchk2ndLog_Fluor", "FTchk2ndScale_Fluor",
    "FTtxt2ndScale_Fluor0", "FTtxt2ndScale_Fluor1", "FTchkPlotNNLS", "FTchk2ndLog_NNLS", "FTchk2ndScale_NNLS",
    "FTtxt2ndScale_NNLS0", "FTtxt2ndScale_NNLS1", "FTchkPresFlowPlot0", "FTchkPresFlowPlot1",
    "FTchkPresFlowPlot2", "FTchkPresFlowPlot3", "FTchkPresFlowAuto0", "FTchkPresFlowAuto1",
    "FTchkPresFlowAuto2", "FTchkPresFlowAuto3", "FTtxtPFscale0", "FTtxtPFscale1", "FTtxtPFscale2",
    "FTtxtPFscale3", "FTtxtPFscale4", "FTtxtPFscale5", "FTtxtPFscale6", "FTtxtPFscale7", "FAchkGrid",
    "FAchkShowLog", "FAchkPrint_Black", "FAchkBare_Scale", "FAchkDraft", "FAtxtWatermark", "FAchkCalloutRE",
    "FAchkHideInfo", "FAchkLegacyFill", "FAchk2nd_PlotFill", "FAchkReferenceLineRE", "FAtxtReferenceLineRE",
    "FAchkReferenceLineDepth", "FAtxtReferenceLineDepth", "FAchkReferenceLineCond", "FAtxtReferenceLineCond",
    "FAchkPerInch", "FAtxtFtPerInch", "FAtxtRePerInch", "FAchkDepthScale_Hide", "FAoptDepth_Secondary0",
    "FAoptDepth_Secondary1", "FAoptDepth_Secondary2", "FAoptDepth_Secondary3", "FAoptDepth_Secondary4",
    "FAchkDepth_ClipMIN", "FAtxtDepth_ClipMIN_Value", "FAchkDepth_Clip", "FAtxtDepth_Clip_Value",
    "FAoptOrientation0", "FAoptOrientation1", "FAoptPrintSize0", "FAoptPrintSize1", "FCchkCutoff",
    "FCtxtCutoff", "FCchkCutoffTau", "FCtxtCutoffTau", "FCoptCutoff_RE0", "FCoptCutoff_RE1",
    "FCoptCutoff_RE2", "FCchkCalloutPolygon", "FCoptPlotFit0", "FCoptPlotFit1", "FCoptPlotFit2",
    "FCoptPlotFit3", "FCoptPlotFit4", "FCoptPlotFit5", "FCtxtPlotFitMax", "FCchkGeneric", "FCchkResidual",
    "FWchkLifetime", "FWoptFitCallouts0", "FWoptFitCallouts1", "FWchkBaseline", "FWchkAvgInterval",
    "FWtxtAvgInterval", "FWchkCustomLandU", "FWtxtCustomUnit0", "FWtxtCustomUnit1", "FWtxtCustomUnit2",
    "FWtxtCustomUnit3", "FWtxtCustomLegend0", "FWtxtCustomLegend1", "PlotVisible1", "PlotVisible2",
    "PlotVisible3", "PlotChoice1", "PlotChoice2", "PlotChoice3", "PlotWidth10", "PlotWidth11", "PlotWidth12",
    "PlotWidth20", "PlotWidth21", "PlotWidth22", "PlotWidth30", "PlotWidth31", "PlotWidth32",
    "ClusterVisible", "FCchkPlotFit", "FTchkCluster", "FTchkRealColor", "FTchkScatterFill",
    "FCchkCalloutWaves"};
// clang-format on

class PlotSettingsTest : public testing::TempDataRoot {
protected:
    void SetUp() override {
        TempDataRoot::SetUp();
        buildForms(forms);
        ini.Path = file("log.lif.plt");
        ini.Section = "Settings";
    }

    // The four dialogs with a control for every key of the list above (a trailing digit is an array index).
    static void buildForms(MemoryFormSet& forms) {
        const std::pair<const char*, const char*> tags[] = {
            {"FT", "frmTab"}, {"FA", "frmAdvOptions"}, {"FC", "frmCallout"}, {"FW", "frmWaveMath"}};
        for (auto [tag, name] : tags)
            forms.add(name);
        for (const std::string& key : kExpectedKeys) {
            if (key.starts_with("Plot") || key.starts_with("Cluster")) continue;
            MemoryForm* form = nullptr;
            for (auto [tag, name] : tags)
                if (key.starts_with(tag)) form = &forms.at(name);
            std::string control = key.substr(2);
            std::optional<int> index;
            if (std::isdigit(static_cast<unsigned char>(control.back()))) {
                index = control.back() - '0';
                control.pop_back();
            }
            const ControlType type = control.starts_with("txt")   ? ControlType::TextBox
                                     : control.starts_with("chk") ? ControlType::CheckBox
                                                                  : ControlType::OptionButton;
            form->add(type, control, index);
        }
    }

    MemoryFormSet forms;
    PlotWindows windows;
    cInifile ini;
};

TEST_F(PlotSettingsTest, KeysInTheFilesOrder) {
    EXPECT_EQ(plotSettingsKeys(), kExpectedKeys);
}

TEST_F(PlotSettingsTest, WritesEveryKeyInOrderWithItsValueForm) {
    forms.at("frmTab").at("txtDepthMin").setText("1.5");
    forms.at("frmTab").at("chkManualScaleLog", 1).setCheckValue(1);
    forms.at("frmAdvOptions").at("txtWatermark").setText("two\r\nlines");
    forms.at("frmAdvOptions").at("optOrientation", 1).setOptionValue(true);
    windows.visible[1] = true;
    windows.choice[2] = 4;
    windows.width[1][2] = 250;
    windows.clusterVisible = true;
    SavePlotSettings(ini, forms, windows);

    const std::string bytes = get(ini.Path);
    std::vector<std::string> keys;
    for (std::size_t pos = bytes.find("\r\n") + 2; pos < bytes.size(); pos = bytes.find("\r\n", pos) + 2)
        keys.push_back(bytes.substr(pos, bytes.find('=', pos) - pos));
    EXPECT_EQ(keys, kExpectedKeys);
    for (const char* line :
         {"[Settings]\r\nFTtxtDepthMin=1.5\r\nFTtxtDepthMax= \r\n", "\r\nFTchkManualScaleLog0=0\r\n",
          "\r\nFTchkManualScaleLog1=1\r\n", "\r\nFAtxtWatermark=two\x03lines\r\n",
          "\r\nFAoptOrientation0=False\r\n", "\r\nFAoptOrientation1=True\r\n",
          "\r\nPlotVisible1=False\r\nPlotVisible2=True\r\n", "\r\nPlotChoice3=4\r\n",
          "\r\nPlotWidth22=250\r\n", "\r\nClusterVisible=True\r\n"})
        EXPECT_NE(bytes.find(line), std::string::npos) << line;
}

TEST_F(PlotSettingsTest, ReadingLeavesMissingAndUnconvertibleValuesAlone) {
    put(ini.Path, "[Settings]\r\n"
                  "FTtxtDepthMin=2.5\r\n"
                  "FTtxtDepthMax= \r\n"
                  "FTchkManualScaleLog0=1\r\n"
                  "FTchkManualScaleLog1=x\r\n"
                  "FAoptDepth_Secondary3=True\r\n"
                  "FAoptOrientation1=maybe\r\n"
                  "FAtxtWatermark=a\x03"
                  "b\r\n"
                  "PlotVisible1=1\r\n"
                  "PlotChoice2=7\r\n"
                  "PlotWidth31=x\r\n"
                  "PlotWidth32=12\r\n"
                  "ClusterVisible=true\r\n");
    MemoryForm& tab = forms.at("frmTab");
    MemoryForm& adv = forms.at("frmAdvOptions");
    tab.at("txtDepthMax").setText("50");
    tab.at("chkManualScaleLog", 1).setCheckValue(1);
    adv.at("optOrientation", 0).setOptionValue(true);
    windows.width[2][1] = 9;
    windows.clusterVisible = true;

    LoadPlotSettings(ini, forms, windows);
    EXPECT_EQ(tab.at("txtDepthMin").text(), "2.5");
    EXPECT_EQ(tab.at("txtDepthMax").text(), "50");
    EXPECT_EQ(tab.at("chkManualScaleLog", 0).checkValue(), 1);
    EXPECT_EQ(tab.at("chkManualScaleLog", 1).checkValue(), 1);
    EXPECT_TRUE(adv.at("optDepth_Secondary", 3).optionValue());
    EXPECT_TRUE(adv.at("optOrientation", 0).optionValue());
    EXPECT_EQ(adv.at("txtWatermark").text(), "a\r\nb");
    EXPECT_TRUE(windows.visible[0]);
    EXPECT_EQ(windows.choice[1], 7);
    EXPECT_EQ(windows.width[2][1], 9);
    EXPECT_EQ(windows.width[2][2], 12);
    EXPECT_FALSE(windows.clusterVisible); // compared against "True" exactly
}

TEST_F(PlotSettingsTest, RoundTripAndControlsTheProgramLacks) {
    forms.at("frmCallout").at("txtCutoff").setText("12");
    forms.at("frmCallout").at("optPlotFit", 4).setOptionValue(true);
    forms.at("frmWaveMath").at("chkLifetime").setCheckValue(1);
    forms.at("frmWaveMath").remove("txtAvgInterval");
    windows.width[0][0] = 3;
    SavePlotSettings(ini, forms, windows);
    EXPECT_NE(get(ini.Path).find("\r\nFWtxtAvgInterval=1\r\n"), std::string::npos); // the design default

    MemoryFormSet fresh;
    buildForms(fresh);
    fresh.at("frmCallout").at("optPlotFit", 0).setOptionValue(true);
    PlotWindows loaded;
    LoadPlotSettings(ini, fresh, loaded);
    EXPECT_EQ(fresh.at("frmCallout").at("txtCutoff").text(), "12");
    EXPECT_TRUE(fresh.at("frmCallout").at("optPlotFit", 4).optionValue());
    EXPECT_FALSE(fresh.at("frmCallout").at("optPlotFit", 0).optionValue());
    EXPECT_EQ(fresh.at("frmWaveMath").at("chkLifetime").checkValue(), 1);
    EXPECT_EQ(loaded, windows);
}

// A program with no dialogs at all (the console tool) still writes the whole set: the options file's values
// for the controls it keeps, the design defaults for the rest.
TEST_F(PlotSettingsTest, WithoutControlsTheStoredOptionsAndTheDefaultsFillTheSet) {
    const std::string options = optionsFilePath(dataRoot());
    put(options, "[WaveMath]\r\n4,txtAvgInterval=3.5\r\n7,chkBaseline=1\r\n"
                 "[Callout]\r\n2,optPlotFit,3=True\r\n3,optPlotFit,0=False\r\n9,chkCutoff=x\r\n"
                 "[Tab]\r\n1,txtDepthMax=45\r\n1,txtDepthMax=46\r\n12,chkPlotRate=0\r\n");
    MemoryFormSet none;
    SavePlotSettings(ini, none, windows);
    const std::string bytes = get(ini.Path);
    std::vector<std::pair<std::string, std::string>> lines;
    for (std::size_t pos = bytes.find("\r\n") + 2; pos < bytes.size(); pos = bytes.find("\r\n", pos) + 2) {
        const std::size_t eq = bytes.find('=', pos);
        lines.emplace_back(bytes.substr(pos, eq - pos),
                           bytes.substr(eq + 1, bytes.find("\r\n", pos) - eq - 1));
    }
    ASSERT_EQ(lines.size(), 141u);
    std::map<std::string, std::string> value;
    for (std::size_t i = 0; i < lines.size(); ++i) {
        EXPECT_EQ(lines[i].first, kExpectedKeys[i]);
        value[lines[i].first] = lines[i].second;
    }
    const std::pair<const char*, const char*> expected[] = {{"FWtxtAvgInterval", "3.5"},
                                                            {"FWchkBaseline", "1"},
                                                            {"FCoptPlotFit3", "True"},
                                                            {"FCoptPlotFit0", "False"},
                                                            {"FCoptPlotFit1", "False"},
                                                            {"FCchkCutoff", "0"}, // "x" is no check value
                                                            {"FTtxtDepthMax", "45"},
                                                            {"FTchkPlotRate", "0"},
                                                            {"FTtxtDepthMin", " "},
                                                            {"FTtxtSignalMax", "100"},
                                                            {"FTchkPresFlowAuto2", "1"},
                                                            {"FTtxtPFscale5", "100"},
                                                            {"FAoptOrientation0", "True"},
                                                            {"FAoptOrientation1", "False"},
                                                            {"FAtxtDepth_Clip_Value", "20"},
                                                            {"FCchkCalloutWaves", "1"},
                                                            {"PlotWidth32", "0"},
                                                            {"ClusterVisible", "False"}};
    for (const auto& [key, v] : expected)
        EXPECT_EQ(value[key], v) << key;
    EXPECT_EQ(plotSettingDefault("FAtxtRePerInch"), "50");
    EXPECT_EQ(plotSettingDefault("NoSuchKey"), "");
}

} // namespace
} // namespace zel
