#include "app/zel/analysis_window.h"

#include "analysis/classify.h"
#include "analysis/waveform_fits.h"
#include "app/plot/channel_colours.h"
#include "app/plot/qt_text.h"
#include "app/plot/waveform_view.h"
#include "app/zel/form_widgets.h"
#include "common/atomic_file.h"
#include "common/number_text.h"

#include <QComboBox>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QVBoxLayout>

#include <algorithm>
#include <fstream>
#include <optional>
#include <sstream>

namespace zel::gui {

namespace {

std::string joined(const std::vector<std::string>& parts, const char* between) {
    std::string out;
    for (std::size_t i = 0; i < parts.size(); ++i)
        out += (i ? between : "") + parts[i];
    return out;
}

} // namespace

AnalysisWindow::AnalysisWindow(LoadedLog target, std::array<std::string, 4> labels, Host& host,
                               std::function<void()> onFitsChanged, QWidget* parent)
    : QDialog(parent), target_(target), labels_(std::move(labels)), host_(host),
      onFitsChanged_(std::move(onFitsChanged)) {
    setObjectName("frmAnalysis");
    setWindowTitle("Waveform analysis");
    auto* v = new QVBoxLayout(this);
    auto* form = new QFormLayout;
    library_ = named(new QLineEdit, "txtBasisLibrary");
    auto* browse = named(new QPushButton("..."), "cmdBasisLibrary");
    auto* libRow = new QHBoxLayout;
    libRow->addWidget(library_);
    libRow->addWidget(browse);
    form->addRow("Basis library", libRow);
    seeds_ = named(new QLineEdit, "txtClassSeeds");
    seeds_->setPlaceholderText("Diesel:4.5-6 Gasoline:9-10.5 (or Name=0.2,0.3,0.3,0.2)");
    form->addRow("Class seeds", seeds_);
    feature_ = named(new QComboBox, "cmbClassFeature");
    feature_->addItems({"Channel shares", "Decay times"});
    form->addRow("Classify by", feature_);
    floor_ = named(new QLineEdit("0"), "txtClassFloor");
    form->addRow("Unclassified below %RE", floor_);
    v->addLayout(form);

    auto* buttons = new QHBoxLayout;
    const auto button = [&](const char* name, const char* caption, auto handler) {
        auto* b = named(new QPushButton(caption), name);
        connect(b, &QPushButton::clicked, this, handler);
        buttons->addWidget(b);
    };
    button("cmdDecayTimes", "Decay times", [this] { fitDecayTimes(); });
    button("cmdBasisFit", "Basis fit", [this] { fitBases(); });
    button("cmdClassify", "Classify", [this] { classifyPoints(); });
    button("cmdCalloutFits", "Fit callouts", [this] { fitCallouts(); });
    v->addLayout(buttons);
    connect(browse, &QPushButton::clicked, this, [this] { chooseLibrary(); });

    results_ = named(new QPlainTextEdit, "txtAnalysisResults");
    results_->setReadOnly(true);
    results_->setMinimumSize(560, 260);
    v->addWidget(results_);
}

std::string AnalysisWindow::results() const {
    return fromQt(results_->toPlainText());
}

void AnalysisWindow::say(const std::string& text) {
    results_->appendPlainText(toQt(text));
}

bool AnalysisWindow::haveLog() {
    if (target_.arrays.points() > 0 && !target_.log.File_FullPath().empty()) return true;
    host_.message("Load a log first: the analyses work on the loaded log's waveforms.");
    return false;
}

bool AnalysisWindow::write(const std::string& path, const std::string& text) {
    if (replaceFileAtomically(path, text)) return true;
    host_.message("Cannot write " + path);
    return false;
}

void AnalysisWindow::fitsWritten() {
    ReadFitsBeside(target_.log.File_FullPath(), target_, host_);
    if (onFitsChanged_) onFitsChanged_();
}

void AnalysisWindow::chooseLibrary() {
    FileDialogRequest r;
    r.title = "Basis library";
    r.filter = "Basis libraries (*.zbl)|*.zbl|All files (*.*)|*.*";
    r.fileName = fromQt(library_->text());
    if (const auto chosen = host_.openFileDialog(r)) library_->setText(QString::fromStdString(chosen->path));
}

bool AnalysisWindow::fitDecayTimes() {
    if (!haveLog()) return false;
    host_.setBusy(true);
    const auto fits = analysis::fitLogLifetimes(target_.log, target_.arrays, target_.ctx.channels, {}, host_);
    host_.setBusy(false);
    const std::string path = analysis::lifetimePath(target_.log.File_FullPath());
    if (!write(path, analysis::lifetimeText(fits))) return false;
    std::vector<std::string> medians;
    for (int c = 0; c < fits.channels; ++c) {
        std::vector<double> taus;
        for (const auto& p : fits.points)
            if (!p[static_cast<std::size_t>(c)].weak) taus.push_back(p[static_cast<std::size_t>(c)].tauNs);
        if (taus.empty()) {
            medians.push_back("-");
            continue;
        }
        std::nth_element(taus.begin(), taus.begin() + static_cast<long>(taus.size() / 2), taus.end());
        medians.push_back(formatNumber(taus[taus.size() / 2], "#0.0"));
    }
    say("Decay times of " + std::to_string(fits.points.size()) + " points -> " + path +
        "\n  median (ns): " + joined(medians, ", "));
    fitsWritten();
    return true;
}

bool AnalysisWindow::fitBases() {
    if (!haveLog()) return false;
    const std::string libPath = library_->text().toStdString();
    std::ifstream in(libPath, std::ios::binary);
    if (libPath.empty() || !in) {
        host_.message("Choose a basis library first (zel-cli basis add makes one).");
        return false;
    }
    std::ostringstream text;
    text << in.rdbuf();
    std::string error;
    const auto lib = analysis::parseBasisLibrary(text.str(), error);
    std::vector<const analysis::BasisWaveform*> bases;
    if (lib)
        for (const auto& b : lib->bases)
            bases.push_back(&b);
    const auto fits = lib ? analysis::fitLogNnls(target_.log, target_.arrays, bases, error) : std::nullopt;
    if (!fits) {
        host_.message("The basis fit was not made: " + libPath + ": " + error);
        return false;
    }
    const std::string path = analysis::nnlsPath(target_.log.File_FullPath());
    if (!write(path, analysis::nnlsText(*fits))) return false;
    std::vector<std::string> means;
    for (std::size_t b = 0; b < fits->names.size(); ++b) {
        double sum = 0;
        for (const auto& p : fits->shares)
            sum += p[b];
        means.push_back(fits->names[b] + " " +
                        formatNumber(fits->shares.empty() ? 0.0 : 100.0 * sum / fits->shares.size(), "#0.0") +
                        " %");
    }
    say("Basis fit of " + std::to_string(fits->depth.size()) + " points -> " + path +
        "\n  mean share: " + joined(means, ", "));
    fitsWritten();
    return true;
}

bool AnalysisWindow::classifyPoints() {
    if (!haveLog()) return false;
    std::vector<analysis::ClassSeed> seeds;
    std::istringstream words(fromQt(seeds_->text()));
    std::string error;
    for (std::string word; words >> word;) {
        auto seed = analysis::parseSeed(word, error);
        if (!seed) {
            host_.message("The classes were not made: " + error);
            return false;
        }
        seeds.push_back(std::move(*seed));
    }
    const double floorPct = numberOf(fromQt(floor_->text())).value_or(0.0);
    const bool byTau = feature_->currentIndex() == 1;
    analysis::FeatureRows features;
    if (byTau) {
        std::vector<std::vector<float>> rows = target_.arrays.tau;
        if (rows.empty()) {
            const auto fits =
                analysis::fitLogLifetimes(target_.log, target_.arrays, target_.ctx.channels, {}, host_);
            if (auto r = analysis::lifetimeRows(fits, target_.arrays.columns)) rows = std::move(*r);
        }
        features = analysis::tauFeatures(target_.arrays, rows, floorPct);
    } else {
        features = analysis::shareFeatures(target_.arrays, target_.ctx.channels, floorPct);
    }
    std::vector<float> depth;
    for (int p = 0; p < target_.arrays.points(); ++p)
        depth.push_back(target_.arrays.columns(point_column::Depth, p));
    const auto c = analysis::classify(
        features, depth, seeds, byTau ? analysis::ClassFeature::Tau : analysis::ClassFeature::Shares, error);
    if (!c) {
        host_.message("The classes were not made: " + error);
        return false;
    }
    const std::string path = analysis::classPath(target_.log.File_FullPath());
    if (!write(path, analysis::classText(*c))) return false;
    std::vector<std::string> counts;
    int unclassified = 0;
    for (std::size_t k = 0; k < c->names.size(); ++k)
        counts.push_back(c->names[k] + " " +
                         std::to_string(std::count(c->pointClass.begin(), c->pointClass.end(), int(k))));
    unclassified = static_cast<int>(std::count(c->pointClass.begin(), c->pointClass.end(), -1));
    say("Classes by " + std::string(byTau ? "decay times" : "channel shares") + " -> " + path + "\n  " +
        joined(counts, ", ") + ", unclassified " + std::to_string(unclassified));
    fitsWritten();
    return true;
}

bool AnalysisWindow::fitCallouts() {
    if (!haveLog()) return false;
    const auto bands = plot::logCallouts(target_.log, target_.arrays, plot::channelColours(labels_, false));
    if (bands.empty()) {
        host_.message("The log has no callouts to fit: set their depths on the Callouts page first.");
        return false;
    }
    const analysis::LifetimeFitter lifetimes(target_.log, target_.arrays, target_.ctx.channels, {}, host_);
    // The basis shares too when a library is chosen and suits the log.
    std::optional<analysis::NnlsFitter> nnls;
    std::optional<analysis::BasisLibrary> lib;
    if (const std::string libPath = library_->text().toStdString(); !libPath.empty()) {
        std::ifstream in(libPath, std::ios::binary);
        std::ostringstream text;
        text << in.rdbuf();
        std::string error;
        lib = analysis::parseBasisLibrary(text.str(), error);
        std::vector<const analysis::BasisWaveform*> bases;
        if (lib)
            for (const auto& b : lib->bases)
                bases.push_back(&b);
        if (lib) nnls = analysis::NnlsFitter::make(target_.log, target_.arrays, bases, error);
        if (!nnls) say("  (no basis shares: " + libPath + ": " + error + ")");
    }
    for (const auto& band : bands) {
        std::vector<std::string> taus;
        for (const auto& f : lifetimes.fit(band.average))
            taus.push_back(f.weak ? "-" : formatNumber(f.tauNs, "#0.0"));
        std::string line = band.caption + " (" + formatNumber(band.top, "#0.00") + " to " +
                           formatNumber(band.bottom, "#0.00") + ", " +
                           std::to_string(band.lastPoint - band.firstPoint + 1) + " points)  decay ns " +
                           joined(taus, "/");
        if (nnls) {
            const analysis::NnlsPoint r = nnls->fit(band.average);
            std::vector<std::string> shares;
            for (std::size_t b = 0; b < r.shares.size(); ++b)
                shares.push_back(nnls->names()[b] + " " + formatNumber(100.0 * r.shares[b], "#0") + " %");
            line += "  " + joined(shares, ", ") + ", generic " + formatNumber(100.0 * r.generic, "#0") + " %";
        }
        say(line);
    }
    return true;
}

} // namespace zel::gui
