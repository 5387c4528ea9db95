#pragma once
// What acquisition needs of the instruments, as small interfaces of its own: the push logic runs against
// fakes in the tests and against the field drivers through adapters in the program's wiring. Every call
// on an absent device does nothing and reports failure, as the drivers do.

#include "log/hd_stream.h"
#include "waveform/waveform_record.h"

#include <array>
#include <optional>
#include <string>
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
    // The live input's vertical scale, millivolts a division (the RE is taken at the RE scale).
    virtual void SetVerticalScale(float millivoltsPerDivision) = 0;
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

// The network data board. InUse() false means the oscilloscope alone paces the push; Digitiser() (HD-board
// mode) means there is no oscilloscope: the board's records are the points.
class Board {
public:
    virtual ~Board() = default;
    virtual bool InUse() const = 0;
    virtual bool Digitiser() const = 0;
    // The data-select mask the board streams during a push.
    virtual int PushMask() const = 0;
    // The columns of the record just triggered, by board column; nullopt when none came.
    virtual std::optional<HdBoardValues> LastRecord() = 0;
    // The four integrated channel values of the probe as it is now (the RE or the background), averaged
    // over a few records; nullopt when the board sent none.
    virtual std::optional<HdChannels> ReadChannels() = 0;
    virtual void EnterReferenceState() = 0;
    virtual FirmwareVersion Firmware() = 0;
    // The push on the board: it triggers the points and digitises the auxiliary values.
    virtual void StartPush() = 0;
    virtual void StopPush() = 0;
    virtual void WaitTrigger() = 0;
    // Conductivity and the analogue channels of the point just triggered.
    virtual std::array<float, 2> AuxValues() = 0;
};

class DepthSource {
public:
    virtual ~DepthSource() = default;
    virtual bool StatusGood() = 0;
};

// The depth source during a push. Depths and rates are in the log's unit (feet or metres; in/s or cm/s).
class PushDepth : public DepthSource {
public:
    // The start of a push: the source's push counters start again and, with a start depth, it reads that
    // depth from here on. None: it keeps its reading.
    virtual void Reset(std::optional<float> startDepth) = 0;
    // Polls the source; the source keeps its own step logic and decides when the depth advances.
    virtual void Read() = 0;
    virtual float Current() = 0;
    virtual float Rate() = 0;
    virtual float Conductivity() = 0;
    // 0 emulation, 2 stepped read-back; anything else a live encoder.
    virtual int Mode() = 0;
    // Stepped read-back (mode 2): the step the encoder stored for the depth it reports (the counter's
    // count), read back so the point carries it. Asked only in mode 2.
    virtual float StoredStep() = 0;
    virtual bool EndOfPush() = 0;
    virtual void Pause() = 0;
    virtual void Resume() = 0;
    // The depth at which the automatic stop ends the push.
    virtual float StopDepth() = 0;
    // The timed variant hands its interval to the source as a per-minute rate.
    virtual void SetRatePerMinute(double rate) = 0;
    virtual void StopEmulation() = 0;
};

struct Position {
    double latitude = 0.0;
    double longitude = 0.0;
    bool valid = false;
};

class Gps {
public:
    virtual ~Gps() = default;
    virtual Position Current() = 0;
};

// One reading of the hydraulic-profiling unit: its clock (s since the push's start), the upward and downward
// pressures (PSI) and the upward flow (mL/min).
struct PresFlowReading {
    float timeS = 0.0f;
    float presUp = 0.0f;
    float presDown = 0.0f;
    float flow = 0.0f;
};

// The pressure/flow unit of a hydraulic-profiling push. InUse() false: the push logs no pressure or flow.
class PresFlowUnit {
public:
    virtual ~PresFlowUnit() = default;
    virtual bool InUse() const = 0;
    // The push's start: the unit's clock counts from here, its pump runs and its readings stream.
    virtual void StartPush() = 0;
    virtual void StopPush() = 0;
    // The latest reading; none while the unit is not answering.
    virtual std::optional<PresFlowReading> Current() = 0;
    // The running average of the latest downward pressures (PSI), 0 before the first reading.
    virtual double AveragePresDown() = 0;
    // Injection on or off: a dissipation test stops the flow so the pore pressure can settle.
    virtual void SetFlow(bool on) = 0;
};

class FieldDisplay {
public:
    virtual ~FieldDisplay() = default;
    virtual void ShowText(std::string_view text) = 0;
    virtual void ShowPoint(float depth, float signal) = 0;
    virtual void ShowPause(bool paused) = 0;
};

} // namespace zel::acq
