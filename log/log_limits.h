#pragma once
// Size limits of one log. Every array of the log is sized from values read from a file or a header, so each
// size is checked against these before anything is allocated.

namespace zel {

// Points of a log run 0..10000.
inline constexpr int kMaxPointIndex = 10000;
inline constexpr int kMaxPoints = kMaxPointIndex + 1;

// A scope record has about 500 samples and a spectrum a few thousand; anything far beyond is a damaged
// header.
inline constexpr int kMaxSamplesPerWave = 100000;

// Per-point data columns (the widest layout, the HD board's, has 16).
inline constexpr int kMaxDataColumns = 64;

// One matrix never holds more than 64 Mi floats (256 MiB): a full 10,001-point log of a 6,000-sample spectrum
// still fits, a header that multiplies two plausible-looking sizes into gigabytes does not.
inline constexpr long long kMaxMatrixFloats = 64LL * 1024 * 1024;

} // namespace zel
