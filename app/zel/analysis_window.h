#pragma once
// The analysis window: the waveform analyses of the loaded log, as zel-cli runs them. Decay times of every
// point, the fit of every point to a basis library, the classification of the points from the analyst's
// seeds, and the callout bands fitted for both. Each result is written beside the raw log as the console
// tool writes it and read back into the log, so the plot's tracks show it at once and the next load finds
// it; what each run found is listed in the window.

#include "common/host.h"
#include "log/load_file.h"

#include <QDialog>

#include <array>
#include <functional>
#include <string>

class QComboBox;
class QLineEdit;
class QPlainTextEdit;

namespace zel::gui {

class AnalysisWindow final : public QDialog {
public:
    // onFitsChanged: the fits beside the log were read into it again (the plot is to be rebuilt).
    AnalysisWindow(LoadedLog target, std::array<std::string, 4> labels, Host& host,
                   std::function<void()> onFitsChanged, QWidget* parent = nullptr);

    // The buttons' handlers, public so the tests press them as the analyst does. Each returns false when it
    // was refused (the reason went to the host).
    bool fitDecayTimes();
    bool fitBases();
    bool classifyPoints();
    bool fitCallouts();
    void chooseLibrary();

    QLineEdit* library() const { return library_; }
    QLineEdit* seeds() const { return seeds_; }
    QComboBox* feature() const { return feature_; }
    QLineEdit* floor() const { return floor_; }
    std::string results() const;

private:
    bool haveLog();
    bool write(const std::string& path, const std::string& text);
    void fitsWritten();
    void say(const std::string& text);

    LoadedLog target_;
    std::array<std::string, 4> labels_;
    Host& host_;
    std::function<void()> onFitsChanged_;
    QLineEdit* library_;
    QLineEdit* seeds_;
    QComboBox* feature_;
    QLineEdit* floor_;
    QPlainTextEdit* results_;
};

} // namespace zel::gui
