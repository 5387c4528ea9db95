#include "instruments/scope/scope.h"

#include "common/date_time.h"
#include "common/number_text.h"

#include <algorithm>
#include <cctype>

namespace zel {

namespace {
const char* const kBanner = "ZEL comm established, loading default settings...";
const char* const kNamePlaceholder = ":ZEL0000:*";

std::string quoted(std::string_view s) {
    return "\"" + std::string(s) + "\"";
}

std::string upper(std::string s) {
    std::transform(s.begin(), s.end(), s.begin(), [](unsigned char c) { return std::toupper(c); });
    return s;
}

std::vector<std::string> splitCommas(const std::string& s) {
    std::vector<std::string> parts;
    std::size_t pos = 0;
    while (true) {
        const std::size_t at = s.find(',', pos);
        parts.push_back(s.substr(pos, at - pos));
        if (at == std::string::npos) return parts;
        pos = at + 1;
    }
}

// The scope's name carries its unit number; it is read two characters at a time and the pairs that are
// both digits make up the number ("ZELSCOPE07" -> "07").
std::string numberInName(const std::string& name) {
    std::string number;
    for (std::size_t i = 0; i + 1 < name.size(); i += 2)
        if (std::isdigit(static_cast<unsigned char>(name[i])) &&
            std::isdigit(static_cast<unsigned char>(name[i + 1])))
            number += name.substr(i, 2);
    return number;
}

// The name as the scope states it, without a command header (a scope left with HEADER ON answers
// ':ETHERNET:NAME "..."'), blanks and quotes.
std::string nameFromReply(std::string reply) {
    if (!reply.empty() && reply.front() == ':') {
        const auto blank = reply.find(' ');
        reply = blank == std::string::npos ? std::string() : reply.substr(blank + 1);
    }
    const auto b = reply.find_first_not_of(" \t\r\n\"");
    if (b == std::string::npos) return {};
    return reply.substr(b, reply.find_last_not_of(" \t\r\n\"") - b + 1);
}
} // namespace

void cZEL_Scope::initError(visa::ViStatus status, int line) {
    const std::string description = visa_ ? visa_->statusDesc(Instr, status) : std::string();
    host_.message("Err: " + std::to_string(status) + " " + description + "  Line: " + std::to_string(line) +
                      " of cZEL_Scope:Init)",
                  MsgButtons::Ok, MsgIcon::Critical);
}

namespace {
const std::array<float, 10> kLadder = {0.001f, 0.002f, 0.005f, 0.01f, 0.02f, 0.05f, 0.1f, 0.2f, 0.5f, 1.0f};
}

void cZEL_Scope::Init(const std::string& address) {
    VertScaleLadder = kLadder;
    Connected = sessionOpen_ = false;
    ScopeAddress = address;
    if (!visa_) {
        host_.message("Err 53: VISA (scope communication) not found", MsgButtons::Ok, MsgIcon::Critical);
        return;
    }
    visa::ViStatus st = visa_->openDefaultRM(DefaultRM);
    if (st < 0) return initError(st, 2);

    st = visa_->open(DefaultRM, "TCPIP::" + address + "::INSTR", visa::VI_NO_LOCK, 0, Instr);
    if (st < 0)
        st = visa_->open(DefaultRM, "TCPIP::" + address + "::gpib0,2::INSTR", visa::VI_NO_LOCK, 0, Instr);
    // From here a failing VISA call is a scope problem, not a missing library: the status handler
    // reports it ("Scope not found." when neither resource answers) and the scope stays unconnected.
    if (st < 0) {
        ErrorHandler(st, "Init");
        visa_->close(DefaultRM);
        return;
    }
    const auto giveUp = [this](visa::ViStatus status) {
        ErrorHandler(status, "Init");
        visa_->close(Instr);
        visa_->close(DefaultRM);
        Instr = DefaultRM = 0;
    };
    for (const std::uint32_t attribute : {visa::VI_ATTR_WR_BUF_OPER_MODE, visa::VI_ATTR_RD_BUF_OPER_MODE}) {
        st = visa_->setAttribute(Instr, attribute, visa::VI_FLUSH_ON_ACCESS);
        if (st < 0) return giveUp(st);
    }

    std::uint32_t written = 0;
    for (const char* command : {":DESE 0", "*ESE 0", "*SRE 0", "*CLS", "CLEARM"}) {
        st = visa_->write(Instr, command, written);
        if (st < 0) return giveUp(st);
    }
    st = visa_->write(Instr, ":MESS:BOX 50,200,500,250;SHOW " + quoted(kBanner) + ";STATE ON", written);
    if (st < 0) return giveUp(st);

    std::string reply;
    if ((st = visa_->write(Instr, "*IDN?", written)) < 0 || (st = visa_->read(Instr, reply, 256)) < 0)
        return giveUp(st);
    idn_.clear();
    for (const std::string& field : splitCommas(reply))
        idn_.push_back(upper(nameFromReply(field)));
    if ((st = visa_->write(Instr, ":ETHER:NAME?", written)) < 0 || (st = visa_->read(Instr, reply, 256)) < 0)
        return giveUp(st);
    ScopeName = nameFromReply(reply);
    if (ScopeName.size() < 5) {
        ScopeName = kNamePlaceholder;
        host_.message("Set scope name on scope (utility > system i/o > ethernet setting", MsgButtons::Ok);
    }
    scopeNumber_ = numberInName(ScopeName);
    Connected = sessionOpen_ = true;
    Tek_Default();
}

void cZEL_Scope::Attach(visa::ViSession rm, visa::ViSession instrument) {
    VertScaleLadder = kLadder;
    DefaultRM = rm;
    Instr = instrument;
    Connected = sessionOpen_ = visa_ != nullptr;
}

void cZEL_Scope::Tek_Default() {
    if (!sessionOpen_) return;
    const DateTime now = clock_.now();
    const auto w = [this](const std::string& command) { send(command, "Default"); };
    w(":DATE " + quoted(formatDateTime(now, "yyyy-mm-dd")));
    w(":TIME " + quoted(formatDateTime(now, "hh:nn:ss")));
    w(":SELECT:CH1 OFF;CH2 ON;REF1 OFF; REF2 OFF; REF3 OFF; REF4 OFF; MATH OFF");
    w(":SELECT:CONTROL CH2");
    std::string trigScale = "0.05";
    if (LittleTrigger) trigScale = "0.02";
    if (BigTrigger) trigScale = "1";
    w(":CH1:BAN FUL;COUP DC;DESK 0;IMP MEG;INV OFF;OFFS 0;POS -3.5;SCA " + trigScale + ";YUNIT " +
      quoted("V"));
    w(":CH2:BAN FUL;COUP DC;DESK 0;IMP FIF;INV ON;OFFS 0;POS -3.5;YUNIT " + quoted("V"));
    VertPos = -3.5f;
    Tek_VertScale("CH2", 0.05f);
    w(":CURS:FUNC OFF;");
    w(":DATA:ENC RIB;SOU CH2;STAR 1;STOP 500;WID 2");
    RecordLength = 500;
    for (const char* c :
         {":DIS:FORM YT;GRA GRI;PERS 0.05;CLOCK 1", ":DIS:INTENSIT:BACKL HIGH;WAVE 100", ":DIS:STY:DOT OFF",
          ":DIS:COL:PALE:REG NORM", ":DISPLAY:XY:MODE OFF;YCHANNEL CH2;YREF OFF", ":HEAD OFF"})
        w(c);
    for (const char* c : {":HORIZONTAL:RESOLUTION LOW;TRIGGER:POSITION 0.0E0", ":HOR:DEL:STATE ON",
                          ":HOR:MAI:SCA 40E-9", ":HOR:RECORDL 500", ":HOR:DEL:TIM 600E-9"})
        w(c);
    HorizontalDelay = 600e-9f;
    for (const char* c : {":MEASUREMENT:MEAS1:TYPE FREQUENCY;SOURCE1 CH1;STATE 0",
                          ":MEASUREMENT:MEAS2:TYPE PK2PK;SOURCE1 CH1;STATE 0",
                          ":MEASUREMENT:MEAS3:TYPE FREQUENCY;SOURCE1 CH1;STATE 0",
                          ":MEASUREMENT:MEAS4:TYPE FREQUENCY;SOURCE1 CH1;STATE 0",
                          ":MEASUREMENT:IMMED:TYPE PERIOD;SOURCE1 CH1",
                          ":MEASUREMENT:GATING OFF;METHOD HISTOGRAM;REFLEVEL:METHOD PERCENT;ABSOLUTE:HIGH "
                          "0.0E0;LOW 0.0E0;MID 0.0E0",
                          ":MEASUREMENT:REFLEVEL:PERCENT:HIGH 9.0E1;LOW 1.0E1;MID 5.0E1"})
        w(c);
    w(":CURSOR:FUNCTION OFF");
    w(":CURSOR: mode TRACK");
    w(":CURSOR:VBARS:UNITS " + quoted("s") + ";POSITION1 5.336E-7;POSITION2 6.536E-7;SELECT CURSOR1");
    w(":CURSOR:HBARS:POSITION1 2.35E-1;POSITION2 3.48E-1;SELECT CURSOR1;UNITS " + quoted("V"));
    w(":ZOOm:STATE 0;HORIZONTAL:SCALE 2.0E-7;POSITION 5.0E1");
    for (const char* c :
         {":TRIGGER:A:MODE NORMAL;TYPE EDGE;HOLDOFF:TIME 2.508E-7",
          ":TRIGGER:A:EDGE:SOURCE CH1;COUPLING DC;SLOPE RISE", ":TRIGGER:A:COMMUNICATION:STANDARD DS0SINGLE",
          ":TRIGGER:A:VIDEO:STANDARD NTSC;SOURCE CH1;FIELD ALLLINES", ":TRIGGER:A:LEVEL 0.1",
          ":TRIGGER:B:STATE 0;BY TIME;EVENTS:COUNT 1",
          ":TRIGGER:B:TIME 1.32E-8;LEVEL 1.0E-3;EDGE:SOURCE CH2;COUPLING DC;SLOPE RISE"})
        w(c);
    // Only operation-complete is latched in the event status register: Tek_Wave_Acq polls for it.
    for (const char* c : {":DESE 1", "*ESE 1", "*SRE 255"})
        w(c);
    Tek_Lock(false);
    std::int32_t averages = 64;
    Tek_Average(averages);
    Tek_Trig50Percent(true);
    Tek_StopAfter(false);
    Tek_State_Run();
}

void cZEL_Scope::Tek_Close() {
    if (!sessionOpen_) return;
    visa_->close(Instr);
    visa_->close(DefaultRM);
    Instr = DefaultRM = 0;
    Connected = sessionOpen_ = false;
}

} // namespace zel
