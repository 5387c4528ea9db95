// The interface board: register writes that set up its stream, and the CR-ended lines it streams back.

#include "instruments/depth/depth.h"
#include "instruments/depth/depth_protocol.h"

#include <algorithm>
#include <cstdio>
#include <exception>
#include <optional>

namespace zel {

namespace {

// The board's longest line is 9 characters; anything longer without a carriage return is line noise.
constexpr std::size_t kMaxCarry = 64;

std::string hexByte(int value) {
    char buf[3];
    std::snprintf(buf, sizeof buf, "%02X", value & 0xFF);
    return buf;
}

std::optional<std::uint32_t> hexValue(std::string_view digits) {
    if (digits.empty() || digits.size() > 8) return std::nullopt;
    std::uint32_t v = 0;
    for (const char c : digits) {
        int d;
        if (c >= '0' && c <= '9')
            d = c - '0';
        else if (c >= 'A' && c <= 'F')
            d = c - 'A' + 10;
        else if (c >= 'a' && c <= 'f')
            d = c - 'a' + 10;
        else
            return std::nullopt;
        v = v << 4 | static_cast<std::uint32_t>(d);
    }
    return v;
}

} // namespace

void cZEL_Depth::Int_Command(std::string_view command) {
    if (NoHardware) {
        if (command == depth_protocol::kMeasure && NewDepth) NewDepth();
        return;
    }
    // An absent board is left alone, without the wait.
    if (!port_.isOpen()) return;
    port_.write(std::string(command) + "\r");
    host_.sleepMs(100);
}

void cZEL_Depth::Int_StreamStart() {
    if (Int_A1_Enable) {
        Int_Command("W1002");
        Int_Command("W1102");
        Int_Command("W1203");
    }
    if (Int_A0_Enable || Int_A1_Enable) {
        Int_Command("W1001");
        Int_Command(Int_A0_Enable ? "W1102" : "W1103");
    } else {
        Int_Command("W1000");
    }
    Int_Command(Int_Din2_Enable ? "W19FF" : "W1900");
    Int_Command(Int_Din_Enable ? "W1AFF" : "W1A00");
    if (Int_UpdateTimeMS < 2) Int_UpdateTimeMS = 1000;
    if (Int_UpdateTimeMS > 65535) Int_UpdateTimeMS = 65535;
    // The period goes to registers 04 (high byte) and 05 (low byte), with the stream stopped meanwhile.
    Int_Command("W0400");
    Int_Command("W0500");
    Int_Command("W04" + hexByte(Int_UpdateTimeMS >> 8));
    Int_Command("W05" + hexByte(Int_UpdateTimeMS));
    carry_.clear();
    source_ = DepthSource::Interface;
    StatusOK = true;
}

void cZEL_Depth::Int_StreamHalt() {
    Int_Command(depth_protocol::kHalt);
    Int_Command("W0400");
    Int_Command("W0500");
    StatusOK = false;
    carry_.clear();
}

void cZEL_Depth::Int_CounterClear() {
    Int_Command(depth_protocol::kCounterClear);
    haveCounter_ = false;
    Int_Counter_Value = Int_Counter_Change = 0;
    if (CounterClear) CounterClear();
}

int cZEL_Depth::Int_Channel_Value(char channel) const {
    switch (channel) {
    case 'U': return channelU_;
    case 'I': return channelI_;
    case 'N': return channelN_;
    default: return 0;
    }
}

void cZEL_Depth::OnComm() {
    switch (source_) {
    case DepthSource::Interface: OnComm_Int(); break;
    case DepthSource::AD4: OnComm_AD4(); break;
    default: port_.readAll(); break;
    }
}

void cZEL_Depth::AddText(std::string_view text) {
    carry_.append(text);
    if (source_ == DepthSource::AD4)
        ad4Frames();
    else if (source_ == DepthSource::Interface)
        OnComm_Int();
}

void cZEL_Depth::OnComm_Int() {
    const char* step = "10";
    try {
        if (port_.isOpen()) carry_.append(port_.readAll());
        // Halted: what still arrives from the board's buffer is not a reading.
        if (!StatusOK) {
            carry_.clear();
            return;
        }
        step = "20";
        std::size_t start = 0;
        for (auto cr = carry_.find('\r'); cr != std::string::npos; cr = carry_.find('\r', start)) {
            intLine(std::string_view(carry_).substr(start, cr - start));
            start = cr + 1;
        }
        step = "30";
        carry_.erase(0, start);
        if (carry_.size() > kMaxCarry) carry_.clear();
    } catch (const std::exception& e) {
        carry_.clear();
        reportError("OnComm", step, e.what());
    }
}

void cZEL_Depth::intLine(std::string_view line) {
    // Line feeds are not part of the protocol but a terminal in between may add them.
    while (!line.empty() && line.front() == '\n')
        line.remove_prefix(1);
    if (line.starts_with("Er:")) {
        LastError = std::string(line.substr(0, 80));
        return;
    }
    if (line.size() < 2 || line.size() > 9) return;
    if (line.size() == 9) {
        const auto v = hexValue(line.substr(1));
        if (!v) return;
        ++Readings;
        const auto counter = static_cast<std::int32_t>(*v);
        // Modulo 2^32, so a counter that wraps gives its true small step rather than an overflow.
        Int_Counter_Change = haveCounter_
                                 ? static_cast<std::int32_t>(static_cast<std::uint32_t>(counter) -
                                                             static_cast<std::uint32_t>(Int_Counter_Value))
                                 : 0;
        Int_Counter_Value = counter;
        haveCounter_ = true;
        if (Int_Counter_Change != 0) {
            Int_Counter_Time = clock_.secondsSinceMidnight();
            if (!DepthPause) {
                updateBlows();
                if (NewDepth) NewDepth();
            }
        }
        return;
    }
    if (line.size() != 5) return;
    if (line.starts_with("U2") || line.starts_with("U3")) {
        const auto v = hexValue(line.substr(2));
        if (!v) return;
        const float volts = static_cast<float>(*v) * 5.0f / 4096.0f;
        if (line[1] == '2') {
            // Analogue input 0 carries the string pot.
            Int_A0_Value = volts;
            const float travel = String_VtoFt(volts);
            // A cyclic pot is re-hooked on every rod: a drop of more than half a rod starts the next one.
            if (Cyclic && rodLengthFt_ > 0 && lastTravelFt_ - travel > rodLengthFt_ / 2) ++rods_;
            lastTravelFt_ = travel;
            // The counter line that closes the board's reading announces the new depth.
            setRawDepth(Cyclic ? static_cast<float>(rods_) * rodLengthFt_ + travel : travel, false);
        } else {
            // Analogue input 1 carries the conductivity.
            Int_A1_Value = volts;
            Cond_Raw = volts;
            Conductivity = EC_VtoMS(volts);
        }
        return;
    }
    const auto v = hexValue(line.substr(1));
    if (!v) return;
    switch (line[0]) {
    case 'U': channelU_ = static_cast<int>(*v); break;
    case 'I':
        channelI_ = static_cast<int>(*v);
        Int_Din_Value = channelI_;
        break;
    case 'N':
        channelN_ = static_cast<int>(*v);
        blowCounter(static_cast<std::uint16_t>(*v));
        break;
    default: break;
    }
}

void cZEL_Depth::OnComm_AD4() {
    const char* step = "10";
    try {
        if (port_.isOpen()) carry_.append(port_.readAll());
        step = "20";
        ad4Frames();
    } catch (const std::exception& e) {
        carry_.clear();
        reportError("OnCommAd4", step, e.what());
    }
}

void cZEL_Depth::ad4Frames() {
    using namespace depth_protocol;
    const auto byte = [this](std::size_t i) { return static_cast<unsigned char>(carry_[i]); };
    while (carry_.size() >= kAd4FrameBytes) {
        const unsigned marker = byte(0) | byte(1) << 8;
        if (marker != kAd4Marker) {
            carry_.erase(0, 1); // out of step: look for the next marker
            continue;
        }
        const std::int32_t count = byte(2) * 256 + byte(3);
        carry_.erase(0, kAd4FrameBytes);
        ++Readings;
        Int_Counter_Change = count - Int_Counter_Value;
        Int_Counter_Value = count;
        if (AD4_CountsPerFt != 0)
            setRawDepth(static_cast<float>(count - kAd4CountZero - ad4Zero_) / AD4_CountsPerFt);
    }
}

void cZEL_Depth::AD4_TimerEnable(bool on) {
    if (on) AD4_Zero();
    if (NoHardware || !port_.isOpen()) return;
    port_.write(std::string(on ? depth_protocol::kAd4TimerOn : depth_protocol::kAd4TimerOff) + "\r");
}

void cZEL_Depth::AD4_Zero() {
    ad4Zero_ = Int_Counter_Value - depth_protocol::kAd4CountZero;
    setRawDepth(0);
}

} // namespace zel
