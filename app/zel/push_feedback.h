#pragma once
// What the window says while a push runs and once it ends: the depth, rate, point count, current and highest
// %RE, the time since the start and the loop's states, and afterwards the files the push wrote.

#include "acquisition/log_recorder.h"
#include "acquisition/push.h"
#include "common/clock.h"

#include <cstdint>
#include <string>

namespace zel::gui {

// The loop's switches as the operator set them.
struct PushStates {
    bool paused = false;
    bool continuous = false;
    bool timed = false;
};

class PushFeedback {
public:
    explicit PushFeedback(const Clock& clock) : clock_(clock) {}

    void start(std::string logName, bool metric);
    void point(int count, const acq::PointRecord& p);
    bool started() const { return startMs_ >= 0; }

    // "Sim-1 3.45 ft 0.82 in/s 12 points %RE 4.20 (max 18.31 at 2.15 ft) 0:42" and the states.
    std::string statusLine(const PushStates& states) const;
    // The window's title during the push: the log and where it stands.
    std::string title() const;
    // The end-of-push summary: points, depth, highest %RE, time, then each file written on its own line.
    std::string summary(const acq::RecordedFiles& files) const;
    // "m:ss", or "h:mm:ss" past an hour, of the time since start.
    std::string elapsedText() const;

private:
    const Clock& clock_;
    std::string name_;
    bool metric_ = false;
    std::int64_t startMs_ = -1;
    int points_ = 0;
    float depth_ = 0.0f;
    float rate_ = 0.0f;
    bool rateExceeded_ = false;
    float signal_ = 0.0f;
    float maxSignal_ = 0.0f;
    float maxDepth_ = 0.0f;
};

} // namespace zel::gui
