#pragma once
// The batch loop of the subcommands that take many logs (export, page): one progress line a file as it is
// done, every file tried whatever the earlier ones did, and the failures named at the end.

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <functional>
#include <iostream>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

namespace zel::jobs {

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

// runBatch with the files shared among the machine's cores: a site's logs are independent, and loading a
// full one is most of the work. step(i, file, text) does file i and must only touch what is its own (its
// own host, its own result slot); the progress lines still come in file order, each as soon as it and the
// ones before it are done. idle, when given, runs on the calling thread every few tens of milliseconds
// while it waits (a window keeps its events going).
inline int
runParallelBatch(std::string_view command, const std::vector<std::string>& files, std::ostream& out,
                 const std::function<bool(std::size_t i, const std::string& file, std::string& text)>& step,
                 const std::function<void()>& idle = {}) {
    const std::size_t total = files.size();
    std::vector<std::optional<std::pair<bool, std::string>>> done(total);
    std::mutex m;
    std::condition_variable ready;
    std::size_t next = 0;
    const auto work = [&] {
        for (;;) {
            std::size_t i;
            {
                std::lock_guard lock(m);
                if (next >= total) return;
                i = next++;
            }
            std::string text;
            bool ok = false;
            try {
                ok = step(i, files[i], text);
            } catch (const std::exception& e) {
                text = e.what();
            }
            {
                std::lock_guard lock(m);
                done[i].emplace(ok, std::move(text));
            }
            ready.notify_all();
        }
    };
    const std::size_t workers =
        std::clamp<std::size_t>(std::thread::hardware_concurrency(), 1, std::max<std::size_t>(total, 1));
    std::vector<std::thread> pool;
    for (std::size_t w = 0; w < workers; ++w)
        pool.emplace_back(work);
    std::size_t shown = 0;
    const auto replay = [&](const std::string&, std::string& text) {
        std::unique_lock lock(m);
        while (!done[shown].has_value()) {
            if (!idle) {
                ready.wait(lock);
                continue;
            }
            ready.wait_for(lock, std::chrono::milliseconds(30));
            if (done[shown].has_value()) break;
            lock.unlock();
            idle();
            lock.lock();
        }
        const auto [ok, said] = *done[shown++];
        text = said;
        return ok;
    };
    const int code = runBatch(command, files, out, replay);
    for (auto& t : pool)
        t.join();
    return code;
}

} // namespace zel::jobs
