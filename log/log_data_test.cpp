#include "log/log_data.h"

#include "common/clock.h"
#include "common/testing/recording_host.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

namespace zel {
namespace {

class LogDataTest : public ::testing::Test {
protected:
    testing::RecordingHost host;
    FakeClock clock{DateTime{2016, 4, 12, 15, 45, 10}};
    cZEL_Data log{host, clock};
};

// Which operation first clears a member: each one in the chain clears what the one before it clears.
enum Level { ByZeroHPT, ByZeroData, ByClear, Kept };

struct Probe {
    const char* member;
    Level clearedBy;
    std::function<void(cZEL_Data&)> set;
    std::function<bool(const cZEL_Data&)> isCleared;
};

using D = const cZEL_Data&;
using W = cZEL_Data&;

// A scalar member set to a non-neutral value, cleared when it reads back neutral again.
// clang-format off
#define SCALAR(level, member, value, neutral) \
    Probe{#member, level, [](W d) { d.member(value); }, [](D d) { return d.member() == neutral; }}
// clang-format on

const Probe kProbes[] = {
    SCALAR(ByZeroHPT, HPT1ft, 1, 0),
    SCALAR(ByZeroHPT, HPT0ft, 1, 0),
    SCALAR(ByZeroHPT, CurrentPresDwn, 1, 0),
    SCALAR(ByZeroHPT, CurrentFlow, 1, 0),
    SCALAR(ByZeroHPT, TotalFlow, 1, 0),
    {"PresFlow_Maxes", ByZeroHPT,
     [](W d) {
         d.PresFlow_Maxes(std::array<float, 6>{0, 0, 0, 0, 0, 1});
     },
     [](D d) { return d.PresFlow_Maxes()[5] == 0; }},
    SCALAR(ByZeroData, Signal_MaxValue, 1, 0),
    SCALAR(ByZeroData, Signal_MaxDepth_Ft, 1, 0),
    SCALAR(ByZeroData, Depth_Max_M, 1, 0),
    SCALAR(ByZeroData, RE_Area, 1, 0),
    SCALAR(ByZeroData, Rate_Max, 1, 0),
    SCALAR(ByZeroData, NNLS_max, 1, 0),
    SCALAR(ByClear, Site, "s", ""),
    SCALAR(ByClear, Note, "n", ""),
    SCALAR(ByClear, CoordSystem, "WGS-84", ""),
    SCALAR(ByClear, DisCount, 3, 0),
    SCALAR(ByClear, CalloutCount, 2, 0),
    {"Callout_Range", ByClear, [](W d) { d.Callout_Range(4, 1, 1); },
     [](D d) { return d.Callout_Range(4, 1) == 0; }},
    {"Callout_Caption", ByClear, [](W d) { d.Callout_Caption(0, "c"); },
     [](D d) { return d.Callout_Caption(0).empty(); }},
    {"DisInclude", ByClear, [](W d) { d.DisInclude(4, true); }, [](D d) { return !d.DisInclude(4); }},
    {"DisLabel", ByClear, [](W d) { d.DisLabel(2, "x"); }, [](D d) { return d.DisLabel(2).empty(); }},
    {"FlowCal", Kept, [](W d) { d.FlowCal(1, 1); }, [](D d) { return d.FlowCal(1) == 0; }},
    {"Cond_Constant", Kept, [](W d) { d.setLoadedCond_Constant(2, 1); },
     [](D d) { return d.Cond_Constant(2) == 0; }},
    {"WindowOffset", Kept, [](W d) { d.setLoadedWindowOffset(1); },
     [](D d) { return d.WindowOffset() == 0; }},
    SCALAR(Kept, PF_Offset, 1, 0),
    SCALAR(Kept, DataPoints, 1, 0),
    SCALAR(Kept, File_FullPath, "x.lif.raw.bin", ""),
    SCALAR(Kept, Metric, true, false),
};
#undef SCALAR

TEST_F(LogDataTest, EachClearingOperationClearsItsShareAndKeepsTheRest) {
    struct Operation {
        const char* name;
        Level level;
        void (cZEL_Data::*run)();
    };
    const Operation operations[] = {
        {"ZeroHPT", ByZeroHPT, &cZEL_Data::ZeroHPT},
        {"ZeroData", ByZeroData, &cZEL_Data::ZeroData},
        {"Clear", ByClear, &cZEL_Data::Clear},
    };
    for (const auto& op : operations) {
        cZEL_Data d(host, clock);
        for (const Probe& probe : kProbes)
            probe.set(d);
        (d.*op.run)();
        for (const Probe& probe : kProbes)
            EXPECT_EQ(probe.isCleared(d), probe.clearedBy <= op.level) << op.name << ": " << probe.member;
    }
    EXPECT_TRUE(host.messages().empty());
}

// Every value at a valid index, to show that a refused access changed none of them.
std::string indexedValues(D d) {
    std::string v;
    for (int i = 0; i < cZEL_Data::kDissipationTests; ++i)
        v += std::to_string(d.DisDepth(i)) + std::to_string(d.DisPres(i)) + std::to_string(d.DisInclude(i)) +
             d.DisLabel(i) + std::to_string(d.Callout_Range(i, 0)) + std::to_string(d.Callout_Index(i, 1)) +
             d.Callout_Caption(i) + ";";
    return v + std::to_string(d.FlowCal(0)) + std::to_string(d.FlowCal(1)) +
           std::to_string(d.Cond_Constant(2));
}

TEST_F(LogDataTest, IndexOutOfRangeIsReportedReadsNeutralAndWritesNothing) {
    struct Case {
        std::function<void(W)> access;
        const char* message;
    };
    const Case cases[] = {
        {[](W d) { EXPECT_EQ(d.DisDepth(7), 0.0f); },
         "Error in cZEL_Data.DisDepth: index 7 out of range (0..4)."},
        {[](W d) { d.DisPres(-1, 1); }, "Error in cZEL_Data.DisPres: index -1 out of range (0..4)."},
        {[](W d) { d.FlowCal(2, 1); }, "Error in cZEL_Data.FlowCal: index 2 out of range (0..1)."},
        {[](W d) { d.Callout_Range(5, 0, 1); },
         "Error in cZEL_Data.Callout_Range: index (5, 0) out of range (0..4, 0..1)."},
        {[](W d) { d.Callout_Index(1, -1, 7); },
         "Error in cZEL_Data.Callout_Index: index (1, -1) out of range (0..4, 0..1)."},
        {[](W d) { EXPECT_EQ(d.Callout_Caption(5), ""); },
         "Error in cZEL_Data.Callout_Caption: index 5 out of range (0..4)."},
        {[](W d) { d.setLoadedCond_Constant(3, 1); },
         "Error in cZEL_Data.Cond_Constant: index 3 out of range (0..2)."},
    };
    for (int i = 0; i < cZEL_Data::kDissipationTests; ++i) {
        log.DisDepth(i, 10.0f + i);
        log.DisPres(i, 20.0f + i);
        log.DisInclude(i, i % 2 == 0);
        log.Callout_Range(i, 0, 30.0f + i);
        log.Callout_Index(i, 1, static_cast<std::int16_t>(40 + i));
    }
    log.FlowCal(0, 1.5f);
    log.FlowCal(1, 2.5f);
    log.setLoadedCond_Constant(2, 3.5f);
    const std::string before = indexedValues(log);
    for (const auto& c : cases) {
        host.clear();
        c.access(log);
        EXPECT_EQ(host.messages(), std::vector<std::string>{c.message});
        EXPECT_EQ(indexedValues(log), before) << c.message;
    }
}

TEST_F(LogDataTest, WaterTableAverageAndIndexFollowTheIncludedTests) {
    struct Case {
        std::array<bool, 5> include;
        float average;
        int index;
    };
    // Water tables are 10, 20, 30, 40, 50 for tests 0..4.
    const Case cases[] = {
        {{false, false, false, false, false}, 0.0f, -1},
        {{true, false, true, false, false}, 20.0f, 2},
        {{false, true, false, true, false}, 30.0f, 3},
        {{false, false, false, false, true}, 50.0f, 4},
    };
    for (const auto& c : cases) {
        for (int i = 0; i < 5; ++i) {
            log.DisWT(i, 10.0f * (i + 1));
            log.DisInclude(i, c.include[i]);
        }
        EXPECT_FLOAT_EQ(log.DisWTavg(), c.average) << c.index;
        EXPECT_EQ(log.DisWTindex(), c.index);
    }
}

std::string identification(D d) {
    return d.Site() + "|" + d.Client() + "|" + d.JobNumber() + "|" + d.mode() + "|" + d.ZEL_Unit() + "|" +
           d.Operator() + "|" + d.Note() + "|" + d.Version() + "|" + d.TimeZone();
}

TEST_F(LogDataTest, PushStartAndStopTakeTheClockAndTheOperatorsTexts) {
    LogInfo info{"Site A", "Client B", "J-17", "Alder", "Alder1000", "Pat",
                 "first",  "1.2.3",    "MST",  true,    true};
    log.setInfoSource([&] { return info; });

    log.Fill_Info_Start();
    const DateTime start{2016, 4, 12, 15, 45, 10};
    EXPECT_EQ(log.Time_Start(), start);
    EXPECT_EQ(log.Time_Stop(), start);
    EXPECT_EQ(identification(log), "Site A|Client B|J-17|Alder|Alder1000|Pat|first|1.2.3|MST");
    EXPECT_TRUE(log.Metric());
    EXPECT_TRUE(log.Emulate());

    // The operator corrects the note and switches units while the push runs.
    clock.advanceMs(95'000);
    info.note = "second";
    info.metric = false;
    log.Fill_Info();
    EXPECT_EQ(log.Time_Start(), start);
    EXPECT_EQ(log.Time_Stop(), (DateTime{2016, 4, 12, 15, 46, 45}));
    EXPECT_EQ(identification(log), "Site A|Client B|J-17|Alder|Alder1000|Pat|second|1.2.3|MST");
    EXPECT_TRUE(log.Metric()) << "the points were recorded in the start's unit";

    // Without a source only the times move.
    log.setInfoSource(nullptr);
    clock.advanceMs(1000);
    log.Fill_Info_Start();
    EXPECT_EQ(log.Time_Stop(), (DateTime{2016, 4, 12, 15, 46, 46}));
    EXPECT_EQ(identification(log), "Site A|Client B|J-17|Alder|Alder1000|Pat|second|1.2.3|MST");
}

TEST_F(LogDataTest, GpsFillCopiesTheFixInWgs84AndGpsClearEmptiesIt) {
    log.GPS_Fill(); // no receiver: nothing to copy
    EXPECT_EQ(log.CoordSystem(), "");

    GpsFix fix;
    fix.latitude = "4807.038,N";
    fix.longitudeDec = -11.5167;
    fix.baseStationId = "0042";
    log.setGpsSource([&] { return fix; });
    log.GPS_Fill();
    EXPECT_EQ(log.CoordSystem() + log.Latitude() + log.BaseStationID(), "WGS-844807.038,N0042");
    EXPECT_EQ(log.Longitude_Dec(), -11.5167);

    log.GPS_Clear();
    EXPECT_EQ(log.CoordSystem() + log.Latitude() + log.BaseStationID(), "");
    EXPECT_EQ(log.Longitude_Dec(), 0.0);
}

} // namespace
} // namespace zel
