#pragma once
// The waveform export ".lif.wav.txt": the waveform on display as two tab-separated columns, no header.
#include "common/clock.h"
#include "common/host.h"

#include <optional>
#include <span>
#include <string>

namespace zel {

// One line a sample: the sample's time in nanoseconds (its index times deltaX, which is in seconds),
// "#0.0", a tab, the value in mV, "#0.000", CR LF.
std::string waveExportText(std::span<const float> samples, float deltaX);

// Asks for the file ("Save waveform as...", filter "Waveform|*" + the extension, the current time
// "YYYYMMDD_HHMMSS" proposed as the name) and writes it. nullopt when cancelled or when the write failed
// (reported through the host).
std::optional<std::string> ExportWaveText(std::span<const float> samples, float deltaX, bool colourMode,
                                          const std::string& initialDir, Host& host, const Clock& clock);

} // namespace zel
