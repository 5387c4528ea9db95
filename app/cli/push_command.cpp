// zel-cli push: a whole push headless. The instruments are opened by the program's own start-up openers:
// the configured ones (options file under the data root, and the switches), or with --sim zel-sim children
// on loopback ports and pseudo-terminals. Then RE, the start gates, the loop to N points, the end with its
// files, and a summary on stdout. Each point taken prints one progress line as soon as it is stored.

#include "acquisition/log_recorder.h"
#include "acquisition/push.h"
#include "acquisition/reference.h"
#include "app/cli/command.h"
#include "app/cli/core_app.h"
#include "app/cli/startup_command.h"
#include "program/field_rig.h"

#include "common/console_host.h"
#include "common/number_text.h"
#include "common/version.h"
#include "instruments/field/field_config.h"
#include "instruments/field/field_instruments.h"
#include "instruments/platform/event_loop_host.h"
#include "log/log_naming.h"
#include "program/field_rig.h"
#include "program/gps_fix.h"
#include "program/hydraulic.h"
#include "program/push_setup.h"
#include "program/settings_model.h"
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

using program::PushRig;
using program::SimChild;

struct PushArgs {
    bool sim = false;
    int points = 20;
    std::string out = ".";
    std::string name = "Push";
    bool nameGiven = false;
    bool gpsName = false; // named by the GPS position and time
    bool metric = false;
    int mode = -1; // the start-up mode (from the switches) when negative
    // Flags over the options file's Setup form; none: the form's value stands.
    std::optional<float> startDepth;
    std::optional<float> stopDepth;
    std::optional<float> timedSeconds;
    bool continuous = false;
    std::optional<int> delaySeconds;
    bool noAreaCheck = false;
    bool yes = false;
    bool no = false;
    double rateFtPerS = 0.06;  // 0.72 in/s, under the 0.8 in/s target
    std::string site;          // the simulated rig's site file
    std::uint32_t seed = 1;    // the simulated rig's seed
    double rodFt = -1;         // the simulated rig's rod length; negative: its default
    double rodPauseS = -1;     // the simulated rig's pause at a rod change; negative: its default
    int sweepMs = -1;          // the scope simulator's own default when negative
    double reScale = 1.0;      // brightness of the simulated reference emitter
    std::string scopeDump;     // the scope simulator's record of every curve it sent
    std::string transcripts;   // the simulated instruments' records of what they received
    std::string scopeStall;    // test aid: "RECORD,MS", a simulated scope that stops triggering for a while
    int depthNoiseEvery = 0;   // line noise on the simulated depth line
    double condMsPerV = 100.0; // the simulated rig's conductivity circuit
    double condOffsetV = 0.0;
    int reAgeMinutes = 0;        // test aid: the RE is stamped this many minutes before it was taken
    bool hd = false;             // as "/H": the data board in the push
    double idleSeconds = 60;     // no new depth this long ends the push
    bool presFlow = false;       // as "/PF": the pressure/flow unit's readings with every point
    bool referenceTests = false; // the 1 ft and 0 ft tests from the live pressure before the push
    std::vector<std::string> dissipations; // "DEPTH[:SECONDS]" each
    std::string baselineFrom;              // a raw log whose stored baseline the push uses
    std::vector<std::string> switches;
};

bool isExistingFile(const std::string& path) {
    std::error_code ec;
    return std::filesystem::is_regular_file(path, ec);
}

// The instruments the push needs answered; the display and the GPS may be missing (the push goes on without
// the rig's screen and without a position). False with the reason shown.
bool requiredInstruments(Host& host, FieldInstruments& in, const StartupSettings& s, bool hd) {
    const auto refuse = [&](const std::string& text) {
        host.message(text + " The push is not started.", MsgButtons::Ok, MsgIcon::Critical);
        return false;
    };
    if (!hd && !in.ScopeOpen()) return refuse("No oscilloscope answered at " + s.scopeResource + ".");
    if (hd && !in.HdBoardOpen()) return refuse("The data board did not answer at " + s.hdBoardAddress + ".");
    if (!in.DepthOpen()) return refuse("The depth source could not be opened.");
    if (!in.DisplayOpen()) host.message("The push goes on without the field display.");
    if (!in.GpsOpen()) host.message("The push goes on without the GPS.");
    return true;
}

int runPush(const PushArgs& a) {
    qtApp();
    ConsoleHost console(std::cerr, answerPolicy(a.yes, a.no), true);
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

    // The set-up as the desktop left it in the options file, with the flags over it.
    program::SettingsModel model;
    model.readOptionsFile(optionsFilePath());
    program::PushSetup setup = program::ReadPushSetup(model);
    if (a.metric) setup.metric = true;
    if (a.startDepth) setup.startDepth = a.startDepth;
    if (a.stopDepth) setup.stopDepth = a.stopDepth;
    if (a.timedSeconds) {
        setup.timed = true;
        // 0: the Setup form's interval, as zel's timed acquisition takes it.
        if (*a.timedSeconds > 0.0f) setup.intervalSeconds = acq::ClampInterval(*a.timedSeconds);
    }
    if (a.continuous) setup.continuous = true;
    if (a.delaySeconds) setup.startDelaySeconds = *a.delaySeconds;
    if (a.presFlow || s.pressureFlow) setup.presFlow = true;
    if (a.dissipations.size() > static_cast<std::size_t>(dissipation::kMaxTests)) {
        host.message("A log holds at most five dissipation tests.");
        return 2;
    }
    std::vector<acq::DissipationRequest> dissipations;
    for (const std::string& text : a.dissipations) {
        const auto request = program::ParseDissipationRequest(text);
        if (!request) {
            host.message("--dissipation " + text + ": expected DEPTH[:SECONDS], SECONDS from 10 to 3600.");
            return 2;
        }
        dissipations.push_back(*request);
    }
    if (!dissipations.empty() && !setup.presFlow) {
        host.message("A dissipation test needs the pressure/flow unit: add --pf or /PF.");
        return 2;
    }
    const program::ProcessingSetup processingSetup = program::ReadProcessingSetup(model);
    // The baseline feature: zel takes a stored baseline when a log is loaded with the box ticked; a push
    // from here names that log.
    std::vector<float> baseline;
    if (!a.baselineFrom.empty()) {
        if (!model.checked(program::control::kWaveMath, program::control::kBaseline)) {
            host.message("--baseline-from needs the baseline feature: tick \"Baseline\" on the wave "
                         "mathematics page (the options file's WaveMath chkBaseline).");
            return 1;
        }
        baseline = program::StoredBaseline(a.baselineFrom, host, clock);
        if (baseline.empty()) return 1;
    }

    std::vector<std::unique_ptr<SimChild>> sims;
    std::unique_ptr<FieldInstruments> instruments;
    if (a.sim) {
        program::SimOptions o;
        o.rateFtPerS = a.rateFtPerS;
        o.site = a.site;
        o.seed = a.seed;
        o.rodFt = a.rodFt;
        o.rodPauseS = a.rodPauseS;
        o.sweepMs = a.sweepMs;
        o.reScale = a.reScale;
        o.scopeDump = a.scopeDump;
        o.transcripts = a.transcripts;
        o.scopeStall = a.scopeStall;
        o.depthNoiseEvery = a.depthNoiseEvery;
        o.hd = hd;
        // The rig's operator holds the rods at each test's depth (in feet) for as long as the test may take.
        for (const acq::DissipationRequest& d : dissipations)
            o.holds.push_back(formatNumber(setup.metric ? d.depth / 0.3048 : d.depth, "#0.0###") + ":" +
                              formatNumber(d.seconds + 5.0, "#0.0"));
        o.condMsPerV = a.condMsPerV;
        o.condOffsetV = a.condOffsetV;
        auto config = program::startSimulators(host, o, sims);
        if (!config) return 1;
        // A calibration taken in the solutions (zel-cli cond-cal) holds for the simulated rig too.
        takeConductivityCalibration(*config, loadFieldConfig(optionsFilePath()));
        instruments = std::make_unique<FieldInstruments>(host, clock, *config);
    } else {
        instruments = std::make_unique<FieldInstruments>(host, clock, optionsFilePath());
    }
    applyAddresses(instruments->Config, s);
    SystemNetwork network;
    StartupSequence sequence(s, {host, clock, *instruments, network});
    runStartupAtOnce(sequence);
    // In HD-board mode start-up opens the board and no oscilloscope: the board is the digitiser.
    if (!requiredInstruments(host, *instruments, s, hd)) return 1;
    // Start-up leaves the hydraulic-profiling unit alone; a push that logs pressure and flow opens it.
    if (setup.presFlow && !instruments->PresFlowOpen()) instruments->openPresFlow();
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
    log.Metric(setup.metric);
    // Timed points are spaced in time: their depths count minutes.
    log.TimeMode(setup.timed);
    const int mode = a.mode >= 0 ? a.mode : s.mode;
    const ModeEntry* modeEntry = findMode(mode);
    const bool emulated = a.sim || depth.Source() == DepthSource::Emulate;
    log.setInfoSource([&setup, modeEntry, emulated] {
        LogInfo info;
        info.mode = modeEntry ? modeEntry->model : "";
        info.version = kVersionText;
        info.metric = setup.metric;
        info.emulate = emulated;
        return info;
    });
    // The receiver's last fix; the log takes it when the push ends.
    cZEL_GPS& gps = instruments->Gps();
    log.setGpsSource([&gps] { return program::GpsFixOf(gps); });
    LogArrays arrays;
    // GPS naming (the Setup form's box, unless a name is given): the position and the time at the start.
    std::string name = a.name;
    if (a.gpsName || (!a.nameGiven && model.checked(program::control::kTab, program::control::kGPSNaming))) {
        for (int waited = 0; gps.QualityIndicator <= 0 && waited < 3000; waited += 20)
            host.sleepMs(20);
        if (gps.QualityIndicator <= 0)
            host.message("The GPS has no fix: the log is named by the last position.");
        name = gpsLogName(gps.Latitude_Dec, gps.Longitude_Dec, clock.now());
    }
    acq::LogRecorder recorder(host, clock, log, arrays, forms, (std::filesystem::path(a.out) / name).string(),
                              a.out, s.o2 ? LogFamily::O2 : LogFamily::Lif);
    program::UseBaseline(baseline, arrays, recorder);
    FieldInstruments& drivers = *instruments;
    PushRig rig(host, clock, std::move(instruments), std::move(sims), hd,
                static_cast<std::int64_t>(a.idleSeconds * 1000.0));
    rig.setMetric(setup.metric);
    int taken = 0;
    rig.depth().ended = [&] { return taken >= a.points; };
    acq::Scope& scopeAdapter = rig.scope();
    program::BoardAdapter& board = rig.board();
    program::DepthAdapter& depthAdapter = rig.depth();
    acq::Gps& gpsAdapter = rig.gps();
    acq::FieldDisplay& display = rig.display();

    acq::ReferenceControl reference(host, clock, scopeAdapter, board, depthAdapter);
    program::ConfigureScope(program::ReadScopeSetup(model, s), rig.scope(), reference);
    program::PrepareConductivity(board, depth, recorder);
    program::RecordConductivityCalibration(drivers.Config, log, recorder.Context);
    if (program::PrepareHdRecording(board, recorder))
        program::ReadReferenceFile(reference, board, dataRoot());
    // The RE and background are processed in the mode's layout, before the RE says how many channels.
    program::ConfigureReference(program::DeriveProcessing(mode, processingSetup), reference);
    program::ConfigureGates(model, reference);
    if (a.noAreaCheck) reference.Gates.noAreaCheck = true;
    acq::PushControl push(host, clock, reference, scopeAdapter, board, depthAdapter, gpsAdapter, display,
                          recorder);
    ReferenceTests referenceTests;
    program::PresFlowAdapter& presFlow = rig.presFlow();
    program::ConfigureHydraulics(setup, referenceTests, presFlow, push, recorder, host);
    push.Settings.dissipations = dissipations;
    push.DissipationTaken = [&](int slot, const DissipationCurve& c) {
        std::cout << "dissipation " << slot << " depth " << formatNumber(c.depth, "#0.000") << " readings "
                  << c.timeS.size();
        if (slot >= 0)
            std::cout << " static " << formatNumber(log.DisPres(slot), "#0.000") << " water_table_ft "
                      << formatNumber(log.DisWT(slot), "#0.000");
        std::cout << std::endl;
    };
    if (presFlow.InUse()) presFlow.Monitor();
    if (a.referenceTests) {
        if (!presFlow.InUse()) {
            host.message("The reference tests need the pressure/flow unit: add --pf or /PF.");
            return 1;
        }
        // The operator puts the probe in the water tube for each reading; the prompts wait for the OK.
        for (const auto kind : {program::ReferenceTestKind::OneFoot, program::ReferenceTestKind::ZeroFoot}) {
            const bool oneFoot = kind == program::ReferenceTestKind::OneFoot;
            if (host.message(oneFoot ? "1 ft test: put the probe's pressure port 1 ft under water, then OK."
                                     : "0 ft test: raise the pressure port to the water's surface, then OK.",
                             MsgButtons::OkCancel) == MsgResult::Cancel)
                return 1;
            // The simulated rig's operator does what the prompt asked.
            if (rig.simulated()) rig.placeInWaterTube(oneFoot ? 1.0 : 0.0);
            const auto shown =
                program::TakeLiveReferenceTest(kind, referenceTests, drivers.PresFlow(), host, clock);
            if (!shown) return 1;
            std::cout << (oneFoot ? "HPT1ft " : "HPT0ft ") << *shown << std::endl;
        }
        if (rig.simulated()) rig.placeInWaterTube(-1.0);
        program::ConfigureHydraulics(setup, referenceTests, presFlow, push, recorder, host);
    }
    push.PointTaken = [&](int n, const acq::PointRecord& p) {
        taken = n;
        std::cout << "point " << n << " depth " << formatNumber(p.depth, "#0.000") << " signal "
                  << formatNumber(p.signal, "#0.00") << (recorder.DurablePoints() < n ? " memory-only" : "")
                  << std::endl;
    };

    // The simulated scope's first acquisition sees no light: the background. A push with the configured
    // instruments has no operator to cover the probe, so it takes none.
    if (a.sim && !reference.AcquireReference(acq::kBackground)) {
        std::cerr << "zel-cli push: no background\n";
        return 1;
    }
    if (!reference.AcquireReference(acq::kRE)) {
        std::cerr << "zel-cli push: the RE was not accepted\n";
        return 1;
    }
    // With the data board in the push the RE reference file keeps this RE and background.
    program::WriteReferenceFile(acq::kRE, reference, board, dataRoot(), clock);
    if (a.reAgeMinutes > 0 && reference.RETime)
        reference.RETime = reference.RETime->addSeconds(-60LL * a.reAgeMinutes);
    program::ConfigurePush(setup,
                           program::DeriveProcessing(mode, processingSetup, reference.RE().ChannelCount,
                                                     reference.FirmwareVersion),
                           push.Settings, depthAdapter);
    if (!push.StartPush()) {
        std::cerr << "zel-cli push: the push was not started\n";
        return 1;
    }

    const nlohmann::ordered_json used = {{"scope", drivers.ScopeOpen()},
                                         {"depth", true},
                                         {"hd", board.InUse()},
                                         {"gps", drivers.GpsOpen()},
                                         {"display", drivers.DisplayOpen()},
                                         {"presflow", presFlow.InUse()}};
    drivers.Display().Show_Complete();

    const acq::RecordedFiles& files = recorder.Files();
    nlohmann::ordered_json j;
    j["points"] = push.Points();
    j["push_number"] = reference.PushNumber;
    j["emulated_steps"] = push.EmulatedSteps();
    j["max_signal"] = recorder.SignalMax().value;
    j["max_signal_depth"] = recorder.SignalMax().depthOfMax;
    j["raw_log"] = files.rawLog;
    j["companion"] = files.companion;
    j["data_export"] = files.dataExport;
    j["run_log"] = files.runLog;
    if (!files.dissipation.empty()) j["dissipation"] = files.dissipation;
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
    auto* name = sc->add_option("--name", args->name, "Log name without extension")->capture_default_str();
    sc->add_flag("--gps-name", args->gpsName,
                 "Name the log by the GPS position and the time at the start, as the Setup form's GPS naming "
                 "(which applies too, from the options file, when no --name is given)");
    sc->add_flag("--metric", args->metric, "Depths in metres");
    sc->add_option("--start-depth", args->startDepth,
                   "Depth the encoder is reset to at the start (feet, or metres with --metric)")
        ->check(CLI::Range(-1000.0, 100000.0));
    sc->add_option("--stop-depth", args->stopDepth, "Stop the push automatically at this depth")
        ->check(CLI::Range(-1000.0, 100000.0));
    sc->add_option(
          "--timed", args->timedSeconds,
          "The timed variant: a point every S seconds (2 .. 300; 0: the options file's timed interval), "
          "the depth counting minutes")
        ->check(CLI::Range(0.0, 86400.0));
    sc->add_flag("--continuous", args->continuous, "Continuous depth: a point on every pass, moving or not");
    sc->add_option("--delay", args->delaySeconds, "Wait this many seconds before the first point")
        ->check(CLI::Range(0, 86400));
    sc->add_option("--mode", args->mode, "Operating mode (default: the switches' mode)")
        ->check(CLI::Range(0, 99));
    sc->add_flag("--no-area-check", args->noAreaCheck,
                 "The set-up's RE area exemption: the RE's area limits are not checked");
    sc->add_flag("--hd", args->hd,
                 "HD-board mode, as the /H switch: the data board triggers the points and digitises the "
                 "auxiliary inputs (with --sim its simulator is started too)");
    sc->add_option("--idle-s", args->idleSeconds,
                   "End the push when no new depth has come for this many seconds")
        ->capture_default_str()
        ->check(CLI::Range(1.0, 86400.0));
    sc->add_flag("--pf", args->presFlow,
                 "Hydraulic profiling, as the /PF switch: every point carries the pressure/flow unit's time, "
                 "pressures and flow, and its K estimate");
    sc->add_flag(
        "--reference-tests", args->referenceTests,
        "Before the push, the 1 ft and 0 ft reference tests from the live averaged downward pressure "
        "(each after a prompt)");
    sc->add_option(
          "--dissipation", args->dissipations,
          "DEPTH[:SECONDS]: a dissipation test once the push reaches DEPTH and the rods stand still, "
          "until the pressure levels or SECONDS pass (10 .. 3600, default 120); up to five. With --sim "
          "the rig holds the rods there")
        ->expected(1)
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
    sc->add_option(
        "--baseline-from", args->baselineFrom,
        "The baseline feature: this raw log's stored baseline is the push's (written into its log as "
        "BASELINE); needs the options file's WaveMath chkBaseline ticked, as zel does");
    sc->add_option("switches", args->switches,
                   "The program's switches (/H, /IPSCP052, /MODE2 ...), as they would be given to zel");
    auto* yes = sc->add_flag("--yes", args->yes, "Answer OK to every prompt");
    sc->add_flag("--no", args->no, "Answer Cancel to every prompt")->excludes(yes);
    sc->add_option("--rate", args->rateFtPerS, "Simulated push rate, feet per second")
        ->capture_default_str()
        ->check(CLI::Range(0.001, 20.0));
    sc->add_option("--site", args->site, "Simulated rig: the site file (JSON); its built-in site without it");
    sc->add_option("--seed", args->seed, "Simulated rig: seed of the noise, the pace and the GPS wander")
        ->capture_default_str();
    sc->add_option("--rod-ft", args->rodFt, "Simulated rig: rod length, a pause at every multiple (0: none)")
        ->check(CLI::Range(0.0, 100.0));
    sc->add_option("--rod-pause-s", args->rodPauseS, "Simulated rig: the pause at each rod change, seconds")
        ->check(CLI::Range(0.0, 600.0));
    sc->add_option("--sweep-ms", args->sweepMs,
                   "Simulated scope: time of one averaged sweep (0: no averaging delay)");
    sc->add_option("--re-scale", args->reScale,
                   "Simulated scope: brightness of the probe's reference emitter (1 normal, below 1 dim)")
        ->capture_default_str()
        ->check(CLI::Range(0.0, 100.0));
    sc->add_option("--scope-dump", args->scopeDump,
                   "Simulated scope: file receiving every curve it sent, one JSON line each");
    sc->add_option("--sim-transcripts", args->transcripts,
                   "Simulated rig: folder receiving each instrument's record of the commands it received");
    sc->add_option("--scope-stall", args->scopeStall,
                   "Test aid, simulated scope: RECORD,MS: that acquisition completes MS later");
    sc->add_option("--depth-noise", args->depthNoiseEvery,
                   "Simulated depth board: a malformed line before every Nth reading (0: none)")
        ->check(CLI::Range(0, 1000000));
    sc->add_option("--cond-ms-per-v", args->condMsPerV,
                   "Simulated rig: its conductivity circuit's mS/m per volt")
        ->capture_default_str()
        ->check(CLI::Range(0.001, 100000.0));
    sc->add_option("--cond-offset-v", args->condOffsetV,
                   "Simulated rig: its conductivity circuit's volts in a liquid of no conductivity")
        ->capture_default_str()
        ->check(CLI::Range(0.0, 5.0));
    sc->add_option("--re-age-min", args->reAgeMinutes,
                   "Test aid: date the RE this many minutes before it was taken, for the RE age question")
        ->check(CLI::Range(0, 100000));
    sc->callback([&run, args, name] {
        args->nameGiven = name->count() > 0;
        run = [args] { return runPush(*args); };
    });
}

} // namespace zel::cli
