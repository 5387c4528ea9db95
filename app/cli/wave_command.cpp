#include "app/cli/wave_command.h"

#include "app/cli/sample_file.h"
#include "common/console_host.h"
#include "waveform/wave_analysis.h"

#include <nlohmann/json.hpp>

#include <charconv>
#include <iostream>
#include <memory>
#include <ostream>
#include <sstream>

namespace zel::cli {

namespace {

bool load(const std::string& path, float dt, double delay, Waveform& out, std::ostream& err) {
    SampleFile f = readSampleFile(path);
    if (!f.error.empty()) {
        err << "zel-cli wave: " << f.error << '\n';
        return false;
    }
    out.samples = std::move(f.samples);
    out.deltaX = dt;
    out.delay = delay;
    return true;
}

// A float as the double whose shortest text is the float's own (449.6f prints 449.6, not 449.6000061035156).
double plain(float v) {
    char buf[32];
    const auto res = std::to_chars(buf, buf + sizeof buf, v);
    double d = 0.0;
    std::from_chars(buf, res.ptr, d);
    return d;
}

nlohmann::json plain(const std::vector<float>& values) {
    nlohmann::json a = nlohmann::json::array();
    for (float v : values)
        a.push_back(plain(v));
    return a;
}

} // namespace

int runWave(const WaveArgs& args, std::ostream& out, std::ostream& err) {
    if (!(args.dt > 0.0) || args.dt > 1.0) {
        err << "zel-cli wave: --dt must be a positive number of seconds below 1\n";
        return 1;
    }
    const float dt = static_cast<float>(args.dt);
    Waveform re, wave, bg;
    if (!load(args.rePath, dt, args.delay, re, err) || !load(args.wavePath, dt, 0.0, wave, err)) return 1;
    if (!args.bgPath.empty() && !load(args.bgPath, dt, 0.0, bg, err)) return 1;

    // Messages are collected for the JSON output; the console host keeps stderr quiet meanwhile.
    std::ostringstream shown;
    ConsoleHost host(shown, ConsoleHost::Policy::Default);
    const WaveAnalysis r =
        analyseWave(re, wave, args.bgPath.empty() ? nullptr : &bg, args.mode, args.gated, host);

    nlohmann::json j;
    j["boundaries"] = r.boundaries;
    j["first_rise"] = r.firstRise;
    j["sums"] = plain(r.sums);
    j["areas"] = plain(r.areas);
    j["area_total"] = plain(r.areaTotal);
    j["shape"] = plain(r.shape);
    j["S"] = plain(r.S);
    j["F"] = plain(r.F);
    j["SF"] = plain(r.SF);
    j["pct_re"] = plain(r.pctRE);
    j["scatter_ratio"] = plain(r.scatterRatio);
    j["fibre_length_m"] = plain(r.fibreLengthM);
    j["messages"] = host.shown();
    out << j.dump(2) << '\n';
    if (!r.ok) {
        err << "zel-cli wave: processing reported an error:\n" << shown.str();
        return 1;
    }
    return 0;
}

void addWaveCommand(CLI::App& app, CommandRunner& run) {
    auto args = std::make_shared<WaveArgs>();
    auto* cmd =
        app.add_subcommand("wave", "Process one waveform against an RE and print the results as JSON");
    cmd->add_option("--re", args->rePath, "RE waveform file (one sample in mV per line)")->required();
    cmd->add_option("--wave", args->wavePath, "waveform file to process")->required();
    cmd->add_option("--bg", args->bgPath, "background subtracted from the RE and the waveform");
    cmd->add_option("--dt", args->dt, "seconds between samples")->capture_default_str();
    cmd->add_option("--delay", args->delay, "RE delay from the trigger in seconds")->capture_default_str();
    cmd->add_option("--mode", args->mode, "operating mode")->check(CLI::Range(0, 99))->capture_default_str();
    cmd->add_flag("--gated", args->gated, "gated channel layout (first pulse is the scatter peak)");
    cmd->callback([args, &run] { run = [args] { return runWave(*args, std::cout, std::cerr); }; });
}

} // namespace zel::cli
