#include "common/testing/recording_host.h"

namespace zel::testing {

MsgResult RecordingHost::message(std::string_view text, MsgButtons buttons, MsgIcon icon,
                                 std::string_view title) {
    events_.push_back(
        {HostEvent::Kind::Message, std::string(text), std::string(title), buttons, icon, {}, false});
    if (messageAnswers_.empty()) return defaultResult(buttons);
    MsgResult r = messageAnswers_.front();
    messageAnswers_.pop_front();
    return r;
}

std::optional<std::string> RecordingHost::input(std::string_view prompt, std::string_view title,
                                                std::string_view defaultText) {
    events_.push_back({HostEvent::Kind::Input,
                       std::string(prompt),
                       std::string(title),
                       MsgButtons::OkCancel,
                       MsgIcon::None,
                       {},
                       false});
    if (inputAnswers_.empty()) return std::string(defaultText);
    auto r = std::move(inputAnswers_.front());
    inputAnswers_.pop_front();
    return r;
}

std::optional<FileDialogResult> RecordingHost::dialog(HostEvent::Kind kind,
                                                      const FileDialogRequest& request) {
    events_.push_back(
        {kind, request.title, request.title, MsgButtons::OkCancel, MsgIcon::None, request, false});
    if (dialogAnswers_.empty()) return std::nullopt;
    auto r = std::move(dialogAnswers_.front());
    dialogAnswers_.pop_front();
    return r;
}

std::optional<FileDialogResult> RecordingHost::openFileDialog(const FileDialogRequest& request) {
    return dialog(HostEvent::Kind::OpenDialog, request);
}

std::optional<FileDialogResult> RecordingHost::saveFileDialog(const FileDialogRequest& request) {
    return dialog(HostEvent::Kind::SaveDialog, request);
}

void RecordingHost::progress(std::string_view text) {
    events_.push_back(
        {HostEvent::Kind::Progress, std::string(text), {}, MsgButtons::Ok, MsgIcon::None, {}, false});
}

void RecordingHost::sleepMs(int milliseconds) {
    if (milliseconds <= 0) return;
    sleptMs_ += milliseconds;
    if (clock_) clock_->advanceMs(milliseconds);
}

void RecordingHost::beep() {
    events_.push_back({HostEvent::Kind::Beep, {}, {}, MsgButtons::Ok, MsgIcon::None, {}, false});
}

void RecordingHost::setBusy(bool busy) {
    events_.push_back({HostEvent::Kind::Busy, {}, {}, MsgButtons::Ok, MsgIcon::None, {}, busy});
}

std::vector<std::string> RecordingHost::messages() const {
    std::vector<std::string> out;
    for (const auto& e : events_)
        if (e.kind == HostEvent::Kind::Message) out.push_back(e.text);
    return out;
}

std::vector<std::string> RecordingHost::progressTexts() const {
    std::vector<std::string> out;
    for (const auto& e : events_)
        if (e.kind == HostEvent::Kind::Progress) out.push_back(e.text);
    return out;
}

} // namespace zel::testing
