// libFuzzer target: the depth interface board's serial lines (see depth_fuzzer.h).
#include "fuzz/depth_fuzzer.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    zel::fuzz::fuzzDepthLine(data, size, 1);
    return 0;
}
