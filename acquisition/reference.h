#pragma once
// The RE and the background of the next push, and the gates that judge them: the area limits, the
// channel distribution shown on the RE panel, the baseline noise of the background, and the start-of-push
// prompts. A blocked or failed RE never replaces the one in force. Messages go through the Host; nothing
// is thrown.

#include "acquisition/acquisition_settings.h"
#include "acquisition/instruments.h"
#include "common/clock.h"
#include "common/host.h"
#include "waveform/waveform.h"
#include "waveform/waveform_record.h"

#include <array>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace zel::acq {

inline constexpr int kBackground = 0;
inline constexpr int kRE = 1;

// ---- RE area gate

enum class AreaVerdict { Pass, Warn, Block };
struct AreaGateResult {
    AreaVerdict verdict = AreaVerdict::Pass;
    const char* message = nullptr; // null when the area passes
};
// The low-output limits apply when that option is set (unless overridden); otherwise the standard limits
// apply unless one of their two exemptions is set.
AreaGateResult CheckREArea(float areaPVs, const GateOptions& options);

// ---- RE channel distribution panel

struct REPanel {
    std::string targetText;        // "Target: 23%, 38%, 27%, 12%"; empty when the mode has none
    int count = 0;                 // values shown (0 or 4)
    std::array<double, 4> value{}; // shares in % (modes 1 and 21: the scatter ratio first)
    std::array<bool, 4> offTarget{};
    std::string ratioText;   // "Ratio (F/S): 8.1" in the modes that show it on its own
    bool ratioShown = false; // the mode judges the scatter ratio
    bool ratioOffTarget = false;
};
// channelAreas: CH1..CH4 of the RE.
REPanel MakeREPanel(int mode, const std::array<float, 4>& channelAreas, float scatterRatio);
bool ScatterRatioInRange(float ratio); // 7.5 <= ratio <= 8.5

// ---- Baseline noise

// Standard deviation (n - 1) of samples 2..25, x 100; 0 when the background is shorter.
double BaselineNoise(const std::vector<float>& background);

// ---- The acquisition state and its operations

class ReferenceControl {
public:
    ReferenceControl(Host& host, const Clock& clock, Scope& scope, Board& board, DepthSource& depth);

    // kind kBackground or kRE. True when the waveform was taken and not blocked.
    bool AcquireReference(int kind, bool interactive = true);
    void CheckBaselineNoise();
    bool RescueReference(bool interactive);
    void RecoverReference();
    // HD-board mode: the RE or background as the board's four channel values in its reference state. A
    // refused RE (no brighter than the background) never replaces the one in force.
    bool AcquireHdReference(int kind);
    // The same values kept from an earlier run (the RE reference file), taken at `time`.
    void UseHdReference(int kind, const HdChannels& channels, DateTime time);
    // Start-of-push gates; false means the push is not started.
    bool CheckBeforePush();

    // Set-up, read from the settings before each operation.
    GateOptions Gates;
    WaveformOptions WaveOptions;
    int Mode = 0;
    int AcqType = 0; // 1: gated layout
    // The RE scale (millivolts a division) the scope's live input is set to before an RE; 0 leaves it.
    float REScale = 0.0f;
    // Brings the information tab to the front for the first-push question.
    std::function<void()> ShowInfoTab;

    // State.
    // The processed RE with its boundaries and reference values (replaced whole when a new one is accepted).
    cZEL_Waveform& RE() { return *re_; }
    const cZEL_Waveform& RE() const { return *re_; }
    Waveform RERaw; // the RE as acquired, before the background was subtracted
    Waveform Background;
    // HD-board mode's RE and background.
    std::optional<HdChannels> HdRE, HdBackground;
    bool HasRE = false;
    std::optional<DateTime> RETime;
    bool REFresh = false;
    bool FirstAcquisition = false; // set after the first push of the run
    bool SuppressPrompts = false;
    int FirmwareVersion = 0;
    int PushNumber = 0;
    REPanel Panel;
    bool RescueCorrected = false;

private:
    // Background subtraction, boundaries and RE processing into `into`. False when processing failed.
    bool processRE(const Waveform& raw, cZEL_Waveform& into);
    void prepare(cZEL_Waveform& w) const;
    void acceptRE(std::unique_ptr<cZEL_Waveform> candidate, const Waveform& raw, bool interactive);
    bool ask(const std::string& text, const char* title);

    Host& host_;
    const Clock& clock_;
    Scope& scope_;
    Board& board_;
    DepthSource& depth_;
    std::unique_ptr<cZEL_Waveform> re_;
};

} // namespace zel::acq
