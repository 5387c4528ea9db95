#include "instruments/display/display.h"

#include "common/number_text.h"

#include <algorithm>
#include <cmath>

namespace zel {

namespace {

constexpr char kEsc = '\x1b';
constexpr std::size_t kMaxReply = 64;

} // namespace

std::string cZEL_Display_J10::Fit(std::string_view text) {
    std::string line(text.substr(0, kWidth));
    line.resize(kWidth, ' ');
    return line;
}

std::array<std::string, cZEL_Display_J10::kRows>
cZEL_Display_J10::PushLines(float rate, float depth, float signal, float maxSignal, bool metric) {
    // The maximum gets four characters' worth of room; beyond that the display shows a fixed text.
    const bool maxFits = std::isfinite(maxSignal) && maxSignal > -1000.0f && maxSignal < 9999.0f;
    return {
        Fit("RATE      " + formatNumber(rate, "#0.0") + (metric ? "cm/s" : " in/s")),
        Fit("DEPTH     " + formatNumber(depth, "#0.00") + (metric ? " m   " : " ft  ")),
        Fit("SIGNAL  " + formatNumber(signal, "#0.00") + " %   "),
        Fit("MAX     " + (maxFits ? formatNumber(maxSignal, "#0.00") : std::string("9999")) + " %   "),
    };
}

bool cZEL_Display_J10::Open(const std::string& device, int timeoutMs) {
    port_.setReceiveHandler([this] { OnComm(); });
    if (!port_.open(device, "9600,n,8,1")) {
        StatusText = "Port not opened: " + port_.errorText();
        return false;
    }
    Show_Wait();
    reply_.clear();
    opening_ = true;
    send(kStatusRequest);
    for (int waited = 0; waited < timeoutMs && reply_.find("8;4") == std::string::npos; waited += 20)
        host_.sleepMs(20);
    opening_ = false;
    RcvdOK = reply_.find("8;4") != std::string::npos;
    StatusText = RcvdOK ? "Receive and Send OK." : "Receiving. No Send. ";
    showLines({"Comm Established"});
    return true;
}

void cZEL_Display_J10::Close() {
    port_.close();
}

std::string cZEL_Display_J10::cursor(int row, int column) const {
    if (AnsiTerminal)
        return std::string{kEsc, '['} + std::to_string(row + 1) + ";" + std::to_string(column + 1) + "H";
    return {kEsc, 'I', static_cast<char>(row + 64), static_cast<char>(column + 64)};
}

void cZEL_Display_J10::send(const std::string& bytes) {
    if (!DisplayOutput || !port_.isOpen()) return;
    port_.write(bytes);
    DisplaySend = bytes;
    if (NewDisplaySend) NewDisplaySend(bytes);
}

void cZEL_Display_J10::showLines(const std::vector<std::string>& lines) {
    pushScreen_ = false;
    std::string out;
    for (int row = 0; row < kRows; ++row) {
        const auto r = static_cast<std::size_t>(row);
        out += cursor(row, 0);
        if (r < lines.size()) {
            screen_[r] = Fit(lines[r]);
            out += screen_[r];
        } else {
            screen_[r] = std::string(kWidth, ' ');
            out += AnsiTerminal ? std::string{kEsc, '[', '2', 'K'} : screen_[r];
        }
    }
    send(out);
}

void cZEL_Display_J10::Show_Wait() {
    showLines({"Wait..."});
}
void cZEL_Display_J10::Show_Ready() {
    showLines({kReady});
}
void cZEL_Display_J10::Show_PushStart() {
    showLines({"     START PUSH     "});
}
void cZEL_Display_J10::Push_Pause() {
    showLines({"    PUSH PAUSED     "});
}
void cZEL_Display_J10::Push_PauseEND() {
    showLines({"    PUSH RESUME     "});
}
void cZEL_Display_J10::Show_Complete() {
    showLines({"   PUSH COMPLETE    "});
}

void cZEL_Display_J10::Push_Update() {
    const auto l = PushLines(Rate, Depth, Signal_Current, Signal_MaxValue, Units_Metric);
    showLines({l.begin(), l.end()});
    pushScreen_ = true;
}

void cZEL_Display_J10::showRow(int row, const std::string& line) {
    auto& shown = screen_[static_cast<std::size_t>(row)];
    const std::string fitted = Fit(line);
    if (shown == fitted) return;
    shown = fitted;
    send(cursor(row, 0) + fitted);
}

void cZEL_Display_J10::T2_Update() {
    if (!pushScreen_) return;
    const auto l = PushLines(Rate, Depth, Signal_Current, Signal_MaxValue, Units_Metric);
    showRow(0, l[0]);
    showRow(1, l[1]);
}

void cZEL_Display_J10::Time_Update(const DateTime& now) {
    if (pushScreen_) return;
    const auto two = [](int v) {
        return std::string(1, static_cast<char>('0' + v / 10 % 10)) + static_cast<char>('0' + v % 10);
    };
    if (!HoleName.empty()) showRow(kRows - 2, "HOLE " + HoleName);
    showRow(kRows - 1, "TIME      " + two(now.hour) + ":" + two(now.minute) + ":" + two(now.second));
}

void cZEL_Display_J10::Show_Acquired(bool re, float area, float signal, float ratio) {
    showLines({re ? "Acquired RE         " : "Acquired Background ",
               "AREA    " + formatNumber(area, "#0.00") + " pVs  ",
               "SIGNAL  " + formatNumber(signal, "#0.00") + " %    ",
               "RATIO   " + formatNumber(ratio, "#0.00") + " F/S"});
}

void cZEL_Display_J10::SendText(int row, std::string_view text) {
    if (row < 0 || row >= kRows) return;
    auto& line = screen_[static_cast<std::size_t>(row)];
    line = Fit(std::string(text) + line.substr(std::min(text.size(), line.size())));
    send(cursor(row, 0) + std::string(text));
}

void cZEL_Display_J10::contrast(int value) {
    contrast_ = std::clamp(value, 0, 63);
    if (!AnsiTerminal) send({kEsc, 'L', static_cast<char>(contrast_ + 64)});
}

int cZEL_Display_J10::ContrastFromSetting(int setting) {
    return static_cast<int>(std::lround(std::clamp(setting, 0, 10) * 63.0 / 10.0));
}

void cZEL_Display_J10::BacklightOn(bool on) {
    backlight_ = on;
    if (!AnsiTerminal) send({kEsc, 'V', on ? 'A' : '@'});
}

void cZEL_Display_J10::DisplayModeReset() {
    if (!AnsiTerminal) send({kEsc, 'O', 'B'});
}

void cZEL_Display_J10::OnComm() {
    const std::string bytes = port_.readAll();
    if (opening_) {
        reply_.append(bytes);
        if (reply_.size() > kMaxReply) reply_.erase(0, reply_.size() - kMaxReply);
    }
    // A key pressed while the status answer is awaited is still a key: no answer byte is that high.
    for (const char c : bytes) {
        const int key = static_cast<unsigned char>(c);
        if (key < kKeyUp) continue;
        const bool startsPush = key == kKeyDown && screen_[0] == kReady;
        if (NewDisplayInput) NewDisplayInput(key, startsPush);
    }
}

} // namespace zel
