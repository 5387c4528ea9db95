#include "log/log_naming.h"

#include "common/testing/recording_host.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

namespace zel {
namespace {

TEST(NextLogName, Rules) {
    struct Case {
        const char* previous;
        NamingMode mode;
        const char* next;
    };
    for (const Case& c : {
             Case{"", NamingMode::Lif, "001-UV"},
             Case{"  ", NamingMode::Birch, "001-BX"},
             Case{"", NamingMode::Colour, "Clr_001"},
             Case{"", NamingMode::O2, "O2_001"},
             Case{"001-UV", NamingMode::Lif, "002-UV"},
             Case{"999-UV", NamingMode::Lif, "1000-UV"},
             Case{"09-B7", NamingMode::Lif, "10-B7"}, // leading digits win over a later run
             Case{"MW-7 deep", NamingMode::Lif, "MW-8 deep"},
             Case{"Clr_009", NamingMode::Colour, "Clr_010"},
             Case{"abc", NamingMode::Lif, "abc_01"},
             Case{"abc_01", NamingMode::Lif, "abc_02"},
             Case{" B12-x3 ", NamingMode::Lif, "B12-x4"},
         })
        EXPECT_EQ(nextLogName(c.previous, c.mode), c.next) << "'" << c.previous << "'";
}

TEST(LogNaming, GpsNameAndFolderChoice) {
    EXPECT_EQ(gpsLogName(48.117301, -11.516666, DateTime{2016, 4, 12, 15, 45, 10}),
              "48d11730 -11d51667 20160412 154510");
    testing::RecordingHost host;
    EXPECT_FALSE(chooseGpsNamingFolder("/data", host));
    host.answerDialog(FileDialogResult{"/data/logs/anything.lif.raw.bin", 1});
    EXPECT_EQ(chooseGpsNamingFolder("/data", host), "/data/logs");
    EXPECT_EQ(host.messages().front(), "You have chosen to auto-name based on GPS. Select a folder in the "
                                       "following dialog. Filename does not matter.");
}

TEST(LogNaming, SaveDialogAutomaticPathAndDoubledExtension) {
    namespace fs = std::filesystem;
    const fs::path dir = fs::temp_directory_path() / ("zel_naming_" + std::to_string(::getpid()));
    fs::create_directories(dir);
    testing::RecordingHost host;

    host.answerDialog(FileDialogResult{"/logs/002-UV.lif.raw.lif.raw.bin", 1});
    EXPECT_EQ(chooseLogPath("002-UV", LogFamily::Lif, std::nullopt, "/logs", host),
              "/logs/002-UV.lif.raw.bin");
    const auto& request = host.events().back().dialog;
    EXPECT_EQ(host.events().back().text, "Save raw log data as...");
    EXPECT_EQ(request.fileName, "002-UV");
    host.answerDialog(FileDialogResult{"/logs/O2_002", 1});
    EXPECT_EQ(chooseLogPath("O2_002", LogFamily::O2, std::nullopt, "/logs", host), "/logs/O2_002.o2.raw.bin");
    EXPECT_FALSE(chooseLogPath("x", LogFamily::Lif, std::nullopt, "/logs", host)); // cancelled

    EXPECT_EQ(chooseLogPath("003-UV", LogFamily::Lif, dir.string(), "", host),
              (dir / "003-UV.lif.raw.bin").string());
    std::ofstream(dir / "003-UV.lif.raw.bin") << "x";
    host.clear();
    EXPECT_FALSE(chooseLogPath("003-UV", LogFamily::Lif, dir.string(), "", host));
    EXPECT_EQ(host.messages(), std::vector<std::string>{"File exists, record cancelled"});
    fs::remove_all(dir);
}

} // namespace
} // namespace zel
