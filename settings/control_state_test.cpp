#include "settings/control_state.h"

#include "settings/basic_convert.h"
#include "settings/memory_form.h"
#include "settings/test_files.h"

namespace zel {
namespace {

class ControlStateTest : public testing::TempDataRoot {
protected:
    // A communication dialog with one control of each kind, an array of each, and the controls that must
    // never reach the file.
    static void build(MemoryForm& f) {
        f.add(ControlType::Label, "lblStatus").withCaption("Ready");
        f.add(ControlType::TextBox, "txtPort").withText("COM3");
        f.add(ControlType::TextBox, "txtNotes").withText("two\r\nlines");
        f.add(ControlType::TextBox, "txtEmpty").withText("");
        f.add(ControlType::ComboBox, "cmbBaud").withList(5, 2);
        for (int i = 0; i < 3; ++i)
            f.add(ControlType::CheckBox, "chkAuto", i).withCheck(i == 1 ? 0 : 1);
        f.add(ControlType::OptionButton, "optUnit", 0).withOption(false);
        f.add(ControlType::OptionButton, "optUnit", 1).withOption(true);
        f.add(ControlType::TextBox, "txtComm_Reading").withText("12.5");
        f.add(ControlType::Other, "picLogo");
        f.add(ControlType::Label, "Label1").withCaption("Port:");
        f.add(ControlType::Other, "fraPort");
        f.add(ControlType::Button, "cmdOK").withCaption("OK");
        f.add(ControlType::Other, "FilList1");
        f.add(ControlType::Other, "mnuFile");
        f.add(ControlType::TextBox, "txtGPS_Lat").withText("45");
        f.add(ControlType::TextBox, "txtInfo_Rate").withText("3");
        f.add(ControlType::TextBox, "lblBroken"); // has no caption: skipped, and the walk goes on
        f.add(ControlType::CheckBox, "chkLast");
    }
};

TEST_F(ControlStateTest, SavesByPrefixWithOrdinalKeys) {
    MemoryForm f("frmComm");
    build(f);
    const std::string path = file("opt.ini");
    put(path, "[Other]\r\na=1\r\n[Comm]\r\n40,txtRemoved=x\r\n[Tail]\r\nz=1\r\n");
    SaveControlStates(path, f);
    EXPECT_EQ(get(path), "[Other]\r\na=1\r\n[Tail]\r\nz=1\r\n"
                         "[Comm]\r\n"
                         "0,lblStatus=Ready\r\n"
                         "1,txtPort=COM3\r\n"
                         "2,txtNotes=two\x03lines\r\n"
                         "3,txtEmpty= \r\n"
                         "4,cmbBaud=2\r\n"
                         "5,chkAuto,0=1\r\n"
                         "6,chkAuto,1=0\r\n"
                         "7,chkAuto,2=1\r\n"
                         "8,optUnit,0=False\r\n"
                         "9,optUnit,1=True\r\n"
                         "20,chkLast=0\r\n");
}

TEST_F(ControlStateTest, RestoreAssignsInFileOrderAndSkipsWhatDoesNotFit) {
    const std::string path = file("opt.ini");
    put(path, "[Comm]\r\n"
              "1,txtPort=COM9\r\n"
              "2,txtNotes=a\x03"
              "b\r\n"
              "3,txtEmpty= \r\n"
              "0,lblStatus=\r\n"
              "50,txtGone=x\r\n"
              "nocomma=1\r\n"
              "4,cmbBaud=9\r\n"
              "5,chkAuto,1=1\r\n"
              "5,chkAuto=0\r\n"
              "6,chkAuto,x=0\r\n"
              "7,chkAuto,2=abc\r\n"
              "8,optUnit,0=True\r\n"
              "10,txtComm_Reading=99\r\n"
              "99,fraPort,1=1\r\n");
    MemoryForm f("frmComm");
    build(f);
    std::vector<std::string> changes;
    for (auto* name : {"txtPort", "txtNotes", "lblStatus"})
        f.at(name).onChange = [&](MemoryControl& c) { changes.push_back(c.name()); };

    RestoreControlStates(path, f);
    EXPECT_EQ(f.at("txtPort").text(), "COM9");
    EXPECT_EQ(f.at("txtNotes").text(), "a\r\nb");
    EXPECT_EQ(f.at("txtEmpty").text(), " "); // saved as the single blank, restored as one
    EXPECT_EQ(f.at("lblStatus").caption(), " ");
    EXPECT_EQ(f.at("cmbBaud").listIndex(), 2); // 9 is past the list
    EXPECT_EQ(f.at("chkAuto", 0).checkValue(), 1);
    EXPECT_EQ(f.at("chkAuto", 1).checkValue(), 1);
    EXPECT_EQ(f.at("chkAuto", 2).checkValue(), 1);
    EXPECT_TRUE(f.at("optUnit", 0).optionValue());
    EXPECT_FALSE(f.at("optUnit", 1).optionValue());
    EXPECT_EQ(f.at("txtComm_Reading").text(), "99"); // only saving leaves read-outs out
    EXPECT_EQ(changes, (std::vector<std::string>{"txtPort", "txtNotes", "lblStatus"}));
}

TEST_F(ControlStateTest, RoundTripAndRemovedControlsLeaveNoKey) {
    const std::string path = file("opt.ini");
    MemoryForm saved("frmTab");
    build(saved);
    SaveControlStates(path, saved);

    MemoryForm restored("frmTab");
    build(restored);
    restored.at("txtPort").setText("other");
    restored.at("cmbBaud").setListIndex(4);
    restored.at("chkAuto", 0).setCheckValue(0);
    restored.at("optUnit", 0).setOptionValue(true);
    restored.at("txtComm_Reading").setText("live");
    RestoreControlStates(path, restored);
    EXPECT_EQ(restored.at("txtPort").text(), "COM3");
    EXPECT_EQ(restored.at("txtNotes").text(), "two\r\nlines");
    EXPECT_EQ(restored.at("cmbBaud").listIndex(), 2);
    EXPECT_EQ(restored.at("chkAuto", 0).checkValue(), 1);
    EXPECT_TRUE(restored.at("optUnit", 1).optionValue());
    EXPECT_FALSE(restored.at("optUnit", 0).optionValue());
    EXPECT_EQ(restored.at("txtComm_Reading").text(), "live");

    saved.remove("txtNotes");
    SaveControlStates(path, saved);
    EXPECT_EQ(get(path).find("txtNotes"), std::string::npos);
    EXPECT_NE(get(path).find("\r\n2,txtEmpty= \r\n"), std::string::npos); // ordinals follow the collection
}

TEST(BasicConvert, WholeNumbersOnlyHalfToEven) {
    struct {
        const char* text;
        std::optional<std::int16_t> integer;
        std::optional<bool> boolean;
    } cases[] = {
        {"1", 1, true},         {" 0 ", 0, false},   {"-3", -3, true},   {"0.5", 0, true},
        {"1.5", 2, true},       {"2.5", 2, true},    {"-2.5", -2, true}, {"1e2", 100, true},
        {"32767", 32767, true}, {"32768", {}, true}, {"True", {}, true}, {"false", {}, false},
        {"", {}, {}},           {" ", {}, {}},       {"12abc", {}, {}},  {"1,5", {}, {}},
        {"inf", {}, {}},        {"nan", {}, {}},     {"&H10", {}, {}},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(basicInteger(c.text), c.integer) << c.text;
        EXPECT_EQ(basicBoolean(c.text), c.boolean) << c.text;
    }
}

} // namespace
} // namespace zel
