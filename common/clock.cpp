#include "common/clock.h"

#include <chrono>
#include <ctime>

namespace zel {

namespace {
std::tm localTm(std::time_t t) {
    std::tm tm{};
#ifdef _WIN32
    localtime_s(&tm, &t);
#else
    localtime_r(&t, &tm);
#endif
    return tm;
}
} // namespace

DateTime SystemClock::now() const {
    const std::tm tm = localTm(std::time(nullptr));
    return DateTime{tm.tm_year + 1900, tm.tm_mon + 1, tm.tm_mday, tm.tm_hour, tm.tm_min, tm.tm_sec};
}

double SystemClock::secondsSinceMidnight() const {
    using namespace std::chrono;
    const auto now = system_clock::now();
    const std::tm tm = localTm(system_clock::to_time_t(now));
    const auto ms = duration_cast<milliseconds>(now.time_since_epoch()).count() % 1000;
    return tm.tm_hour * 3600.0 + tm.tm_min * 60.0 + tm.tm_sec + ms / 1000.0;
}

std::int64_t SystemClock::monotonicMs() const {
    using namespace std::chrono;
    return duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count();
}

FakeClock::FakeClock(DateTime start) {
    set(start);
}

DateTime FakeClock::now() const {
    long long s = wallMs_ / 1000 - (wallMs_ % 1000 < 0 ? 1 : 0);
    return DateTime::fromSeconds(s);
}

double FakeClock::secondsSinceMidnight() const {
    long long dayMs = wallMs_ % 86400000LL;
    if (dayMs < 0) dayMs += 86400000LL;
    return dayMs / 1000.0;
}

void FakeClock::advanceMs(std::int64_t milliseconds) {
    wallMs_ += milliseconds;
    monotonic_ += milliseconds;
}

void FakeClock::set(DateTime wall) {
    wallMs_ = wall.toSeconds() * 1000;
}

} // namespace zel
