#pragma once
// The field program's instrument drivers and the openers start-up calls for them. Every driver is created
// here once and lives as long as this object; an opener that fails leaves its driver unconnected, and
// every operation on it then does nothing. The transports are the Qt ones of the program's event loop.

#include "common/clock.h"
#include "common/host.h"
#include "instruments/depth/depth.h"
#include "instruments/display/display.h"
#include "instruments/field/field_config.h"
#include "instruments/gps/gps.h"
#include "instruments/hd_board/hd.h"
#include "instruments/platform/qt_serial_port.h"
#include "instruments/presflow/presflow.h"
#include "instruments/scope/scope.h"
#include "instruments/visa/net_visa.h"
#include "settings/startup/instruments.h"

#include <memory>
#include <string>

namespace zel {

class FieldInstruments final : public InstrumentOpeners {
public:
    // The settings come from the options file at optionsPath (its "Comm" section).
    FieldInstruments(Host& host, const Clock& clock, std::string optionsPath);
    // Settings given rather than read, serial lines included (simulators on pseudo-terminals).
    FieldInstruments(Host& host, const Clock& clock, FieldConfig config);
    ~FieldInstruments() override;

    // Read at construction; the serial lines themselves only once loadSerialPorts() has run (start-up
    // skips it in HD-board mode, and the lines keep their defaults then).
    FieldConfig Config;
    // Milliseconds each data-board port may take to connect.
    int HdConnectTimeoutMs = 3000;

    void loadSerialPorts() override;
    bool openScope(std::string_view address, std::string_view resource) override;
    void setScopeAveraging(int count) override;
    bool openSpectrometer() override;
    bool openHdBoard(std::string_view address) override;
    bool openDepth() override;
    bool openDisplay() override;
    bool openGps() override;
    // The pressure/flow unit on the auxiliary line (hydraulic profiling); not part of every start-up.
    bool openPresFlow();

    // Halts the depth board's stream and the data board's records; the drivers stay.
    void Close();

    cZEL_Scope& Scope() { return *scope_; }
    cZEL_Depth& Depth() { return *depth_; }
    clsHD& HdBoard() { return *hd_; }
    cZEL_GPS& Gps() { return gps_; }
    cZEL_Display_J10& Display() { return *display_; }
    cZEL_PresFlow& PresFlow() { return presFlow_; }

    bool ScopeOpen() const { return scope_->Connected; }
    bool DepthOpen() const { return depthOpen_; }
    bool HdBoardOpen() const { return hd_->Connected(); }
    bool DisplayOpen() const { return displayOpen_; }
    bool GpsOpen() const { return gps_.PortOpen(); }
    bool PresFlowOpen() const { return presFlow_.PortOpen(); }

private:
    void create();
    std::string device(const std::string& port) const;

    Host& host_;
    const Clock& clock_;
    std::string optionsPath_;
    FieldConfig ports_; // the serial lines in use: defaults until loadSerialPorts()
    std::unique_ptr<visa::NetVisa> visa_;
    std::unique_ptr<cZEL_Scope> scope_;
    platform::QtSerialPort depthPort_, displayPort_, gpsPort_, auxPort_;
    platform::QtTimer depthTimer_;
    std::unique_ptr<cZEL_Depth> depth_;
    std::unique_ptr<clsHD> hd_;
    cZEL_GPS gps_;
    cZEL_PresFlow presFlow_;
    std::unique_ptr<cZEL_Display_J10> display_;
    bool depthOpen_ = false;
    bool displayOpen_ = false;
};

} // namespace zel
