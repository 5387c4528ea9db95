#pragma once
// The main window: the log plot with the waveform of the selected depth and the RE panel, the setup pages
// (information, setup, communications, advanced options, hydraulic profiling, callouts) whose controls
// persist through the options file by their names, and the File, Acquisition and Help menus.
//
// Every message goes through the Host it is given, so the tests read and answer them. The menu handlers are
// public: the tests call them as the menus do.

#include "acquisition/log_recorder.h"
#include "acquisition/push.h"
#include "acquisition/reference.h"
#include "app/zel/hp_form.h"
#include "app/zel/plot_widgets.h"
#include "app/zel/push_feedback.h"
#include "app/zel/qt_form.h"
#include "common/clock.h"
#include "common/host.h"
#include "log/load_file.h"
#include "log/log_arrays.h"
#include "log/log_data.h"
#include "log/plot_companion.h"
#include "program/field_rig.h"
#include "program/session_naming.h"
#include "program/settings_model.h"
#include "settings/options.h"
#include "settings/presets.h"
#include "settings/startup/startup_settings.h"

#include <QMainWindow>

#include <functional>

#include <memory>
#include <string>
#include <vector>

class QAction;
class QLabel;
class QMenu;
class QTabWidget;

namespace zel::gui {

// The push's recorder changes from push to push; the push control keeps this one.
class RecorderSlot final : public acq::PushRecorder {
public:
    std::unique_ptr<acq::LogRecorder> current;
    bool Begin(const acq::ReferenceControl& r, float firstDepth, int depthMode) override {
        return current && current->Begin(r, firstDepth, depthMode);
    }
    bool Append(const acq::PointRecord& p) override { return current && current->Append(p); }
    void Finish() override {
        if (current) current->Finish();
    }
    int AddDissipation(DissipationCurve curve) override {
        return current ? current->AddDissipation(std::move(curve)) : -1;
    }
};

class MainWindow final : public QMainWindow {
public:
    static constexpr int kMaxRecent = 8;

    // dataRoot: where the options file, the presets and the run log live.
    MainWindow(Host& host, const Clock& clock, StartupSettings settings, std::string dataRoot);
    ~MainWindow() override;

    // The instruments a push runs against; without them the acquisition entries say so and do nothing.
    void setInstruments(std::unique_ptr<program::PushRig> instruments);
    // The post-load step: the command line's mode, look and pressure/flow box on the setup page.
    void applyStartupSettings(const StartupSettings& settings);
    // File mode: no instrument, no acquisition menu.
    void hideAcquisition();
    // The second, full restore of the options (the first ran on the splash), then the recent logs.
    void restoreOptions();
    // At start without a log to open: the most recent log, when the General page asks for it.
    void openLastLogIfChosen();
    Options& options() { return *options_; }
    QtFormSet& forms() { return forms_; }

    // File menu.
    bool loadLog(const std::string& path); // empty: the load dialog
    void exportDataText();
    void exportWaveText();
    // The Info page's texts written into the loaded log: the file written again whole, its run-log entry
    // replaced. False when there is no log, the user cancelled or the save failed.
    bool saveLogInformation();
    bool writeLogPage(const std::string& path, bool pdf);
    void logPageDialog(bool pdf);
    void savePreset();
    void loadPreset(const std::string& name);
    void deletePreset(const std::string& name);
    void exportPresetText(const std::string& name);
    void importPresetText();
    std::vector<std::string> recentLogs() const { return recent_; }

    // Acquisition menu.
    bool acquireReference(int kind);
    bool startPush();
    void pausePush();
    // The data board's dialog (frmHD), modal.
    void openHdForm();
    // Acquisition > Conductivity calibration: frmCondCal on the opened instruments.
    void openCondCalForm();
    // The Wave math page's export: the waveform shown, as waveform mathematics text.
    void exportWaveMath();
    void stopPush();
    void setContinuous(bool on);
    void toggleTimed();
    void recoverReference();
    void rescueReference();
    void recoverFromTempFile();
    bool pushing() const { return pushing_; }
    acq::ReferenceControl* reference() { return reference_.get(); }
    acq::PushControl* push() { return push_.get(); }

    // Opens a folder in the desktop's file manager (the push summary's answer); tests replace it.
    std::function<void(const std::string& folder)> openFolder;

    // Help menu.
    void resetOptions();
    void about();

    // Callouts: the slots from the callout page's ranges, then a scheme saved to or read from the companion.
    void applyCallouts();
    void saveCalloutScheme();
    void loadCalloutScheme(int scheme);

    // The plot from the log and the current plot settings; keepWindow keeps the user's zoom.
    void refreshPlot(bool keepWindow);
    void selectPoint(int point);

    const cZEL_Data& log() const { return log_; }
    const LogArrays& arrays() const { return arrays_; }
    DepthPlotWidget& depthPlot() { return *plot_; }
    WaveformWidget& waveform() { return *wave_; }
    REPanelWidget& rePanel() { return *rePanel_; }
    QAction* action(const QString& objectName) const;
    QString statusText() const;
    // The values at the pointer's depth, as the status bar shows them while the pointer is over the plot.
    QString hoverText() const;

protected:
    void closeEvent(QCloseEvent* e) override;

private:
    void buildPages();
    // Another probe chosen on the setup page: its mode, look and gates for this session.
    void probeChosen(int mode);
    void buildMenus();
    void updateActions();
    // The mode's caption, fill colour, banner and RE scale caption on the setup page.
    void applyModeLook();
    void rebuildRecentMenu();
    void rebuildPresetMenus();
    void addRecent(const std::string& given);
    void loadRecent();
    void saveRecent();
    void showLogInfo();
    // The loaded log's texts on the Info page.
    void showLogTexts();
    void showREPanel();
    void showREWave();
    // Before the session's first RE: the last one the reference file keeps.
    void showStoredReference();
    void showLogRE();
    // The RE's gates and processing (layout, options) from the set-up as it stands.
    void applyGateOptions();
    program::SettingsModel settingsModel();
    // What a load recomputes its points with: each log's own mode, the set-up's options.
    PointProcessingSetup loadProcessing();
    LogInfo infoFromPage() const;
    std::string controlText(const char* form, const char* name) const;
    bool controlChecked(const char* form, const char* name) const;
    bool requireInstruments();
    bool requireLog(bool withPoints);
    void status(const QString& text);
    // The push's read-out in the status bar and the title, and the summary once it is recorded.
    void showPushFeedback();
    void showPushSummary(const acq::RecordedFiles& files);

    Host& host_;
    const Clock& clock_;
    StartupSettings settings_;
    std::string dataRoot_;

    cZEL_Data log_;
    LogArrays arrays_;
    RawLogContext ctx_;
    LoadSession session_;
    PlotWindows plotWindows_;
    CalloutDisplay calloutDisplay_;
    int selectedPoint_ = -1;

    QtFormSet forms_;
    std::unique_ptr<Options> options_;
    std::unique_ptr<Presets> presets_;
    std::vector<std::string> recent_;

    std::unique_ptr<program::PushRig> instruments_;
    std::unique_ptr<acq::ReferenceControl> reference_;
    RecorderSlot recorder_;
    ReferenceTests referenceTests_;
    HpForm* hpForm_ = nullptr;
    std::unique_ptr<acq::PushControl> push_;
    bool pushing_ = false;
    bool closeAfterPush_ = false;
    // The log in view has its points' %RE and channel values (a push's, or recomputed by the load).
    bool pointValues_ = false;
    // The timed acquisition command started the push under way.
    bool timedRequested_ = false;
    // The depths of the instruments in use are emulated (the simulated rig, or the emulation source).
    bool emulatedDepth_ = false;
    bool paused_ = false;
    // The stored baseline taken from a loaded log, for further pushes.
    std::vector<float> baseline_;
    // Where GPS-named logs go, asked once a session.
    std::string gpsFolder_;
    PushFeedback feedback_{clock_};
    qint64 lastLiveRefreshMs_ = 0;
    program::SessionNaming naming_{NamingMode::Lif, LogFamily::Lif};

    DepthPlotWidget* plot_ = nullptr;
    WaveformWidget* wave_ = nullptr;
    REPanelWidget* rePanel_ = nullptr;
    QTabWidget* tabs_ = nullptr;
    QWidget* infoPage_ = nullptr;
    QLabel* statusLabel_ = nullptr;
    QLabel* hoverLabel_ = nullptr;
    QMenu* acquisitionMenu_ = nullptr;
    QMenu* recentMenu_ = nullptr;
    QMenu* presetLoadMenu_ = nullptr;
    QMenu* presetDeleteMenu_ = nullptr;
    QMenu* presetExportMenu_ = nullptr;
};

} // namespace zel::gui
