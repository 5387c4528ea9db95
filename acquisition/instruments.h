#pragma once
// What acquisition needs of the instruments, as small interfaces of its own: the push logic runs against
// fakes in the tests and against the field drivers through adapters in the program's wiring. Every call
// on an absent device does nothing and reports failure, as the drivers do.

#include "waveform/waveform_record.h"

#include <string_view>

namespace zel::acq {

class Scope {
public:
    virtual ~Scope() = default;
    // Reads the oscilloscope's set-up (record length, scales) ahead of an acquisition.
    virtual void ReadSetup() = 0;
    // One waveform from a source: "CH2" (the live fluorescence input) or a reference memory "REF1".."REF4".
    // False when nothing usable came back.
    virtual bool Acquire(std::string_view source, Waveform& wave) = 0;
    // Copies a source into a reference memory.
    virtual void StoreReference(std::string_view source, std::string_view memory) = 0;
    // 1 means good.
    virtual int Status() = 0;
    // Horizontal delay in seconds.
    virtual double Delay() = 0;
    virtual void SetDelay(double seconds) = 0;
    // Starts and stops the acquiring of the push.
    virtual void StartPush() = 0;
    virtual void StopPush() = 0;
};

struct FirmwareVersion {
    int major = 0;
    int minor = 0;
    int patch = 0;
    int number() const { return major * 10000 + minor * 100 + patch; }
};

// The network data board. InUse() false means the oscilloscope alone paces the push.
class Board {
public:
    virtual ~Board() = default;
    virtual bool InUse() const = 0;
    virtual void EnterReferenceState() = 0;
    virtual FirmwareVersion Firmware() = 0;
};

class DepthSource {
public:
    virtual ~DepthSource() = default;
    virtual bool StatusGood() = 0;
};

} // namespace zel::acq
