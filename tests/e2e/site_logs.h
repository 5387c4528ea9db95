#pragma once
// A small site for the tests of the site's deliverables: three borings pushed with the simulated rig at
// their own positions, each with its own plume strength between 1 and 2 ft (B1 faint, B2 bright, B3 between).

#include "tests/e2e/run_program.h"

#include <gtest/gtest.h>

#include <fstream>
#include <sstream>
#include <string>

namespace zel::e2e {

struct SiteBoring {
    const char* name;
    double lat, lon, pct;
};
inline constexpr SiteBoring kSiteBorings[] = {
    {"B1", 45.50100, -73.56800, 0.5}, {"B2", 45.50150, -73.56750, 35.0}, {"B3", 45.50200, -73.56700, 8.0}};

inline std::string slurp(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream s;
    s << in.rdbuf();
    return s.str();
}

struct SiteLogs {
    TempDir dir;
    SiteLogs() {
        for (const auto& b : kSiteBorings) {
            std::ostringstream site;
            site.precision(9);
            site
                << R"({"lat": )" << b.lat << R"(, "lon": )" << b.lon << R"(, "bottom_ft": 3, "layers": [)"
                << R"({"top_ft": 0, "bottom_ft": 1, "pct_re": 0.5}, {"top_ft": 1, "bottom_ft": 2, "pct_re": )"
                << b.pct << R"(}, {"top_ft": 2, "bottom_ft": 3, "pct_re": 0.5}]})";
            const std::string file = dir.write(std::string(b.name) + ".json", site.str());
            const RunResult r = runProgram(std::string(ZEL_CLI) + " push --sim --site " + quote(file) +
                                           " --rate 1 --rod-ft 0 --sweep-ms 0 --points 25 --yes --name " +
                                           b.name + " --out " + quote(dir.path.string()));
            EXPECT_EQ(r.exitCode, 0) << r.err;
        }
    }
};

// Pushed once for every test of the site in a test program.
inline const SiteLogs& siteLogs() {
    static const SiteLogs logs;
    return logs;
}

} // namespace zel::e2e
