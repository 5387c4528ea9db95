#include "app/zel/hp_form.h"

#include "app/plot/qt_text.h"
#include "common/number_text.h"
#include "program/hydraulic.h"

#include <QFormLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>

namespace zel::gui {

namespace {
constexpr int kRefreshMs = 500;
constexpr double kDefaultDissipationS = 120.0;
} // namespace

HpForm::HpForm(Host& host, const Clock& clock, ReferenceTests& tests, QWidget* parent)
    : QWidget(parent), host_(host), clock_(clock), tests_(tests) {
    auto* form = new QFormLayout(this);
    // "txtcomm_": a live read-out, never kept in the options file.
    reading_ = new QLineEdit;
    reading_->setObjectName("txtcomm_PresDownAvg");
    reading_->setReadOnly(true);
    form->addRow("Downward pressure, averaged (PSI)", reading_);
    auto* one = new QPushButton("1 ft test");
    one->setObjectName("cmdHPT1ft");
    auto* zero = new QPushButton("0 ft test");
    zero->setObjectName("cmdHPT0ft");
    oneFoot_ = new QLabel;
    oneFoot_->setObjectName("lblHPT1ft");
    zeroFoot_ = new QLabel;
    zeroFoot_->setObjectName("lblHPT0ft");
    form->addRow(one, oneFoot_);
    form->addRow(zero, zeroFoot_);
    connect(one, &QPushButton::clicked, this, [this] { take(true); });
    connect(zero, &QPushButton::clicked, this, [this] { take(false); });

    seconds_ = new QLineEdit(QString::number(kDefaultDissipationS));
    seconds_->setObjectName("txtDissipationSeconds");
    form->addRow("Dissipation test, longest (s)", seconds_);
    dissipation_ = new QPushButton("Dissipation test");
    dissipation_->setObjectName("cmdDissipation");
    dissipation_->setEnabled(false);
    dissipation_->setToolTip("Stop the rods, then press: the injection stops and the pressure is recorded "
                             "until it levels.");
    form->addRow(dissipation_);
    dissipations_ = new QLabel;
    dissipations_->setObjectName("lblDissipations");
    form->addRow(dissipations_);
    connect(dissipation_, &QPushButton::clicked, this, [this] {
        const auto seconds =
            program::ParseDissipationRequest("0:" + seconds_->text().trimmed().toStdString());
        if (!seconds) {
            host_.message("Enter the dissipation test's longest time, 10 to 3600 seconds.", MsgButtons::Ok,
                          MsgIcon::Exclamation);
            return;
        }
        if (requestDissipation) requestDissipation(seconds->seconds);
    });

    timer_.setInterval(kRefreshMs);
    connect(&timer_, &QTimer::timeout, this, [this] { refreshReading(); });
}

void HpForm::setUnit(cZEL_PresFlow* unit) {
    unit_ = unit;
    if (unit_)
        timer_.start();
    else
        timer_.stop();
    refreshReading();
}

void HpForm::setPushing(bool pushingWithPresFlow) {
    dissipation_->setEnabled(pushingWithPresFlow);
    if (pushingWithPresFlow) dissipations_->clear();
}

void HpForm::refreshReading() {
    if (unit_ && unit_->Answering() && unit_->Readings > 0)
        reading_->setText(toQt(formatNumber(unit_->AveragePresDown(), "#0.000")));
    else
        reading_->setText(unit_ ? "not answering" : "");
}

void HpForm::take(bool oneFoot) {
    if (!unit_) {
        host_.message("The pressure/flow unit is not connected.", MsgButtons::Ok, MsgIcon::Exclamation);
        return;
    }
    const auto kind = oneFoot ? program::ReferenceTestKind::OneFoot : program::ReferenceTestKind::ZeroFoot;
    if (placeInWaterTube) placeInWaterTube(oneFoot ? 1.0 : 0.0);
    if (const auto shown = program::TakeLiveReferenceTest(kind, tests_, *unit_, host_, clock_))
        (oneFoot ? oneFoot_ : zeroFoot_)->setText(toQt(*shown));
}

void HpForm::showDissipation(int slot, const DissipationCurve& curve, float staticPsi, float waterTableFt) {
    QString line =
        slot < 0 ? QStringLiteral("Test at %1: not kept").arg(toQt(formatNumber(curve.depth, "#0.00")))
                 : QStringLiteral("Test %1 at %2: static %3 PSI, water table %4 ft")
                       .arg(slot + 1)
                       .arg(toQt(formatNumber(curve.depth, "#0.00")), toQt(formatNumber(staticPsi, "#0.000")),
                            toQt(formatNumber(waterTableFt, "#0.00")));
    const QString before = dissipations_->text();
    dissipations_->setText(before.isEmpty() ? line : before + "\n" + line);
}

} // namespace zel::gui
