#pragma once
// cZEL_Display_J10: the 4-line, 20-character display with keys at the push rig, on a serial line. It
// serves the native display (its own escape commands) and a plain ANSI terminal.

#include "common/date_time.h"
#include "common/host.h"
#include "instruments/transport/serial_port.h"

#include <array>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace zel {

class cZEL_Display_J10 {
public:
    static constexpr int kRows = 4;
    static constexpr std::size_t kWidth = 20;
    // Key codes of the native display's keypad (every key sends one byte of 193 or more).
    static constexpr int kKeyUp = 193, kKeyDown = 194, kKeyLeft = 195, kKeyRight = 196, kKeyEnter = 197;
    static constexpr const char* kReady = "READY - Push DwnArrw";
    // Asks the terminal for its cursor position; its answer, ESC "[8;4R" on the native display, proves it
    // both receives and sends.
    static constexpr const char* kStatusRequest = "\x1b[6n";

    cZEL_Display_J10(Host& host, SerialPort& port) : host_(host), port_(port) {}

    // Opens the port, asks for the status and waits up to timeoutMs for the answer.
    bool Open(const std::string& device, int timeoutMs = 1000);
    void Close();

    void Show_Wait();
    void Show_Ready();
    void Show_PushStart();
    void Push_Update();
    void Push_Pause();
    void Push_PauseEND();
    void Show_Complete();
    // The clock of the idle screens, once a second: the hole name (when set) and the time of day on the
    // bottom rows. The push screen needs all four rows and is left alone.
    void Time_Update(const DateTime& now);
    // Between points the depth moves on while the signal stays: refreshes the RATE and DEPTH rows of the
    // push screen from Rate and Depth, sending only the rows that changed. Nothing when the push screen is
    // not showing.
    void T2_Update();
    // After an RE (re true) or a background: the area (pVs), signal (%) and ratio.
    void Show_Acquired(bool re, float area, float signal, float ratio);
    // Text at a row as it stands.
    void SendText(int row, std::string_view text);
    void DisplayModeReset();

    void OnComm();

    int contrast() const { return contrast_; }
    void contrast(int value);
    // The user setting "Contrast setting (0-10)" on the display's 0..63 scale.
    static int ContrastFromSetting(int setting);
    bool BacklightOn() const { return backlight_; }
    void BacklightOn(bool on);

    // The last text sent and whether anything may be sent at all.
    std::string DisplaySend;
    bool DisplayOutput = true;
    bool RcvdOK = false;
    float Rate = 0;
    float Depth = 0;
    float Signal_Current = 0;
    float Signal_MaxValue = 0;
    float Signal_MaxDepth = 0;
    bool Units_Metric = false;
    std::string HoleName;

    bool AnsiTerminal = false;
    // "Receive and Send OK." or "Receiving. No Send. " after opening.
    std::string StatusText;
    // The lines as last sent, blanks for cleared rows.
    const std::array<std::string, kRows>& Screen() const { return screen_; }

    // A key (code 193 or more); startsPush when it is the down arrow on the ready screen.
    std::function<void(int key, bool startsPush)> NewDisplayInput;
    std::function<void(const std::string&)> NewDisplaySend;

    // Exactly 20 characters: cut or padded with blanks.
    static std::string Fit(std::string_view text);
    // The four push lines for the given values.
    static std::array<std::string, kRows> PushLines(float rate, float depth, float signal, float maxSignal,
                                                    bool metric);

private:
    void showLines(const std::vector<std::string>& lines);
    // One row replaced, sent only when it differs from what the display shows.
    void showRow(int row, const std::string& line);
    std::string cursor(int row, int column) const;
    void send(const std::string& bytes);

    Host& host_;
    SerialPort& port_;
    int contrast_ = 32;
    bool backlight_ = true;
    bool opening_ = false;
    bool pushScreen_ = false;
    std::string reply_;
    std::array<std::string, kRows> screen_{};
};

} // namespace zel
