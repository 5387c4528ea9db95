#include "app/zel/site_window.h"

#include "app/jobs/batch.h"
#include "app/jobs/quiet_log.h"
#include "app/jobs/site_jobs.h"
#include "app/plot/qt_text.h"
#include "app/zel/qt_form.h"
#include "common/number_text.h"
#include "settings/options.h"

#include <QAbstractItemView>
#include <QButtonGroup>
#include <QCheckBox>
#include <QCloseEvent>
#include <QDoubleSpinBox>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QPushButton>
#include <QRadioButton>
#include <QTableWidget>
#include <QVBoxLayout>

#include <filesystem>
#include <ostream>
#include <set>
#include <streambuf>

namespace zel::gui {

namespace {

namespace fs = std::filesystem;

// Lines written to it go to the host's progress text as each one ends.
class HostLines final : public std::streambuf {
public:
    explicit HostLines(Host& host) : host_(host) {}

protected:
    int overflow(int c) override {
        if (c == traits_type::eof()) return traits_type::not_eof(c);
        if (c == '\n') {
            host_.progress(line_);
            line_.clear();
        } else {
            line_ += static_cast<char>(c);
        }
        return c;
    }

private:
    Host& host_;
    std::string line_;
};

const char* const kColumns[] = {"Name",     "Date",          "Latitude",      "Longitude",
                                "UTM zone", "Easting",       "Northing",      "Elevation (m)",
                                "Unit",     "Total depth",   "Footage",       "Points",
                                "Max %RE",  "Max %RE depth", "RE area (pVs)", "Above threshold"};
constexpr int kAreaColumn = 14;

} // namespace

SiteWindow::SiteWindow(Host& host, Options* options, QWidget* parent)
    : QDialog(parent), host_(host), options_(options) {
    setObjectName("frmSite");
    setWindowTitle("Site");
    auto* top = new QVBoxLayout(this);

    auto* head = new QHBoxLayout;
    auto* choose = new QPushButton("&Folder...");
    choose->setObjectName("cmdSite_Folder");
    folderLabel_ = new QLabel("Choose any raw log of the site: its folder is the site.");
    folderLabel_->setObjectName("lblSite_Folder");
    threshold_ = new QDoubleSpinBox;
    threshold_->setObjectName("txtSite_Threshold");
    threshold_->setRange(0, 1000);
    threshold_->setDecimals(2);
    threshold_->setValue(1.0);
    threshold_->setSuffix(" %RE");
    head->addWidget(choose);
    head->addWidget(folderLabel_, 1);
    head->addWidget(new QLabel("Depth ranges at or above"));
    head->addWidget(threshold_);
    top->addLayout(head);

    table_ = new QTableWidget(0, static_cast<int>(std::size(kColumns)));
    table_->setObjectName("tblSite_Logs");
    QStringList titles;
    for (const char* c : kColumns)
        titles << c;
    table_->setHorizontalHeaderLabels(titles);
    table_->setEditTriggers(QAbstractItemView::NoEditTriggers);
    table_->setSelectionBehavior(QAbstractItemView::SelectRows);
    table_->setSelectionMode(QAbstractItemView::MultiSelection);
    table_->verticalHeader()->setVisible(false);
    top->addWidget(table_, 1);

    totals_ = new QLabel;
    totals_->setObjectName("lblSite_Totals");
    totals_->setTextInteractionFlags(Qt::TextSelectableByMouse);
    top->addWidget(totals_);

    // The batch file utility's choices, kept in the options file under their own names.
    auto* choices = new QGroupBox("Summary");
    auto* grid = new QGridLayout(choices);
    const char* names[] = {"Log name", "File name", "Full path"};
    grid->addWidget(new QLabel("Name:"), 0, 0);
    // Two sets of option buttons in one box: each its own exclusive group.
    auto* nameGroup = new QButtonGroup(this);
    auto* pageGroup = new QButtonGroup(this);
    for (int i = 0; i < 3; ++i) {
        auto* b = new QRadioButton(names[i]);
        nameGroup->addButton(b);
        setControlArray(b, "optSummary_NameFormat", i);
        nameFormat_.push_back(b);
        grid->addWidget(b, 0, i + 1);
    }
    nameFormat_[0]->setChecked(true);
    grid->addWidget(new QLabel("Batch pages:"), 1, 0);
    const char* pages[] = {"Log name", "Date and log name"};
    for (int i = 0; i < 2; ++i) {
        auto* b = new QRadioButton(pages[i]);
        pageGroup->addButton(b);
        setControlArray(b, "optBatchJPGName", i);
        pageName_.push_back(b);
        grid->addWidget(b, 1, i + 1);
    }
    pageName_[0]->setChecked(true);
    const auto check = [&](const char* name, const char* caption, bool on, int row, int column) {
        auto* c = new QCheckBox(caption);
        c->setObjectName(name);
        c->setChecked(on);
        grid->addWidget(c, row, column);
        return c;
    };
    area_ = check("chkSummary_Area", "RE area", true, 2, 0);
    calloutMax_ = check("chkCalloutMax", "Callout maxima", false, 2, 1);
    total_ = check("chkSummary_Total", "Totals row", false, 2, 2);
    footageDate_ = check("chkFootage_Date", "Footage by date", false, 2, 3);
    top->addWidget(choices);

    buttons_ = new QWidget;
    auto* row = new QHBoxLayout(buttons_);
    row->setContentsMargins(0, 0, 0, 0);
    const auto button = [&](const char* name, const char* caption, auto action) {
        auto* b = new QPushButton(caption);
        b->setObjectName(name);
        connect(b, &QPushButton::clicked, this, [action] { action(); });
        row->addWidget(b);
        return b;
    };
    button("cmdSite_Summary", "&Summary (CSV, GeoJSON, KML)", [this] { writeSummary(); });
    button("cmdSite_Las", "&LAS files", [this] { writeLas(); });
    button("cmdSite_Map", "Site &map", [this] { writeMap(); });
    button("cmdSite_Section", "S&ection", [this] { writeSection(); });
    button("cmdSite_Model", "&3D files", [this] { writeModel(); });
    row->addStretch(1);
    auto* close = new QPushButton("Close");
    close->setObjectName("cmdSite_Close");
    connect(close, &QPushButton::clicked, this, &QDialog::accept);
    row->addWidget(close);
    top->addWidget(buttons_);
    connect(choose, &QPushButton::clicked, this, [this] { chooseFolder(); });

    // The table follows the choices it shows at once; the files follow them when written.
    for (QCheckBox* c : {area_, calloutMax_}) {
        connect(c, &QCheckBox::toggled, this, [this, c] {
            // Callout maxima are read from each log's companion: the folder is summarised again.
            if (c == calloutMax_ && !folder_.empty() && !working_)
                openFolder(folder_);
            else
                fillTable();
        });
    }
    for (QCheckBox* c : {total_, footageDate_})
        connect(c, &QCheckBox::toggled, this, [this] { fillTable(); });
    for (QRadioButton* b : nameFormat_)
        connect(b, &QRadioButton::toggled, this, [this] { fillTable(); });

    form_ = std::make_unique<QtForm>(std::vector<QWidget*>{this}, "frmFileUtilities");
    if (options_) options_->LoadFileUtilities(*form_);
    // A new threshold lists the ranges again.
    connect(threshold_, &QDoubleSpinBox::editingFinished, this, [this] {
        if (!folder_.empty() && !working_) openFolder(folder_);
    });
    resize(1250, 600);
}

SiteWindow::~SiteWindow() {
    if (options_) options_->SaveFileUtilities(*form_);
}

void SiteWindow::closeEvent(QCloseEvent* event) {
    // The jobs under way hold the window's state; it closes once they are done.
    if (working_) {
        event->ignore();
        return;
    }
    QDialog::closeEvent(event);
}

template <class F> auto SiteWindow::busy(const char* what, F&& work) {
    working_ = true;
    buttons_->setEnabled(false);
    table_->setEnabled(false);
    host_.setBusy(true);
    host_.progress(what);
    HostLines lines(host_);
    std::ostream progress(&lines);
    const auto idle = [this] { host_.yield(); };
    auto result = work(progress, idle);
    progress.flush();
    host_.setBusy(false);
    table_->setEnabled(true);
    buttons_->setEnabled(true);
    working_ = false;
    return result;
}

bool SiteWindow::failed(const std::string& what, const std::string& why) {
    host_.message(what + (why.empty() ? std::string(".") : ": " + why), MsgButtons::Ok, MsgIcon::Exclamation,
                  "Site");
    return false;
}

bool SiteWindow::chooseFolder() {
    FileDialogRequest request;
    request.title = "Site: any raw log of the site's folder";
    request.filter = "Raw logs (*.raw.bin)|*.raw.bin|All files (*.*)|*.*";
    request.initialDir = folder_;
    const auto chosen = host_.openFileDialog(request);
    if (!chosen || chosen->path.empty()) return false;
    std::error_code ec;
    const fs::path path(chosen->path);
    return openFolder(fs::is_directory(path, ec) ? path.string() : path.parent_path().string());
}

bool SiteWindow::openFolder(const std::string& folder) {
    folder_ = folder;
    borings_.reset();
    folderLabel_->setText(QString::fromStdString(folder));
    files_ = jobs::rawLogsOf({folder});
    const site::SummaryOptions o = summaryOptions();
    const double threshold = threshold_->value();
    jobs::SiteSummary summary =
        busy("Summarising the site's logs...", [&](std::ostream& progress, const auto& idle) {
            return jobs::summariseLogs(files_, threshold, o.calloutMax, progress, idle);
        });
    logs_ = std::move(summary.logs);
    fillTable();
    if (files_.empty()) return failed("The folder holds no raw log", folder);
    if (summary.code != 0)
        host_.message(std::to_string(files_.size() - logs_.size()) + " of " + std::to_string(files_.size()) +
                          " logs did not load; the table lists the others.",
                      MsgButtons::Ok, MsgIcon::Exclamation, "Site");
    return !logs_.empty();
}

site::SummaryOptions SiteWindow::summaryOptions() const {
    site::SummaryOptions o;
    for (std::size_t i = 0; i < nameFormat_.size(); ++i)
        if (nameFormat_[i]->isChecked()) o.nameFormat = static_cast<int>(i);
    for (std::size_t i = 0; i < pageName_.size(); ++i)
        if (pageName_[i]->isChecked()) o.pageName = static_cast<int>(i);
    o.reArea = area_->isChecked();
    o.calloutMax = calloutMax_->isChecked();
    o.totals = total_->isChecked();
    o.footageByDate = footageDate_->isChecked();
    return o;
}

void SiteWindow::fillTable() {
    const site::SummaryOptions o = summaryOptions();
    table_->setRowCount(static_cast<int>(logs_.size()));
    table_->setColumnHidden(kAreaColumn, !o.reArea);
    for (int r = 0; r < static_cast<int>(logs_.size()); ++r) {
        const site::LogSummary& s = logs_[static_cast<std::size_t>(r)];
        std::string ranges;
        for (const auto& range : s.above)
            ranges += (ranges.empty() ? "" : "; ") + formatNumber(range.top, "#0.00") + "-" +
                      formatNumber(range.bottom, "#0.00");
        for (const auto& m : s.callouts)
            if (o.calloutMax && m.points)
                ranges += (ranges.empty() ? "" : "; ") + m.caption + " max " +
                          formatNumber(m.maxSignal, "#0.00") + " at " +
                          formatNumber(m.maxSignalDepth, "#0.00");
        const auto fix = [&](double v, const char* pattern) {
            return s.hasFix ? formatNumber(v, pattern) : std::string();
        };
        const std::string cells[] = {
            site::summaryName(s, o.nameFormat),
            s.date,
            fix(s.lat, "#0.000000"),
            fix(s.lon, "#0.000000"),
            s.utmZone > 0 ? std::to_string(s.utmZone) + (s.utmNorth ? "N" : "S") : "",
            s.utmZone > 0 ? formatNumber(s.easting, "#0.0") : "",
            s.utmZone > 0 ? formatNumber(s.northing, "#0.0") : "",
            fix(s.elevationM, "#0.0"),
            s.metric ? "m" : "ft",
            formatNumber(s.totalDepth, "#0.00"),
            formatNumber(s.footage, "#0.00"),
            std::to_string(s.points),
            formatNumber(s.maxSignal, "#0.00"),
            formatNumber(s.maxSignalDepth, "#0.00"),
            formatNumber(s.reArea, "#0.0"),
            ranges,
        };
        for (int c = 0; c < static_cast<int>(std::size(cells)); ++c) {
            // Names and captions are the logs' 8-bit text; paths stay in the system's encoding.
            const bool path = c == 0 && o.nameFormat == 2;
            auto* item = new QTableWidgetItem(path ? QString::fromStdString(cells[c]) : toQt(cells[c]));
            if (c >= 2 && c != 4 && c != 8 && c != 15)
                item->setTextAlignment(Qt::AlignRight | Qt::AlignVCenter);
            table_->setItem(r, c, item);
        }
    }
    table_->resizeColumnsToContents();

    const site::FootageTotals t = site::footageTotals(logs_);
    std::string text =
        "Footage: " + formatNumber(t.totalFt, "#0.00") + " ft in " + std::to_string(t.logs) + " logs";
    if (o.totals) {
        int points = 0;
        for (const auto& s : logs_)
            points += s.points;
        text += ", " + std::to_string(points) + " points";
    }
    if (o.footageByDate)
        for (const auto& [day, ft] : t.byDayFt)
            text += "\n  " + day + ": " + formatNumber(ft, "#0.00") + " ft";
    totals_->setText(QString::fromStdString(text));
}

void SiteWindow::selectRows(const std::vector<int>& rows) {
    table_->clearSelection();
    for (int r : rows)
        table_->selectRow(r);
}

std::string SiteWindow::outputPath(const std::string& fileName) const {
    return (fs::path(folder_) / fileName).string();
}

bool SiteWindow::writeSummary() {
    if (folder_.empty()) return failed("Choose the site's folder first", "");
    const site::SummaryOptions o = summaryOptions();
    std::string error;
    for (const auto& [name, text] : {std::pair{std::string("summary.csv"), site::summaryCsv(logs_, o)},
                                     std::pair{std::string("summary.geojson"), site::boringsGeoJson(logs_)},
                                     std::pair{std::string("summary.kml"), site::boringsKml(logs_)}})
        if (!jobs::writeWholeFile(outputPath(name), text, error))
            return failed("The summary was not written", error);
    host_.progress("Summary written: " + outputPath("summary.csv") + ", .geojson, .kml");
    return true;
}

bool SiteWindow::writeLas() {
    if (folder_.empty()) return failed("Choose the site's folder first", "");
    const int code = busy("Writing the LAS files...", [&](std::ostream& progress, const auto& idle) {
        return jobs::writeLasFiles(files_, "", progress, idle);
    });
    if (code != 0) return failed("Some LAS files were not written", "the progress lines name them");
    host_.progress(std::to_string(files_.size()) + " LAS files written beside the logs");
    return true;
}

const jobs::SiteBorings* SiteWindow::borings() {
    if (!borings_)
        borings_ = busy("Placing the borings...", [&](std::ostream& progress, const auto& idle) {
            return jobs::loadSiteBorings("site", {folder_}, progress, idle);
        });
    if (borings_->borings.empty()) {
        failed("No boring of the site has a position", "zel-cli gps can give them one");
        return nullptr;
    }
    return &*borings_;
}

bool SiteWindow::writeMap() {
    if (folder_.empty()) return failed("Choose the site's folder first", "");
    const jobs::SiteBorings* site = borings();
    if (!site) return false;
    std::string error;
    if (!jobs::writeSiteMap(*site, {}, outputPath("site-map.png"), nullptr, error))
        return failed("The site map was not written", error);
    host_.progress("Site map written: " + outputPath("site-map.png"));
    return true;
}

bool SiteWindow::writeSection() {
    if (folder_.empty()) return failed("Choose the site's folder first", "");
    const jobs::SiteBorings* site = borings();
    if (!site) return false;
    jobs::PictureOptions o;
    // Two selected borings make the line A-A'.
    std::set<int> rows;
    for (const QModelIndex& i : table_->selectionModel()->selectedRows())
        rows.insert(i.row());
    if (rows.size() == 2) {
        for (int r : rows) {
            const std::string& name = logs_[static_cast<std::size_t>(r)].name;
            for (const auto& b : site->borings)
                if (b.name == name) o.line.points.emplace_back(b.easting, b.northing);
        }
        if (o.line.points.size() != 2) return failed("A selected boring has no position", "");
    } else if (!rows.empty()) {
        return failed("Select two borings for the section line, or none for a line through them all", "");
    }
    std::string error;
    host_.progress(jobs::sectionBoringsText(jobs::sectionInput(*site, o)));
    if (!jobs::writeSection(*site, o, outputPath("section.png"), nullptr, error))
        return failed("The section was not written", error);
    host_.progress("Section written: " + outputPath("section.png"));
    return true;
}

bool SiteWindow::writeModel() {
    if (folder_.empty()) return failed("Choose the site's folder first", "");
    const jobs::SiteBorings* site = borings();
    if (!site) return false;
    std::string error;
    HostLines lines(host_);
    std::ostream report(&lines);
    if (!jobs::writeModelFiles(site->borings, outputPath("points.csv"), outputPath("points.vtk"),
                               outputPath("volume.vtk"), {}, report, error))
        return failed("The 3D files were not written", error);
    report.flush();
    host_.progress("3D files written: points.csv, points.vtk, volume.vtk");
    return true;
}

} // namespace zel::gui
