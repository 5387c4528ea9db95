#pragma once
// "zel-cli info": a raw log loaded as the program loads it, summarised as JSON.
// "zel-cli repair" (repair_command.cpp): the loader's trailer check and repair on its own, reported as text.

#include "app/cli/command.h"

#include <iosfwd>
#include <optional>
#include <string>

namespace zel::cli {

struct InfoArgs {
    std::string path;
    bool lists = false;
    std::optional<int> wave;
    bool noRepair = false; // --no-repair: a read-only look, the file is never written
};

// 0 when the log loaded, 1 otherwise (the reason on err).
int runInfo(const InfoArgs& args, std::ostream& out, std::ostream& err);
// 0 when the file could be checked (and mended where needed), 1 otherwise.
int runRepair(const std::string& path, std::ostream& out, std::ostream& err);

} // namespace zel::cli
