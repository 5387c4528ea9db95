#include "acquisition/log_recorder.h"

#include "acquisition/fakes.h"
#include "common/testing/recording_host.h"
#include "log/raw_log_reader.h"
#include "log/temp_point_file.h"
#include "settings/memory_form.h"
#include "waveform/synthetic_waves.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <unistd.h>

namespace zel::acq {
namespace {

namespace fs = std::filesystem;
using zel::testing::RecordingHost;

struct TempDir {
    fs::path path = fs::temp_directory_path() / ("zel_recorder_" + std::to_string(::getpid()));
    TempDir() {
        fs::remove_all(path);
        fs::create_directories(path);
    }
    ~TempDir() { fs::remove_all(path); }
};

// A whole push of four depths through the recorder, from a depth counter in stepped read-back mode; the
// saved log is read back.
TEST(LogRecorder, PushSavedReadsBackPointForPoint) {
    TempDir dir;
    FakeClock clock;
    RecordingHost host{&clock};
    testing::FakeScope scope;
    testing::FakeBoard board;
    testing::FakePushDepth depth;
    testing::FakeGps gps;
    testing::FakeDisplay display;
    MemoryFormSet forms;
    cZEL_Data log{host, clock};
    LogArrays arrays;
    LogRecorder recorder{host, clock, log, arrays, forms, (dir.path / "Push1").string(), dir.path.string()};
    ReferenceControl reference{host, clock, scope, board, depth};
    PushControl push{host, clock, reference, scope, board, depth, gps, display, recorder};

    scope.waves["CH2"] = Waveform{zel::testing::pulseTrain(300, {{40}, {110}, {180}, {250}}), 5e-9f, 1e-7};
    ASSERT_TRUE(reference.AcquireReference(kRE));
    reference.FirstAcquisition = true;
    depth.script = {0.05f, 0.1f, 0.15f, 0.2f};
    depth.rates = {0.5f, 0.6f, 0.7f, 0.8f};
    depth.mode = 2;
    depth.steps = {50.0f, 100.0f, 150.0f, 200.0f};
    // The operator corrects the site while the push runs: the log keeps the corrected text.
    std::string site = "Site as started";
    log.setInfoSource([&site] {
        LogInfo info;
        info.site = site;
        return info;
    });
    log.setGpsSource([] {
        GpsFix fix;
        fix.latitude = "4807.038,N";
        return fix;
    });

    // Every point reported as taken is already in the temporary file.
    std::vector<int> inTempFile;
    push.PointTaken = [&](int n, const PointRecord&) {
        LogArrays read;
        const TempReadResult t = readTempPointFile(recorder.TempPath(), push_column::Count, false, 300, read);
        EXPECT_EQ(t.points, n);
        inTempFile.push_back(t.points);
        site = "Site corrected";
        // The next point's waveform differs, so the stored ones can be told apart.
        for (float& v : scope.waves["CH2"].samples)
            v *= 0.5f;
    };
    ASSERT_TRUE(push.StartPush());
    EXPECT_EQ(inTempFile, (std::vector<int>{1, 2, 3, 4}));
    EXPECT_FALSE(fs::exists(recorder.TempPath()));

    const RecordedFiles& files = recorder.Files();
    EXPECT_EQ(files.rawLog, (dir.path / "Push1.lif.raw.bin").string());
    for (const std::string& f : {files.rawLog, files.companion, files.dataExport, files.runLog})
        EXPECT_TRUE(fs::exists(f)) << f;
    EXPECT_EQ(files.runLog.rfind(dir.path.string() + "/log/", 0), 0u);

    cZEL_Data loaded{host, clock};
    LogArrays back;
    RawLogContext ctx;
    ASSERT_TRUE(LoadRawLog(files.rawLog, loaded, back, ctx, host).ok);
    ASSERT_EQ(back.points(), 4);
    EXPECT_EQ(ctx.depthMode, 2);
    EXPECT_EQ(loaded.Site(), "Site corrected");
    EXPECT_EQ(loaded.Latitude(), "4807.038,N");
    EXPECT_EQ(back.waves.samplesPerWave(), 300);
    for (int p = 0; p < 4; ++p) {
        EXPECT_FLOAT_EQ(back.columns(push_column::Depth, p), depth.script[p]);
        EXPECT_FLOAT_EQ(back.columns(push_column::Rate, p), depth.rates[p]);
        EXPECT_FLOAT_EQ(back.counter(0, p), depth.steps[p]);
        const auto wave = back.waves.wave(p);
        for (int i = 0; i < 298; ++i) // processing zeroes the last two samples
            ASSERT_FLOAT_EQ(wave[i], arrays.waves.wave(p)[i]) << p << " " << i;
    }
    // Each point half the one before: %RE 100, 50, 25, 12.5 (the raw log keeps the waveforms; the %RE is in
    // the export and the maximum in the log's statistics).
    // The RE is kept to 0.01 mV, as the raw log keeps it.
    EXPECT_NEAR(arrays.columns(push_column::Signal, 3), 12.5f, 0.01);
    EXPECT_NEAR(loaded.Signal_MaxValue(), 100.0f, 0.01);
    ASSERT_EQ(back.re.samples.size(), reference.RERaw.samples.size());
    for (std::size_t i = 0; i < back.re.samples.size(); ++i)
        ASSERT_NEAR(back.re.samples[i], reference.RERaw.samples[i], 0.0051) << i; // kept to 2 decimals
}

// HD-board mode: the board's records are the points. While the push runs the side file holds the mask and
// one record a point, each durable before the next is taken; the saved log's binary part is that file, and
// loading it gives back the arrays the push filled for the live plot.
TEST(LogRecorder, HdBoardPushStreamsTheSideFileAndLoadsBackAsPushed) {
    TempDir dir;
    FakeClock clock;
    RecordingHost host{&clock};
    testing::FakeScope scope;
    testing::FakeBoard board;
    testing::FakePushDepth depth;
    testing::FakeGps gps;
    testing::FakeDisplay display;
    MemoryFormSet forms;
    cZEL_Data log{host, clock};
    LogArrays arrays;
    LogRecorder recorder{host, clock, log, arrays, forms, (dir.path / "Hd1").string(), dir.path.string()};
    ReferenceControl reference{host, clock, scope, board, depth};
    PushControl push{host, clock, reference, scope, board, depth, gps, display, recorder};

    board.inUse = true;
    board.digitiser = true;
    board.channels = HdChannels{0.25f, 0.5f, 0.75f, 1.0f};
    ASSERT_TRUE(reference.AcquireReference(kBackground));
    board.channels = HdChannels{4.25f, 6.5f, 5.75f, 3.0f};
    ASSERT_TRUE(reference.AcquireReference(kRE));
    reference.FirstAcquisition = true;
    recorder.Context.hdBoardMode = true;
    recorder.HdMask = 0x0FFFu | hd_layout::kPushValuesBit;
    recorder.Context.hdInt = 100;
    recorder.Context.hdAvg = 16;

    HdBoardValues record{};
    for (int c = 0; c < hd_layout::kBoardColumns; ++c)
        record[static_cast<std::size_t>(c)] = 1.0f + static_cast<float>(c);
    board.record = record;
    depth.script = {0.05f, 0.1f, 0.15f};
    depth.rates = {0.5f, 0.75f, 0.25f};
    const std::string side = (dir.path / "Hd1.lif.raw.hd").string();
    const std::uintmax_t recordBytes = 4u * hd_layout::recordValues(recorder.HdMask);
    std::vector<std::uintmax_t> sideSizes;
    push.PointTaken = [&](int, const PointRecord&) {
        sideSizes.push_back(fs::file_size(side));
        for (int k = 1; k <= 4; ++k)
            (*board.record)[static_cast<std::size_t>(k)] *= 2.0f;
    };
    ASSERT_TRUE(push.StartPush());
    EXPECT_TRUE(scope.calls.empty()) << "the board is the digitiser: the scope is never asked";
    EXPECT_EQ(sideSizes,
              (std::vector<std::uintmax_t>{4 + recordBytes, 4 + 2 * recordBytes, 4 + 3 * recordBytes}));
    EXPECT_FALSE(fs::exists(side));
    EXPECT_FALSE(fs::exists(tempPointFilePath((dir.path / "Hd1.lif.raw.bin").string())));

    const std::string raw = recorder.Files().rawLog;
    ASSERT_FALSE(raw.empty());
    cZEL_Data loaded{host, clock};
    LogArrays back;
    RawLogContext ctx;
    const RawLogLoadResult r = LoadRawLog(raw, loaded, back, ctx, host);
    ASSERT_TRUE(r.ok);
    EXPECT_TRUE(r.hdBoard);
    EXPECT_EQ(fs::file_size(raw), r.text.size() + 4 + 3 * recordBytes) << "no trailer";
    EXPECT_EQ(ctx.hdInt, 100);
    EXPECT_EQ(ctx.hdAvg, 16);
    ASSERT_EQ(back.points(), 3);
    ASSERT_EQ(arrays.points(), 3);
    for (int p = 0; p < 3; ++p) {
        for (int c = 0; c < hd_layout::kPointColumns; ++c) {
            if (c == push_column::RateMark) continue; // the push's own mark, not a column of the log
            EXPECT_EQ(back.columns(c, p), arrays.columns(c, p)) << "column " << c << " point " << p;
        }
        for (int k = 0; k < 4; ++k)
            EXPECT_EQ(back.waves(k, p), arrays.waves(k, p)) << p << " " << k;
        EXPECT_EQ(back.columns(push_column::Depth, p), depth.script[static_cast<std::size_t>(p)]);
        EXPECT_EQ(back.columns(push_column::Rate, p), depth.rates[static_cast<std::size_t>(p)]);
        EXPECT_EQ(back.columns(push_column::Conductivity, p), board.aux[0]);
    }
    // Channels 2, 4, 6, 8 (then doubled each point) less the background, against the RE less the background.
    const HdChannels background{0.25f, 0.5f, 0.75f, 1.0f};
    const HdChannels re{4.25f, 6.5f, 5.75f, 3.0f};
    for (int p = 0; p < 3; ++p) {
        const float scale = static_cast<float>(1 << p);
        const HdChannels channels{2.0f * scale, 3.0f * scale, 4.0f * scale, 5.0f * scale};
        EXPECT_FLOAT_EQ(back.columns(push_column::Signal, p), HdPercentRE(channels, re, background)) << p;
        EXPECT_FLOAT_EQ(back.waves(0, p), channels[0] - background[0]) << p;
    }
}

} // namespace
} // namespace zel::acq
