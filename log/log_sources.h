#pragma once
// What the log takes from outside when a push starts and stops: the operator's information texts and the
// receiver's current position. The log asks for them through callbacks, so it never depends on the forms or
// the GPS driver.

#include <string>

namespace zel {

// The information the operator entered for the push, and how the program runs.
struct LogInfo {
    std::string site;
    std::string client;
    std::string jobNumber;
    std::string mode; // name of the probe mode
    std::string unit; // instrument (unit) name
    std::string operatorName;
    std::string note;
    std::string version; // program version text
    std::string timeZone;
    bool metric = false;
    bool emulate = false;
};

// One position fix as the receiver reported it. The texts stay as received; the numbers are converted.
struct GpsFix {
    std::string utc;
    std::string latitude;      // receiver text, e.g. "4807.038,N"
    std::string longitude;     // receiver text
    double latitudeDec = 0.0;  // signed decimal degrees
    double longitudeDec = 0.0; // signed decimal degrees
    std::string qualityIndicator;
    std::string satellites;
    std::string hdop;
    double altitudeFt = 0.0;
    double altitudeM = 0.0;
    double geoidalFt = 0.0;
    double geoidalM = 0.0;
    std::string dgpsAge;
    std::string baseStationId;
};

} // namespace zel
