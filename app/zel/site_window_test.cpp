// The Site window over a site pushed with the rig: its table against zel-cli summary --json of the same
// folder, and every file it writes against the file zel-cli writes, byte for byte.
#include "app/zel/gui_test_app.h"
#include "app/zel/qt_form.h"
#include "app/zel/site_window.h"
#include "common/number_text.h"
#include "common/testing/recording_host.h"
#include "settings/data_root.h"
#include "settings/options.h"
#include "settings/test_files.h"
#include "tests/e2e/site_logs.h"

#include <QCheckBox>
#include <QLabel>
#include <QRadioButton>
#include <QTableWidget>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <filesystem>

namespace zel::gui {
namespace {

namespace fs = std::filesystem;
using e2e::quote;
using e2e::runProgram;
using e2e::RunResult;
using e2e::slurp;

const std::string kCli = ZEL_CLI;

class SiteWindowTest : public zel::testing::TempDataRoot {
protected:
    void SetUp() override {
        zel::testing::TempDataRoot::SetUp();
        testing::guiTestApp();
        logs = &e2e::siteLogs();
        folder = logs->dir.path.string();
    }
    // zel-cli's file of the same kind, written into its own folder.
    std::string cliFile(const std::string& name) {
        fs::create_directories(out.path);
        return (out.path / name).string();
    }
    bool open(SiteWindow& w) {
        host.answerDialog(FileDialogResult{folder + "/B2.lif.raw.bin", 1});
        return w.chooseFolder();
    }
    std::string cell(SiteWindow& w, int row, int column) {
        const auto* table = w.findChild<QTableWidget*>("tblSite_Logs");
        const auto* item = table ? table->item(row, column) : nullptr;
        return item ? item->text().toStdString() : std::string("(none)");
    }
    bool progressed(const std::string& start) const {
        for (const auto& t : host.progressTexts())
            if (t.rfind(start, 0) == 0) return true;
        return false;
    }

    zel::testing::RecordingHost host;
    const e2e::SiteLogs* logs = nullptr;
    std::string folder;
    e2e::TempDir out;
};

TEST_F(SiteWindowTest, TableHoldsWhatZelCliSummaryReports) {
    SiteWindow w(host, nullptr);
    ASSERT_TRUE(open(w));
    EXPECT_EQ(w.folder(), folder);
    const RunResult r = runProgram(kCli + " summary " + quote(folder) + " --json");
    ASSERT_EQ(r.exitCode, 0) << r.err;
    const auto j = nlohmann::json::parse(r.out);
    ASSERT_EQ(j["logs"].size(), 3u);
    const auto* table = w.findChild<QTableWidget*>("tblSite_Logs");
    ASSERT_NE(table, nullptr);
    ASSERT_EQ(table->rowCount(), 3);
    // name, date, lat, lon, zone, ..., total depth (9), footage (10), points (11), max %RE (12) and its depth
    for (int i = 0; i < 3; ++i) {
        const auto& s = j["logs"][static_cast<std::size_t>(i)];
        EXPECT_EQ(cell(w, i, 0), s["name"].get<std::string>());
        EXPECT_EQ(cell(w, i, 1), s["date"].get<std::string>());
        EXPECT_NEAR(val(cell(w, i, 2)), s["lat"].get<double>(), 1e-6);
        EXPECT_NEAR(val(cell(w, i, 3)), s["lon"].get<double>(), 1e-6);
        EXPECT_EQ(cell(w, i, 4), s["utm_zone"].get<std::string>());
        EXPECT_NEAR(val(cell(w, i, 9)), s["total_depth"].get<double>(), 0.005);
        EXPECT_NEAR(val(cell(w, i, 10)), s["footage"].get<double>(), 0.005);
        EXPECT_EQ(cell(w, i, 11), std::to_string(s["points"].get<int>()));
        EXPECT_NEAR(val(cell(w, i, 12)), s["max_pct_re"].get<double>(), 0.005);
        EXPECT_NEAR(val(cell(w, i, 13)), s["max_pct_re_depth"].get<double>(), 0.005);
        EXPECT_NEAR(val(cell(w, i, 14)), s["re_area"].get<double>(), 0.05);
    }
    const auto* totals = w.findChild<QLabel*>("lblSite_Totals");
    ASSERT_NE(totals, nullptr);
    EXPECT_EQ(totals->text().toStdString().rfind(
                  "Footage: " + formatNumber(j["footage_ft"].get<double>(), "#0.00") + " ft in 3 logs", 0),
              0u)
        << totals->text().toStdString();
    // The loads reported each log as zel-cli does, through the host.
    EXPECT_TRUE(progressed("1/3 " + folder + "/B1.lif.raw.bin -> max ")) << host.progressTexts().size();
}

TEST_F(SiteWindowTest, WritesTheSameFilesAsZelCli) {
    SiteWindow w(host, nullptr);
    ASSERT_TRUE(open(w));

    ASSERT_TRUE(w.writeSummary());
    const std::string csv = cliFile("summary.csv"), geojson = cliFile("summary.geojson"),
                      kml = cliFile("summary.kml");
    ASSERT_EQ(runProgram(kCli + " summary " + quote(folder) + " --csv " + quote(csv) + " --geojson " +
                         quote(geojson) + " --kml " + quote(kml))
                  .exitCode,
              0);
    for (const auto& f : {csv, geojson, kml}) {
        const std::string name = fs::path(f).filename().string();
        EXPECT_FALSE(slurp(f).empty()) << name;
        EXPECT_EQ(slurp(w.outputPath(name)), slurp(f)) << name;
    }

    ASSERT_TRUE(w.writeLas());
    ASSERT_EQ(runProgram(kCli + " las " + quote(folder) + " --to " + quote(out.path.string())).exitCode, 0);
    for (const auto& b : e2e::kSiteBorings) {
        const std::string las = std::string(b.name) + ".lif.las";
        EXPECT_FALSE(slurp(cliFile(las)).empty()) << las;
        EXPECT_EQ(slurp(w.outputPath(las)), slurp(cliFile(las))) << las;
    }

    ASSERT_TRUE(w.writeMap());
    ASSERT_EQ(runProgram(kCli + " map " + quote(folder) + " --out " + quote(cliFile("map.png"))).exitCode, 0);
    EXPECT_FALSE(slurp(cliFile("map.png")).empty());
    EXPECT_EQ(slurp(w.outputPath("site-map.png")), slurp(cliFile("map.png")));

    // No selection: the line through the borings in order, as zel-cli draws it without --line.
    ASSERT_TRUE(w.writeSection());
    ASSERT_EQ(
        runProgram(kCli + " section " + quote(folder) + " --out " + quote(cliFile("section.png"))).exitCode,
        0);
    EXPECT_EQ(slurp(w.outputPath("section.png")), slurp(cliFile("section.png")));
    EXPECT_TRUE(progressed("Section: B1 at 0.0 m B2 at ")) << host.progressTexts().back();

    ASSERT_TRUE(w.writeModel());
    ASSERT_EQ(runProgram(kCli + " model " + quote(folder) + " --csv " + quote(cliFile("points.csv")) +
                         " --vtk " + quote(cliFile("points.vtk")) + " --grid " + quote(cliFile("volume.vtk")))
                  .exitCode,
              0);
    for (const char* f : {"points.csv", "points.vtk", "volume.vtk"}) {
        EXPECT_FALSE(slurp(cliFile(f)).empty()) << f;
        EXPECT_EQ(slurp(w.outputPath(f)), slurp(cliFile(f))) << f;
    }
    EXPECT_TRUE(host.messages().empty());
}

TEST_F(SiteWindowTest, SectionRunsThroughTwoSelectedBorings) {
    SiteWindow w(host, nullptr);
    ASSERT_TRUE(open(w));
    // B3 then B1 selected: the line runs from B1 (the upper row) to B3, B2 lies on it between them.
    w.selectRows({2, 0});
    ASSERT_TRUE(w.writeSection());
    EXPECT_TRUE(progressed("Section: B1 at 0.0 m B2 at ")) << host.progressTexts().back();
    EXPECT_TRUE(fs::exists(w.outputPath("section.png")));

    // One boring makes no line.
    w.selectRows({1});
    EXPECT_FALSE(w.writeSection());
    ASSERT_EQ(host.messages().size(), 1u);
    EXPECT_EQ(host.messages()[0],
              "Select two borings for the section line, or none for a line through them all.");
}

TEST_F(SiteWindowTest, WithoutAFolderNothingIsWritten) {
    SiteWindow w(host, nullptr);
    EXPECT_FALSE(w.chooseFolder()); // the dialog was cancelled
    for (bool (SiteWindow::*write)() :
         {&SiteWindow::writeSummary, &SiteWindow::writeLas, &SiteWindow::writeMap, &SiteWindow::writeSection,
          &SiteWindow::writeModel})
        EXPECT_FALSE((w.*write)());
    EXPECT_EQ(host.messages().size(), 5u);
    EXPECT_EQ(host.messages()[0], "Choose the site's folder first.");
}

// The summary's choices are the options file's "FileUtilities" keys: the window keeps them there, and
// zel-cli summary follows them.
TEST_F(SiteWindowTest, SummaryChoicesPersistAndDriveZelCli) {
    QtFormSet forms;
    Options options(host, forms, optionsFilePath());
    {
        SiteWindow w(host, &options);
        ASSERT_TRUE(open(w));
        w.findChild<QCheckBox*>("chkSummary_Area")->setChecked(false);
        w.findChild<QCheckBox*>("chkSummary_Total")->setChecked(true);
        w.findChild<QCheckBox*>("chkFootage_Date")->setChecked(true);
        for (auto* b : w.findChildren<QRadioButton*>("optSummary_NameFormat"))
            if (b->property("controlIndex").toInt() == 1) b->setChecked(true);
        EXPECT_EQ(cell(w, 0, 0), "B1.lif.raw.bin");
        ASSERT_TRUE(w.writeSummary());
        const std::string table = slurp(w.outputPath("summary.csv"));
        EXPECT_EQ(table.find("RE area"), std::string::npos);
        EXPECT_NE(table.find("\r\nB1.lif.raw.bin,"), std::string::npos) << table;
        EXPECT_NE(table.find("\r\nTotal (3 logs),"), std::string::npos) << table;
        EXPECT_NE(table.find("\r\nFootage "), std::string::npos) << table;
        // zel-cli reads the same choices from the options file once the window has kept them.
    }
    const std::string ini = slurp(optionsFilePath());
    EXPECT_NE(
        ini.find("[FileUtilities]\r\noptSummary_NameFormat=1\r\noptBatchJPGName=0\r\nchkSummary_Area=0\r\n"
                 "chkCalloutMax=0\r\nchkSummary_Total=1\r\nchkFootage_Date=1\r\n"),
        std::string::npos)
        << ini;
    const std::string csv = cliFile("summary.csv");
    ASSERT_EQ(runProgram(kCli + " summary " + quote(folder) + " --csv " + quote(csv)).exitCode, 0);
    EXPECT_EQ(slurp(csv), slurp((fs::path(folder) / "summary.csv").string()));
    // A flag of zel-cli overrides the options file.
    ASSERT_EQ(
        runProgram(kCli + " summary " + quote(folder) + " --csv " + quote(csv) + " --area true").exitCode, 0);
    EXPECT_NE(slurp(csv).find("RE area (pVs)"), std::string::npos);

    SiteWindow again(host, &options);
    EXPECT_FALSE(again.findChild<QCheckBox*>("chkSummary_Area")->isChecked());
    EXPECT_TRUE(again.findChild<QCheckBox*>("chkSummary_Total")->isChecked());
    EXPECT_EQ(again.summaryOptions().nameFormat, 1);
}

} // namespace
} // namespace zel::gui
