#pragma once
// A raw log a test pushed, loaded back by the program's own reader with a recording host.

#include "common/clock.h"
#include "common/testing/recording_host.h"
#include "log/raw_log_reader.h"

#include <filesystem>

namespace zel::e2e {

struct LoadedLog {
    FakeClock clock;
    zel::testing::RecordingHost host{&clock};
    cZEL_Data log{host, clock};
    LogArrays arrays;
    RawLogContext ctx;
    bool ok = false;
    explicit LoadedLog(const std::filesystem::path& raw) {
        ok = LoadRawLog(raw.string(), log, arrays, ctx, host).ok;
    }
};

} // namespace zel::e2e
