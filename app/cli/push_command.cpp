// zel-cli push: a whole push headless. The instruments are opened by the program's own start-up openers:
// the configured ones (options file under the data root, and the switches), or with --sim zel-sim children
// on loopback ports and pseudo-terminals. Then RE, the start gates, the loop to N points, the end with its
// files, and a summary on stdout. Each point taken prints one progress line as soon as it is stored.

#include "acquisition/log_recorder.h"
#include "acquisition/push.h"
#include "acquisition/reference.h"
#include "app/cli/command.h"
#include "app/cli/sim_children.h"
#include "app/cli/startup_command.h"

#include "common/console_host.h"
#include "common/number_text.h"
#include "common/version.h"
#include "instruments/field/field_instruments.h"
#include "instruments/platform/event_loop_host.h"
#include "settings/data_root.h"
#include "settings/memory_form.h"
#include "settings/startup/command_line.h"
#include "settings/startup/modes.h"
#include "settings/startup/platform_network.h"

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
    int mode = -1; // the start-up mode (from the switches) when negative
    bool noAreaCheck = false;
    bool yes = false;
    bool no = false;
    double rateFtPerS = 0.06; // 0.72 in/s, under the 0.8 in/s target
    int sweepMs = -1;         // the scope simulator's own default when negative
    double reScale = 1.0;     // brightness of the simulated reference emitter
    std::string scopeDump;    // the scope simulator's record of every curve it sent
    int depthNoiseEvery = 0;  // line noise on the simulated depth line
    int reAgeMinutes = 0;     // test aid: the RE is stamped this many minutes before it was taken
    bool hd = false;          // as "/H": the data board in the push
    double idleSeconds = 60;  // a depth source silent this long ends the push
    std::vector<std::string> switches;
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

// The data board in the push: it triggers the points and digitises the auxiliary inputs. Off (InUse false)
// unless the start-up is in HD-board mode and the board answered.
class BoardAdapter : public acq::Board {
public:
    BoardAdapter(clsHD& hd, cZEL_Depth& depth, bool inUse) : hd_(hd), depth_(depth), inUse_(inUse) {}
    bool InUse() const override { return inUse_ && hd_.Connected(); }
    void EnterReferenceState() override { hd_.Stop(); }
    acq::FirmwareVersion Firmware() override {
        if (!hd_.LastStatus()) hd_.Stat(0);
        const auto& s = hd_.LastStatus();
        return s ? acq::FirmwareVersion{s->firmwareMajor, s->firmwareMinor, s->firmwarePatch}
                 : acq::FirmwareVersion{};
    }
    void StartPush() override {
        hd_.ClearRecords();
        hd_.SetDS(hd_protocol::kMaxMask);
    }
    void StopPush() override { hd_.Stop(); }
    void WaitTrigger() override { hd_.WaitRecord(2000); }
    // The conductivity input (column 5, calibrated as the depth board's) and the 3-volt analogue input.
    std::array<float, 2> AuxValues() override {
        if (hd_.Records().empty()) return {};
        const auto& r = hd_.Records().back();
        return {depth_.EC_VtoMS(r[5]), r[hd_protocol::kThreeVoltColumn]};
    }

private:
    clsHD& hd_;
    cZEL_Depth& depth_;
    bool inUse_;
};

class DepthAdapter : public acq::PushDepth {
public:
    // The push ends when ended() says so, or when the source has sent nothing for idleMs.
    DepthAdapter(cZEL_Depth& d, Host& host, const Clock& clock, bool metric, std::int64_t idleMs,
                 std::function<bool()> ended)
        : d_(d), host_(host), clock_(clock), metric_(metric), idleMs_(idleMs), ended_(std::move(ended)) {}
    bool StatusGood() override { return d_.StatusOK; }
    void Reset(float) override { d_.Push_Begin(); }
    // Depth lines arrive as serial events; a short wait lets the event loop deliver them without spinning.
    void Read() override { host_.sleepMs(5); }
    float Current() override { return metric_ ? d_.Depth_Current_M() : d_.Depth_Current_Ft(); }
    float Rate() override { return metric_ ? d_.Rate_Cm : d_.Rate_In; }
    float Conductivity() override { return d_.Conductivity; }
    int Mode() override { return static_cast<int>(d_.Source()); }
    float StoredStep() override { return static_cast<float>(d_.Int_Counter_Value); }
    bool EndOfPush() override {
        if (silent_ || ended_()) return true;
        const auto now = clock_.monotonicMs();
        if (d_.Readings != lastReadings_) {
            lastReadings_ = d_.Readings;
            lastReadingMs_ = now;
        } else if (now - lastReadingMs_ > idleMs_) {
            silent_ = true;
            host_.message("The depth source has sent nothing for " + std::to_string(idleMs_ / 1000) +
                          " s; the push ends.");
        }
        return silent_;
    }
    void Pause() override { d_.DepthPause = true; }
    void Resume() override { d_.DepthPause = false; }
    float StopDepth() override { return 1e9f; }
    void SetRatePerMinute(double) override {}
    void StopEmulation() override { d_.Emulate_Pause(); }

private:
    cZEL_Depth& d_;
    Host& host_;
    const Clock& clock_;
    bool metric_;
    std::int64_t idleMs_;
    std::function<bool()> ended_;
    bool silent_ = false;
    long long lastReadings_ = -1;
    std::int64_t lastReadingMs_ = 0;
};

class GpsAdapter : public acq::Gps {
public:
    explicit GpsAdapter(cZEL_GPS& g) : g_(g) {}
    acq::Position Current() override { return {g_.Latitude_Dec, g_.Longitude_Dec, g_.QualityIndicator > 0}; }

private:
    cZEL_GPS& g_;
};

// The field display at the rig. The loop refreshes it on every pass: the whole push screen goes out when a
// point brought a new signal, otherwise only the depth and rate rows that moved (the line is 9600 baud).
class DisplayAdapter : public acq::FieldDisplay {
public:
    DisplayAdapter(cZEL_Display_J10& d, DepthAdapter& depth, bool metric) : d_(d), depth_(depth) {
        d_.Units_Metric = metric;
    }
    void ShowText(std::string_view text) override {
        d_.Show_PushStart();
        d_.SendText(1, cZEL_Display_J10::Fit(text));
    }
    void ShowPoint(float depth, float signal) override {
        d_.Depth = depth;
        d_.Rate = depth_.Rate();
        if (signal != d_.Signal_Current || !started_) {
            started_ = true;
            d_.Signal_Current = signal;
            if (signal > d_.Signal_MaxValue) {
                d_.Signal_MaxValue = signal;
                d_.Signal_MaxDepth = depth;
            }
            d_.Push_Update();
        } else {
            d_.T2_Update();
        }
    }
    void ShowPause(bool paused) override {
        if (paused)
            d_.Push_Pause();
        else
            d_.Push_PauseEND();
    }

private:
    cZEL_Display_J10& d_;
    DepthAdapter& depth_;
    bool started_ = false;
};

bool isExistingFile(const std::string& path) {
    std::error_code ec;
    return std::filesystem::is_regular_file(path, ec);
}

// The simulators of a --sim push as children, and the settings that point the openers at them. Empty when a
// simulator did not start.
std::optional<FieldConfig> startSimulators(Host& host, const PushArgs& a, bool hd,
                                           std::vector<std::unique_ptr<SimChild>>& sims) {
    const std::string sim = simProgramPath();
    const auto child = [&](std::vector<std::string> args) -> SimChild& {
        sims.push_back(std::make_unique<SimChild>(sim, std::move(args)));
        return *sims.back();
    };
    std::vector<std::string> scopeArgs{"scope", "--host", "127.0.0.1", "--portmap-port", "0"};
    // The simulated probe's first acquisition sees no light (the background), the second its RE cap.
    scopeArgs.insert(scopeArgs.end(), {"--dark-acquisitions", "1", "--re-acquisitions", "1", "--re-scale",
                                       formatNumber(a.reScale, "0.0##")});
    if (a.sweepMs >= 0) scopeArgs.insert(scopeArgs.end(), {"--sweep-ms", std::to_string(a.sweepMs)});
    if (!a.scopeDump.empty()) scopeArgs.insert(scopeArgs.end(), {"--dump", a.scopeDump});
    SimChild& scopeSim = child(scopeArgs);
    std::vector<std::string> depthArgs{"depth", "--rate", formatNumber(a.rateFtPerS, "#0.000")};
    if (a.depthNoiseEvery > 0)
        depthArgs.insert(depthArgs.end(), {"--noise-every", std::to_string(a.depthNoiseEvery)});
    SimChild& depthSim = child(depthArgs);
    SimChild& gpsSim = child({"gps"});
    SimChild& displaySim = child({"display"});
    SimChild* hdSim = hd ? &child({"hd", "--rate", formatNumber(a.rateFtPerS, "#0.000")}) : nullptr;
    for (const auto& c : sims)
        if (!c->running()) {
            host.message("The simulators did not start (" + sim + ").");
            return std::nullopt;
        }
    FieldConfig c;
    c.scopeAddress = "127.0.0.1";
    c.scopePortmap = static_cast<std::uint16_t>(scopeSim.port("scope", "portmap"));
    c.depthPort = depthSim.text("depth", "pty");
    c.gpsPort = gpsSim.text("gps", "pty");
    c.displayPort = displaySim.text("display", "pty");
    // The simulated board's string pot is calibrated at 1 mV per V per inch (its default).
    c.stringPotCal = 1.0f;
    c.depthUpdateMs = 100;
    if (hdSim) {
        c.hdAddress = "127.0.0.1";
        const auto port = [&](const char* name) {
            return static_cast<std::uint16_t>(hdSim->port("hd", name));
        };
        c.hdPorts = {port("command"), port("record"), port("second")};
    }
    return c;
}

// The instruments the push needs answered; the display and the GPS may be missing (the push goes on without
// the rig's screen and without a position). False with the reason shown.
bool requiredInstruments(Host& host, FieldInstruments& in, const StartupSettings& s, bool hd) {
    const auto refuse = [&](const std::string& text) {
        host.message(text + " The push is not started.", MsgButtons::Ok, MsgIcon::Critical);
        return false;
    };
    if (!in.ScopeOpen()) return refuse("No oscilloscope answered at " + s.scopeResource + ".");
    if (hd && !in.HdBoardOpen()) return refuse("The data board did not answer at " + s.hdBoardAddress + ".");
    if (!in.DepthOpen()) return refuse("The depth source could not be opened.");
    if (!in.DisplayOpen()) host.message("The push goes on without the field display.");
    if (!in.GpsOpen()) host.message("The push goes on without the GPS.");
    return true;
}

int runPush(const PushArgs& a) {
    qtApp();
    const ConsoleHost::Policy policy =
        a.yes ? ConsoleHost::Policy::Yes : (a.no ? ConsoleHost::Policy::No : ConsoleHost::Policy::Default);
    ConsoleHost console(std::cerr, policy, true);
    platform::EventLoopHost host(console);
    SystemClock clock;

    std::vector<std::string> switches = a.switches;
    if (a.hd) switches.push_back("/H");
    StartupSettings s = parseArguments(switches, isExistingFile);
    if (s.fileMode || s.colour) {
        host.message(s.colour ? "Colour mode has no push in zel-cli." : "File mode opens no instrument.");
        return 1;
    }
    const bool hd = s.hd;

    std::vector<std::unique_ptr<SimChild>> sims;
    std::unique_ptr<FieldInstruments> instruments;
    if (a.sim) {
        const auto config = startSimulators(host, a, hd, sims);
        if (!config) return 1;
        instruments = std::make_unique<FieldInstruments>(host, clock, *config);
        // The simulated board is opened after the scope (below), so start-up does not take the simulators
        // for a PC off the instrument network.
        s.hd = false;
    } else {
        instruments = std::make_unique<FieldInstruments>(host, clock, optionsFilePath());
    }
    applyAddresses(instruments->Config, s);
    SystemNetwork network;
    StartupSequence sequence(s, {host, clock, *instruments, network});
    runStartupAtOnce(sequence);
    // In HD-board mode start-up leaves the scope to the board; the push still takes its waveforms from it.
    if (hd && !instruments->ScopeOpen()) {
        host.progress("Initializing scope...");
        instruments->openScope(s.scopeAddress, s.scopeResource);
    }
    if (hd && !instruments->HdBoardOpen()) {
        host.progress("Initializing HD board...");
        if (!instruments->openHdBoard(s.hdBoardAddress))
            host.progress("HD Board not found at expected IP: " + s.hdBoardAddress);
    }
    if (!requiredInstruments(host, *instruments, s, hd)) return 1;
    cZEL_Depth& depth = instruments->Depth();
    // A line that opens is not yet a depth source that talks.
    for (int waited = 0; depth.Readings == 0 && waited < 3000; waited += 20)
        host.sleepMs(20);
    if (depth.Readings == 0) {
        host.message("The depth source sent nothing within 3 s. The push is not started.", MsgButtons::Ok,
                     MsgIcon::Critical);
        return 1;
    }

    std::filesystem::create_directories(a.out);
    MemoryFormSet forms;
    cZEL_Data log(host, clock);
    log.Metric(a.metric);
    const int mode = a.mode >= 0 ? a.mode : s.mode;
    const ModeEntry* modeEntry = findMode(mode);
    const bool emulated = a.sim || depth.Source() == DepthSource::Emulate;
    log.setInfoSource([&a, modeEntry, emulated] {
        LogInfo info;
        info.mode = modeEntry ? modeEntry->model : "";
        info.version = kVersionText;
        info.metric = a.metric;
        info.emulate = emulated;
        return info;
    });
    // The receiver's last fix; the log takes it when the push ends.
    cZEL_GPS& gps = instruments->Gps();
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
    // Conductivity is logged when a source digitises it: the depth board's analogue input 1, or the data
    // board's input in HD-board mode.
    recorder.Context.conductivity = hd || (depth.Source() == DepthSource::Interface && depth.Int_A1_Enable);
    ScopeAdapter scopeAdapter(instruments->Scope());
    BoardAdapter board(instruments->HdBoard(), depth, hd);
    int taken = 0;
    DepthAdapter depthAdapter(depth, host, clock, a.metric, static_cast<std::int64_t>(a.idleSeconds * 1000.0),
                              [&] { return taken >= a.points; });
    GpsAdapter gpsAdapter(gps);
    DisplayAdapter display(instruments->Display(), depthAdapter, a.metric);

    acq::ReferenceControl reference(host, clock, scopeAdapter, board, depthAdapter);
    reference.Mode = mode;
    acq::PushControl push(host, clock, reference, scopeAdapter, board, depthAdapter, gpsAdapter, display,
                          recorder);
    push.Settings.metric = a.metric;
    push.Settings.startDepth = -1.0f;
    push.PointTaken = [&](int n, const acq::PointRecord& p) {
        taken = n;
        std::cout << "point " << n << " depth " << formatNumber(p.depth, "#0.000") << " signal "
                  << formatNumber(p.signal, "#0.00") << std::endl;
    };

    // The simulated scope's first acquisition sees no light: the background. A push with the configured
    // instruments has no operator to cover the probe, so it takes none.
    if (a.sim && !reference.AcquireReference(acq::kBackground)) {
        std::cerr << "zel-cli push: no background\n";
        return 1;
    }
    reference.Gates.noAreaCheck = a.noAreaCheck;
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

    const nlohmann::ordered_json used = {{"scope", true},
                                         {"depth", true},
                                         {"hd", board.InUse()},
                                         {"gps", instruments->GpsOpen()},
                                         {"display", instruments->DisplayOpen()}};
    instruments->Display().Show_Complete();
    instruments->Close();

    const acq::RecordedFiles& files = recorder.Files();
    nlohmann::ordered_json j;
    j["points"] = push.Points();
    j["max_signal"] = recorder.SignalMax().value;
    j["max_signal_depth"] = recorder.SignalMax().depthOfMax;
    j["raw_log"] = files.rawLog;
    j["companion"] = files.companion;
    j["data_export"] = files.dataExport;
    j["run_log"] = files.runLog;
    j["instruments"] = used;
    std::cout << j.dump() << std::endl;
    return files.rawLog.empty() ? 1 : 0;
}

} // namespace

void addPushCommand(CLI::App& app, CommandRunner& run) {
    auto args = std::make_shared<PushArgs>();
    CLI::App* sc = app.add_subcommand("push", "A whole push: background, RE, gates, points, files");
    sc->add_flag("--sim", args->sim,
                 "Run against zel-sim children instead of the configured instruments (the options file's "
                 "communications settings under the data root)");
    sc->add_option("--points", args->points, "Points to take")
        ->capture_default_str()
        ->check(CLI::Range(1, 10001));
    sc->add_option("--out", args->out, "Folder for the log, its files and the run log")
        ->capture_default_str();
    sc->add_option("--name", args->name, "Log name without extension")->capture_default_str();
    sc->add_flag("--metric", args->metric, "Depths in metres");
    sc->add_option("--mode", args->mode, "Operating mode (default: the switches' mode)")
        ->check(CLI::Range(0, 99));
    sc->add_flag("--no-area-check", args->noAreaCheck,
                 "The set-up's RE area exemption: the RE's area limits are not checked");
    sc->add_flag("--hd", args->hd,
                 "HD-board mode, as the /H switch: the data board triggers the points and digitises the "
                 "auxiliary inputs (with --sim its simulator is started too)");
    sc->add_option("--idle-s", args->idleSeconds,
                   "End the push when the depth source has sent nothing for this many seconds")
        ->capture_default_str()
        ->check(CLI::Range(1.0, 86400.0));
    sc->add_option("switches", args->switches,
                   "The program's switches (/H, /IPSCP052, /MODE2 ...), as they would be given to zel");
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
