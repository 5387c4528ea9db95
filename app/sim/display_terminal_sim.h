#pragma once
// The field display as the simulators play it: it answers the status request and presses keys once asked,
// and writes what it is sent into the transcript, one command or text run a line.

#include "app/sim/pty_device.h"

#include <QTimer>

#include <string>
#include <vector>

namespace zel::sim {

struct DisplayOptions {
    bool silent = false;
    std::vector<int> keys;
    int keysAfterMs = 300;
};

// Splits what the program sends into commands and text runs, one transcript line each:
// "cursor R,C", "contrast N", "backlight @", "reset", "ansi 1;1H", "text ...".
class DisplayTerminal {
public:
    DisplayTerminal(DisplayOptions a, PtyDevice& pty, Transcript& transcript)
        : a_(std::move(a)), pty_(pty), transcript_(transcript) {
        idle_.setSingleShot(true);
        QObject::connect(&idle_, &QTimer::timeout, [this] { flushText(); });
    }

    void receive(std::string_view bytes) {
        pending_.append(bytes);
        parse();
        idle_.start(30); // a text run ends at the next command or when the line goes quiet
    }

private:
    void parse() {
        std::size_t i = 0;
        while (i < pending_.size()) {
            if (pending_[i] != '\x1b') {
                if (text_.size() < 256) text_ += pending_[i];
                ++i;
                continue;
            }
            const std::size_t used = command(std::string_view(pending_).substr(i));
            if (used == 0) break; // the rest of the command has not arrived yet
            i += used;
        }
        pending_.erase(0, i);
        if (pending_.size() > 64) pending_.clear(); // not a command of this display
    }

    // Bytes of one escape command at the start of s, 0 when incomplete.
    std::size_t command(std::string_view s) {
        if (s.size() < 2) return 0;
        const auto fixed = [&](std::size_t n, const std::string& what) -> std::size_t {
            if (s.size() < n) return 0;
            flushText();
            transcript_.line(what);
            return n;
        };
        switch (s[1]) {
        case 'I':
            if (s.size() < 4) return 0;
            return fixed(4, "cursor " + std::to_string(s[2] - 64) + "," + std::to_string(s[3] - 64));
        case 'L':
            if (s.size() < 3) return 0;
            return fixed(3, "contrast " + std::to_string(static_cast<unsigned char>(s[2]) - 64));
        case 'V':
            if (s.size() < 3) return 0;
            return fixed(3, std::string("backlight ") + s[2]);
        case 'O':
            if (s.size() < 3) return 0;
            return fixed(3, "reset " + printable(s.substr(2, 1)));
        case '[': {
            std::size_t end = 2;
            while (end < s.size() && !(s[end] >= '@' && s[end] <= '~'))
                ++end;
            if (end >= s.size()) return 0;
            const std::string body(s.substr(2, end - 1));
            fixed(end + 1, "ansi " + printable(body));
            if (body == "6n" && !a_.silent) statusRequested();
            return end + 1;
        }
        default: return fixed(2, "unknown " + printable(s.substr(0, 2)));
        }
    }

    void statusRequested() {
        pty_.send("\x1b[8;4R");
        if (keysSent_ || a_.keys.empty()) return;
        keysSent_ = true;
        QTimer::singleShot(a_.keysAfterMs, [this] {
            std::string k;
            for (const int key : a_.keys)
                k += static_cast<char>(key);
            pty_.send(k);
        });
    }

    void flushText() {
        if (text_.empty()) return;
        transcript_.line("text " + printable(text_));
        text_.clear();
    }

    DisplayOptions a_;
    PtyDevice& pty_;
    Transcript& transcript_;
    QTimer idle_;
    std::string pending_;
    std::string text_;
    bool keysSent_ = false;
};

} // namespace zel::sim
