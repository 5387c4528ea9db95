#include "app/sim/depth_sim.h"

#include "app/sim/pty_device.h"
#include "app/sim/site_model.h"
#include "instruments/depth/depth_protocol.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QTimer>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <iostream>

namespace zel::sim {

namespace {

struct DepthArgs {
    std::string transcript;
    bool ad4 = false;
    double rateFtPerS = 0.5;
    double startFt = 0;
    double maxFt = 60;
    double calMvPerVPerIn = 1.0;
    double countsPerFt = 1000;
    int ad4IntervalMs = 200;
    double blowsPerIn = 2;
    std::uint32_t seed = 1;
    int noiseEvery = 0; // a line of line noise before every Nth reading (0: none)
};

// What a long cable near a generator puts on the line: none of it is a well-formed reading.
constexpr const char* kNoiseLines[] = {
    "\x7F\xFE\x01\xA0\r", "0ZZ1G0X\r", "0NOISE!!!\r",  "U2XYZ\r", "U2\r", "I\r", "0\r",
    "U3-1.5e9\r",         "\r",        "##~~++~~##\r",
};

std::string hex(unsigned value, int digits) {
    char buf[16];
    std::snprintf(buf, sizeof buf, "%0*X", digits, value);
    return buf;
}

// The board: registers written with "W", a stream whose period is registers 04 and 05.
class DepthBoard {
public:
    DepthBoard(const DepthArgs& a, PtyDevice& pty, Transcript& transcript)
        : a_(a), pty_(pty), transcript_(transcript), site_(a.seed) {
        clock_.start();
        QObject::connect(&timer_, &QTimer::timeout, [this] { sendReadings(); });
    }

    void receive(std::string_view bytes) {
        for (const char c : bytes) {
            if (c == '\r') {
                command(line_);
                line_.clear();
            } else if (line_.size() < 64) {
                line_ += c;
            }
        }
    }

private:
    void command(const std::string& cmd) {
        transcript_.line(printable(cmd));
        if (cmd == depth_protocol::kHalt) {
            timer_.stop();
        } else if (cmd == depth_protocol::kMeasure) {
            sendReadings();
        } else if (cmd == depth_protocol::kCounterClear) {
            counterZero_ = counts();
        } else if (cmd.size() == 5 && cmd[0] == 'W') {
            const auto reg = std::strtoul(cmd.substr(1, 2).c_str(), nullptr, 16);
            const auto value = std::strtoul(cmd.substr(3, 2).c_str(), nullptr, 16);
            registers_[reg & 0xFF] = static_cast<unsigned char>(value);
            // The low byte comes last, so the new period takes effect with it.
            if (reg == 0x04) timer_.stop();
            if (reg == 0x05) periodChanged();
        } else {
            pty_.send("Er:" + cmd.substr(0, 5) + "\r");
        }
    }

    void periodChanged() {
        const int period = registers_[0x04] << 8 | registers_[0x05];
        if (period == 0) {
            timer_.stop();
            return;
        }
        if (!started_) {
            started_ = true;
            startMs_ = clock_.elapsed();
        }
        timer_.start(period);
    }

    double depthFt() const {
        const double t = started_ ? (clock_.elapsed() - startMs_) / 1000.0 : 0.0;
        return std::min(a_.maxFt, a_.startFt + a_.rateFtPerS * t);
    }
    long counts() const { return std::lround(depthFt() * 100.0); }

    static unsigned twelveBit(double volts) {
        return static_cast<unsigned>(std::clamp(std::lround(volts / 5.0 * 4096.0), 0L, 4095L));
    }

    void sendReadings() {
        const double d = depthFt();
        std::string out;
        if (a_.noiseEvery > 0 && ++readings_ % a_.noiseEvery == 0)
            out += kNoiseLines[(readings_ / a_.noiseEvery) % std::size(kNoiseLines)];
        const bool analogue = registers_[0x10] != 0;
        if (analogue && registers_[0x11] == 0x02) {
            // The string pot: travel in inches times the calibration at a 5 V reference.
            out += "U2" + hex(twelveBit(d * 12.0 * a_.calMvPerVPerIn / 1000.0 * 5.0), 3) + "\r";
        }
        if (analogue && registers_[0x12] == 0x03)
            out += "U3" + hex(twelveBit(site_.conductivityAt(d) / 100.0), 3) + "\r";
        if (registers_[0x1A] == 0xFF) out += "I" + hex(1, 4) + "\r";
        if (registers_[0x19] == 0xFF)
            out += "N" + hex(static_cast<unsigned>(std::lround(d * 12.0 * a_.blowsPerIn)) & 0xFFFF, 4) + "\r";
        out += "0" + hex(static_cast<unsigned>(counts() - counterZero_), 8) + "\r";
        pty_.send(out);
    }

    const DepthArgs& a_;
    PtyDevice& pty_;
    Transcript& transcript_;
    SiteModel site_;
    QElapsedTimer clock_;
    QTimer timer_;
    std::array<unsigned char, 256> registers_{};
    std::string line_;
    bool started_ = false;
    qint64 startMs_ = 0;
    long counterZero_ = 0;
    long readings_ = 0;
};

int runDepth(const DepthArgs& a) {
    PtyDevice pty;
    if (!pty.open()) {
        std::cerr << "zel-sim depth: " << pty.error() << '\n';
        return 1;
    }
    Transcript transcript(a.transcript);
    DepthBoard board(a, pty, transcript);
    QTimer ad4Timer;
    QElapsedTimer clock;
    clock.start();
    std::string line; // the AD4's command being received
    if (a.ad4) {
        pty.onReceive([&](std::string_view b) {
            transcript.line(printable(b));
            for (const char c : b) {
                if (c != '\r') {
                    if (line.size() < 16) line += c;
                    continue;
                }
                if (line == depth_protocol::kAd4TimerOn) ad4Timer.start(a.ad4IntervalMs);
                if (line == depth_protocol::kAd4TimerOff) ad4Timer.stop();
                line.clear();
            }
        });
        QObject::connect(&ad4Timer, &QTimer::timeout, [&] {
            const double d = std::min(a.maxFt, a.startFt + a.rateFtPerS * clock.elapsed() / 1000.0);
            const long count =
                std::clamp(depth_protocol::kAd4CountZero + std::lround(d * a.countsPerFt), 0L, 65535L);
            pty.send(depth_protocol::ad4Frame(static_cast<std::uint16_t>(count)));
        });
        ad4Timer.start(a.ad4IntervalMs);
    } else {
        pty.onReceive([&](std::string_view b) { board.receive(b); });
    }
    nlohmann::ordered_json j;
    j["depth"] = {{"pty", pty.path()}, {"source", a.ad4 ? "ad4" : "interface"}};
    std::cout << j.dump() << std::endl;
    return QCoreApplication::exec();
}

} // namespace

void addDepthSim(CLI::App& app, std::function<int()>& run) {
    auto args = std::make_shared<DepthArgs>();
    CLI::App* sc = app.add_subcommand(
        "depth", "Depth interface board (or, with --ad4, the AD4 counter) on a pseudo-terminal. Prints "
                 "{\"depth\": {\"pty\": PATH, \"source\": ...}} once open.");
    sc->add_option("--transcript", args->transcript, "File receiving every command line the board receives");
    sc->add_flag("--ad4", args->ad4, "Send AD4 counter frames instead of the interface board's stream");
    sc->add_option("--rate", args->rateFtPerS, "Push rate, feet per second")->capture_default_str();
    sc->add_option("--start-depth", args->startFt, "Depth when the stream starts, feet")
        ->capture_default_str();
    sc->add_option("--max-depth", args->maxFt, "Depth where the push stops, feet")->capture_default_str();
    sc->add_option("--cal", args->calMvPerVPerIn, "String pot calibration, mV per V per inch")
        ->capture_default_str();
    sc->add_option("--counts-per-ft", args->countsPerFt, "AD4 counts per foot")->capture_default_str();
    sc->add_option("--ad4-interval-ms", args->ad4IntervalMs, "Time between AD4 frames")
        ->capture_default_str()
        ->check(CLI::Range(10, 60000));
    sc->add_option("--blows-per-in", args->blowsPerIn,
                   "Hammer blows per inch of the push, counted on the \"N\" line (register 19)")
        ->capture_default_str();
    sc->add_option("--seed", args->seed, "Seed of the site model")->capture_default_str();
    sc->add_option("--noise-every", args->noiseEvery,
                   "Interface board: a malformed line (line noise) before every Nth reading; 0 none")
        ->capture_default_str()
        ->check(CLI::Range(0, 1000000));
    sc->callback([args, &run] { run = [args] { return runDepth(*args); }; });
}

} // namespace zel::sim
