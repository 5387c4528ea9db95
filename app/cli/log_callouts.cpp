#include "app/cli/log_callouts.h"

#include "app/plot/channel_colours.h"
#include "log/plot_companion.h"
#include "program/log_mode_look.h"

namespace zel::cli {

void takeLatestCalloutScheme(cZEL_Data& log) {
    const std::string plt = log.File_FullPath_Plt();
    const int scheme = nextCalloutScheme(plt) - 1;
    if (scheme < 1) return;
    CalloutDisplay display;
    std::string label;
    LoadCalloutScheme(plt, scheme, log, display, label);
    // The text the user gave a callout names it when it has no caption of its own.
    for (int slot = 0; slot < cZEL_Data::kCalloutSlots; ++slot) {
        const std::string& text = display.text[static_cast<std::size_t>(slot)];
        if (log.Callout_Caption(slot).empty() && !text.empty() && text != " ")
            log.Callout_Caption(slot, text);
    }
}

std::vector<plot::CalloutWave> calloutBands(jobs::QuietLog& l) {
    takeLatestCalloutScheme(l.log);
    const program::LogModeLook look = program::logModeLook(l.ctx.modeId, l.log.mode(), 0);
    return plot::logCallouts(l.log, l.arrays, plot::channelColours(look.labels, false));
}

} // namespace zel::cli
