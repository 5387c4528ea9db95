#pragma once
// The analysis files are small tab-separated text tables: their lines (CR LF or LF, blank lines dropped) and
// each line's fields.

#include <sstream>
#include <string>
#include <vector>

namespace zel::analysis {

inline std::vector<std::string> splitFields(const std::string& line, char sep) {
    std::vector<std::string> f;
    std::size_t start = 0;
    for (;;) {
        const auto at = line.find(sep, start);
        f.push_back(line.substr(start, at - start));
        if (at == std::string::npos) break;
        start = at + 1;
    }
    return f;
}

inline std::vector<std::string> textLines(const std::string& text) {
    std::vector<std::string> out;
    std::istringstream in(text);
    for (std::string l; std::getline(in, l);) {
        if (!l.empty() && l.back() == '\r') l.pop_back();
        if (!l.empty()) out.push_back(l);
    }
    return out;
}

} // namespace zel::analysis
