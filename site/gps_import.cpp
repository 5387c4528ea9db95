#include "site/gps_import.h"

#include "common/number_text.h"
#include "log/raw_log_format.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cmath>
#include <cstdint>

namespace zel::site {

namespace {

std::string lower(std::string_view s) {
    std::string out(s);
    std::transform(out.begin(), out.end(), out.begin(), [](unsigned char c) { return std::tolower(c); });
    return out;
}

std::string_view trim(std::string_view s) {
    while (!s.empty() && (s.front() == ' ' || s.front() == '\t' || s.front() == '"'))
        s.remove_prefix(1);
    while (!s.empty() && (s.back() == ' ' || s.back() == '\t' || s.back() == '\r' || s.back() == '"'))
        s.remove_suffix(1);
    return s;
}

std::vector<std::string_view> splitCsv(std::string_view line) {
    const char sep =
        line.find(';') != std::string_view::npos && line.find(',') == std::string_view::npos ? ';' : ',';
    std::vector<std::string_view> out;
    for (;;) {
        const auto at = line.find(sep);
        out.push_back(trim(line.substr(0, at)));
        if (at == std::string_view::npos) return out;
        line.remove_prefix(at + 1);
    }
}

// Strict: a survey's cell is a number or refused, never read as 0.
std::optional<double> number(std::string_view text) {
    text = trim(text);
    if (!text.empty() && text.front() == '+') text.remove_prefix(1);
    double v = 0;
    const auto [end, ec] = std::from_chars(text.data(), text.data() + text.size(), v);
    if (text.empty() || ec != std::errc{} || end != text.data() + text.size() || !std::isfinite(v))
        return std::nullopt;
    return v;
}

bool onGlobe(double lat, double lon) {
    return lat >= -90 && lat <= 90 && lon >= -180 && lon <= 180;
}

int columnOf(const std::vector<std::string_view>& header, std::initializer_list<std::string_view> names) {
    for (std::size_t i = 0; i < header.size(); ++i)
        for (const auto n : names)
            if (lower(header[i]) == n) return static_cast<int>(i);
    return -1;
}

// The value of attribute `name` inside one tag's text, or empty.
std::string_view attribute(std::string_view tag, std::string_view name) {
    for (std::size_t at = tag.find(name); at != std::string_view::npos; at = tag.find(name, at + 1)) {
        const bool starts = at > 0 && std::isspace(static_cast<unsigned char>(tag[at - 1]));
        auto rest = tag.substr(at + name.size());
        while (!rest.empty() && rest.front() == ' ')
            rest.remove_prefix(1);
        if (!starts || rest.empty() || rest.front() != '=') continue;
        rest.remove_prefix(1);
        while (!rest.empty() && rest.front() == ' ')
            rest.remove_prefix(1);
        if (rest.empty() || (rest.front() != '"' && rest.front() != '\'')) return {};
        const char quote = rest.front();
        const auto end = rest.find(quote, 1);
        return end == std::string_view::npos ? std::string_view{} : rest.substr(1, end - 1);
    }
    return {};
}

std::string_view element(std::string_view body, std::string_view name) {
    const std::string open = "<" + std::string(name) + ">", close = "</" + std::string(name) + ">";
    const auto a = body.find(open);
    if (a == std::string_view::npos) return {};
    const auto b = body.find(close, a);
    return b == std::string_view::npos ? std::string_view{}
                                       : trim(body.substr(a + open.size(), b - a - open.size()));
}

// "dd mm.mmmm H", as a receiver's sentence gives a position.
std::string degreesMinutes(double value, int degreeDigits, char positive, char negative) {
    const double a = std::fabs(value);
    int degrees = static_cast<int>(a);
    double minutes = (a - degrees) * 60.0;
    if (std::round(minutes * 10000.0) >= 600000.0) {
        ++degrees;
        minutes = 0.0;
    }
    std::string d = std::to_string(degrees);
    if (static_cast<int>(d.size()) < degreeDigits) d.insert(0, degreeDigits - d.size(), '0');
    return d + " " + formatNumber(minutes, "00.0000") + " " + (value < 0 ? negative : positive);
}

constexpr double kFeetPerMetre = 3.28083989501312;

} // namespace

std::optional<std::vector<BoringPosition>> parsePositionsCsv(std::string_view text, std::string& error) {
    std::vector<BoringPosition> out;
    std::vector<std::string_view> header;
    int name = -1, lat = -1, lon = -1, elev = -1;
    int lineNo = 0;
    while (!text.empty()) {
        const auto nl = text.find('\n');
        const std::string_view line = trim(text.substr(0, nl));
        text.remove_prefix(nl == std::string_view::npos ? text.size() : nl + 1);
        ++lineNo;
        if (line.empty()) continue;
        const auto cells = splitCsv(line);
        if (header.empty()) {
            header = cells;
            name = columnOf(header, {"name", "boring", "id", "location", "log"});
            lat = columnOf(header, {"lat", "latitude", "latitude_dec", "y"});
            lon = columnOf(header, {"lon", "long", "lng", "longitude", "longitude_dec", "x"});
            elev = columnOf(header, {"elevation", "elev", "ele", "elevation_m", "altitude", "z"});
            if (name < 0 || lat < 0 || lon < 0) {
                error = "the first line must name the columns name, latitude and longitude";
                return std::nullopt;
            }
            continue;
        }
        const auto cell = [&](int i) { return i >= 0 && i < static_cast<int>(cells.size()) ? cells[i] : ""; };
        BoringPosition p;
        p.name = std::string(cell(name));
        const auto la = number(cell(lat)), lo = number(cell(lon));
        if (p.name.empty() || !la || !lo || !onGlobe(*la, *lo)) {
            error = "line " + std::to_string(lineNo) + " holds no name or no position on the globe";
            return std::nullopt;
        }
        p.lat = *la;
        p.lon = *lo;
        if (!cell(elev).empty()) {
            p.elevationM = number(cell(elev));
            if (!p.elevationM) {
                error = "line " + std::to_string(lineNo) + ": the elevation is not a number";
                return std::nullopt;
            }
        }
        out.push_back(std::move(p));
    }
    if (out.empty()) error = "no position is listed";
    return out.empty() ? std::nullopt : std::optional(std::move(out));
}

std::optional<std::vector<BoringPosition>> parsePositionsGpx(std::string_view text, std::string& error) {
    std::vector<BoringPosition> out;
    for (std::size_t at = text.find("<wpt"); at != std::string_view::npos; at = text.find("<wpt", at + 4)) {
        const auto tagEnd = text.find('>', at);
        const auto close = text.find("</wpt>", at);
        if (tagEnd == std::string_view::npos || close == std::string_view::npos || close < tagEnd) {
            error = "a waypoint is not closed";
            return std::nullopt;
        }
        const auto tag = text.substr(at, tagEnd - at);
        const auto body = text.substr(tagEnd + 1, close - tagEnd - 1);
        BoringPosition p;
        p.name = std::string(element(body, "name"));
        const auto la = number(attribute(tag, "lat")), lo = number(attribute(tag, "lon"));
        if (p.name.empty() || !la || !lo || !onGlobe(*la, *lo)) {
            error =
                "waypoint " + std::to_string(out.size() + 1) + " holds no name or no position on the globe";
            return std::nullopt;
        }
        p.lat = *la;
        p.lon = *lo;
        if (const auto e = element(body, "ele"); !e.empty()) p.elevationM = number(e);
        out.push_back(std::move(p));
    }
    if (out.empty()) error = "no waypoint is listed";
    return out.empty() ? std::nullopt : std::optional(std::move(out));
}

const BoringPosition* findPosition(const std::vector<BoringPosition>& positions, std::string_view logName) {
    const std::string want = lower(logName);
    for (const auto& p : positions)
        if (lower(p.name) == want) return &p;
    return nullptr;
}

void applyPosition(cZEL_Data& log, const BoringPosition& p) {
    log.UTC("");
    log.Latitude(degreesMinutes(p.lat, 2, 'N', 'S'));
    log.Longitude(degreesMinutes(p.lon, 3, 'E', 'W'));
    log.CoordSystem("WGS-84");
    log.Latitude_Dec(p.lat);
    log.Longitude_Dec(p.lon);
    log.QualityIndicator("0");
    log.Satellites("0");
    log.HDOP("");
    log.Altitude_M(p.elevationM.value_or(0.0));
    log.Altitude_Ft(p.elevationM.value_or(0.0) * kFeetPerMetre);
    log.Geoidal_M(0.0);
    log.Geoidal_Ft(0.0);
    log.DGPS_Age("");
    log.BaseStationID("");
}

std::string_view sectionOf(std::string_view text, std::string_view name) {
    const std::string header = "[" + lower(name) + "]";
    std::size_t at = 0;
    for (;;) {
        const auto eol = text.find('\n', at);
        const auto line =
            trim(text.substr(at, eol == std::string_view::npos ? std::string_view::npos : eol - at));
        if (lower(line) == header) break;
        if (eol == std::string_view::npos) return {};
        at = eol + 1;
    }
    std::size_t end = at;
    for (;;) {
        const auto eol = text.find('\n', end);
        if (eol == std::string_view::npos) return text.substr(at);
        end = eol + 1;
        if (end < text.size() && text[end] == '[') return text.substr(at, end - at);
    }
}

std::optional<std::string> replaceSection(std::string_view file, bool withTrailer, std::string_view name,
                                          std::string_view sectionBytes, std::string& error) {
    const std::string marker = std::string("DATA=") + std::string(raw_log::kBinaryAppended) + "\r\n";
    const auto m = file.find(marker);
    if (m == std::string_view::npos) {
        error = "the file holds no \"DATA=Binary Appended\" line";
        return std::nullopt;
    }
    const std::size_t textLength = m + marker.size();
    if (withTrailer) {
        if (file.size() < textLength + 4) {
            error = "the file ends inside its data block";
            return std::nullopt;
        }
        const auto* t = reinterpret_cast<const unsigned char*>(file.data() + file.size() - 4);
        const std::uint32_t stored = t[0] | t[1] << 8 | t[2] << 16 | static_cast<std::uint32_t>(t[3]) << 24;
        if (stored != textLength) {
            error = "the trailer does not give the text part's length";
            return std::nullopt;
        }
    }
    const std::string_view text = file.substr(0, textLength);
    const std::string_view old = sectionOf(text, name);
    std::string out;
    out.reserve(file.size() + sectionBytes.size());
    if (old.empty()) {
        // A log without the section gets it before DATA_INFO, where the writer puts it.
        const auto before = sectionOf(text, "DATA_INFO");
        const std::size_t at = before.empty() ? 0 : static_cast<std::size_t>(before.data() - text.data());
        out.append(text.substr(0, at)).append(sectionBytes).append(text.substr(at));
    } else {
        const std::size_t at = static_cast<std::size_t>(old.data() - text.data());
        out.append(text.substr(0, at)).append(sectionBytes).append(text.substr(at + old.size()));
    }
    const std::size_t newLength = out.size();
    out.append(file.substr(textLength, file.size() - textLength - (withTrailer ? 4 : 0)));
    if (withTrailer)
        for (int i = 0; i < 4; ++i)
            out.push_back(static_cast<char>((newLength >> (8 * i)) & 0xFF));
    return out;
}

} // namespace zel::site
