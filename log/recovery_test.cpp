#include "log/recovery.h"
#include "log/temp_point_file.h"

#include "common/hd_layout.h"
#include "common/testing/recording_host.h"
#include "log/raw_log_reader.h"
#include "log/raw_log_test_data.h"
#include "log/raw_log_writer.h"

#include <gtest/gtest.h>

#include <array>
#include <ctime>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <sys/stat.h>

namespace zel {
namespace {

namespace fs = std::filesystem;

struct RecoveryFixture : ::testing::Test {
    testing::RecordingHost host;
    FakeClock clock;
    cZEL_Data log{host, clock};
    LogArrays arrays;
    RawLogContext ctx;
    fs::path dir = fs::temp_directory_path() / ("zel_recover_" + std::to_string(::getpid()));
    std::string headerLog;

    void SetUp() override {
        fs::create_directories(dir);
        cZEL_Data source{host, clock};
        LogArrays a;
        RawLogContext c;
        testdata::fillSmallLog(source, a, c); // 8 columns, 3 samples, pressure/flow, metric
        // CH1 is sample 0 alone (the last two samples of a record never count), the other channels empty:
        // a point's %RE grows with its first sample.
        source.Cutoff_Index({0, 1, 2});
        headerLog = SaveRawLog((dir / "previous").string(), source, a, c, host).path;
        host.clear();
    }
    void TearDown() override { fs::remove_all(dir); }

    // Point p: depth 0.1 p, a %RE column the file does not keep, waveform first, p + 1, p + 2, pressure/flow
    // row 0.1 p, 1, 2, 3, 4.
    static void writePoint(TempPointFile& f, int p, float first) {
        std::array<float, 8> columns{};
        columns[point_column::Depth] = 0.1f * static_cast<float>(p);
        columns[point_column::Signal] = 1000.0f - static_cast<float>(p);
        columns[point_column::Rate] = 1.5f;
        const std::array<float, kPresFlowColumns> presFlow{0.1f * static_cast<float>(p), 1, 2, 3, 4, 0};
        const std::array<float, 3> wave{first, static_cast<float>(p + 1), static_cast<float>(p + 2)};
        ASSERT_TRUE(f.writePoint(columns, presFlow, wave));
    }
};

TEST_F(RecoveryFixture, RoundTripDropsATornLastRecordAndRecomputesTheMaxima) {
    const std::string temp = tempPointFilePath((dir / "push7.lif.raw.bin").string());
    EXPECT_EQ(temp, (dir / "push7.lif.raw.bin.temp").string());
    TempPointFile f;
    ASSERT_TRUE(f.open(temp));
    const float firsts[] = {2.0f, 9.5f, 9.5f, 4.0f};
    for (int p = 0; p < 4; ++p)
        writePoint(f, p, firsts[p]);
    f.close();
    {
        // The program died in the middle of the fifth record.
        std::ofstream torn(temp, std::ios::binary | std::ios::app);
        torn.write("\x01\x02\x03\x04\x05\x06\x07", 7);
    }
    const RecoveryResult r = RecoverFromTempFile(temp, headerLog, log, arrays, ctx, host);
    ASSERT_TRUE(r.ok) << ::testing::PrintToString(host.messages());
    EXPECT_EQ(r.points, 4);
    EXPECT_EQ(r.droppedBytes, 7u);
    EXPECT_EQ(r.recoveredPath, (dir / "push7_Recovered.lif.raw.bin").string());
    // One note, naming what the header log gave.
    ASSERT_EQ(host.messages().size(), 1u) << ::testing::PrintToString(host.messages());
    EXPECT_NE(host.messages()[0].find("From previous.lif.raw.bin it takes the point layout"),
              std::string::npos)
        << host.messages()[0];
    EXPECT_NE(host.messages()[0].find("Time_Stop (its last write) from the temporary file"),
              std::string::npos);

    // What is in memory is what the recovered file holds.
    cZEL_Data reread{host, clock};
    LogArrays rereadArrays;
    RawLogContext rereadCtx;
    RawLogLoadOptions quiet;
    quiet.quiet = true;
    ASSERT_TRUE(LoadRawLog(r.recoveredPath, reread, rereadArrays, rereadCtx, host, quiet).ok);
    EXPECT_EQ(reread.DataPoints(), 3);
    EXPECT_EQ(reread.Latitude(), "");
    // The maxima are those of the %RE recomputed from the waveforms against the header log's RE (sample
    // 0 less the background's: 0.5), not of the column the temporary file carried.
    const float expected = (9.5f + 0.01f) / (0.5f + 0.01f) * 100.0f;
    EXPECT_NEAR(rereadArrays.columns(point_column::Signal, 1), expected, 1e-3f);
    EXPECT_FLOAT_EQ(reread.Signal_MaxValue(), rereadArrays.columns(point_column::Signal, 1));
    EXPECT_FLOAT_EQ(reread.Signal_MaxDepth_M(), 0.1f); // the shallower of the two equal maxima
    EXPECT_FLOAT_EQ(reread.Depth_Max_M(), 0.3f);
    EXPECT_EQ(rereadArrays.waves(2, 3), 5.0f);
    EXPECT_FLOAT_EQ(rereadArrays.presFlow(presflow_column::PressureDown, 2), 3.0f);
    EXPECT_EQ(rereadArrays.re.samples,
              (std::vector<float>{1.0f, 2.5f, -0.13f})); // the header log's RE, 2 decimals

    f.remove();
    EXPECT_FALSE(fs::exists(temp));
}

// The recovered push's times are the temporary file's (its last write is the last point), not the header
// log's.
TEST_F(RecoveryFixture, TimesComeFromTheTemporaryFile) {
    const std::string temp = (dir / "late.lif.raw.bin.temp").string();
    {
        TempPointFile f;
        ASSERT_TRUE(f.open(temp));
        writePoint(f, 0, 1.0f);
    }
    std::tm tm{};
    tm.tm_year = 2021 - 1900;
    tm.tm_mon = 6;
    tm.tm_mday = 9;
    tm.tm_hour = 14;
    tm.tm_min = 30;
    tm.tm_sec = 5;
    tm.tm_isdst = -1;
    const std::time_t lastWrite = std::mktime(&tm);
    const timespec times[2] = {{lastWrite, 0}, {lastWrite, 0}};
    ASSERT_EQ(::utimensat(AT_FDCWD, temp.c_str(), times, 0), 0);

    const RecoveryResult r = RecoverFromTempFile(temp, headerLog, log, arrays, ctx, host);
    ASSERT_TRUE(r.ok) << ::testing::PrintToString(host.messages());
    const DateTime expectedStop{2021, 7, 9, 14, 30, 5};
    EXPECT_EQ(formatDateTime(log.Time_Stop(), "yyyy-mm-dd hh:nn:ss"), "2021-07-09 14:30:05");
    EXPECT_EQ(formatDateTime(r.timeStop, "yyyy-mm-dd hh:nn:ss"), "2021-07-09 14:30:05");
    // Created now (or, without a creation time, the last write): never the header log's 2016 start.
    EXPECT_EQ(log.Time_Start().toSerial(), r.timeStart.toSerial());
    EXPECT_GE(log.Time_Start().year, 2021);
    if (!r.startFromCreation) {
        EXPECT_EQ(log.Time_Start().toSerial(), expectedStop.toSerial());
    }
}

TEST_F(RecoveryFixture, FilesThatHoldNoPointAreRefused) {
    const std::string temp = (dir / "x.lif.raw.bin.temp").string();
    struct Case {
        std::string bytes;
        std::string header;
        std::string message;
    };
    const Case cases[] = {
        {"", headerLog, "Error in Recover_Temp: the file holds no whole point record."},
        {std::string(4 * 17 - 1, 'x'), headerLog, // one byte short of a record
         "Error in Recover_Temp: the file holds no whole point record."},
        {std::string(4 * 17, '\0'), (dir / "none.lif.raw.bin").string(),
         "Error in Recover_Temp: the log " + (dir / "none.lif.raw.bin").string() +
             " that describes the points could not be loaded."},
    };
    for (const Case& c : cases) {
        testdata::writeAll(temp, c.bytes);
        host.clear();
        EXPECT_FALSE(RecoverFromTempFile(temp, c.header, log, arrays, ctx, host).ok);
        ASSERT_FALSE(host.messages().empty());
        EXPECT_EQ(host.messages().back(), c.message);
    }
    EXPECT_FALSE(fs::exists(dir / "x_Recovered.lif.raw.bin"));
}

TEST(TempPointFile, RecordBoundsComeFromTheHeaderNotTheFile) {
    LogArrays arrays;
    EXPECT_FALSE(readTempPointFile("/nonexistent", 0, false, 3, arrays).ok);
    EXPECT_FALSE(readTempPointFile("/nonexistent", 8, false, kMaxSamplesPerWave + 1, arrays).ok);
    EXPECT_EQ(recoveredLogPath("/a/b.o2.raw.bin.temp", LogFamily::O2), "/a/b_Recovered.o2.raw.bin");
    EXPECT_EQ(recoveredLogPath("/a/b.LIF.RAW.BIN", LogFamily::Lif), "/a/b_Recovered.lif.raw.bin");
}

} // namespace
} // namespace zel

namespace zel {
namespace {

// An HD-board push is recovered from its side file: whole records become the recovered log's points as they
// stand (the push's four values included), a torn last record is dropped, and a header log that is not an
// HD-board log is refused.
TEST_F(RecoveryFixture, TheDataBoardsSideFileIsRecoveredRecordForRecord) {
    const std::uint32_t mask = 0x0083u | hd_layout::kPushValuesBit; // time, CH1, the 3-volt input
    const auto record = [](int p) {
        const float f = static_cast<float>(p);
        return std::array<float, 7>{10.0f + f, 2.0f + f, 1.5f, 0.25f * f, 40.0f + f, 3.0f, 0.5f};
    };
    // An HD-board log of the same set-up for the header.
    cZEL_Data source{host, clock};
    LogArrays a;
    RawLogContext c;
    c.hdBoardMode = true;
    source.WavePoints(hd_layout::kSignalColumns - 1);
    source.DataSets(hd_layout::kPointColumns);
    source.DataPoints(0);
    ASSERT_EQ(a.resize(hd_layout::kSignalColumns, hd_layout::kPointColumns, 1, false), ArrayStatus::Ok);
    a.re.samples = {9, 9, 9, 9};
    a.blank.samples = {0.5f, 0, 0, 0};
    {
        TempPointFile side;
        ASSERT_TRUE(side.open((dir / "hdprev.lif.raw.hd").string(), mask));
        ASSERT_TRUE(side.writePoint(record(0), {}, {}));
    }
    const std::string hdHeader = SaveRawLog((dir / "hdprev").string(), source, a, c, host).path;
    ASSERT_FALSE(hdHeader.empty());

    const std::string stream = (dir / "push9.lif.raw.hd").string();
    {
        TempPointFile f;
        ASSERT_TRUE(f.open(stream, mask));
        for (int p = 0; p < 3; ++p)
            ASSERT_TRUE(f.writePoint(record(p), {}, {}));
    }
    std::ofstream(stream, std::ios::binary | std::ios::app).write("\x01\x02\x03\x04\x05", 5);
    host.clear();

    RecoveryResult refused = RecoverFromTempFile(stream, headerLog, log, arrays, ctx, host);
    EXPECT_FALSE(refused.ok);
    ASSERT_FALSE(host.messages().empty());
    EXPECT_NE(host.messages().back().find("is not an HD-board log"), std::string::npos)
        << host.messages().back();

    const RecoveryResult r = RecoverFromTempFile(stream, hdHeader, log, arrays, ctx, host);
    ASSERT_TRUE(r.ok) << ::testing::PrintToString(host.messages());
    EXPECT_EQ(r.points, 3);
    EXPECT_EQ(r.droppedBytes, 5u);
    EXPECT_EQ(r.recoveredPath, (dir / "push9_Recovered.lif.raw.bin").string());
    EXPECT_FALSE(fs::exists(dir / "push9_Recovered.lif.raw.hd"));
    EXPECT_TRUE(fs::exists(stream));

    cZEL_Data back{host, clock};
    LogArrays b;
    RawLogContext bc;
    const RawLogLoadResult loaded = LoadRawLog(r.recoveredPath, back, b, bc, host);
    ASSERT_TRUE(loaded.ok);
    EXPECT_TRUE(loaded.hdBoard);
    ASSERT_EQ(b.points(), 3);
    const int board = hd_layout::kFirstBoardPointColumn;
    for (int p = 0; p < 3; ++p) {
        const auto v = record(p);
        EXPECT_EQ(b.columns(board + hd_layout::kTimeColumn, p), v[0]) << p;
        EXPECT_EQ(b.columns(board + hd_layout::kThreeVoltColumn, p), v[2]) << p;
        EXPECT_EQ(b.waves(0, p), v[1] - 0.5f) << p;
        EXPECT_EQ(b.columns(point_column::Depth, p), v[3 + hd_layout::PushDepth]) << p;
        EXPECT_EQ(b.columns(point_column::Signal, p), v[3 + hd_layout::PushSignal]) << p;
        EXPECT_EQ(b.columns(point_column::Rate, p), v[3 + hd_layout::PushRate]) << p;
    }
    EXPECT_FLOAT_EQ(back.Signal_MaxValue(), 42.0f);
}

} // namespace
} // namespace zel
