// zel-cli: the headless tool for scripts, batch work and checks. It only wires the libraries together.

#include "app/cli/wave_command.h"

#include <CLI/CLI.hpp>

#include <iostream>

int main(int argc, char** argv) {
    CLI::App app{"ZEL command-line tool: process and inspect LIF logs and waveforms"};
    app.require_subcommand(1);

    zel::cli::WaveArgs wave;
    auto* waveCmd =
        app.add_subcommand("wave", "Process one waveform against an RE and print the results as JSON");
    waveCmd->add_option("--re", wave.rePath, "RE waveform file (one sample in mV per line)")->required();
    waveCmd->add_option("--wave", wave.wavePath, "waveform file to process")->required();
    waveCmd->add_option("--bg", wave.bgPath, "background subtracted from the RE and the waveform");
    waveCmd->add_option("--dt", wave.dt, "seconds between samples")->capture_default_str();
    waveCmd->add_option("--delay", wave.delay, "RE delay from the trigger in seconds")->capture_default_str();
    waveCmd->add_option("--mode", wave.mode, "operating mode")
        ->check(CLI::Range(0, 99))
        ->capture_default_str();
    waveCmd->add_flag("--gated", wave.gated, "gated channel layout (first pulse is the scatter peak)");

    try {
        app.parse(argc, argv);
    } catch (const CLI::CallForHelp& e) {
        return app.exit(e);
    } catch (const CLI::ParseError& e) {
        app.exit(e);
        return 2;
    }
    if (waveCmd->parsed()) return zel::cli::runWave(wave, std::cout, std::cerr);
    return 2;
}
