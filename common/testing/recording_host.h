#pragma once
// A Host for tests: records everything shown, answers from a script, never blocks.

#include "common/clock.h"
#include "common/host.h"

#include <deque>
#include <string>
#include <vector>

namespace zel::testing {

struct HostEvent {
    enum class Kind { Message, Input, OpenDialog, SaveDialog, Progress, Beep, Busy };
    Kind kind;
    std::string text; // message text, input prompt, dialog title or progress text
    std::string title;
    MsgButtons buttons = MsgButtons::Ok;
    MsgIcon icon = MsgIcon::None;
    FileDialogRequest dialog; // for the dialog kinds
    bool busy = false;
};

class RecordingHost : public Host {
public:
    // With a clock, sleepMs advances it, so waits in the code under test take no real time.
    explicit RecordingHost(FakeClock* clock = nullptr) : clock_(clock) {}

    // Scripted answers, used in order. With none left a box answers its default button, an input box
    // its default text and a file dialog "cancelled".
    void answerMessage(MsgResult r) { messageAnswers_.push_back(r); }
    void answerInput(std::optional<std::string> text) { inputAnswers_.push_back(std::move(text)); }
    void answerDialog(std::optional<FileDialogResult> r) { dialogAnswers_.push_back(std::move(r)); }

    MsgResult message(std::string_view text, MsgButtons buttons, MsgIcon icon,
                      std::string_view title) override;
    std::optional<std::string> input(std::string_view prompt, std::string_view title,
                                     std::string_view defaultText) override;
    std::optional<FileDialogResult> openFileDialog(const FileDialogRequest& request) override;
    std::optional<FileDialogResult> saveFileDialog(const FileDialogRequest& request) override;
    void progress(std::string_view text) override;
    void yield() override { ++yields_; }
    void sleepMs(int milliseconds) override;
    void beep() override;
    void setBusy(bool busy) override;

    const std::vector<HostEvent>& events() const { return events_; }
    // Texts of the message boxes shown, in order.
    std::vector<std::string> messages() const;
    std::vector<std::string> progressTexts() const;
    int yields() const { return yields_; }
    long long sleptMs() const { return sleptMs_; }
    void clear() { events_.clear(); }

private:
    std::optional<FileDialogResult> dialog(HostEvent::Kind kind, const FileDialogRequest& request);

    FakeClock* clock_;
    std::vector<HostEvent> events_;
    std::deque<MsgResult> messageAnswers_;
    std::deque<std::optional<std::string>> inputAnswers_;
    std::deque<std::optional<FileDialogResult>> dialogAnswers_;
    int yields_ = 0;
    long long sleptMs_ = 0;
};

} // namespace zel::testing
