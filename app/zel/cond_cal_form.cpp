#include "app/zel/cond_cal_form.h"

#include "app/plot/qt_text.h"
#include "common/number_text.h"

#include <QGridLayout>
#include <QLabel>
#include <QPushButton>
#include <QTimer>
#include <QVBoxLayout>

namespace zel::gui {

CondCalForm::CondCalForm(FieldInstruments& instruments, program::CondInput input, Host& host,
                         const Clock& clock, std::string optionsPath, QWidget* parent)
    : QDialog(parent), in_(instruments), input_(input), host_(host), clock_(clock),
      optionsPath_(std::move(optionsPath)) {
    setObjectName("frmCondCal");
    setWindowTitle("Conductivity calibration");
    auto* grid = new QGridLayout;
    for (int i = 0; i < cond_cal::kSolutions; ++i) {
        const QString name = QString::fromLatin1(cond_cal::kSolutionNames[static_cast<std::size_t>(i)]);
        grid->addWidget(new QLabel(name + " mS/m", this), i, 0);
        auto* v = new QLabel("not read", this);
        v->setObjectName("lblCondV" + name);
        voltLabels_[static_cast<std::size_t>(i)] = v;
        grid->addWidget(v, i, 1);
        auto* b = new QPushButton("Read", this);
        b->setObjectName("cmdCondRead" + name);
        connect(b, &QPushButton::clicked, this, [this, i] { readSolution(i); });
        grid->addWidget(b, i, 2);
    }
    live_ = new QLabel(this);
    live_->setObjectName("lblCondLive");
    result_ = new QLabel(this);
    result_->setObjectName("lblCondResult");
    result_->setWordWrap(true);
    fit_ = new QPushButton("Fit and keep", this);
    fit_->setObjectName("cmdCondFit");
    fit_->setEnabled(false);
    connect(fit_, &QPushButton::clicked, this, [this] { fitAndKeep(); });
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(
        new QLabel("Stand the probe in each solution, wait for the reading to settle and press its "
                   "button.",
                   this));
    layout->addWidget(live_);
    layout->addLayout(grid);
    layout->addWidget(fit_);
    layout->addWidget(result_);
    liveTimer_ = new QTimer(this);
    connect(liveTimer_, &QTimer::timeout, this, [this] { showLive(); });
    liveTimer_->start(500);
    showLive();
}

void CondCalForm::showLive() {
    if (input_ == program::CondInput::DepthBoard) {
        const cZEL_Depth& d = in_.Depth();
        live_->setText(toQt("Input now: " + formatNumber(d.Cond_Raw, "#0.000") + " V (" +
                            formatNumber(d.Conductivity, "#0.0") + " mS/m with the calibration in use)"));
    } else if (input_ == program::CondInput::DataBoard) {
        live_->setText("Input: the data board's conductivity column (read when a button is pressed)");
    } else {
        live_->setText(toQt(program::kNoCondInput));
    }
}

void CondCalForm::readSolution(int i) {
    if (i < 0 || i >= cond_cal::kSolutions) return;
    const auto k = static_cast<std::size_t>(i);
    if (putProbeIn) putProbeIn(cond_cal::kSolutionMs[k]);
    voltLabels_[k]->setText("reading...");
    const auto v = program::ReadConductivityVolts(in_, input_, host_, clock_, reading);
    volts_[k] = v;
    voltLabels_[k]->setText(v ? toQt(formatNumber(*v, "#0.0000") + " V") : QStringLiteral("not read"));
    bool all = true;
    for (const auto& r : volts_)
        all = all && r.has_value();
    fit_->setEnabled(all);
}

bool CondCalForm::fitAndKeep() {
    std::array<float, cond_cal::kSolutions> v{};
    for (std::size_t i = 0; i < v.size(); ++i) {
        if (!volts_[i]) {
            host_.message(std::string("Read the ") + cond_cal::kSolutionNames[i] + " mS/m solution first.");
            return false;
        }
        v[i] = *volts_[i];
    }
    std::string error;
    const auto c = cond_cal::fit(v, error);
    if (!c) {
        host_.message(error + " The set-up keeps its calibration.");
        result_->setText(toQt(error));
        return false;
    }
    if (!program::ApplyConductivityCalibration(*c, in_, optionsPath_))
        host_.message("The calibration is in use but could not be written into " + optionsPath_ + ".");
    if (kept) kept(*c);
    result_->setText(toQt("mS/m = " + shortestText(c->constants[0]) + " + " + shortestText(c->constants[1]) +
                          " V + " + shortestText(c->constants[2]) + " V\xB2 (largest misfit " +
                          formatNumber(cond_cal::worstResidual(*c), "#0.00") + " mS/m)"));
    return true;
}

QString CondCalForm::resultText() const {
    return result_->text();
}

} // namespace zel::gui
