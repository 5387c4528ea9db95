#include "app/zel/push_feedback.h"

#include <gtest/gtest.h>

namespace zel::gui {
namespace {

acq::PointRecord at(float depth, float signal, float rate = 0.8f, bool fast = false) {
    acq::PointRecord p;
    p.depth = depth;
    p.signal = signal;
    p.rate = rate;
    p.rateExceeded = fast;
    return p;
}

TEST(PushFeedback, ElapsedTimeCountsFromTheStart) {
    struct Case {
        std::int64_t ms;
        const char* text;
    };
    for (const Case& c : {Case{0, "0:00"}, Case{999, "0:00"}, Case{65'000, "1:05"}, Case{3'599'000, "59:59"},
                          Case{3'725'000, "1:02:05"}}) {
        FakeClock clock;
        clock.advanceMs(40'000); // the monotonic clock does not start at zero
        PushFeedback f(clock);
        EXPECT_EQ(f.elapsedText(), "0:00");
        f.start("A", false);
        clock.advanceMs(c.ms);
        EXPECT_EQ(f.elapsedText(), c.text) << c.ms;
    }
}

TEST(PushFeedback, TheHighestRESoFarIsKeptWithItsDepth) {
    struct Case {
        std::vector<std::pair<float, float>> points; // depth, %RE
        const char* expected;                        // the tail of the status line's %RE part
    };
    const Case cases[] = {
        {{{0.05f, 1.0f}}, "%RE 1.00 (max 1.00 at 0.05 ft)"},
        {{{0.05f, 1.0f}, {0.10f, 7.5f}, {0.15f, 2.0f}}, "%RE 2.00 (max 7.50 at 0.10 ft)"},
        // Negative readings (below the background) still have a highest one.
        {{{0.05f, -3.0f}, {0.10f, -1.0f}}, "%RE -1.00 (max -1.00 at 0.10 ft)"},
        {{{0.05f, 4.0f}, {0.10f, 4.0f}}, "%RE 4.00 (max 4.00 at 0.05 ft)"},
    };
    for (const Case& c : cases) {
        FakeClock clock;
        PushFeedback f(clock);
        f.start("A", false);
        int n = 0;
        for (const auto& [depth, signal] : c.points)
            f.point(++n, at(depth, signal));
        const std::string line = f.statusLine({});
        EXPECT_NE(line.find(c.expected), std::string::npos) << line;
    }
}

TEST(PushFeedback, TheLineNamesTheUnitsAndTheLoopStates) {
    FakeClock clock;
    PushFeedback f(clock);
    f.start("Site 1.5", true);
    EXPECT_EQ(f.statusLine({}), "Site 1.5  0.00 m  0.00 cm/s  0 points  0:00");
    f.point(1, at(1.25f, 3.5f, 7.9f, true));
    clock.advanceMs(61'000);
    struct Case {
        PushStates states;
        const char* tail;
    };
    for (const Case& c : {Case{{}, "1:01"}, Case{{true, false, false}, "1:01  PAUSED"},
                          Case{{false, true, true}, "1:01  CONTINUOUS  TIMED"}}) {
        const std::string line = f.statusLine(c.states);
        EXPECT_EQ(line, "Site 1.5  1.25 m  7.90 cm/s (too fast)  1 point  %RE 3.50 "
                        "(max 3.50 at 1.25 m)  " +
                            std::string(c.tail));
    }
    EXPECT_EQ(f.title(), "ZEL - Site 1.5 - recording: 1.25 m, 1 point");
}

TEST(PushFeedback, TheSummaryListsTheFilesThatWereWritten) {
    FakeClock clock;
    PushFeedback f(clock);
    f.start("B", false);
    f.point(1, at(0.5f, 2.0f));
    f.point(2, at(1.0f, 9.0f));
    clock.advanceMs(5'000);
    acq::RecordedFiles files;
    files.rawLog = "/x/B.lif.raw.bin";
    files.dataExport = "/x/B.lif.dat.txt";
    EXPECT_EQ(f.summary(files), "Push B recorded: 2 points to 1.00 ft in 0:05.\r\nHighest %RE 9.00 "
                                "at 1.00 ft."
                                "\r\n\r\nFiles written:\r\n/x/B.lif.raw.bin\r\n/x/B.lif.dat.txt");
}

} // namespace
} // namespace zel::gui
