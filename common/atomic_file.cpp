#include "common/atomic_file.h"

#include <atomic>
#include <cerrno>
#include <fcntl.h>
#include <filesystem>
#include <map>
#include <mutex>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace zel {
namespace {

namespace fs = std::filesystem;

std::atomic<std::uint64_t> gBytesWritten{0};
std::atomic<std::uint64_t> gTempCounter{0};

// Temporary files carry this between the file's name and the writer's process id, so that the leftovers of
// a writer killed mid-way can be told from anything else in the folder.
constexpr std::string_view kTempTag = ".zeltmp";

std::string folderOf(const std::string& path) {
    fs::path parent = fs::path(path).parent_path();
    return parent.empty() ? std::string(".") : parent.string();
}

int retryOpen(const char* path, int flags, mode_t mode = 0) {
    int fd;
    do
        fd = ::open(path, flags, mode);
    while (fd < 0 && errno == EINTR);
    return fd;
}

bool writeAll(int fd, std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t n = ::write(fd, bytes.data(), bytes.size());
        if (n < 0) {
            if (errno == EINTR) continue;
            return false;
        }
        bytes.remove_prefix(static_cast<std::size_t>(n));
    }
    return true;
}

bool syncFolder(const std::string& folder) {
    const int fd = retryOpen(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd < 0) return false;
    const bool ok = ::fsync(fd) == 0;
    ::close(fd);
    return ok;
}

// A writer killed between creating its temporary file and the rename leaves it behind. Called with the
// folder locked, so no other writer can be using one at this moment.
void removeLeftovers(const std::string& folder, const std::string& name) {
    const std::string prefix = name + std::string(kTempTag);
    std::error_code ec;
    for (fs::directory_iterator it(folder, ec), end; !ec && it != end; it.increment(ec)) {
        const std::string entry = it->path().filename().string();
        if (entry.size() > prefix.size() && entry.compare(0, prefix.size(), prefix) == 0) {
            std::error_code rm;
            fs::remove(it->path(), rm);
        }
    }
}

struct HeldFolder {
    int fd = -1;
    int count = 0;
};

std::mutex& heldMutex() {
    static std::mutex m;
    return m;
}

std::map<std::string, HeldFolder>& heldFolders() {
    static std::map<std::string, HeldFolder> held;
    return held;
}

std::string folderKey(const std::string& path) {
    std::error_code ec;
    fs::path abs = fs::absolute(folderOf(path), ec);
    return (ec ? fs::path(folderOf(path)) : abs).lexically_normal().string();
}

} // namespace

bool replaceFileAtomically(const std::string& path, std::string_view bytes) {
    const std::string folder = folderOf(path);
    const std::string name = fs::path(path).filename().string();
    if (name.empty()) return false;
    removeLeftovers(folder, name);

    const std::string temp = path + std::string(kTempTag) + std::to_string(::getpid()) + "." +
                             std::to_string(gTempCounter.fetch_add(1));
    const int fd = retryOpen(temp.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    if (fd < 0) return false;
    bool ok = true;
    struct stat old {};
    if (::stat(path.c_str(), &old) == 0) ok = ::fchmod(fd, old.st_mode & 07777) == 0;
    ok = ok && writeAll(fd, bytes) && ::fsync(fd) == 0;
    ok = ::close(fd) == 0 && ok;
    if (ok) ok = ::rename(temp.c_str(), path.c_str()) == 0;
    if (!ok) {
        ::unlink(temp.c_str());
        return false;
    }
    gBytesWritten += bytes.size();
    // The new content is safe once the folder's entry is; a failing folder flush (some file systems do not
    // allow it) does not undo a rename that has happened.
    syncFolder(folder);
    return true;
}

std::uint64_t atomicBytesWritten() {
    return gBytesWritten.load();
}

FolderLock::FolderLock(const std::string& path) {
    const std::string key = folderKey(path);
    std::lock_guard guard(heldMutex());
    HeldFolder& h = heldFolders()[key];
    if (h.count > 0) {
        ++h.count;
        folder_ = key;
        return;
    }
    const int fd = retryOpen(key.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd < 0) {
        heldFolders().erase(key);
        return;
    }
    int r;
    do
        r = ::flock(fd, LOCK_EX);
    while (r != 0 && errno == EINTR);
    if (r != 0) {
        ::close(fd);
        heldFolders().erase(key);
        return;
    }
    h.fd = fd;
    h.count = 1;
    folder_ = key;
}

FolderLock::~FolderLock() {
    if (folder_.empty()) return;
    std::lock_guard guard(heldMutex());
    auto it = heldFolders().find(folder_);
    if (it == heldFolders().end()) return;
    if (--it->second.count > 0) return;
    ::flock(it->second.fd, LOCK_UN);
    ::close(it->second.fd);
    heldFolders().erase(it);
}

} // namespace zel
