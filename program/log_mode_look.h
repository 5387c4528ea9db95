#pragma once
// How a log's own mode is shown: its channel labels, the probe's model name and the page font. A loaded log
// is drawn in the mode it was made in, whatever mode the program runs in, so that every program draws the
// same log alike.

#include <array>
#include <string>
#include <string_view>

namespace zel::program {

struct LogModeLook {
    std::array<std::string, 4> labels{"350", "400", "450", "500"};
    std::string model; // the mode's model name; the log's mode text when the mode is unknown
    int pageFont = 11;
};

// modeId and modeText as the raw log gives them (RawLogContext::modeId, cZEL_Data::mode); programMode for
// a log that names none.
LogModeLook logModeLook(int modeId, std::string_view modeText, int programMode);

} // namespace zel::program
