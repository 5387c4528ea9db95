// libFuzzer target: the AD4 counter's frames (see depth_fuzzer.h).
#include "fuzz/depth_fuzzer.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    zel::fuzz::fuzzDepthLine(data, size, 2);
    return 0;
}
