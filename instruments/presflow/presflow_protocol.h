#pragma once
// What travels on the pressure/flow unit's serial line (the auxiliary port), shared by the driver and the
// simulator. Line settings "9600,n,8,1".
//
// Program to unit, each command ended by one carriage return:
//   "S<ms>"  stream one reading every <ms> milliseconds (10 to 60000); "S0" or "X" stops the stream;
//   "Q"      one reading now;
//   "Z"      zero the unit's clock (the time column counts from the push's start);
//   "V"      the unit's identification, answered "V," + text;
//   "F0"     injection off (a dissipation test: the pore pressure settles), "F1" injection on again.
// Unit to program, one reading a line, ended by CR LF:
//   "P,<time s>,<upward pressure PSI>,<downward pressure PSI>,<upward flow mL/min>*HH"
// where HH is the exclusive-or of every byte before the "*" in two upper-case hexadecimal digits. A line
// that does not parse or whose check fails is noise and is dropped; so is any line longer than
// kMaxLine bytes.

#include <optional>
#include <string>
#include <string_view>

namespace zel::presflow_protocol {

constexpr const char* kSettings = "9600,n,8,1";
constexpr const char* kStop = "X";
constexpr const char* kQuery = "Q";
constexpr const char* kZeroClock = "Z";
constexpr const char* kIdentify = "V";
constexpr const char* kFlowOff = "F0";
constexpr const char* kFlowOn = "F1";
constexpr std::size_t kMaxLine = 96;
constexpr int kMinPeriodMs = 10;
constexpr int kMaxPeriodMs = 60000;

struct Reading {
    double timeS = 0;
    double presUpPsi = 0;
    double presDownPsi = 0;
    double flowMlMin = 0;
};

std::string streamCommand(int periodMs);
// The period of an "S" command, nullopt when the text is not one; 0 stops the stream.
std::optional<int> parseStreamCommand(std::string_view command);

// One reading as the unit sends it, CR LF included.
std::string formatReading(const Reading& r);
// One line without its line end; nullopt for noise.
std::optional<Reading> parseReading(std::string_view line);

} // namespace zel::presflow_protocol
