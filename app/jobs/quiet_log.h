#pragma once
// A raw log loaded quietly, as the batch commands (export, tau, nnls, summary, las) load each of their
// files, and the whole-file reads and writes those commands need.

#include "common/clock.h"
#include "common/host.h"
#include "log/load_file.h"
#include "log/log_arrays.h"
#include "log/log_data.h"
#include "log/raw_log_format.h"

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace zel::jobs {

struct QuietLog {
    SystemClock clock;
    cZEL_Data log;
    LogArrays arrays;
    RawLogContext ctx;
    LoadResult result;
    explicit QuietLog(Host& host) : log(host, clock) {}
};

// nullptr when the log did not load (the reasons went to the host). With an export target the load writes
// the data export into that folder, as a batch load does.
std::unique_ptr<QuietLog> loadQuietly(const std::string& file, Host& host,
                                      const std::string& exportTarget = {});

// The raw logs named, a folder standing for the raw logs in it (sorted by name).
std::vector<std::string> rawLogsOf(const std::vector<std::string>& inputs);

std::optional<std::string> readWholeFile(const std::string& path, std::string& error);
// Written whole or not at all: the old file stays until the new one is on the disk.
bool writeWholeFile(const std::string& path, const std::string& text, std::string& error);

} // namespace zel::jobs
