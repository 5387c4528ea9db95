#include "program/session_naming.h"

#include "common/text.h"
#include "log/log_file_names.h"

#include <filesystem>

namespace zel::program {

std::string SessionNaming::Proposal(std::string_view typed) const {
    const std::string name(trimBlanks(typed));
    if (!name.empty() && !recorded_.contains(name)) return name;
    return nextLogName(last_, mode_);
}

void SessionNaming::Recorded(const std::string& rawLogPath) {
    last_ = stripLogExtension(std::filesystem::path(rawLogPath).filename().string());
    recorded_.insert(last_);
}

SessionNaming NamingFor(bool colour, bool o2, bool birch) {
    if (colour) return {NamingMode::Colour, LogFamily::Colour};
    if (o2) return {NamingMode::O2, LogFamily::O2};
    return {birch ? NamingMode::Birch : NamingMode::Lif, LogFamily::Lif};
}

} // namespace zel::program
