#pragma once
// The dissipation window: the dissipation tests of the log in view. It lists them (depth, static pressure,
// water table, included), draws the selected test's curve against time and against the square root of time,
// and lets the analyst include or exclude each test and edit its static pressure. Every edit recomputes the
// test's water table and the whole log's K estimate at once; Save keeps the edits in the log (the raw log's
// DATA_INFO and the companion's "Dissipation" section).

#include "analysis/dissipation.h"
#include "common/host.h"
#include "log/log_arrays.h"
#include "log/log_data.h"
#include "log/raw_log_format.h"

#include <QDialog>

#include <functional>
#include <vector>

class QTableWidget;

namespace zel::gui {

class DissipationWindow final : public QDialog {
public:
    DissipationWindow(Host& host, cZEL_Data& log, LogArrays& arrays, const RawLogContext& context,
                      QWidget* parent = nullptr);
    // After every edit, once the K estimate has been computed again (the plot is redrawn from it).
    std::function<void()> changed;

    // The edits, as the table's cells make them; also the tests' entry points.
    void setIncluded(int slot, bool included);
    // False for a pressure that is not a number of PSI.
    bool setStaticPressure(int slot, double psi);
    bool save();

private:
    void fill();
    void recompute();
    void showCurve(int row);

    Host& host_;
    cZEL_Data& log_;
    LogArrays& arrays_;
    const RawLogContext& context_;
    std::vector<int> slots_; // the table's rows
    std::vector<DissipationCurve> curves_;
    QTableWidget* table_;
    QWidget* curveView_;
    int shown_ = -1;
    bool filling_ = false;
};

} // namespace zel::gui
