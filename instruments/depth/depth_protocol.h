#pragma once
// What travels on the depth sources' serial lines, shared by the driver and the simulator.
//
// Interface board: ASCII commands ended by one carriage return; the board answers with CR-ended lines:
//   "cccccccc" preceded by one status character (9 characters): the counter, 8 hexadecimal digits;
//   "U2hhh" / "U3hhh": 12-bit reading of analogue input 0 / 1 (5 V reference, 4096 counts);
//   "Uhhhh", "Ihhhh", "Nhhhh": 16-bit channel values;  "Er:..." an error report.
//   "I" is the digital input (streamed with register 1A), "N" the hammer's blow counter (streamed with
//   register 19), a 16-bit count that wraps.
// AD4 counter: 20-byte binary frames, the marker word 32599 in bytes 0-1 (low byte first), the count in
// bytes 2 (high) and 3 (low) as an offset binary number around 32768; the other bytes are not used. It
// takes CR-ended commands: "T1" starts its frame timer, "T0" stops it.

#include <cstddef>
#include <cstdint>
#include <string>

namespace zel::depth_protocol {

constexpr const char* kIntSettings = "115200,n,8,1";
constexpr const char* kAd4Settings = "9600,n,8,1";
constexpr const char* kHalt = "H";
constexpr const char* kMeasure = "M";
// Clears the board's counter.
constexpr const char* kCounterClear = "C";

constexpr const char* kAd4TimerOn = "T1";
constexpr const char* kAd4TimerOff = "T0";

constexpr std::size_t kAd4FrameBytes = 20;
constexpr std::uint16_t kAd4Marker = 32599;
constexpr std::int32_t kAd4CountZero = 32768;

inline std::string ad4Frame(std::uint16_t count) {
    std::string f(kAd4FrameBytes, '\0');
    f[0] = static_cast<char>(kAd4Marker & 0xFF);
    f[1] = static_cast<char>(kAd4Marker >> 8);
    f[2] = static_cast<char>(count >> 8);
    f[3] = static_cast<char>(count & 0xFF);
    return f;
}

} // namespace zel::depth_protocol
