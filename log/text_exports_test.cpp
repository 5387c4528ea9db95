#include "log/data_export.h"
#include "log/run_log.h"
#include "log/wave_export.h"

#include "common/testing/recording_host.h"
#include "log/raw_log_test_data.h"
#include "settings/ini_file.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace zel {
namespace {

namespace fs = std::filesystem;
using testdata::readAll;

struct ExportFixture : ::testing::Test {
    testing::RecordingHost host;
    FakeClock clock;
    cZEL_Data log{host, clock};
    LogArrays arrays;
    fs::path dir = fs::temp_directory_path() / ("zel_export_" + std::to_string(::getpid()));
    void SetUp() override { fs::create_directories(dir); }
    void TearDown() override { fs::remove_all(dir); }

    // Two points, 12 columns, conductivity and blow counts, pressure/flow.
    void buildLog(bool presFlow) {
        log.File_FullPath((dir / "MW-7.lif.raw.bin").string());
        log.File_Title("MW-7.lif.raw.bin");
        log.CondOffset(0.25f);
        log.Blow_Offset(1.0f);
        log.Blow_Max(4.0f);
        log.PresFlow(presFlow);
        arrays.resize(3, 12, 2, presFlow);
        for (int p = 0; p < 2; ++p) {
            arrays.columns(point_column::Depth, p) = 1.0f + 0.05f * static_cast<float>(p);
            arrays.columns(2, p) = 12.34567f * static_cast<float>(p + 1);
            for (int ch = 0; ch < 4; ++ch)
                arrays.columns(8 + ch, p) = 0.25f * static_cast<float>(ch);
            arrays.columns(point_column::Rate, p) = 1.5f;
            arrays.columns(point_column::Conductivity, p) = -2.0f;
            arrays.hammer(hammer_column::BlowCount, p) = static_cast<float>(3 + p);
            if (presFlow) {
                arrays.presFlow(presflow_column::Depth, p) = 1.0f;
                arrays.presFlow(presflow_column::Time, p) = 0.5f;
                arrays.presFlow(presflow_column::PressureUp, p) = 10.0f;
                arrays.presFlow(presflow_column::PressureDown, p) = 20.12345f;
                arrays.presFlow(presflow_column::FlowUp, p) = 300.0f;
                arrays.presFlow(presflow_column::KEstimate, p) = 0.1f;
            }
        }
    }
};

TEST_F(ExportFixture, DataExportBytes) {
    buildLog(false);
    EXPECT_EQ(dataExportText(log, arrays, true),
              "Depth\tSignal\tCh1\tCh2\tCh3\tCh4\tRate\tEC Depth\tEC Value\tHmr Depth\tHmr Value\tColor\r\n"
              "1.000\t12.3457\t0.0000\t0.2500\t0.5000\t0.7500\t1.5000\t0.750\t-2.0000\t0.000\t3.0000\t\r\n"
              "1.050\t24.6913\t0.0000\t0.2500\t0.5000\t0.7500\t1.5000\t0.800\t-2.0000\t0.050\t4.0000\t\r\n");
}

TEST_F(ExportFixture, DataExportWithPressureFlowAndWithoutConductivityOrHammer) {
    buildLog(true);
    log.Blow_Max(0.0f);
    const std::string text = dataExportText(log, arrays, false);
    EXPECT_EQ(text.substr(0, text.find("\r\n") + 2),
              "Depth\tSignal\tCh1\tCh2\tCh3\tCh4\tRate\tEC Depth\tEC Value\tHmr Depth\tHmr Value\tColor"
              "\tHP Depth\tHP Time\tHP PresUp\tHP PresDown\tHP FlowUp\tHP K est.\r\n");
    // The pressures as the raw log keeps them (3 decimals), so a reloaded log exports the same digits.
    EXPECT_NE(text.find("1.000\t12.3457\t0.0000\t0.2500\t0.5000\t0.7500\t1.5000\t\t\t\t\t\t"
                        "1.000\t0.500\t10.0000\t20.1230\t300.0000\t0.1000\r\n"),
              std::string::npos)
        << text;
}

TEST_F(ExportFixture, DataExportPathAndFile) {
    buildLog(false);
    EXPECT_EQ(dataExportPath(log, LogFamily::Lif, ""), (dir / "MW-7.lif.dat.txt").string());
    EXPECT_EQ(dataExportPath(log, LogFamily::Lif, "/tmp/out"), "/tmp/out/MW-7.lif.dat.txt");
    EXPECT_EQ(dataExportPath(log, LogFamily::O2, "/tmp/out/"), "/tmp/out/MW-7.o2.dat.txt");
    RawLogContext ctx;
    const auto written = ExportDataText(log, arrays, ctx, dir.string(), host);
    ASSERT_TRUE(written);
    EXPECT_EQ(readAll(*written), dataExportText(log, arrays, false));
    EXPECT_FALSE(ExportDataText(log, arrays, ctx, (dir / "missing" / "deeper").string(), host));
    EXPECT_EQ(host.messages().size(), 1u);
    log.File_FullPath((dir / "C-1.clr.raw.bin").string());
    log.File_Title("C-1.clr.raw.bin");
    ctx.family = LogFamily::Colour;
    const auto colour = ExportDataText(log, arrays, ctx, "", host);
    ASSERT_TRUE(colour);
    EXPECT_EQ(*colour, (dir / "C-1.clr.dat.txt").string());
    EXPECT_EQ(readAll(*colour), colourExportText(log, arrays, false));
}

TEST_F(ExportFixture, ColourExportBytes) {
    log.CondOffset(0.5f);
    log.Blow_Offset(1.0f);
    log.Blow_Max(4.0f);
    arrays.resize(3, 8, 2, false);
    for (int p = 0; p < 2; ++p) {
        arrays.columns(point_column::Depth, p) = 2.0f + 0.25f * static_cast<float>(p);
        arrays.columns(point_column::Rate, p) = 0.876f; // the raw log keeps 2 decimals
        arrays.columns(point_column::Conductivity, p) = 12.5f * static_cast<float>(p);
        arrays.hammer(hammer_column::BlowCount, p) = static_cast<float>(7 - p);
    }
    EXPECT_EQ(colourExportText(log, arrays, true),
              "Depth\tRate\tRGB\tM_Hue\tM_Val\tM_Chr\tCnd_Depth\tCnd_Val\tHmr_Depth\tHmr_Rate\r\n"
              "2.000\t0.8800\t\t\t\t\t1.500\t0.0000\t1.000\t7.0000\r\n"
              "2.250\t0.8800\t\t\t\t\t1.750\t12.5000\t1.250\t6.0000\r\n");
    log.Blow_Max(0.0f);
    const std::string bare = colourExportText(log, arrays, false);
    EXPECT_EQ(bare.substr(bare.find("\r\n") + 2, 22), "2.000\t0.8800\t\t\t\t\t\t\t\t\r\n");
}

TEST_F(ExportFixture, WaveExportDialogAndBytes) {
    const std::vector<float> wave{1.0f, -2.5f, 100.1234f};
    EXPECT_EQ(waveExportText(wave, 8e-10f), "0.0\t1.000\r\n0.8\t-2.500\r\n1.6\t100.123\r\n");

    EXPECT_FALSE(ExportWaveText(wave, 8e-10f, false, "/data", host, clock)); // cancelled
    host.answerDialog(FileDialogResult{(dir / "w").string(), 1});
    const auto path = ExportWaveText(wave, 8e-10f, true, "/data", host, clock);
    ASSERT_TRUE(path);
    EXPECT_EQ(*path, (dir / "w.clr.wav.txt").string());
    EXPECT_EQ(readAll(*path), waveExportText(wave, 8e-10f));
    const auto& lif = host.events()[0].dialog;
    EXPECT_EQ(host.events()[0].kind, testing::HostEvent::Kind::SaveDialog);
    EXPECT_EQ(lif.title, "Save waveform as...");
    EXPECT_EQ(lif.filter, "Waveform|*.lif.wav.txt");
    EXPECT_EQ(lif.fileName, "20160412_154510");
    EXPECT_EQ(host.events()[1].dialog.filter, "Waveform|*.clr.wav.txt");
}

TEST_F(ExportFixture, RunLogReplacesTheEntryAndStartsANewFileEachMonth) {
    log.ZEL_Unit("Alder1000");
    log.File_Title("001-UV.lif.raw.bin");
    log.Time_Start(DateTime{2016, 4, 12, 15, 45, 10});
    log.Site("Site A");
    log.mode("Fir 2");
    log.Signal_MaxValue(12.5f);
    log.RE_Area(449.6f);
    log.DataPoints(40);
    const std::string april = WriteRunLog(dir.string(), log, clock, false);
    EXPECT_EQ(april, dir.string() + "/log/Alder1000_2016_04.lif.log");
    log.DataPoints(41);
    WriteRunLog(dir.string(), log, clock, false);
    EXPECT_EQ(readAll(april), "[001-UV]\r\n"
                              "Time_Start=4/12/2016 3:45:10 PM\r\nSite=Site A\r\nClient= \r\nMode=Fir 2\r\n"
                              "Emulate=False\r\nSignal_MaxValue=12.5\r\nSignal_MaxDepth_Ft=0\r\n"
                              "Signal_MaxDepth_M=0\r\nDepth_Max_Ft=0\r\nDepth_Max_M=0\r\nRE_Area=449.6\r\n"
                              "Background_Area=0\r\nLatitude= \r\nLongitude= \r\nCoordSystem= \r\n"
                              "Data_Points=41\r\n");

    clock.set(DateTime{2016, 5, 1, 0, 0, 1});
    const std::string may = WriteRunLog(dir.string(), log, clock, true);
    EXPECT_EQ(may, dir.string() + "/log/Alder1000_2016_05.clr.log");
    cInifile ini;
    ini.Path = may;
    ini.Section = "001-UV";
    EXPECT_EQ(ini.EnumerateCurrentSection(),
              (std::vector<std::string>{"Time_Start", "Site", "Client", "Mode", "Depth_Max_Ft", "Depth_Max_M",
                                        "Latitude", "Longitude", "CoordSystem", "Data_Points"}));
}

} // namespace
} // namespace zel
