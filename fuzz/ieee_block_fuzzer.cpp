// libFuzzer target: an IEEE 488.2 definite-length block (the scope's curve) in any pieces: the block
// parser, the socket form's message framing, and the whole waveform transfer with the fuzzer's bytes as
// the curve and its preamble replies.

#include "fuzz/fuzz_input.h"
#include "instruments/scope/fake_visa.h"
#include "instruments/scope/scope.h"
#include "instruments/visa/ieee_block.h"
#include "instruments/visa/socket_link.h"

#include <cmath>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace zel;
    const std::string_view all(reinterpret_cast<const char*>(data), size);
    (void)visa::socketMessageLength(all);
    {
        fuzz::Input in(data, size);
        visa::BlockParser block(1 << 16);
        while (!in.empty() && !block.complete() && !block.failed())
            block.feed(in.piece(32));
        block.finish();
        if (block.complete() && block.data().size() > (1u << 16)) __builtin_trap();
    }
    // The transfer: the first bytes are the preamble replies, the rest the curve.
    fuzz::Input in(data, size);
    FakeClock clock;
    fuzz::QuietHost host(clock);
    testing::FakeVisa visa;
    visa.replies["WFMPRE:YZERO?"] = std::string(in.take(in.byte() % 16));
    visa.replies["WFMPRE:YOFF?"] = std::string(in.take(in.byte() % 16));
    visa.replies["WFMPRE:YMULT?"] = std::string(in.take(in.byte() % 16));
    const std::uint8_t recordLength = in.byte();
    visa.replies["Curve?"] = std::string(in.rest());
    cZEL_Scope scope(&visa, host, clock);
    scope.Attach(1, 2);
    scope.RecordLength = recordLength * 4;
    scope.VertScale = 0.05f;
    if (scope.Tek_Wave_Transfer(false, true)) {
        for (float v : scope.Waveform)
            if (!std::isfinite(v)) __builtin_trap();
    } else if (!scope.Waveform.empty()) {
        __builtin_trap();
    }
    return 0;
}
