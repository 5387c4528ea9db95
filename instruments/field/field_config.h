#pragma once
// The field instruments' settings as the communications dialog (frmComm) keeps them in the options file:
// which depth source on which serial line, the display and GPS lines, the calibrations the drivers need,
// and where the oscilloscope and the data board are when they are not at their instrument-network
// addresses (a second scope network, or simulators on this PC). The dialog's controls are persisted by
// name prefix, so these names are what the options file carries.
//
// A serial port is a port number (turned into a device through the options' port map) or a device path.

#include "settings/startup/startup_settings.h"

#include <array>
#include <cstdint>
#include <string>

namespace zel {

namespace comm_control {
inline constexpr const char* kDepthSource = "cmbDepthSource"; // list index = source 0..4
inline constexpr const char* kDepthPort = "txtDepthPort";
inline constexpr const char* kAuxPort = "txtAuxPort";
inline constexpr const char* kDisplayPort = "txtDisplayPort";
inline constexpr const char* kGpsPort = "txtGPSPort";
inline constexpr const char* kGpsSettings = "txtGPSSettings";
inline constexpr const char* kDisplayAnsi = "chkDisplayANSI";
inline constexpr const char* kStringPotCal = "txtStringPotCal";
inline constexpr const char* kDepthUpdateMs = "txtDepthUpdateMS";
inline constexpr const char* kAd4CountsPerFt = "txtAD4CountsPerFt";
inline constexpr const char* kCondConstant = "txtCondConstant";
inline constexpr const char* kCondOffset = "txtCondOffset";
inline constexpr const char* kHdReference =
    "chkHDReference"; // the data board feeds the depth board's reference
inline constexpr const char* kScopeAddress = "txtScopeAddress";
inline constexpr const char* kScopePortmap = "txtScopePortmap";
inline constexpr const char* kHdAddress = "txtHDAddress";
inline constexpr const char* kHdPorts = "txtHDPorts";
} // namespace comm_control

struct FieldConfig {
    int depthSource = 1; // 0 emulation, 1 interface board, 2 AD4, 3 PCU, 4 CAN
    std::string depthPort = "1";
    std::string auxPort = "0";
    std::string displayPort = "2";
    std::string gpsPort = "3";
    std::string gpsSettings = "4800,n,8,1";
    bool displayAnsi = false;
    float stringPotCal = 1.0f; // mV per V per inch
    std::int32_t depthUpdateMs = 333;
    float ad4CountsPerFt = 1000.0f;
    float condConstant = 1.0f;
    float condOffset = 0.0f;
    bool hdReference = false; // the depth board's analogue reference comes from the data board (3.18 V)
    std::string scopeAddress; // empty: the instrument network's
    std::uint16_t scopePortmap = 111;
    std::string hdAddress;                                  // empty: the instrument network's
    std::array<std::uint16_t, 3> hdPorts{5000, 5001, 5002}; // command, record, second
};

// The settings of the options file's "Comm" section; what is missing or does not read as its kind keeps
// its default. No file: all defaults.
FieldConfig loadFieldConfig(const std::string& optionsPath);

// Moves the scope and the data board to the addresses the settings give. "/IPSCP" still decides the
// scope's address when it was on the command line.
void applyAddresses(const FieldConfig& config, StartupSettings& settings);

// A serial port setting as a device: a port number through the options' port map, anything else as a path.
std::string serialDevice(const std::string& port, const std::string& optionsPath);

} // namespace zel
