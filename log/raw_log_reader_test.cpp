#include "log/raw_log_reader.h"

#include "common/hd_layout.h"

#include "common/testing/recording_host.h"
#include "log/raw_log_test_data.h"
#include "log/raw_log_writer.h"

#include <gtest/gtest.h>

#include <bit>

#include <cmath>

namespace zel {
namespace {

using namespace testdata;
using raw_log::kAlteredMessage;

// IEEE singles spelled as their bit patterns.
const std::string kOne = le32(0x3F800000), kTwo = le32(0x40000000), kThree = le32(0x40400000),
                  kFour = le32(0x40800000), kMinusOne = le32(0xBF800000), kHalf = le32(0x3F000000);

// Two points of two samples; keys out of the writer's order, blank lines, names in other cases.
const std::string kText = "[INFO]\r\n"
                          "\r\n"
                          "units=M\r\n"
                          "Time_Start=10/9/2015 8:00:00 AM\r\n"
                          "Mode=BIRCH\xAE\r\n"
                          "Notes=a\x03"
                          "b\r\n"
                          "[DATA_INFO]\r\n"
                          "Wave_Points=1\r\n"
                          "Data_Points=1\r\n"
                          "Data_Cols=8\r\n"
                          "PresFlow=True\r\n"
                          "Dogwood=False\r\n"
                          "TimeMode=true\r\n"
                          "Cutoff_Index=5,6,7\r\n"
                          "[GPS]\r\n"
                          "UTC=1\r\n"
                          "\r\n"
                          "[DATA]\r\n"
                          "DEPTH=0.5,1.5\r\n"
                          "RE=1.00, 2.00\r\n"
                          "COND=3,4\r\n"
                          "O2=9,9\r\n"
                          "DATA=Binary Appended\r\n";
const std::string kBlock = kOne + kTwo + kThree + kMinusOne;

RawLogLoadOptions options(bool quiet, std::optional<LogFamily> family, bool baselineFeature) {
    RawLogLoadOptions o;
    o.quiet = quiet;
    o.family = family;
    o.baselineFeature = baselineFeature;
    return o;
}

std::string withTrailer(const std::string& text, const std::string& block) {
    return text + block + le32(static_cast<std::uint32_t>(text.size()));
}

class RawLogReaderTest : public ::testing::Test {
protected:
    RawLogLoadResult load(const std::string& bytes, RawLogLoadOptions options = {}) {
        writeAll(path, bytes);
        host.clear();
        return LoadRawLog(path, log, arrays, ctx, host, options);
    }
    testing::RecordingHost host;
    FakeClock clock;
    cZEL_Data log{host, clock};
    LogArrays arrays;
    RawLogContext ctx;
    TempFolder dir;
    std::string path = dir.file("x.lif.raw.bin");
};

TEST_F(RawLogReaderTest, SectionsAreReadByKeyName) {
    const auto r = load(withTrailer(kText, kBlock));
    ASSERT_TRUE(r.ok) << (host.messages().empty() ? "" : host.messages()[0]);
    EXPECT_TRUE(host.messages().empty());
    EXPECT_FALSE(r.repaired);
    EXPECT_EQ(r.textLength, kText.size());
    EXPECT_TRUE(log.Metric());
    EXPECT_EQ(log.Note(), "a\r\nb");
    EXPECT_EQ(ctx.modeFamily, ModeFamily::Birch);
    EXPECT_FALSE(log.TimeMode()); // only the exact text "True" counts
    EXPECT_TRUE(log.Dogwood());   // before 2015-10-10 the flag is PresFlow's
    EXPECT_EQ(log.Cutoff_Index(), (std::array<int, 3>{5, 6, 7}));
    EXPECT_EQ(log.CoordSystem(), "WGS-84");
    EXPECT_EQ(log.DataPoints(), 1);
    EXPECT_EQ(arrays.re.samples, (std::vector<float>{1.0f, 2.0f}));
    EXPECT_EQ(arrays.columns(point_column::Depth, 1), 1.5f);
    EXPECT_EQ(arrays.columns(point_column::ConductivityBirch, 1), 4.0f); // the Birch mode's column
    EXPECT_EQ(arrays.columns(point_column::Conductivity, 1), 0.0f);
    EXPECT_EQ(arrays.columns(point_column::O2, 0), 0.0f); // O2 ignored outside O2 mode
    EXPECT_EQ(std::vector<float>(arrays.waves.values().begin(), arrays.waves.values().end()),
              (std::vector<float>{1.0f, 2.0f, 3.0f, -1.0f}));

    ASSERT_TRUE(load(withTrailer(kText, kBlock), options(false, LogFamily::O2, false)).ok);
    EXPECT_EQ(arrays.columns(point_column::O2, 0), 9.0f);
}

TEST_F(RawLogReaderTest, DogwoodFollowsPresFlowOnlyBeforeTheTenthOfOctober2015) {
    struct Case {
        const char* start;
        const char* dogwood; // nullptr: no key
        bool expected;
    };
    for (const Case& c : {Case{"10/9/2015 11:59:59 PM", "False", true}, Case{"10/10/2015", "False", false},
                          Case{"2016-01-01 00:00:00", "True", true}, Case{"10/10/2015", nullptr, false},
                          Case{"", "False", true}}) {
        std::string text =
            "[INFO]\r\nTime_Start=" + std::string(c.start) + "\r\n[DATA_INFO]\r\nPresFlow=True\r\n";
        if (c.dogwood) text += "Dogwood=" + std::string(c.dogwood) + "\r\n";
        const RawLogText t(text);
        log.Dogwood(false);
        ReadInfo(t, log, ctx);
        ReadDataInfo(t, log, ctx);
        EXPECT_EQ(log.Dogwood(), c.expected) << c.start;
    }
}

TEST_F(RawLogReaderTest, EditedTextPartIsRepairedOnceThenLoadsQuietly) {
    // The operator typed four characters into Notes: the trailer still names the old length.
    std::string edited = kText;
    edited.replace(edited.find("a\x03"), 1, "abcde");
    const std::string bytes = edited + kBlock + le32(static_cast<std::uint32_t>(kText.size()));
    auto r = load(bytes);
    ASSERT_TRUE(r.ok);
    EXPECT_TRUE(r.repaired);
    EXPECT_EQ(*r.trailer, static_cast<std::int32_t>(kText.size()));
    EXPECT_EQ(host.messages(), std::vector<std::string>{std::string(kAlteredMessage)});
    EXPECT_EQ(arrays.waves(1, 1), -1.0f);
    const std::string repaired = readAll(path);
    EXPECT_EQ(repaired, edited + kBlock + le32(static_cast<std::uint32_t>(edited.size())));

    host.clear();
    r = LoadRawLog(path, log, arrays, ctx, host);
    EXPECT_TRUE(r.ok && !r.repaired);
    EXPECT_TRUE(host.messages().empty());

    // A quiet load mends the trailer without a word.
    r = load(bytes, options(true, std::nullopt, false));
    EXPECT_TRUE(r.ok && r.repaired);
    EXPECT_TRUE(host.messages().empty());
}

TEST_F(RawLogReaderTest, MarkerAcrossTheChunkBoundaryIsFound) {
    // Pad Notes so that "Appended" starts 4 bytes before offset 10,000 and ends 4 bytes after it.
    const std::string head = kText.substr(0, kText.find("DATA=Binary"));
    const std::size_t markerAt = head.size() + std::string("DATA=Binary ").size();
    std::string text = kText;
    text.insert(text.find("b\r\n"), std::string(9996 - markerAt, 'n'));
    ASSERT_EQ(text.find("Appended"), 9996u);
    const auto r = load(withTrailer(text, kBlock));
    ASSERT_TRUE(r.ok);
    EXPECT_FALSE(r.repaired);
    EXPECT_EQ(r.textLength, text.size());
    EXPECT_EQ(arrays.waves(0, 1), 3.0f);
}

TEST_F(RawLogReaderTest, MissingReIsZerosAndOneMessage) {
    std::string text = kText;
    text.replace(text.find("RE=1.00, 2.00"), 13, "RE=");
    const auto r = load(withTrailer(text, kBlock));
    ASSERT_TRUE(r.ok);
    EXPECT_TRUE(r.reMissing);
    EXPECT_FALSE(r.pointValues); // the export leaves %RE and the channels empty rather than showing zeros
    EXPECT_EQ(arrays.re.samples, (std::vector<float>{0.0f, 0.0f}));
    EXPECT_EQ(host.messages(), std::vector<std::string>{std::string(raw_log::kMissingReMessage)});
    load(withTrailer(text, kBlock), options(true, std::nullopt, false));
    EXPECT_EQ(host.messages(), std::vector<std::string>{std::string(raw_log::kMissingReMessage)});
}

// The DATA reader itself runs the estimate, so every reader of a raw log has it, with each row at its
// point's depth (the file keeps no depth of its own for the pressure/flow rows).
TEST_F(RawLogReaderTest, TheDataReaderEstimatesKAtEachPointsDepth) {
    std::string text = kText;
    text.replace(text.find("units=M"), 7, "units=Ft");
    text.replace(text.find("DEPTH=0.5,1.5"), 13, "DEPTH=0,20");
    text.insert(text.find("[GPS]"), "HPT1ft=10\r\nDisWT0=10\r\nDisInclude0=True\r\n");
    text.insert(text.find("DATA=Binary"), "TIME=0,1\r\nPRES_UP=0,0\r\nPRES_DOWN=12,12\r\nFLOW_UP=3,30\r\n");
    ASSERT_TRUE(load(withTrailer(text, kBlock)).ok);
    ASSERT_EQ(arrays.presFlow.points(), 2);
    EXPECT_EQ(arrays.presFlow(presflow_column::Depth, 1), 20.0f);
    const float k0 = static_cast<float>(20.0 * std::log(3.0 / (12.0f - (10.0f - 0.433f))) + 7.0);
    EXPECT_NEAR(arrays.presFlow(presflow_column::KEstimate, 0), k0, 1e-4);
    // 10 ft below the water table the head (4.33 PSI) exceeds the pressure left: no estimate, the previous
    // point's stands.
    EXPECT_EQ(arrays.presFlow(presflow_column::KEstimate, 1), arrays.presFlow(presflow_column::KEstimate, 0));
}

// PF_Offset is kept in feet: a metric log's pressure/flow rows move by its metres.
TEST_F(RawLogReaderTest, PressureRowsSitPfOffsetFromTheirPoints) {
    struct Case {
        const char* units;
        float expected;
    };
    for (const Case& c : {Case{"units=Ft", 21.0f}, Case{"units=M", 20.3048f}}) {
        std::string text = kText;
        text.replace(text.find("units=M"), 7, c.units);
        text.replace(text.find("DEPTH=0.5,1.5"), 13, "DEPTH=0,20");
        text.insert(text.find("[GPS]"), "PresFlow=True\r\nPF_Offset=1\r\n");
        text.insert(text.find("DATA=Binary"),
                    "TIME=0,1\r\nPRES_UP=0,0\r\nPRES_DOWN=12,12\r\nFLOW_UP=3,30\r\n");
        ASSERT_TRUE(load(withTrailer(text, kBlock)).ok) << c.units;
        ASSERT_EQ(arrays.presFlow.points(), 2);
        EXPECT_NEAR(arrays.presFlow(presflow_column::Depth, 1), c.expected, 1e-5) << c.units;
    }
}

TEST_F(RawLogReaderTest, StoredBaselineIsOfferedWhenTheFeatureIsOn) {
    std::string text = kText;
    text.insert(text.find("[GPS]"), "BASELINE=0.5,0.25\r\n");
    const std::string bytes = withTrailer(text, kBlock);
    arrays.baseline = {9.0f};
    host.answerMessage(MsgResult::No);
    ASSERT_TRUE(load(bytes, options(false, std::nullopt, true)).ok);
    EXPECT_EQ(host.messages(), std::vector<std::string>{std::string(raw_log::kBaselineQuestion)});
    EXPECT_EQ(arrays.baseline, std::vector<float>{9.0f});
    host.answerMessage(MsgResult::Yes);
    ASSERT_TRUE(load(bytes, options(false, std::nullopt, true)).ok);
    EXPECT_EQ(arrays.baseline, (std::vector<float>{0.5f, 0.25f}));
    arrays.baseline = {9.0f};
    ASSERT_TRUE(load(bytes).ok);
    EXPECT_EQ(arrays.baseline, std::vector<float>{9.0f});
}

TEST_F(RawLogReaderTest, DamagedFilesAreRefusedWithAClearMessage) {
    auto replaced = [](std::string text, const std::string& from, const std::string& to) {
        return text.replace(text.find(from), from.size(), to);
    };
    struct Case {
        std::string bytes;
        std::string message;
    };
    const std::vector<Case> cases{
        {"[INFO]\r\nSite=x\r\n" + kBlock, "the file holds no \"Appended\""},
        {kText.substr(0, kText.size() - 2), "the text part runs to the end of the file"},
        {withTrailer(replaced(kText, "Data_Points=1", "Data_Points=10001"), kBlock), "Data_Points is not"},
        {withTrailer(replaced(kText, "Data_Points=1", "Data_Points=-1"), kBlock), "Data_Points is not"},
        {withTrailer(replaced(kText, "Wave_Points=1", "Wave_Points=1e9"), kBlock), "Wave_Points is not"},
        {withTrailer(replaced(kText, "Data_Cols=8", "Data_Cols=65"), kBlock), "Data_Cols is not"},
        {withTrailer(replaced(kText, "Data_Points=1", "Data_Points=10000"), kBlock),
         "Data_Points 10000 and Wave_Points 1 need 80012 bytes behind the text part, but the file has 20."},
        {kText + kOne + kTwo, "Data_Points 1 and Wave_Points 1 need 20 bytes"},
        {withTrailer(replaced(kText, "RE=1.00, 2.00", "RE=1.00,x"), kBlock),
         "element 2 of the list RE is not a number."},
        {withTrailer(replaced(kText, "DEPTH=0.5,1.5", "DEPTH=0.5,1e99"), kBlock),
         "element 2 of the list DEPTH is not a number."},
        {withTrailer(replaced(kText, "DEPTH=0.5,1.5", "DEPTH=0.5"), kBlock),
         "the list DEPTH holds 1 values for 2 points."},
        {withTrailer(replaced(kText, "DEPTH=0.5,1.5", "DEPTH=0.5,1.5,2"), kBlock),
         "the list DEPTH holds more than 2 values."},
        {withTrailer(replaced(kText, "Wave_Points=1", "Wave_Points=3"), le32(0)),
         "the HD board column mask selects"},
    };
    for (const Case& c : cases) {
        arrays.waves.resize(2, 2);
        const auto r = load(c.bytes);
        EXPECT_FALSE(r.ok) << c.message;
        ASSERT_EQ(host.messages().size(), 1u) << c.message;
        EXPECT_EQ(host.messages()[0].rfind("Error in LoadRawLog: ", 0), 0u);
        EXPECT_NE(host.messages()[0].find(c.message), std::string::npos) << host.messages()[0];
        EXPECT_EQ(arrays.points(), 0) << c.message;
    }
}

TEST_F(RawLogReaderTest, HdBoardBlockIsSpreadOverTheColumnsAndTheWave) {
    const auto f32 = [](float v) { return le32(std::bit_cast<std::uint32_t>(v)); };
    std::string text = "[DATA_INFO]\r\nWave_Points=3\r\nData_Points=0\r\nData_Cols=16\r\n"
                       "[DATA]\r\nRE=9,9,9,9\r\nBLANK=0.5,0.25,0,0\r\nRATE=7,8\r\nDATA=Binary Appended\r\n";
    // Mask: bit 0 (time), bit 1 (CH1), bit 7 (the 3-volt input), bit 14 (the push's four values); two
    // records, no trailer. The RATE list is read over the records' rates.
    std::string block = le32(0x4083);
    for (const float v : {1.0f, 2.0f, 1.5f, 0.25f, 40.0f, 3.5f, 5.0f, //
                          3.0f, 4.0f, 1.5f, 0.5f, 60.0f, 4.5f, 6.0f})
        block += f32(v);
    const auto r = load(text + block);
    ASSERT_TRUE(r.ok) << host.messages()[0];
    EXPECT_TRUE(r.hdBoard);
    EXPECT_TRUE(host.messages().empty());
    EXPECT_EQ(log.DataPoints(), 1);
    const int board = hd_layout::kFirstBoardPointColumn;
    struct Expect {
        int column, point;
        float value;
    };
    for (const Expect& e :
         {Expect{board + 0, 0, 1.0f}, Expect{board + 0, 1, 3.0f}, Expect{board + 1, 1, 4.0f},
          Expect{board + 11, 0, 1.5f}, Expect{point_column::Ch1, 1, 3.5f},
          Expect{point_column::Depth, 1, 0.5f}, Expect{point_column::Signal, 0, 40.0f},
          Expect{point_column::Conductivity, 1, 4.5f}, Expect{point_column::Rate, 1, 8.0f},
          Expect{point_column::Rate, 0, 7.0f}, Expect{point_column::Ch1 + 1, 0, 0.0f}})
        EXPECT_EQ(arrays.columns(e.column, e.point), e.value) << e.column << " " << e.point;
    EXPECT_EQ(arrays.waves(0, 0), 2.0f - 0.5f); // CH1 less the background's
    EXPECT_EQ(arrays.waves(1, 0), 0.0f);        // CH2 not selected
}

TEST_F(RawLogReaderTest, SavedLogReadsBackToTheSameFile) {
    struct Case {
        int points;
        LogFamily family;
    };
    for (const auto [points, family] :
         {Case{1, LogFamily::Lif}, Case{2, LogFamily::Lif}, Case{kMaxPoints, LogFamily::Lif},
          Case{2, LogFamily::O2}, Case{2, LogFamily::Colour}}) {
        cZEL_Data saved{host, clock};
        LogArrays a;
        RawLogContext c;
        fillSmallLog(saved, a, c);
        c.family = family;
        c.spectra.refMid = {0.5f, 1.25f};
        saved.IntegrationTime(100);
        saved.Spec_WaveMax(1000.0f);
        if (points != 2) {
            saved.DataPoints(points - 1);
            a.resize(3, 8, points, true);
            for (int p = 0; p < points; ++p) {
                a.columns(point_column::Depth, p) = 0.01f * static_cast<float>(p);
                a.hammer(hammer_column::BlowCount, p) = 1.0f;
            }
            a.waves(2, points - 1) = 42.0f;
        }
        const auto first = SaveRawLog(dir.file("first"), saved, a, c, host);
        ASSERT_TRUE(first.ok);
        // A log of n points is its text, n waveforms of three samples and the trailer.
        EXPECT_EQ(std::filesystem::file_size(first.path), first.textLength + 4u * 3u * points + 4u);

        const auto r = LoadRawLog(first.path, log, arrays, ctx, host, options(true, std::nullopt, true));
        ASSERT_TRUE(r.ok);
        if (family != LogFamily::Colour) {
            EXPECT_EQ(ctx.reAreaCh, c.reAreaCh);
        }
        EXPECT_EQ(arrays.waves.values().size(), a.waves.values().size());
        EXPECT_TRUE(
            std::equal(a.waves.values().begin(), a.waves.values().end(), arrays.waves.values().begin()));
        EXPECT_EQ(arrays.columns(point_column::Depth, points - 1),
                  a.columns(point_column::Depth, points - 1));
        const auto second = SaveRawLog(dir.file("second"), log, arrays, ctx, host);
        ASSERT_TRUE(second.ok);
        EXPECT_EQ(readAll(first.path), readAll(second.path)) << points << " points, " << first.path;
    }
    EXPECT_TRUE(host.messages().empty());
}

TEST_F(RawLogReaderTest, RepairReportsWhatItFoundAndDid) {
    writeAll(path, kText + kBlock + le32(7));
    auto r = CheckAndRepairTrailer(path, host, true);
    EXPECT_TRUE(r.ok && r.mismatch && r.repaired);
    EXPECT_EQ(*r.trailer, 7);
    r = CheckAndRepairTrailer(path, host, true);
    EXPECT_TRUE(r.ok && !r.mismatch && !r.repaired);
    EXPECT_EQ(readAll(path), withTrailer(kText, kBlock));
    writeAll(path, "no marker here");
    EXPECT_FALSE(CheckAndRepairTrailer(path, host, true).ok);
}

// "Appended" typed into Notes comes before the marker line. Every key is read from the whole text part; the
// block goes where the trailer says when that is provably right, else where the first "Appended" puts it.
TEST_F(RawLogReaderTest, AppendedInAValueNeitherCutsTheTextNorMovesASoundBlock) {
    std::string text = kText;
    text.replace(text.find("a\x03"), 1, "rods Appended");
    const std::size_t first = text.find("Appended") + 10;
    const std::string sound = withTrailer(text, kBlock);

    auto r = load(sound);
    ASSERT_TRUE(r.ok);
    EXPECT_FALSE(r.repaired || r.trailerMismatch);
    EXPECT_TRUE(host.messages().empty());
    EXPECT_EQ(log.Note(), "rods Appended\r\nb");
    EXPECT_EQ(arrays.re.samples, (std::vector<float>{1.0f, 2.0f}));
    EXPECT_EQ(arrays.waves(1, 1), -1.0f);
    EXPECT_EQ(readAll(path), sound);
    auto check = CheckAndRepairTrailer(path, host, true);
    EXPECT_TRUE(check.ok && !check.mismatch && !check.repaired);
    EXPECT_EQ(check.textLength, first);
    EXPECT_EQ(check.blockOffset, text.size());
    EXPECT_EQ(readAll(path), sound);

    // Not provably right: a trailer that misses the marker line, or a block of another size behind it. The
    // block then stands at the first "Appended" and the trailer is mended to it; the keys are all read.
    for (const std::string& bytes : {text + kBlock + le32(7), text + kBlock + kOne + le32(text.size())}) {
        r = load(bytes);
        ASSERT_TRUE(r.ok);
        EXPECT_TRUE(r.repaired && r.trailerMismatch);
        EXPECT_EQ(host.messages(), std::vector<std::string>{std::string(kAlteredMessage)});
        EXPECT_EQ(log.Note(), "rods Appended\r\nb");
        EXPECT_EQ(log.DataPoints(), 1);
        EXPECT_EQ(arrays.re.samples, (std::vector<float>{1.0f, 2.0f}));
        const std::string now = readAll(path);
        EXPECT_EQ(now.substr(0, now.size() - 4), bytes.substr(0, bytes.size() - 4));
        EXPECT_EQ(now.substr(now.size() - 4), le32(static_cast<std::uint32_t>(first)));
    }
}

TEST_F(RawLogReaderTest, ALoadThatFailsOrMustNotRepairLeavesTheFileAsItWas) {
    std::string edited = kText;
    edited.replace(edited.find("a\x03"), 1, "abcde");
    const std::string stale = edited + kBlock + le32(static_cast<std::uint32_t>(kText.size()));
    std::string damaged = stale;
    damaged.replace(damaged.find("RE=1.00, 2.00"), 13, "RE=1.00, xyz!");
    auto r = load(damaged);
    EXPECT_FALSE(r.ok);
    EXPECT_FALSE(r.repaired);
    EXPECT_EQ(readAll(path), damaged);

    RawLogLoadOptions readOnly;
    readOnly.repair = false;
    r = load(stale, readOnly);
    ASSERT_TRUE(r.ok);
    EXPECT_TRUE(r.trailerMismatch);
    EXPECT_FALSE(r.repaired);
    EXPECT_TRUE(host.messages().empty());
    EXPECT_EQ(arrays.waves(1, 1), -1.0f);
    EXPECT_EQ(readAll(path), stale);
}

TEST_F(RawLogReaderTest, MissingOrEmptyReIsWavePointsPlusOneZeros) {
    for (const std::string& re : {std::string(), std::string("RE=\r\n"), std::string("RE= \r\n")}) {
        std::string text = kText;
        text.replace(text.find("RE=1.00, 2.00\r\n"), 15, re);
        const auto r = load(withTrailer(text, kBlock));
        ASSERT_TRUE(r.ok) << re;
        EXPECT_TRUE(r.reMissing);
        EXPECT_EQ(arrays.re.samples, (std::vector<float>{0.0f, 0.0f})) << re;
    }
}

TEST_F(RawLogReaderTest, ChannelsIsBoundedBeforeAnyWriterTrustsIt) {
    auto withChannels = [](const std::string& n) {
        std::string text = kText;
        text.insert(text.find("Wave_Points"), "Channels=" + n + "\r\n");
        return withTrailer(text, kBlock);
    };
    for (const char* n : {"8", "-1", "2147483647", "1e12"}) {
        EXPECT_FALSE(load(withChannels(n)).ok) << n;
        ASSERT_EQ(host.messages().size(), 1u);
        EXPECT_NE(host.messages()[0].find("Channels is not a channel count from 0 to 7."), std::string::npos);
    }
    EXPECT_TRUE(load(withChannels("7")).ok);
    EXPECT_EQ(ctx.channels, 7);
}

TEST_F(RawLogReaderTest, RepairRefusesABlockShorterThanTheHeaderSays) {
    // Cut inside the block: the last 4 bytes are a sample, and a trailer over them would destroy it.
    const std::string cut = kText + kOne + kTwo + kThree;
    writeAll(path, cut);
    auto r = CheckAndRepairTrailer(path, host, true);
    EXPECT_FALSE(r.ok);
    EXPECT_FALSE(r.repaired);
    EXPECT_NE(r.error.find("cut short"), std::string::npos) << r.error;
    EXPECT_EQ(readAll(path), cut);
    std::string badHeader = kText;
    badHeader.replace(badHeader.find("Wave_Points=1"), 13, "Wave_Points=x");
    writeAll(path, withTrailer(badHeader, kBlock));
    EXPECT_FALSE(CheckAndRepairTrailer(path, host, true).ok);
}

} // namespace
} // namespace zel
