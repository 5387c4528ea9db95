#pragma once
// The one way the program talks to its user. Message boxes, prompts, file dialogs, progress texts and the
// cooperative waits of the single-threaded loops all go through a Host, so the same logic runs behind the
// desktop windows, the console tool and the tests (which read every text shown and answer from a script).

#include <optional>
#include <string>
#include <string_view>

namespace zel {

enum class MsgButtons { Ok, OkCancel, AbortRetryIgnore, YesNoCancel, YesNo, RetryCancel };
enum class MsgIcon { None, Critical, Question, Exclamation, Information };
enum class MsgResult { Ok, Cancel, Abort, Retry, Ignore, Yes, No };

// The answer a box gives when the user just presses Enter: its first button.
MsgResult defaultResult(MsgButtons buttons);

struct FileDialogRequest {
    std::string title;
    // Filter list in the classic "Label|pattern|Label|pattern" form, e.g.
    // "Raw logs (*.lif.raw.bin)|*.lif.raw.bin|All files (*.*)|*.*".
    std::string filter;
    int filterIndex = 1; // 1-based, as the dialogs remember it
    std::string initialDir;
    std::string fileName;
};

struct FileDialogResult {
    std::string path;
    int filterIndex = 1;
};

class Host {
public:
    virtual ~Host() = default;

    // A modal message box. An empty title means the program's own name.
    virtual MsgResult message(std::string_view text, MsgButtons buttons = MsgButtons::Ok,
                              MsgIcon icon = MsgIcon::None, std::string_view title = {}) = 0;
    // An input box; nullopt when cancelled.
    virtual std::optional<std::string> input(std::string_view prompt, std::string_view title,
                                             std::string_view defaultText) = 0;
    virtual std::optional<FileDialogResult> openFileDialog(const FileDialogRequest& request) = 0;
    virtual std::optional<FileDialogResult> saveFileDialog(const FileDialogRequest& request) = 0;

    // A progress or status text for long work (splash texts, batch progress).
    virtual void progress(std::string_view text) = 0;
    // Lets pending user-interface and I/O events run; long waits call it on every pass.
    virtual void yield() = 0;
    // Waits without freezing the user interface.
    virtual void sleepMs(int milliseconds) = 0;
    virtual void beep() = 0;
    virtual void setBusy(bool busy) = 0;
};

} // namespace zel
