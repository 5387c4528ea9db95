#include "program/log_mode_look.h"

#include "program/processing_settings.h"
#include "settings/startup/modes.h"

namespace zel::program {

LogModeLook logModeLook(int modeId, std::string_view modeText, int programMode) {
    LogModeLook look;
    look.model = std::string(modeText);
    if (const ModeEntry* mode = findMode(LogMode(modeId, modeText, programMode))) {
        for (std::size_t i = 0; i < look.labels.size(); ++i)
            look.labels[i] = mode->labels[i] ? mode->labels[i] : "";
        look.model = mode->model ? mode->model : "";
        look.pageFont = mode->pageFont;
    }
    return look;
}

} // namespace zel::program
