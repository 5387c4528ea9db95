#pragma once
// Waveform text files for the command line: one sample in millivolts per line.

#include <string>
#include <vector>

namespace zel::cli {

struct SampleFile {
    std::vector<float> samples;
    std::string error; // empty on success
};

// Blank lines and lines starting with "#" are skipped; any other line must hold exactly one number
// ("." as the decimal separator). The file is untrusted: its size and sample count are capped.
SampleFile readSampleFile(const std::string& path);

inline constexpr std::size_t kMaxSamples = 100000;

} // namespace zel::cli
