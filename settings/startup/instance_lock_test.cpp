#include "settings/startup/instance_lock.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <unistd.h>

namespace zel {
namespace {

TEST(InstanceLock, SecondCopySeesTheFirstUntilItEnds) {
    const auto root = std::filesystem::temp_directory_path() / ("zel_lock_" + std::to_string(::getpid()));
    const std::string path = instanceLockPath((root / "ZEL").string());

    auto first = std::make_unique<InstanceLock>(path);
    EXPECT_FALSE(first->otherInstanceRunning()); // also makes the data root
    {
        InstanceLock second(path);
        EXPECT_TRUE(second.otherInstanceRunning());
        InstanceLock third(path);
        EXPECT_TRUE(third.otherInstanceRunning());
    }
    EXPECT_FALSE(InstanceLock(path + ".other").otherInstanceRunning());
    first.reset();
    EXPECT_FALSE(InstanceLock(path).otherInstanceRunning());
    std::filesystem::remove_all(root);
}

} // namespace
} // namespace zel
