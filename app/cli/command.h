#pragma once
// Each zel-cli subcommand lives in its own file and registers itself on the application here. Parsing
// picks the one command to run; the command returns the exit code (0 success, 1 bad input or refused
// operation; usage errors, 2, are CLI11's).

#include <CLI/CLI.hpp>

#include <functional>

namespace zel::cli {

using CommandRunner = std::function<int()>;

// Adds "wave" to app; when it is the chosen subcommand, run is set to its action.
void addWaveCommand(CLI::App& app, CommandRunner& run);
// Adds "info" (a raw log loaded and summarised as JSON) and "repair" (its trailer checked and mended).
void addInfoCommand(CLI::App& app, CommandRunner& run);
void addRepairCommand(CLI::App& app, CommandRunner& run);
// Adds "scope" (commands, queries and processed waveforms from an oscilloscope).
void addScopeCommand(CLI::App& app, CommandRunner& run);
// Adds "monitor" (a field instrument opened and what it reads printed until the time is up).
void addMonitorCommand(CLI::App& app, CommandRunner& run);
// Adds "startup" (a dry run of the program's start-up from its command line).
void addStartupCommand(CLI::App& app, CommandRunner& run);
// Adds "export" (the data export of raw logs), "recover" (a push from its temporary point file) and
// "next-name" (the log name proposed after another).
void addExportCommand(CLI::App& app, CommandRunner& run);
void addRecoverCommand(CLI::App& app, CommandRunner& run);
void addNextNameCommand(CLI::App& app, CommandRunner& run);
// Adds "push" (a whole push headless, against zel-sim children with --sim).
void addPushCommand(CLI::App& app, CommandRunner& run);
// Adds "page" (the log page of raw logs as PDF or JPG, offscreen).
void addPageCommand(CLI::App& app, CommandRunner& run);
// Adds "tau" (channel decay times of raw logs), "nnls" (their fit to a basis library) and "basis" (the
// library kept).
void addAnalysisCommands(CLI::App& app, CommandRunner& run);
// Adds "classify" (a log's points sorted into the analyst's named classes by their shares or decay times).
void addClassifyCommand(CLI::App& app, CommandRunner& run);
// Adds "summary" (a site's logs tabulated, with footage totals and GeoJSON) and "las" (LAS 2.0 files).
void addSiteCommands(CLI::App& app, CommandRunner& run);
// Adds "cut" and "stitch" (new logs from a log's depth range, or two logs of one boring) and "gps" (surveyed
// positions into logs without a fix).
void addLogEditCommands(CLI::App& app, CommandRunner& run);
// Adds "map" and "section" (the site map and a cross-section, PDF or PNG).
void addSitePictureCommands(CLI::App& app, CommandRunner& run);
// Adds "arrange" (a site's logs copied into one folder a day).
void addArrangeCommand(CLI::App& app, CommandRunner& run);
// Adds "cond-cal" (the conductivity calibration in the standard solutions, kept in the set-up).
void addCondCalCommand(CLI::App& app, CommandRunner& run);
// Adds "wave-math" (averaged and difference waveforms of a raw log, exported as text).
void addWaveMathCommand(CLI::App& app, CommandRunner& run);

} // namespace zel::cli
