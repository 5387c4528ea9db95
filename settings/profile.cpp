#include "settings/profile.h"

#include "settings/ini_text.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>
#include <mutex>
#include <vector>

namespace zel::ini {
namespace {

namespace fs = std::filesystem;
using FileTime = fs::file_time_type;

// File systems stamp modification times in ticks of up to two seconds (FAT); a file modified within that
// window of our read may change again without its time moving.
constexpr auto kRacyWindow = std::chrono::seconds(2);
constexpr std::size_t kMaxCachedFiles = 8;
constexpr std::size_t kMaxCachedBytes = std::size_t{96} << 20;

std::atomic<std::uint64_t> gFileReads{0};

struct FileState {
    std::uintmax_t size = 0;
    FileTime modified{};
};

std::optional<FileState> regularFileState(const std::string& path) {
    std::error_code ec;
    if (!fs::is_regular_file(path, ec) || ec) return std::nullopt;
    FileState st;
    st.size = fs::file_size(path, ec);
    if (ec) return std::nullopt;
    st.modified = fs::last_write_time(path, ec);
    if (ec) return std::nullopt;
    return st;
}

std::optional<std::string> readBytes(const std::string& path, std::uintmax_t count) {
    std::ifstream in(path, std::ios::binary);
    if (!in) return std::nullopt;
    std::string bytes(static_cast<std::size_t>(count), '\0');
    in.read(bytes.data(), static_cast<std::streamsize>(count));
    if (in.bad()) return std::nullopt;
    bytes.resize(static_cast<std::size_t>(in.gcount())); // the file may have shrunk since it was measured
    ++gFileReads;
    return bytes;
}

std::uintmax_t bytesToRead(const FileState& st, ReadLimit limit) {
    std::uintmax_t n = st.size;
    if (limit && *limit < n) n = *limit;
    return std::min<std::uintmax_t>(n, kMaxDocumentBytes);
}

class FileCache {
public:
    // Runs the query on the parsed file, or with nullptr when the file cannot be read.
    void query(const std::string& path, ReadLimit limit, const std::function<void(const IniDocument*)>& fn) {
        std::lock_guard lock(mutex_);
        fn(document(path, limit));
    }

    void forgetAll() {
        std::lock_guard lock(mutex_);
        entries_.clear();
    }

    // Edits hold the cache's lock so that no read sees a half-written file of ours.
    std::mutex& mutex() { return mutex_; }
    void forgetLocked(const std::string& path) {
        std::erase_if(entries_, [&](const Entry& e) { return e.path == path; });
    }

private:
    struct Entry {
        std::string path;
        ReadLimit limit;
        FileState state;
        bool racy = false;
        std::uint64_t lastUse = 0;
        std::unique_ptr<IniDocument> doc;
    };

    const IniDocument* document(const std::string& path, ReadLimit limit) {
        const FileTime readStart = FileTime::clock::now();
        const auto st = regularFileState(path);
        if (!st) {
            forgetLocked(path);
            return nullptr;
        }
        auto it = std::find_if(entries_.begin(), entries_.end(),
                               [&](const Entry& e) { return e.path == path && e.limit == limit; });
        std::optional<std::string> bytes;
        if (it != entries_.end() && it->state.size == st->size && it->state.modified == st->modified) {
            if (!it->racy) {
                it->lastUse = ++useCounter_;
                return it->doc.get();
            }
            bytes = readBytes(path, bytesToRead(*st, limit));
            if (bytes && *bytes == it->doc->bytes()) {
                it->racy = st->modified > readStart - kRacyWindow;
                it->lastUse = ++useCounter_;
                return it->doc.get();
            }
        } else {
            bytes = readBytes(path, bytesToRead(*st, limit));
        }
        if (it != entries_.end()) entries_.erase(it);
        if (!bytes) return nullptr;

        Entry e;
        e.path = path;
        e.limit = limit;
        e.state = *st;
        e.racy = st->modified > readStart - kRacyWindow;
        e.lastUse = ++useCounter_;
        e.doc = std::make_unique<IniDocument>(std::move(*bytes));
        entries_.push_back(std::move(e));
        evict();
        return entries_.back().doc.get();
    }

    void evict() {
        auto total = [&] {
            std::size_t sum = 0;
            for (const Entry& e : entries_)
                sum += e.doc->bytes().size();
            return sum;
        };
        while (entries_.size() > 1 && (entries_.size() > kMaxCachedFiles || total() > kMaxCachedBytes)) {
            auto oldest =
                std::min_element(entries_.begin(), entries_.end(),
                                 [](const Entry& a, const Entry& b) { return a.lastUse < b.lastUse; });
            entries_.erase(oldest);
        }
    }

    std::mutex mutex_;
    std::vector<Entry> entries_;
    std::uint64_t useCounter_ = 0;
};

FileCache& cache() {
    static FileCache c;
    return c;
}

// Every edit starts from the bytes on disk, never from the cache: another program may have changed the
// file since we last read it, and the profile functions work on the file as it is now.
long edit(const std::string& path, bool createIfMissing, const std::function<void(IniDocument&)>& change) {
    std::lock_guard lock(cache().mutex());
    cache().forgetLocked(path);
    std::error_code ec;
    const bool exists = fs::exists(path, ec);
    std::string original;
    if (exists) {
        const auto st = regularFileState(path);
        if (!st || st->size > kMaxDocumentBytes) return 0;
        auto bytes = readBytes(path, st->size);
        if (!bytes) return 0;
        original = std::move(*bytes);
    } else if (!createIfMissing) {
        return 1;
    }
    try {
        IniDocument doc(original);
        change(doc);
        if (exists && doc.bytes() == original) return 1;
        const bool appendOnly = exists && doc.unchangedPrefix() == original.size();
        std::ofstream out(path,
                          appendOnly ? std::ios::binary | std::ios::app : std::ios::binary | std::ios::trunc);
        if (!out) return 0;
        const std::string& b = doc.bytes();
        const std::size_t from = appendOnly ? original.size() : 0;
        out.write(b.data() + from, static_cast<std::streamsize>(b.size() - from));
        out.close();
        return out ? 1 : 0;
    } catch (const std::exception&) {
        return 0;
    }
}

std::string cut(std::string_view text, std::size_t bufferSize) {
    if (bufferSize == 0) return {};
    return std::string(text.substr(0, bufferSize - 1));
}

} // namespace

std::string profileString(const std::string& path, std::string_view section, std::string_view key,
                          std::string_view defaultValue, std::size_t bufferSize, ReadLimit limit) {
    std::string result;
    cache().query(path, limit, [&](const IniDocument* doc) {
        std::optional<std::string_view> v;
        if (doc) v = doc->value(section, key);
        if (v) {
            result = cut(*v, bufferSize);
        } else {
            std::string_view d = defaultValue;
            while (!d.empty() && d.back() == ' ')
                d.remove_suffix(1);
            result = cut(d, bufferSize);
        }
    });
    return result;
}

std::string profileKeyNames(const std::string& path, std::string_view section, std::size_t bufferSize,
                            ReadLimit limit) {
    std::string result;
    cache().query(path, limit, [&](const IniDocument* doc) {
        result = packList(doc ? doc->keyNames(section) : std::vector<std::string_view>{}, bufferSize);
    });
    return result;
}

std::string profileSection(const std::string& path, std::string_view section, std::size_t bufferSize,
                           ReadLimit limit) {
    std::string result;
    cache().query(path, limit, [&](const IniDocument* doc) {
        std::vector<std::string> lines;
        if (doc) lines = doc->sectionEntries(section);
        result = packList(std::vector<std::string_view>(lines.begin(), lines.end()), bufferSize);
    });
    return result;
}

std::string profileSectionNames(const std::string& path, std::size_t bufferSize, ReadLimit limit) {
    std::string result;
    cache().query(path, limit, [&](const IniDocument* doc) {
        result = packList(doc ? doc->sectionNames() : std::vector<std::string_view>{}, bufferSize);
    });
    return result;
}

long writeProfileString(const std::string& path, std::string_view section, std::string_view key,
                        std::string_view value) {
    return edit(path, true, [&](IniDocument& d) { d.writeString(section, key, value); });
}

long deleteProfileKey(const std::string& path, std::string_view section, std::string_view key) {
    return edit(path, false, [&](IniDocument& d) { d.deleteKey(section, key); });
}

long deleteProfileSection(const std::string& path, std::string_view section) {
    return edit(path, false, [&](IniDocument& d) { d.deleteSection(section); });
}

long writeProfileSection(const std::string& path, std::string_view section, std::string_view entries) {
    std::vector<std::string_view> lines;
    std::size_t pos = 0;
    while (pos < entries.size()) {
        std::size_t end = entries.find('\0', pos);
        if (end == std::string_view::npos) end = entries.size();
        if (end == pos) break;
        lines.push_back(entries.substr(pos, end - pos));
        pos = end + 1;
    }
    return edit(path, true, [&](IniDocument& d) { d.writeSection(section, lines); });
}

void forgetCachedFiles() {
    cache().forgetAll();
}

std::uint64_t fileReadCount() {
    return gFileReads.load();
}

} // namespace zel::ini
