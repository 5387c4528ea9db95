#include "acquisition/log_recorder.h"

#include "acquisition/fakes.h"
#include "common/testing/recording_host.h"
#include "log/raw_log_reader.h"
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

} // namespace
} // namespace zel::acq
