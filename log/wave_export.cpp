#include "log/wave_export.h"

#include "common/number_text.h"
#include "log/path_text.h"

#include <fstream>

namespace zel {

std::string waveExportText(std::span<const float> samples, float deltaX) {
    std::string out;
    for (std::size_t i = 0; i < samples.size(); ++i) {
        const double ns = static_cast<double>(i) * static_cast<double>(deltaX) * 1e9;
        out += formatNumber(ns, "#0.0") + '\t' + formatNumber(samples[i], "#0.000") + "\r\n";
    }
    return out;
}

std::optional<std::string> ExportWaveText(std::span<const float> samples, float deltaX, bool colourMode,
                                          const std::string& initialDir, Host& host, const Clock& clock) {
    const std::string ext = std::string(familyTag(colourMode, false)) + ".wav.txt";
    FileDialogRequest request;
    request.title = "Save waveform as...";
    request.filter = "Waveform|*" + ext;
    request.initialDir = initialDir;
    request.fileName = formatDateTime(clock.now(), "YYYYMMDD_HHMMSS");
    const auto chosen = host.saveFileDialog(request);
    if (!chosen || chosen->path.empty()) return std::nullopt;
    std::string path = chosen->path;
    if (!endsWithNoCase(path, ext)) path += ext;
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out << waveExportText(samples, deltaX);
    out.close();
    if (!out) {
        host.message("Error in Export_Wave: cannot write " + path, MsgButtons::Ok, MsgIcon::Critical);
        return std::nullopt;
    }
    return path;
}

} // namespace zel
