#pragma once
// cZEL_GPS: the last position fix of a GPS receiver sending NMEA "$GPGGA" sentences on a serial line.

#include "common/clock.h"
#include "common/date_time.h"
#include "instruments/transport/serial_port.h"

#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace zel {

class cZEL_GPS {
public:
    explicit cZEL_GPS(const Clock& clock) : clock_(clock) {}

    DateTime DateOfLast{};
    std::string Text_Raw;
    std::string Latitude;
    std::string Longitude;
    float Latitude_Dec = 0;
    float Longitude_Dec = 0;
    int QualityIndicator = 0;
    int Satellites = 0;
    float HDOP = 0;
    float Altitude_Ft = 0;
    float Altitude_M = 0;
    float Geoidal_Ft = 0;
    float Geoidal_M = 0;
    float DGPS_Age = 0;
    std::string BaseStationID;

    // hhmmss.ss as received.
    std::string FixTime;
    // Set when a sentence was parsed; the reader clears it.
    bool NewData = false;

    std::function<void()> NewGPS;

    // Opens the receiver's port (4800,n,8,1 is the NMEA default) and starts receiving.
    bool Open(SerialPort& port, const std::string& device, std::string_view settings = "4800,n,8,1");
    void Close();
    bool PortOpen() const { return port_ && port_->isOpen(); }
    // Clears the buffer and takes input again.
    void Restart();
    // The receive event: all pending input is taken.
    void OnComm();
    // Text from any other source, handled as if it had arrived on the port.
    void AddText(std::string_view text);

    struct Utm {
        int zone = 0; // 0 for the polar (UPS) regions
        bool north = true;
        double easting = 0;
        double northing = 0;
    };
    // WGS-84 latitude/longitude to UTM; nullopt for coordinates outside the map.
    static std::optional<Utm> LL_UTM(double latitude, double longitude);

private:
    void parseSentence(std::string_view body);

    const Clock& clock_;
    SerialPort* port_ = nullptr;
};

} // namespace zel
