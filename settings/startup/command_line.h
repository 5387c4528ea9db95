#pragma once
// The program's command line turned into its start-up settings, without opening anything.
//
// Switches are found as upper-cased substrings anywhere in the line ("/mode3" works, and so does
// "/F/T" without blanks). A mode switch is shorthand for a set of other switches, which are appended to the
// line and then act like typed ones. A log to open at start is given in double quotes; on Linux the shell has
// removed the quotes already, so an argument that names a log is taken as the start file instead, and
// neither form of the path is searched for switches ("/home/Tim/..." holds "/H" and "/T").

#include "settings/startup/startup_settings.h"

#include <functional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace zel {

// The entries the advanced options offer. "/RE", "/S" and "/Y" take a value only when it is one of them.
struct SwitchLists {
    std::vector<int> reScales{1, 2, 5, 10, 20, 50, 100, 200, 500, 1000}; // mV
    std::vector<int> averages{2, 4, 8, 16, 32, 64, 128, 256, 512};
    std::vector<int> yScales{1, 2, 5, 10, 20, 50, 100, 200, 500, 1000}; // mV
};

// The whole command line as one text, as Windows hands it over.
StartupSettings parseCommandLine(std::string_view commandLine, const SwitchLists& lists = {});

using FileTest = std::function<bool(const std::string& path)>;
// The arguments after the program's name. An argument that ends in a raw-log extension, or for which
// isExistingFile says yes, is the start file (the first such one) and takes no part in switch matching;
// the rest are joined with blanks and read as one command line.
StartupSettings parseArguments(std::span<const std::string> arguments, const FileTest& isExistingFile,
                               const SwitchLists& lists = {});

// ".lif.raw.bin", ".clr.raw.bin" or ".o2.raw.bin" at the end, in any case.
bool isRawLogName(std::string_view name);

} // namespace zel
