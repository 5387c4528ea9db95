#pragma once
// frmHD: the network data board's commands by hand. Every command goes to the board's driver as typed; the
// high-voltage button switches the detector between 0 and 600 V; the integrations check refuses a setting
// the board cannot average. With no board connected the driver sends nothing, and the status says so.

#include "common/host.h"
#include "instruments/hd_board/hd.h"

#include <QDialog>

class QLabel;
class QPushButton;
class QSpinBox;

namespace zel::gui {

class HdForm final : public QDialog {
public:
    HdForm(clsHD& board, Host& host, QWidget* parent = nullptr);

    // The buttons' handlers, public so the tests press them as the operator does.
    void stop();
    void setDataSelect();
    void setIntegrations();
    void setSampleInterval();
    void setIntegrationTime();
    void status();
    void clearCounter();
    void toggleHighVoltage();

    QSpinBox* dataSelect() const { return ds_; }
    QSpinBox* integrations() const { return icf_; }
    QSpinBox* overSampling() const { return overSampling_; }
    QSpinBox* sampleInterval() const { return sampleInterval_; }
    QSpinBox* integrationTime() const { return intTime_; }
    QPushButton* highVoltage() const { return hv_; }
    QString statusText() const;

private:
    void showSent(const QString& what);

    clsHD& board_;
    Host& host_;
    QSpinBox* ds_;
    QSpinBox* icf_;
    QSpinBox* overSampling_;
    QSpinBox* sampleInterval_;
    QSpinBox* intTime_;
    QPushButton* hv_;
    QLabel* status_;
};

} // namespace zel::gui
