#include "app/zel/hd_form.h"

#include <QFormLayout>
#include <QGridLayout>
#include <QLabel>
#include <QPushButton>
#include <QSpinBox>
#include <QVBoxLayout>

namespace zel::gui {

namespace {

QSpinBox* spin(QWidget* parent, const char* name, int low, int high, int value) {
    auto* s = new QSpinBox(parent);
    s->setObjectName(QString::fromLatin1(name));
    s->setRange(low, high);
    s->setValue(value);
    return s;
}

} // namespace

HdForm::HdForm(clsHD& board, Host& host, QWidget* parent) : QDialog(parent), board_(board), host_(host) {
    setObjectName("frmHD");
    setWindowTitle("HD Board");
    // The driver clamps what it sends; the boxes let the operator type what the board would refuse, so the
    // clamps are what he sees applied.
    ds_ = spin(this, "txtDataSelect", 0, 65535, board.DataSelect());
    icf_ = spin(this, "txtICF", 1, 65535, 16);
    overSampling_ = spin(this, "txtOverSampling", 1, 65535, 16);
    sampleInterval_ = spin(this, "txtSampleInterval", 0, 1000000, 250);
    intTime_ = spin(this, "txtIntTime", 0, 65535, board.IntegrationTime());

    auto* grid = new QGridLayout;
    int row = 0;
    const auto line = [&](const char* label, QWidget* field, const char* button, const char* caption,
                          void (HdForm::*handler)()) {
        grid->addWidget(new QLabel(QString::fromLatin1(label), this), row, 0);
        if (field) grid->addWidget(field, row, 1);
        auto* b = new QPushButton(QString::fromLatin1(caption), this);
        b->setObjectName(QString::fromLatin1(button));
        connect(b, &QPushButton::clicked, this, handler);
        grid->addWidget(b, row, 2);
        ++row;
        return b;
    };
    line("Data select (mask)", ds_, "cmdSetDS", "Set", &HdForm::setDataSelect);
    auto* icfRow = new QWidget(this);
    auto* icfLayout = new QFormLayout(icfRow);
    icfLayout->setContentsMargins(0, 0, 0, 0);
    icfLayout->addRow("Integrations per cycle", icf_);
    icfLayout->addRow("Oversampling points", overSampling_);
    line("", icfRow, "cmdSetICF", "Set", &HdForm::setIntegrations);
    line("Sample interval", sampleInterval_, "cmdSampleInterval", "Set", &HdForm::setSampleInterval);
    line("Integration time", intTime_, "cmdIntTime", "Set", &HdForm::setIntegrationTime);
    line("Status", nullptr, "cmdStat", "Read", &HdForm::status);
    line("Counter", nullptr, "cmdClearCounter", "Clear", &HdForm::clearCounter);
    line("Records", nullptr, "cmdStop", "Stop", &HdForm::stop);
    hv_ = line("Detector", nullptr, "cmdHV", "", &HdForm::toggleHighVoltage);
    hv_->setText(QString::fromStdString(board.HV_Caption()));

    status_ = new QLabel(this);
    status_->setObjectName("lblHDStatus");
    status_->setWordWrap(true);
    auto* layout = new QVBoxLayout(this);
    layout->addLayout(grid);
    layout->addWidget(status_);
    status_->setText(board.Connected() ? "Connected" : "The data board is not connected: nothing is sent.");
}

QString HdForm::statusText() const {
    return status_->text();
}

void HdForm::showSent(const QString& what) {
    status_->setText(board_.Connected() ? what : "The data board is not connected: nothing is sent.");
}

void HdForm::stop() {
    board_.Stop();
    showSent("Stop sent");
}

void HdForm::setDataSelect() {
    board_.SetDS(ds_->value());
    ds_->setValue(board_.DataSelect());
    showSent(QStringLiteral("SetDS %1 sent").arg(board_.DataSelect()));
}

void HdForm::setIntegrations() {
    if (!board_.CheckICF(icf_->value(), overSampling_->value())) return;
    board_.SetICF(icf_->value());
    showSent(QStringLiteral("SetICF %1 sent").arg(icf_->value()));
}

void HdForm::setSampleInterval() {
    board_.SampleInterval(sampleInterval_->value());
    showSent(QStringLiteral("SampleInterval %1 sent").arg(sampleInterval_->value()));
}

void HdForm::setIntegrationTime() {
    board_.IntTime(intTime_->value());
    intTime_->setValue(board_.IntegrationTime());
    showSent(QStringLiteral("IntTime %1 sent").arg(board_.IntegrationTime()));
}

void HdForm::status() {
    if (!board_.Connected()) {
        showSent({});
        return;
    }
    if (!board_.Stat(0) || !board_.LastStatus()) {
        status_->setText("The data board did not answer the status request.");
        return;
    }
    const hd_protocol::Status& s = *board_.LastStatus();
    status_->setText(
        QStringLiteral("Firmware %1.%2.%3, data select %4, integration time %5, integrations per "
                       "cycle %6, sample interval %7, counter %8")
            .arg(s.firmwareMajor)
            .arg(s.firmwareMinor)
            .arg(s.firmwarePatch)
            .arg(s.mask)
            .arg(s.intTime)
            .arg(s.icf)
            .arg(s.sampleInterval)
            .arg(s.counter));
}

void HdForm::clearCounter() {
    board_.ClearCounter();
    showSent("ClearCounter sent");
}

void HdForm::toggleHighVoltage() {
    hv_->setText(QString::fromStdString(board_.HV_Toggle()));
    showSent(hv_->text() == "HV Off" ? "Detector at 600 V" : "Detector off");
}

} // namespace zel::gui
