#include "settings/profile.h"

#include "common/atomic_file.h"
#include "settings/ini_text.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <functional>
#include <map>
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
std::atomic<std::uint64_t> gFileWrites{0};

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

// The text of a file under a FileBatch: the bytes as they were read and as the batch's edits left them.
struct Batch {
    int depth = 0;
    bool readable = false; // false: the file could not be read; every edit fails
    bool existed = false;
    bool exists = false; // a write creates the file, a delete of a missing file does not
    std::string original;
    std::unique_ptr<IniDocument> doc;
    std::unique_ptr<FolderLock> lock;
};

std::string batchKey(const std::string& path) {
    return fs::path(path).lexically_normal().string();
}

class FileCache {
public:
    // Runs the query on the parsed file, or with nullptr when the file cannot be read.
    void query(const std::string& path, ReadLimit limit, const std::function<void(const IniDocument*)>& fn) {
        std::lock_guard lock(mutex_);
        if (Batch* b = batch(path)) {
            if (!b->readable || !b->exists) return fn(nullptr);
            const std::string& bytes = b->doc->bytes();
            if (limit && *limit < bytes.size()) {
                const IniDocument prefix(bytes.substr(0, static_cast<std::size_t>(*limit)));
                return fn(&prefix);
            }
            return fn(b->doc.get());
        }
        fn(document(path, limit));
    }

    // Called with the lock held.
    Batch* batch(const std::string& path) {
        if (batches_.empty()) return nullptr;
        auto it = batches_.find(batchKey(path));
        return it == batches_.end() ? nullptr : &it->second;
    }
    std::map<std::string, Batch>& batches() { return batches_; }

    void forgetAll() {
        std::lock_guard lock(mutex_);
        entries_.clear();
    }

    // Edits hold the cache's lock so that no read sees a half-written file of ours; a batch holds it for
    // its life, and its own reads and edits take it again.
    std::recursive_mutex& mutex() { return mutex_; }
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

    std::recursive_mutex mutex_;
    std::vector<Entry> entries_;
    std::map<std::string, Batch> batches_;
    std::uint64_t useCounter_ = 0;
};

FileCache& cache() {
    static FileCache c;
    return c;
}

// The file's bytes as they are on disk now; nullopt when it exists but cannot be read (or is too large to
// edit); an empty text with existed false when it does not exist.
std::optional<std::string> currentBytes(const std::string& path, bool& existed) {
    std::error_code ec;
    existed = fs::exists(path, ec);
    if (!existed) return std::string();
    const auto st = regularFileState(path);
    if (!st || st->size > kMaxDocumentBytes) return std::nullopt;
    return readBytes(path, st->size);
}

long writeOut(const std::string& path, const std::string& bytes) {
    if (!replaceFileAtomically(path, bytes)) return 0;
    ++gFileWrites;
    return 1;
}

// Every edit starts from the bytes on disk, never from the cache: another program may have changed the
// file since we last read it, and the profile functions work on the file as it is now.
long edit(const std::string& path, bool createIfMissing, const std::function<void(IniDocument&)>& change) {
    std::lock_guard lock(cache().mutex());
    try {
        if (Batch* b = cache().batch(path)) {
            if (!b->readable) return 0;
            if (!b->exists && !createIfMissing) return 1;
            change(*b->doc);
            b->exists = true;
            return 1;
        }
        cache().forgetLocked(path);
        const FolderLock folder(path);
        bool exists = false;
        auto original = currentBytes(path, exists);
        if (!original) return 0;
        if (!exists && !createIfMissing) return 1;
        IniDocument doc(*original);
        change(doc);
        if (exists && doc.bytes() == *original) return 1;
        return writeOut(path, doc.bytes());
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

FileBatch::FileBatch(const std::string& path) : path_(path), key_(batchKey(path)) {
    cache().mutex().lock();
    open_ = true;
    Batch& b = cache().batches()[key_];
    if (b.depth++ > 0) return;
    cache().forgetLocked(path);
    b.lock = std::make_unique<FolderLock>(path);
    try {
        auto bytes = currentBytes(path, b.existed);
        if (!bytes) return;
        b.original = std::move(*bytes);
        b.doc = std::make_unique<IniDocument>(b.original);
        b.exists = b.existed;
        b.readable = true;
    } catch (const std::exception&) {
        b.readable = false;
    }
}

FileBatch::~FileBatch() {
    commit();
}

long FileBatch::commit() {
    if (!open_) return 1;
    open_ = false;
    long result = 1;
    auto& batches = cache().batches();
    auto it = batches.find(key_);
    if (it != batches.end() && --it->second.depth == 0) {
        Batch& b = it->second;
        if (!b.readable)
            result = 0;
        else if (b.exists && !(b.existed && b.doc->bytes() == b.original))
            result = writeOut(path_, b.doc->bytes());
        cache().forgetLocked(path_);
        batches.erase(it);
    }
    cache().mutex().unlock();
    return result;
}

void forgetCachedFiles() {
    cache().forgetAll();
}

std::uint64_t fileReadCount() {
    return gFileReads.load();
}

std::uint64_t fileWriteCount() {
    return gFileWrites.load();
}

} // namespace zel::ini
