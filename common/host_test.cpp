#include "common/console_host.h"
#include "common/testing/recording_host.h"

#include <gtest/gtest.h>

#include <sstream>

namespace zel {
namespace {

TEST(ConsoleHost, AnswersQuestionsByItsPolicyAndPrintsEveryMessage) {
    using P = ConsoleHost::Policy;
    struct Case {
        P policy;
        MsgButtons buttons;
        MsgResult expected;
    };
    const Case cases[] = {
        {P::Default, MsgButtons::YesNo, MsgResult::Yes},
        {P::No, MsgButtons::YesNo, MsgResult::No},
        {P::Yes, MsgButtons::YesNoCancel, MsgResult::Yes},
        {P::No, MsgButtons::OkCancel, MsgResult::Cancel},
        {P::Default, MsgButtons::OkCancel, MsgResult::Ok},
        {P::Yes, MsgButtons::RetryCancel, MsgResult::Cancel},
        {P::Yes, MsgButtons::Ok, MsgResult::Ok},
        {P::No, MsgButtons::Ok, MsgResult::Ok},
    };
    for (const auto& c : cases) {
        std::ostringstream err;
        ConsoleHost host(err, c.policy);
        EXPECT_EQ(host.message("Overwrite?", c.buttons, MsgIcon::Question, "Presets"), c.expected);
        EXPECT_EQ(err.str(), "Presets: Overwrite?\n");
        EXPECT_EQ(host.shown().size(), 1u);
    }
    std::ostringstream err;
    ConsoleHost quiet(err, P::No);
    EXPECT_FALSE(quiet.input("Label", "Callouts", "x").has_value());
    EXPECT_FALSE(quiet.openFileDialog({}).has_value());
    quiet.progress("Loading"); // progress is silent unless asked for
    EXPECT_EQ(err.str(), "");
}

TEST(RecordingHost, UsesScriptedAnswersThenDefaults) {
    testing::RecordingHost host;
    host.answerMessage(MsgResult::No);
    host.answerInput(std::nullopt);
    host.answerDialog(FileDialogResult{"/tmp/a.lif.raw.bin", 2});

    EXPECT_EQ(host.message("first?", MsgButtons::YesNo, MsgIcon::Question, "T"), MsgResult::No);
    EXPECT_EQ(host.message("second?", MsgButtons::YesNo, MsgIcon::Question, "T"), MsgResult::Yes);
    EXPECT_EQ(host.message("retry?", MsgButtons::RetryCancel, MsgIcon::None, ""), MsgResult::Retry);
    EXPECT_FALSE(host.input("label", "t", "d").has_value());
    EXPECT_EQ(host.input("label", "t", "d"), "d");
    auto picked = host.openFileDialog({"Open", "Raw|*.lif.raw.bin", 1, "/tmp", ""});
    ASSERT_TRUE(picked.has_value());
    EXPECT_EQ(picked->filterIndex, 2);
    EXPECT_FALSE(host.saveFileDialog({}).has_value());
    EXPECT_EQ(host.messages(), (std::vector<std::string>{"first?", "second?", "retry?"}));
    EXPECT_EQ(host.events()[5].dialog.filter, "Raw|*.lif.raw.bin");
}

TEST(FakeClock, SleepsThroughTheHostMoveTimeAndWrapAtMidnight) {
    FakeClock clock(DateTime{2016, 4, 12, 23, 59, 59});
    testing::RecordingHost host(&clock);
    const auto t0 = clock.monotonicMs();
    EXPECT_DOUBLE_EQ(clock.secondsSinceMidnight(), 86399.0);
    host.sleepMs(500);
    EXPECT_DOUBLE_EQ(clock.secondsSinceMidnight(), 86399.5);
    host.sleepMs(1000);
    EXPECT_DOUBLE_EQ(clock.secondsSinceMidnight(), 0.5);
    EXPECT_EQ(clock.now(), (DateTime{2016, 4, 13, 0, 0, 0}));
    EXPECT_EQ(clock.monotonicMs() - t0, 1500);
    EXPECT_EQ(host.sleptMs(), 1500);
    clock.set(DateTime{2016, 4, 12, 8, 0, 0}); // setting the wall time never moves the monotonic count
    EXPECT_EQ(clock.monotonicMs() - t0, 1500);
}

} // namespace
} // namespace zel
