#include "instruments/gps/gps.h"

#include "common/number_text.h"

#include <GeographicLib/UTMUPS.hpp>

#include <cmath>
#include <vector>

namespace zel {

namespace {

constexpr float kFeetPerMetre = 3.28084f;
// Receivers also send sentences this class does not read; without a GGA the buffer would only grow.
constexpr std::size_t kMaxBuffered = 4096;

std::vector<std::string_view> splitFields(std::string_view body) {
    std::vector<std::string_view> fields;
    for (;;) {
        const auto comma = body.find(',');
        fields.push_back(body.substr(0, comma));
        if (comma == std::string_view::npos) break;
        body.remove_prefix(comma + 1);
    }
    return fields;
}

struct Angle {
    std::string text;
    float decimal = 0;
};

// "ddmm.mmmm" (or "dddmm.mmmm") and its hemisphere letter.
Angle angle(std::string_view value, std::string_view hemisphere, std::size_t degreeDigits, char negative) {
    if (value.empty()) return {"0", 0};
    const auto degrees = value.substr(0, degreeDigits);
    const auto minutes = value.size() > degreeDigits ? value.substr(degreeDigits) : std::string_view{};
    Angle a;
    a.text = std::string(degrees) + " " + std::string(minutes) + " " + std::string(hemisphere);
    double dec = val(degrees) + val(minutes) / 60.0;
    if (hemisphere.size() == 1 && hemisphere[0] == negative) dec = -dec;
    a.decimal = static_cast<float>(dec);
    return a;
}

// A height and its unit letter, into metres and feet.
void height(std::string_view value, std::string_view unit, float& feet, float& metres) {
    const auto v = static_cast<float>(val(value));
    if (unit == "M") {
        metres = v;
        feet = v * kFeetPerMetre;
    } else {
        feet = v;
        metres = v / kFeetPerMetre;
    }
}

int wholeNumber(std::string_view text) {
    const double v = val(text);
    if (!std::isfinite(v) || v < -1e9 || v > 1e9) return 0;
    return static_cast<int>(v);
}

} // namespace

bool cZEL_GPS::Open(SerialPort& port, const std::string& device, std::string_view settings) {
    port_ = &port;
    port.setReceiveHandler([this] { OnComm(); });
    Text_Raw.clear();
    return port.open(device, settings);
}

void cZEL_GPS::Close() {
    if (port_) port_->close();
}

void cZEL_GPS::Restart() {
    Text_Raw.clear();
    if (port_) port_->readAll();
}

void cZEL_GPS::OnComm() {
    if (port_) AddText(port_->readAll());
}

void cZEL_GPS::AddText(std::string_view text) {
    Text_Raw.append(text);
    const auto start = Text_Raw.find("$GPGGA");
    if (start == std::string::npos) {
        // Keep a tail long enough to hold the start of a sentence split by this arrival.
        if (Text_Raw.size() > kMaxBuffered) Text_Raw.erase(0, Text_Raw.size() - 8);
        return;
    }
    const auto star = Text_Raw.find('*', start);
    // Complete only once both checksum characters are here.
    if (star == std::string::npos || star + 2 >= Text_Raw.size()) {
        if (Text_Raw.size() - start > kMaxBuffered)
            Text_Raw.clear(); // no receiver sends a line that long
        else
            Text_Raw.erase(0, start);
        return;
    }
    NewData = true;
    const std::string body = Text_Raw.substr(start + 1, star - start - 1);
    Text_Raw.clear();
    parseSentence(body);
    if (NewGPS) NewGPS();
}

void cZEL_GPS::parseSentence(std::string_view body) {
    const auto f = splitFields(body);
    if (f.size() < 15) return;
    DateOfLast = clock_.now();
    FixTime = std::string(f[1]);
    const auto lat = angle(f[2], f[3], 2, 'S');
    Latitude = lat.text;
    Latitude_Dec = lat.decimal;
    const auto lon = angle(f[4], f[5], 3, 'W');
    Longitude = lon.text;
    Longitude_Dec = lon.decimal;
    QualityIndicator = wholeNumber(f[6]);
    Satellites = wholeNumber(f[7]);
    HDOP = static_cast<float>(val(f[8]));
    height(f[9], f[10], Altitude_Ft, Altitude_M);
    height(f[11], f[12], Geoidal_Ft, Geoidal_M);
    DGPS_Age = static_cast<float>(val(f[13]));
    BaseStationID = std::string(f[14]);
}

std::optional<cZEL_GPS::Utm> cZEL_GPS::LL_UTM(double latitude, double longitude) {
    if (!std::isfinite(latitude) || !std::isfinite(longitude) || std::abs(latitude) > 90 ||
        longitude < -180 || longitude > 180)
        return std::nullopt;
    try {
        Utm u;
        GeographicLib::UTMUPS::Forward(latitude, longitude, u.zone, u.north, u.easting, u.northing);
        return u;
    } catch (const GeographicLib::GeographicErr&) {
        return std::nullopt;
    }
}

} // namespace zel
