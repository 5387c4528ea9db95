#pragma once
// The "HP tests" page: hydraulic profiling at the rig. It shows the live averaged downward pressure of the
// pressure/flow unit, takes the 1 ft and 0 ft reference tests from it, and during a push asks for a
// dissipation test at the depth where the rods are stopped.

#include "analysis/dissipation.h"
#include "analysis/k_estimate.h"
#include "common/clock.h"
#include "common/host.h"
#include "instruments/presflow/presflow.h"

#include <QTimer>
#include <QWidget>

#include <functional>

class QLabel;
class QLineEdit;
class QPushButton;

namespace zel::gui {

class HpForm final : public QWidget {
public:
    HpForm(Host& host, const Clock& clock, ReferenceTests& tests, QWidget* parent = nullptr);

    // The unit of the opened instruments; none in the office.
    void setUnit(cZEL_PresFlow* unit);
    // The dissipation command is live only while a push logs pressure and flow.
    void setPushing(bool pushingWithPresFlow);
    // Asked with the test's longest time in seconds.
    std::function<void(double seconds)> requestDissipation;
    // Set on a simulated rig: its operator puts the probe in the water tube (feet under water) before a
    // reference test reads it, as the crew does by hand on a real one.
    std::function<void(double feetUnderWater)> placeInWaterTube;
    // A test the push took, shown under the command.
    void showDissipation(int slot, const DissipationCurve& curve, float staticPsi, float waterTableFt);

private:
    void refreshReading();
    void take(bool oneFoot);

    Host& host_;
    const Clock& clock_;
    ReferenceTests& tests_;
    cZEL_PresFlow* unit_ = nullptr;
    QTimer timer_;
    QLineEdit* reading_;
    QLabel* oneFoot_;
    QLabel* zeroFoot_;
    QLineEdit* seconds_;
    QPushButton* dissipation_;
    QLabel* dissipations_;
};

} // namespace zel::gui
