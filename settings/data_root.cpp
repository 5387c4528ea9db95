#include "settings/data_root.h"

#include <cstdlib>
#include <filesystem>

namespace zel {
namespace {

std::optional<std::string> fromProcess(const char* name) {
    const char* v = std::getenv(name);
    if (!v) return std::nullopt;
    return std::string(v);
}

std::string withoutTrailingSeparators(std::string path) {
    while (path.size() > 1 && (path.back() == '/' || path.back() == '\\'))
        path.pop_back();
    return path;
}

} // namespace

std::string dataRoot() {
    return dataRoot(fromProcess);
}

std::string dataRoot(const EnvironmentLookup& environment) {
    if (auto root = environment("ZEL_DATA_ROOT"); root && !root->empty())
        return withoutTrailingSeparators(*root);
#ifdef _WIN32
    auto common = environment("ProgramData");
    return withoutTrailingSeparators(common && !common->empty() ? *common : std::string("C:\\ProgramData")) +
           "\\ZEL";
#else
    // A relative XDG_DATA_HOME is invalid and ignored, as the base-directory rules say.
    if (auto xdg = environment("XDG_DATA_HOME"); xdg && !xdg->empty() && xdg->front() == '/')
        return withoutTrailingSeparators(*xdg) + "/ZEL";
    auto home = environment("HOME");
    return withoutTrailingSeparators(home && !home->empty() ? *home : std::string(".")) + "/.local/share/ZEL";
#endif
}

std::string optionsFilePath(const std::string& root) {
#ifdef _WIN32
    return root + "\\ini\\ZEL_Options.ini";
#else
    return root + "/ini/ZEL_Options.ini";
#endif
}

std::string presetsFilePath(const std::string& root) {
    return root + "/ZEL_Presets.lif.pre";
}

bool ensureParentFolder(const std::string& filePath) {
    std::error_code ec;
    const auto parent = std::filesystem::path(filePath).parent_path();
    if (parent.empty()) return true;
    std::filesystem::create_directories(parent, ec);
    return std::filesystem::is_directory(parent, ec);
}

} // namespace zel
