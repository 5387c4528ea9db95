// zel-cli cond-cal: the conductivity calibration at the rig. The probe goes into each standard solution in
// turn (a prompt each, answered by --yes as push's are; the simulated rig's operator is told to put it
// there), the conductivity input's voltage is averaged, the curve fitted and kept in the options file's
// "Comm" section, where every later push takes it from.

#include "app/cli/command.h"
#include "app/cli/core_app.h"

#include "common/console_host.h"
#include "common/number_text.h"
#include "instruments/field/field_config.h"
#include "instruments/field/field_instruments.h"
#include "instruments/hd_board/hd_protocol.h"
#include "instruments/platform/event_loop_host.h"
#include "program/cond_calibration.h"
#include "program/field_rig.h"
#include "settings/data_root.h"

#include <QCoreApplication>
#include <nlohmann/json.hpp>

#include <iostream>

namespace zel::cli {

namespace {

struct CondCalArgs {
    bool sim = false;
    bool hd = false;
    bool json = false;
    bool dryRun = false;
    bool yes = false;
    bool no = false;
    int readings = 10;
    double settleS = 1.0;
    std::string site;
    std::uint32_t seed = 1;
    double condMsPerV = 100.0;
    double condOffsetV = 0.0;
};

int runCondCal(const CondCalArgs& a) {
    qtApp();
    ConsoleHost console(std::cerr, answerPolicy(a.yes, a.no), true);
    platform::EventLoopHost host(console);
    SystemClock clock;
    const std::string optionsPath = optionsFilePath();

    std::vector<std::unique_ptr<program::SimChild>> sims;
    std::unique_ptr<FieldInstruments> in;
    if (a.sim) {
        program::SimOptions o;
        o.site = a.site;
        o.seed = a.seed;
        o.hd = a.hd;
        o.condMsPerV = a.condMsPerV;
        o.condOffsetV = a.condOffsetV;
        auto config = program::startSimulators(host, o, sims);
        if (!config) return 1;
        in = std::make_unique<FieldInstruments>(host, clock, *config);
    } else {
        in = std::make_unique<FieldInstruments>(host, clock, optionsPath);
    }
    in->loadSerialPorts();
    if (a.hd) {
        const std::string address =
            in->Config.hdAddress.empty() ? std::string(hd_protocol::kDefaultAddress) : in->Config.hdAddress;
        if (!in->openHdBoard(address)) {
            host.message("The data board did not answer at " + address + ".");
            return 1;
        }
    } else if (!in->openDepth()) {
        host.message("The depth source could not be opened.");
        return 1;
    }
    const program::CondInput input = program::ConductivityInput(*in, a.hd);
    if (input == program::CondInput::None) {
        host.message(program::kNoCondInput);
        return 1;
    }

    program::CondReading how;
    how.readings = a.readings;
    how.settleMs = static_cast<int>(a.settleS * 1000.0);
    std::array<float, cond_cal::kSolutions> volts{};
    for (int i = 0; i < cond_cal::kSolutions; ++i) {
        const std::string solution = cond_cal::kSolutionNames[static_cast<std::size_t>(i)];
        if (!sims.empty() && !program::askRigOperator(sims, "solution " + solution)) {
            host.message("The simulated rig's operator did not answer.");
            return 1;
        }
        if (host.message("Put the probe in the " + solution + " mS/m solution, then press OK.",
                         MsgButtons::OkCancel, MsgIcon::Question) != MsgResult::Ok) {
            host.message("The calibration was cancelled; the set-up keeps its calibration.");
            return 1;
        }
        const auto v = program::ReadConductivityVolts(*in, input, host, clock, how);
        if (!v) return 1;
        volts[static_cast<std::size_t>(i)] = *v;
        if (!a.json)
            std::cout << "solution " << solution << " volts " << formatNumber(*v, "#0.0000") << std::endl;
    }
    if (!sims.empty()) program::askRigOperator(sims, "solution off");

    std::string error;
    const auto c = cond_cal::fit(volts, error);
    if (!c) {
        host.message(error + " The set-up keeps its calibration.");
        return 1;
    }
    bool saved = false;
    if (!a.dryRun) {
        saved = program::ApplyConductivityCalibration(*c, *in, optionsPath);
        if (!saved) host.message("The calibration could not be written into " + optionsPath + ".");
    }
    nlohmann::ordered_json j;
    j["volts"] = c->volts;
    j["ms"] = c->ms;
    j["constants"] = c->constants;
    j["worst_residual_ms"] = cond_cal::worstResidual(*c);
    j["options_file"] = saved ? optionsPath : "";
    if (a.json) {
        std::cout << j.dump() << std::endl;
    } else {
        std::cout << "constants " << shortestText(c->constants[0]) << " " << shortestText(c->constants[1])
                  << " " << shortestText(c->constants[2]) << "\nworst_residual_ms "
                  << formatNumber(cond_cal::worstResidual(*c), "#0.000") << "\n";
        if (saved) std::cout << "options_file " << optionsPath << "\n";
    }
    in->Close();
    return a.dryRun || saved ? 0 : 1;
}

} // namespace

void addCondCalCommand(CLI::App& app, CommandRunner& run) {
    auto a = std::make_shared<CondCalArgs>();
    CLI::App* sc = app.add_subcommand(
        "cond-cal",
        "The conductivity calibration in the 0, 25, 266 and 560 mS/m solutions, kept in the set-up");
    sc->add_flag("--sim", a->sim, "Against the simulated rig (its operator puts the probe in each solution)");
    sc->add_flag("--hd", a->hd, "Read the data board's conductivity column instead of the depth board");
    sc->add_flag("--json", a->json, "One JSON object instead of the lines");
    sc->add_flag("--dry-run", a->dryRun, "Fit and print, but leave the options file as it is");
    sc->add_option("--readings", a->readings, "Readings averaged in each solution")
        ->capture_default_str()
        ->check(CLI::Range(1, 1000));
    sc->add_option("--settle-s", a->settleS, "Seconds left for the reading to settle in each solution")
        ->capture_default_str()
        ->check(CLI::Range(0.0, 600.0));
    auto* yes = sc->add_flag("--yes", a->yes, "Answer OK to every prompt");
    sc->add_flag("--no", a->no, "Answer Cancel to every prompt")->excludes(yes);
    sc->add_option("--site", a->site, "Simulated rig: the site file (JSON)");
    sc->add_option("--seed", a->seed, "Simulated rig: its seed")->capture_default_str();
    sc->add_option("--cond-ms-per-v", a->condMsPerV,
                   "Simulated rig: its conductivity circuit's mS/m per volt")
        ->capture_default_str()
        ->check(CLI::Range(0.001, 100000.0));
    sc->add_option("--cond-offset-v", a->condOffsetV,
                   "Simulated rig: its conductivity circuit's volts in a liquid of no conductivity")
        ->capture_default_str()
        ->check(CLI::Range(0.0, 5.0));
    sc->callback([a, &run] { run = [a] { return runCondCal(*a); }; });
}

} // namespace zel::cli
