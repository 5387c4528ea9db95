#include "settings/startup/instance_lock.h"

#include "settings/data_root.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

namespace zel {

InstanceLock::InstanceLock(std::string lockPath) : path_(std::move(lockPath)) {}

InstanceLock::~InstanceLock() {
    if (fd_ >= 0) ::close(fd_);
}

std::string instanceLockPath(const std::string& dataRoot) {
    return dataRoot + "/ZEL.lock";
}

bool InstanceLock::otherInstanceRunning() {
    if (fd_ < 0) {
        ensureParentFolder(path_);
        fd_ = ::open(path_.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0644);
        if (fd_ < 0) return false;
    }
    // Alone when nobody else holds the file; then keep only a shared hold, so later copies see this one
    // without being kept from running.
    int r;
    do
        r = ::flock(fd_, LOCK_EX | LOCK_NB);
    while (r != 0 && errno == EINTR);
    const bool alone = r == 0;
    do
        r = ::flock(fd_, LOCK_SH | LOCK_NB);
    while (r != 0 && errno == EINTR);
    return !alone;
}

} // namespace zel
