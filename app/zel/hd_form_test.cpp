#include "app/zel/hd_form.h"

#include "app/zel/gui_test_app.h"
#include "common/testing/recording_host.h"

#include <QPushButton>
#include <QSpinBox>
#include <gtest/gtest.h>

#include <map>

namespace zel::gui {
namespace {

// Board ports that connect at once and keep what the program wrote to each.
struct Ports {
    struct Link final : TcpLink {
        Ports& ports;
        std::uint16_t port = 0;
        State st = State::Unconnected;
        explicit Link(Ports& p) : ports(p) {}
        void connect(const std::string&, std::uint16_t p) override {
            port = p;
            st = ports.connect ? State::Connected : State::Connecting;
        }
        State state() const override { return st; }
        bool write(std::string_view b) override {
            ports.sent[port].append(b);
            return true;
        }
        std::string readAll() override { return {}; }
        void setDataHandler(std::function<void()>) override {}
        void close() override { st = State::Unconnected; }
    };
    bool connect = true;
    std::map<std::uint16_t, std::string> sent;
    TcpLinkFactory factory() {
        return [this] { return std::make_unique<Link>(*this); };
    }
};

struct HdFormTest : ::testing::Test {
    HdFormTest() { testing::guiTestApp(); }
    FakeClock clock;
    zel::testing::RecordingHost host{&clock};
    Ports ports;
    clsHD board{host, clock, ports.factory()};
    std::string& commands() { return ports.sent[hd_protocol::Ports{}.command]; }
};

TEST_F(HdFormTest, EachButtonSendsItsCommandWithTheDriversClamps) {
    ASSERT_TRUE(board.Connect("127.0.0.1", {}, 100));
    HdForm form(board, host);
    struct Case {
        std::function<void()> press;
        std::string sent;
    };
    const std::vector<Case> cases{
        {[&] {
             form.dataSelect()->setValue(5000);
             form.setDataSelect();
         },
         "SetDS 4095\r"},
        {[&] {
             form.dataSelect()->setValue(387);
             form.setDataSelect();
         },
         "SetDS 387\r"},
        {[&] {
             form.integrationTime()->setValue(0);
             form.setIntegrationTime();
         },
         "IntTime 1\r"},
        {[&] {
             form.integrationTime()->setValue(2000);
             form.setIntegrationTime();
         },
         "IntTime 1000\r"},
        {[&] {
             form.sampleInterval()->setValue(250);
             form.setSampleInterval();
         },
         "SampleInterval 250\r"},
        {[&] { form.clearCounter(); }, "ClearCounter\r"},
        {[&] { form.stop(); }, "Stop\r"},
        {[&] {
             form.integrations()->setValue(16);
             form.overSampling()->setValue(16);
             form.setIntegrations();
         },
         "SetICF 16\r"},
    };
    for (const Case& c : cases) {
        commands().clear();
        c.press();
        EXPECT_EQ(commands(), c.sent);
    }
    EXPECT_EQ(form.dataSelect()->value(), 387) << "the box shows the mask the board was given";
    EXPECT_EQ(form.integrationTime()->value(), 1000);
    EXPECT_TRUE(host.messages().empty());
}

TEST_F(HdFormTest, TooManyIntegrationsAreRefusedWithTheMessageAndNothingIsSent) {
    ASSERT_TRUE(board.Connect("127.0.0.1", {}, 100));
    HdForm form(board, host);
    commands().clear();
    form.integrations()->setValue(32);
    form.overSampling()->setValue(16);
    form.setIntegrations();
    EXPECT_EQ(commands(), "");
    ASSERT_EQ(host.messages().size(), 1u);
    EXPECT_EQ(host.messages()[0], "Integrations per Cycle * OverSampling Points must be 256 or less");
}

TEST_F(HdFormTest, TheHighVoltageButtonSwitchesItsCaptionAndTheDetector) {
    ASSERT_TRUE(board.Connect("127.0.0.1", {}, 100));
    HdForm form(board, host);
    EXPECT_EQ(form.highVoltage()->text().toStdString(), "HV On (600V)");
    struct Step {
        std::string caption, sent;
    };
    for (const Step& s :
         {Step{"HV Off", "CV1 153\r"}, Step{"HV On (600V)", "CV1 1\r"}, Step{"HV Off", "CV1 153\r"}}) {
        commands().clear();
        form.toggleHighVoltage();
        EXPECT_EQ(form.highVoltage()->text().toStdString(), s.caption);
        EXPECT_EQ(commands(), s.sent);
    }
}

TEST_F(HdFormTest, WithoutABoardNothingIsSentAndTheFormSaysSo) {
    ports.connect = false;
    board.Connect("127.0.0.1", {}, 20);
    HdForm form(board, host);
    form.dataSelect()->setValue(10);
    form.setDataSelect();
    form.stop();
    form.status();
    EXPECT_TRUE(ports.sent[hd_protocol::Ports{}.command].empty());
    EXPECT_NE(form.statusText().toStdString().find("not connected"), std::string::npos);
}

} // namespace
} // namespace zel::gui
