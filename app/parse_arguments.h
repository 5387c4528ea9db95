#pragma once
// Command-line parsing shared by zel-cli and zel-sim: help prints and ends the program with 0, a usage
// error prints CLI11's message and ends it with 2, as the programs' scripts expect.

#include <CLI/CLI.hpp>

#include <optional>

namespace zel {

// nullopt when the arguments parsed; otherwise the exit code to end the program with.
inline std::optional<int> parseArguments(CLI::App& app, int argc, char** argv) {
    try {
        app.parse(argc, argv);
    } catch (const CLI::CallForHelp& e) {
        return app.exit(e);
    } catch (const CLI::ParseError& e) {
        app.exit(e);
        return 2;
    }
    return std::nullopt;
}

} // namespace zel
