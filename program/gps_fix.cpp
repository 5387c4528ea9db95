#include "program/gps_fix.h"

#include "common/number_text.h"

#include <string>

namespace zel::program {

GpsFix GpsFixOf(const cZEL_GPS& gps) {
    GpsFix fix;
    fix.utc = gps.FixTime;
    fix.latitude = gps.Latitude;
    fix.longitude = gps.Longitude;
    fix.latitudeDec = gps.Latitude_Dec;
    fix.longitudeDec = gps.Longitude_Dec;
    fix.qualityIndicator = std::to_string(gps.QualityIndicator);
    fix.satellites = std::to_string(gps.Satellites);
    fix.hdop = shortestText(gps.HDOP);
    fix.altitudeFt = gps.Altitude_Ft;
    fix.altitudeM = gps.Altitude_M;
    fix.geoidalFt = gps.Geoidal_Ft;
    fix.geoidalM = gps.Geoidal_M;
    fix.dgpsAge = shortestText(gps.DGPS_Age);
    fix.baseStationId = gps.BaseStationID;
    return fix;
}

} // namespace zel::program
