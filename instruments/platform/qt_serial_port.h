#pragma once
// SerialPort on QSerialPort. Any path works as the device (a pseudo-terminal too); received bytes are
// announced from the event loop.

#include "instruments/transport/serial_port.h"

#include <memory>

class QSerialPort;

namespace zel::platform {

class QtSerialPort final : public SerialPort {
public:
    QtSerialPort();
    ~QtSerialPort() override;

    bool open(const std::string& device, std::string_view settings) override;
    bool isOpen() const override;
    void close() override;
    bool write(std::string_view bytes) override;
    std::string readAll() override;
    void setReceiveHandler(std::function<void()> handler) override;
    std::string errorText() const override { return error_; }

private:
    std::unique_ptr<QSerialPort> port_;
    std::function<void()> handler_;
    std::string error_;
};

// A timer on the event loop.
class QtTimer final : public PeriodicTimer {
public:
    QtTimer();
    ~QtTimer() override;
    void start(int intervalMs, std::function<void()> tick) override;
    void stop() override;
    bool active() const override;

private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
};

} // namespace zel::platform
