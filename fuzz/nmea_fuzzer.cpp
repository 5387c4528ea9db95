// libFuzzer target: any bytes from the GPS receiver's line, arriving in pieces, as the driver takes them.

#include "fuzz/fuzz_input.h"
#include "instruments/gps/gps.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    zel::fuzz::Input in(data, size);
    zel::FakeClock clock;
    zel::cZEL_GPS gps(clock);
    while (!in.empty()) {
        gps.AddText(in.piece(96));
        if (gps.NewData) {
            (void)zel::cZEL_GPS::LL_UTM(gps.Latitude_Dec, gps.Longitude_Dec);
            gps.NewData = false;
        }
    }
    return 0;
}
