#pragma once
// The Site window: a consultant's office work on a folder of a site's logs. It lists the logs as the
// summary does (name, date, position, depths, footage, maximum %RE ...) with the footage totals, and writes
// the report's files with the same jobs zel-cli runs: the summary as CSV, GeoJSON and KML, each log's LAS
// file, the site map, a cross-section (through two selected borings, or through them all in order) and the
// 3D files. The logs load on the machine's cores while the window keeps its events going; the progress
// lines go through the Host.

#include "app/jobs/site_borings.h"
#include "common/host.h"
#include "site/log_summary.h"

#include <QDialog>

#include <memory>
#include <optional>
#include <string>
#include <vector>

class QCheckBox;
class QDoubleSpinBox;
class QLabel;
class QPushButton;
class QRadioButton;
class QTableWidget;

namespace zel {
class Options;
}

namespace zel::gui {

class QtForm;

class SiteWindow final : public QDialog {
public:
    // options, when given, keeps the window's choices under "FileUtilities" (restored now, saved on close).
    SiteWindow(Host& host, Options* options, QWidget* parent = nullptr);
    ~SiteWindow() override;

    // Asks through the host for any raw log of the site; its folder is the site.
    bool chooseFolder();
    // Summarises every raw log of the folder into the table. False when it holds none that loads.
    bool openFolder(const std::string& folder);
    const std::string& folder() const { return folder_; }
    const std::vector<site::LogSummary>& logs() const { return logs_; }

    // The report's files, in the site's folder; each false with the reason shown when it failed.
    bool writeSummary(); // summary.csv, summary.geojson, summary.kml
    bool writeLas();     // <log>.lif.las beside each log
    bool writeMap();     // site-map.png
    bool writeSection(); // section.png: through the two selected borings, else through all in order
    bool writeModel();   // points.csv, points.vtk, volume.vtk
    std::string outputPath(const std::string& fileName) const;

    // Selects table rows (the section's two borings).
    void selectRows(const std::vector<int>& rows);
    // The summary's choices as the window's controls hold them.
    site::SummaryOptions summaryOptions() const;

protected:
    void closeEvent(QCloseEvent* event) override;

private:
    void fillTable();
    // Runs work with the window's buttons off, the host busy and the progress lines sent to the host.
    template <class F> auto busy(const char* what, F&& work);
    const jobs::SiteBorings* borings();
    bool failed(const std::string& what, const std::string& why);

    Host& host_;
    Options* options_;
    std::unique_ptr<QtForm> form_;
    std::string folder_;
    std::vector<std::string> files_;
    std::vector<site::LogSummary> logs_;
    std::optional<jobs::SiteBorings> borings_;
    bool working_ = false;

    QLabel* folderLabel_;
    QTableWidget* table_;
    QLabel* totals_;
    QDoubleSpinBox* threshold_;
    std::vector<QRadioButton*> nameFormat_;
    std::vector<QRadioButton*> pageName_;
    QCheckBox* area_;
    QCheckBox* calloutMax_;
    QCheckBox* total_;
    QCheckBox* footageDate_;
    QWidget* buttons_;
};

} // namespace zel::gui
