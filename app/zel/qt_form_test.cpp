#include "app/zel/gui_test_app.h"
#include "app/zel/qt_form.h"
#include "settings/control_state.h"
#include "settings/test_files.h"

#include <QCheckBox>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QVBoxLayout>

#include <gtest/gtest.h>

#include <memory>

namespace zel::gui {
namespace {

// A page like the program's own: every kind of control, a control array, a live read-out and a button.
struct Page {
    std::unique_ptr<QWidget> root = std::make_unique<QWidget>();
    QLineEdit* site = add<QLineEdit>("txtSite");
    QPlainTextEdit* notes = add<QPlainTextEdit>("txtNotes");
    QComboBox* average = add<QComboBox>("cmbScopeAverage");
    QCheckBox* grid = add<QCheckBox>("chkGrid");
    QRadioButton* portrait = add<QRadioButton>("optOrientation", 0);
    QRadioButton* landscape = add<QRadioButton>("optOrientation", 1);
    QLabel* caption = add<QLabel>("lblCaption");
    QLineEdit* live = add<QLineEdit>("txtcomm_Depth");
    QPushButton* button = add<QPushButton>("cmdStart");
    int gridChanges = 0;

    Page() {
        average->addItems({"16", "32", "64", "128"});
        average->setCurrentIndex(2);
        portrait->setChecked(true);
        QObject::connect(grid, &QCheckBox::toggled, [this] { ++gridChanges; });
    }
    template <class W> W* add(const char* name, int index = -1) {
        auto* w = new W(root.get());
        if (index >= 0)
            setControlArray(w, name, index);
        else
            w->setObjectName(name);
        return w;
    }
};

class QtFormTest : public zel::testing::TempDataRoot {
protected:
    void SetUp() override {
        zel::testing::TempDataRoot::SetUp();
        testing::guiTestApp();
    }
};

TEST_F(QtFormTest, StatesRoundTripThroughRealWidgets) {
    const std::string ini = file("ZEL_Options.ini");
    {
        Page before;
        before.site->setText("Site A");
        before.notes->setPlainText("line one\nline two");
        before.average->setCurrentIndex(3);
        before.grid->setChecked(true);
        before.landscape->setChecked(true);
        before.caption->setText("RE VScale (100mV)");
        before.live->setText("12.34");
        QtForm form({before.root.get()}, "frmTab");
        SaveControlStates(ini, form);
    }
    const std::string stored = get(ini);
    EXPECT_NE(stored.find("[Tab]"), std::string::npos);
    EXPECT_NE(stored.find(",optOrientation,1=True"), std::string::npos);
    // The multi-line note sits on one line with character 3 for the break.
    EXPECT_NE(stored.find("line one\x03line two"), std::string::npos);
    EXPECT_EQ(stored.find("txtcomm_Depth"), std::string::npos);
    EXPECT_EQ(stored.find("cmdStart"), std::string::npos);

    Page after;
    after.live->setText("live");
    QtForm form({after.root.get()}, "frmTab");
    RestoreControlStates(ini, form);
    EXPECT_EQ(after.site->text(), "Site A");
    EXPECT_EQ(after.notes->toPlainText(), "line one\nline two");
    EXPECT_EQ(after.average->currentIndex(), 3);
    EXPECT_TRUE(after.grid->isChecked());
    EXPECT_EQ(after.gridChanges, 1); // the restored box acts as if ticked by the user
    EXPECT_TRUE(after.landscape->isChecked());
    EXPECT_FALSE(after.portrait->isChecked());
    EXPECT_EQ(after.caption->text(), "RE VScale (100mV)");
    EXPECT_EQ(after.live->text(), "live");
}

// The options file holds Windows-1252 bytes; the widgets show the characters, and typed text goes back as
// those bytes (a character the code page lacks as "?"), never as UTF-8.
TEST_F(QtFormTest, EightBitTextCrossesIntoTheWidgetsAsItsCharacters) {
    const std::string ini = file("ZEL_Options.ini");
    put(ini, "[Tab]\r\n0,txtSite=S\xE3o Jos\xE9\r\n1,txtNotes=caf\xE9\x03\x96 n\xF6tes\r\n"
             "6,lblCaption=Alder\xAE\r\n");
    Page page;
    QtForm form({page.root.get()}, "frmTab");
    RestoreControlStates(ini, form);
    EXPECT_EQ(page.site->text(), QString::fromUtf8("S\xC3\xA3o Jos\xC3\xA9"));
    EXPECT_EQ(page.notes->toPlainText(), QString::fromUtf8("caf\xC3\xA9\n\xE2\x80\x93 n\xC3\xB6tes"));
    EXPECT_EQ(page.caption->text(), QString::fromUtf8("Alder\xC2\xAE"));

    page.site->setText(QString::fromUtf8("Z\xC3\xBCrich \xE2\x84\x83"));
    SaveControlStates(ini, form);
    const std::string stored = get(ini);
    EXPECT_NE(stored.find("txtSite=Z\xFCrich ?\r\n"), std::string::npos) << stored;
    EXPECT_NE(stored.find("txtNotes=caf\xE9\x03\x96 n\xF6tes\r\n"), std::string::npos);
    EXPECT_NE(stored.find("lblCaption=Alder\xAE\r\n"), std::string::npos);
    EXPECT_EQ(stored.find("\xC3"), std::string::npos);
}

TEST_F(QtFormTest, ValuesOutOfRangeLeaveTheWidgetAsItIs) {
    const std::string ini = file("ZEL_Options.ini");
    put(ini, "[Tab]\r\n2,cmbScopeAverage=9\r\n3,chkGrid=7\r\n0,txtMissing=x\r\n");
    Page page;
    QtForm form({page.root.get()}, "frmTab");
    RestoreControlStates(ini, form);
    EXPECT_EQ(page.average->currentIndex(), 2);
    EXPECT_FALSE(page.grid->isChecked());
}

TEST_F(QtFormTest, ControlArraysAndPropertiesByWidgetKind) {
    Page page;
    QtForm form({page.root.get()}, "frmTab");
    FormControl* landscape = findControl(form, "OPTORIENTATION", 1);
    ASSERT_NE(landscape, nullptr);
    EXPECT_EQ(landscape->index(), 1);
    EXPECT_EQ(findControl(form, "optOrientation", std::nullopt), nullptr);
    landscape->setOptionValue(true);
    EXPECT_TRUE(page.landscape->isChecked());
    EXPECT_FALSE(page.portrait->isChecked());

    // A property a widget does not have is refused, as the settings code expects.
    FormControl* site = findControl(form, "txtSite", std::nullopt);
    ASSERT_NE(site, nullptr);
    EXPECT_THROW(site->setCheckValue(1), std::invalid_argument);
    EXPECT_THROW(findControl(form, "chkGrid", std::nullopt)->setCheckValue(3), std::invalid_argument);
    EXPECT_THROW(findControl(form, "cmbScopeAverage", std::nullopt)->setListIndex(4), std::invalid_argument);
}

} // namespace
} // namespace zel::gui
