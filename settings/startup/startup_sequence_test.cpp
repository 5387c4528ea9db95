#include "settings/startup/startup_sequence.h"

#include "common/testing/recording_host.h"
#include "common/version.h"
#include "settings/memory_form.h"
#include "settings/startup/command_line.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <set>
#include <unistd.h>

namespace zel {
namespace {

using Texts = std::vector<std::string>;

struct FakeInstruments : InstrumentOpeners {
    Texts calls;
    bool scope = false;
    std::function<void()> duringScope; // what the timer and keyboard do while the open yields

    bool call(std::string what, bool result = false) { return calls.push_back(std::move(what)), result; }
    void loadSerialPorts() override { call("ports"); }
    bool openScope(std::string_view address, std::string_view resource) override {
        call("scope " + std::string(address) + " " + std::string(resource));
        if (duringScope) duringScope();
        return scope;
    }
    void setScopeAveraging(int count) override { call("averaging " + std::to_string(count)); }
    bool openSpectrometer() override { return call("spectrometer"); }
    bool openHdBoard(std::string_view a) override { return call("hd " + std::string(a)); }
    bool openDepth() override { return call("depth"); }
    bool openDisplay() override { return call("display"); }
    bool openGps() override { return call("gps"); }
};

struct FakeNetwork : NetworkProbe {
    std::set<std::string> answering;
    Texts echoed;
    bool answersEcho(const std::string& a) override { return echoed.push_back(a), answering.count(a) > 0; }
    std::vector<std::string> localAddresses() override { return {"10.1.1.9"}; }
};

struct FakeInstances : InstanceCheck {
    bool other = false;
    bool otherInstanceRunning() override { return other; }
};

struct Rig {
    FakeClock clock;
    testing::RecordingHost host{&clock};
    FakeInstruments instruments;
    FakeNetwork network;
    FakeInstances instances;
    Texts shown; // what the hooks were asked to do, in order

    StartupSequence make(const std::string& line, Options* options = nullptr) {
        StartupHooks h;
        h.showVersion = [this](std::string_view v) { shown.emplace_back(v); };
        h.hideAcquisitionMenus = [this] { shown.push_back("menus hidden"); };
        h.setConnection = [this](std::string_view c) { shown.push_back(std::string(c)); };
        h.showMainWindow = [this](const StartupSettings& s) {
            shown.push_back("main " + std::to_string(s.mode));
        };
        h.openStartFile = [this](const std::string& f) { shown.push_back("open " + f); };
        return StartupSequence(parseCommandLine(line),
                               {host, clock, instruments, network, &instances, options}, std::move(h));
    }
};

const std::string kVersion = std::string("Version ") + kVersionText;
const std::string kPcMessage =
    "Check IP address.\r\nShould be set to: 192.168.250.251\r\nUse IP_QuickSet or if that doesn't work due "
    "to "
    "naming issues, manually set computer IP from the Windows Control Panel.\r\nCurrent IP(s):\r\n10.1.1.9";

TEST(StartupSequence, WithoutInstrumentsEveryStepIsShownAndTheMainWindowComesAtTheSeventhTick) {
    Rig rig;
    StartupSequence seq = rig.make("/IPSCP052");
    seq.start();
    EXPECT_EQ(rig.host.progressTexts(), (Texts{"Loading software...", "Finding instrument..."}));
    for (int i = 1; i <= 6; ++i)
        seq.tick();
    EXPECT_EQ(rig.shown, Texts{kVersion});
    seq.tick();
    EXPECT_EQ(rig.shown, (Texts{kVersion, "main 0"}));
    EXPECT_EQ(seq.state(), StartupSequence::State::Finished);
    EXPECT_EQ(seq.counter(), 99);
    EXPECT_EQ(rig.host.progressTexts(),
              (Texts{"Loading software...", "Finding instrument...", "Initializing scope...",
                     "Scope not found at expected IP: 192.168.250.052", "Initializing depth...",
                     "Initializing display...", "Initializing GPS...", "Completing Program Load..."}));
    EXPECT_EQ(rig.host.messages(), Texts{kPcMessage});
    EXPECT_EQ(rig.network.echoed, Texts{"192.168.250.052"});
    EXPECT_EQ(rig.instruments.calls, (Texts{"ports", "depth", "display", "gps"}));
}

TEST(StartupSequence, AnsweringScopeIsOpenedAfterTheInstrumentSettingsAreRestored) {
    const auto dir = std::filesystem::temp_directory_path() / ("zel_seq_" + std::to_string(::getpid()));
    std::filesystem::create_directories(dir);
    const std::string ini = (dir / "ZEL_Options.ini").string();
    std::ofstream(ini) << "[Comm]\n0,txtPort=7\n";
    MemoryFormSet forms;
    MemoryControl& port = forms.add("frmComm").add(ControlType::TextBox, "txtPort");

    Rig rig;
    Options options(rig.host, forms, ini);
    rig.network.answering = {"192.168.250.252"};
    rig.instruments.scope = true;
    rig.instruments.duringScope = [&] { rig.instruments.call("port " + port.text()); };
    StartupSequence seq = rig.make("/MODE3", &options);
    runStartup(seq, rig.host); // paced by the fake clock through the host's sleeps
    EXPECT_TRUE(rig.host.messages().empty());
    EXPECT_EQ(rig.instruments.calls, (Texts{"ports", "scope 192.168.250.252 TCPIP::192.168.250.252::INSTR",
                                            "port 7", "averaging 256", "depth", "display", "gps"}));
    EXPECT_EQ(rig.shown, (Texts{kVersion, "LAN", "main 3"}));
    std::filesystem::remove_all(dir);
}

// The scope is opened where "/IPSCP" puts it, and "not found" is said only when the echo test failed.
TEST(StartupSequence, TheScopeIsOpenedWhereTheEchoFoundIt) {
    struct Case {
        const char* line;
        const char* answering;
        bool opens;
        Texts calls;   // the scope's calls after the serial ports
        bool notFound; // "Scope not found at expected IP: " + address shown
        bool lan;
    };
    const Case cases[] = {
        {"/IPSCP052",
         "192.168.250.052",
         true,
         {"scope 192.168.250.052 TCPIP::192.168.250.52::INSTR", "averaging 64"},
         false,
         true},
        {"/ipscp 7", "", false, {}, true, false}, // a blank is no address: the default, which does not answer
        {"/IPSCP200",
         "192.168.250.200",
         false,
         {"scope 192.168.250.200 TCPIP::192.168.250.200::INSTR"},
         false,
         false},
        {"", "", false, {}, true, false},
    };
    for (const Case& c : cases) {
        Rig rig;
        if (*c.answering) rig.network.answering = {c.answering};
        rig.instruments.scope = c.opens;
        StartupSequence seq = rig.make(c.line);
        seq.start();
        seq.tick();
        Texts calls = rig.instruments.calls;
        calls.erase(calls.begin()); // "ports"
        calls.resize(std::min<std::size_t>(calls.size(), c.calls.size()));
        EXPECT_EQ(calls, c.calls) << c.line;
        const Texts texts = rig.host.progressTexts();
        const bool notFound = std::any_of(texts.begin(), texts.end(), [](const std::string& t) {
            return t.starts_with("Scope not found at expected IP: ");
        });
        EXPECT_EQ(notFound, c.notFound) << c.line;
        EXPECT_EQ(std::count(rig.shown.begin(), rig.shown.end(), "LAN"), c.lan ? 1 : 0) << c.line;
    }
}

TEST(StartupSequence, ColourAndHdModesUseTheirOwnDigitiser) {
    const std::pair<const char*, Texts> cases[] = {
        {"/C", {"Initializing spectrometer..."}},
        {"/H", {"Initializing HD board...", "HD Board not found at expected IP: 192.168.250.253"}},
    };
    for (const auto& [line, texts] : cases) {
        Rig rig;
        StartupSequence seq = rig.make(line);
        seq.start();
        seq.tick();
        Texts shown = rig.host.progressTexts();
        EXPECT_EQ(Texts(shown.begin() + 2, shown.end()), texts) << line;
        EXPECT_EQ(rig.network.echoed, Texts(line[1] == 'H', "192.168.250.253")) << line;
    }
}

TEST(StartupSequence, StartFileOpensNoInstrumentAndIsOpenedOnceTheMainWindowIsUp) {
    Rig rig;
    StartupSequence seq = rig.make(R"(/MODE2 "/logs/b1.lif.raw.bin")");
    runStartup(seq, rig.host);
    EXPECT_EQ(rig.host.progressTexts(), Texts{"Loading software..."});
    EXPECT_TRUE(rig.network.echoed.empty());
    EXPECT_EQ(rig.instruments.calls, Texts{"ports"});
    EXPECT_EQ(rig.shown, (Texts{kVersion, "menus hidden", "main 2", "open /logs/b1.lif.raw.bin"}));
}

TEST(StartupSequence, CountPastFiftyWhileOpeningSkipsTheRemainingInstruments) {
    Rig rig;
    rig.network.answering = {"192.168.250.252"};
    StartupSequence seq = rig.make("");
    rig.instruments.duringScope = [&] {
        for (int i = 0; i < 55; ++i)
            seq.tick();
    };
    seq.start();
    seq.tick();
    EXPECT_EQ(seq.state(), StartupSequence::State::Finished);
    EXPECT_EQ(rig.instruments.calls.size(), 2u); // the ports and the scope; no depth, display or GPS
    EXPECT_EQ(rig.host.progressTexts().back(), "Initializing scope..."); // it answered the echo
    EXPECT_TRUE(rig.host.messages().empty());                            // the address check is skipped too
    EXPECT_EQ(rig.shown, (Texts{kVersion, "main 0"}));
}

TEST(StartupSequence, EscapeGoesStraightToTheMainWindowOnce) {
    Rig rig;
    StartupSequence seq = rig.make("/MODE21");
    seq.escape(); // not loading yet
    seq.start();
    seq.tick();
    seq.escape();
    seq.escape();
    EXPECT_EQ(seq.state(), StartupSequence::State::Finished);
    EXPECT_EQ(rig.instruments.calls, Texts{"ports"});
    EXPECT_EQ(rig.shown, (Texts{kVersion, "main 21"}));
}

TEST(StartupSequence, OnlyIpscpRefusesToStartBesideAnotherCopy) {
    Rig rig;
    rig.instances.other = true;
    StartupSequence refused = rig.make("/IPSCP052");
    refused.start();
    EXPECT_EQ(refused.state(), StartupSequence::State::Cancelled);
    EXPECT_EQ(rig.host.messages(), Texts{"Previous instance of ZEL running already, load cancelled"});
    EXPECT_TRUE(rig.host.progressTexts().empty());
    EXPECT_TRUE(rig.shown.empty());

    StartupSequence normal = rig.make("/MODE4");
    normal.start();
    EXPECT_EQ(normal.state(), StartupSequence::State::Running);
}

} // namespace
} // namespace zel
