#include "instruments/scope/scope.h"

#include "common/number_text.h"

#include <algorithm>

namespace zel {

void cZEL_Scope::Tek_TriggerLevel(const std::string& scaleText) {
    if (!sessionOpen_) return;
    send(":CH1:SCA " + scaleText, "TriggerLevel");
}

void cZEL_Scope::Tek_BigLittleTrig(bool big, bool little) {
    if (!sessionOpen_) return;
    const char* const* commands;
    static const char* const bigMode[] = {":TRIGGER:A:EDGE:SOURCE CH1;COUPLING LFRej", ":CH1:SCA 1.0",
                                          ":TRIGGER:A:LEVEL 3.0"};
    static const char* const littleMode[] = {":TRIGGER:A:EDGE:SOURCE CH1;COUPLING DC", ":CH1:SCA 0.02",
                                             ":TRIGGER:A:LEVEL 0.04"};
    static const char* const normalMode[] = {":TRIGGER:A:EDGE:SOURCE CH1;COUPLING DC", ":CH1:SCA 0.05",
                                             ":TRIGGER:A:LEVEL 0.1"};
    commands = big ? bigMode : little ? littleMode : normalMode;
    for (int i = 0; i < 3; ++i)
        send(commands[i], "BigLittleTrig");
    BigTrigger = big;
    LittleTrigger = little;
}

void cZEL_Scope::Tek_Average(std::int32_t& count) {
    if (!sessionOpen_) return;
    for (int i = 1; i <= 9; ++i)
        if ((1 << i) >= count) {
            count = 1 << i;
            break;
        }
    count = std::clamp(count, 2, 512);
    averages_ = count;
    send(":ACQ:MOD AVE;NUMAV " + shortestText(count), "Average");
}

void cZEL_Scope::Tek_Trig50Percent(bool quiet) {
    if (!sessionOpen_) return;
    if (!send(":TRIG:A:SETL", "Trig50Percent")) return;
    float level = 0.0f;
    if (!QuerySingle(":TRIG:A:LEV?", level)) return;
    if (level <= 0.03f && !quiet)
        host_.message("Trigger level is very low or not present. Investigate problem.", MsgButtons::Ok,
                      MsgIcon::Exclamation);
}

void cZEL_Scope::Tek_State_Run() {
    if (!sessionOpen_) return;
    send(":ACQ:STATE RUN", "State_Run");
}

void cZEL_Scope::Tek_State_Stop() {
    if (!Connected) return;
    send(":ACQ:STATE STOP", "State_Stop");
}

void cZEL_Scope::Tek_NumAcq_Get(std::int32_t& result) {
    if (!sessionOpen_) return;
    QueryInt("ACQ:NUMAC?", result);
}

void cZEL_Scope::Tek_StopAfter(bool singleSequence) {
    if (!sessionOpen_) return;
    send(singleSequence ? ":ACQ:STOPA SEQ" : ":ACQ:STOPA RUNST", "StopAfter");
}

void cZEL_Scope::Tek_DelayTime(float delay, bool readFirst) {
    if (!sessionOpen_) return;
    if (readFirst) {
        float current = HorizontalDelay;
        if (QuerySingle("HORizontal:DELay:TIMe?", current)) HorizontalDelay = current;
    }
    send(":HOR:DEL:TIM " + shortestText(delay), "DelayTime");
    HorizontalDelay = delay;
}

void cZEL_Scope::Tek_SaveWaveInternal(const std::string& source, const std::string& destination) {
    if (!sessionOpen_) return;
    send(":SAV:WAVE " + source + "," + destination, "SaveWaveInternal");
}

void cZEL_Scope::Tek_MessageClear() {
    if (!sessionOpen_) return;
    send(":MESS:CLEAR;STATE OFF", "MessageClear");
}

void cZEL_Scope::Tek_Lock(bool lock) {
    if (!sessionOpen_) return;
    send(lock ? "LOC ALL" : "LOC NON", "Lock");
}

void cZEL_Scope::Tek_DataSource(const std::string& channel) {
    if (!sessionOpen_) return;
    send(":DATA:SOU " + channel, "DataSource");
}

void cZEL_Scope::Tek_VertScale(const std::string& channel, float voltsPerDiv) {
    if (!sessionOpen_) return;
    send(":" + channel + ":SCA " + shortestText(voltsPerDiv), "VertScale");
    VertScale = voltsPerDiv;
}

void cZEL_Scope::Tek_ChOn(const std::string& channel, bool on) {
    if (!sessionOpen_) return;
    send(":SELECT:" + channel + (on ? " ON" : " OFF"), "ChOn");
}

void cZEL_Scope::Tek_ChControl(const std::string& channel) {
    if (!sessionOpen_) return;
    send(":SELECT:CONTRO " + channel, "ChControl");
}

void cZEL_Scope::Tek_TriggerView() {
    if (!sessionOpen_) return;
    float delay = HorizontalDelay;
    QuerySingle("HORizontal:DELay:TIMe?", delay);
    Tek_ChControl("CH1");
    Tek_DelayTime(delay, false);
    host_.message("Displaying trigger channel. Ok to exit this mode", MsgButtons::Ok);
    Tek_ChControl("CH2");
    Tek_ChOn("CH1", false);
    Tek_DelayTime(delay, false);
}

void cZEL_Scope::PhosphMode(bool on) {
    if (!sessionOpen_) return;
    if (on) {
        // One megohm and a 2 ms window: phosphorescence decays far slower than fluorescence.
        for (const char* c : {":CH2:IMP MEG", ":HOR:MAI:SCA 200E-6", ":HOR:DEL:TIM 792E-6"})
            send(c, "PhosphMode");
    } else {
        for (const char* c : {":CH2:IMP FIF", ":HOR:MAI:SCA 40E-9"})
            send(c, "PhosphMode");
        send(":HOR:DEL:TIM " + shortestText(HorizontalDelay), "PhosphMode");
    }
}

} // namespace zel
