#pragma once
// Where the program keeps its own files. On Linux: $ZEL_DATA_ROOT when set, else $XDG_DATA_HOME/ZEL
// (default ~/.local/share/ZEL); on Windows the common application-data folder plus "\ZEL". The options file
// and the presets file sit at fixed places under it that existing installations depend on; note the presets
// file lies outside the "ini" folder.

#include <functional>
#include <optional>
#include <string>

namespace zel {

// Reads an environment variable; nullopt when unset.
using EnvironmentLookup = std::function<std::optional<std::string>(const char* name)>;

std::string dataRoot();
std::string dataRoot(const EnvironmentLookup& environment);

// dataRoot() + "/ini/ZEL_Options.ini" ("\ini\ZEL_Options.ini" on Windows).
std::string optionsFilePath(const std::string& root);
// dataRoot() + "/ZEL_Presets.lif.pre" (with the forward slash on Windows too).
std::string presetsFilePath(const std::string& root);
inline std::string optionsFilePath() {
    return optionsFilePath(dataRoot());
}
inline std::string presetsFilePath() {
    return presetsFilePath(dataRoot());
}

// Creates the folder a file is to be written into; false when that is not possible.
bool ensureParentFolder(const std::string& filePath);

} // namespace zel
