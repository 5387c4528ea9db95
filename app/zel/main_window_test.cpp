#include "analysis/wave_math.h"
#include "app/plot/synthetic_log.h"
#include "app/zel/desktop_startup.h"
#include "app/zel/gui_test_app.h"
#include "app/zel/main_window.h"
#include "common/hd_layout.h"
#include "common/number_text.h"
#include "common/testing/recording_host.h"
#include "instruments/platform/event_loop_host.h"
#include "log/raw_log_test_data.h"
#include "log/raw_log_writer.h"
#include "log/re_reference.h"
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
#include <QPushButton>
#include <QRadioButton>
#include <QStatusBar>
#include <QTimer>
#include <QWheelEvent>

#include "common/text.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <fstream>
#include <iterator>
#include <map>
#include <regex>

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
    // However far the wheel goes, the window stays by the log; "Whole log" brings the log back.
    for (int notches : {5, 40}) {
        QWheelEvent out(centre, plot.mapToGlobal(centre), {}, {0, -120 * notches}, Qt::NoButton, {},
                        Qt::NoScrollPhase, false);
        QApplication::sendEvent(&plot, &out);
        EXPECT_GE(plot.depthWindow().top, -0.1 - 1e-9) << notches;
        EXPECT_LE(plot.depthWindow().bottom, 0.15 + 1e-9) << notches;
    }
    w->action("mnuView_WholeLog")->trigger();
    EXPECT_EQ(plot.depthWindow(), before);

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
    // The range is marked on the plot too, under its caption.
    ASSERT_EQ(w->depthPlot().bands().size(), 1u);
    EXPECT_EQ(w->depthPlot().bands()[0].label, "NAPL");
    host.answerInput("first");
    w->saveCalloutScheme();
    slot("txtCalloutTop", 0)->clear();
    slot("txtCalloutBottom", 0)->clear();
    w->applyCallouts();
    EXPECT_TRUE(w->waveform().view().callouts.empty());
    slot("txtCalloutCaption", 0)->clear();
    w->loadCalloutScheme(1);
    EXPECT_FALSE(slot("txtCalloutBottom", 0)->text().isEmpty());
    // The caption travels with the scheme, and the page labels the band with it.
    EXPECT_EQ(slot("txtCalloutCaption", 0)->text(), "NAPL");
    EXPECT_EQ(w->log().Callout_Caption(0), "NAPL");
    EXPECT_NE(get(w->log().File_FullPath_Plt()).find("Text C0=NAPL"), std::string::npos);
    ASSERT_EQ(w->waveform().view().callouts.size(), 1u);
    EXPECT_EQ(w->waveform().view().callouts[0].firstPoint, 0);
    EXPECT_EQ(w->waveform().view().callouts[0].lastPoint, 1);
}

TEST_F(MainWindowTest, CalloutsLeaveTheWaveformItsRoomAndComeBackWithTheLog) {
    const std::string path = smallLog();
    const auto slot = [](MainWindow& w, const char* name, int i) {
        for (QLineEdit* e : w.findChildren<QLineEdit*>(name))
            if (e->property("controlIndex").toInt() == i) return e;
        ADD_FAILURE() << name << i;
        return static_cast<QLineEdit*>(nullptr);
    };
    {
        auto w = newWindow(); // at the window's default size
        w->show();
        ASSERT_TRUE(w->loadLog(path));
        WaveformWidget& view = w->waveform();
        view.grab();
        const QRectF alone = view.plotArea();
        ASSERT_GT(alone.height(), 0.5 * view.height());
        // (A scheme keeps ranges to a tenth: one of 0.0 to 0.0 over point 0 alone would read as an empty
        // slot.)
        const char* ranges[][3] = {{"0", "0.05", "Both"}, {"0.04", "0.06", "Deep"}, {"-0.2", "0.01", "Top"}};
        for (int i = 0; i < 3; ++i) {
            slot(*w, "txtCalloutTop", i)->setText(ranges[i][0]);
            slot(*w, "txtCalloutBottom", i)->setText(ranges[i][1]);
            slot(*w, "txtCalloutCaption", i)->setText(ranges[i][2]);
        }
        w->applyCallouts();
        ASSERT_EQ(view.view().callouts.size(), 3u);
        EXPECT_EQ(w->depthPlot().bands().size(), 3u);
        view.grab();
        EXPECT_GE(view.plotArea().width(), 0.95 * alone.width()); // (its value labels may differ)
        EXPECT_GE(view.plotArea().height(), 0.8 * alone.height());
        host.answerInput("three");
        w->saveCalloutScheme();
    }
    // Opened again, the log shows its latest scheme, as its page does.
    auto w = newWindow();
    ASSERT_TRUE(w->loadLog(path));
    const auto& callouts = w->waveform().view().callouts;
    ASSERT_EQ(callouts.size(), 3u);
    EXPECT_EQ(callouts[1].caption, "Deep");
    EXPECT_EQ(callouts[1].firstPoint, 1);
    EXPECT_EQ(slot(*w, "txtCalloutCaption", 2)->text(), "Top");
    EXPECT_EQ(w->depthPlot().bands().size(), 3u);
}

TEST_F(MainWindowTest, TheRERangeTakesInputOnlyWhileTheFixedScaleIsTicked) {
    const std::string path = smallLog();
    const auto manual = [](MainWindow& w, int i) {
        for (QCheckBox* c : w.findChildren<QCheckBox*>("chkManualScaleLog"))
            if (c->property("controlIndex").toInt() == i) return c;
        ADD_FAILURE() << "no chkManualScaleLog" << i;
        return static_cast<QCheckBox*>(nullptr);
    };
    const auto signalMax = [](MainWindow& w) {
        return w.depthPlot().model().track(plot::TrackKind::Signal)->max;
    };
    {
        auto w = newWindow();
        ASSERT_TRUE(w->loadLog(path));
        QLineEdit* from = child<QLineEdit>(*w, "txtSignalMin");
        QLineEdit* to = child<QLineEdit>(*w, "txtSignalMax");
        QCheckBox* fixed = manual(*w, 0);
        const double automatic = signalMax(*w);
        ASSERT_NE(automatic, 37.0);
        // Unticked: the range cannot be typed, and says why; the floor is used either way.
        EXPECT_FALSE(fixed->isChecked());
        EXPECT_FALSE(from->isEnabled());
        EXPECT_FALSE(to->isEnabled());
        EXPECT_TRUE(to->toolTip().contains("Fixed %RE scale"));
        EXPECT_TRUE(child<QLineEdit>(*w, "txtSignalFloor")->isEnabled());
        // Tracks 2 and 3 have no range of their own here: their switches take no tick.
        EXPECT_FALSE(manual(*w, 1)->isEnabled());
        EXPECT_FALSE(manual(*w, 2)->isEnabled());

        to->setText("37");
        EXPECT_EQ(signalMax(*w), automatic);
        fixed->setChecked(true);
        EXPECT_TRUE(from->isEnabled());
        EXPECT_TRUE(to->isEnabled());
        EXPECT_TRUE(to->toolTip().isEmpty());
        EXPECT_EQ(signalMax(*w), 37.0);
        fixed->setChecked(false);
        EXPECT_FALSE(to->isEnabled());
        EXPECT_EQ(signalMax(*w), automatic);
        fixed->setChecked(true);
        w->close();
    }
    // A tick restored from the options file opens the range as a click does.
    auto w = newWindow();
    w->options().LoadOptions(true);
    w->restoreOptions();
    EXPECT_TRUE(manual(*w, 0)->isChecked());
    EXPECT_TRUE(child<QLineEdit>(*w, "txtSignalMax")->isEnabled());
    EXPECT_EQ(child<QLineEdit>(*w, "txtSignalMax")->text(), "37");
}

TEST_F(MainWindowTest, EachOtherTrackTakesItsOwnFixedScaleFromTheSetupPage) {
    const std::string path = smallLog();
    auto w = newWindow();
    ASSERT_TRUE(w->loadLog(path));
    const auto rate = [&] { return w->depthPlot().model().track(plot::TrackKind::Rate); };
    ASSERT_NE(rate(), nullptr);
    const double automaticMax = rate()->max;
    QLineEdit* range[2] = {};
    for (QLineEdit* e : w->findChildren<QLineEdit*>("txt2ndScale_Rate"))
        range[e->property("controlIndex").toInt()] = e;
    ASSERT_TRUE(range[0] && range[1]);
    QCheckBox* fixed = child<QCheckBox>(*w, "chk2ndScale_Rate");
    // Unticked, the range takes no input and the track keeps the log's range.
    EXPECT_FALSE(range[1]->isEnabled());
    range[0]->setText("0.5");
    range[1]->setText("9");
    emit range[1]->editingFinished();
    EXPECT_EQ(rate()->max, automaticMax);
    fixed->setChecked(true);
    EXPECT_TRUE(range[1]->isEnabled());
    EXPECT_EQ(rate()->min, 0.5);
    EXPECT_EQ(rate()->max, 9.0);
    EXPECT_EQ(rate()->scale, plot::Scale::Linear);
    child<QCheckBox>(*w, "chk2ndLog_Rate")->setChecked(true);
    EXPECT_EQ(rate()->scale, plot::Scale::Log);
    // Unticked again, the log's range comes back.
    child<QCheckBox>(*w, "chk2ndLog_Rate")->setChecked(false);
    fixed->setChecked(false);
    EXPECT_EQ(rate()->max, automaticMax);
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
    // A tick restored beside a list never claims a switch this session did not give.
    put(file("ini/ZEL_Options.ini"), "[AdvOptions]\r\n0,cmbScopeAverage=0\r\n1,cmbScopeYScale=0\r\n2,"
                                     "cmbScopeREScale=0\r\n"
                                     "3,chkScopeYScaleSwitch=1\r\n4,chkScopeAverageSwitch=1\r\n");
    struct Case {
        const char* line;
        const char* caption;
        const char *average, *yScale, *reScale; // the lists' texts after the step
        bool sTicked, yTicked, reTicked;        // the check boxes beside the lists
    };
    // Lists no switch named keep the restored entry (the first of each list).
    for (const Case& c : {Case{"/MODE4", "Alder", "16", "50", "1", true, true, false},
                          Case{"/MODE51/S256", "Alder", "256", "1", "1", true, false, false},
                          Case{"/MODE2", "Dogwood", "2", "1", "100", false, false, true},
                          Case{"/MODE52/Y020", "Alder", "2", "20", "1", false, true, false},
                          Case{"/MODE21/RE200", "Elm", "2", "1", "200", false, false, true}}) {
        auto w = newWindow();
        w->options().LoadOptions(true); // the splash's restore, then the main window's
        w->restoreOptions();
        ASSERT_EQ(child<QComboBox>(*w, "cmbScopeAverage")->currentText(), "2");
        w->applyStartupSettings(parseCommandLine(c.line));
        EXPECT_EQ(child<QLabel>(*w, "lblProbeCaption")->text(), c.caption) << c.line;
        EXPECT_EQ(child<QComboBox>(*w, "cmbScopeAverage")->currentText(), c.average) << c.line;
        EXPECT_EQ(child<QComboBox>(*w, "cmbScopeYScale")->currentText(), c.yScale) << c.line;
        EXPECT_EQ(child<QComboBox>(*w, "cmbScopeREScale")->currentText(), c.reScale) << c.line;
        EXPECT_EQ(child<QCheckBox>(*w, "chkScopeAverageSwitch")->isChecked(), c.sTicked) << c.line;
        EXPECT_EQ(child<QCheckBox>(*w, "chkScopeYScaleSwitch")->isChecked(), c.yTicked) << c.line;
        EXPECT_EQ(child<QCheckBox>(*w, "chkScopeREScaleSwitch")->isChecked(), c.reTicked) << c.line;
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
    // Every dialog the options keep, in the order of the save.
    std::size_t previous = 0;
    for (const char* section :
         {"[HP]", "[AdvOptions]", "[Generic]", "[Callout]", "[Comm]", "[Tab]", "[WaveMath]", "[FTP]"}) {
        const std::size_t at = options.find(section);
        ASSERT_NE(at, std::string::npos) << section;
        EXPECT_GE(at, previous) << section;
        previous = at;
    }
    for (const char* readOut : {"txtcomm_Depth", "txtcomm_ScopeAddress", "labelConnection"})
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
    EXPECT_FALSE(w->action("mnuAcq_Timed")->isEnabled()); // no scope yet
    w->setInstruments(std::move(rig));
    EXPECT_TRUE(w->action("mnuAcq_Timed")->isEnabled());
    std::vector<std::string> opened;
    w->openFolder = [&](const std::string& folder) { opened.push_back(folder); };
    // A log with a stored baseline, taken when it is loaded, is the baseline of the pushes that follow.
    {
        cZEL_Data withBaseline(host, clock);
        LogArrays arrays;
        RawLogContext ctx;
        testdata::fillSmallLog(withBaseline, arrays, ctx);
        arrays.baseline = {0.5f, 0.25f, 1.75f};
        ctx.baselineInUse = true;
        fs::create_directories(file("base"));
        ASSERT_TRUE(SaveRawLog(file("base/B-1"), withBaseline, arrays, ctx, host).ok);
    }
    child<QCheckBox>(*w, "chkBaseline")->setChecked(true);
    ASSERT_TRUE(w->loadLog(file("base/B-1.lif.raw.bin"))); // the baseline question: Yes
    child<QCheckBox>(*w, "chkAutoName")->setChecked(true);
    child<QLineEdit>(*w, "txtLogFolder")->setText(QString::fromStdString(file("logs")));
    child<QLineEdit>(*w, "txtLogName")->setText("Sim-1");

    // The simulated probe's first acquisition is dark (the background), the next one its RE cap.
    w->action("mnuAcq_Background")->trigger();
    w->action("mnuAcq_RE")->trigger();
    ASSERT_TRUE(w->reference()->HasRE);
    EXPECT_TRUE(w->rePanel().text().startsWith("RE area:")) << w->rePanel().text().toStdString();
    // The RE is in the waveform view before the first point.
    EXPECT_FALSE(w->waveform().view().re.empty());
    EXPECT_EQ(w->waveform().view().title.rfind("RE  ", 0), 0u) << w->waveform().view().title;

    // While the push runs, the plot follows it; after five points the Stop entry ends it.
    int shownWhilePushing = 0;
    QString liveStatus, liveTitle;
    QTimer watch;
    QObject::connect(&watch, &QTimer::timeout, [&] {
        if (!w->pushing()) return;
        shownWhilePushing = std::max(shownWhilePushing, w->depthPlot().model().points());
        if (w->push()->Points() > 0) {
            liveStatus = w->statusText();
            liveTitle = w->windowTitle();
        }
        EXPECT_FALSE(w->action("mnuAcq_Record")->isEnabled());
        if (w->push()->Points() >= 5) w->action("mnuAcq_Stop")->trigger();
    });
    watch.start(20);
    w->action("mnuAcq_Record")->trigger();
    watch.stop();

    const std::string raw = file("logs/Sim-1.lif.raw.bin");
    EXPECT_TRUE(fs::exists(raw));
    EXPECT_FALSE(fs::exists(raw + ".temp"));
    EXPECT_NE(get(raw).find("BASELINE=0.50,0.25,1.75\r\n"), std::string::npos);
    EXPECT_GE(w->push()->Points(), 5);
    EXPECT_GT(shownWhilePushing, 0);
    EXPECT_EQ(w->depthPlot().model().points(), w->push()->Points());
    EXPECT_NE(message("This is the first acquisition since the software has been loaded."), nullptr);
    // Without a data board nobody asks it for its status.
    EXPECT_EQ(message("Timeout"), nullptr);
    // The push was followed in the status bar and the title, then summed up with its files.
    EXPECT_TRUE(liveStatus.startsWith("Sim-1  ")) << liveStatus.toStdString();
    EXPECT_TRUE(liveStatus.contains(" points  %RE ")) << liveStatus.toStdString();
    EXPECT_TRUE(liveTitle.contains("recording")) << liveTitle.toStdString();
    const HostEvent* summary = message("Push Sim-1 recorded: ");
    ASSERT_NE(summary, nullptr);
    EXPECT_NE(summary->text.find(raw), std::string::npos);
    EXPECT_NE(summary->text.find(file("logs/Sim-1.lif.dat.txt")), std::string::npos);
    EXPECT_EQ(opened, std::vector<std::string>{file("logs")});
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
    // A push from the menus of the simulated rig says so, and keeps where it was.
    EXPECT_TRUE(w->log().Emulate());
    EXPECT_FALSE(std::string(trimBlanks(w->log().Latitude())).empty());
    EXPECT_NE(w->log().Latitude_Dec(), 0.0);
    // An export that is there already is only replaced when the user says so.
    put(exported, "kept");
    host.clear();
    host.answerMessage(MsgResult::No);
    w->action("mnuFile_ExportData")->trigger();
    EXPECT_NE(message("The file " + exported + " exists. Overwrite?"), nullptr);
    EXPECT_EQ(readAll(exported), "kept");

    // The second push is copied to the transfer folder as soon as it is written.
    child<QCheckBox>(*w, "chkTransferCopy")->setChecked(true);
    child<QLineEdit>(*w, "txtTransferFolder")->setText(QString::fromStdString(file("copies")));

    // The typed name was recorded once: the next push counts on from it instead of meeting its file.
    watch.start(20);
    w->action("mnuAcq_Record")->trigger();
    watch.stop();
    EXPECT_TRUE(fs::exists(file("logs/Sim-2.lif.raw.bin")));
    EXPECT_TRUE(fs::exists(file("copies/Sim-2.lif.raw.bin")));
    EXPECT_TRUE(fs::exists(file("copies/Sim-2.lif.dat.txt")));

    // Named by position: the folder is asked once, the name is the fix and the time.
    child<QCheckBox>(*w, "chkGPSNaming")->setChecked(true);
    fs::create_directories(file("gps"));
    host.clear();
    host.answerDialog(FileDialogResult{file("gps/any name"), 1});
    watch.start(20);
    w->action("mnuAcq_Record")->trigger();
    watch.stop();
    EXPECT_NE(message("You have chosen to auto-name based on GPS."), nullptr);
    int gpsNamed = 0;
    const std::regex gpsName(R"(-?\d+d\d{5} -?\d+d\d{5} \d{8} \d{6}\.lif\.raw\.bin)");
    for (const auto& f : fs::directory_iterator(file("gps")))
        gpsNamed += std::regex_match(f.path().filename().string(), gpsName);
    EXPECT_EQ(gpsNamed, 1);
    EXPECT_EQ(message("File exists, record cancelled"), nullptr);
}

// The Advanced page's scope lists, front-panel box and prompt suppression act on a push from the menus, as
// the options file's do on zel-cli's: the commands the simulated scope received, and the questions asked.
TEST_F(MainWindowTest, TheAdvancedPagesScopeAndPromptSettingsReachAPushFromTheMenus) {
    auto w = newWindow();
    program::SimOptions o;
    o.sweepMs = 0;
    o.transcripts = file("sims");
    auto rig = program::openSimulatedRig(loopHost, clock, o);
    ASSERT_NE(rig, nullptr);
    w->setInstruments(std::move(rig));
    w->openFolder = [](const std::string&) {};
    child<QComboBox>(*w, "cmbScopeAverage")->setCurrentIndex(3);  // 16 sweeps
    child<QComboBox>(*w, "cmbScopeREScale")->setCurrentIndex(7);  // 200 mV a division
    child<QCheckBox>(*w, "chkSuppressPrompts")->setChecked(true); // no first-push question
    child<QCheckBox>(*w, "chkAutoName")->setChecked(true);
    child<QLineEdit>(*w, "txtLogFolder")->setText(QString::fromStdString(file("logs")));
    child<QLineEdit>(*w, "txtLogName")->setText("Adv-1");
    w->action("mnuAcq_Background")->trigger();
    w->action("mnuAcq_RE")->trigger();
    ASSERT_TRUE(w->reference()->HasRE);
    QTimer watch;
    QObject::connect(&watch, &QTimer::timeout, [&] {
        if (w->pushing() && w->push()->Points() >= 2) w->action("mnuAcq_Stop")->trigger();
    });
    watch.start(20);
    w->action("mnuAcq_Record")->trigger();
    watch.stop();
    EXPECT_TRUE(fs::exists(file("logs/Adv-1.lif.raw.bin")));
    EXPECT_EQ(message("This is the first acquisition since the software has been loaded."), nullptr);
    std::vector<std::string> lines;
    {
        std::ifstream in(file("sims/scope.txt"));
        for (std::string l; std::getline(in, l);)
            lines.push_back(l);
    }
    const auto at = [&](const std::string& text) {
        return std::find_if(lines.begin(), lines.end(),
                            [&](const std::string& l) { return l.find(text) != std::string::npos; });
    };
    EXPECT_NE(at(":ACQ:MOD AVE;NUMAV 16"), lines.end());
    const auto lock = at("LOC ALL");
    ASSERT_NE(lock, lines.end());
    std::string reScale;
    for (auto l = lines.begin(); l != lock; ++l)
        if (l->starts_with(":CH2:SCA ")) reScale = l->substr(9);
    EXPECT_EQ(reScale, "0.2");
}

TEST_F(MainWindowTest, AnHdBoardPushFromTheMenusStreamsTheBoardIntoTheLog) {
    // "/H" with --sim: start-up opens the data board and no oscilloscope, and the window pushes on the board.
    MainWindow w(loopHost, clock, StartupSettings{}, file(""));
    DesktopStartup how;
    how.instanceCheck = false;
    how.sim = true;
    how.simOptions.sweepMs = 0;
    how.simOptions.rateFtPerS = 1;
    ASSERT_TRUE(startDesktop(w, parseCommandLine("/H"), loopHost, clock, file(""), how));
    const std::vector<std::string> steps = host.progressTexts();
    EXPECT_EQ(std::find(steps.begin(), steps.end(), "Initializing scope..."), steps.end());
    ASSERT_NE(w.reference(), nullptr);
    ASSERT_TRUE(w.action("mnuAcq_Record")->isEnabled());
    w.openFolder = [](const std::string&) {};
    child<QCheckBox>(w, "chkAutoName")->setChecked(true);
    child<QLineEdit>(w, "txtLogFolder")->setText(QString::fromStdString(file("logs")));
    child<QLineEdit>(w, "txtLogName")->setText("H-1");

    // Only the scope recovers an RE or acquires on a timer.
    for (const char* scopeOnly : {"mnuAcq_RecoverRE", "mnuAcq_RescueRE", "mnuAcq_Timed"})
        EXPECT_FALSE(w.action(scopeOnly)->isEnabled()) << scopeOnly;

    w.action("mnuAcq_Background")->trigger();
    w.action("mnuAcq_RE")->trigger();
    ASSERT_TRUE(w.reference()->HasRE);
    ASSERT_TRUE(w.reference()->HdRE && w.reference()->HdBackground);
    // The panel and the waveform view show the board's four values, not an empty scope RE.
    const QString panel = w.rePanel().text();
    EXPECT_TRUE(panel.startsWith("Board RE: ")) << panel.toStdString();
    EXPECT_TRUE(
        panel.contains(QString::fromStdString("CH1: " + formatNumber((*w.reference()->HdRE)[0], "#0.000"))))
        << panel.toStdString();
    ASSERT_EQ(w.waveform().view().re.size(), 4u);
    EXPECT_EQ(w.waveform().view().re[2], (*w.reference()->HdRE)[2]);
    int liveRows = 0;
    QTimer watch;
    QObject::connect(&watch, &QTimer::timeout, [&] {
        if (!w.pushing()) return;
        // While the push runs the side file grows beside the log-to-be.
        if (w.push()->Points() > 0) liveRows = std::max(liveRows, w.depthPlot().model().points());
        if (w.push()->Points() >= 5) w.action("mnuAcq_Stop")->trigger();
    });
    watch.start(20);
    w.action("mnuAcq_Record")->trigger();
    watch.stop();

    const std::string raw = file("logs/H-1.lif.raw.bin");
    ASSERT_TRUE(fs::exists(raw));
    EXPECT_FALSE(fs::exists(file("logs/H-1.lif.raw.hd"))) << "the side file goes once it is appended";
    const int points = w.push()->Points();
    EXPECT_GE(points, 5);
    EXPECT_GT(liveRows, 0);
    EXPECT_EQ(w.waveform().view().valueUnit, "Signal (V)");
    // The binary part is the stream: its mask, then every point's record, and no trailer after them.
    const std::string bytes = get(raw);
    const std::string marker = "DATA=Binary Appended\r\n";
    const std::size_t at = bytes.find(marker);
    ASSERT_NE(at, std::string::npos);
    std::uint32_t mask = 0;
    std::memcpy(&mask, bytes.data() + at + marker.size(), 4);
    EXPECT_NE(mask & hd_layout::kPushValuesBit, 0u);
    const std::size_t recordBytes = 4u * static_cast<std::size_t>(hd_layout::recordValues(mask));
    EXPECT_EQ(bytes.size(), at + marker.size() + 4 + static_cast<std::size_t>(points) * recordBytes);
    // The board's reference state is kept for the next session.
    cInifile ref;
    ref.Path = file("ref/RE.lif.ref.txt");
    for (const char* section : {"HD-RE", "HD-BK"}) {
        ref.Section = section;
        ref.Key = "CH1";
        EXPECT_FALSE(ref.Value().empty()) << section;
    }

    // Loaded again, the log plots what the push showed: the same points, the same %RE.
    const auto signal = [&w] { return w.depthPlot().model().track(plot::TrackKind::Signal)->values; };
    const std::vector<float> pushed = signal();
    ASSERT_EQ(pushed.size(), static_cast<std::size_t>(points));
    ASSERT_TRUE(w.loadLog(raw));
    EXPECT_EQ(w.log().WavePoints(), 3);
    const std::vector<float> loaded = signal();
    ASSERT_EQ(loaded.size(), pushed.size());
    for (std::size_t p = 0; p < pushed.size(); ++p)
        EXPECT_NEAR(loaded[p], pushed[p], 0.01 * std::max(1.0f, pushed[p])) << p;
    // The board digitised the conductivity too; the loaded log exports as the push did.
    EXPECT_NE(bytes.find("Conductivity=True\r\n"), std::string::npos);
    const std::string exported = file("logs/H-1.lif.dat.txt");
    const std::string pushExport = get(exported);
    ASSERT_FALSE(pushExport.empty());
    fs::remove(exported);
    w.action("mnuFile_ExportData")->trigger();
    EXPECT_EQ(get(exported), pushExport);
}

TEST_F(MainWindowTest, AHydraulicPushFromTheMenusTakesTheTubeTestsAndShowsPressureFlowAndK) {
    auto w = newWindow();
    program::SimOptions o;
    o.sweepMs = 0;
    o.rateFtPerS = 1;
    auto rig = program::openSimulatedRig(loopHost, clock, o);
    ASSERT_NE(rig, nullptr);
    w->setInstruments(std::move(rig));
    w->openFolder = [](const std::string&) {};
    child<QCheckBox>(*w, "chkPresFlow")->setChecked(true);
    child<QCheckBox>(*w, "chkAutoName")->setChecked(true);
    child<QLineEdit>(*w, "txtLogFolder")->setText(QString::fromStdString(file("logs")));
    child<QLineEdit>(*w, "txtLogName")->setText("HP-1");

    // The rig's operator puts the probe in the water tube for each button: a foot of water between them.
    child<QPushButton>(*w, "cmdHPT1ft")->click();
    child<QPushButton>(*w, "cmdHPT0ft")->click();
    const double oneFoot = val(child<QLabel>(*w, "lblHPT1ft")->text().toStdString());
    const double zeroFoot = val(child<QLabel>(*w, "lblHPT0ft")->text().toStdString());
    EXPECT_NEAR(oneFoot - zeroFoot, 0.433, 0.0433);
    const HostEvent* result = message("Tested value = ");
    ASSERT_NE(result, nullptr);
    EXPECT_NE(result->text.find("Passed test."), std::string::npos) << result->text;

    w->action("mnuAcq_Background")->trigger();
    w->action("mnuAcq_RE")->trigger();
    ASSERT_TRUE(w->reference()->HasRE);
    // While the push runs, the pressure, flow and K tracks follow it.
    std::map<plot::TrackKind, int> liveTrackPoints;
    QTimer watch;
    QObject::connect(&watch, &QTimer::timeout, [&] {
        if (!w->pushing()) return;
        for (const auto kind :
             {plot::TrackKind::PresFlow0, plot::TrackKind::PresFlow1, plot::TrackKind::KEstimate})
            if (const plot::Track* t = w->depthPlot().model().track(kind))
                liveTrackPoints[kind] = static_cast<int>(t->values.size());
        if (w->push()->Points() >= 8) w->action("mnuAcq_Stop")->trigger();
    });
    watch.start(20);
    w->action("mnuAcq_Record")->trigger();
    watch.stop();
    for (const auto kind :
         {plot::TrackKind::PresFlow0, plot::TrackKind::PresFlow1, plot::TrackKind::KEstimate})
        EXPECT_GT(liveTrackPoints[kind], 0) << static_cast<int>(kind);

    const std::string raw = get(file("logs/HP-1.lif.raw.bin"));
    EXPECT_NE(raw.find("PresFlow=True\r\n"), std::string::npos);
    EXPECT_NE(raw.find("HPT1ft=" + formatNumber(oneFoot, "0.0###")), std::string::npos);
    // The pump's pressure reached the track: well above the surface reading once the probe went down.
    const plot::Track* pressure = w->depthPlot().model().track(plot::TrackKind::PresFlow0);
    ASSERT_NE(pressure, nullptr);
    EXPECT_GT(*std::max_element(pressure->values.begin(), pressure->values.end()), zeroFoot + 10.0);
}

TEST_F(MainWindowTest, TheInfoPageShowsTheLoadedLogAndWritesCorrectionsBackIntoIt) {
    const std::string path = smallLog();
    {
        auto w = newWindow();
        ASSERT_TRUE(w->loadLog(path));
        EXPECT_EQ(child<QLineEdit>(*w, "txtSite")->text().toStdString(), w->log().Site());
        const int points = w->arrays().points();
        child<QLineEdit>(*w, "txtSite")->setText("Corrected site");
        child<QLineEdit>(*w, "txtClient")->setText("Client B");
        // Twice: each save replaces the file and the run log's entry, never adds one.
        ASSERT_TRUE(w->saveLogInformation());
        ASSERT_TRUE(w->saveLogInformation());
        EXPECT_EQ(w->arrays().points(), points);
    }
    auto w = newWindow();
    ASSERT_TRUE(w->loadLog(path));
    EXPECT_EQ(w->log().Site(), "Corrected site");
    EXPECT_EQ(w->log().Client(), "Client B");
    EXPECT_EQ(w->arrays().points(), 2);
    int entries = 0;
    for (const auto& f : fs::directory_iterator(file("log"))) {
        const std::string text = get(f.path().string());
        for (std::size_t at = text.find("[001-UV]"); at != std::string::npos;
             at = text.find("[001-UV]", at + 1))
            ++entries;
    }
    EXPECT_EQ(entries, 1);

    // A cancelled question leaves the log as it is.
    host.answerMessage(MsgResult::Cancel);
    child<QLineEdit>(*w, "txtSite")->setText("Not this");
    EXPECT_FALSE(w->saveLogInformation());
    auto again = newWindow();
    ASSERT_TRUE(again->loadLog(path));
    EXPECT_EQ(again->log().Site(), "Corrected site");
}

TEST_F(MainWindowTest, RecentLogsAndTheStartFolderAreKeptByAbsolutePath) {
    const std::string path = smallLog();
    const fs::path before = fs::current_path();
    fs::current_path(file(""));
    auto w = newWindow();
    const bool loaded = w->loadLog("logs/001-UV.lif.raw.bin");
    fs::current_path(before);
    ASSERT_TRUE(loaded);
    ASSERT_EQ(w->recentLogs().size(), 1u);
    EXPECT_TRUE(fs::path(w->recentLogs().front()).is_absolute());
    EXPECT_TRUE(fs::equivalent(w->recentLogs().front(), path));
    EXPECT_TRUE(fs::path(w->options().InitDir).is_absolute()) << w->options().InitDir;
}

TEST_F(MainWindowTest, HoverValuesStayInTheStatusBarAndLoadErrorsNameTheFile) {
    const std::string path = smallLog();
    auto w = newWindow();
    w->show();
    ASSERT_TRUE(w->loadLog(path));
    DepthPlotWidget& plot = w->depthPlot();
    double y = plot.height() / 2.0;
    for (double step = 1; step < plot.height() && (!plot.depthAt(y) || *plot.depthAt(y) < 0.05); ++step)
        y = plot.height() / 2.0 + step;
    const QPointF at(plot.width() / 2.0, y);
    QMouseEvent move(QEvent::MouseMove, at, plot.mapToGlobal(at), Qt::NoButton, Qt::NoButton, {});
    QApplication::sendEvent(&plot, &move);
    const QString shown = w->hoverText();
    EXPECT_TRUE(shown.contains(" m")) << shown.toStdString();
    w->statusBar()->showMessage("a progress text");
    EXPECT_EQ(w->hoverText(), shown);

    const std::string bad = file("logs/bad.lif.raw.bin");
    put(bad, "[INFO]\r\nSite=x\r\n");
    host.clear();
    EXPECT_FALSE(w->loadLog(bad));
    const HostEvent* e = message("Error in LoadRawLog: ");
    ASSERT_NE(e, nullptr);
    EXPECT_NE(e->text.find(bad), std::string::npos) << e->text;
}

TEST_F(MainWindowTest, TheLastREReferenceIsShownUntilTheSessionTakesAnRE) {
    fs::create_directories(file("ref"));
    put(reReferencePath(file("")),
        "[HD-RE]\r\nTime=2026-11-20 08:15:00\r\nCH1=10\r\nCH2=20.4\r\nCH3=30\r\nCH4=40\r\n"
        "[HD-BK]\r\nTime=2026-11-20 08:14:00\r\nCH1=1\r\nCH2=1\r\nCH3=1\r\nCH4=1\r\n");
    auto w = newWindow();
    w->restoreOptions();
    EXPECT_TRUE(w->rePanel().text().contains(
        "Last RE 2026-11-20 08:15:00: CH1 10.0 CH2 20.4 CH3 30.0 CH4 40.0; background 2026-11-20 08:14:00"))
        << w->rePanel().text().toStdString();
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

TEST_F(MainWindowTest, WaveMathPageChangesTheWaveformShownAndExportsIt) {
    auto w = newWindow();
    ASSERT_TRUE(w->loadLog(smallLog()));
    w->selectPoint(0);
    const auto shown = [&] {
        const auto s = w->waveform().view().wave;
        return std::vector<float>(s.begin(), s.end());
    };
    EXPECT_EQ(shown(), (std::vector<float>{1.5f, -2.0f, 3.25f}));
    EXPECT_FALSE(w->waveform().view().re.empty());

    // Both points (0 and 0.05 m) lie within 0.2 m about the first; then less the background.
    child<QLineEdit>(*w, "txtAvgInterval")->setText("0.2");
    child<QCheckBox>(*w, "chkAvgInterval")->setChecked(true);
    EXPECT_EQ(shown(), (std::vector<float>{0.75f, 49.0f, 1.375f}));
    EXPECT_NE(w->waveform().view().title.find("[avg -0.10-0.10 m]"), std::string::npos)
        << w->waveform().view().title;
    child<QLineEdit>(*w, "txtWaveDiffWith")->setText("bg");
    child<QCheckBox>(*w, "chkWaveDiff")->setChecked(true);
    EXPECT_EQ(shown(), (std::vector<float>{0.25f, 48.75f, 1.375f}));
    EXPECT_TRUE(w->waveform().view().re.empty());                    // not drawn beside a difference
    const auto units = w->findChildren<QLineEdit*>("txtCustomUnit"); // the array, in index order
    ASSERT_EQ(units.size(), 4);
    units[2]->setText("Light");
    child<QCheckBox>(*w, "chkCustomLandU")->setChecked(true);
    EXPECT_EQ(w->waveform().view().valueUnit, "Light (mV)");

    const std::string out = file("logs/shown.lif.wm.txt");
    host.answerDialog(FileDialogResult{out, 1});
    w->exportWaveMath();
    std::string error;
    const auto t = wave_math::readText(get(out), error);
    ASSERT_TRUE(t) << error;
    EXPECT_EQ(t->yLabel, "Light");
    EXPECT_EQ(t->operation, "avg -0.10-0.10 m; minus Background");
    ASSERT_EQ(t->values.size(), 1u);
    EXPECT_EQ(t->values[0], (std::vector<double>{0.25, 48.75, 1.375}));
}

} // namespace
} // namespace zel::gui
