// zel-cli push: a whole push headless. With --sim the instruments are zel-sim children on loopback ports
// and pseudo-terminals; background, RE, the start gates, the loop to N points, the end with its files, and
// a summary on stdout. Each point taken prints one progress line as soon as it is stored.

#include "acquisition/log_recorder.h"
#include "acquisition/push.h"
#include "acquisition/reference.h"
#include "app/cli/command.h"
#include "app/cli/field_rig.h"

#include "common/console_host.h"
#include "common/number_text.h"
#include "instruments/platform/event_loop_host.h"
#include "settings/memory_form.h"

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
};

QCoreApplication& qtApp() {
    static int argc = 1;
    static char name[] = "zel-cli";
    static char* argv[] = {name, nullptr};
    static QCoreApplication app(argc, argv);
    return app;
}

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

    SimRigOptions rigOptions;
    rigOptions.rateFtPerS = a.rateFtPerS;
    rigOptions.sweepMs = a.sweepMs;
    SimRig rig(host, clock, rigOptions);
    if (!rig.error().empty()) {
        std::cerr << "zel-cli push: " << rig.error() << "\n";
        return 1;
    }

    std::filesystem::create_directories(a.out);
    MemoryFormSet forms;
    cZEL_Data log(host, clock);
    log.Metric(a.metric);
    LogArrays arrays;
    acq::LogRecorder recorder(host, clock, log, arrays, forms,
                              (std::filesystem::path(a.out) / a.name).string(), a.out);
    int taken = 0;
    rig.depth().metric = a.metric;
    rig.depth().ended = [&] { return taken >= a.points; };

    acq::ReferenceControl reference(host, clock, rig.scope(), rig.board(), rig.depth());
    reference.Mode = a.mode;
    acq::PushControl push(host, clock, reference, rig.scope(), rig.board(), rig.depth(), rig.gps(),
                          rig.display(), recorder);
    push.Settings.metric = a.metric;
    push.Settings.startDepth = -1.0f;
    push.PointTaken = [&](int n, const acq::PointRecord& p) {
        taken = n;
        std::cout << "point " << n << " depth " << formatNumber(p.depth, "#0.000") << " signal "
                  << formatNumber(p.signal, "#0.00") << std::endl;
    };

    // The simulated scope has neither a reference emitter nor a dark input: its CH2 is always the ground's
    // fluorescence. A background taken from it would cancel the RE, and its RE cannot meet the area limits;
    // so the simulated push runs without a background and with the RE area exemption of the set-up.
    std::cerr << "zel-cli push: simulated scope: no background, RE area limits exempted\n";
    reference.Gates.noAreaCheck = true;
    if (!reference.AcquireReference(acq::kRE)) return 1;
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
    sc->callback([&run, args] { run = [args] { return runPush(*args); }; });
}

} // namespace zel::cli
