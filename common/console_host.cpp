#include "common/console_host.h"

#include <chrono>
#include <ostream>
#include <thread>

namespace zel {

ConsoleHost::ConsoleHost(std::ostream& err, Policy policy, bool showProgress)
    : err_(err), policy_(policy), showProgress_(showProgress) {}

MsgResult ConsoleHost::message(std::string_view text, MsgButtons buttons, MsgIcon, std::string_view title) {
    shown_.emplace_back(text);
    if (!title.empty()) err_ << title << ": ";
    err_ << text << '\n';
    switch (buttons) {
    case MsgButtons::Ok: return MsgResult::Ok;
    case MsgButtons::OkCancel: return policy_ == Policy::No ? MsgResult::Cancel : MsgResult::Ok;
    case MsgButtons::YesNo:
    case MsgButtons::YesNoCancel: return policy_ == Policy::No ? MsgResult::No : MsgResult::Yes;
    case MsgButtons::RetryCancel: return MsgResult::Cancel; // retrying a script's failure would loop
    case MsgButtons::AbortRetryIgnore: return MsgResult::Abort;
    }
    return defaultResult(buttons);
}

std::optional<std::string> ConsoleHost::input(std::string_view, std::string_view,
                                              std::string_view defaultText) {
    if (policy_ == Policy::No) return std::nullopt;
    return std::string(defaultText);
}

std::optional<FileDialogResult> ConsoleHost::openFileDialog(const FileDialogRequest&) {
    return std::nullopt;
}
std::optional<FileDialogResult> ConsoleHost::saveFileDialog(const FileDialogRequest&) {
    return std::nullopt;
}

void ConsoleHost::progress(std::string_view text) {
    if (showProgress_) err_ << text << '\n';
}

void ConsoleHost::sleepMs(int milliseconds) {
    if (milliseconds > 0) std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
}

} // namespace zel
