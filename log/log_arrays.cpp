#include "log/log_arrays.h"

namespace zel {

namespace {

// The point arrays in use: pressure/flow only when the log carries it.
template <class Arrays, class Fn> void forEachPointArray(Arrays& a, Fn&& fn) {
    fn(a.waves);
    fn(a.columns);
    fn(a.hammer);
    fn(a.counter);
    if (a.presFlow.width() > 0) fn(a.presFlow);
}

} // namespace

ArrayStatus LogArrays::beginPush(int samplesPerWave, int dataColumns, bool withPresFlow) {
    clearFits();
    ArrayStatus status = waves.beginPush(samplesPerWave);
    if (status == ArrayStatus::Ok) status = columns.beginPush(dataColumns);
    if (status == ArrayStatus::Ok) status = hammer.beginPush(kHammerColumns);
    if (status == ArrayStatus::Ok) status = counter.beginPush(kCounterColumns);
    presFlow.clear();
    if (status == ArrayStatus::Ok && withPresFlow) status = presFlow.beginPush(kPresFlowColumns);
    if (status != ArrayStatus::Ok) {
        waves.clear();
        columns.clear();
        hammer.clear();
        counter.clear();
        presFlow.clear();
    }
    return status;
}

ArrayStatus LogArrays::resize(int samplesPerWave, int dataColumns, int points, bool withPresFlow,
                              bool zeroWaves) {
    clearFits();
    ArrayStatus status = waves.resize(samplesPerWave, points, zeroWaves);
    if (status == ArrayStatus::Ok) status = columns.resize(dataColumns, points);
    if (status == ArrayStatus::Ok) status = hammer.resize(kHammerColumns, points);
    if (status == ArrayStatus::Ok) status = counter.resize(kCounterColumns, points);
    presFlow.clear();
    if (status == ArrayStatus::Ok && withPresFlow) status = presFlow.resize(kPresFlowColumns, points);
    if (status != ArrayStatus::Ok) {
        waves.clear();
        columns.clear();
        hammer.clear();
        counter.clear();
        presFlow.clear();
    }
    return status;
}

ArrayStatus LogArrays::appendPoint(const PointValues& point) {
    if (waves.width() < 1 || point.wave.size() != static_cast<std::size_t>(waves.width()) ||
        columns.width() < 1 || point.columns.size() != static_cast<std::size_t>(columns.width()) ||
        hammer.width() != kHammerColumns || counter.width() != kCounterColumns)
        return ArrayStatus::WrongRowLength;
    if (points() >= kMaxPoints) return ArrayStatus::Full;
    // Room first in every array, so a refusal cannot leave the arrays a point apart.
    ArrayStatus status = ArrayStatus::Ok;
    forEachPointArray(*this, [&](PointMatrix& m) {
        if (status == ArrayStatus::Ok) status = m.reserveForPush();
    });
    if (status != ArrayStatus::Ok) return status;

    waves.appendPoint(point.wave);
    columns.appendPoint(point.columns);
    hammer.appendPoint(point.hammer);
    counter.appendPoint(std::span<const float>(&point.counter, 1));
    if (presFlow.width() > 0) presFlow.appendPoint(point.presFlow);
    return ArrayStatus::Ok;
}

ArrayStatus LogArrays::truncate(int points) {
    if (points < 0) return ArrayStatus::InvalidSize;
    ArrayStatus status = ArrayStatus::Ok;
    forEachPointArray(*this, [&](PointMatrix& m) {
        if (points > m.points()) status = ArrayStatus::NotACut;
    });
    if (status != ArrayStatus::Ok) return status;
    forEachPointArray(*this, [&](PointMatrix& m) { m.truncate(points); });
    return ArrayStatus::Ok;
}

void LogArrays::clear() {
    waves.clear();
    columns.clear();
    hammer.clear();
    counter.clear();
    presFlow.clear();
    re = Waveform{};
    blank = Waveform{};
    std::vector<float>().swap(baseline);
    clearFits();
    std::vector<float>().swap(nnls);
}

void LogArrays::clearFits() {
    nnls.clear();
    nnlsTitle.clear();
    tau.clear();
    pointClass.clear();
    classNames.clear();
}

} // namespace zel
