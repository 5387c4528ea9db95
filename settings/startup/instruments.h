#pragma once
// How start-up opens the instruments. Each call opens one driver and says whether its device answered; the
// drivers keep their own connected flag, so nothing else has to be told about a device that is absent.
// The field program's openers, over the real drivers, are FieldInstruments (instruments/field).

#include <string_view>

namespace zel {

class InstrumentOpeners {
public:
    virtual ~InstrumentOpeners() = default;

    // The serial ports of the depth encoder, field display, GPS and auxiliary line, from the options.
    virtual void loadSerialPorts() = 0;
    virtual bool openScope(std::string_view address, std::string_view resource) = 0;
    virtual void setScopeAveraging(int count) = 0;
    // Also loads the colour reference files.
    virtual bool openSpectrometer() = 0;
    virtual bool openHdBoard(std::string_view address) = 0;
    virtual bool openDepth() = 0;
    virtual bool openDisplay() = 0;
    virtual bool openGps() = 0;
};

// A program without instrument drivers: every device is absent, which is also what a PC without the
// instruments sees.
class NoInstruments : public InstrumentOpeners {
public:
    void loadSerialPorts() override {}
    bool openScope(std::string_view, std::string_view) override { return false; }
    void setScopeAveraging(int) override {}
    bool openSpectrometer() override { return false; }
    bool openHdBoard(std::string_view) override { return false; }
    bool openDepth() override { return false; }
    bool openDisplay() override { return false; }
    bool openGps() override { return false; }
};

} // namespace zel
