#include "common/atomic_file.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <filesystem>
#include <map>
#include <mutex>

#ifdef _WIN32
#ifndef NOMINMAX
#define NOMINMAX
#endif
#define WIN32_LEAN_AND_MEAN
#include <windows.h>
#else
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>
#endif

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

#ifdef _WIN32

using FolderHandle = HANDLE;
const FolderHandle kNoFolder = INVALID_HANDLE_VALUE;

std::wstring wide(const std::string& path) {
    return fs::path(path).wstring();
}

unsigned long processId() {
    return ::GetCurrentProcessId();
}

// The new file whole and flushed to the disk; the replaced file's attributes are the file system's concern.
bool writeNewFile(const std::string& temp, const std::string&, std::string_view bytes) {
    const HANDLE h = ::CreateFileW(wide(temp).c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW,
                                   FILE_ATTRIBUTE_NORMAL, nullptr);
    if (h == INVALID_HANDLE_VALUE) return false;
    bool ok = true;
    while (ok && !bytes.empty()) {
        const DWORD chunk = static_cast<DWORD>(std::min<std::size_t>(bytes.size(), 1u << 30));
        DWORD written = 0;
        ok = ::WriteFile(h, bytes.data(), chunk, &written, nullptr) && written > 0;
        bytes.remove_prefix(written);
    }
    ok = ok && ::FlushFileBuffers(h);
    ok = ::CloseHandle(h) && ok;
    return ok;
}

// Write-through: the call returns once the new entry is on the disk, which is what the folder flush does
// on the other systems.
bool replaceWith(const std::string& temp, const std::string& path) {
    return ::MoveFileExW(wide(temp).c_str(), wide(path).c_str(),
                         MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH) != 0;
}

void removeFile(const std::string& path) {
    ::DeleteFileW(wide(path).c_str());
}

void syncFolder(const std::string&) {}

// A folder cannot be locked itself: a lock file in it stands for it (never deleted, so two processes
// always lock the same file).
FolderHandle lockFolder(const std::string& folder) {
    const HANDLE h = ::CreateFileW(wide(folder + "\\.zel-lock").c_str(), GENERIC_READ | GENERIC_WRITE,
                                   FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                   OPEN_ALWAYS, FILE_ATTRIBUTE_HIDDEN, nullptr);
    if (h == INVALID_HANDLE_VALUE) return kNoFolder;
    OVERLAPPED at{};
    if (!::LockFileEx(h, LOCKFILE_EXCLUSIVE_LOCK, 0, 1, 0, &at)) {
        ::CloseHandle(h);
        return kNoFolder;
    }
    return h;
}

void unlockFolder(FolderHandle h) {
    OVERLAPPED at{};
    ::UnlockFileEx(h, 0, 1, 0, &at);
    ::CloseHandle(h);
}

#else

using FolderHandle = int;
constexpr FolderHandle kNoFolder = -1;

int retryOpen(const char* path, int flags, mode_t mode = 0) {
    int fd;
    do
        fd = ::open(path, flags, mode);
    while (fd < 0 && errno == EINTR);
    return fd;
}

unsigned long processId() {
    return static_cast<unsigned long>(::getpid());
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

// The new file whole and flushed to the disk, with the permissions of the file it replaces.
bool writeNewFile(const std::string& temp, const std::string& replaced, std::string_view bytes) {
    const int fd = retryOpen(temp.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    if (fd < 0) return false;
    bool ok = true;
    struct stat old {};
    if (::stat(replaced.c_str(), &old) == 0) ok = ::fchmod(fd, old.st_mode & 07777) == 0;
    ok = ok && writeAll(fd, bytes) && ::fsync(fd) == 0;
    ok = ::close(fd) == 0 && ok;
    return ok;
}

bool replaceWith(const std::string& temp, const std::string& path) {
    return ::rename(temp.c_str(), path.c_str()) == 0;
}

void removeFile(const std::string& path) {
    ::unlink(path.c_str());
}

// The new content is safe once the folder's entry is; a failing folder flush (some file systems do not
// allow it) does not undo a rename that has happened.
void syncFolder(const std::string& folder) {
    const int fd = retryOpen(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd < 0) return;
    ::fsync(fd);
    ::close(fd);
}

FolderHandle lockFolder(const std::string& folder) {
    const int fd = retryOpen(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd < 0) return kNoFolder;
    int r;
    do
        r = ::flock(fd, LOCK_EX);
    while (r != 0 && errno == EINTR);
    if (r != 0) {
        ::close(fd);
        return kNoFolder;
    }
    return fd;
}

void unlockFolder(FolderHandle fd) {
    ::flock(fd, LOCK_UN);
    ::close(fd);
}

#endif

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
    FolderHandle handle = kNoFolder;
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

    const std::string temp = path + std::string(kTempTag) + std::to_string(processId()) + "." +
                             std::to_string(gTempCounter.fetch_add(1));
    if (!writeNewFile(temp, path, bytes) || !replaceWith(temp, path)) {
        removeFile(temp);
        return false;
    }
    gBytesWritten += bytes.size();
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
    const FolderHandle handle = lockFolder(key);
    if (handle == kNoFolder) {
        heldFolders().erase(key);
        return;
    }
    h.handle = handle;
    h.count = 1;
    folder_ = key;
}

FolderLock::~FolderLock() {
    if (folder_.empty()) return;
    std::lock_guard guard(heldMutex());
    auto it = heldFolders().find(folder_);
    if (it == heldFolders().end()) return;
    if (--it->second.count > 0) return;
    unlockFolder(it->second.handle);
    heldFolders().erase(it);
}

} // namespace zel
