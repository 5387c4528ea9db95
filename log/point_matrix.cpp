#include "log/point_matrix.h"

#include <new>
#include <stdexcept>

namespace zel {

std::string_view describe(ArrayStatus status) {
    switch (status) {
    case ArrayStatus::Ok: return "ok";
    case ArrayStatus::InvalidSize: return "invalid array size";
    case ArrayStatus::TooWide: return "too many values per point";
    case ArrayStatus::TooManyPoints: return "more than 10001 points";
    case ArrayStatus::TooLarge: return "array larger than a log can hold";
    case ArrayStatus::OutOfMemory: return "out of memory";
    case ArrayStatus::Full: return "the log already holds 10001 points";
    case ArrayStatus::WrongRowLength: return "point does not match the array's width";
    case ArrayStatus::NotACut: return "cannot cut to more points than the log holds";
    }
    return "unknown array status";
}

PointMatrix::PointMatrix(int maxWidth) : maxWidth_(maxWidth) {}

ArrayStatus PointMatrix::checkSize(int width, int points) const {
    if (width < 1 || points < 0) return ArrayStatus::InvalidSize;
    if (width > maxWidth_) return ArrayStatus::TooWide;
    if (points > kMaxPoints) return ArrayStatus::TooManyPoints;
    if (static_cast<long long>(width) * points > kMaxMatrixFloats) return ArrayStatus::TooLarge;
    return ArrayStatus::Ok;
}

ArrayStatus PointMatrix::resize(int width, int points, bool zeroed) {
    if (ArrayStatus s = checkSize(width, points); s != ArrayStatus::Ok) return s;
    try {
        const std::size_t n = static_cast<std::size_t>(width) * static_cast<std::size_t>(points);
        if (zeroed) {
            values_.assign(n, 0.0f);
        } else {
            values_.clear();
            values_.resize(n);
        }
    } catch (const std::bad_alloc&) {
        clear();
        return ArrayStatus::OutOfMemory;
    } catch (const std::length_error&) {
        clear();
        return ArrayStatus::OutOfMemory;
    }
    width_ = width;
    points_ = points;
    return ArrayStatus::Ok;
}

ArrayStatus PointMatrix::beginPush(int width) {
    if (ArrayStatus s = checkSize(width, kMaxPoints); s != ArrayStatus::Ok) return s;
    values_.clear();
    width_ = width;
    points_ = 0;
    ArrayStatus s = reserveForPush();
    if (s != ArrayStatus::Ok) clear();
    return s;
}

ArrayStatus PointMatrix::reserveForPush() {
    if (ArrayStatus s = checkSize(width_, kMaxPoints); s != ArrayStatus::Ok) return s;
    const std::size_t room = static_cast<std::size_t>(width_) * kMaxPoints;
    if (values_.capacity() >= room) return ArrayStatus::Ok;
    try {
        values_.reserve(room);
    } catch (const std::bad_alloc&) {
        return ArrayStatus::OutOfMemory;
    } catch (const std::length_error&) {
        return ArrayStatus::OutOfMemory;
    }
    return ArrayStatus::Ok;
}

ArrayStatus PointMatrix::appendPoint(std::span<const float> row) {
    if (width_ < 1 || row.size() != static_cast<std::size_t>(width_)) return ArrayStatus::WrongRowLength;
    if (points_ >= kMaxPoints) return ArrayStatus::Full;
    if (ArrayStatus s = reserveForPush(); s != ArrayStatus::Ok) return s;
    values_.insert(values_.end(), row.begin(), row.end());
    ++points_;
    return ArrayStatus::Ok;
}

ArrayStatus PointMatrix::truncate(int points) {
    if (points < 0) return ArrayStatus::InvalidSize;
    if (points > points_) return ArrayStatus::NotACut;
    values_.resize(offset(0, points));
    points_ = points;
    return ArrayStatus::Ok;
}

void PointMatrix::clear() {
    decltype(values_)().swap(values_);
    width_ = 0;
    points_ = 0;
}

std::optional<float> PointMatrix::at(int index, int point) const {
    if (index < 0 || index >= width_ || point < 0 || point >= points_) return std::nullopt;
    return values_[offset(index, point)];
}

bool PointMatrix::set(int index, int point, float value) {
    if (index < 0 || index >= width_ || point < 0 || point >= points_) return false;
    values_[offset(index, point)] = value;
    return true;
}

std::span<const float> PointMatrix::row(int point) const {
    if (point < 0 || point >= points_) return {};
    return std::span<const float>(values_).subspan(offset(0, point), static_cast<std::size_t>(width_));
}

std::span<float> PointMatrix::row(int point) {
    if (point < 0 || point >= points_) return {};
    return std::span<float>(values_).subspan(offset(0, point), static_cast<std::size_t>(width_));
}

} // namespace zel
