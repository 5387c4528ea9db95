#pragma once
// cZEL_Depth: the probe depth (feet and metres side by side), the push rate and the auxiliary analogue
// values from the depth source: the interface board on a serial line, the AD4 counter, or the emulator.
// Serial data and timer ticks arrive as events on the one program thread.

#include "common/clock.h"
#include "common/host.h"
#include "instruments/depth/depth_rate.h"
#include "instruments/transport/serial_port.h"

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

namespace zel {

enum class DepthSource { Emulate = 0, Interface = 1, AD4 = 2, PCU = 3, CAN = 4 };

class cZEL_Depth {
public:
    // Serial port numbers of the options become device paths through portPath.
    cZEL_Depth(Host& host, const Clock& clock, SerialPort& port, PeriodicTimer& timer,
               std::function<std::string(int)> portPath);

    // Properties, feet and metre forms together: setting one sets the other.
    int TimeMode = 0;
    float RefVolt = 5.0f;
    bool DepthPause = false;
    bool EmulatePause = false;
    bool UpAcquire = false;
    bool PortOpen = false;
    float RodLength_Ft() const { return rodLengthFt_; }
    void RodLength_Ft(float v);
    float RodLength_M() const { return rodLengthFt_ / kFeetPerMetre; }
    void RodLength_M(float v);
    // Feet from the probe's depth to the pressure/flow port, added to the depth for that channel.
    float PF_Offset = 0;
    float Offset_Ft() const { return offsetFt_; }
    void Offset_Ft(float v);
    float Offset_M() const { return offsetFt_ / kFeetPerMetre; }
    void Offset_M(float v);
    bool Cyclic = false;
    int Rate_Num2Avg = 5;
    bool Int_A0_Enable = true;
    bool Int_A1_Enable = true;
    bool Int_Din_Enable = false;
    float Int_CalVal = 0;
    // Conductivity (mS/m) = Cond_Offset + Cond_Constant V + Cond_Constant2 V^2, the curve the calibration
    // in the standard solutions fits (analysis/cond_cal.h); Cond_Constant2 0 is a straight line.
    float Cond_Constant = 1;
    float Cond_Offset = 0;
    float Cond_Constant2 = 0;
    float Conductivity = 0;
    std::int32_t Int_UpdateTimeMS = 333;
    float AD4_CountsPerFt = 1000;
    float PCU_Factor = 1;
    float FCE_Factor = 1;
    int FCE_ID = 0;
    int CommPort = 1;
    int CommPort2nd = 0;
    bool StatusOK = false;
    float Depth_Current_Ft() const { return currentFt_; }
    float Depth_Current_M() const { return currentFt_ / kFeetPerMetre; }
    float Depth_Raw_Ft() const { return rawFt_; }
    float Depth_Raw_M() const { return rawFt_ / kFeetPerMetre; }
    float Depth_Max_Ft() const { return maxFt_; }
    float Depth_Max_M() const { return maxFt_ / kFeetPerMetre; }
    float Cond_Raw = 0;
    float Emulate_TimeDelta_s = 1;
    float Emulate_DepthDelta_Ft() const { return emulateStepFt_; }
    void Emulate_DepthDelta_Ft(float v) { emulateStepFt_ = v; }
    float Emulate_DepthDelta_M() const { return emulateStepFt_ / kFeetPerMetre; }
    void Emulate_DepthDelta_M(float v) { emulateStepFt_ = v * kFeetPerMetre; }
    float Rate_In = 0;
    float Rate_Cm = 0;
    // Hammer blows per inch and per centimetre over the last depth advance, and the blow counter's value
    // that counts as zero (taken at Push_Begin).
    float Blows_In = 0;
    float Blows_Cm = 0;
    float Blow_Offset = 0;
    float Int_A0_Value = 0;
    float Int_A1_Value = 0;
    std::int32_t Int_Counter_Value = 0;
    std::int32_t Int_Counter_Change = 0;
    int Int_Din_Value = 0;
    float RefVolt_HD = 3.18f;

    // The input after the digital input, streamed with register 19.
    bool Int_Din2_Enable = false;
    // The network data board supplies the analogue reference.
    bool UseHdReference = false;
    // The program runs without hardware: commands are not sent, and "M" measures locally.
    bool NoHardware = false;
    // The last "Er:" report of the source, kept apart from the readings.
    std::string LastError;
    // The last 16-bit values of the "U", "I" and "N" channel lines.
    int Int_Channel_Value(char channel) const;
    // Seconds since midnight of the last counter change.
    double Int_Counter_Time = 0;
    // Readings taken from the source since it was opened (board lines, AD4 frames, emulation steps), moving
    // or not: a source that is open but silent keeps this still.
    long long Readings = 0;
    // Hammer blows counted by the board (the "N" channel, unwrapped) less Blow_Offset.
    float Blows_Count() const { return static_cast<float>(blowTotal_) - Blow_Offset; }
    // The depth of the pressure/flow channel: the current depth plus PF_Offset.
    float Depth_PF_Ft() const { return currentFt_ + PF_Offset; }
    float Depth_PF_M() const { return Depth_PF_Ft() / kFeetPerMetre; }

    std::function<void()> NewDepth;
    std::function<void()> CounterClear;

    bool Init(int source, int port, int port2nd, bool reinitialise);
    bool Init_Int(int port, bool keep);
    bool Init_AD4(int port);
    bool Init_PCU(int port);
    bool Init_FCE(int port);
    void Init_Emulate(bool metric);
    void Close();

    void Push_Begin();
    void Push_End();
    void Emulate_Play();
    void Emulate_Pause();
    void Emulate_Increment();

    void OnComm();
    void OnComm_AD4();
    void OnComm_Int();
    void TimerEvent();

    void Int_StreamStart();
    void Int_StreamHalt();
    void Int_CounterClear();
    void AD4_Zero();
    // Starts (zeroing the count first) or stops the AD4 counter's frame timer.
    void AD4_TimerEnable(bool on);
    // Sends one board command: the text, a carriage return, then the board's 100 ms.
    void Int_Command(std::string_view command);

    float EC_VtoMS(float volts) const;
    float String_VtoFt(float volts);

    DepthSource Source() const { return source_; }
    // Text handed to the receive handlers as if it had arrived, for callers without a port.
    void AddText(std::string_view text);

    static constexpr float kFeetPerMetre = 3.28084f;

private:
    bool openPort(int port, std::string_view settings);
    void intLine(std::string_view line);
    void ad4Frames();
    // A new sensor depth in feet, before the offset; announced unless a later line of the same reading
    // (the board's counter) does that.
    void setRawDepth(float feet, bool announce = true);
    void reportError(std::string_view handler, std::string_view step, std::string_view what);
    void blowCounter(std::uint16_t value);
    // Blows per inch since the last advance; called where a new depth is announced.
    void updateBlows();

    Host& host_;
    const Clock& clock_;
    SerialPort& port_;
    PeriodicTimer& timer_;
    std::function<std::string(int)> portPath_;

    DepthSource source_ = DepthSource::Emulate;
    float rodLengthFt_ = 5;
    float offsetFt_ = 0;
    float rawFt_ = 0;
    float currentFt_ = 0;
    float maxFt_ = 0;
    float emulateStepFt_ = 0.1f;
    float stringFactor_ = 0;
    float lastTravelFt_ = 0;
    int rods_ = 0;
    bool haveCounter_ = false;
    int channelU_ = 0, channelI_ = 0, channelN_ = 0;
    std::int32_t ad4Zero_ = 0;
    bool haveBlows_ = false;
    std::uint16_t lastBlowValue_ = 0;
    long long blowTotal_ = 0;
    bool haveBlowBase_ = false;
    float blowBaseCount_ = 0;
    float blowBaseFt_ = 0;
    std::string carry_;
    DepthRate rate_;
};

} // namespace zel
