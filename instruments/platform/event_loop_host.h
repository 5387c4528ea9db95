#pragma once
// A Host whose waits run the Qt event loop, so serial and socket events are delivered while a driver
// sleeps (the depth board's 100 ms, the data board's pacing). Everything else goes to the wrapped host.

#include "common/host.h"

namespace zel::platform {

class EventLoopHost final : public Host {
public:
    explicit EventLoopHost(Host& inner) : inner_(inner) {}

    MsgResult message(std::string_view text, MsgButtons buttons = MsgButtons::Ok,
                      MsgIcon icon = MsgIcon::None, std::string_view title = {}) override {
        return inner_.message(text, buttons, icon, title);
    }
    std::optional<std::string> input(std::string_view prompt, std::string_view title,
                                     std::string_view defaultText) override {
        return inner_.input(prompt, title, defaultText);
    }
    std::optional<FileDialogResult> openFileDialog(const FileDialogRequest& r) override {
        return inner_.openFileDialog(r);
    }
    std::optional<FileDialogResult> saveFileDialog(const FileDialogRequest& r) override {
        return inner_.saveFileDialog(r);
    }
    void progress(std::string_view text) override { inner_.progress(text); }
    void yield() override;
    void sleepMs(int milliseconds) override;
    void beep() override { inner_.beep(); }
    void setBusy(bool busy) override { inner_.setBusy(busy); }

private:
    Host& inner_;
};

} // namespace zel::platform
