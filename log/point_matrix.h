#pragma once
// A two-index array of 4-byte floats over the points of a log: (index within a point, point). The values
// of one point are one contiguous row and the rows follow each other, exactly as the raw log's binary block
// and the temporary point file lay them out, so a whole matrix is read or written in one call.
//
// Every size comes from a header, a file length or the instruments, so sizing is checked against the log's
// limits and refused with a status instead of allocating whatever was asked. For a push the full 10,001 rows
// are reserved once; appending a point then never moves the matrix.

#include "log/log_limits.h"

#include <cstddef>
#include <memory>
#include <optional>
#include <span>
#include <string_view>
#include <utility>
#include <vector>

namespace zel {

enum class ArrayStatus {
    Ok,
    InvalidSize,    // a width below 1 or a negative point count
    TooWide,        // more values per point than the matrix allows
    TooManyPoints,  // more than kMaxPoints points
    TooLarge,       // width x points above kMaxMatrixFloats
    OutOfMemory,    // the allocation itself failed
    Full,           // a push already holds kMaxPoints points
    WrongRowLength, // an appended row does not match the width
    NotACut,        // truncate asked for more points than are held
};

// A short English description, for the messages of the routines that size the arrays.
std::string_view describe(ArrayStatus status);

// Leaves a float it makes without a value unset instead of zeroing it: a 20 MB block that is read from
// the file whole need not be cleared first.
template <class T> struct UninitialisedAllocator : std::allocator<T> {
    template <class U> struct rebind { using other = UninitialisedAllocator<U>; };
    UninitialisedAllocator() = default;
    template <class U> UninitialisedAllocator(const UninitialisedAllocator<U>&) noexcept {}
    template <class U> void construct(U* p) noexcept { ::new (static_cast<void*>(p)) U; }
    template <class U, class... Args> void construct(U* p, Args&&... args) {
        ::new (static_cast<void*>(p)) U(std::forward<Args>(args)...);
    }
};

class PointMatrix {
public:
    // maxWidth: the most values one point may have (samples of a waveform, columns of a table).
    explicit PointMatrix(int maxWidth);

    // For loading: width values for each of points points, all 0. Any earlier content is dropped.
    // zeroed false leaves the values unset, for a caller that fills every one of them before use.
    ArrayStatus resize(int width, int points, bool zeroed = true);
    // For a push: no points yet, room for kMaxPoints rows of width values.
    ArrayStatus beginPush(int width);
    // Appends one point's row. Reserves the push's room first if beginPush was not called, so a matrix is
    // moved at most once whatever the number of points.
    ArrayStatus appendPoint(std::span<const float> row);
    // Makes sure the next append does not allocate (used to append to several matrices all or nothing).
    ArrayStatus reserveForPush();
    // Keeps points 0..points-1 and their contents; the reserved room stays for the next push.
    ArrayStatus truncate(int points);
    // Back to no width and no points, memory released.
    void clear();

    int width() const { return width_; }
    int points() const { return points_; }
    int maxWidth() const { return maxWidth_; }
    bool empty() const { return points_ == 0; }

    // Checked access: nullopt or false when the index or the point is outside the matrix.
    std::optional<float> at(int index, int point) const;
    bool set(int index, int point, float value);
    // One point's row; empty when the point is outside the matrix.
    std::span<const float> row(int point) const;
    std::span<float> row(int point);

    // Unchecked access for loops that have checked their bounds once. Row-major: point * width() + index.
    float operator()(int index, int point) const { return values_[offset(index, point)]; }
    float& operator()(int index, int point) { return values_[offset(index, point)]; }
    std::span<const float> values() const { return values_; }
    std::span<float> values() { return values_; }
    const float* data() const { return values_.data(); }
    float* data() { return values_.data(); }

private:
    std::size_t offset(int index, int point) const {
        return static_cast<std::size_t>(point) * static_cast<std::size_t>(width_) +
               static_cast<std::size_t>(index);
    }
    ArrayStatus checkSize(int width, int points) const;

    int maxWidth_;
    int width_ = 0;
    int points_ = 0;
    std::vector<float, UninitialisedAllocator<float>> values_;
};

} // namespace zel
