#pragma once
// Time sources. Everything that depends on the time of day (RE age, midnight wrap of rates, start delays,
// monthly run logs) asks a Clock, so tests can drive it with FakeClock.

#include "common/date_time.h"

#include <cstdint>

namespace zel {

class Clock {
public:
    virtual ~Clock() = default;
    // Local wall time, whole seconds.
    virtual DateTime now() const = 0;
    // Seconds since local midnight with the fraction, like Basic's Timer; wraps to 0 at midnight.
    virtual double secondsSinceMidnight() const = 0;
    // Milliseconds on a clock that never goes backwards.
    virtual std::int64_t monotonicMs() const = 0;
};

class SystemClock final : public Clock {
public:
    DateTime now() const override;
    double secondsSinceMidnight() const override;
    std::int64_t monotonicMs() const override;
};

// A clock that moves only when told to. Wall time and the monotonic count advance together.
class FakeClock final : public Clock {
public:
    explicit FakeClock(DateTime start = DateTime{2016, 4, 12, 15, 45, 10});
    DateTime now() const override;
    double secondsSinceMidnight() const override;
    std::int64_t monotonicMs() const override { return monotonic_; }

    void advanceMs(std::int64_t milliseconds);
    void set(DateTime wall); // moves the wall time only

private:
    long long wallMs_ = 0; // milliseconds since 12/30/1899 00:00:00
    std::int64_t monotonic_ = 0;
};

} // namespace zel
