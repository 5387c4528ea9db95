#include "app/plot/synthetic_log.h"
#include "app/zel/desktop_startup.h"
#include "app/zel/gui_test_app.h"
#include "app/zel/main_window.h"
#include "common/testing/recording_host.h"
#include "instruments/platform/event_loop_host.h"
#include "log/raw_log_test_data.h"
#include "log/raw_log_writer.h"
#include "program/field_rig.h"
#include "settings/plot_settings.h"
#include "settings/profile.h"
#include "settings/startup/command_line.h"
#include "settings/startup/startup_sequence.h"
#include "settings/test_files.h"
#include "tests/e2e/run_program.h"

#include <QAction>
#include <QCheckBox>
#include <QComboBox>
#include <QImage>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QMouseEvent>
#include <QRadioButton>
#include <QTimer>
#include <QWheelEvent>

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>

#include <filesystem>

namespace zel::gui {
namespace {

namespace fs = std::filesystem;
using zel::testing::HostEvent;

class MainWindowTest : public zel::testing::TempDataRoot {
protected:
    void SetUp() override {
        zel::testing::TempDataRoot::SetUp();
        testing::guiTestApp();
    }
    std::unique_ptr<MainWindow> newWindow() {
        return std::make_unique<MainWindow>(loopHost, clock, StartupSettings{}, file(""));
    }
    // The raw-log tests' small log: two points 0.05 m apart.
    std::string smallLog() {
        fs::create_directories(file("logs"));
        cZEL_Data log(host, clock);
        LogArrays arrays;
        RawLogContext ctx;
        testdata::fillSmallLog(log, arrays, ctx);
        return SaveRawLog(file("logs/001-UV"), log, arrays, ctx, host).path;
    }
    template <class W> static W* child(MainWindow& w, const char* name) {
        W* c = w.findChild<W*>(QString::fromLatin1(name));
        EXPECT_NE(c, nullptr) << name;
        return c;
    }
    const HostEvent* message(const std::string& start) const {
        for (const HostEvent& e : host.events())
            if (e.kind == HostEvent::Kind::Message && e.text.rfind(start, 0) == 0) return &e;
        return nullptr;
    }

    zel::testing::RecordingHost host;
    platform::EventLoopHost loopHost{host};
    SystemClock clock;
};

TEST_F(MainWindowTest, LoadsALogThroughTheDialogAndPlotsItsDepthRange) {
    const std::string path = smallLog();
    auto w = newWindow();
    host.clear();
    host.answerDialog(FileDialogResult{path, 1});
    ASSERT_TRUE(w->loadLog(""));
    EXPECT_EQ(host.events().front().kind, HostEvent::Kind::OpenDialog);
    EXPECT_EQ(host.events().front().text, "Load raw log data...");

    const plot::PlotModel& model = w->depthPlot().model();
    EXPECT_EQ(model.points(), 2);
    EXPECT_STREQ(model.depthUnit(), "m");
    EXPECT_LE(model.dataTop(), 0.0);
    EXPECT_GE(model.dataBottom(), 0.05 - 1e-6);
    const plot::DepthWindow shown = w->depthPlot().depthWindow();
    EXPECT_LE(shown.top, 0.0);
    EXPECT_GE(shown.bottom, 0.05 - 1e-6);
    EXPECT_TRUE(w->statusText().contains("2 points"));
    EXPECT_TRUE(w->rePanel().text().startsWith("RE area: 450 pVs")) << w->rePanel().text().toStdString();
    EXPECT_EQ(w->recentLogs(), std::vector<std::string>{path});
    EXPECT_EQ(w->waveform().view().wave.size(), 3u); // the first point's waveform is shown

    // A click on the plot's lower half selects the deeper point.
    w->depthPlot().selectDepth(0.05);
    EXPECT_TRUE(w->waveform().view().title.rfind("Point 1", 0) == 0) << w->waveform().view().title;

    const std::string pdf = file("page.pdf");
    ASSERT_TRUE(w->writeLogPage(pdf, true));
    EXPECT_EQ(get(pdf).substr(0, 5), "%PDF-");
}

TEST_F(MainWindowTest, ThePlotZoomsPansReadsAndSelectsAndCalloutsTravelAsSchemes) {
    const std::string path = smallLog();
    auto w = newWindow();
    w->show();
    ASSERT_TRUE(w->loadLog(path));
    DepthPlotWidget& plot = w->depthPlot();
    QString hovered;
    plot.onHover = [&](const QString& text) { hovered = text; };

    const plot::DepthWindow before = plot.depthWindow();
    const QPointF centre(plot.width() / 2.0, plot.height() / 2.0);
    QWheelEvent wheel(centre, plot.mapToGlobal(centre), {}, {0, -120}, Qt::NoButton, {}, Qt::NoScrollPhase,
                      false);
    QApplication::sendEvent(&plot, &wheel);
    EXPECT_NEAR(plot.depthWindow().span(), before.span() / 0.8, 1e-9); // a notch back shows more

    // Hovering over the deeper point reads its values; a click there selects it.
    const std::optional<double> deep = 0.05;
    double y = centre.y();
    for (double step = 1; step < plot.height() && (!plot.depthAt(y) || *plot.depthAt(y) < *deep); ++step)
        y = centre.y() + step;
    QMouseEvent move(QEvent::MouseMove, QPointF(centre.x(), y), plot.mapToGlobal(QPointF(centre.x(), y)),
                     Qt::NoButton, Qt::NoButton, {});
    QApplication::sendEvent(&plot, &move);
    EXPECT_TRUE(hovered.startsWith("0.05 m")) << hovered.toStdString();
    QMouseEvent press(QEvent::MouseButtonPress, QPointF(centre.x(), y),
                      plot.mapToGlobal(QPointF(centre.x(), y)), Qt::LeftButton, Qt::LeftButton, {});
    QMouseEvent release(QEvent::MouseButtonRelease, QPointF(centre.x(), y),
                        plot.mapToGlobal(QPointF(centre.x(), y)), Qt::LeftButton, Qt::NoButton, {});
    QApplication::sendEvent(&plot, &press);
    QApplication::sendEvent(&plot, &release);
    EXPECT_EQ(w->waveform().view().title.rfind("Point 1", 0), 0u) << w->waveform().view().title;

    // A callout over both points, saved as a scheme, comes back after the page was cleared.
    const auto slot = [&](const char* name, int i) {
        for (QLineEdit* e : w->findChildren<QLineEdit*>(name))
            if (e->property("controlIndex").toInt() == i) return e;
        return static_cast<QLineEdit*>(nullptr);
    };
    slot("txtCalloutTop", 0)->setText("0");
    slot("txtCalloutBottom", 0)->setText("0.05");
    slot("txtCalloutCaption", 0)->setText("NAPL");
    w->applyCallouts();
    ASSERT_EQ(w->waveform().view().callouts.size(), 1u);
    EXPECT_EQ(w->waveform().view().callouts[0].lastPoint, 1);
    host.answerInput("first");
    w->saveCalloutScheme();
    slot("txtCalloutTop", 0)->clear();
    slot("txtCalloutBottom", 0)->clear();
    w->applyCallouts();
    EXPECT_TRUE(w->waveform().view().callouts.empty());
    w->loadCalloutScheme(1);
    EXPECT_FALSE(slot("txtCalloutBottom", 0)->text().isEmpty());
    ASSERT_EQ(w->waveform().view().callouts.size(), 1u);
    EXPECT_EQ(w->waveform().view().callouts[0].firstPoint, 0);
    EXPECT_EQ(w->waveform().view().callouts[0].lastPoint, 1);
}

TEST_F(MainWindowTest, TheCommandLineDecidesFileModeAndTheLogOpenedAtStart) {
    const std::string path = smallLog();
    struct Case {
        std::string commandLine;
        bool opensLog;
        const char* probeCaption; // the mode's look on the setup page
    };
    for (const Case& c : {Case{"/MODE2 \"" + path + "\"", true, "Dogwood"}, Case{"/f", false, "Alder"}}) {
        // The sequence's waits take no time: the host's sleeps move the fake clock.
        FakeClock fake;
        zel::testing::RecordingHost quick(&fake);
        MainWindow w(quick, fake, StartupSettings{}, file(""));
        DesktopStartup how;
        how.instanceCheck = false;
        ASSERT_TRUE(startDesktop(w, parseCommandLine(c.commandLine), quick, fake, file(""), how));
        EXPECT_TRUE(w.isVisible());
        EXPECT_FALSE(w.findChild<QMenu*>("mnuAcq")->menuAction()->isVisible()) << c.commandLine;
        EXPECT_EQ(w.log().File_FullPath(), c.opensLog ? path : "") << c.commandLine;
        EXPECT_EQ(w.depthPlot().model().points(), c.opensLog ? 2 : 0);
        EXPECT_EQ(w.findChild<QLabel*>("lblProbeCaption")->text(), c.probeCaption);
        const std::vector<std::string> steps = quick.progressTexts();
        ASSERT_FALSE(steps.empty());
        EXPECT_EQ(steps.front(), "Loading software...");
        EXPECT_EQ(std::count(steps.begin(), steps.end(), "Initializing scope..."), 0) << c.commandLine;
    }
}

// The post-load step: the look the switches chose, and the switches' values selected in the advanced lists
// over what the options file restored a moment before.
TEST_F(MainWindowTest, ThePostLoadStepAppliesTheLookAndTheSwitchValuesOverTheRestoredOptions) {
    put(file("ini/ZEL_Options.ini"),
        "[AdvOptions]\r\n0,cmbScopeAverage=0\r\n1,cmbScopeYScale=0\r\n2,cmbScopeREScale=0\r\n");
    struct Case {
        const char* line;
        const char* caption;
        const char *average, *yScale, *reScale; // the lists' texts after the step
    };
    // Lists no switch named keep the restored entry (the first of each list).
    for (const Case& c :
         {Case{"/MODE4", "Alder", "16", "50", "1"}, Case{"/MODE51/S256", "Alder", "256", "1", "1"},
          Case{"/MODE2", "Dogwood", "2", "1", "100"}, Case{"/MODE52/Y020", "Alder", "2", "20", "1"},
          Case{"/MODE21/RE200", "Elm", "2", "1", "200"}}) {
        auto w = newWindow();
        w->options().LoadOptions(true); // the splash's restore, then the main window's
        w->restoreOptions();
        ASSERT_EQ(child<QComboBox>(*w, "cmbScopeAverage")->currentText(), "2");
        w->applyStartupSettings(parseCommandLine(c.line));
        EXPECT_EQ(child<QLabel>(*w, "lblProbeCaption")->text(), c.caption) << c.line;
        EXPECT_EQ(child<QComboBox>(*w, "cmbScopeAverage")->currentText(), c.average) << c.line;
        EXPECT_EQ(child<QComboBox>(*w, "cmbScopeYScale")->currentText(), c.yScale) << c.line;
        EXPECT_EQ(child<QComboBox>(*w, "cmbScopeREScale")->currentText(), c.reScale) << c.line;
    }
}

TEST_F(MainWindowTest, StartUpWithSimOpensTheSimulatedInstrumentsForTheAcquisitionMenu) {
    MainWindow w(loopHost, clock, StartupSettings{}, file(""));
    DesktopStartup how;
    how.instanceCheck = false;
    how.sim = true;
    ASSERT_TRUE(startDesktop(w, parseCommandLine(""), loopHost, clock, file(""), how));
    const std::vector<std::string> steps = host.progressTexts();
    EXPECT_NE(std::find(steps.begin(), steps.end(), "Initializing scope..."), steps.end());
    // The scope and the depth board answered through the start-up's openers: the window can push.
    ASSERT_NE(w.reference(), nullptr);
    EXPECT_TRUE(w.action("mnuAcq_RE")->isEnabled());
    EXPECT_EQ(message("No instruments are open"), nullptr);
}

TEST_F(MainWindowTest, SettingsAndRecentLogsPersistThroughTheOptionsFileUntilReset) {
    const std::string path = smallLog();
    {
        auto w = newWindow();
        ASSERT_TRUE(w->loadLog(path));
        child<QLineEdit>(*w, "txtSite")->setText("Site A");
        child<QCheckBox>(*w, "chkRE_LowOutput")->setChecked(true);
        child<QComboBox>(*w, "cmbScopeAverage")->setCurrentIndex(1);
        child<QLineEdit>(*w, "txtcomm_Depth")->setText("12.3");
        for (QRadioButton* r : w->findChildren<QRadioButton*>("optOrientation"))
            r->setChecked(r->property("controlIndex").toInt() == 1);
        const auto writes = ini::fileWriteCount();
        w->close();
        // The dialogs, the recent logs and the window's place: one replacement of the file.
        EXPECT_EQ(ini::fileWriteCount() - writes, 1u);
    }
    const std::string options = get(file("ini/ZEL_Options.ini"));
    RecordProperty("options_file_bytes", static_cast<int>(options.size()));
    EXPECT_NE(options.find("[Tab]"), std::string::npos);
    EXPECT_NE(options.find("[AdvOptions]"), std::string::npos);
    for (const char* readOut :
         {"txtcomm_Depth", "txtcomm_ScopeAddress", "labelConnection", "txtScopeAddress"})
        EXPECT_EQ(options.find(readOut), std::string::npos) << readOut;

    auto w = newWindow();
    w->options().LoadOptions(true); // what the splash restores for the instruments
    w->restoreOptions();
    EXPECT_EQ(child<QLineEdit>(*w, "txtSite")->text(), "Site A");
    EXPECT_TRUE(child<QCheckBox>(*w, "chkRE_LowOutput")->isChecked());
    EXPECT_EQ(child<QComboBox>(*w, "cmbScopeAverage")->currentIndex(), 1);
    EXPECT_EQ(child<QLineEdit>(*w, "txtcomm_Depth")->text(), "");
    for (QRadioButton* r : w->findChildren<QRadioButton*>("optOrientation"))
        EXPECT_EQ(r->isChecked(), r->property("controlIndex").toInt() == 1);
    EXPECT_EQ(w->recentLogs(), std::vector<std::string>{path});

    host.answerMessage(MsgResult::Ok); // the reset question
    host.answerMessage(MsgResult::Ok); // its confirmation
    w->action("mnuHelp_ResetINI")->trigger();
    w->close();
    EXPECT_FALSE(fs::exists(file("ini/ZEL_Options.ini")));
}

TEST_F(MainWindowTest, MenuMessagesGoThroughTheHost) {
    struct Case {
        const char* action;
        std::string text; // the start of the box's text
        std::string title;
        MsgIcon icon;
    };
    const Case cases[] = {
        {"mnuHelp_About", "ZEL\r\n" + versionText(), "About ZEL", MsgIcon::Information},
        {"mnuAcq_RE", "No instruments are open, so acquisition is not available.", "", MsgIcon::Exclamation},
        {"mnuAcq_Record", "No instruments are open, so acquisition is not available.", "",
         MsgIcon::Exclamation},
        {"mnuFile_ExportData", "Load a log first.", "", MsgIcon::Exclamation},
        {"mnuHelp_ResetINI", "This will reset your settings file.", "", MsgIcon::Question},
    };
    auto w = newWindow();
    for (const Case& c : cases) {
        host.clear();
        host.answerMessage(MsgResult::Cancel);
        QAction* a = w->action(c.action);
        ASSERT_NE(a, nullptr) << c.action;
        a->setEnabled(true); // entries greyed without a log still speak when reached by a shortcut
        a->trigger();
        const HostEvent* e = message(c.text);
        ASSERT_NE(e, nullptr) << c.action;
        EXPECT_EQ(e->title, c.title) << c.action;
        EXPECT_EQ(e->icon, c.icon) << c.action;
    }
    // The cancelled reset leaves the options to be saved.
    w->close();
    EXPECT_TRUE(fs::exists(file("ini/ZEL_Options.ini")));
}

TEST_F(MainWindowTest, AcquisitionMenuRunsAPushAgainstTheSimulators) {
    auto w = newWindow();
    program::SimOptions o;
    o.sweepMs = 0;
    auto rig = program::openSimulatedRig(loopHost, clock, o);
    ASSERT_NE(rig, nullptr);
    w->setInstruments(std::move(rig));
    child<QCheckBox>(*w, "chkAutoName")->setChecked(true);
    child<QLineEdit>(*w, "txtLogFolder")->setText(QString::fromStdString(file("logs")));
    child<QLineEdit>(*w, "txtLogName")->setText("Sim-1");

    // The simulated probe's first acquisition is dark (the background), the next one its RE cap.
    w->action("mnuAcq_Background")->trigger();
    w->action("mnuAcq_RE")->trigger();
    ASSERT_TRUE(w->reference()->HasRE);
    EXPECT_TRUE(w->rePanel().text().startsWith("RE area:")) << w->rePanel().text().toStdString();

    // While the push runs, the plot follows it; after five points the Stop entry ends it.
    int shownWhilePushing = 0;
    QTimer watch;
    QObject::connect(&watch, &QTimer::timeout, [&] {
        if (!w->pushing()) return;
        shownWhilePushing = std::max(shownWhilePushing, w->depthPlot().model().points());
        EXPECT_FALSE(w->action("mnuAcq_Record")->isEnabled());
        if (w->push()->Points() >= 5) w->action("mnuAcq_Stop")->trigger();
    });
    watch.start(20);
    w->action("mnuAcq_Record")->trigger();
    watch.stop();

    const std::string raw = file("logs/Sim-1.lif.raw.bin");
    EXPECT_TRUE(fs::exists(raw));
    EXPECT_FALSE(fs::exists(raw + ".temp"));
    EXPECT_GE(w->push()->Points(), 5);
    EXPECT_GT(shownWhilePushing, 0);
    EXPECT_EQ(w->depthPlot().model().points(), w->push()->Points());
    EXPECT_NE(message("This is the first acquisition since the software has been loaded."), nullptr);
    ASSERT_FALSE(w->recentLogs().empty());
    EXPECT_EQ(w->recentLogs().front(), raw);
    EXPECT_TRUE(w->action("mnuAcq_Record")->isEnabled());
    // The companion carries the whole plot-settings set, controls this window lacks included.
    cInifile companion;
    companion.Path = file("logs/Sim-1.lif.plt");
    companion.Section = "Settings";
    EXPECT_EQ(companion.EnumerateCurrentSection(), plotSettingsKeys());
    // The log named for recording is where the next session starts.
    EXPECT_EQ(w->options().InitDir, file("logs"));
    EXPECT_EQ(w->options().InitFile.rfind(file("logs/Sim-1"), 0), 0u) << w->options().InitFile;

    // The desktop's export of the log loaded again is the push's own export, %RE and channels included.
    const auto readAll = [](const std::string& path) {
        std::ifstream in(path, std::ios::binary);
        return std::string(std::istreambuf_iterator<char>(in), {});
    };
    const std::string exported = file("logs/Sim-1.lif.dat.txt");
    const std::string pushed = readAll(exported);
    ASSERT_FALSE(pushed.empty());
    fs::remove(exported);
    ASSERT_TRUE(w->loadLog(raw));
    w->action("mnuFile_ExportData")->trigger();
    EXPECT_EQ(readAll(exported), pushed);

    // The typed name was recorded once: the next push counts on from it instead of meeting its file.
    watch.start(20);
    w->action("mnuAcq_Record")->trigger();
    watch.stop();
    EXPECT_TRUE(fs::exists(file("logs/Sim-2.lif.raw.bin")));
    EXPECT_EQ(message("File exists, record cancelled"), nullptr);
}

// The log page is of the whole log whatever the screen shows, and the program's page of a log is zel-cli's
// page of it, pixel for pixel.
TEST_F(MainWindowTest, TheLogPageIgnoresTheZoomAndIsZelClisPage) {
    fs::create_directories(file("logs"));
    std::string path;
    {
        cZEL_Data log(host, clock);
        LogArrays arrays;
        RawLogContext ctx;
        plot::synthetic::fillSyntheticLog(log, arrays, 300, 120, false);
        log.Callout_Index(0, 0, 40);
        log.Callout_Index(0, 1, 90);
        log.Callout_Caption(0, "Plume");
        path = SaveRawLog(file("logs/PG-1"), log, arrays, ctx, host).path;
    }
    // Its companion, as a push writes it: the whole key set, here with the rate and conductivity tracks on.
    std::string companion = "[Settings]\r\n";
    for (const std::string& key : plotSettingsKeys()) {
        const bool on = key == "FTchkPlotRate" || key == "FTchkPlotCond";
        companion += key + "=" + (on ? std::string("1") : plotSettingDefault(key)) + "\r\n";
    }
    put(file("logs/PG-1.lif.plt"), companion);
    auto w = newWindow();
    ASSERT_TRUE(w->loadLog(path));
    ASSERT_TRUE(w->writeLogPage(file("whole.jpg"), false));
    const plot::DepthWindow shown = w->depthPlot().depthWindow();
    for (const plot::DepthWindow& zoom : {plot::DepthWindow{2.0, 3.5}, plot::DepthWindow{-5.0, 40.0}}) {
        w->depthPlot().setDepthWindow(zoom);
        ASSERT_NE(w->depthPlot().depthWindow(), shown);
        ASSERT_TRUE(w->writeLogPage(file("zoomed.jpg"), false));
        EXPECT_EQ(QImage(QString::fromStdString(file("zoomed.jpg"))),
                  QImage(QString::fromStdString(file("whole.jpg"))))
            << zoom.top << " to " << zoom.bottom;
    }

    fs::create_directories(file("cli"));
    const e2e::RunResult r = e2e::runProgram(std::string(ZEL_CLI) + " page " + e2e::quote(path) +
                                             " --jpg --to " + e2e::quote(file("cli")));
    ASSERT_EQ(r.exitCode, 0) << r.err;
    const QImage cli(QString::fromStdString(file("cli/PG-1.jpg")));
    ASSERT_FALSE(cli.isNull());
    EXPECT_EQ(cli, QImage(QString::fromStdString(file("whole.jpg"))));
}

} // namespace
} // namespace zel::gui
