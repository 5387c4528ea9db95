// zel-cli push: a whole push headless. With --sim the instruments are zel-sim children on loopback ports
// and pseudo-terminals; background, RE, the start gates, the loop to N points, the end with its files, and
// a summary on stdout. Each point taken prints one progress line as soon as it is stored.

#include "acquisition/log_recorder.h"
#include "acquisition/push.h"
#include "acquisition/reference.h"
#include "app/cli/command.h"
#include "app/cli/sim_children.h"

#include "common/console_host.h"
#include "common/number_text.h"
#include "common/version.h"
#include "instruments/depth/depth.h"
#include "instruments/gps/gps.h"
#include "instruments/platform/event_loop_host.h"
#include "instruments/platform/qt_byte_stream.h"
#include "instruments/platform/qt_serial_port.h"
#include "instruments/scope/scope.h"
#include "instruments/visa/net_visa.h"
#include "settings/memory_form.h"
#include "settings/startup/modes.h"

#include <QCoreApplication>
#include <nlohmann/json.hpp>

#include <filesystem>
#include <iostream>
#include <memory>

namespace zel::cli {

namespace {

struct PushArgs {
    bool sim = false;
    int points = 20;
    std::string out = ".";
    std::string name = "Push";
    bool metric = false;
    int mode = 0;
    bool yes = false;
    bool no = false;
    double rateFtPerS = 0.06; // 0.72 in/s, under the 0.8 in/s target
    int sweepMs = -1;         // the scope simulator's own default when negative
    double reScale = 1.0;     // brightness of the simulated reference emitter
    std::string scopeDump;    // the scope simulator's record of every curve it sent
    int depthNoiseEvery = 0;  // line noise on the simulated depth line
    int reAgeMinutes = 0;     // test aid: the RE is stamped this many minutes before it was taken
};

QCoreApplication& qtApp() {
    static int argc = 1;
    static char name[] = "zel-cli";
    static char* argv[] = {name, nullptr};
    static QCoreApplication app(argc, argv);
    return app;
}

class ScopeAdapter : public acq::Scope {
public:
    explicit ScopeAdapter(cZEL_Scope& s) : s_(s) {}
    void ReadSetup() override { s_.Tek_Wave_Info(); }
    bool Acquire(std::string_view source, Waveform& wave) override {
        if (!s_.Connected) return false;
        if (source == "CH2") {
            std::int32_t status = 0;
            s_.Tek_Wave_Acq(false, false, status);
            lastStatus_ = status;
            if (status != 1) return false;
        } else {
            s_.Tek_DataSource(std::string(source));
            s_.Tek_Wave_Transfer(false, false);
            s_.Tek_DataSource("CH2");
        }
        if (s_.Waveform.empty()) return false;
        wave.samples = s_.Waveform;
        wave.deltaX = s_.Wave_DeltaX;
        wave.delay = s_.HorizontalDelay;
        return true;
    }
    void StoreReference(std::string_view source, std::string_view memory) override {
        s_.Tek_SaveWaveInternal(std::string(source), std::string(memory));
    }
    int Status() override { return s_.Connected && lastStatus_ == 1 ? 1 : 0; }
    double Delay() override { return s_.HorizontalDelay; }
    void SetDelay(double seconds) override { s_.Tek_DelayTime(static_cast<float>(seconds), false); }
    void StartPush() override { s_.Tek_State_Run(); }
    void StopPush() override {}

private:
    cZEL_Scope& s_;
    int lastStatus_ = 1;
};

class NoBoard : public acq::Board {
public:
    bool InUse() const override { return false; }
    void EnterReferenceState() override {}
    acq::FirmwareVersion Firmware() override { return {}; }
    void StartPush() override {}
    void StopPush() override {}
    void WaitTrigger() override {}
    std::array<float, 2> AuxValues() override { return {}; }
};

class DepthAdapter : public acq::PushDepth {
public:
    DepthAdapter(cZEL_Depth& d, Host& host, bool metric, std::function<bool()> ended)
        : d_(d), host_(host), metric_(metric), ended_(std::move(ended)) {}
    bool StatusGood() override { return d_.StatusOK; }
    void Reset(float) override { d_.Push_Begin(); }
    // Depth lines arrive as serial events; letting the event loop run delivers them.
    // Depth lines arrive as serial events; a short wait lets the event loop deliver them without spinning.
    void Read() override { host_.sleepMs(5); }
    float Current() override { return metric_ ? d_.Depth_Current_M() : d_.Depth_Current_Ft(); }
    float Rate() override { return metric_ ? d_.Rate_Cm : d_.Rate_In; }
    float Conductivity() override { return d_.Conductivity; }
    int Mode() override { return static_cast<int>(d_.Source()); }
    float StoredStep() override { return static_cast<float>(d_.Int_Counter_Value); }
    bool EndOfPush() override { return ended_(); }
    void Pause() override { d_.DepthPause = true; }
    void Resume() override { d_.DepthPause = false; }
    float StopDepth() override { return 1e9f; }
    void SetRatePerMinute(double) override {}
    void StopEmulation() override { d_.Emulate_Pause(); }

private:
    cZEL_Depth& d_;
    Host& host_;
    bool metric_;
    std::function<bool()> ended_;
};

class GpsAdapter : public acq::Gps {
public:
    explicit GpsAdapter(cZEL_GPS& g) : g_(g) {}
    acq::Position Current() override { return {g_.Latitude_Dec, g_.Longitude_Dec, g_.QualityIndicator > 0}; }

private:
    cZEL_GPS& g_;
};

class NoDisplay : public acq::FieldDisplay {
public:
    void ShowText(std::string_view) override {}
    void ShowPoint(float, float) override {}
    void ShowPause(bool) override {}
};

int runPush(const PushArgs& a) {
    if (!a.sim) {
        std::cerr << "zel-cli push: only --sim is available; a push with the configured instruments is not "
                     "wired yet\n";
        return 1;
    }
    qtApp();
    const ConsoleHost::Policy policy =
        a.yes ? ConsoleHost::Policy::Yes : (a.no ? ConsoleHost::Policy::No : ConsoleHost::Policy::Default);
    ConsoleHost console(std::cerr, policy);
    platform::EventLoopHost host(console);
    SystemClock clock;

    const std::string sim = simProgramPath();
    std::vector<std::string> scopeArgs{"scope", "--host", "127.0.0.1", "--portmap-port", "0"};
    // The simulated probe's first acquisition sees no light (the background), the second its RE cap.
    scopeArgs.insert(scopeArgs.end(), {"--dark-acquisitions", "1", "--re-acquisitions", "1", "--re-scale",
                                       formatNumber(a.reScale, "0.0##")});
    if (a.sweepMs >= 0) scopeArgs.insert(scopeArgs.end(), {"--sweep-ms", std::to_string(a.sweepMs)});
    if (!a.scopeDump.empty()) scopeArgs.insert(scopeArgs.end(), {"--dump", a.scopeDump});
    SimChild scopeSim(sim, scopeArgs);
    std::vector<std::string> depthArgs{"depth", "--rate", formatNumber(a.rateFtPerS, "#0.000")};
    if (a.depthNoiseEvery > 0)
        depthArgs.insert(depthArgs.end(), {"--noise-every", std::to_string(a.depthNoiseEvery)});
    SimChild depthSim(sim, depthArgs);
    SimChild gpsSim(sim, {"gps"});
    if (!scopeSim.running() || !depthSim.running() || !gpsSim.running()) {
        std::cerr << "zel-cli push: the simulators did not start (" << sim << ")\n";
        return 1;
    }

    visa::NetVisa visa(platform::qtByteStreamFactory(),
                       {static_cast<std::uint16_t>(scopeSim.port("scope", "portmap")), 2000});
    cZEL_Scope scope(&visa, host, clock);
    scope.Init("127.0.0.1");
    if (!scope.Connected) {
        std::cerr << "zel-cli push: no scope\n";
        return 1;
    }

    const std::string depthPty = depthSim.text("depth", "pty");
    platform::QtSerialPort depthPort;
    platform::QtTimer depthTimer;
    cZEL_Depth depth(host, clock, depthPort, depthTimer, [depthPty](int) { return depthPty; });
    // The simulated board's string pot is calibrated at 1 mV per V per inch (its default).
    depth.Int_CalVal = 1.0f;
    depth.Int_UpdateTimeMS = 100;
    if (!depth.Init(static_cast<int>(DepthSource::Interface), 1, 0, false)) return 1;
    depth.Int_StreamStart();

    platform::QtSerialPort gpsPort;
    cZEL_GPS gps(clock);
    gps.Open(gpsPort, gpsSim.text("gps", "pty"));

    std::filesystem::create_directories(a.out);
    MemoryFormSet forms;
    cZEL_Data log(host, clock);
    log.Metric(a.metric);
    const ModeEntry* modeEntry = findMode(a.mode);
    log.setInfoSource([&a, modeEntry] {
        LogInfo info;
        info.mode = modeEntry ? modeEntry->model : "";
        info.version = kVersionText;
        info.metric = a.metric;
        info.emulate = true;
        return info;
    });
    // The receiver's last fix; the log takes it when the push ends.
    log.setGpsSource([&gps] {
        GpsFix fix;
        fix.utc = gps.FixTime;
        fix.latitude = gps.Latitude;
        fix.longitude = gps.Longitude;
        fix.latitudeDec = gps.Latitude_Dec;
        fix.longitudeDec = gps.Longitude_Dec;
        fix.qualityIndicator = std::to_string(gps.QualityIndicator);
        fix.satellites = std::to_string(gps.Satellites);
        fix.hdop = shortestText(gps.HDOP);
        fix.altitudeFt = gps.Altitude_Ft;
        fix.altitudeM = gps.Altitude_M;
        fix.geoidalFt = gps.Geoidal_Ft;
        fix.geoidalM = gps.Geoidal_M;
        fix.dgpsAge = shortestText(gps.DGPS_Age);
        fix.baseStationId = gps.BaseStationID;
        return fix;
    });
    LogArrays arrays;
    acq::LogRecorder recorder(host, clock, log, arrays, forms,
                              (std::filesystem::path(a.out) / a.name).string(), a.out);
    ScopeAdapter scopeAdapter(scope);
    NoBoard board;
    int taken = 0;
    DepthAdapter depthAdapter(depth, host, a.metric, [&] { return taken >= a.points; });
    GpsAdapter gpsAdapter(gps);
    NoDisplay display;

    acq::ReferenceControl reference(host, clock, scopeAdapter, board, depthAdapter);
    reference.Mode = a.mode;
    acq::PushControl push(host, clock, reference, scopeAdapter, board, depthAdapter, gpsAdapter, display,
                          recorder);
    push.Settings.metric = a.metric;
    push.Settings.startDepth = -1.0f;
    push.PointTaken = [&](int n, const acq::PointRecord& p) {
        taken = n;
        std::cout << "point " << n << " depth " << formatNumber(p.depth, "#0.000") << " signal "
                  << formatNumber(p.signal, "#0.00") << std::endl;
    };

    if (!reference.AcquireReference(acq::kBackground)) {
        std::cerr << "zel-cli push: no background\n";
        return 1;
    }
    if (!reference.AcquireReference(acq::kRE)) {
        std::cerr << "zel-cli push: the RE was not accepted\n";
        return 1;
    }
    if (a.reAgeMinutes > 0 && reference.RETime)
        reference.RETime = reference.RETime->addSeconds(-60LL * a.reAgeMinutes);
    if (!push.StartPush()) {
        std::cerr << "zel-cli push: the push was not started\n";
        return 1;
    }

    const acq::RecordedFiles& files = recorder.Files();
    nlohmann::ordered_json j;
    j["points"] = push.Points();
    j["max_signal"] = recorder.SignalMax().value;
    j["max_signal_depth"] = recorder.SignalMax().depthOfMax;
    j["raw_log"] = files.rawLog;
    j["companion"] = files.companion;
    j["data_export"] = files.dataExport;
    j["run_log"] = files.runLog;
    std::cout << j.dump() << std::endl;
    return files.rawLog.empty() ? 1 : 0;
}

} // namespace

void addPushCommand(CLI::App& app, CommandRunner& run) {
    auto args = std::make_shared<PushArgs>();
    CLI::App* sc = app.add_subcommand("push", "A whole push: background, RE, gates, points, files");
    sc->add_flag("--sim", args->sim, "Run against zel-sim children instead of the configured instruments");
    sc->add_option("--points", args->points, "Points to take")
        ->capture_default_str()
        ->check(CLI::Range(1, 10001));
    sc->add_option("--out", args->out, "Folder for the log, its files and the run log")
        ->capture_default_str();
    sc->add_option("--name", args->name, "Log name without extension")->capture_default_str();
    sc->add_flag("--metric", args->metric, "Depths in metres");
    sc->add_option("--mode", args->mode, "Operating mode")->capture_default_str();
    auto* yes = sc->add_flag("--yes", args->yes, "Answer OK to every prompt");
    sc->add_flag("--no", args->no, "Answer Cancel to every prompt")->excludes(yes);
    sc->add_option("--rate", args->rateFtPerS, "Simulated push rate, feet per second")->capture_default_str();
    sc->add_option("--sweep-ms", args->sweepMs,
                   "Simulated scope: time of one averaged sweep (0: no averaging delay)");
    sc->add_option("--re-scale", args->reScale,
                   "Simulated scope: brightness of the probe's reference emitter (1 normal, below 1 dim)")
        ->capture_default_str()
        ->check(CLI::Range(0.0, 100.0));
    sc->add_option("--scope-dump", args->scopeDump,
                   "Simulated scope: file receiving every curve it sent, one JSON line each");
    sc->add_option("--depth-noise", args->depthNoiseEvery,
                   "Simulated depth board: a malformed line before every Nth reading (0: none)")
        ->check(CLI::Range(0, 1000000));
    sc->add_option("--re-age-min", args->reAgeMinutes,
                   "Test aid: date the RE this many minutes before it was taken, for the RE age question")
        ->check(CLI::Range(0, 100000));
    sc->callback([&run, args] { run = [args] { return runPush(*args); }; });
}

} // namespace zel::cli
