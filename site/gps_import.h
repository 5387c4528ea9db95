#pragma once
// Positions of a site's borings from a survey, written into logs pushed without a GPS fix (a receiver that
// never locked, a push under a canopy). The survey is a CSV with a header row naming its columns (name,
// latitude, longitude and optionally elevation in metres) or a GPX file of waypoints; a log takes the
// position whose name equals its own, ignoring case.
//
// The log is rewritten with only its GPS section replaced: every other byte of the text part and the whole
// binary block stay as they were, and the trailer follows the text part's new length.

#include "log/log_data.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace zel::site {

struct BoringPosition {
    std::string name;
    double lat = 0, lon = 0; // WGS-84 decimal degrees
    std::optional<double> elevationM;
};

// nullopt with the reason (and the line) when the survey cannot be read; positions outside the globe are
// refused rather than written into a log.
std::optional<std::vector<BoringPosition>> parsePositionsCsv(std::string_view text, std::string& error);
std::optional<std::vector<BoringPosition>> parsePositionsGpx(std::string_view text, std::string& error);

const BoringPosition* findPosition(const std::vector<BoringPosition>& positions, std::string_view logName);

// The GPS members as a receiver would have filled them, with fix quality "0": a surveyed position, not a fix.
void applyPosition(cZEL_Data& log, const BoringPosition& position);

// fileBytes (a whole raw log) with its section `name` replaced by sectionBytes (header line included, as
// rawLogText writes it). withTrailer: the file ends in the 4-byte text length (every log but the data
// board's). nullopt with the reason when the file's text part cannot be found.
std::optional<std::string> replaceSection(std::string_view fileBytes, bool withTrailer, std::string_view name,
                                          std::string_view sectionBytes, std::string& error);

// The bytes of section `name` of a text part, from its header line to the line before the next section.
std::string_view sectionOf(std::string_view text, std::string_view name);

} // namespace zel::site
