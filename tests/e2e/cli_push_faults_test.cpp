// zel-cli push under faults: the disk fills in the middle of a push (a file-size limit on the push's process,
// which a write meets exactly as it meets a full disk), and a new push under the name of a crashed one.

#include "tests/e2e/field_sim.h"
#include "tests/e2e/loaded_log.h"
#include "tests/e2e/run_program.h"
#include "tests/e2e/scope_curves.h"

#include "common/clock.h"
#include "common/number_text.h"
#include "common/testing/recording_host.h"
#include "instruments/scope/fake_visa.h"
#include "instruments/scope/scope.h"
#include "log/raw_log_reader.h"
#include "log/temp_point_file.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <arpa/inet.h>
#include <atomic>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>

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

// A TCP relay between the push and the scope simulator that spoils one curve: the block header of the
// corruptAt-th "CURVE?" answer (500 points, "#41000") gets a letter among its digits, as line noise or a
// scope firmware fault would. The portmapper's answer is rewritten to send the push to the relay.
class CurveSpoiler {
public:
    CurveSpoiler(int portmapPort, int vxi11Port, int corruptAt)
        : portmap_(portmapPort), vxi11_(vxi11Port), corruptAt_(corruptAt) {
        pmListen_ = listenAny(pmPort_);
        vxListen_ = listenAny(vxPort_);
        thread_ = std::thread([this] { run(); });
    }
    ~CurveSpoiler() {
        stop_ = true;
        thread_.join();
        for (int fd : {pmListen_, vxListen_})
            ::close(fd);
        for (const Pair& p : pairs_) {
            ::close(p.client);
            ::close(p.server);
        }
    }
    int portmapPort() const { return pmPort_; }
    int curves() const { return curves_; }

private:
    struct Pair {
        int client, server;
        bool vxi11;
    };
    static int listenAny(int& port) {
        const int fd = ::socket(AF_INET, SOCK_STREAM, 0);
        sockaddr_in a{};
        a.sin_family = AF_INET;
        a.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        ::bind(fd, reinterpret_cast<sockaddr*>(&a), sizeof a);
        ::listen(fd, 8);
        socklen_t len = sizeof a;
        ::getsockname(fd, reinterpret_cast<sockaddr*>(&a), &len);
        port = ntohs(a.sin_port);
        return fd;
    }
    static int connectTo(int port) {
        const int fd = ::socket(AF_INET, SOCK_STREAM, 0);
        sockaddr_in a{};
        a.sin_family = AF_INET;
        a.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        a.sin_port = htons(static_cast<std::uint16_t>(port));
        if (::connect(fd, reinterpret_cast<sockaddr*>(&a), sizeof a) != 0) {
            ::close(fd);
            return -1;
        }
        return fd;
    }
    static std::string bigEndian(int v) {
        return {static_cast<char>(v >> 24), static_cast<char>(v >> 16), static_cast<char>(v >> 8),
                static_cast<char>(v)};
    }
    void accept(int listener, bool vxi11) {
        const int client = ::accept(listener, nullptr, nullptr);
        const int server = connectTo(vxi11 ? vxi11_ : portmap_);
        if (client < 0 || server < 0) {
            if (client >= 0) ::close(client);
            if (server >= 0) ::close(server);
            return;
        }
        pairs_.push_back({client, server, vxi11});
    }
    // Server to client: the portmapper's port and the chosen curve are changed on the way.
    void fromServer(const Pair& p, std::string& bytes) {
        if (!p.vxi11) {
            const auto at = bytes.rfind(bigEndian(vxi11_));
            if (at != std::string::npos) bytes.replace(at, 4, bigEndian(vxPort_));
            return;
        }
        for (auto at = bytes.find("#41000"); at != std::string::npos; at = bytes.find("#41000", at + 1))
            if (++curves_ == corruptAt_) bytes[at + 3] = 'x';
    }
    void run() {
        while (!stop_) {
            std::vector<pollfd> fds{{pmListen_, POLLIN, 0}, {vxListen_, POLLIN, 0}};
            for (const Pair& p : pairs_) {
                fds.push_back({p.client, POLLIN, 0});
                fds.push_back({p.server, POLLIN, 0});
            }
            if (::poll(fds.data(), fds.size(), 50) <= 0) continue;
            std::vector<Pair> alive;
            for (std::size_t i = 0; i + 2 < fds.size(); i += 2) {
                const Pair& p = pairs_[i / 2];
                bool open = true;
                for (const bool toServer : {true, false}) {
                    const pollfd& f = fds[2 + i + (toServer ? 0 : 1)];
                    if (!(f.revents & (POLLIN | POLLHUP | POLLERR))) continue;
                    char buf[65536];
                    const ssize_t n = ::read(toServer ? p.client : p.server, buf, sizeof buf);
                    if (n <= 0) {
                        open = false;
                        break;
                    }
                    std::string bytes(buf, static_cast<std::size_t>(n));
                    if (!toServer) fromServer(p, bytes);
                    if (::write(toServer ? p.server : p.client, bytes.data(), bytes.size()) !=
                        static_cast<ssize_t>(bytes.size()))
                        open = false;
                }
                if (open) {
                    alive.push_back(p);
                } else {
                    ::close(p.client);
                    ::close(p.server);
                }
            }
            pairs_ = std::move(alive);
            if (fds[0].revents & POLLIN) accept(pmListen_, false);
            if (fds[1].revents & POLLIN) accept(vxListen_, true);
        }
    }

    int portmap_, vxi11_, corruptAt_;
    int pmPort_ = 0, vxPort_ = 0;
    int pmListen_ = -1, vxListen_ = -1;
    std::vector<Pair> pairs_;
    std::atomic<bool> stop_{false};
    std::atomic<int> curves_{0};
    std::thread thread_;
};

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

    LoadedLog saved(dir.path / "out" / "F1.lif.raw.bin");
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
    LoadedLog back(dir.path / "out" / "F2_Recovered.lif.raw.bin");
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
    LoadedLog saved(dir.path / "out" / "C1.lif.raw.bin");
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
    EXPECT_NE(run.err.find("No new depth for 1 s; the push ends."), std::string::npos) << run.err;
    ASSERT_FALSE(run.points.empty());
    EXPECT_LT(run.points.size(), 100u);
    // The probe stands at 2 ft (the string pot's last step below it).
    EXPECT_NEAR(std::stod(run.points.back().depth), 2.0, 0.05);
}

// The scope answers one acquisition with a spoiled block: the transfer is reported, no point is stored for
// that depth (neither the previous depth's waveform nor a flat one), and the push goes on. Every stored
// waveform is one the scope sent for its own depth.
TEST(CliPushFaults, ACorruptCurveStoresNoPoint) {
    FieldRig rig;
    const std::string dump = (rig.root.path / "curves.jsonl").string();
    SimChild& scope = rig.start({"scope", "--portmap-port", "0", "--sweep-ms", "0", "--dump", dump});
    ASSERT_TRUE(scope.running());
    ASSERT_TRUE(rig.startAll({"--rate", "2"}));
    // The curves: the RE, then one a point; the fourth (the third point's) is spoiled.
    CurveSpoiler spoiler(scope.port("scope", "portmap"), scope.port("scope", "vxi11"), 4);
    rig.comm["txtScopePortmap"] = std::to_string(spoiler.portmapPort());
    rig.writeOptions();
    const std::vector<std::string> args{"--yes",    "--no-area-check",
                                        "--points", "6",
                                        "--name",   "B1",
                                        "--out",    (rig.root.path / "out").string()};
    const PushRun run = runPush(rig.root, args, 0, {}, rig.root.path);
    ASSERT_EQ(run.exitCode, 0) << run.err;
    EXPECT_EQ(count(run.err, "Scope err: "), 1u) << run.err;
    EXPECT_NE(run.err.find("in Wave_Transfer"), std::string::npos) << run.err;
    ASSERT_EQ(run.points.size(), 6u);

    std::vector<std::vector<float>> sent;
    std::ifstream in(dump);
    for (std::string line; std::getline(in, line);)
        sent.push_back(driverWaveform(nlohmann::json::parse(line)));
    ASSERT_EQ(sent.size(), 8u) << "the RE, six points and the spoiled curve";
    sent.erase(sent.begin() + 3);
    LoadedLog saved(rig.root.path / "out" / "B1.lif.raw.bin");
    ASSERT_TRUE(saved.ok);
    ASSERT_EQ(saved.arrays.points(), 6);
    EXPECT_EQ(depthsOf(saved.arrays), depthsOf(run.points));
    const int samples = saved.arrays.waves.samplesPerWave();
    for (int p = 0; p < 6; ++p) {
        const std::vector<float>& expected = sent[static_cast<std::size_t>(p) + 1];
        ASSERT_EQ(static_cast<int>(expected.size()), samples) << p;
        const auto logged = saved.arrays.waves.wave(p);
        // The processing zeroes the last two samples.
        for (int i = 0; i < samples - 2; ++i)
            ASSERT_FLOAT_EQ(logged[i], expected[i]) << "point " << p << " sample " << i;
    }
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
    EXPECT_EQ(run.points.size(), 10u) << run.err;
    EXPECT_NE(run.err.find("Scope connection restored."), std::string::npos) << run.err;

    LoadedLog saved(rig.root.path / "out" / "R1.lif.raw.bin");
    ASSERT_TRUE(saved.ok);
    ASSERT_EQ(saved.arrays.points(), 10);
    EXPECT_EQ(depthsOf(saved.arrays), depthsOf(run.points));
    for (int p = 1; p < 10; ++p)
        EXPECT_GT(saved.arrays.columns(point_column::Depth, p),
                  saved.arrays.columns(point_column::Depth, p - 1));
}

} // namespace
} // namespace zel::e2e
