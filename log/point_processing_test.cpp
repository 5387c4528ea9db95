// A log saved and loaded again gets back the per-point values its push computed: the same %RE, S, F and
// channel areas, bit for bit, so its data export is the one written at the end of the push.
#include "log/point_processing.h"

#include "common/testing/recording_host.h"
#include "log/data_export.h"
#include "log/data_lists.h"
#include "log/raw_log_reader.h"
#include "log/raw_log_test_data.h"
#include "log/raw_log_writer.h"
#include "waveform/synthetic_waves.h"

#include <gtest/gtest.h>

namespace zel {
namespace {

using testing::Pulse;
using testing::pulseTrain;

constexpr int kSamples = 501;
constexpr float kDeltaX = 8e-10f;

std::vector<float> withBackground(std::vector<float> w, const std::vector<float>& bg) {
    for (std::size_t i = 0; i < w.size(); ++i)
        w[i] += bg[i];
    return w;
}

TEST(PointProcessing, ALoadedLogHasThePushsPointValues) {
    struct Case {
        const char* name;
        int acqType;
        std::vector<Pulse> rePulses; // five pulses: the RE search finds seven channels
    };
    const Case cases[] = {
        {"standard", 0, {{50, 97.3f}, {150, 81.7f}, {250, 58.9f}, {350, 41.3f}}},
        {"gated", 1, {{50, 97.3f}, {150, 81.7f}, {250, 58.9f}, {350, 41.3f}}},
        {"seven-channel RE", 0, {{50, 97.3f}, {150, 81.7f}, {250, 58.9f}, {350, 41.3f}, {450, 30.1f}}},
    };
    std::vector<float> bg(kSamples);
    for (int i = 0; i < kSamples; ++i)
        bg[static_cast<std::size_t>(i)] = 0.313f + 0.0137f * static_cast<float>(i % 7);

    for (const Case& c : cases) {
        testdata::TempFolder dir;
        ::zel::testing::RecordingHost host;
        FakeClock clock;
        const std::vector<float> reRaw = withBackground(pulseTrain(kSamples, c.rePulses, 0.93f), bg);

        // The push: the RE as the log keeps it, less the background, boundaries, reference; then every point
        // less the background and processed against it.
        cZEL_Waveform re(host);
        re.AcqType = c.acqType;
        re.NoScatterScaling = true;
        re.DeltaX = kDeltaX;
        std::vector<float> keptBg = bg, reSamples = reRaw;
        keepAsListValues(keptBg, list_decimals::Wave);
        keepAsListValues(reSamples, list_decimals::Wave);
        re.SetBackground(keptBg);
        ASSERT_TRUE(re.Process_Wave(reSamples));
        re.Process_Cutoffs(reSamples, false);
        ASSERT_TRUE(re.Process_RE(reSamples, true, false));
        ASSERT_EQ(re.ChannelCount, c.rePulses.size() == 5 ? 6 : 3) << c.name;
        cZEL_Waveform point(host);
        point.AcqType = c.acqType;
        point.DeltaX = kDeltaX;
        point.CopyCutoffs(re);
        point.ChannelCount = 3;
        point.CopyReference(re);
        point.SetBackground(bg);

        cZEL_Data log(host, clock);
        LogArrays arrays;
        RawLogContext ctx;
        constexpr int points = 6;
        ASSERT_EQ(arrays.resize(kSamples, point_column::PushCount, points, false), ArrayStatus::Ok);
        arrays.re.samples = reRaw;
        arrays.re.deltaX = kDeltaX;
        arrays.blank.samples = bg;
        for (int p = 0; p < points; ++p) {
            const float k = 0.37f + 0.29f * static_cast<float>(p);
            std::vector<float> w = withBackground(
                pulseTrain(kSamples, {{52, 90 * k}, {151, 70 / k}, {251, 50 * k}, {349, 33.3f}}, 0.91f), bg);
            ASSERT_TRUE(point.Process_Wave(w));
            std::copy(w.begin(), w.end(), arrays.waves.row(p).begin());
            arrays.columns(point_column::Depth, p) = 0.05f * static_cast<float>(p);
            arrays.columns(point_column::Signal, p) = point.Wave_Signal;
            arrays.columns(point_column::Scatter, p) = point.Wave_ScatSum;
            arrays.columns(point_column::Fluorescence, p) = point.Wave_FluorSum;
            for (int ch = 0; ch < 4; ++ch)
                arrays.columns(point_column::Ch1 + ch, p) = point.Wave_AreaCH[static_cast<std::size_t>(ch)];
        }
        log.DataPoints(points - 1);
        log.WavePoints(kSamples - 1);
        log.DataSets(point_column::PushCount);
        log.Wave_DeltaX(kDeltaX);
        log.Cutoff_Index({re.Cutoff[0], re.Cutoff[1], re.Cutoff[2]});
        ctx.channels = re.ChannelsUsed();
        const std::string path = SaveRawLog(dir.file("push"), log, arrays, ctx, host).path;

        cZEL_Data loaded(host, clock);
        LogArrays back;
        RawLogContext backCtx;
        RawLogLoadOptions options;
        options.processing.acqType = c.acqType;
        const RawLogLoadResult r = LoadRawLog(path, loaded, back, backCtx, host, options);
        ASSERT_TRUE(r.ok) << c.name;
        EXPECT_TRUE(r.pointValues) << c.name;
        for (int p = 0; p < points; ++p)
            for (int col :
                 {point_column::Signal, point_column::Scatter, point_column::Fluorescence, point_column::Ch1,
                  point_column::Ch1 + 1, point_column::Ch1 + 2, point_column::Ch1 + 3})
                ASSERT_EQ(back.columns(col, p), arrays.columns(col, p))
                    << c.name << " point " << p << " column " << col;
        EXPECT_EQ(dataExportText(loaded, back, false), dataExportText(log, arrays, false)) << c.name;
        EXPECT_TRUE(host.messages().empty()) << c.name;
    }
}

TEST(PointProcessing, WithoutAnRENothingIsRecomputedAndTheExportLeavesTheFieldsEmpty) {
    testdata::TempFolder dir;
    ::zel::testing::RecordingHost host;
    FakeClock clock;
    cZEL_Data log(host, clock);
    LogArrays arrays;
    RawLogContext ctx;
    testdata::fillSmallLog(log, arrays, ctx);
    arrays.re.samples.clear();
    const std::string path = SaveRawLog(dir.file("nore"), log, arrays, ctx, host).path;
    RawLogLoadOptions quiet;
    quiet.quiet = true;
    const RawLogLoadResult r = LoadRawLog(path, log, arrays, ctx, host, quiet);
    ASSERT_TRUE(r.ok);
    EXPECT_TRUE(r.reMissing);
    EXPECT_FALSE(r.pointValues);
    const auto written = ExportDataText(log, arrays, ctx, dir.path.string(), host, r.pointValues);
    ASSERT_TRUE(written);
    EXPECT_NE(testdata::readAll(*written).find("\r\n0.050\t\t\t\t\t\t2.2500\t"), std::string::npos);
}

} // namespace
} // namespace zel
