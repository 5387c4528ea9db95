#pragma once
// frmCondCal: the conductivity calibration at the rig. The operator stands the probe in each standard
// solution and presses its button; the live voltage of the conductivity input is averaged and shown. Once
// the four are read, "Fit and keep" fits the curve, puts it into the running depth driver (the pushes
// from now on convert with it) and into the set-up: the options file now, and the Comm page's boxes so the
// save at exit keeps it.

#include "common/clock.h"
#include "common/host.h"
#include "instruments/field/field_instruments.h"
#include "program/cond_calibration.h"

#include <QDialog>

#include <array>
#include <functional>
#include <optional>

class QLabel;
class QPushButton;
class QTimer;

namespace zel::gui {

class CondCalForm final : public QDialog {
public:
    CondCalForm(FieldInstruments& instruments, program::CondInput input, Host& host, const Clock& clock,
                std::string optionsPath, QWidget* parent = nullptr);

    // Told which solution the probe goes into before each reading: the simulated rig's operator puts it
    // there. Unset at a real rig, where the operator does.
    std::function<void(float ms)> putProbeIn;
    // Called with the calibration once it is kept (the window puts it into the Comm page's boxes).
    std::function<void(const cond_cal::Calibration&)> kept;
    // How each reading is taken (the tests shorten the settling).
    program::CondReading reading;

    // The buttons' handlers, public so the tests press them as the operator does.
    void readSolution(int i);
    bool fitAndKeep();

    const std::array<std::optional<float>, cond_cal::kSolutions>& volts() const { return volts_; }
    QString resultText() const;

private:
    void showLive();

    FieldInstruments& in_;
    program::CondInput input_;
    Host& host_;
    const Clock& clock_;
    std::string optionsPath_;
    std::array<std::optional<float>, cond_cal::kSolutions> volts_{};
    std::array<QLabel*, cond_cal::kSolutions> voltLabels_{};
    QLabel* live_;
    QLabel* result_;
    QPushButton* fit_;
    QTimer* liveTimer_;
};

} // namespace zel::gui
