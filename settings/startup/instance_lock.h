#pragma once
// Whether another copy of the program is running. Every copy marks itself as running when it starts; a copy
// started with "/IPSCP" refuses to start beside another, the others do not care.

#include <string>

namespace zel {

class InstanceCheck {
public:
    virtual ~InstanceCheck() = default;
    // Marks this copy as running and says whether another one already was.
    virtual bool otherInstanceRunning() = 0;
};

// The mark is a shared lock on a file under the data root, held until the object goes; the operating system
// drops it when a copy ends in any way, so a crashed copy never blocks the next start.
class InstanceLock : public InstanceCheck {
public:
    explicit InstanceLock(std::string lockPath);
    ~InstanceLock() override;
    InstanceLock(const InstanceLock&) = delete;
    InstanceLock& operator=(const InstanceLock&) = delete;

    // When the file cannot be made (no data root), no other copy can be seen and false is returned: starting
    // is better than refusing for a reason the user cannot fix here.
    bool otherInstanceRunning() override;

private:
    std::string path_;
    int fd_ = -1;
};

// dataRoot + "/ZEL.lock".
std::string instanceLockPath(const std::string& dataRoot);

} // namespace zel
