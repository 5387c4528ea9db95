#include "app/zel/gui_test_app.h"
#include "app/zel/qt_host.h"

#include <QAbstractButton>
#include <QApplication>
#include <QInputDialog>
#include <QLineEdit>
#include <QMessageBox>
#include <QTimer>

#include <gtest/gtest.h>

#include <functional>

namespace zel::gui {
namespace {

// Runs `act` on the next modal dialog once it is up (the host's call does not return before).
void whenModal(std::function<void(QWidget*)> act) {
    auto* timer = new QTimer;
    timer->setInterval(10);
    QObject::connect(timer, &QTimer::timeout, [timer, act] {
        if (QWidget* w = QApplication::activeModalWidget()) {
            timer->stop();
            timer->deleteLater();
            act(w);
        }
    });
    timer->start();
}

struct BoxCase {
    MsgButtons buttons;
    MsgIcon icon;
    const char* title;
    QMessageBox::StandardButton press; // NoButton: close the box with Escape
    QMessageBox::StandardButtons shown;
    QMessageBox::Icon qtIcon;
    const char* qtTitle;
    MsgResult expected;
};

class QtHostBoxes : public ::testing::TestWithParam<BoxCase> {};

TEST_P(QtHostBoxes, ShowsTheCallsBoxAndReturnsTheButtonPressed) {
    testing::guiTestApp();
    const BoxCase c = GetParam();
    QtHost host;
    QMessageBox::StandardButtons shown;
    QMessageBox::Icon icon = QMessageBox::NoIcon;
    QString title, text;
    whenModal([&](QWidget* w) {
        auto* box = qobject_cast<QMessageBox*>(w);
        ASSERT_NE(box, nullptr);
        shown = box->standardButtons();
        icon = box->icon();
        title = box->windowTitle();
        text = box->text();
        if (c.press == QMessageBox::NoButton)
            box->reject();
        else
            box->button(c.press)->click();
    });
    EXPECT_EQ(host.message("RE is older than 30 minutes.\r\nSecond line", c.buttons, c.icon, c.title),
              c.expected);
    EXPECT_EQ(shown, c.shown);
    EXPECT_EQ(icon, c.qtIcon);
    EXPECT_EQ(title, c.qtTitle);
    EXPECT_EQ(text, "RE is older than 30 minutes.\nSecond line");
}

using Q = QMessageBox;
INSTANTIATE_TEST_SUITE_P(
    Boxes, QtHostBoxes,
    ::testing::Values(
        BoxCase{MsgButtons::Ok, MsgIcon::None, "", Q::Ok, Q::Ok, Q::NoIcon, "ZEL", MsgResult::Ok},
        BoxCase{MsgButtons::OkCancel, MsgIcon::Question, "Old RE", Q::Cancel, Q::Ok | Q::Cancel, Q::Question,
                "Old RE", MsgResult::Cancel},
        BoxCase{MsgButtons::OkCancel, MsgIcon::Question, "First Push", Q::NoButton, Q::Ok | Q::Cancel,
                Q::Question, "First Push", MsgResult::Cancel},
        BoxCase{MsgButtons::YesNo, MsgIcon::Exclamation, "", Q::Yes, Q::Yes | Q::No, Q::Warning, "ZEL",
                MsgResult::Yes},
        BoxCase{MsgButtons::YesNoCancel, MsgIcon::Information, "", Q::No, Q::Yes | Q::No | Q::Cancel,
                Q::Information, "ZEL", MsgResult::No},
        BoxCase{MsgButtons::AbortRetryIgnore, MsgIcon::Critical, "Depth Paused", Q::Ignore,
                Q::Abort | Q::Retry | Q::Ignore, Q::Critical, "Depth Paused", MsgResult::Ignore},
        BoxCase{MsgButtons::RetryCancel, MsgIcon::Critical, "", Q::Retry, Q::Retry | Q::Cancel, Q::Critical,
                "ZEL", MsgResult::Retry}));

TEST(QtHost, InputBoxGivesTheTextOrNothingWhenCancelled) {
    testing::guiTestApp();
    QtHost host;
    QString label;
    whenModal([&](QWidget* w) {
        auto* d = qobject_cast<QInputDialog*>(w);
        ASSERT_NE(d, nullptr);
        label = d->labelText();
        d->setTextValue("MW-7");
        d->accept();
    });
    EXPECT_EQ(host.input("Input label for this preset.", "Preset", "x"), "MW-7");
    EXPECT_EQ(label, "Input label for this preset.");
    whenModal([](QWidget* w) { qobject_cast<QDialog*>(w)->reject(); });
    EXPECT_EQ(host.input("Red?", "", "0"), std::nullopt);
}

TEST(QtHost, FilterListsBecomeQtNameFilters) {
    EXPECT_EQ(qtNameFilters("Raw Data|*.lif.raw.bin|FVD Data|*.fvd"),
              (QStringList{"Raw Data (*.lif.raw.bin)", "FVD Data (*.fvd)"}));
    EXPECT_EQ(qtNameFilters("Images|*.jpg;*.png|dangling"), (QStringList{"Images (*.jpg *.png)"}));
    EXPECT_TRUE(qtNameFilters("").isEmpty());
}

} // namespace
} // namespace zel::gui
