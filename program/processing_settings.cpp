#include "program/processing_settings.h"

#include "settings/startup/modes.h"

#include <cctype>
#include <string>
#include <utility>

namespace zel::program {

namespace {

// A probe name without its trade-mark sign and case: logs keep "Alder" plus the sign in the code page of
// the machine that wrote them, the table in its own.
std::string plainName(std::string_view name) {
    std::string plain;
    for (unsigned char c : name)
        if (c < 0x80 && std::isalnum(c)) plain += static_cast<char>(std::tolower(c));
    return plain;
}

} // namespace

bool GatedMode(int mode) {
    const ModeEntry* e = findMode(mode);
    return e && std::string_view(e->labels[0]) == "Sctr";
}

int LogMode(int modeId, std::string_view modeText, int programMode) {
    if (modeId > 0 && modeId <= kMaxMode) return modeId;
    const std::string name = plainName(modeText);
    if (name.empty()) return programMode;
    for (const ModeEntry& e : modeTable())
        if (plainName(e.model) == name) return e.mode;
    // A ModeID of 0 written beside a probe the table does not know is still mode 0.
    return 0;
}

ProcessingSettings DeriveProcessing(int mode, const ProcessingSetup& setup, int reBoundaries,
                                    int firmwareVersion) {
    ProcessingSettings s;
    s.mode = mode;
    s.acqType = GatedMode(mode) ? 1 : 0;
    s.channelCount = reBoundaries == 6 ? 6 : 3;
    s.firmwareVersion = firmwareVersion;
    s.setup = setup;
    return s;
}

PointProcessingSetup ProcessingSettings::forPoints() const {
    PointProcessingSetup p;
    p.options = setup.options;
    p.acqType = acqType;
    p.channelCount = channelCount;
    p.widthLimit = setup.widthLimit;
    p.gain = setup.gain;
    p.exclude = setup.exclude;
    p.excludeCH1 = setup.excludeCH1;
    p.ch1Correction = setup.ch1Correction;
    p.firmwareVersion = firmwareVersion;
    return p;
}

void ProcessingSettings::applyTo(cZEL_Waveform& w) const {
    w.Options = setup.options;
    w.Mode = mode;
    w.AcqType = acqType;
    w.FirmwareVersion = firmwareVersion;
    w.WidthLimit = setup.widthLimit;
    w.Gain = setup.gain;
    w.Exclude = setup.exclude;
    w.ExcludeCH1 = setup.excludeCH1;
    w.CH1Correction = setup.ch1Correction;
}

PointProcessingSetup LoadProcessing(const ProcessingSetup& setup, int programMode, int firmwareVersion) {
    PointProcessingSetup p = DeriveProcessing(programMode, setup, 3, firmwareVersion).forPoints();
    p.forLog = [setup, programMode, firmwareVersion](PointProcessingSetup& into, const cZEL_Data& log,
                                                     const RawLogContext& ctx) {
        const int mode = LogMode(ctx.modeId, log.mode(), programMode);
        // A log keeps its channel count; seven channels are six boundaries.
        const int boundaries = ctx.channels > 4 ? 6 : 3;
        PointProcessingSetup derived = DeriveProcessing(mode, setup, boundaries, firmwareVersion).forPoints();
        // This very hook stays where it is (it is running); only the settings are replaced.
        derived.forLog = nullptr;
        std::swap(derived.forLog, into.forLog);
        into = std::move(derived);
    };
    return p;
}

} // namespace zel::program
