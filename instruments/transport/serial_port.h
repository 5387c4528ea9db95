#pragma once
// The serial line under the depth source, GPS and field display. The platform layer implements it on the
// program's event loop; unit tests script it. A port is named by its device path (a pseudo-terminal will
// do); port numbers of the options are turned into paths by the caller.

#include <functional>
#include <string>
#include <string_view>

namespace zel {

class SerialPort {
public:
    virtual ~SerialPort() = default;

    // settings is the classic text "baud,parity,data bits,stop bits", e.g. "115200,n,8,1".
    virtual bool open(const std::string& device, std::string_view settings) = 0;
    virtual bool isOpen() const = 0;
    virtual void close() = 0;
    virtual bool write(std::string_view bytes) = 0;
    // Everything received and not yet read.
    virtual std::string readAll() = 0;
    // Called from the event loop whenever bytes have arrived.
    virtual void setReceiveHandler(std::function<void()> handler) = 0;
    // Why the last open or write failed.
    virtual std::string errorText() const = 0;
};

// A periodic tick on the event loop (the depth emulation step).
class PeriodicTimer {
public:
    virtual ~PeriodicTimer() = default;
    virtual void start(int intervalMs, std::function<void()> tick) = 0;
    virtual void stop() = 0;
    virtual bool active() const = 0;
};

} // namespace zel
