#include "app/zel/main_window.h"

#include "app/zel/analysis_window.h"
#include "app/zel/cond_cal_form.h"
#include "app/zel/hd_form.h"

#include "acquisition/acquisition_settings.h"
#include "app/plot/log_page.h"
#include "app/plot/qt_text.h"
#include "app/zel/advanced_page.h"
#include "app/zel/callout_page.h"
#include "app/zel/comm_page.h"
#include "app/zel/dissipation_window.h"
#include "app/zel/form_widgets.h"
#include "app/zel/general_page.h"
#include "app/zel/info_page.h"
#include "app/zel/setup_page.h"
#include "app/zel/site_window.h"
#include "app/zel/transfer_page.h"
#include "app/zel/wave_math_page.h"
#include "common/atomic_file.h"
#include "common/number_text.h"
#include "common/text.h"
#include "common/version.h"
#include "instruments/field/field_config.h"
#include "log/data_export.h"
#include "log/log_naming.h"
#include "log/plot_companion.h"
#include "log/raw_log_format.h"
#include "log/raw_log_writer.h"
#include "log/re_reference.h"
#include "log/recovery.h"
#include "log/run_log.h"
#include "log/wave_export.h"
#include "program/cond_calibration.h"
#include "program/gps_fix.h"
#include "program/hydraulic.h"
#include "program/log_mode_look.h"
#include "program/push_setup.h"
#include "program/settings_model.h"
#include "program/wave_math_view.h"
#include "settings/data_root.h"
#include "settings/ini_file.h"
#include "settings/startup/command_line.h"
#include "settings/startup/modes.h"
#include "settings/startup/startup_sequence.h"

#include <QApplication>
#include <QCheckBox>
#include <QClipboard>
#include <QCloseEvent>
#include <QComboBox>
#include <QDateTime>
#include <QDesktopServices>
#include <QDockWidget>
#include <QLabel>
#include <QLineEdit>
#include <QMenuBar>
#include <QRadioButton>
#include <QSignalBlocker>
#include <QSplitter>
#include <QStatusBar>
#include <QTabWidget>
#include <QTimer>
#include <QUrl>

#include <cmath>
#include <filesystem>

namespace zel::gui {

namespace {

constexpr const char* kTab = "frmTab";
constexpr const char* kAdv = "frmAdvOptions";
constexpr const char* kComm = "frmComm";
constexpr const char* kHP = "frmHP";
constexpr const char* kCallout = "frmCallout";
constexpr const char* kWaveMath = "frmWaveMath";
constexpr const char* kGeneric = "frmGeneric";
constexpr const char* kFTP = "frmFTP";
constexpr const char* kRecentSection = "RecentLogs";
constexpr const char* kPositionSection = "MainWindow";
constexpr qint64 kLiveRefreshMs = 250; // a push redraws the plot at most this often

std::string absolutePath(const std::string& path) {
    std::error_code ec;
    const std::filesystem::path a = std::filesystem::absolute(path, ec);
    return ec ? path : a.lexically_normal().string();
}

} // namespace

MainWindow::MainWindow(Host& host, const Clock& clock, StartupSettings settings, std::string dataRoot)
    : host_(host), clock_(clock), settings_(std::move(settings)), dataRoot_(std::move(dataRoot)),
      log_(host, clock) {
    setObjectName("frmMain");
    setWindowTitle(QStringLiteral("ZEL"));
    resize(1280, 820);
    session_.family = settings_.colour ? LogFamily::Colour : settings_.o2 ? LogFamily::O2 : LogFamily::Lif;

    plot_ = new DepthPlotWidget;
    wave_ = new WaveformWidget;
    rePanel_ = new REPanelWidget;
    auto* right = new QSplitter(Qt::Vertical);
    right->addWidget(wave_);
    right->addWidget(rePanel_);
    right->setStretchFactor(0, 3);
    auto* centre = new QSplitter(Qt::Horizontal);
    centre->addWidget(plot_);
    centre->addWidget(right);
    centre->setStretchFactor(0, 3);
    centre->setStretchFactor(1, 2);
    centre->setSizes({600, 400});
    setCentralWidget(centre);

    // The values under the pointer have a place of their own: a temporary message would be hidden by the
    // log's summary beside it and overwritten by every progress text.
    hoverLabel_ = named(new QLabel, "lblHoverValues");
    statusLabel_ = new QLabel;
    statusBar()->addPermanentWidget(hoverLabel_, 3);
    statusBar()->addPermanentWidget(statusLabel_, 2);
    plot_->onHover = [this](const QString& text) { hoverLabel_->setText(text); };
    plot_->onSelect = [this](double depth) { selectPoint(plot::nearestPoint(arrays_, depth)); };

    buildPages();
    options_ = std::make_unique<Options>(host_, forms_, optionsFilePath(dataRoot_));
    presets_ = std::make_unique<Presets>(host_, forms_, plotWindows_, presetsFilePath(dataRoot_));
    presets_->Redraw = [this] { refreshPlot(true); };
    buildMenus();
    log_.setInfoSource([this] { return infoFromPage(); });
    openFolder = [](const std::string& folder) {
        QDesktopServices::openUrl(QUrl::fromLocalFile(QString::fromStdString(folder)));
    };
    refreshPlot(false);
    updateActions();
}

MainWindow::~MainWindow() {
    // The push control holds references into the instruments and the recorder slot.
    push_.reset();
    reference_.reset();
    instruments_.reset();
}

// ---- pages

void MainWindow::buildPages() {
    tabs_ = named(new QTabWidget, "tabSetup");
    auto* info = new InfoPage;
    info->onSaveIntoLog = [this] { saveLogInformation(); };
    infoPage_ = info;
    auto* setupPage = new SetupPage(settings_);
    setupPage->onProbeChosen = [this](int mode) { probeChosen(mode); };
    auto* commPage = new CommPage(settings_);
    auto* advPage = new AdvancedPage(settings_);
    // Hydraulic profiling: the two surface tests that set the K estimate's reference pressure.
    hpForm_ = new HpForm(host_, clock_, referenceTests_);
    hpForm_->requestDissipation = [this](double seconds) {
        if (pushing_ && push_) push_->RequestDissipation(seconds);
    };
    QWidget* hpPage = hpForm_;
    auto* calloutPage = new CalloutPage;
    calloutPage->onApply = [this] { applyCallouts(); };
    calloutPage->onSave = [this] { saveCalloutScheme(); };
    calloutPage->onLoad = [this](int scheme) { loadCalloutScheme(scheme); };
    auto* waveMathPage = new WaveMathPage;
    waveMathPage->onExport = [this] { exportWaveMath(); };
    auto* generalPage = new GeneralPage;
    auto* transferPage = new TransferPage;

    tabs_->addTab(scrolled(infoPage_), "Info");
    tabs_->addTab(scrolled(setupPage), "Setup");
    tabs_->addTab(scrolled(commPage), "Comm");
    tabs_->addTab(scrolled(advPage), "Advanced");
    tabs_->addTab(scrolled(waveMathPage), "Wave math");
    tabs_->addTab(scrolled(hpPage), "HP tests");
    tabs_->addTab(scrolled(calloutPage), "Callouts");
    tabs_->addTab(scrolled(generalPage), "General");
    tabs_->addTab(scrolled(transferPage), "Transfer");
    const char* tips[] = {"Log information",
                          "Setup",
                          "Communications",
                          "Advanced options",
                          "Wave mathematics",
                          "Hydraulic profiling",
                          "Callouts",
                          "General",
                          "Copies of each push in a second folder"};
    for (int i = 0; i < tabs_->count(); ++i)
        tabs_->setTabToolTip(i, QString::fromLatin1(tips[i]));

    forms_.add({infoPage_, setupPage}, kTab);
    forms_.add({advPage}, kAdv);
    forms_.add({waveMathPage}, kWaveMath);
    forms_.add({commPage}, kComm);
    forms_.add({hpPage}, kHP);
    forms_.add({calloutPage}, kCallout);
    forms_.add({generalPage}, kGeneric);
    forms_.add({transferPage}, kFTP);
    // Every page's name whole on its tab: the dock is narrow, so the tabs scroll rather than shrink.
    tabs_->setElideMode(Qt::ElideNone);
    tabs_->setUsesScrollButtons(true);

    // A plot setting changed by the user (or restored from a file) redraws the plot at once.
    for (QWidget* page : std::initializer_list<QWidget*>{setupPage, advPage, waveMathPage, calloutPage}) {
        for (QCheckBox* c : page->findChildren<QCheckBox*>())
            connect(c, &QCheckBox::toggled, this, [this] { refreshPlot(true); });
        for (QRadioButton* r : page->findChildren<QRadioButton*>())
            connect(r, &QRadioButton::toggled, this, [this] { refreshPlot(true); });
        for (QLineEdit* e : page->findChildren<QLineEdit*>())
            connect(e, &QLineEdit::editingFinished, this, [this] { refreshPlot(true); });
    }

    auto* dock = new QDockWidget("Settings", this);
    dock->setObjectName("fraSettingsDock");
    dock->setWidget(tabs_);
    dock->setFeatures(QDockWidget::DockWidgetMovable | QDockWidget::DockWidgetFloatable);
    addDockWidget(Qt::LeftDockWidgetArea, dock);
    resizeDocks({dock}, {380}, Qt::Horizontal);
    applyModeLook();
}

void MainWindow::probeChosen(int mode) {
    setMode(settings_, mode);
    settings_.look = settings_.mode; // a probe chosen here brings its own look, if it has one
    if (reference_) {
        reference_->Mode = settings_.mode;
        applyGateOptions();
    }
    applyModeLook();
    refreshPlot(true);
}

// ---- menus

void MainWindow::buildMenus() {
    const auto add = [this](QMenu* menu, const char* name, const QString& caption, auto handler) {
        QAction* a = menu->addAction(caption);
        a->setObjectName(QString::fromLatin1(name));
        connect(a, &QAction::triggered, this, handler);
        return a;
    };

    QMenu* file = menuBar()->addMenu("&File");
    file->setObjectName("mnuFile");
    add(file, "mnuFile_Load", "&Load log...", [this] { loadLog(""); })->setShortcut(QKeySequence::Open);
    recentMenu_ = file->addMenu("&Recent logs");
    recentMenu_->setObjectName("mnuFile_Recent");
    file->addSeparator();
    add(file, "mnuFile_ExportData", "Export &data text", [this] { exportDataText(); });
    add(file, "mnuFile_ExportWave", "Export &waveform text...", [this] { exportWaveText(); });
    add(file, "mnuFile_Site", "Si&te...", [this] {
        SiteWindow window(host_, options_.get(), this);
        window.exec();
    });
    add(file, "mnuFile_Dissipation", "D&issipation tests...", [this] {
        DissipationWindow window(host_, log_, arrays_, ctx_, this);
        window.changed = [this] { refreshPlot(true); };
        window.exec();
    });
    file->addSeparator();
    add(file, "mnuFile_PageJpg", "Log page &JPG...", [this] { logPageDialog(false); });
    add(file, "mnuFile_PagePdf", "Log page &PDF...", [this] {
        logPageDialog(true);
    })->setShortcut(QKeySequence::Print);
    file->addSeparator();
    QMenu* presets = file->addMenu("Pre&sets");
    presets->setObjectName("mnuPresets");
    add(presets, "mnuPreset_Save", "&Save current plot settings...", [this] { savePreset(); });
    presetLoadMenu_ = presets->addMenu("&Load");
    presetDeleteMenu_ = presets->addMenu("&Delete");
    presetExportMenu_ = presets->addMenu("&Copy as text");
    add(presets, "mnuPreset_Import", "&Paste from text", [this] { importPresetText(); });
    file->addSeparator();
    add(file, "mnuFile_Exit", "E&xit", [this] { close(); })->setShortcut(QKeySequence::Quit);

    acquisitionMenu_ = menuBar()->addMenu("&Acquisition");
    acquisitionMenu_->setObjectName("mnuAcq");
    QMenu* acq = acquisitionMenu_;
    add(acq, "mnuAcq_Background", "&Background", [this] { acquireReference(acq::kBackground); });
    add(acq, "mnuAcq_RE", "&RE", [this] { acquireReference(acq::kRE); });
    acq->addSeparator();
    add(acq, "mnuAcq_Record", "Re&cord (start push)", [this] { startPush(); })->setShortcut(Qt::Key_F5);
    add(acq, "mnuAcq_Pause", "&Pause depth", [this] { pausePush(); })->setShortcut(Qt::Key_F6);
    add(acq, "mnuAcq_Stop", "&Stop", [this] { stopPush(); })->setShortcut(Qt::Key_F7);
    QAction* cont =
        add(acq, "mnuAcq_Continuous", "C&ontinuous depth", [this](bool on) { setContinuous(on); });
    cont->setCheckable(true);
    add(acq, "mnuAcq_Timed", "Continuous Wave Acq.", [this] { toggleTimed(); });
    acq->addSeparator();
    add(acq, "mnuAcq_RecoverRE", "Recover RE from the scope", [this] { recoverReference(); });
    add(acq, "mnuAcq_RescueRE", "Rescue RE", [this] { rescueReference(); });
    add(acq, "mnuAcq_RecoverTemp", "Recover push from temporary file...", [this] { recoverFromTempFile(); });
    acq->addSeparator();
    add(acq, "mnuAcq_HD", "&HD board...", [this] { openHdForm(); });
    add(acq, "mnuAcq_CondCal", "Conductivity &calibration...", [this] { openCondCalForm(); });

    QMenu* view = menuBar()->addMenu("&View");
    view->setObjectName("mnuView");
    add(view, "mnuView_WholeLog", "&Whole log", [this] { plot_->showWholeLog(); })->setShortcut(Qt::Key_Home);

    QMenu* analysis = menuBar()->addMenu("A&nalysis");
    analysis->setObjectName("mnuAnalysis");
    add(analysis, "mnuAnalysis_Waveforms", "&Waveform analysis...", [this] {
        AnalysisWindow w(
            LoadedLog{log_, arrays_, ctx_}, settings_.labels, host_, [this] { refreshPlot(true); }, this);
        w.exec();
    });

    QMenu* help = menuBar()->addMenu("&Help");
    help->setObjectName("mnuHelp");
    add(help, "mnuHelp_ResetINI", "&Reset options file...", [this] { resetOptions(); });
    add(help, "mnuHelp_About", "&About ZEL", [this] { about(); });

    rebuildRecentMenu();
    rebuildPresetMenus();
}

QAction* MainWindow::action(const QString& objectName) const {
    return findChild<QAction*>(objectName);
}

void MainWindow::updateActions() {
    const bool points = arrays_.points() > 0;
    const bool field = reference_ != nullptr;
    // In HD-board mode no oscilloscope is open: what only the scope can do is not offered.
    const bool scope = field && instruments_ && instruments_->drivers().ScopeOpen();
    const auto enable = [this](const char* name, bool on) {
        if (QAction* a = action(QString::fromLatin1(name))) a->setEnabled(on);
    };
    enable("mnuFile_Load", !pushing_);
    enable("mnuFile_ExportData", !pushing_ && points);
    enable("mnuFile_Dissipation", !pushing_ && points && log_.PresFlow());
    enable("mnuFile_ExportWave", points);
    enable("mnuFile_PageJpg", !pushing_ && points);
    enable("mnuFile_PagePdf", !pushing_ && points);
    enable("mnuFile_Recent", !pushing_);
    recentMenu_->setEnabled(!pushing_ && !recent_.empty());
    enable("mnuAcq_Background", field && !pushing_);
    enable("mnuAcq_RE", field && !pushing_);
    enable("mnuAcq_Record", field && !pushing_);
    enable("mnuAcq_Pause", pushing_);
    enable("mnuAcq_Stop", pushing_);
    enable("mnuAcq_RecoverRE", scope && !pushing_);
    enable("mnuAcq_RescueRE", scope && !pushing_);
    enable("mnuAcq_RecoverTemp", !pushing_);
    // The timed acquisition needs the scope; during a push it is the timed mode's switch.
    enable("mnuAcq_Timed", scope);
    enable("mnuAcq_Continuous", field);
    enable("mnuHelp_ResetINI", !pushing_);
    const QString noInstruments = QStringLiteral("No instruments are open (start zel with --sim to push "
                                                 "against the simulators)");
    for (const char* name : {"mnuAcq_Background", "mnuAcq_RE", "mnuAcq_Record", "mnuAcq_RecoverRE",
                             "mnuAcq_RescueRE", "mnuAcq_Timed", "mnuAcq_Continuous"})
        if (QAction* a = action(QString::fromLatin1(name))) a->setToolTip(field ? QString() : noInstruments);
    acquisitionMenu_->setToolTipsVisible(true);
}

void MainWindow::applyStartupSettings(const StartupSettings& s) {
    settings_ = s;
    session_.family = s.colour ? LogFamily::Colour : s.o2 ? LogFamily::O2 : LogFamily::Lif;
    naming_ = program::NamingFor(s.colour, s.o2, s.birch);
    if (auto* probe = findChild<QComboBox*>("lstProbe")) {
        // Selected quietly: a choice made here would bring the probe's own look, not the one start-up chose.
        const QSignalBlocker quiet(probe);
        const auto table = modeTable();
        for (std::size_t i = 0; i < table.size(); ++i)
            if (table[i].mode == s.mode) probe->setCurrentIndex(static_cast<int>(i));
    }
    if (s.pressureFlow)
        if (auto* pf = findChild<QCheckBox*>("chkPresFlow")) pf->setChecked(true);
    // Values the command line chose from the advanced options' lists override the ones the options file
    // restored a moment ago.
    const SwitchLists lists;
    const auto select = [this](const char* name, const std::vector<int>& values, int value, bool fromSwitch) {
        auto* box = findChild<QComboBox*>(name);
        auto* ticked = findChild<QCheckBox*>(QString::fromLatin1(name).mid(3).prepend("chk") + "Switch");
        if (ticked) ticked->setChecked(fromSwitch);
        if (!fromSwitch || !box) return;
        const auto at = std::find(values.begin(), values.end(), value);
        if (at != values.end()) box->setCurrentIndex(static_cast<int>(at - values.begin()));
    };
    select("cmbScopeAverage", lists.averages, s.averaging, s.averagingFromSwitch);
    select("cmbScopeYScale", lists.yScales, s.yScale, s.yScaleFromSwitch);
    select("cmbScopeREScale", lists.reScales, s.reScale, s.reScaleFromSwitch);
    if (reference_) reference_->Mode = s.mode;
    applyModeLook();
    refreshPlot(true);
}

void MainWindow::applyModeLook() {
    auto* caption = findChild<QLabel*>("lblProbeCaption");
    auto* banner = findChild<QLabel*>("picBanner");
    auto* reScale = findChild<QLabel*>("lblREScale");
    if (!caption || !banner) return;
    // The look the start-up's post-load step chose ("/MODE4" and "/MODE51" take the Alder look), or the
    // probe's own once one is chosen on the setup page; none keeps the design-time look.
    const ModeLook* look = settings_.look ? findLook(*settings_.look) : nullptr;
    if (!look) {
        caption->setText(toQt(settings_.model));
        caption->setPalette(QPalette());
        banner->setVisible(false);
        return;
    }
    const AppliedLook a =
        applyLook(*look, settings_.reScale, QCoreApplication::applicationDirPath().toStdString());
    caption->setText(qs(a.caption));
    QPalette pal;
    if (a.fill) pal.setColor(QPalette::Window, QColor(a.fill->red, a.fill->green, a.fill->blue));
    caption->setPalette(pal);
    const QPixmap picture =
        a.bannerPicture.empty() ? QPixmap() : QPixmap(QString::fromStdString(a.bannerPicture));
    banner->setPixmap(picture);
    banner->setVisible(!picture.isNull());
    if (reScale) reScale->setText(qs(a.reScaleCaption));
}

void MainWindow::hideAcquisition() {
    acquisitionMenu_->menuAction()->setVisible(false);
}

// ---- options, recent logs, presets

void MainWindow::restoreOptions() {
    options_->LoadOptions(false);
    {
        cInifile ini;
        ini.Path = options_->path();
        ini.Section = kPositionSection;
        QtForm whole({this}, "frmMain");
        ini.LoadFormPosition(whole);
    }
    if (!options_->InitDir.empty()) session_.initialDir = options_->InitDir;
    loadRecent();
    rebuildRecentMenu();
    showStoredReference();
    presets_->RefreshList();
    rebuildPresetMenus();
    refreshPlot(true);
}

void MainWindow::openLastLogIfChosen() {
    if (recent_.empty() || !controlChecked(kGeneric, general_control::kOpenLastLog)) return;
    std::error_code ec;
    if (std::filesystem::is_regular_file(recent_.front(), ec)) loadLog(recent_.front());
}

void MainWindow::loadRecent() {
    recent_.clear();
    cInifile ini;
    ini.Path = options_->path();
    ini.Section = kRecentSection;
    for (int i = 1; i <= kMaxRecent; ++i) {
        ini.Key = "File" + std::to_string(i);
        const std::string v(trimBlanks(ini.Value()));
        if (!v.empty()) recent_.push_back(v);
    }
}

void MainWindow::saveRecent() {
    if (options_->OptionsFileWasReset()) return;
    ensureParentFolder(options_->path());
    cInifile ini;
    ini.Path = options_->path();
    ini.Section = kRecentSection;
    ini::FileBatch batch(ini.Path);
    ini.DeleteSection();
    for (std::size_t i = 0; i < recent_.size(); ++i) {
        ini.Key = "File" + std::to_string(i + 1);
        ini.Value(recent_[i]);
    }
}

void MainWindow::addRecent(const std::string& given) {
    // Absolute, so the list holds wherever the program is started from next time.
    const std::string path = absolutePath(given);
    std::erase(recent_, path);
    recent_.insert(recent_.begin(), path);
    if (recent_.size() > static_cast<std::size_t>(kMaxRecent)) recent_.resize(kMaxRecent);
    saveRecent();
    rebuildRecentMenu();
}

void MainWindow::rebuildRecentMenu() {
    recentMenu_->clear();
    for (const std::string& path : recent_) {
        QAction* a = recentMenu_->addAction(qpath(path));
        connect(a, &QAction::triggered, this, [this, path] { loadLog(path); });
    }
    recentMenu_->setEnabled(!recent_.empty() && !pushing_);
}

void MainWindow::rebuildPresetMenus() {
    presetLoadMenu_->clear();
    presetDeleteMenu_->clear();
    presetExportMenu_->clear();
    for (const std::string& name : presets_->List()) {
        connect(presetLoadMenu_->addAction(qs(name)), &QAction::triggered, this,
                [this, name] { loadPreset(name); });
        connect(presetDeleteMenu_->addAction(qs(name)), &QAction::triggered, this,
                [this, name] { deletePreset(name); });
        connect(presetExportMenu_->addAction(qs(name)), &QAction::triggered, this,
                [this, name] { exportPresetText(name); });
    }
    for (QMenu* m : {presetLoadMenu_, presetDeleteMenu_, presetExportMenu_})
        m->setEnabled(!m->isEmpty());
}

void MainWindow::savePreset() {
    if (presets_->Save()) rebuildPresetMenus();
}

void MainWindow::loadPreset(const std::string& name) {
    presets_->Load(name);
}

void MainWindow::deletePreset(const std::string& name) {
    presets_->Delete(name);
    rebuildPresetMenus();
}

void MainWindow::exportPresetText(const std::string& name) {
    QApplication::clipboard()->setText(qs(presets_->ExportText(name)));
    status(QStringLiteral("Preset \"%1\" copied to the clipboard as text").arg(qs(name)));
}

void MainWindow::importPresetText() {
    const std::string text = fromQt(QApplication::clipboard()->text());
    if (text.empty()) {
        host_.message("Copy a preset's text to the clipboard first.", MsgButtons::Ok, MsgIcon::Exclamation,
                      "Preset");
        return;
    }
    if (presets_->ImportText(text)) rebuildPresetMenus();
}

// ---- loading and the display

bool MainWindow::loadLog(const std::string& path) {
    if (pushing_) return false;
    LoadRequest request;
    request.path = path;
    request.plot = {&forms_, &plotWindows_};
    if (session_.initialDir.empty()) session_.initialDir = options_->InitDir;
    session_.processing = loadProcessing();
    session_.baselineFeature = settingsModel().checked(kWaveMath, program::control::kBaseline);
    const LoadResult r = Load_File(request, session_, {log_, arrays_, ctx_}, host_);
    pointValues_ = r.outcome == LoadOutcome::Loaded && r.pointValues;
    if (r.outcome != LoadOutcome::Loaded) {
        // A failed read may have left part of a log: show what is there rather than a stale plot.
        if (r.outcome == LoadOutcome::Failed) refreshPlot(false);
        return false;
    }
    const std::string folder = std::filesystem::path(absolutePath(r.path)).parent_path().string();
    options_->SaveInitDir(folder);
    session_.initialDir = folder;
    addRecent(r.path);
    // A stored baseline the user took with the log stays the current one.
    if (ctx_.baselineInUse && !arrays_.baseline.empty()) baseline_ = arrays_.baseline;
    refreshPlot(false);
    showLogInfo();
    showLogTexts();
    showLogRE();
    // The companion's latest callout scheme is the log's callouts, as on its page from zel-cli.
    if (r.calloutSchemes > 0) loadCalloutScheme(r.calloutSchemes);
    selectPoint(arrays_.points() > 0 ? 0 : -1);
    updateActions();
    status(QStringLiteral("Loaded %1: %2 points").arg(qpath(r.path)).arg(arrays_.points()));
    return true;
}

void MainWindow::refreshPlot(bool keepWindow) {
    if (!plot_) return;
    plot::PlotSource source{log_, arrays_};
    source.labels = settings_.labels;
    source.birchMode = ctx_.birchMode;
    const plot::PlotSettings ps = plot::plotSettingsFromForms(forms_);
    plot_->setModel(plot::PlotModel::build(source, ps), keepWindow);
    if (selectedPoint_ >= arrays_.points()) selectedPoint_ = -1;
    selectPoint(selectedPoint_);
}

void MainWindow::selectPoint(int point) {
    selectedPoint_ = point;
    const plot::PlotModel& model = plot_->model();
    plot::WaveformView view;
    view.depthUnit = model.depthUnit();
    for (const std::string& l : settings_.labels)
        view.channelLabels.push_back(l);
    view.deltaX = log_.Wave_DeltaX();
    // An HD board's point is its four channel values in volts, not a sampled waveform.
    if (arrays_.waves.samplesPerWave() == raw_log::kHdWavePoints + 1) view.valueUnit = "Signal (V)";
    const std::array<int, 3>& cut = log_.Cutoff_Index();
    view.boundaries.assign(cut.begin(), cut.end());
    view.callouts = plot::logCallouts(log_, arrays_, model.channelColours());
    std::vector<plot::DepthBand> bands;
    for (const plot::CalloutWave& c : view.callouts)
        bands.push_back({c.top, c.bottom, plot::calloutSlotColour(c.slot),
                         c.caption.empty() ? "C" + std::to_string(c.slot + 1) : c.caption});
    plot_->setBands(std::move(bands));
    std::vector<float> wave;
    if (point >= 0 && point < arrays_.points()) {
        const auto samples = arrays_.waves.wave(point);
        wave.assign(samples.begin(), samples.end());
        const double depth = arrays_.columns(point_column::Depth, point);
        view.title = "Point " + std::to_string(point) + "  " + formatNumber(depth, "#0.00") + " " +
                     model.depthUnit() + "  %RE " +
                     formatNumber(arrays_.columns(point_column::Signal, point), "#0.00");
    }
    std::vector<float> re = arrays_.re.samples, background = arrays_.blank.samples;
    const program::WaveMathOptions waveMath = program::ReadWaveMathOptions(settingsModel());
    if (!waveMath.plain())
        if (const auto shown = program::ShownWaveform(waveMath, log_, arrays_, point, model.depthUnit()))
            showWaveMath(*shown, view, wave, re, background);
    wave_->setView(std::move(view), std::move(wave), std::move(re), std::move(background));
}

void MainWindow::exportWaveMath() {
    const auto shown = program::ShownWaveform(program::ReadWaveMathOptions(settingsModel()), log_, arrays_,
                                              selectedPoint_, plot_->model().depthUnit());
    if (!shown) {
        host_.message("Select a depth of a log first: the waveform shown is what is exported.");
        return;
    }
    FileDialogRequest r;
    r.title = "Export the waveform shown";
    r.filter = "Text (*.txt)|*.txt|All files (*.*)|*.*";
    r.initialDir = std::filesystem::path(log_.File_FullPath()).parent_path().string();
    r.fileName = log_.File_Title_NoExt() + ".lif.wm.txt";
    const auto chosen = host_.saveFileDialog(r);
    if (!chosen) return;
    const std::string operation =
        shown->operation.empty() ? "point " + shown->curve.legend : shown->operation;
    const std::string text = wave_math::exportText({shown->curve}, log_.Wave_DeltaX(), shown->labels,
                                                   log_.File_Title_NoExt(), operation);
    if (!replaceFileAtomically(chosen->path, text))
        host_.message("The waveform could not be written to " + chosen->path + ".", MsgButtons::Ok,
                      MsgIcon::Exclamation);
}

void MainWindow::showLogInfo() {
    const QString name = qpath(log_.File_Title_NoExt());
    setWindowTitle(name.isEmpty() ? QStringLiteral("ZEL") : QStringLiteral("ZEL - ") + name);
    QStringList parts;
    for (const std::string& s : {log_.File_Title_NoExt(), log_.Site(), log_.Client(), log_.JobNumber()})
        if (!s.empty()) parts << qs(s);
    parts << QStringLiteral("%1 points").arg(arrays_.points());
    if (arrays_.points() > 0) {
        const char* unit = log_.Metric() ? "m" : "ft";
        const float depth = log_.Metric() ? log_.Signal_MaxDepth_M() : log_.Signal_MaxDepth_Ft();
        parts << QStringLiteral("max %RE %1 at %2 %3")
                     .arg(qs(formatNumber(log_.Signal_MaxValue(), "#0.00")), qs(formatNumber(depth, "#0.00")),
                          QString::fromLatin1(unit));
    }
    statusLabel_->setText(parts.join(QStringLiteral("  |  ")));
}

QString MainWindow::statusText() const {
    return statusLabel_->text();
}

QString MainWindow::hoverText() const {
    return hoverLabel_->text();
}

void MainWindow::status(const QString& text) {
    host_.progress(fromQt(text));
}

bool MainWindow::requireLog(bool withPoints) {
    if (log_.File_FullPath().empty() || (withPoints && arrays_.points() == 0)) {
        host_.message("Load a log first.", MsgButtons::Ok, MsgIcon::Exclamation);
        return false;
    }
    return true;
}

void MainWindow::showLogTexts() {
    Form* form = forms_.form(kTab);
    if (!form) return;
    const std::pair<const char*, const std::string*> fields[] = {
        {"txtSite", &log_.Site()},         {"txtClient", &log_.Client()}, {"txtJobNumber", &log_.JobNumber()},
        {"txtOperator", &log_.Operator()}, {"txtUnit", &log_.ZEL_Unit()}, {"txtNote", &log_.Note()}};
    for (const auto& [name, text] : fields)
        if (FormControl* c = findControl(*form, name, std::nullopt)) c->setText(*text);
}

bool MainWindow::saveLogInformation() {
    if (pushing_ || !requireLog(false)) return false;
    const LogInfo info = infoFromPage();
    const std::string path = log_.File_FullPath();
    if (host_.message("Write the information on the Info page into " + path +
                          "?\r\nThe log is written again with these texts.",
                      MsgButtons::OkCancel, MsgIcon::Question, "Log information") != MsgResult::Ok)
        return false;
    log_.Site(info.site);
    log_.Client(info.client);
    log_.JobNumber(info.jobNumber);
    log_.Operator(info.operatorName);
    log_.ZEL_Unit(info.unit);
    log_.Note(info.note);
    // The save replaces the file whole, and the run log's entry for this log with it.
    const RawLogSaveResult saved = SaveRawLog(path, log_, arrays_, ctx_, host_);
    if (!saved.ok) return false;
    WriteRunLog(dataRoot_, log_, clock_, session_.family == LogFamily::Colour);
    showLogInfo();
    status(QStringLiteral("Log information saved into %1").arg(qpath(saved.path)));
    return true;
}

// ---- exports and log pages

void MainWindow::exportDataText() {
    if (!requireLog(true)) return;
    const std::string target = dataExportPath(log_, session_.family, "");
    std::error_code ec;
    if (std::filesystem::exists(target, ec) &&
        host_.message("The file " + target + " exists. Overwrite?", MsgButtons::YesNo, MsgIcon::Question,
                      "Export data text") != MsgResult::Yes)
        return;
    if (const auto path = ExportDataText(log_, arrays_, ctx_, "", host_, pointValues_))
        status(QStringLiteral("Data exported to %1").arg(qpath(*path)));
}

void MainWindow::exportWaveText() {
    if (selectedPoint_ < 0 || selectedPoint_ >= arrays_.points()) {
        host_.message("Select a depth on the plot first.", MsgButtons::Ok, MsgIcon::Exclamation);
        return;
    }
    const auto wave = arrays_.waves.wave(selectedPoint_);
    if (const auto path =
            ExportWaveText(wave, log_.Wave_DeltaX(), settings_.colour, session_.initialDir, host_, clock_))
        status(QStringLiteral("Waveform exported to %1").arg(qpath(*path)));
}

bool MainWindow::writeLogPage(const std::string& path, bool pdf) {
    if (!requireLog(true)) return false;
    // The page is of the whole log, whatever the screen's zoom: the same builder as zel-cli's.
    plot::LogPageRequest request;
    request.settings = plot_->model().settings();
    const program::LogModeLook look = program::logModeLook(ctx_.modeId, log_.mode(), settings_.mode);
    request.labels = look.labels;
    request.birchMode = ctx_.birchMode;
    request.modelName = look.model;
    request.fontPoints = look.pageFont;
    request.company = settingsModel().text(program::control::kAdv, program::control::kCompany);
    request.logoPath = settingsModel().text(program::control::kAdv, program::control::kLogoFile);
    request.calloutFluorColour = controlChecked(kWaveMath, program::control::kCalloutFluorColour);
    const plot::LogPage page(log_, arrays_, request);
    std::string error;
    host_.setBusy(true);
    const bool ok = pdf ? page.writePdf(path, error) : page.writeJpg(path, error);
    host_.setBusy(false);
    if (!ok) {
        host_.message("Error in Log_Page: " + error, MsgButtons::Ok, MsgIcon::Critical);
        return false;
    }
    status(QStringLiteral("Log page written to %1").arg(qpath(path)));
    return true;
}

void MainWindow::logPageDialog(bool pdf) {
    if (!requireLog(true)) return;
    FileDialogRequest r;
    r.title = pdf ? "Save log page as PDF..." : "Save log page as JPG...";
    r.filter = pdf ? "PDF|*.pdf" : "JPG|*.jpg";
    r.initialDir = std::filesystem::path(log_.File_FullPath()).parent_path().string();
    r.fileName = log_.File_Title_NoExt() + (pdf ? ".pdf" : ".jpg");
    const auto chosen = host_.saveFileDialog(r);
    if (!chosen) return;
    std::string path = chosen->path;
    const std::string ext = pdf ? ".pdf" : ".jpg";
    if (path.size() < ext.size() || !std::equal(ext.rbegin(), ext.rend(), path.rbegin(),
                                                [](char a, char b) { return a == std::tolower(b); }))
        path += ext;
    writeLogPage(path, pdf);
}

// ---- callouts

void MainWindow::applyCallouts() {
    Form* form = forms_.form(kCallout);
    if (!form) return;
    int count = 0;
    for (int i = 0; i < cZEL_Data::kCalloutSlots; ++i) {
        const auto text = [&](const char* name) {
            FormControl* c = findControl(*form, name, i);
            return c ? c->text() : std::string();
        };
        const std::optional<double> top = numberOf(text("txtCalloutTop"));
        const std::optional<double> bottom = numberOf(text("txtCalloutBottom"));
        // The caption is the callout's text: the scheme keeps it as "Text C" and the page labels the band
        // with it.
        const std::string caption = text("txtCalloutCaption");
        log_.Callout_Caption(i, caption);
        calloutDisplay_.text[static_cast<std::size_t>(i)] = caption;
        if (!top || !bottom) {
            // All zeros is how the log files mark an unused slot.
            log_.Callout_Range(i, 0, 0.0f);
            log_.Callout_Range(i, 1, 0.0f);
            log_.Callout_Index(i, 0, 0);
            log_.Callout_Index(i, 1, 0);
            continue;
        }
        log_.Callout_Range(i, 0, static_cast<float>(std::min(*top, *bottom)));
        log_.Callout_Range(i, 1, static_cast<float>(std::max(*top, *bottom)));
        const auto wave =
            plot::calloutForRange(log_, arrays_, plot_->model().channelColours(), i, *top, *bottom);
        log_.Callout_Index(i, 0, static_cast<std::int16_t>(wave ? wave->firstPoint : -1));
        log_.Callout_Index(i, 1, static_cast<std::int16_t>(wave ? wave->lastPoint : -1));
        if (wave) ++count;
    }
    log_.CalloutCount(count);
    selectPoint(selectedPoint_);
}

void MainWindow::saveCalloutScheme() {
    if (!requireLog(true)) return;
    applyCallouts();
    const int n = SaveCalloutScheme(log_.File_FullPath_Plt(), log_, calloutDisplay_, host_, clock_);
    status(QStringLiteral("Callout scheme %1 saved").arg(n));
}

void MainWindow::loadCalloutScheme(int scheme) {
    if (!requireLog(true)) return;
    std::string label;
    if (!LoadCalloutScheme(log_.File_FullPath_Plt(), scheme, log_, calloutDisplay_, label)) {
        host_.message("The log has no callout scheme " + std::to_string(scheme) + ".", MsgButtons::Ok,
                      MsgIcon::Exclamation, "Callouts");
        return;
    }
    Form* form = forms_.form(kCallout);
    for (int i = 0; form && i < cZEL_Data::kCalloutSlots; ++i) {
        const bool used = log_.Callout_Range(i, 0) != 0.0f || log_.Callout_Range(i, 1) != 0.0f;
        if (FormControl* c = findControl(*form, "txtCalloutTop", i))
            c->setText(used ? formatNumber(log_.Callout_Range(i, 0), "#0.00") : "");
        if (FormControl* c = findControl(*form, "txtCalloutBottom", i))
            c->setText(used ? formatNumber(log_.Callout_Range(i, 1), "#0.00") : "");
        const std::string& caption = calloutDisplay_.text[static_cast<std::size_t>(i)];
        log_.Callout_Caption(i, caption);
        if (FormControl* c = findControl(*form, "txtCalloutCaption", i)) c->setText(caption);
    }
    // The scheme's point indices stand: its ranges are kept to a tenth and would not find them again.
    selectPoint(selectedPoint_);
    status(QStringLiteral("Callout scheme %1 (%2) loaded").arg(scheme).arg(qs(label)));
}

// ---- acquisition

void MainWindow::setInstruments(std::unique_ptr<program::PushRig> instruments) {
    push_.reset();
    reference_.reset();
    instruments_ = std::move(instruments);
    hpForm_->placeInWaterTube = nullptr;
    if (instruments_) {
        program::PushRig& in = *instruments_;
        reference_ =
            std::make_unique<acq::ReferenceControl>(host_, clock_, in.scope(), in.board(), in.depth());
        reference_->Mode = settings_.mode;
        reference_->ShowInfoTab = [this] { tabs_->setCurrentIndex(0); };
        program::ReadReferenceFile(*reference_, in.board(), dataRoot_);
        push_ = std::make_unique<acq::PushControl>(host_, clock_, *reference_, in.scope(), in.board(),
                                                   in.depth(), in.gps(), in.display(), recorder_);
        push_->PointTaken = [this](int n, const acq::PointRecord& p) {
            const qint64 now = QDateTime::currentMSecsSinceEpoch();
            if (auto* live = findChild<QLineEdit*>("txtcomm_Depth"))
                live->setText(qs(formatNumber(p.depth, "#0.00")));
            if (auto* live = findChild<QLineEdit*>("txtcomm_GPS"); live && p.position.valid)
                live->setText(qs(formatNumber(p.position.latitude, "#0.00000") + ", " +
                                 formatNumber(p.position.longitude, "#0.00000")));
            if (auto* live = findChild<QLineEdit*>("txtcomm_EmulatedSteps"))
                live->setText(QString::number(push_->EmulatedSteps()));
            if (auto* live = findChild<QLineEdit*>("txtcomm_PushNumber"))
                live->setText(QString::number(reference_->PushNumber));
            feedback_.point(n, p);
            showPushFeedback();
            if (n == 1 || now - lastLiveRefreshMs_ >= kLiveRefreshMs) {
                lastLiveRefreshMs_ = now;
                selectedPoint_ = arrays_.points() - 1;
                refreshPlot(true);
            }
        };
        push_->DissipationTaken = [this](int slot, const DissipationCurve& c) {
            hpForm_->showDissipation(slot, c, slot >= 0 ? log_.DisPres(slot) : 0.0f,
                                     slot >= 0 ? log_.DisWT(slot) : 0.0f);
        };
        if (in.drivers().PresFlowOpen()) in.presFlow().Monitor();
        hpForm_->setUnit(in.drivers().PresFlowOpen() ? &in.drivers().PresFlow() : nullptr);
        if (in.simulated()) hpForm_->placeInWaterTube = [&in](double feet) { in.placeInWaterTube(feet); };
        if (QLabel* l = findChild<QLabel*>("labelConnection"))
            l->setText(in.simulated() ? "simulators" : "LAN");
        // A push's log takes the receiver's last fix when it ends, and says when its depths were not
        // measured.
        emulatedDepth_ = in.simulated() || in.drivers().Depth().Source() == DepthSource::Emulate;
        cZEL_GPS& gps = in.drivers().Gps();
        log_.setGpsSource([&gps] { return program::GpsFixOf(gps); });
    } else {
        emulatedDepth_ = false;
        log_.setGpsSource({});
    }
    updateActions();
}

bool MainWindow::requireInstruments() {
    if (reference_) return true;
    host_.message("No instruments are open, so acquisition is not available. Start zel with --sim to push "
                  "against the instrument simulators.",
                  MsgButtons::Ok, MsgIcon::Exclamation);
    return false;
}

std::string MainWindow::controlText(const char* form, const char* name) const {
    Form* f = const_cast<QtFormSet&>(forms_).form(form);
    FormControl* c = f ? findControl(*f, name, std::nullopt) : nullptr;
    try {
        return c ? c->text() : std::string();
    } catch (const std::exception&) {
        return {};
    }
}

bool MainWindow::controlChecked(const char* form, const char* name) const {
    Form* f = const_cast<QtFormSet&>(forms_).form(form);
    FormControl* c = f ? findControl(*f, name, std::nullopt) : nullptr;
    try {
        return c && c->checkValue() == 1;
    } catch (const std::exception&) {
        return false;
    }
}

LogInfo MainWindow::infoFromPage() const {
    LogInfo info;
    info.site = controlText(kTab, "txtSite");
    info.client = controlText(kTab, "txtClient");
    info.jobNumber = controlText(kTab, "txtJobNumber");
    info.operatorName = controlText(kTab, "txtOperator");
    info.unit = controlText(kTab, "txtUnit");
    info.note = controlText(kTab, "txtNote");
    info.mode = settings_.model;
    info.version = kVersionText;
    info.timeZone = QDateTime::currentDateTime().timeZoneAbbreviation().toLatin1().toStdString();
    info.metric = controlChecked(kTab, "chkMetric");
    info.emulate = emulatedDepth_;
    return info;
}

program::SettingsModel MainWindow::settingsModel() {
    program::SettingsModel m;
    m.readForms(forms_);
    return m;
}

PointProcessingSetup MainWindow::loadProcessing() {
    // The board's firmware of this session says nothing of the hardware a loaded log was pushed with: a load
    // computes as zel-cli's does.
    return program::LoadProcessing(program::ReadProcessingSetup(settingsModel()), settings_.mode);
}

void MainWindow::applyGateOptions() {
    const program::SettingsModel m = settingsModel();
    program::ConfigureGates(m, *reference_);
    program::ConfigureScope(program::ReadScopeSetup(m, settings_), instruments_->scope(), *reference_);
    program::ConfigureReference(program::DeriveProcessing(settings_.mode, program::ReadProcessingSetup(m), 3,
                                                          reference_->FirmwareVersion),
                                *reference_);
}

// A loaded log's RE as the panel showed it when the log was recorded.
void MainWindow::showLogRE() {
    std::array<float, 4> areas{};
    for (std::size_t i = 0; i < areas.size() && i < ctx_.reAreaCh.size(); ++i)
        areas[i] = ctx_.reAreaCh[i];
    if (ctx_.reAreaCh.empty()) {
        rePanel_->clear();
        return;
    }
    rePanel_->show(acq::MakeREPanel(settings_.mode, areas, ctx_.reRatio), log_.RE_Area(), areas);
}

void MainWindow::showStoredReference() {
    if (reference_ && reference_->HasRE) return;
    const auto re = ReadReReference(dataRoot_, false);
    if (!re) return;
    QString text = QStringLiteral("Last RE %1:").arg(qs(re->time));
    for (std::size_t i = 0; i < re->channels.size(); ++i)
        text += QStringLiteral(" CH%1 %2").arg(i + 1).arg(qs(formatNumber(re->channels[i], "#0.0")));
    if (const auto bg = ReadReReference(dataRoot_, true))
        text += QStringLiteral("; background %1").arg(qs(bg->time));
    rePanel_->showStored(text);
}

// The RE just taken, in the waveform view until the push's first point replaces it.
void MainWindow::showREWave() {
    if (reference_->HdRE) {
        // The board's reference state is four values, one a channel: shown as the push shows its points.
        plot::WaveformView view;
        view.depthUnit = plot_->model().depthUnit();
        for (const std::string& l : settings_.labels)
            view.channelLabels.push_back(l);
        view.valueUnit = "Signal (V)";
        view.title = "Board RE";
        const HdChannels bk = reference_->HdBackground.value_or(HdChannels{});
        wave_->setView(std::move(view), {}, {reference_->HdRE->begin(), reference_->HdRE->end()},
                       {bk.begin(), bk.end()});
        return;
    }
    const cZEL_Waveform& re = reference_->RE();
    plot::WaveformView view;
    view.depthUnit = plot_->model().depthUnit();
    for (const std::string& l : settings_.labels)
        view.channelLabels.push_back(l);
    view.deltaX = reference_->RERaw.deltaX;
    view.boundaries = {re.Cutoff[0], re.Cutoff[1], re.Cutoff[2]};
    view.title = "RE  " + formatNumber(re.RE_Area, "#0") + " pVs";
    wave_->setView(std::move(view), {}, reference_->RERaw.samples, reference_->Background.samples);
}

void MainWindow::showREPanel() {
    if (!reference_ || !reference_->HasRE) {
        rePanel_->clear();
        return;
    }
    if (reference_->HdRE) {
        rePanel_->showBoard(*reference_->HdRE, reference_->HdBackground.value_or(HdChannels{}));
        return;
    }
    const cZEL_Waveform& re = reference_->RE();
    rePanel_->show(reference_->Panel, re.RE_Area,
                   {re.RE_AreaCH[0], re.RE_AreaCH[1], re.RE_AreaCH[2], re.RE_AreaCH[3]});
}

bool MainWindow::acquireReference(int kind) {
    if (pushing_ || !requireInstruments()) return false;
    applyGateOptions();
    host_.setBusy(true);
    const bool ok = reference_->AcquireReference(kind);
    if (ok) program::WriteReferenceFile(kind, *reference_, instruments_->board(), dataRoot_, clock_);
    host_.setBusy(false);
    if (kind == acq::kRE) showREPanel();
    if (ok && kind == acq::kRE) showREWave();
    if (ok) status(kind == acq::kRE ? QStringLiteral("RE taken") : QStringLiteral("Background taken"));
    return ok;
}

bool MainWindow::startPush() {
    if (pushing_ || !requireInstruments()) return false;
    applyGateOptions();
    if (!reference_->HasRE) {
        host_.message("Take an RE first (Acquisition > RE).", MsgButtons::Ok, MsgIcon::Exclamation);
        return false;
    }
    if (naming_.family() == LogFamily::Colour) {
        host_.message("Colour mode has no push in this program.", MsgButtons::Ok, MsgIcon::Exclamation);
        return false;
    }
    std::string proposed = naming_.Proposal(controlText(kTab, "txtLogName"));
    std::optional<std::string> autoFolder;
    if (controlChecked(kTab, "chkGPSNaming")) {
        // Named where the probe stands and when: the folder is asked once a session.
        if (gpsFolder_.empty())
            if (const auto folder = chooseGpsNamingFolder(options_->InitDir, host_)) gpsFolder_ = *folder;
        if (gpsFolder_.empty()) return false;
        const cZEL_GPS& gps = instruments_->drivers().Gps();
        proposed = gpsLogName(gps.Latitude_Dec, gps.Longitude_Dec, clock_.now());
        autoFolder = gpsFolder_;
    } else if (controlChecked(kTab, "chkAutoName")) {
        std::string folder(trimBlanks(controlText(kTab, "txtLogFolder")));
        if (folder.empty()) folder = options_->InitDir.empty() ? dataRoot_ : options_->InitDir;
        std::error_code ec;
        std::filesystem::create_directories(folder, ec);
        autoFolder = folder;
    }
    const std::optional<std::string> path =
        chooseLogPath(proposed, naming_.family(), autoFolder, options_->InitDir, host_);
    if (!path) return false;
    // A new log named for recording: its folder and name are where the next session starts.
    options_->SaveInitDir(std::filesystem::path(absolutePath(*path)).parent_path().string());
    options_->SaveInitFile(*path);

    const program::SettingsModel m = settingsModel();
    program::PushSetup setup = program::ReadPushSetup(m);
    setup.timed = timedRequested_;
    setup.continuous = push_->Settings.continuous;
    instruments_->setMetric(setup.metric);
    program::ConfigurePush(setup,
                           program::DeriveProcessing(settings_.mode, program::ReadProcessingSetup(m),
                                                     reference_->RE().ChannelCount,
                                                     reference_->FirmwareVersion),
                           push_->Settings, instruments_->depth());

    log_.Clear();
    // A log loaded before keeps its own flags until here: the push records no pressure/flow lists, so it must
    // not claim them (a reload would show empty HP columns).
    log_.PresFlow(false);
    log_.TimeMode(setup.timed);
    ctx_ = {};
    // A stored baseline taken from a loaded log is used for every further push while the option is on, and
    // goes into the push's log.
    if (controlChecked(kWaveMath, program::control::kBaseline) && !baseline_.empty())
        arrays_.baseline = baseline_;
    recorder_.current = std::make_unique<acq::LogRecorder>(host_, clock_, log_, arrays_, forms_, *path,
                                                           dataRoot_, naming_.family());
    recorder_.current->Context.baselineInUse =
        controlChecked(kWaveMath, program::control::kBaseline) && !baseline_.empty();
    program::ConfigureHydraulics(setup, referenceTests_, instruments_->presFlow(), *push_, *recorder_.current,
                                 host_);
    hpForm_->setPushing(push_->LogsPresFlow());
    program::PrepareConductivity(instruments_->board(), instruments_->drivers().Depth(), *recorder_.current);
    program::PrepareHdRecording(instruments_->board(), *recorder_.current);
    program::RecordConductivityCalibration(instruments_->drivers().Config, log_, recorder_.current->Context);
    selectedPoint_ = -1;
    pushing_ = true;
    paused_ = false;
    updateActions();
    status(QStringLiteral("Push starting: %1").arg(qpath(*path)));
    std::string logName = std::filesystem::path(*path).filename().string();
    for (const char* ext : {".lif.raw.bin", ".o2.raw.bin", ".clr.raw.bin"})
        if (logName.ends_with(ext)) logName.resize(logName.size() - std::string_view(ext).size());
    feedback_.start(logName, setup.metric);
    // The clock goes on between points (the start delay, a pause): the read-out follows it.
    QTimer ticker;
    connect(&ticker, &QTimer::timeout, this, [this] { showPushFeedback(); });
    ticker.start(1000);
    const bool started = push_->StartPush();
    ticker.stop();
    hpForm_->setPushing(false);
    pointValues_ = started;
    pushing_ = false;
    refreshPlot(true);
    showLogInfo();
    updateActions();
    const std::string raw = recorder_.current->Files().rawLog;
    if (started && !raw.empty()) {
        naming_.Recorded(raw);
        addRecent(raw);
        status(QStringLiteral("Push recorded: %1 points in %2").arg(push_->Points()).arg(qs(raw)));
        const acq::RecordedFiles& files = recorder_.current->Files();
        if (controlChecked(kFTP, transfer_control::kCopyAfterPush)) {
            const std::string folder(trimBlanks(controlText(kFTP, transfer_control::kFolder)));
            if (folder.empty())
                host_.message("Choose the folder the pushes are copied to (Transfer page).", MsgButtons::Ok,
                              MsgIcon::Exclamation, "Transfer");
            else
                CopyPushFiles(files, folder, host_);
        }
        if (!closeAfterPush_ && controlChecked(kGeneric, general_control::kPushSummary))
            showPushSummary(files);
    } else if (!started) {
        status(QStringLiteral("The push was not started"));
    }
    if (closeAfterPush_) close();
    return started && !raw.empty();
}

void MainWindow::showPushFeedback() {
    if (!pushing_ || !feedback_.started()) return;
    PushStates states;
    if (push_) {
        states.continuous = push_->Settings.continuous;
        states.timed = push_->Settings.timed;
    }
    states.paused = paused_;
    const QString line = qs(feedback_.statusLine(states));
    statusLabel_->setText(line);
    setWindowTitle(qs(feedback_.title()));
}

void MainWindow::showPushSummary(const acq::RecordedFiles& files) {
    const std::string text = feedback_.summary(files) + "\r\n\r\nOpen the folder?";
    if (host_.message(text, MsgButtons::YesNo, MsgIcon::Information, "Push recorded") == MsgResult::Yes &&
        openFolder)
        openFolder(std::filesystem::path(files.rawLog).parent_path().string());
}

void MainWindow::openHdForm() {
    if (!requireInstruments()) return;
    HdForm form(instruments_->drivers().HdBoard(), host_, this);
    form.exec();
}

void MainWindow::openCondCalForm() {
    if (!requireInstruments()) return;
    FieldInstruments& drivers = instruments_->drivers();
    const auto input = program::ConductivityInput(drivers, settings_.hd);
    if (input == program::CondInput::None) {
        host_.message(program::kNoCondInput);
        return;
    }
    CondCalForm form(drivers, input, host_, clock_, optionsFilePath(dataRoot_), this);
    if (instruments_->simulated()) form.putProbeIn = [this](float ms) { instruments_->placeInSolution(ms); };
    // The Comm page's boxes take the calibration, so the options saved at exit keep it.
    form.kept = [this](const cond_cal::Calibration&) {
        Form* comm = forms_.form("frmComm");
        if (!comm) return;
        const FieldConfig& cfg = instruments_->drivers().Config;
        const auto put = [comm](const std::string& name, float v) {
            if (FormControl* c = findControl(*comm, name, std::nullopt)) c->setText(shortestText(v));
        };
        put(comm_control::kCondOffset, cfg.condOffset);
        put(comm_control::kCondConstant, cfg.condConstant);
        put(comm_control::kCondConstant2, cfg.condConstant2);
        for (int i = 0; i < 4; ++i)
            put(condVoltsControl(i), cfg.condVolts[static_cast<std::size_t>(i)]);
    };
    form.exec();
    if (instruments_->simulated()) instruments_->placeInSolution(std::nullopt);
}

void MainWindow::pausePush() {
    if (!pushing_) return;
    // The pause lasts as long as its message is open.
    paused_ = true;
    showPushFeedback();
    push_->PausePush();
    paused_ = false;
    showPushFeedback();
}

void MainWindow::stopPush() {
    if (pushing_) push_->RequestStop();
}

void MainWindow::setContinuous(bool on) {
    if (!push_) return;
    push_->SetContinuous(on);
    if (QAction* a = action("mnuAcq_Continuous")) a->setChecked(push_->Settings.continuous);
}

void MainWindow::toggleTimed() {
    if (!push_) return;
    QAction* button = action("mnuAcq_Timed");
    if (!pushing_) {
        // Idle: the button starts a timed push and is its stop while it runs.
        timedRequested_ = true;
        if (button) button->setText(QStringLiteral("STOP"));
        startPush();
        timedRequested_ = false;
        push_->Settings.timed = false;
        if (button) button->setText(QStringLiteral("Continuous Wave Acq."));
        return;
    }
    const std::string caption = push_->ToggleTimed();
    // Switched on during a push: the depth from here on advances by time.
    if (push_->Settings.timed)
        instruments_->depth().SetRatePerMinute(acq::ClampInterval(push_->Settings.intervalSetting) / 60.0);
    if (button) button->setText(qs(caption));
}

void MainWindow::recoverReference() {
    if (pushing_ || !requireInstruments()) return;
    applyGateOptions();
    reference_->RecoverReference();
    showREPanel();
}

void MainWindow::rescueReference() {
    if (pushing_ || !requireInstruments()) return;
    applyGateOptions();
    reference_->RescueReference(true);
    showREPanel();
}

void MainWindow::recoverFromTempFile() {
    if (pushing_) return;
    FileDialogRequest r;
    r.title = "Recover push from temporary file...";
    r.filter = "Temporary point file|*.lif.raw.bin.temp";
    r.initialDir = options_->InitDir;
    const auto temp = host_.openFileDialog(r);
    if (!temp) return;
    r.title = "Raw log of the same set-up (for the header)...";
    r.filter = "Raw Data|*.lif.raw.bin";
    r.initialDir = std::filesystem::path(temp->path).parent_path().string();
    const auto header = host_.openFileDialog(r);
    if (!header) return;
    const RecoveryResult result =
        RecoverFromTempFile(temp->path, header->path, log_, arrays_, ctx_, host_, loadProcessing());
    // Recovery loads what it wrote: the points' values are recomputed when the header log had an RE.
    pointValues_ = result.ok && !arrays_.re.samples.empty();
    if (!result.ok) {
        refreshPlot(false);
        return;
    }
    WriteRunLog(dataRoot_, log_, clock_, false);
    addRecent(result.recoveredPath);
    refreshPlot(false);
    showLogInfo();
    updateActions();
    status(QStringLiteral("Recovered %1 points into %2").arg(result.points).arg(qpath(result.recoveredPath)));
}

// ---- help

void MainWindow::resetOptions() {
    options_->ResetOptionsFile();
}

void MainWindow::about() {
    host_.message("ZEL\r\n" + versionText() +
                      "\r\nField and office program of the direct-push laser-induced-fluorescence logging "
                      "system.",
                  MsgButtons::Ok, MsgIcon::Information, "About ZEL");
}

void MainWindow::closeEvent(QCloseEvent* e) {
    if (pushing_) {
        // The push saves its log before the window goes: stop it and close once it is written.
        closeAfterPush_ = true;
        push_->RequestStop();
        e->ignore();
        return;
    }
    // One replacement of the options file for everything the exit keeps.
    if (!options_->OptionsFileWasReset()) ensureParentFolder(options_->path());
    ini::FileBatch batch(options_->path());
    options_->SaveOptions();
    saveRecent();
    if (!options_->OptionsFileWasReset()) {
        cInifile ini;
        ini.Path = options_->path();
        ini.Section = kPositionSection;
        ini.SaveFormPosition(QtForm({this}, "frmMain"));
    }
    e->accept();
}

} // namespace zel::gui
