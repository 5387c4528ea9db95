#pragma once
// A scripted serial port for the drivers' unit tests: records what is written, delivers queued input
// through the receive handler on demand.

#include "instruments/transport/serial_port.h"

#include <string>
#include <utility>
#include <vector>

namespace zel::testing {

class FakeSerialPort final : public SerialPort {
public:
    bool open(const std::string& device, std::string_view settings) override {
        device_ = device;
        settings_ = std::string(settings);
        open_ = openResult;
        return open_;
    }
    bool isOpen() const override { return open_; }
    void close() override { open_ = false; }
    bool write(std::string_view bytes) override {
        written.append(bytes);
        writes.emplace_back(bytes);
        if (onWrite) onWrite(bytes);
        return open_;
    }
    std::string readAll() override { return std::exchange(pending_, {}); }
    void setReceiveHandler(std::function<void()> handler) override { handler_ = std::move(handler); }
    std::string errorText() const override { return "no such device"; }

    // Queues bytes and raises the receive event, as one arrival.
    void receive(std::string_view bytes) {
        pending_.append(bytes);
        if (handler_) handler_();
    }
    const std::string& device() const { return device_; }
    const std::string& settings() const { return settings_; }

    bool openResult = true;
    std::string written;
    std::vector<std::string> writes;
    std::function<void(std::string_view)> onWrite;

private:
    bool open_ = false;
    std::string device_, settings_, pending_;
    std::function<void()> handler_;
};

class FakeTimer final : public PeriodicTimer {
public:
    void start(int ms, std::function<void()> t) override {
        intervalMs = ms;
        tick_ = std::move(t);
    }
    void stop() override { tick_ = nullptr; }
    bool active() const override { return static_cast<bool>(tick_); }
    void fire() {
        if (tick_) tick_();
    }
    int intervalMs = 0;

private:
    std::function<void()> tick_;
};

} // namespace zel::testing
