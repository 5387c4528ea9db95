// A log saved and loaded again gets back the per-point values its push computed, bit for bit, so its data
// export is the one written at the end of the push. The end-to-end export test does the same through a
// simulated push; this one adds the gated layout and runs under the sanitizers.
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

constexpr int kSamples = 501;
constexpr float kDeltaX = 8e-10f;

TEST(PointProcessing, ALoadedLogHasThePushsPointValues) {
    std::vector<float> bg(kSamples);
    for (int i = 0; i < kSamples; ++i)
        bg[static_cast<std::size_t>(i)] = 0.313f + 0.0137f * static_cast<float>(i % 7);
    const auto plusBg = [&bg](std::vector<float> w) {
        for (std::size_t i = 0; i < w.size(); ++i)
            w[i] += bg[i];
        return w;
    };
    // Gated: CH1 from the first rise, which the file does not keep. Five pulses: a seven-channel RE.
    for (const auto& [acqType, pulses] : {std::pair{1, 4}, std::pair{0, 5}}) {
        testdata::TempFolder dir;
        ::zel::testing::RecordingHost host;
        FakeClock clock;
        std::vector<::zel::testing::Pulse> rePulses{{50, 97.3f}, {150, 81.7f}, {250, 58.9f}, {350, 41.3f}};
        if (pulses == 5) rePulses.push_back({450, 30.1f});
        const std::vector<float> reRaw = plusBg(::zel::testing::pulseTrain(kSamples, rePulses, 0.93f));

        // The push: the RE and background as the log keeps them, boundaries, reference; then each point less
        // the background, processed against it.
        cZEL_Waveform re(host);
        re.AcqType = acqType;
        re.NoScatterScaling = true;
        re.DeltaX = kDeltaX;
        std::vector<float> keptBg = bg, reSamples = reRaw;
        keepAsListValues(keptBg, list_decimals::Wave);
        keepAsListValues(reSamples, list_decimals::Wave);
        re.SetBackground(keptBg);
        ASSERT_TRUE(re.Process_Wave(reSamples));
        re.Process_Cutoffs(reSamples, false);
        ASSERT_TRUE(re.Process_RE(reSamples, true, false));
        ASSERT_EQ(re.ChannelsUsed(), pulses == 5 ? 7 : 4);
        cZEL_Waveform point(host);
        point.AcqType = acqType;
        point.DeltaX = kDeltaX;
        // The points take the RE's boundaries and their count (six for the seven-channel RE).
        point.CopyCutoffs(re);
        point.CopyReference(re);
        point.SetBackground(bg);

        cZEL_Data log(host, clock);
        LogArrays arrays;
        RawLogContext ctx;
        constexpr int points = 6;
        ASSERT_EQ(arrays.resize(kSamples, point_column::PushCount, points, false), ArrayStatus::Ok);
        arrays.re.samples = reRaw;
        arrays.blank.samples = bg;
        for (int p = 0; p < points; ++p) {
            const float k = 0.37f + 0.29f * static_cast<float>(p);
            std::vector<float> w = plusBg(::zel::testing::pulseTrain(
                kSamples, {{52, 90 * k}, {151, 70 / k}, {251, 50 * k}, {349, 33.3f}}, 0.91f));
            ASSERT_TRUE(point.Process_Wave(w));
            std::copy(w.begin(), w.end(), arrays.waves.row(p).begin());
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

        LogArrays back;
        RawLogLoadOptions options;
        options.processing.acqType = acqType;
        const RawLogLoadResult r = LoadRawLog(path, log, back, ctx, host, options);
        ASSERT_TRUE(r.ok && r.pointValues) << acqType;
        using namespace point_column;
        for (int p = 0; p < points; ++p)
            for (int col : {Signal, Scatter, Fluorescence, Ch1, Ch1 + 1, Ch1 + 2, Ch1 + 3})
                ASSERT_EQ(back.columns(col, p), arrays.columns(col, p)) << acqType << " " << p << " " << col;
        EXPECT_EQ(dataExportText(log, back, false), dataExportText(log, arrays, false));
        EXPECT_TRUE(host.messages().empty());
    }
}

// A seven-channel log loaded with the program's ordinary settings (three boundaries): its points keep the
// RE's six, so a point that is the RE itself is 100 %RE, not the share of its first four channels.
TEST(PointProcessing, SevenChannelPointsKeepTheREsSixBoundaries) {
    testdata::TempFolder dir;
    ::zel::testing::RecordingHost host;
    FakeClock clock;
    const std::vector<float> reRaw = ::zel::testing::pulseTrain(
        kSamples,
        {{40, 97.3f}, {100, 81.7f}, {160, 58.9f}, {220, 41.3f}, {280, 30.1f}, {340, 22.2f}, {400, 15.5f}},
        0.9f);
    cZEL_Data log(host, clock);
    LogArrays arrays;
    RawLogContext ctx;
    ASSERT_EQ(arrays.resize(kSamples, point_column::PushCount, 1, false), ArrayStatus::Ok);
    arrays.re.samples = reRaw;
    keepAsListValues(arrays.re.samples, list_decimals::Wave);
    std::vector<float> point = arrays.re.samples;
    point[kSamples - 1] = point[kSamples - 2] = 0.0f; // as the push stores its waveforms
    std::copy(point.begin(), point.end(), arrays.waves.row(0).begin());
    cZEL_Waveform re(host);
    re.DeltaX = kDeltaX;
    std::vector<float> samples = arrays.re.samples;
    re.Process_Cutoffs(samples, false);
    ASSERT_EQ(re.ChannelCount, 6);
    log.DataPoints(0);
    log.WavePoints(kSamples - 1);
    log.DataSets(point_column::PushCount);
    log.Wave_DeltaX(kDeltaX);
    log.Cutoff_Index({re.Cutoff[0], re.Cutoff[1], re.Cutoff[2]});
    ctx.channels = 7;
    const std::string path = SaveRawLog(dir.file("seven"), log, arrays, ctx, host).path;

    LogArrays back;
    RawLogLoadOptions options;
    options.processing.channelCount = 3;
    ASSERT_TRUE(LoadRawLog(path, log, back, ctx, host, options).pointValues);
    EXPECT_NEAR(back.columns(point_column::Signal, 0), 100.0f, 1e-3f);
}

} // namespace
} // namespace zel
