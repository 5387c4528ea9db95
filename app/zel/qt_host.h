#pragma once
// The Host of the desktop program: Qt dialogs for the boxes, prompts and file dialogs; progress texts to
// whoever shows them (the splash while starting, the status bar afterwards); the cooperative waits run the
// event loop, so instrument events and the user's clicks are handled while a loop waits.

#include "common/host.h"
#include "instruments/platform/event_loop_host.h"

#include <QString>

#include <functional>

class QWidget;

namespace zel::gui {

// "Label|pattern|Label|pattern" -> Qt's "Label (pattern)" entries. A trailing label without a pattern is
// dropped.
QStringList qtNameFilters(std::string_view filter);
// CR LF and lone CR as the line breaks Qt widgets draw.
QString displayText(std::string_view text);

class QtHost final : public Host {
public:
    explicit QtHost(QWidget* parent = nullptr) : parent_(parent) {}
    ~QtHost() override;
    QtHost(const QtHost&) = delete;
    QtHost& operator=(const QtHost&) = delete;

    void setParent(QWidget* parent) { parent_ = parent; }
    // Where progress texts go; without a sink they are dropped.
    std::function<void(const QString&)> progressSink;

    MsgResult message(std::string_view text, MsgButtons buttons = MsgButtons::Ok,
                      MsgIcon icon = MsgIcon::None, std::string_view title = {}) override;
    std::optional<std::string> input(std::string_view prompt, std::string_view title,
                                     std::string_view defaultText) override;
    std::optional<FileDialogResult> openFileDialog(const FileDialogRequest& request) override;
    std::optional<FileDialogResult> saveFileDialog(const FileDialogRequest& request) override;
    void progress(std::string_view text) override;
    void yield() override { waits_.yield(); }
    void sleepMs(int milliseconds) override { waits_.sleepMs(milliseconds); }
    void beep() override;
    void setBusy(bool busy) override;

private:
    std::optional<FileDialogResult> fileDialog(const FileDialogRequest& request, bool save);

    QWidget* parent_;
    platform::EventLoopHost waits_{*this};
    int busyDepth_ = 0;
};

} // namespace zel::gui
