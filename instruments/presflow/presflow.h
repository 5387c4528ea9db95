#pragma once
// cZEL_PresFlow: the hydraulic-profiling pressure/flow unit on the auxiliary serial line. It streams one
// reading a line (time, upward and downward pressure, upward flow); the latest good reading is kept, with a
// short running average of the downward pressure for the reference tests. Line noise is dropped, and a unit
// whose stream has gone quiet is reported as not answering rather than leaving an old reading standing.

#include "common/clock.h"
#include "instruments/presflow/presflow_protocol.h"
#include "instruments/transport/serial_port.h"

#include <deque>
#include <functional>
#include <optional>
#include <string>

namespace zel {

class cZEL_PresFlow {
public:
    explicit cZEL_PresFlow(const Clock& clock) : clock_(clock) {}

    // The last good reading's values.
    float Time_S = 0;
    float PresUp = 0;
    float PresDown = 0;
    float Flow = 0;
    long long Readings = 0;   // good readings since the port was opened
    long long NoiseLines = 0; // lines dropped as noise
    std::function<void()> NewReading;

    bool Open(SerialPort& port, const std::string& device,
              std::string_view settings = presflow_protocol::kSettings);
    void Close();
    bool PortOpen() const { return port_ && port_->isOpen(); }

    // Streams a reading every periodMs (clamped to what the unit takes); 0 stops.
    void StartStream(int periodMs);
    void StopStream();
    // The unit's clock counts from now (a push's start).
    void ZeroClock();
    // Injection on or off (off for a dissipation test).
    void SetFlow(bool on);
    void Query();

    // The receive event: all pending input is taken.
    void OnComm();
    // Text handled as if it had arrived on the port.
    void AddText(std::string_view text);

    // A reading came within the last silentMs (default: three stream periods, at least 2 s).
    bool Answering() const;
    std::optional<presflow_protocol::Reading> Last() const { return last_; }
    // Mean downward pressure of the last readings (up to averageCount), 0 before the first.
    double AveragePresDown() const;
    int averageCount = 10;

private:
    void send(const std::string& command);
    void line(std::string_view text);

    const Clock& clock_;
    SerialPort* port_ = nullptr;
    std::string buffer_;
    bool discarding_ = false; // inside an overlong line, up to its end
    std::optional<presflow_protocol::Reading> last_;
    std::deque<double> downs_;
    std::int64_t lastReadingMs_ = -1;
    int periodMs_ = 0;
};

} // namespace zel
