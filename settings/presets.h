#pragma once
// Presets: named plot-settings sets in the presets file, one section per preset, the section name being the
// preset's label. The preset dialog shows List() and calls the operations below.

#include "common/host.h"
#include "settings/form.h"
#include "settings/plot_settings.h"

#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace zel {

class Presets {
public:
    Presets(Host& host, FormSet& forms, PlotWindows& windows, std::string presetsPath);

    const std::string& path() const { return path_; }
    // The names shown in the dialog's list, as last refreshed.
    const std::vector<std::string>& List() const { return list_; }
    void RefreshList();

    // Asks for a label; an empty answer cancels. Otherwise writes the current plot settings under that label
    // and refreshes the list. Returns whether a preset was written.
    bool Save();
    // Reads the preset into the dialogs and redraws the log plot.
    void Load(std::string_view name);
    void Delete(std::string_view name);
    // "[name]" and one "key=value" line per key of the preset, lines joined with CR LF, for the user to copy.
    std::string ExportText(std::string_view name) const;
    // The reverse of ExportText. The first line must be "[name]"; an existing preset of that name is only
    // overwritten after the user agrees. Returns whether anything was written.
    bool ImportText(std::string_view text);

    // Redraws the log plot after a preset was loaded.
    std::function<void()> Redraw;

private:
    Host& host_;
    FormSet& forms_;
    PlotWindows& windows_;
    std::string path_;
    std::vector<std::string> list_;
};

} // namespace zel
