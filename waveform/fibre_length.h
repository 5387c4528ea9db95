#pragma once
// Fibre length from the RE delay: the light runs to the probe and back, so half the delay, less the fixed
// delay of the instrument, is the time through the fibre at the fibre's group velocity.

namespace zel {

// Group index of the probe fibre for an operating mode; the seven-channel probes have their own fibre.
double groupIndex(int mode, int boundaryCount);

// Metres of fibre for an RE delay in seconds; a delay of exactly 0 (no RE taken) gives 0.
float fibreLength(double delaySeconds, int mode, int boundaryCount);

} // namespace zel
