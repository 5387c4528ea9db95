// zel-cli push under faults: the disk fills in the middle of a push (a file-size limit on the push's process,
// which a write meets exactly as it meets a full disk), and a new push under the name of a crashed one.

#include "tests/e2e/field_sim.h"
#include "tests/e2e/run_program.h"

#include "common/clock.h"
#include "common/number_text.h"
#include "common/testing/recording_host.h"
#include "log/raw_log_reader.h"
#include "log/temp_point_file.h"

#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <fcntl.h>
#include <functional>
#include <sys/resource.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace zel::e2e {
namespace {

const std::string kCli = ZEL_CLI;
namespace fs = std::filesystem;

// Bytes of one temporary record: the push's 13 per-point values and the scope's samples 0..500.
constexpr rlim_t kRecordBytes = 4 * (13 + 501);

struct Reported {
    int n = 0;
    std::string depth; // as printed, three decimals
    bool memoryOnly = false;
};

struct PushRun {
    int exitCode = -1;
    std::vector<Reported> points;
    std::string err;
};

// Runs zel-cli push with `args`, its files limited to `fsizeLimit` bytes (0: no limit); onPoint sees each
// point line as it comes, with the child's process id.
PushRun runPush(const TempDir& dir, const std::vector<std::string>& args, rlim_t fsizeLimit,
                const std::function<void(const Reported&, pid_t)>& onPoint = {}, fs::path dataRoot = {}) {
    if (dataRoot.empty()) dataRoot = dir.path / "root";
    PushRun run;
    const std::string errPath = (dir.path / "err.txt").string();
    int fds[2];
    if (::pipe(fds) != 0) return run;
    const pid_t pid = ::fork();
    if (pid == 0) {
        ::setpgid(0, 0);
        ::dup2(fds[1], 1);
        ::close(fds[0]);
        ::close(fds[1]);
        const int err = ::open(errPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
        ::dup2(err, 2);
        if (fsizeLimit > 0) {
            rlimit r{};
            ::getrlimit(RLIMIT_FSIZE, &r);
            r.rlim_cur = fsizeLimit;
            ::setrlimit(RLIMIT_FSIZE, &r);
        }
        ::setenv("ZEL_DATA_ROOT", dataRoot.c_str(), 1);
        std::vector<std::string> all{kCli, "push"};
        all.insert(all.end(), args.begin(), args.end());
        std::vector<char*> argv;
        for (auto& a : all)
            argv.push_back(a.data());
        argv.push_back(nullptr);
        ::execv(kCli.c_str(), argv.data());
        ::_exit(127);
    }
    ::close(fds[1]);
    std::string line;
    char c;
    while (::read(fds[0], &c, 1) == 1) {
        if (c != '\n') {
            line += c;
            continue;
        }
        // "point N depth D signal S" and " memory-only" for a point the temporary file does not hold
        std::istringstream words(line);
        std::string word, depthWord, signalWord, signal;
        Reported p;
        if (words >> word >> p.n >> depthWord >> p.depth >> signalWord >> signal && word == "point") {
            std::string mark;
            p.memoryOnly = static_cast<bool>(words >> mark) && mark == "memory-only";
            run.points.push_back(p);
            if (onPoint) onPoint(p, pid);
        }
        line.clear();
    }
    ::close(fds[0]);
    int status = 0;
    ::waitpid(pid, &status, 0);
    run.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    std::ifstream errFile(errPath);
    run.err.assign(std::istreambuf_iterator<char>(errFile), std::istreambuf_iterator<char>());
    return run;
}

struct Loaded {
    FakeClock clock;
    testing::RecordingHost host{&clock};
    cZEL_Data log{host, clock};
    LogArrays arrays;
    RawLogContext ctx;
    bool ok = false;
    explicit Loaded(const fs::path& raw) { ok = LoadRawLog(raw.string(), log, arrays, ctx, host).ok; }
};

std::size_t count(const std::string& text, const std::string& what) {
    std::size_t n = 0;
    for (auto at = text.find(what); at != std::string::npos; at = text.find(what, at + 1))
        ++n;
    return n;
}

// The depths of the arrays' points, formatted as the push prints them.
std::vector<std::string> depthsOf(const LogArrays& arrays) {
    std::vector<std::string> depths;
    for (int p = 0; p < arrays.points(); ++p)
        depths.push_back(formatNumber(arrays.columns(point_column::Depth, p), "#0.000"));
    return depths;
}

std::vector<std::string> depthsOf(const std::vector<Reported>& points) {
    std::vector<std::string> depths;
    for (const Reported& p : points)
        depths.push_back(p.depth);
    return depths;
}

std::vector<std::string> pushArgs(const TempDir& dir, const std::string& name, int points) {
    return {"--sim",
            "--rate",
            "2",
            "--sweep-ms",
            "0",
            "--points",
            std::to_string(points),
            "--yes",
            "--name",
            name,
            "--out",
            (dir.path / "out").string()};
}

// The disk fills after ten points and room comes back after fourteen: the push is told once, goes on in
// memory, the temporary file catches up, and the raw log holds every point reported, in order.
TEST(CliPushFaults, DiskFullInTheMiddleThenRoomAgain) {
    TempDir dir;
    const rlim_t limit = 10 * kRecordBytes + kRecordBytes / 3;
    const PushRun run = runPush(dir, pushArgs(dir, "F1", 20), limit, [](const Reported& p, pid_t pid) {
        if (p.n != 14) return;
        rlimit r{};
        ::prlimit(pid, RLIMIT_FSIZE, nullptr, &r);
        r.rlim_cur = r.rlim_max;
        ::prlimit(pid, RLIMIT_FSIZE, &r, nullptr);
    });
    ASSERT_EQ(run.exitCode, 0) << run.err;
    ASSERT_EQ(run.points.size(), 20u);
    // Points 11 to 14 at least are in memory only (the limit is raised once point 14 is reported, which may
    // be after the next point was stored); from then on the file holds every point again.
    int lastInMemory = 0;
    for (const Reported& p : run.points)
        if (p.memoryOnly) lastInMemory = p.n;
    EXPECT_GE(lastInMemory, 14);
    EXPECT_LT(lastInMemory, 20);
    for (const Reported& p : run.points)
        EXPECT_EQ(p.memoryOnly, p.n >= 11 && p.n <= lastInMemory) << p.n;
    EXPECT_EQ(count(run.err, "could not take the point"), 1u) << run.err;
    EXPECT_EQ(count(run.err, "holds points 1 to 10 only"), 1u) << run.err;
    EXPECT_EQ(count(run.err, "holds every point again (" + std::to_string(lastInMemory + 1) + ")"), 1u)
        << run.err;

    Loaded saved(dir.path / "out" / "F1.lif.raw.bin");
    ASSERT_TRUE(saved.ok);
    EXPECT_EQ(depthsOf(saved.arrays), depthsOf(run.points));
    EXPECT_FALSE(fs::exists(dir.path / "out" / "F1.lif.raw.bin.temp"));
}

// The disk stays full: the raw log cannot be written anywhere, the operator is told what the temporary
// file keeps, and recovering it gives exactly the points the push reported as stored on the disk.
TEST(CliPushFaults, DiskFullToTheEnd) {
    TempDir dir;
    // A log of the same set-up to describe the records when recovering.
    const PushRun header = runPush(dir, pushArgs(dir, "H1", 2), 0);
    ASSERT_EQ(header.exitCode, 0) << header.err;

    const rlim_t limit = 6 * kRecordBytes + kRecordBytes / 2;
    const PushRun run = runPush(dir, pushArgs(dir, "F2", 9), limit);
    EXPECT_EQ(run.exitCode, 1);
    ASSERT_EQ(run.points.size(), 9u) << run.err;
    std::vector<Reported> onDisk;
    for (const Reported& p : run.points)
        if (!p.memoryOnly) onDisk.push_back(p);
    ASSERT_EQ(onDisk.size(), 6u);
    EXPECT_EQ(onDisk.back().n, 6);
    EXPECT_EQ(count(run.err, "could not take the point"), 1u) << run.err;
    EXPECT_NE(run.err.find("keeps points 1 to 6 of 9"), std::string::npos) << run.err;
    EXPECT_FALSE(fs::exists(dir.path / "out" / "F2.lif.raw.bin"));

    const fs::path temp = dir.path / "out" / "F2.lif.raw.bin.temp";
    ASSERT_EQ(fs::file_size(temp), 6 * kRecordBytes);
    const RunResult recovered = runProgram(kCli + " recover " + quote(temp.string()) + " --log " +
                                           quote((dir.path / "out" / "H1.lif.raw.bin").string()));
    ASSERT_EQ(recovered.exitCode, 0) << recovered.err;
    Loaded back(dir.path / "out" / "F2_Recovered.lif.raw.bin");
    ASSERT_TRUE(back.ok);
    EXPECT_EQ(depthsOf(back.arrays), depthsOf(onDisk));
}

// A push that was killed leaves its temporary file; a new push under its name keeps that file whole under
// another name and says so.
TEST(CliPushFaults, NewPushUnderACrashedOnesNameKeepsItsPoints) {
    TempDir dir;
    fs::create_directories(dir.path / "out");
    const fs::path temp = dir.path / "out" / "C1.lif.raw.bin.temp";
    {
        // The crashed push's points, written as a push writes them.
        TempPointFile f;
        ASSERT_TRUE(f.open(temp.string()));
        const std::vector<float> columns(13, 1.25f), wave(501, 3.5f);
        for (int p = 0; p < 3; ++p)
            ASSERT_TRUE(f.writePoint(columns, {}, wave));
    }
    const auto crashedBytes = fs::file_size(temp);
    const PushRun run = runPush(dir, pushArgs(dir, "C1", 2), 0);
    ASSERT_EQ(run.exitCode, 0) << run.err;
    const fs::path kept = dir.path / "out" / "C1_Crashed.lif.raw.bin.temp";
    EXPECT_NE(run.err.find("has been kept as " + kept.string()), std::string::npos) << run.err;
    ASSERT_TRUE(fs::exists(kept));
    EXPECT_EQ(fs::file_size(kept), crashedBytes);
    EXPECT_FALSE(fs::exists(temp)); // the new push finished and removed its own
    Loaded saved(dir.path / "out" / "C1.lif.raw.bin");
    ASSERT_TRUE(saved.ok);
    EXPECT_EQ(saved.arrays.points(), 2);
}

// The probe stops short of the points asked for while the depth board goes on sending readings: the push
// ends after --idle-s without a new depth, with the points it took.
TEST(CliPushFaults, ProbeStoppingShortEndsThePushWhileReadingsGoOn) {
    FieldRig rig;
    ASSERT_TRUE(rig.startAll({"--rate", "2", "--max-depth", "2"}));
    rig.writeOptions();
    const std::vector<std::string> args{
        "--yes", "--no-area-check", "--points", "10000", "--idle-s",
        "1",     "--name",          "I1",       "--out", (rig.root.path / "out").string()};
    const PushRun run = runPush(rig.root, args, 0, {}, rig.root.path);
    ASSERT_EQ(run.exitCode, 0) << run.err;
    EXPECT_NE(run.err.find("The depth has not changed for 1 s; the push ends."), std::string::npos)
        << run.err;
    ASSERT_FALSE(run.points.empty());
    EXPECT_LT(run.points.size(), 100u);
    // The probe stands at 2 ft (the string pot's last step below it).
    EXPECT_NEAR(std::stod(run.points.back().depth), 2.0, 0.05);
}

// The oscilloscope dies after the third point and comes back a second later on the same ports, as a scope
// that was power-cycled does: the link is built again on the next call and the push goes on to its end.
TEST(CliPushFaults, ScopeRestartedInTheMiddleOfAPush) {
    FieldRig rig;
    ASSERT_TRUE(rig.startAll({"--rate", "2"}));
    rig.writeOptions();
    SimChild& first = *rig.sims[0];
    const std::string portmap = std::to_string(first.port("scope", "portmap"));
    const std::string vxi11 = std::to_string(first.port("scope", "vxi11"));
    std::unique_ptr<SimChild> second;
    const std::vector<std::string> args{"--yes",    "--no-area-check",
                                        "--points", "10",
                                        "--name",   "R1",
                                        "--out",    (rig.root.path / "out").string()};
    const PushRun run = runPush(
        rig.root, args, 0,
        [&](const Reported& p, pid_t) {
            if (p.n != 3) return;
            first.kill();
            std::this_thread::sleep_for(std::chrono::seconds(1));
            second = std::make_unique<SimChild>(ZEL_SIM, std::vector<std::string>{"scope", "--portmap-port",
                                                                                  portmap, "--vxi11-port",
                                                                                  vxi11, "--sweep-ms", "0"});
            EXPECT_TRUE(second->running());
        },
        rig.root.path);
    ASSERT_EQ(run.exitCode, 0) << run.err;
    ASSERT_TRUE(second) << run.err;
    EXPECT_EQ(run.points.size(), 10u);
    EXPECT_NE(run.err.find("Scope connection restored."), std::string::npos) << run.err;

    Loaded saved(rig.root.path / "out" / "R1.lif.raw.bin");
    ASSERT_TRUE(saved.ok);
    ASSERT_EQ(saved.arrays.points(), 10);
    EXPECT_EQ(depthsOf(saved.arrays), depthsOf(run.points));
    for (int p = 1; p < 10; ++p)
        EXPECT_GT(saved.arrays.columns(point_column::Depth, p),
                  saved.arrays.columns(point_column::Depth, p - 1));
}

} // namespace
} // namespace zel::e2e
