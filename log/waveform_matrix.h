#pragma once
// The waveform of every depth point of a log: (sample, point), each point's samples one contiguous run of
// 4-byte floats in millivolts. This is the raw log's binary block as it stands on disk, so the block is read
// into values() and written from it whole.

#include "log/point_matrix.h"

#include <span>

namespace zel {

class WaveformMatrix final : public PointMatrix {
public:
    WaveformMatrix() : PointMatrix(kMaxSamplesPerWave) {}

    // Samples in each point's waveform (the raw log's Wave_Points + 1).
    int samplesPerWave() const { return width(); }
    // The waveform of one point; empty when the point is not in the log.
    std::span<const float> wave(int point) const { return row(point); }
};

} // namespace zel
