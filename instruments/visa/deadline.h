#pragma once
// One time budget shared by every step of an operation, so a slow instrument costs the configured
// time-out once, not once per step.

#include <algorithm>
#include <chrono>

namespace zel::visa {

class Deadline {
public:
    explicit Deadline(int timeoutMs)
        : end_(std::chrono::steady_clock::now() + std::chrono::milliseconds(std::max(timeoutMs, 0))) {}
    int remainingMs() const {
        const auto left =
            std::chrono::duration_cast<std::chrono::milliseconds>(end_ - std::chrono::steady_clock::now());
        return static_cast<int>(std::max<long long>(left.count(), 0));
    }
    bool expired() const { return std::chrono::steady_clock::now() >= end_; }

private:
    std::chrono::steady_clock::time_point end_;
};

} // namespace zel::visa
