#pragma once
// Names derived from a raw log's name. Logs are copied between Windows and Linux machines, so the extensions
// are matched without regard to case, and only at the end of a name: a folder or stem that happens to contain
// "raw" or "bin" is never touched.

#include <string>
#include <string_view>

namespace zel {

// The log's name without its double extension: ".bin", then ".raw", then the family (".lif", ".clr" or
// ".o2") are each removed once when the name ends with them, in that order. So x.lif.raw.bin, x.raw.bin and
// x.lif all give x, while x.lif.plt and x.lif.raw.bin.temp are not log names and come back unchanged.
std::string stripLogExtension(std::string_view fileName);

// The plot-settings companion of a raw log: the trailing "raw.bin" of ".raw.bin" becomes "plt"
// (x.lif.raw.bin -> x.lif.plt). A path that does not end in ".raw.bin" has no companion and gives an empty
// text, so a caller can never write plot settings over the raw log itself.
std::string plotSettingsPath(std::string_view rawLogPath);

} // namespace zel
