#pragma once
// Replacing a file so that a crash or a power cut at any moment leaves either the old file or the new one,
// whole: the new bytes go to a temporary file in the same folder, are flushed to the disk, the temporary file
// is renamed over the old one and the folder is flushed so that the rename itself survives.
//
// FolderLock serialises the read-modify-write of files in one folder between processes (two copies of the
// program saving the options file at once would otherwise each write their own version over the other's
// changes). Within one process the locks nest: a second lock of the same folder is free and the folder stays
// locked until the last one is released. The process-wide nesting is not a guard between threads; callers
// serialise their threads themselves.

#include <cstdint>
#include <string>
#include <string_view>

namespace zel {

// Writes bytes as the whole new content of path. The file keeps its permissions; a new file gets the usual
// ones. False (old file untouched, temporary file removed) when any step fails.
bool replaceFileAtomically(const std::string& path, std::string_view bytes);

// Bytes written by replaceFileAtomically since the program started (the benchmark and tests read it).
std::uint64_t atomicBytesWritten();

class FolderLock {
public:
    // Locks the folder that holds path (waits for another process to release it). An unlockable folder
    // (missing, no permission) leaves the lock unheld; the write that follows then fails or goes ahead
    // alone.
    explicit FolderLock(const std::string& path);
    ~FolderLock();
    FolderLock(const FolderLock&) = delete;
    FolderLock& operator=(const FolderLock&) = delete;

    bool held() const { return !folder_.empty(); }

private:
    std::string folder_;
};

} // namespace zel
