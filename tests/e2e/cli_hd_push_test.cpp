// zel-cli push --sim in HD-board mode: the data board is the digitiser, its records stream into the side
// file and become the log's binary part; the RE reference file keeps the board's RE and background; a push
// killed in the middle is recovered from the side file.

#include "tests/e2e/loaded_log.h"
#include "tests/e2e/run_program.h"

#include "common/hd_layout.h"
#include "common/number_text.h"
#include "log/hd_stream.h"
#include "log/log_arrays.h"
#include "settings/ini_file.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <bit>
#include <csignal>
#include <fstream>
#include <iterator>
#include <sstream>
#include <sys/wait.h>
#include <unistd.h>

namespace zel::e2e {
namespace {

const std::string kCli = ZEL_CLI;
namespace fs = std::filesystem;
using namespace hd_layout;

nlohmann::json summary(const RunResult& r) {
    return lastJsonLine(r);
}

std::string fileBytes(const fs::path& p) {
    std::ifstream in(p, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

std::uint32_t le32At(const std::string& bytes, std::size_t at) {
    std::uint32_t v = 0;
    for (int b = 3; b >= 0; --b)
        v = v << 8 | static_cast<unsigned char>(bytes[at + static_cast<std::size_t>(b)]);
    return v;
}

struct HdRun {
    TempDir dir;
    fs::path root = dir.path / "root";
    fs::path out = dir.path / "out";
    std::string env() const { return "ZEL_DATA_ROOT=" + quote(root.string()) + " "; }
    std::string push(const std::string& name, int points) const {
        return env() + kCli + " push --sim --hd --yes --sweep-ms 0 --rate 1 --points " +
               std::to_string(points) + " --name " + name + " --out " + quote(out.string());
    }
};

// The mask the push streams under: every board column and the push's four values.
constexpr std::uint32_t kPushMask = 0x0FFF | kPushValuesBit;
constexpr int kValues = recordValues(kPushMask);

TEST(CliHdPush, TheLogIsTheMaskAndTheBoardsRecordsWithNoTrailer) {
    HdRun run;
    const RunResult r = runProgram(run.push("H1", 5));
    ASSERT_EQ(r.exitCode, 0) << r.err;
    const auto j = summary(r);
    EXPECT_EQ(j["points"], 5);
    EXPECT_EQ(j["instruments"]["scope"], false) << "HD-board mode opens no oscilloscope";
    EXPECT_EQ(j["instruments"]["hd"], true);
    const fs::path raw = j["raw_log"].get<std::string>();
    EXPECT_EQ(raw, run.out / "H1.lif.raw.bin");
    EXPECT_FALSE(fs::exists(run.out / "H1.lif.raw.hd")) << "the side file is deleted once appended";
    EXPECT_TRUE(fs::exists(j["data_export"].get<std::string>()));

    const std::string bytes = fileBytes(raw);
    const std::string marker = "DATA=Binary Appended\r\n";
    const std::size_t at = bytes.find(marker);
    ASSERT_NE(at, std::string::npos);
    const std::size_t L = at + marker.size();
    EXPECT_EQ(le32At(bytes, L), kPushMask);
    EXPECT_EQ(bytes.size(), L + 4 + 5u * kValues * 4) << "mask, 5 x 16 floats, no trailer";
    // The simulated board holds its 3-volt input at 1.5 V: bit 7, the eighth value of every record.
    for (int p = 0; p < 5; ++p)
        EXPECT_EQ(
            std::bit_cast<float>(le32At(bytes, L + 4 + 4 * (static_cast<std::size_t>(p) * kValues + 7))),
            1.5f)
            << p;

    // The independent reader finds the same block: the mask and five whole records, the 3-volt input in each.
    const RunResult check =
        runProgram("python3 " + quote(std::string(ZEL_SOURCE_DIR) + "/tools/raw-log-check/check.py") + " " +
                   quote(raw.string()));
    ASSERT_EQ(check.exitCode, 0) << check.err;
    const auto independent = nlohmann::json::parse(check.out, nullptr, false);
    EXPECT_EQ(independent["points"], 5);
    EXPECT_EQ(independent["hd"]["mask"], kPushMask);
    EXPECT_EQ(independent["hd"]["values_per_record"], kValues);

    LoadedLog loaded(raw);
    ASSERT_TRUE(loaded.ok) << (loaded.host.messages().empty() ? "" : loaded.host.messages()[0]);
    // Record for record, the program's reader put the independent reader's values where the layout says.
    const auto& records = independent["hd"]["records"];
    ASSERT_EQ(records.size(), 5u);
    for (int p = 0; p < 5; ++p) {
        const auto& rec = records[static_cast<std::size_t>(p)];
        for (int bit = 0; bit < kBoardColumns; ++bit)
            EXPECT_EQ(loaded.arrays.columns(kFirstBoardPointColumn + columnOfBit(bit), p),
                      rec[static_cast<std::size_t>(bit)].get<float>())
                << p << " bit " << bit;
        EXPECT_EQ(loaded.arrays.columns(point_column::Depth, p),
                  rec[static_cast<std::size_t>(kBoardColumns + PushDepth)].get<float>())
            << p;
        EXPECT_EQ(loaded.arrays.columns(point_column::Signal, p),
                  rec[static_cast<std::size_t>(kBoardColumns + PushSignal)].get<float>())
            << p;
    }
    EXPECT_EQ(loaded.log.WavePoints(), 3);
    ASSERT_EQ(loaded.arrays.points(), 5);
    const LogArrays& a = loaded.arrays;
    ASSERT_EQ(a.re.samples.size(), 4u);
    ASSERT_EQ(a.blank.samples.size(), 4u);
    HdChannels re{}, blank{};
    for (std::size_t k = 0; k < 4; ++k) {
        re[k] = a.re.samples[k];
        blank[k] = a.blank.samples[k];
    }
    const auto board = [&](int column, int p) { return a.columns(kFirstBoardPointColumn + column, p); };
    for (int p = 0; p < 5; ++p) {
        EXPECT_EQ(board(kThreeVoltColumn, p), 1.5f) << p;
        // Every 5-volt input of the simulated board carries the conductivity circuit's voltage.
        for (int c = 6; c <= 10; ++c)
            EXPECT_EQ(board(c, p), board(kConductivityColumn, p)) << p << " " << c;
        if (p > 0) {
            EXPECT_GT(board(kTimeColumn, p), board(kTimeColumn, p - 1)) << p;
            EXPECT_GT(a.columns(point_column::Depth, p), a.columns(point_column::Depth, p - 1)) << p;
        }
        HdChannels channels{};
        for (int k = 0; k < 4; ++k) {
            channels[static_cast<std::size_t>(k)] = board(kFirstSignalColumn + k, p);
            const float expected = channels[static_cast<std::size_t>(k)] - blank[static_cast<std::size_t>(k)];
            EXPECT_EQ(a.waves(k, p), expected) << p << " " << k;
            EXPECT_EQ(a.columns(point_column::Ch1 + k, p), expected) << p << " " << k;
        }
        // The %RE the push stored is the board's channels against the RE (kept to two decimals in the
        // log, exact in the push).
        EXPECT_NEAR(a.columns(point_column::Signal, p), HdPercentRE(channels, re, blank),
                    0.01 * std::max(1.0f, a.columns(point_column::Signal, p)))
            << p;
        EXPECT_GT(a.columns(point_column::Conductivity, p), 0.0f) << p;
    }

    // The RE reference file holds the board's RE and background, as the log's RE and BLANK lists do.
    const fs::path ref = run.root / "ref" / "RE.lif.ref.txt";
    ASSERT_TRUE(fs::exists(ref));
    cInifile ini;
    ini.Path = ref.string();
    for (const char* section : {"HD-RE", "HD-BK"}) {
        ini.Section = section;
        ini.Key = "Time";
        EXPECT_EQ(ini.Value().size(), std::string("YYYY-MM-DD HH:mm:ss").size()) << section;
        for (int k = 0; k < 4; ++k) {
            ini.Key = "CH" + std::to_string(k + 1);
            const std::string text = ini.Value();
            ASSERT_FALSE(text.empty()) << section << " " << ini.Key;
            const auto value = static_cast<float>(val(text));
            const float listed = std::string(section) == "HD-RE" ? re[static_cast<std::size_t>(k)]
                                                                 : blank[static_cast<std::size_t>(k)];
            EXPECT_NEAR(value, listed, 0.0051) << section << " " << ini.Key;
        }
    }
    // The rig's first reference read is dark (the background), the next the reference emitter.
    EXPECT_GT(re[0] + re[1] + re[2] + re[3], blank[0] + blank[1] + blank[2] + blank[3]);

    const RunResult info = runProgram(kCli + " info " + quote(raw.string()));
    ASSERT_EQ(info.exitCode, 0) << info.err;
    const auto ij = nlohmann::json::parse(info.out, nullptr, false);
    EXPECT_EQ(ij["wave_points"], 3);
    EXPECT_EQ(ij["data_points"], 4);
    EXPECT_EQ(ij["header"]["DATA_INFO"]["Data_Cols"], std::to_string(kPointColumns));
    EXPECT_FALSE(ij["header"]["DATA_INFO"]["HD_Int"].get<std::string>().empty());

    // It exports and makes its log page as any log does.
    const fs::path pages = run.dir.path / "pages";
    fs::create_directories(pages);
    const RunResult page =
        runProgram(kCli + " page " + quote(raw.string()) + " --pdf --to " + quote(pages.string()));
    ASSERT_EQ(page.exitCode, 0) << page.err;
    EXPECT_GT(fs::file_size(pages / "H1.pdf"), 1000u);
    const RunResult exported =
        runProgram(kCli + " export " + quote(raw.string()) + " --to " + quote(pages.string()));
    ASSERT_EQ(exported.exitCode, 0) << exported.err;
    // The export of the saved log is the push's own, %RE and channels included.
    const std::string pushExport = fileBytes(j["data_export"].get<std::string>());
    EXPECT_NE(pushExport.find("\r\n"), std::string::npos);
    EXPECT_EQ(fileBytes(pages / "H1.lif.dat.txt"), pushExport);
}

TEST(CliHdPush, AKilledPushIsRecoveredFromItsSideFile) {
    HdRun run;
    // A saved log of the same set-up gives the header.
    const RunResult first = runProgram(run.push("H1", 3));
    ASSERT_EQ(first.exitCode, 0) << first.err;

    const int reported =
        killAfterReportedPoints(kCli,
                                {"push", "--sim", "--hd", "--points", "1000", "--rate", "1", "--sweep-ms",
                                 "0", "--yes", "--name", "K1", "--out", run.out.string()},
                                4, {{"ZEL_DATA_ROOT", run.root.string()}});
    ASSERT_EQ(reported, 4);
    const fs::path side = run.out / "K1.lif.raw.hd";
    ASSERT_TRUE(fs::exists(side));
    EXPECT_FALSE(fs::exists(run.out / "K1.lif.raw.bin"));
    const std::string sideBytes = fileBytes(side);
    ASSERT_GE(sideBytes.size(), 4u);
    EXPECT_EQ(le32At(sideBytes, 0), kPushMask);
    const std::size_t whole = (sideBytes.size() - 4) / (4 * kValues);
    EXPECT_GE(whole, 4u) << "every reported point was in the side file";

    const RunResult r = runProgram(run.env() + kCli + " recover " + quote(side.string()) + " --log " +
                                   quote((run.out / "H1.lif.raw.bin").string()));
    ASSERT_EQ(r.exitCode, 0) << r.err;
    const fs::path recovered = run.out / "K1_Recovered.lif.raw.bin";
    EXPECT_NE(r.out.find("recovered: " + recovered.string()), std::string::npos) << r.out;
    EXPECT_NE(r.out.find("points: " + std::to_string(whole)), std::string::npos) << r.out;
    EXPECT_FALSE(fs::exists(run.out / "K1_Recovered.lif.raw.hd"));
    EXPECT_TRUE(fs::exists(side)) << "recovery keeps the file it recovered from";

    LoadedLog loaded(recovered);
    ASSERT_TRUE(loaded.ok);
    ASSERT_EQ(loaded.arrays.points(), static_cast<int>(whole));
    // Point for point the side file's records, the rate included.
    for (int p = 0; p < static_cast<int>(whole); ++p) {
        const auto value = [&](int k) {
            return std::bit_cast<float>(le32At(
                sideBytes, 4 + 4 * (static_cast<std::size_t>(p) * kValues + static_cast<std::size_t>(k))));
        };
        EXPECT_EQ(loaded.arrays.columns(kFirstBoardPointColumn + kTimeColumn, p), value(0)) << p;
        EXPECT_EQ(loaded.arrays.columns(kFirstBoardPointColumn + kThreeVoltColumn, p), value(7)) << p;
        EXPECT_EQ(loaded.arrays.columns(point_column::Depth, p), value(12 + PushDepth)) << p;
        EXPECT_EQ(loaded.arrays.columns(point_column::Signal, p), value(12 + PushSignal)) << p;
        EXPECT_NEAR(loaded.arrays.columns(point_column::Rate, p), value(12 + PushRate), 0.0051) << p;
    }
}

} // namespace
} // namespace zel::e2e
