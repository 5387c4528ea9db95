#pragma once
// The plot-settings companion of a raw log (".lif.plt" beside ".lif.raw.bin"): saved callout schemes
// ("PLOT_" and a number), the dissipation tests kept for the plot ("Dissipation") and the log's display
// options ("Settings"). It is an ordinary INI file edited key by key, so sections written by other versions
// of the program stay as they are.

#include "common/clock.h"
#include "common/host.h"
#include "log/log_data.h"
#include "settings/form.h"
#include "settings/plot_settings.h"

#include <array>
#include <string>

namespace zel {

// What the callout form shows for each slot beside the log's own callout values.
struct CalloutDisplay {
    std::array<std::string, cZEL_Data::kCalloutSlots> text; // "Text C" + slot
    std::array<std::string, cZEL_Data::kCalloutSlots> pic;  // "Pic C" + slot
    friend bool operator==(const CalloutDisplay&, const CalloutDisplay&) = default;
};

// The number a new scheme takes: one above the count of sections whose first four letters, upper-cased,
// are "PLOT" (so a file whose schemes were deleted in the middle may reuse a number; it always has).
int nextCalloutScheme(const std::string& pltPath);

// Asks for the scheme's label ("Input label for this callout scheme, or leave blank", title "Callouts"; a
// cancelled box is an empty label, as the input box gives "" then) and writes section "PLOT_" + number with
// Time, Label and the five slots. Returns the scheme's number.
int SaveCalloutScheme(const std::string& pltPath, const cZEL_Data& log, const CalloutDisplay& display,
                      Host& host, const Clock& clock);
// Reads scheme number back into the callout slots; false when the file has no such section.
bool LoadCalloutScheme(const std::string& pltPath, int scheme, cZEL_Data& log, CalloutDisplay& display,
                       std::string& label);

// Section "Dissipation": DisInclude0 .. DisInclude4.
void SaveDissipation(const std::string& pltPath, const cZEL_Data& log);
void LoadDissipation(const std::string& pltPath, cZEL_Data& log);

// Section "Settings": the plot-settings set.
void SaveCompanionSettings(const std::string& pltPath, FormSet& forms, const PlotWindows& windows);
void LoadCompanionSettings(const std::string& pltPath, FormSet& forms, PlotWindows& windows);

} // namespace zel
