#pragma once
// The depth line under the fuzzer: the interface board's lines or the AD4 counter's frames, arriving in
// pieces, through the driver's own receive path. The first bytes set the board's calibration and the
// options that change how a reading is read.

#include "fuzz/fuzz_input.h"
#include "instruments/depth/depth.h"
#include "instruments/transport/fake_serial_port.h"

namespace zel::fuzz {

inline void fuzzDepthLine(const std::uint8_t* data, std::size_t size, int source) {
    Input in(data, size);
    FakeClock clock;
    QuietHost host(clock);
    testing::FakeSerialPort port;
    testing::FakeTimer timer;
    cZEL_Depth depth(host, clock, port, timer, [](int n) { return "/dev/ttyS" + std::to_string(n - 1); });
    const std::uint8_t options = in.byte();
    depth.Int_CalVal = static_cast<float>(in.byte()) / 16.0f; // 0 too
    depth.Cyclic = options & 1;
    depth.UpAcquire = options & 2;
    depth.Rate_Num2Avg = options >> 4;
    depth.AD4_CountsPerFt = static_cast<float>(in.byte()) * 10.0f;
    if (!depth.Init(source, 1, 0, false)) return;
    if (source == 1) depth.Int_StreamStart();
    depth.Push_Begin();
    while (!in.empty()) {
        port.receive(in.piece(48));
        clock.advanceMs(in.byte());
        if (in.byte() == 0xA5) depth.Push_Begin();
    }
    (void)depth.Depth_Current_Ft();
}

} // namespace zel::fuzz
