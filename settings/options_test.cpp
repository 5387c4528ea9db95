#include "settings/options.h"

#include "common/testing/recording_host.h"
#include "settings/data_root.h"
#include "settings/memory_form.h"
#include "settings/test_files.h"

#include <filesystem>
#include <map>

namespace zel {
namespace {

using testing::RecordingHost;

class OptionsTest : public testing::TempDataRoot {
protected:
    void SetUp() override {
        TempDataRoot::SetUp();
        for (const char* name : Options::kSavedForms) {
            MemoryForm& f = forms.add(name);
            f.add(ControlType::TextBox, "txtValue").withText(std::string(name).substr(3));
            f.at("txtValue").onChange = [this, name](MemoryControl&) { restored.push_back(name); };
        }
        path = optionsFilePath(dataRoot());
    }
    MemoryControl& value(const char* form) { return forms.at(form).at("txtValue"); }

    RecordingHost host;
    MemoryFormSet forms;
    std::string path;
    std::vector<std::string> restored;
};

TEST_F(OptionsTest, SavesTheDialogsInOrderThenMiscWhole) {
    EXPECT_EQ(path, root_.string() + "/ini/ZEL_Options.ini");
    Options options(host, forms, path);
    options.SaveInitDir("/logs");
    options.SaveInitFile("/logs/x.lif.raw.bin");
    EXPECT_EQ(get(path), "[ZEL]\r\nInitDir=/logs\r\nInitFile=/logs/x.lif.raw.bin\r\n");

    put(path, get(path) + "[Misc]\r\nSolidFillColor=1\r\nStale=2\r\n[Comm]\r\n7,txtOld=x\r\n");
    options.SolidFillColor = 255;
    options.SaveOptions();
    EXPECT_EQ(get(path), "[ZEL]\r\nInitDir=/logs\r\nInitFile=/logs/x.lif.raw.bin\r\n"
                         "[HP]\r\n0,txtValue=HP\r\n"
                         "[AdvOptions]\r\n0,txtValue=AdvOptions\r\n"
                         "[Generic]\r\n0,txtValue=Generic\r\n"
                         "[Callout]\r\n0,txtValue=Callout\r\n"
                         "[Comm]\r\n0,txtValue=Comm\r\n"
                         "[Tab]\r\n0,txtValue=Tab\r\n"
                         "[WaveMath]\r\n0,txtValue=WaveMath\r\n"
                         "[FTP]\r\n0,txtValue=FTP\r\n"
                         "[Misc]\r\nSolidFillColor=255\r\n");
    EXPECT_TRUE(host.messages().empty());
}

TEST_F(OptionsTest, LoadsInTwoPhasesAndForcesTheStartValues) {
    std::string file =
        "[ZEL]\r\nInitDir=/logs\r\nInitFile=/logs/a.lif.raw.bin\r\n[Misc]\r\nSolidFillColor=65280\r\n";
    for (const char* name : Options::kSavedForms) {
        const std::string section = std::string(name).substr(3);
        file += "[" + section + "]\r\n0,txtValue=saved " + section + "\r\n";
        if (section == "Tab") file += "1,chkPlotZoom=1\r\n2,txt2ndScale_Zoom,1=44\r\n";
    }
    put(path, file);
    forms.at("frmTab").add(ControlType::CheckBox, "chkPlotZoom").withCheck(1);
    forms.at("frmTab").add(ControlType::TextBox, "txt2ndScale_Zoom", 1).withText("55");
    forms.at("frmAdvOptions").add(ControlType::CheckBox, "chkShowLog").withCheck(0);
    forms.at("frmAdvOptions").add(ControlType::TextBox, "txtReferenceLineRE").withText("7");

    Options options(host, forms, path);
    std::vector<std::string> calls;
    options.ShowSolidFillColor = [&](std::int32_t c) { calls.push_back("colour " + std::to_string(c)); };
    options.RefreshDisplay = [&] { calls.push_back("refresh"); };

    options.LoadOptions(true);
    EXPECT_EQ(restored, (std::vector<std::string>{"frmComm", "frmWaveMath", "frmAdvOptions"}));
    EXPECT_EQ(value("frmComm").text(), "saved Comm");
    EXPECT_EQ(value("frmTab").text(), "Tab");
    EXPECT_TRUE(calls.empty());
    EXPECT_EQ(options.InitDir, "");

    restored.clear();
    options.LoadOptions(false);
    EXPECT_EQ(restored, (std::vector<std::string>{"frmGeneric", "frmTab", "frmHP", "frmFTP"}));
    EXPECT_EQ(value("frmCallout").text(), "Callout"); // saved, but not restored at start
    EXPECT_EQ(options.SolidFillColor, 65280);
    EXPECT_EQ(options.InitDir, "/logs");
    EXPECT_EQ(options.InitFile, "/logs/a.lif.raw.bin");
    EXPECT_EQ(calls, (std::vector<std::string>{"colour 65280", "refresh"}));
    EXPECT_EQ(forms.at("frmTab").at("chkPlotZoom").checkValue(), 0);
    EXPECT_EQ(forms.at("frmTab").at("txt2ndScale_Zoom", 1).text(), "9");
    EXPECT_EQ(forms.at("frmAdvOptions").at("chkShowLog").checkValue(), 1);
    EXPECT_EQ(forms.at("frmAdvOptions").at("txtReferenceLineRE").text(), "100");
    EXPECT_TRUE(host.messages().empty());
}

TEST_F(OptionsTest, MissingFileMeansDefaults) {
    Options options(host, forms, path);
    options.SolidFillColor = 12;
    options.LoadOptions(true);
    options.LoadOptions(false);
    EXPECT_TRUE(restored.empty());
    EXPECT_EQ(value("frmTab").text(), "Tab");
    EXPECT_EQ(options.SolidFillColor, 12);
    EXPECT_EQ(options.InitDir, "");
    EXPECT_TRUE(host.messages().empty());
    EXPECT_FALSE(std::filesystem::exists(path));
}

TEST_F(OptionsTest, ResetDeletesTheFileAndStopsTheSaveAtExit) {
    const std::string question =
        "This will reset your settings file. This may be needed if you are having issues. "
        "The drawback is your settings (such as what check boxes you have ticked) will "
        "reset to defaults.";
    const std::string done =
        "Options file successfully deleted. Close and re-open the software to complete the "
        "process.";
    const std::string failed = "A problem occurred doing the operation automatically. Find the file "
                               "[ZEL_Options.ini] on your PC and delete. Once you have done that, close and "
                               "re-open the software to complete the process.";
    {
        Options options(host, forms, path);
        options.SaveOptions();
        host.answerMessage(MsgResult::Cancel);
        options.ResetOptionsFile();
        EXPECT_TRUE(std::filesystem::exists(path));
        EXPECT_FALSE(options.OptionsFileWasReset());
        EXPECT_EQ(host.events().back().buttons, MsgButtons::OkCancel);

        options.ResetOptionsFile();
        EXPECT_FALSE(std::filesystem::exists(path));
        EXPECT_TRUE(options.OptionsFileWasReset());
        options.SaveOptions(); // the closing program
        EXPECT_FALSE(std::filesystem::exists(path));
        EXPECT_EQ(host.messages(), (std::vector<std::string>{question, question, done}));
    }
    {
        host.clear();
        Options options(host, forms, path);
        options.ResetOptionsFile(); // nothing to delete is still a success
        EXPECT_EQ(host.messages(), (std::vector<std::string>{question, done}));
    }
    {
        host.clear();
        std::filesystem::create_directories(path + "/locked"); // cannot be removed as a file
        Options options(host, forms, path);
        options.ResetOptionsFile();
        EXPECT_EQ(host.messages(), (std::vector<std::string>{question, failed}));
        EXPECT_TRUE(options.OptionsFileWasReset());
    }
}

TEST_F(OptionsTest, FileUtilitiesAndSolidFillColour) {
    MemoryForm dialog("frmFileUtilities");
    for (int i = 0; i < 3; ++i)
        dialog.add(ControlType::OptionButton, "optSummary_NameFormat", i).withOption(i == 1);
    for (int i = 0; i < 2; ++i)
        dialog.add(ControlType::OptionButton, "optBatchJPGName", i).withOption(i == 0);
    for (const char* chk : {"chkSummary_Area", "chkCalloutMax", "chkSummary_Total", "chkFootage_Date"})
        dialog.add(ControlType::CheckBox, chk).withCheck(std::string(chk).ends_with("Area") ? 1 : 0);
    Options options(host, forms, path);
    options.SaveFileUtilities(dialog);
    EXPECT_EQ(get(path),
              "[FileUtilities]\r\noptSummary_NameFormat=1\r\noptBatchJPGName=0\r\nchkSummary_Area=1\r\n"
              "chkCalloutMax=0\r\nchkSummary_Total=0\r\nchkFootage_Date=0\r\n");

    put(path, "[FileUtilities]\r\noptSummary_NameFormat=2\r\noptBatchJPGName=5\r\nchkCalloutMax=1\r\n");
    options.LoadFileUtilities(dialog);
    EXPECT_TRUE(dialog.at("optSummary_NameFormat", 2).optionValue());
    EXPECT_FALSE(dialog.at("optSummary_NameFormat", 1).optionValue());
    EXPECT_TRUE(dialog.at("optBatchJPGName", 0).optionValue());
    EXPECT_EQ(dialog.at("chkCalloutMax").checkValue(), 1);
    EXPECT_EQ(dialog.at("chkSummary_Area").checkValue(), 1);

    options.SolidFillColor = 0x0000FF;
    for (const char* answer : {"10", "300", "1"})
        host.answerInput(answer);
    EXPECT_TRUE(options.AskSolidFillColor());
    EXPECT_EQ(options.SolidFillColor, 10 + 255 * 256 + 1 * 65536);
    std::vector<std::string> prompts;
    for (const auto& e : host.events())
        prompts.push_back(e.text);
    EXPECT_EQ(prompts, (std::vector<std::string>{"Red?", "Green?", "Blue?"}));

    host.answerInput("20");
    host.answerInput(std::nullopt);
    EXPECT_FALSE(options.AskSolidFillColor());
    EXPECT_EQ(options.SolidFillColor, 10 + 255 * 256 + 1 * 65536);
}

TEST(DataRoot, FromTheEnvironment) {
    struct {
        std::map<std::string, std::string> env;
        std::string root;
    } cases[] = {
        {{{"ZEL_DATA_ROOT", "/data/zel/"}, {"XDG_DATA_HOME", "/x"}, {"HOME", "/home/u"}}, "/data/zel"},
        {{{"ZEL_DATA_ROOT", ""}, {"XDG_DATA_HOME", "/x"}, {"HOME", "/home/u"}}, "/x/ZEL"},
        {{{"XDG_DATA_HOME", "relative"}, {"HOME", "/home/u"}}, "/home/u/.local/share/ZEL"},
        {{{"HOME", "/home/u/"}}, "/home/u/.local/share/ZEL"},
    };
    for (const auto& c : cases) {
        auto lookup = [&](const char* name) -> std::optional<std::string> {
            auto it = c.env.find(name);
            return it == c.env.end() ? std::nullopt : std::optional<std::string>(it->second);
        };
        EXPECT_EQ(dataRoot(lookup), c.root);
    }
    EXPECT_EQ(optionsFilePath("/r"), "/r/ini/ZEL_Options.ini");
    EXPECT_EQ(presetsFilePath("/r"), "/r/ZEL_Presets.lif.pre");
}

} // namespace
} // namespace zel
