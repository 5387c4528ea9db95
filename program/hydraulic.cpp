#include "program/hydraulic.h"

#include <charconv>
#include <cmath>

namespace zel::program {

namespace {

std::optional<double> plainNumber(std::string_view t) {
    double v = 0.0;
    const auto [end, ec] = std::from_chars(t.data(), t.data() + t.size(), v);
    if (t.empty() || ec != std::errc() || end != t.data() + t.size() || !std::isfinite(v))
        return std::nullopt;
    return v;
}

} // namespace

void ConfigureHydraulics(const PushSetup& setup, const ReferenceTests& tests, PresFlowAdapter& unit,
                         acq::PushControl& push, acq::LogRecorder& recorder, Host& host) {
    unit.enabled = setup.presFlow;
    if (setup.presFlow && !unit.InUse())
        host.message("The pressure/flow unit is not connected: this push logs no pressure or flow.",
                     MsgButtons::Ok, MsgIcon::Exclamation);
    push.SetPresFlow(&unit);
    acq::HydraulicSetup& h = recorder.Hydraulic;
    h.presFlow = unit.InUse();
    h.pfOffsetFt = setup.pfOffsetFt;
    h.hpt1ft = static_cast<float>(tests.OneFoot());
    h.hpt0ft = static_cast<float>(tests.ZeroFoot());
}

std::optional<double> AwaitAveragedPresDown(cZEL_PresFlow& unit, Host& host, const Clock& clock,
                                            int timeoutMs) {
    if (!unit.PortOpen()) {
        host.message("The pressure/flow unit is not connected.", MsgButtons::Ok, MsgIcon::Exclamation);
        return std::nullopt;
    }
    const long long from = unit.Readings;
    const std::int64_t start = clock.monotonicMs();
    while (unit.Readings - from < unit.averageCount) {
        if (clock.monotonicMs() - start > timeoutMs) {
            host.message("The pressure/flow unit is not answering.", MsgButtons::Ok, MsgIcon::Exclamation);
            return std::nullopt;
        }
        host.yield();
        host.sleepMs(20);
    }
    return unit.AveragePresDown();
}

std::optional<std::string> TakeLiveReferenceTest(ReferenceTestKind kind, ReferenceTests& tests,
                                                 cZEL_PresFlow& unit, Host& host, const Clock& clock) {
    const auto reading = AwaitAveragedPresDown(unit, host, clock);
    if (!reading) return std::nullopt;
    return kind == ReferenceTestKind::OneFoot ? tests.TakeOneFoot(*reading)
                                              : tests.TakeZeroFoot(*reading, host);
}

std::optional<acq::DissipationRequest> ParseDissipationRequest(const std::string& text) {
    const std::string_view t = text;
    const auto colon = t.find(':');
    const auto depth = plainNumber(t.substr(0, colon));
    const auto seconds =
        colon == std::string_view::npos ? std::optional<double>(120.0) : plainNumber(t.substr(colon + 1));
    if (!depth || !seconds || *depth < 0.0 || *depth > 10000.0 || *seconds < 10.0 || *seconds > 3600.0)
        return std::nullopt;
    return acq::DissipationRequest{static_cast<float>(*depth), *seconds};
}

} // namespace zel::program
