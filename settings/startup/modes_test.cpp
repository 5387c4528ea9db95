#include "settings/startup/modes.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <unistd.h>

namespace zel {
namespace {

TEST(Modes, ListedModeSetsModelLabelsFontAndFactorUnlistedOnlyTheNumber) {
    StartupSettings s;
    ASSERT_TRUE(setMode(s, 51));
    EXPECT_EQ(s.modeFactor, 1.519);
    ASSERT_TRUE(setMode(s, 52));
    EXPECT_EQ(s.labels, (std::array<std::string, 4>{"Sctr", "570", "620", "670"}));
    EXPECT_EQ(s.pageFont, 10);
    EXPECT_EQ(s.modeFactor, 1.0);

    ASSERT_TRUE(setMode(s, 5));
    EXPECT_EQ(s.model, "Larch-BX");
    EXPECT_FALSE(setMode(s, 100));
    EXPECT_EQ(s.mode, 5);
    setMode(s, 99);
    EXPECT_EQ(s.model, "Hazel\xAE"); // the registered sign, one byte of the files' code page
}

TEST(Modes, LookLoadsOnlyPicturesThatExist) {
    const auto folder = std::filesystem::temp_directory_path() / ("zel_looks_" + std::to_string(::getpid()));
    std::filesystem::create_directories(folder / "lib");
    std::ofstream(folder / "lib" / "pink fade.gif") << "GIF89a";

    const AppliedLook a = applyLook(*findLook(21), 100, folder);
    EXPECT_EQ(a.caption, "Elm");
    EXPECT_EQ(a.fadePicture, folder / "lib" / "pink fade.gif");
    EXPECT_TRUE(a.bannerPicture.empty());
    EXPECT_EQ(a.reScaleCaption, "RE VScale (100mV)");
    EXPECT_EQ(findLook(52), nullptr);
    std::filesystem::remove_all(folder);
}

} // namespace
} // namespace zel
