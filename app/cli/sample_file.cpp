#include "app/cli/sample_file.h"

#include "common/text.h"

#include <charconv>
#include <cmath>
#include <fstream>
#include <string_view>

namespace zel::cli {

namespace {
constexpr std::uintmax_t kMaxBytes = 16u * 1024u * 1024u;
} // namespace

SampleFile readSampleFile(const std::string& path) {
    SampleFile out;
    std::ifstream in(path, std::ios::binary);
    if (!in) {
        out.error = "cannot open " + path;
        return out;
    }
    in.seekg(0, std::ios::end);
    const auto size = static_cast<std::uintmax_t>(in.tellg());
    if (size > kMaxBytes) {
        out.error = path + ": file too large for a waveform (" + std::to_string(size) + " bytes)";
        return out;
    }
    in.seekg(0);
    std::string line;
    std::size_t lineNo = 0;
    while (std::getline(in, line)) {
        ++lineNo;
        const std::string_view t = trimLine(line);
        if (t.empty() || t.front() == '#') continue;
        float v = 0.0f;
        const char* first = t.data() + (t.front() == '+' ? 1 : 0);
        const auto [ptr, ec] = std::from_chars(first, t.data() + t.size(), v);
        if (ec != std::errc() || ptr != t.data() + t.size() || !std::isfinite(v)) {
            out.error =
                path + ":" + std::to_string(lineNo) + ": not a sample value: \"" + std::string(t) + "\"";
            out.samples.clear();
            return out;
        }
        if (out.samples.size() >= kMaxSamples) {
            out.error = path + ": more than " + std::to_string(kMaxSamples) + " samples";
            out.samples.clear();
            return out;
        }
        out.samples.push_back(v);
    }
    if (out.samples.size() < 2) out.error = path + ": a waveform needs at least 2 samples";
    return out;
}

} // namespace zel::cli
