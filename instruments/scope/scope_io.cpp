#include "instruments/scope/scope.h"

#include "common/number_text.h"

#include <cmath>
#include <limits>

namespace zel {

namespace {
constexpr std::uint32_t kReplyBytes = 256;

std::string trimmed(std::string_view s) {
    const auto b = s.find_first_not_of(" \t\r\n");
    if (b == std::string_view::npos) return {};
    return std::string(s.substr(b, s.find_last_not_of(" \t\r\n") - b + 1));
}
} // namespace

cZEL_Scope::cZEL_Scope(visa::VisaSession* visa, Host& host, const Clock& clock)
    : visa_(visa), host_(host), clock_(clock) {}

void cZEL_Scope::reportError(const std::string& description, std::string_view location) {
    if (quietErrors_) return;
    std::string text = "Scope err: " + description;
    if (!location.empty()) text += " in " + std::string(location);
    host_.message(text, MsgButtons::Ok, MsgIcon::Exclamation);
}

void cZEL_Scope::ErrorHandler(visa::ViStatus status, std::string_view location) {
    if (quietErrors_) return;
    if (status == visa::VI_ERROR_RSRC_NFOUND) {
        host_.message("Scope not found.", MsgButtons::Ok, MsgIcon::Exclamation);
        return;
    }
    reportError(visa_ ? visa_->statusDesc(Instr, status) : std::string(), location);
}

void cZEL_Scope::updateLinkState() {
    const bool was = Connected;
    Connected = sessionOpen_ && visa_->linkState(Instr) == visa::LinkState::Connected;
    // The loss itself was reported by the failing call; the return is worth a line of its own.
    if (Connected && !was && !restoring_) {
        host_.progress("Scope connection restored.");
        restoreSetup();
    }
}

void cZEL_Scope::restoreSetup() {
    restoring_ = true;
    const float scale = VertScale, delay = HorizontalDelay;
    std::int32_t averages = averages_;
    const bool big = BigTrigger, little = LittleTrigger;
    Tek_Default();
    if (big || little) Tek_BigLittleTrig(big, little);
    Tek_Average(averages);
    if (scale > 0) Tek_VertScale("CH2", scale);
    Tek_DelayTime(delay, false);
    restoring_ = false;
}

bool cZEL_Scope::send(std::string_view command, std::string_view location) {
    std::uint32_t written = 0;
    const visa::ViStatus st = visa_->write(Instr, command, written);
    updateLinkState();
    if (st < 0) ErrorHandler(st, location);
    return st >= 0;
}

bool cZEL_Scope::ask(std::string_view command, std::string& reply, std::string_view location) {
    reply.clear();
    if (!send(command, location)) return false;
    const visa::ViStatus st = visa_->read(Instr, reply, kReplyBytes);
    updateLinkState();
    if (st < 0) ErrorHandler(st, location);
    return st >= 0;
}

void cZEL_Scope::Write(const std::string& command) {
    if (!sessionOpen_) return;
    send(command, "Write");
}

bool cZEL_Scope::QueryText(const std::string& command, std::string& result) {
    if (!sessionOpen_) return false;
    std::string reply;
    if (!ask(command, reply, "QueryText")) return false;
    result = trimmed(reply);
    return true;
}

bool cZEL_Scope::QueryInt(const std::string& command, std::int32_t& result) {
    if (!sessionOpen_) return false;
    std::string reply;
    if (!ask(command, reply, "QueryInt")) return false;
    // A reply out of the 32-bit range is not a count the scope can mean; keep the old value.
    const double v = std::nearbyint(val(reply));
    if (!(v >= std::numeric_limits<std::int32_t>::min() && v <= std::numeric_limits<std::int32_t>::max()))
        return false;
    result = static_cast<std::int32_t>(v);
    return true;
}

bool cZEL_Scope::QuerySingle(const std::string& command, float& result) {
    if (!sessionOpen_) return false;
    std::string reply;
    if (!ask(command, reply, "QuerySingle")) return false;
    const double v = val(reply);
    if (!std::isfinite(v) || std::abs(v) > std::numeric_limits<float>::max()) return false;
    result = static_cast<float>(v);
    return true;
}

} // namespace zel
