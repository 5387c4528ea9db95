#include "app/zel/push_feedback.h"

#include "common/number_text.h"

#include <algorithm>

namespace zel::gui {

void PushFeedback::start(std::string logName, bool metric) {
    name_ = std::move(logName);
    metric_ = metric;
    startMs_ = clock_.monotonicMs();
    points_ = 0;
    depth_ = rate_ = signal_ = maxSignal_ = maxDepth_ = 0.0f;
    rateExceeded_ = false;
}

void PushFeedback::point(int count, const acq::PointRecord& p) {
    // The first point sets the maximum whatever its sign: a dark first reading is still the highest so far.
    if (points_ == 0 || p.signal > maxSignal_) {
        maxSignal_ = p.signal;
        maxDepth_ = p.depth;
    }
    points_ = count;
    depth_ = p.depth;
    rate_ = p.rate;
    rateExceeded_ = p.rateExceeded;
    signal_ = p.signal;
}

std::string PushFeedback::elapsedText() const {
    if (startMs_ < 0) return "0:00";
    const std::int64_t s = std::max<std::int64_t>(0, (clock_.monotonicMs() - startMs_) / 1000);
    const auto two = [](std::int64_t v) { return (v < 10 ? "0" : "") + std::to_string(v); };
    if (s >= 3600) return std::to_string(s / 3600) + ":" + two(s / 60 % 60) + ":" + two(s % 60);
    return std::to_string(s / 60) + ":" + two(s % 60);
}

std::string PushFeedback::statusLine(const PushStates& states) const {
    const std::string unit = metric_ ? " m" : " ft";
    std::string line = name_ + "  " + formatNumber(depth_, "#0.00") + unit + "  " +
                       formatNumber(rate_, "#0.00") + (metric_ ? " cm/s" : " in/s") +
                       (rateExceeded_ ? " (too fast)" : "") + "  " + std::to_string(points_) +
                       (points_ == 1 ? " point" : " points");
    if (points_ > 0)
        line += "  %RE " + formatNumber(signal_, "#0.00") + " (max " + formatNumber(maxSignal_, "#0.00") +
                " at " + formatNumber(maxDepth_, "#0.00") + unit + ")";
    line += "  " + elapsedText();
    if (states.paused) line += "  PAUSED";
    if (states.continuous) line += "  CONTINUOUS";
    if (states.timed) line += "  TIMED";
    return line;
}

std::string PushFeedback::title() const {
    return "ZEL - " + name_ + " - recording: " + formatNumber(depth_, "#0.00") +
           (metric_ ? " m, " : " ft, ") + std::to_string(points_) + (points_ == 1 ? " point" : " points");
}

std::string PushFeedback::summary(const acq::RecordedFiles& files) const {
    const std::string unit = metric_ ? " m" : " ft";
    std::string text = "Push " + name_ + " recorded: " + std::to_string(points_) +
                       (points_ == 1 ? " point" : " points") + " to " + formatNumber(depth_, "#0.00") + unit +
                       " in " + elapsedText() + ".";
    if (points_ > 0)
        text += "\r\nHighest %RE " + formatNumber(maxSignal_, "#0.00") + " at " +
                formatNumber(maxDepth_, "#0.00") + unit + ".";
    text += "\r\n\r\nFiles written:";
    for (const std::string* f : {&files.rawLog, &files.companion, &files.dataExport, &files.runLog})
        if (!f->empty()) text += "\r\n" + *f;
    return text;
}

} // namespace zel::gui
