#pragma once
// The device end of a pseudo-terminal for the serial simulators. The program under test opens the other
// end by its path, as it would a serial port. The simulator keeps that end open itself too, so the line
// stays up (no hang-up storms) between the program's opens, and sets it raw so nothing is echoed.

#include <QObject>

#include <cstdio>
#include <functional>
#include <string>
#include <string_view>

class QSocketNotifier;

namespace zel::sim {

class PtyDevice {
public:
    PtyDevice();
    ~PtyDevice();
    PtyDevice(const PtyDevice&) = delete;
    PtyDevice& operator=(const PtyDevice&) = delete;

    // Creates the pseudo-terminal; false with error() set when the system refuses.
    bool open();
    const std::string& path() const { return path_; }
    const std::string& error() const { return error_; }
    // Bytes the program wrote, delivered from the event loop.
    void onReceive(std::function<void(std::string_view)> handler) { handler_ = std::move(handler); }
    // Sends what the line takes now; a program that does not read loses the rest, as on a real line.
    void send(std::string_view bytes);

private:
    void readable();

    int master_ = -1;
    int slave_ = -1;
    std::string path_;
    std::string error_;
    QSocketNotifier* notifier_ = nullptr;
    std::function<void(std::string_view)> handler_;
};

// Appends one line per received command to a file, flushed at once so tests can read it while the
// simulator runs. With no path it records nothing.
class Transcript {
public:
    explicit Transcript(const std::string& path);
    ~Transcript();
    void line(std::string_view text);

private:
    std::FILE* file_ = nullptr;
};

// Control characters as <ESC>, <0D>, ... so a transcript line stays one line.
std::string printable(std::string_view bytes);

} // namespace zel::sim
