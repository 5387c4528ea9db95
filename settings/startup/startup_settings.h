#pragma once
// What the command line decides at start-up: the operating mode and what it implies, the instruments'
// addresses and the acquisition settings. Set once by the splash, read by acquisition and display.

#include <array>
#include <cstdint>
#include <optional>
#include <string>

namespace zel {

inline constexpr const char* kDefaultScopeAddress = "192.168.250.252";
inline constexpr const char* kDefaultScopeResource = "TCPIP::192.168.250.252::INSTR";
inline constexpr const char* kHdBoardAddress = "192.168.250.253";
inline constexpr const char* kExpectedPcAddress = "192.168.250.251";
// "/IPSCP" moves the oscilloscope within the instrument network; only its last number is given.
inline constexpr const char* kInstrumentSubnet = "192.168.250.";

struct StartupSettings {
    // The mode and what the mode table makes of it.
    std::int16_t mode = 0;
    std::string model = "Alder\xAE"; // the registered sign in the files' code page
    std::array<std::string, 4> labels{"350", "400", "450", "500"};
    std::int32_t pageFont = 11; // points
    double modeFactor = 1.0;    // the waveform class's mode factor
    // The mode whose look (caption, colours, pictures) the splash applies once loaded; none leaves the
    // design-time look.
    std::optional<int> look;

    std::string scopeAddress = kDefaultScopeAddress;
    // "/IPSCP" moves both: the scope is opened where the echo test found it (the resource names the address
    // without its zero padding, which a resolver would read as octal).
    std::string scopeResource = kDefaultScopeResource;
    std::string hdBoardAddress = kHdBoardAddress;
    std::string expectedPcAddress = kExpectedPcAddress;

    std::int32_t averaging = 64; // scope averaging count
    std::int32_t yScale = 5;     // mV
    std::int32_t reScale = 50;   // mV
    // A switch chose the value from its list: the advanced options select that entry and tick its box.
    bool averagingFromSwitch = false;
    bool yScaleFromSwitch = false;
    bool reScaleFromSwitch = false;

    bool birch = false; // probe type Birch (tar) rather than Alder (UV)
    bool unlock = false;
    bool colour = false;
    bool o2 = false;
    bool hd = false;
    bool wtm = false;
    bool fileMode = false;
    bool pressureFlow = false;
    bool singleInstance = false;
    std::string startFile;

    // The upper-cased switches with the mode expansions appended: what later code tests a switch against.
    std::string switches;
};

} // namespace zel
