#include "log/log_naming.h"

#include "common/number_text.h"
#include "common/text.h"
#include "log/path_text.h"

#include <cctype>
#include <filesystem>

namespace zel {

namespace {

bool isDigit(char c) {
    return std::isdigit(static_cast<unsigned char>(c)) != 0;
}

// Adds one to a run of decimal digits of any length (a counter never overflows into a wrong name).
std::string increment(std::string digits) {
    for (std::size_t i = digits.size(); i-- > 0;) {
        if (digits[i] != '9') {
            ++digits[i];
            return digits;
        }
        digits[i] = '0';
    }
    return "1" + digits;
}

std::string gpsPart(double value) {
    std::string t = formatNumber(value, "#0.00000");
    for (char& c : t)
        if (c == '.' || c == ',') c = 'd';
    return t;
}

} // namespace

std::string nextLogName(const std::string& previous, NamingMode mode) {
    const std::string name(trimLine(previous));
    if (name.empty()) {
        switch (mode) {
        case NamingMode::Birch: return "001-BX";
        case NamingMode::Colour: return "Clr_001";
        case NamingMode::O2: return "O2_001";
        case NamingMode::Lif: break;
        }
        return "001-UV";
    }
    std::size_t begin = 0, end = 0;
    if (isDigit(name.front())) {
        while (end < name.size() && isDigit(name[end]))
            ++end;
    } else {
        end = name.size();
        while (end > 0 && !isDigit(name[end - 1]))
            --end;
        if (end == 0) return name + "_01";
        begin = end;
        while (begin > 0 && isDigit(name[begin - 1]))
            --begin;
    }
    return name.substr(0, begin) + increment(name.substr(begin, end - begin)) + name.substr(end);
}

std::string gpsLogName(double latitude, double longitude, const DateTime& now) {
    return gpsPart(latitude) + " " + gpsPart(longitude) + " " + formatDateTime(now, "YYYYMMDD HHnnSS");
}

std::optional<std::string> chooseGpsNamingFolder(const std::string& initialDir, Host& host) {
    host.message("You have chosen to auto-name based on GPS. Select a folder in the following dialog. "
                 "Filename does not matter.");
    FileDialogRequest request;
    request.title = "Save raw log data as...";
    request.initialDir = initialDir;
    const auto chosen = host.saveFileDialog(request);
    if (!chosen || chosen->path.empty()) return std::nullopt;
    return std::filesystem::path(chosen->path).parent_path().string();
}

std::string cutDoubledExtension(const std::string& path, LogFamily family) {
    const std::string ext(rawLogExtension(family));
    const std::string doubled = ext.substr(0, ext.size() - 4) + ext; // ".lif.raw" + ".lif.raw.bin"
    return replaceEndingNoCase(path, doubled, ext);
}

std::optional<std::string> chooseLogPath(const std::string& proposedName, LogFamily family,
                                         const std::optional<std::string>& autoFolder,
                                         const std::string& initialDir, Host& host) {
    const std::string ext(rawLogExtension(family));
    if (autoFolder) {
        std::string path = *autoFolder;
        if (!path.empty() && path.back() != '/' && path.back() != '\\') path += '/';
        path += proposedName + ext;
        std::error_code ec;
        if (std::filesystem::exists(path, ec)) {
            host.message("File exists, record cancelled");
            return std::nullopt;
        }
        return path;
    }
    FileDialogRequest request;
    request.title = "Save raw log data as...";
    request.filter = "Raw Data|*" + ext;
    request.initialDir = initialDir;
    request.fileName = proposedName;
    const auto chosen = host.saveFileDialog(request);
    if (!chosen || chosen->path.empty()) return std::nullopt;
    return cutDoubledExtension(withRawLogExtension(chosen->path, family), family);
}

} // namespace zel
