#pragma once
// cZEL_Scope: the digitising oscilloscope that records the fluorescence decay, driven through a VISA
// session with fixed command strings in a fixed order. Channel 1 is the laser trigger, channel 2 the
// photomultiplier; every stored waveform is a 500-point channel-2 record scaled to millivolts, smoothed,
// baseline-corrected and tail-trimmed here. Every operation is a no-op until Init has connected.

#include "common/clock.h"
#include "common/host.h"
#include "instruments/visa/visa_session.h"

#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace zel {

class cZEL_Scope {
public:
    // visa may be null: the program then runs as if no VISA library were installed.
    cZEL_Scope(visa::VisaSession* visa, Host& host, const Clock& clock);

    // Fields, in the order the driver has always declared them.
    bool LittleTrigger = false;
    bool BigTrigger = false;
    // True while the session is open and its link is up. A link that broke (the scope restarted, the cable
    // was pulled) makes it false; the session stays open and the next operation tries to connect again
    // (SessionOpen), making it true once the scope answers. A scope found again is set up again (it may have
    // been power-cycled): the default setup, then the averaging, channel-2 scale, delay and trigger mode
    // the program had set.
    bool Connected = false;
    visa::ViSession DefaultRM = 0;
    visa::ViSession Instr = 0;
    std::int32_t RecordLength = 0;
    float Wave_DeltaX = 0.0f;     // seconds
    float HorizontalDelay = 0.0f; // seconds
    float VertScale = 0.0f;       // channel 2, volts per division
    float VertPos = 0.0f;         // channel 2, divisions
    float YOff = 0.0f;            // preamble of the last transfer
    float YMult = 0.0f;
    float YZero = 0.0f;
    std::vector<float> Waveform;             // millivolts, indices 0..RecordLength
    std::array<float, 10> VertScaleLadder{}; // volts per division, most sensitive first
    std::string ScopeAddress;
    std::string ScopeName;

    // The scope options' lower bound on channel 2's scale, millivolts per division. Below 2 mV/div the
    // detector noise fills the screen, so auto-scale stops there unless the options say otherwise.
    float MinVertScale_mV = 2.0f;

    void Init(const std::string& address);
    // For the manual command tool: drive an instrument session opened elsewhere, without the start-up
    // sequence of Init.
    void Attach(visa::ViSession rm, visa::ViSession instrument);
    void Tek_Default();
    void Tek_TriggerLevel(const std::string& scaleText);
    void Tek_BigLittleTrig(bool big, bool little);
    void Tek_Close();
    void Tek_Average(std::int32_t& count);
    void Tek_Trig50Percent(bool quiet);
    void Tek_State_Run();
    // Stops acquiring (the end of a push).
    void Tek_State_Stop();
    void Tek_NumAcq_Get(std::int32_t& result);
    void Tek_StopAfter(bool singleSequence);
    void Tek_Wave_Info();
    // status: 1 = waveform transferred, 2 = time-out or no scope.
    void Tek_Wave_Acq(bool flag, bool autoScale, std::int32_t& status);
    // flag is passed through from the acquisition's callers; the transfer itself does not depend on it.
    // False (reported, Waveform emptied) when the record or its preamble is not a whole, scalable record.
    bool Tek_Wave_Transfer(bool flag, bool autoScale);
    void Tek_DelayTime(float delay, bool readFirst);
    void Tek_SaveWaveInternal(const std::string& source, const std::string& destination);
    void Tek_MessageClear();
    void Tek_Lock(bool lock);
    void Tek_DataSource(const std::string& channel);
    void Tek_VertScale(const std::string& channel, float voltsPerDiv);
    void Tek_ChOn(const std::string& channel, bool on);
    void Tek_ChControl(const std::string& channel);
    void Tek_TriggerView();
    void PhosphMode(bool on);
    void Tek_ScaleStep(std::int32_t steps);

    // The manual command form: a command as it stands, and single replies of up to 256 bytes.
    void Write(const std::string& command);
    bool QueryText(const std::string& command, std::string& result);
    bool QueryInt(const std::string& command, std::int32_t& result);
    bool QuerySingle(const std::string& command, float& result);

    // The fields of the *IDN? reply, upper-cased, and the number picked out of ScopeName.
    const std::vector<std::string>& IdnFields() const { return idn_; }
    const std::string& ScopeNumber() const { return scopeNumber_; }
    // Init (or Attach) opened the session and Tek_Close has not closed it: operations are attempted.
    bool SessionOpen() const { return sessionOpen_; }

private:
    // The raw I/O under every operation; a failure is reported with the location and false returned.
    bool send(std::string_view command, std::string_view location);
    bool ask(std::string_view command, std::string& reply, std::string_view location);
    void ErrorHandler(visa::ViStatus status, std::string_view location);
    void reportError(const std::string& description, std::string_view location);
    void initError(visa::ViStatus status, int line);

    visa::VisaSession* visa_;
    Host& host_;
    const Clock& clock_;
    std::vector<std::string> idn_;
    std::string scopeNumber_;
    void updateLinkState();
    void restoreSetup();

    bool quietErrors_ = false; // set while a wait has already reported its failure
    bool sessionOpen_ = false;
    bool restoring_ = false;
    std::int32_t averages_ = 64;
};

} // namespace zel
