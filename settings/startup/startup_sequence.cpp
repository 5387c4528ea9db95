#include "settings/startup/startup_sequence.h"

#include "common/version.h"

#include <climits>

namespace zel {
namespace {

constexpr int kSkipAfter = 50;     // a wait ending above this count skips the remaining instruments
constexpr int kMinimumTicks = 7;   // the splash stays at least this many seconds
constexpr int kPostLoadCount = 99; // ends every wait
constexpr std::int64_t kTickMs = 1000;

} // namespace

std::string versionText() {
    return "Version " + std::to_string(kVersionMajor) + "." + std::to_string(kVersionMinor) + "." +
           std::to_string(kVersionRevision);
}

StartupSequence::StartupSequence(StartupSettings settings, StartupServices services, StartupHooks hooks)
    : settings_(std::move(settings)), services_(services), hooks_(std::move(hooks)) {}

StartupSequence::State StartupSequence::state() const {
    switch (stage_) {
    case Stage::NotStarted: return State::NotStarted;
    case Stage::Finished: return State::Finished;
    case Stage::Cancelled: return State::Cancelled;
    default: return State::Running;
    }
}

void StartupSequence::start() {
    if (stage_ != Stage::NotStarted) return;
    Host& host = services_.host;

    // Every copy marks itself; only "/IPSCP" makes another copy a reason to stop.
    const bool other = services_.instances && services_.instances->otherInstanceRunning();
    if (settings_.singleInstance && other) {
        host.message(kPreviousInstanceText, MsgButtons::Ok, MsgIcon::Exclamation);
        stage_ = Stage::Cancelled;
        return;
    }
    if (hooks_.showVersion) hooks_.showVersion(versionText());
    // Only what the instruments need now; the rest is restored when the main display form loads.
    if (services_.options) services_.options->LoadOptions(true);
    if (!settings_.hd) services_.instruments.loadSerialPorts();

    host.progress("Loading software...");
    timerStartMs_ = services_.clock.monotonicMs();
    skipEnabled_ = true;
    if (settings_.fileMode) {
        if (hooks_.hideAcquisitionMenus) hooks_.hideAcquisitionMenus();
        stage_ = Stage::Last;
    } else {
        host.progress("Finding instrument...");
        stage_ = Stage::Finding;
    }
    advance();
}

void StartupSequence::tick() {
    if (state() != State::Running) return;
    if (counter_ < INT_MAX) ++counter_;
    advance();
}

void StartupSequence::poll() {
    if (state() != State::Running) return;
    const std::int64_t due = (services_.clock.monotonicMs() - timerStartMs_) / kTickMs;
    while (ticksGiven_ < due && state() == State::Running) {
        ++ticksGiven_;
        tick();
    }
}

void StartupSequence::escape() {
    if (!skipEnabled_ || done_) return;
    postLoad();
    advance();
}

// Each stage waits for its count, then does its step. Steps may yield to the host, and a tick or Escape that
// arrives then is handled when the step returns: the loop sees the new count at the next wait.
void StartupSequence::advance() {
    if (busy_) return;
    busy_ = true;
    Host& host = services_.host;
    InstrumentOpeners& instruments = services_.instruments;
    for (;;) {
        int wait = 0;
        switch (stage_) {
        case Stage::Finding: wait = 1; break;
        case Stage::Digitiser: wait = 2; break;
        case Stage::Depth: wait = 3; break;
        case Stage::Display: wait = 4; break;
        case Stage::Gps: wait = 5; break;
        case Stage::Last: wait = kMinimumTicks; break;
        default: busy_ = false; return;
        }
        if (counter_ < wait) break;
        if (stage_ != Stage::Last && counter_ > kSkipAfter) {
            stage_ = Stage::Last;
            continue;
        }
        switch (stage_) {
        case Stage::Finding:
            openDigitisers();
            stage_ = Stage::Digitiser;
            break;
        case Stage::Digitiser:
            if (!scopeConnected_ && !spectrometerConnected_) checkPcAddress();
            host.progress("Initializing depth...");
            instruments.openDepth();
            stage_ = Stage::Depth;
            break;
        case Stage::Depth:
            host.progress("Initializing display...");
            instruments.openDisplay();
            stage_ = Stage::Display;
            break;
        case Stage::Display:
            host.progress("Initializing GPS...");
            instruments.openGps();
            stage_ = Stage::Gps;
            break;
        case Stage::Gps:
            if (counter_ <= kSkipAfter) host.progress("Completing Program Load...");
            stage_ = Stage::Last;
            break;
        default:
            postLoad();
            stage_ = Stage::Finished;
            break;
        }
    }
    busy_ = false;
}

void StartupSequence::openDigitisers() {
    Host& host = services_.host;
    InstrumentOpeners& instruments = services_.instruments;
    NetworkProbe& network = services_.network;

    if (!settings_.colour && !settings_.hd) {
        host.progress("Initializing scope...");
        // "Not found" is what the echo test says; a scope that answered it but not the open is named by
        // the driver's own message.
        if (network.answersEcho(settings_.scopeAddress))
            scopeConnected_ = instruments.openScope(settings_.scopeAddress, settings_.scopeResource);
        else
            host.progress("Scope not found at expected IP: " + settings_.scopeAddress);
        if (scopeConnected_ && hooks_.setConnection) hooks_.setConnection("LAN");
    }
    if (scopeConnected_) instruments.setScopeAveraging(settings_.averaging);
    if (settings_.colour) {
        host.progress("Initializing spectrometer...");
        spectrometerConnected_ = instruments.openSpectrometer();
    }
    if (settings_.hd) {
        host.progress("Initializing HD board...");
        const bool found = network.answersEcho(settings_.hdBoardAddress) &&
                           instruments.openHdBoard(settings_.hdBoardAddress);
        if (!found) host.progress("HD Board not found at expected IP: " + settings_.hdBoardAddress);
    }
}

void StartupSequence::checkPcAddress() {
    if (const auto text = pcAddressMessage(services_.network.localAddresses(), settings_.expectedPcAddress))
        services_.host.message(*text, MsgButtons::Ok, MsgIcon::Critical);
}

// Runs once, whether reached at the end of loading or through Escape.
void StartupSequence::postLoad() {
    if (done_) return;
    done_ = true;
    counter_ = kPostLoadCount;
    if (hooks_.showMainWindow) hooks_.showMainWindow(settings_);
    if (!settings_.startFile.empty() && hooks_.openStartFile) hooks_.openStartFile(settings_.startFile);
}

void runStartup(StartupSequence& sequence, Host& host) {
    sequence.start();
    while (sequence.state() == StartupSequence::State::Running) {
        host.yield();
        host.sleepMs(100);
        sequence.poll();
    }
}

} // namespace zel
