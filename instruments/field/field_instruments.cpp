#include "instruments/field/field_instruments.h"

#include "instruments/platform/qt_byte_stream.h"
#include "instruments/platform/qt_tcp_link.h"
#include "instruments/visa/resource.h"

#include <charconv>

namespace zel {

FieldInstruments::FieldInstruments(Host& host, const Clock& clock, std::string optionsPath)
    : Config(loadFieldConfig(optionsPath)), host_(host), clock_(clock), optionsPath_(std::move(optionsPath)),
      gps_(clock), presFlow_(clock) {
    create();
}

FieldInstruments::FieldInstruments(Host& host, const Clock& clock, FieldConfig config)
    : Config(std::move(config)), host_(host), clock_(clock), ports_(Config), gps_(clock), presFlow_(clock) {
    create();
}

void FieldInstruments::create() {
    visa_ = std::make_unique<visa::NetVisa>(platform::qtByteStreamFactory(),
                                            visa::NetVisaOptions{Config.scopePortmap, 2000});
    scope_ = std::make_unique<cZEL_Scope>(visa_.get(), host_, clock_);
    depth_ = std::make_unique<cZEL_Depth>(host_, clock_, depthPort_, depthTimer_,
                                          [this](int) { return device(ports_.depthPort); });
    hd_ = std::make_unique<clsHD>(host_, clock_, platform::qtTcpLinkFactory());
    display_ = std::make_unique<cZEL_Display_J10>(host_, displayPort_);
}

FieldInstruments::~FieldInstruments() {
    Close();
}

std::string FieldInstruments::device(const std::string& port) const {
    return serialDevice(port, optionsPath_);
}

void FieldInstruments::loadSerialPorts() {
    ports_.depthPort = Config.depthPort;
    ports_.auxPort = Config.auxPort;
    ports_.displayPort = Config.displayPort;
    ports_.gpsPort = Config.gpsPort;
}

bool FieldInstruments::openScope(std::string_view, std::string_view resource) {
    const auto r = visa::parseResource(resource);
    if (!r || r->kind != visa::Resource::Kind::Instr) return false;
    scope_->Init(r->host);
    return scope_->Connected;
}

void FieldInstruments::setScopeAveraging(int count) {
    std::int32_t n = count;
    scope_->Tek_Average(n);
}

// Colour mode's spectrometer has no driver in this program.
bool FieldInstruments::openSpectrometer() {
    host_.message("The spectrometer of colour mode is not supported by this program.");
    return false;
}

bool FieldInstruments::openHdBoard(std::string_view address) {
    const auto& p = Config.hdPorts;
    if (!hd_->Connect(std::string(address), {p[0], p[1], p[2]}, HdConnectTimeoutMs)) {
        hd_->Close();
        return false;
    }
    hd_->Stat(0);
    return hd_->Connected();
}

bool FieldInstruments::openDepth() {
    cZEL_Depth& d = *depth_;
    d.Int_CalVal = Config.stringPotCal;
    d.Int_UpdateTimeMS = Config.depthUpdateMs;
    d.AD4_CountsPerFt = Config.ad4CountsPerFt;
    d.Cond_Constant = Config.condConstant;
    d.Cond_Offset = Config.condOffset;
    d.Cond_Constant2 = Config.condConstant2;
    d.UseHdReference = Config.hdReference;
    const auto number = [](const std::string& text, int fallback) {
        int v = fallback;
        const auto r = std::from_chars(text.data(), text.data() + text.size(), v);
        return r.ec == std::errc{} && r.ptr == text.data() + text.size() ? v : fallback;
    };
    depthOpen_ = d.Init(Config.depthSource, number(ports_.depthPort, 1), number(ports_.auxPort, 0), false);
    if (depthOpen_ && d.Source() == DepthSource::Interface) d.Int_StreamStart();
    return depthOpen_;
}

bool FieldInstruments::openDisplay() {
    display_->AnsiTerminal = Config.displayAnsi;
    const std::string path = device(ports_.displayPort);
    displayOpen_ = display_->Open(path);
    if (!displayOpen_)
        host_.message("Field display: cannot open " + path + " (" + display_->StatusText + ")");
    else
        display_->Show_Ready();
    return displayOpen_;
}

bool FieldInstruments::openGps() {
    const std::string path = device(ports_.gpsPort);
    if (gps_.Open(gpsPort_, path, Config.gpsSettings)) return true;
    host_.message("GPS: cannot open " + path + " (" + gpsPort_.errorText() + ")");
    return false;
}

bool FieldInstruments::openPresFlow() {
    const std::string path = device(ports_.auxPort);
    if (presFlow_.Open(auxPort_, path)) return true;
    host_.message("Pressure/flow unit: cannot open " + path + " (" + auxPort_.errorText() + ")");
    return false;
}

void FieldInstruments::Close() {
    if (depthOpen_ && depth_->Source() == DepthSource::Interface) depth_->Int_StreamHalt();
    depth_->Close();
    depthOpen_ = false;
    if (hd_->Connected()) hd_->Stop();
    hd_->Close();
    gps_.Close();
    presFlow_.Close();
    if (displayOpen_) display_->Close();
    displayOpen_ = false;
}

} // namespace zel
