#pragma once
// The name proposed for the next log, and the path a push is recorded under.
#include "common/date_time.h"
#include "common/host.h"
#include "log/raw_log_format.h"

#include <optional>
#include <string>

namespace zel {

enum class NamingMode { Lif, Birch, Colour, O2 };

// The first name of a session without a previous one: "001-UV", "001-BX" (Birch), "Clr_001", "O2_001".
// Otherwise the previous name (trimmed) with its counter raised by one: the digits at its start when it
// starts with one, else its last run of digits, padded to the old run's width and growing past it
// (999-UV -> 1000-UV). A name without digits gets "_01".
std::string nextLogName(const std::string& previous, NamingMode mode);

// The GPS name: latitude and longitude "#0.00000" with "." and "," turned into "d", then the time
// "YYYYMMDD HHnnSS", joined by single blanks ("48d11730 11d51667 20160412 154510").
std::string gpsLogName(double latitude, double longitude, const DateTime& now);

// GPS naming chosen in the options: explains, then lets the user pick the folder through a save dialog
// (only its folder is used). nullopt when cancelled.
std::optional<std::string> chooseGpsNamingFolder(const std::string& initialDir, Host& host);

// A path that ends with the raw extension twice (".lif.raw.lif.raw.bin", a name typed with its extension
// into a dialog that appends it again) cut back to one.
std::string cutDoubledExtension(const std::string& path, LogFamily family);

// Where the push is recorded. Without automatic naming: the save dialog "Save raw log data as..." with the
// proposed name; with it (autoFolder set): that folder, the name and the extension, refused with "File
// exists, record cancelled" when such a file is already there. nullopt: not recorded.
std::optional<std::string> chooseLogPath(const std::string& proposedName, LogFamily family,
                                         const std::optional<std::string>& autoFolder,
                                         const std::string& initialDir, Host& host);

} // namespace zel
