// zel-cli arrange: a site's logs copied into one folder a day (DIR/yyyy-mm-dd/), each with every file that
// belongs to it (its plot settings, exports, LAS, fits, pages), as a crew hands a week's work to the office.
// Copies only: the originals stay, a file already there with the same bytes is left, and one with other
// bytes is never replaced.
#include "app/cli/command.h"
#include "app/jobs/batch.h"
#include "app/jobs/quiet_log.h"

#include "common/console_host.h"
#include "log/log_file_names.h"
#include "site/log_summary.h"

#include <filesystem>
#include <iostream>
#include <map>
#include <memory>
#include <set>

namespace zel::cli {

namespace {

namespace fs = std::filesystem;

struct ArrangeArgs {
    std::vector<std::string> inputs;
    std::string to;
};

// The files of each raw log in its folder: the names that start with the log's name and "." or "_" (the
// pages of a long log are NAME_2.jpg ...), each given to the longest such log name, so log "B1" never takes
// the files of log "B1.5".
std::map<std::string, std::vector<fs::path>> filesOfLogs(const std::vector<std::string>& raws) {
    std::map<fs::path, std::set<std::string>> titlesByFolder;
    for (const auto& r : raws)
        titlesByFolder[fs::path(r).parent_path()].insert(stripLogExtension(fs::path(r).filename().string()));
    std::map<std::string, std::vector<fs::path>> out;
    for (const auto& [folder, titles] : titlesByFolder) {
        std::error_code ec;
        for (const auto& e : fs::directory_iterator(folder.empty() ? fs::path(".") : folder, ec)) {
            if (!e.is_regular_file()) continue;
            const std::string name = e.path().filename().string();
            std::string owner;
            for (const auto& t : titles)
                if (name.size() > t.size() && name.compare(0, t.size(), t) == 0 &&
                    (name[t.size()] == '.' || name[t.size()] == '_') && t.size() > owner.size())
                    owner = t;
            if (!owner.empty()) out[(folder / owner).string()].push_back(e.path());
        }
    }
    return out;
}

bool sameBytes(const fs::path& a, const fs::path& b) {
    std::string ignored;
    const auto x = jobs::readWholeFile(a.string(), ignored), y = jobs::readWholeFile(b.string(), ignored);
    return x && y && *x == *y;
}

int runArrange(const ArrangeArgs& a) {
    const auto raws = jobs::rawLogsOf(a.inputs);
    const auto files = filesOfLogs(raws);
    return jobs::runParallelBatch(
        "arrange", raws, std::cout, [&](std::size_t, const std::string& raw, std::string& text) {
            ConsoleHost host(std::cerr);
            const auto l = jobs::loadQuietly(raw, host);
            if (!l) return false;
            const std::string day = site::summarise(l->log, l->arrays, raw, 0.0f).date;
            const fs::path folder = fs::path(a.to) / (day.empty() ? std::string("undated") : day);
            std::error_code ec;
            fs::create_directories(folder, ec);
            const fs::path raw_ = fs::path(raw);
            const auto it =
                files.find((raw_.parent_path() / stripLogExtension(raw_.filename().string())).string());
            int copied = 0, kept = 0;
            for (const auto& f : it == files.end() ? std::vector<fs::path>{raw_} : it->second) {
                const fs::path target = folder / f.filename();
                if (fs::exists(target, ec)) {
                    if (!sameBytes(f, target)) {
                        text = target.string() + " exists with other contents (left as it was)";
                        return false;
                    }
                    ++kept;
                    continue;
                }
                std::string error;
                const auto bytes = jobs::readWholeFile(f.string(), error);
                if (!bytes || !jobs::writeWholeFile(target.string(), *bytes, error)) {
                    text = error;
                    return false;
                }
                ++copied;
            }
            text = folder.string() + " (" + std::to_string(copied) + " copied" +
                   (kept ? ", " + std::to_string(kept) + " already there" : "") + ")";
            return true;
        });
}

} // namespace

void addArrangeCommand(CLI::App& app, CommandRunner& run) {
    auto a = std::make_shared<ArrangeArgs>();
    auto* cmd =
        app.add_subcommand("arrange", "Copy each log, with every file of it, into a folder of its day "
                                      "(DIR/yyyy-mm-dd/)");
    cmd->add_option("INPUT", a->inputs, "raw logs or folders of them")->required();
    cmd->add_option("--to", a->to, "the site's folder receiving the day folders")->required();
    cmd->callback([a, &run] { run = [a] { return runArrange(*a); }; });
}

} // namespace zel::cli
