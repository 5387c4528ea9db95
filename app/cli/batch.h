#pragma once
// The batch loop of the subcommands that take many logs (export, page): one progress line a file as it is
// done, every file tried whatever the earlier ones did, and the failures named at the end.

#include <functional>
#include <iostream>
#include <string>
#include <string_view>
#include <vector>

namespace zel::cli {

// step(file, text) does one file: true with text naming what it wrote, false with text saying why it failed
// (may be empty). Progress goes to out as "i/n FILE -> TEXT" or "i/n FILE: failed (TEXT)"; the summary of
// failures to stderr. Returns the exit code: 0 when every file succeeded, 1 otherwise.
inline int runBatch(std::string_view command, const std::vector<std::string>& files, std::ostream& out,
                    const std::function<bool(const std::string& file, std::string& text)>& step) {
    std::vector<std::string> failed;
    const std::size_t total = files.size();
    for (std::size_t i = 0; i < total; ++i) {
        const std::string& file = files[i];
        const std::string counter = std::to_string(i + 1) + "/" + std::to_string(total) + " ";
        std::string text;
        if (step(file, text)) {
            out << counter << file << " -> " << text << std::endl;
        } else {
            out << counter << file << ": failed" << (text.empty() ? "" : " (" + text + ")") << std::endl;
            failed.push_back(file);
        }
    }
    if (failed.empty()) return 0;
    std::cerr << "zel-cli " << command << ": " << failed.size() << " of " << total << " files failed:";
    for (const auto& f : failed)
        std::cerr << ' ' << f;
    std::cerr << '\n';
    return 1;
}

} // namespace zel::cli
