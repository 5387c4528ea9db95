#pragma once
// The names of a session's pushes: the name proposed for the next push, and the counter behind it, which
// only a recorded push moves (a push that was cancelled or never started leaves it where it was).

#include "log/log_naming.h"
#include "log/raw_log_format.h"

#include <set>
#include <string>
#include <string_view>

namespace zel::program {

class SessionNaming {
public:
    SessionNaming(NamingMode mode, LogFamily family) : mode_(mode), family_(family) {}

    // The name to record under: the name typed in the set-up unless a push of this session was already
    // recorded under it (automatic naming would meet "File exists"), otherwise the one after the last
    // recorded name ("001-UV" and the like first).
    std::string Proposal(std::string_view typed) const;
    // A push was recorded at this path; the next proposal counts on from its whole name without the
    // extension ("Site 1.5" -> "Site 1.6").
    void Recorded(const std::string& rawLogPath);

    LogFamily family() const { return family_; }
    const std::string& last() const { return last_; }

private:
    NamingMode mode_;
    LogFamily family_;
    std::string last_;
    std::set<std::string> recorded_;
};

// The naming of the program's mode: colour and O2 modes name their logs "Clr_001", "O2_001" and record
// ".clr.raw.bin", ".o2.raw.bin"; the Birch mode "001-BX".
SessionNaming NamingFor(bool colour, bool o2, bool birch);

} // namespace zel::program
