#pragma once
// The Host of the console tool: messages go to an error stream, questions are answered by a fixed policy
// (a script cannot answer a box), dialogs are never shown.

#include "common/host.h"

#include <iosfwd>
#include <string>
#include <vector>

namespace zel {

class ConsoleHost : public Host {
public:
    enum class Policy { Default, Yes, No };

    explicit ConsoleHost(std::ostream& err, Policy policy = Policy::Default, bool showProgress = false);

    MsgResult message(std::string_view text, MsgButtons buttons, MsgIcon icon,
                      std::string_view title) override;
    std::optional<std::string> input(std::string_view prompt, std::string_view title,
                                     std::string_view defaultText) override;
    std::optional<FileDialogResult> openFileDialog(const FileDialogRequest& request) override;
    std::optional<FileDialogResult> saveFileDialog(const FileDialogRequest& request) override;
    void progress(std::string_view text) override;
    void yield() override {}
    void sleepMs(int milliseconds) override;
    void beep() override {}
    void setBusy(bool) override {}

    // Every message text shown so far, for tools that report them in their output.
    const std::vector<std::string>& shown() const { return shown_; }

private:
    std::ostream& err_;
    Policy policy_;
    bool showProgress_;
    std::vector<std::string> shown_;
};

} // namespace zel
