#include "app/jobs/quiet_log.h"

#include "common/atomic_file.h"
#include "log/load_file.h"
#include "log/path_text.h"
#include "program/settings_model.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <sstream>

namespace zel::jobs {

std::unique_ptr<QuietLog> loadQuietly(const std::string& file, Host& host, const std::string& exportTarget) {
    auto l = std::make_unique<QuietLog>(host);
    LoadSession session;
    session.family = familyOfPath(file);
    // The processing settings follow each log's own mode and the options file's set-up.
    session.processing = program::OptionsFileLoadProcessing();
    LoadRequest request;
    request.path = file;
    request.quiet = true;
    request.exportTarget = exportTarget;
    l->result = Load_File(request, session, {l->log, l->arrays, l->ctx}, host);
    if (l->result.outcome != LoadOutcome::Loaded) return nullptr;
    return l;
}

std::vector<std::string> rawLogsOf(const std::vector<std::string>& inputs) {
    namespace fs = std::filesystem;
    std::vector<std::string> out;
    for (const auto& in : inputs) {
        std::error_code ec;
        if (!fs::is_directory(in, ec)) {
            out.push_back(in);
            continue;
        }
        std::vector<std::string> found;
        for (const auto& e : fs::directory_iterator(in, ec))
            if (e.is_regular_file() && endsWithNoCase(e.path().filename().string(), ".raw.bin"))
                found.push_back(e.path().string());
        std::sort(found.begin(), found.end());
        out.insert(out.end(), found.begin(), found.end());
    }
    return out;
}

std::optional<std::string> readWholeFile(const std::string& path, std::string& error) {
    std::ifstream in(path, std::ios::binary);
    if (!in) {
        error = "cannot read " + path;
        return std::nullopt;
    }
    std::ostringstream s;
    s << in.rdbuf();
    return s.str();
}

bool writeWholeFile(const std::string& path, const std::string& text, std::string& error) {
    if (replaceFileAtomically(path, text)) return true;
    error = "cannot write " + path;
    return false;
}

} // namespace zel::jobs
