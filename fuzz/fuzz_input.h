#pragma once
// What the fuzz targets share: a host that shows nothing and answers every box with its first button (its
// waits advance a fake clock, so no target sleeps), and a reader that splits the fuzzer's bytes into the
// pieces in which a line or a socket would deliver them.

#include "common/clock.h"
#include "common/host.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace zel::fuzz {

class QuietHost final : public Host {
public:
    explicit QuietHost(FakeClock& clock) : clock_(clock) {}
    MsgResult message(std::string_view, MsgButtons buttons, MsgIcon, std::string_view) override {
        return defaultResult(buttons);
    }
    std::optional<std::string> input(std::string_view, std::string_view, std::string_view d) override {
        return std::string(d);
    }
    std::optional<FileDialogResult> openFileDialog(const FileDialogRequest&) override { return {}; }
    std::optional<FileDialogResult> saveFileDialog(const FileDialogRequest&) override { return {}; }
    void progress(std::string_view) override {}
    void yield() override {}
    void sleepMs(int ms) override { clock_.advanceMs(ms > 0 ? ms : 1); }
    void beep() override {}
    void setBusy(bool) override {}

private:
    FakeClock& clock_;
};

class Input {
public:
    Input(const std::uint8_t* data, std::size_t size) : bytes_(reinterpret_cast<const char*>(data), size) {}

    bool empty() const { return at_ >= bytes_.size(); }
    std::size_t left() const { return bytes_.size() - at_; }
    std::uint8_t byte() { return empty() ? 0 : static_cast<std::uint8_t>(bytes_[at_++]); }
    // A piece of 1 .. maxPiece bytes, its length taken from the next byte.
    std::string_view piece(std::size_t maxPiece = 64) {
        const std::size_t want = 1 + byte() % std::max<std::size_t>(maxPiece, 1);
        return take(want);
    }
    std::string_view take(std::size_t n) {
        n = std::min(n, left());
        const std::string_view s = bytes_.substr(at_, n);
        at_ += n;
        return s;
    }
    std::string_view rest() { return take(left()); }

private:
    std::string_view bytes_;
    std::size_t at_ = 0;
};

} // namespace zel::fuzz
