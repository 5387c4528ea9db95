#pragma once
// "RE.lif.ref.txt" under the data root's "ref" folder: the last RE ("HD-RE") and background ("HD-BK")
// reference as four channel values and the moment they were written.
#include "common/clock.h"
#include "waveform/waveform.h"

#include <array>
#include <optional>
#include <string>

namespace zel {

struct ReReference {
    std::string time; // "YYYY-MM-DD HH:mm:ss"
    std::array<float, 4> channels{};
};

std::string reReferencePath(const std::string& root);
// Replaces the section of the RE (or the background) with the current time and the four channel values.
void WriteReReference(const std::string& root, bool background, const std::array<float, 4>& channels,
                      const Clock& clock);
// The same from the program's waveform: the RE's (or the background's) channel areas, CH1 to CH4.
void WriteReReference(const std::string& root, bool background, const cZEL_Waveform& wave,
                      const Clock& clock);
// nullopt when the file or the section is not there.
std::optional<ReReference> ReadReReference(const std::string& root, bool background);

} // namespace zel
