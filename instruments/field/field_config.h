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
// The calibration in the standard solutions: the curve's second-order term and the voltage read in each
// solution ("txtCondV0", "txtCondV25", "txtCondV266", "txtCondV560"), kept so every log can carry them.
inline constexpr const char* kCondConstant2 = "txtCondConstant2";
inline constexpr const char* kCondVoltsPrefix = "txtCondV";
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
    float condConstant2 = 0.0f;
    // The voltages read in the 0, 25, 266 and 560 mS/m solutions; all 0 until a calibration was taken.
    std::array<float, 4> condVolts{};
    bool condCalibrated() const;
    bool hdReference = false; // the depth board's analogue reference comes from the data board (3.18 V)
    std::string scopeAddress; // empty: the instrument network's
    std::uint16_t scopePortmap = 111;
    std::string hdAddress;                                  // empty: the instrument network's
    std::array<std::uint16_t, 3> hdPorts{5000, 5001, 5002}; // command, record, second
};

// The settings of the options file's "Comm" section; what is missing or does not read as its kind keeps
// its default. No file: all defaults.
FieldConfig loadFieldConfig(const std::string& optionsPath);

// The name of the control that keeps the voltage read in solution i (0..3) of the calibration.
std::string condVoltsControl(int i);

// Puts the calibration's constants and voltages (not the rest of the settings) of `from` into `into` when
// `from` holds a calibration taken in the solutions: the simulated rig's set-up takes the options file's
// calibration once one was taken.
void takeConductivityCalibration(FieldConfig& into, const FieldConfig& from);

// Writes a calibration's constants and voltages into the options file's "Comm" section as the dialog keeps
// them (the other controls' keys stay as they are), in one crash-safe replacement of the file. False when
// the file could not be written.
bool saveConductivityCalibration(const std::string& optionsPath, const FieldConfig& calibration);

// Moves the scope and the data board to the addresses the settings give. "/IPSCP" still decides the
// scope's address when it was on the command line.
void applyAddresses(const FieldConfig& config, StartupSettings& settings);

// A serial port setting as a device: a port number through the options' port map, anything else as a path.
std::string serialDevice(const std::string& port, const std::string& optionsPath);

} // namespace zel
