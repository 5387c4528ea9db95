// libFuzzer target: any bytes from the pressure/flow unit's line, arriving in pieces, as the driver takes
// them; the reading parser and the simulator's command parser also take each piece on its own.

#include "fuzz/fuzz_input.h"
#include "instruments/presflow/presflow.h"
#include "instruments/presflow/presflow_protocol.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    zel::fuzz::Input in(data, size);
    zel::FakeClock clock;
    zel::cZEL_PresFlow unit(clock);
    unit.averageCount = 1 + in.byte() % 20;
    while (!in.empty()) {
        const std::string_view piece = in.piece(96);
        (void)zel::presflow_protocol::parseReading(piece);
        (void)zel::presflow_protocol::parseStreamCommand(piece);
        unit.AddText(piece);
        clock.advanceMs(in.byte() * 20);
    }
    if (const auto r = unit.Last()) (void)zel::presflow_protocol::formatReading(*r);
    (void)unit.AveragePresDown();
    return 0;
}
