#include "log/data_export.h"

#include "common/number_text.h"
#include "log/data_lists.h"
#include "log/path_text.h"

#include <filesystem>
#include <fstream>

namespace zel {

namespace {

constexpr const char* kDepthFormat = "#0.000";
constexpr const char* kValueFormat = "#0.0000";

std::string field(const PointMatrix& m, int column, int point, const char* format) {
    const auto v = m.at(column, point);
    return v ? formatNumber(*v, format) : std::string();
}

// A value the raw log keeps as a list, as the list keeps it: the export written at the end of a push and
// the one written from its raw log later are then the same, whatever digits the instruments gave.
std::string listField(const PointMatrix& m, int column, int point, int decimals, const char* format) {
    const auto v = m.at(column, point);
    return v ? formatNumber(listValue(*v, decimals), format) : std::string();
}

// A sensor's depth (the point's depth less the sensor's offset on the probe) and its value, or two empty
// fields when the log has no such sensor.
void appendSensorPair(std::string& out, bool logged, float depth, const PointMatrix& m, int column, int point,
                      int decimals) {
    if (!logged) {
        out += "\t\t";
        return;
    }
    out +=
        '\t' + formatNumber(depth, kDepthFormat) + '\t' + listField(m, column, point, decimals, kValueFormat);
}

} // namespace

std::string dataExportText(const cZEL_Data& log, const LogArrays& arrays, bool conductivityLogged,
                           const ExportColumns& columns) {
    const bool presFlow = log.PresFlow() && arrays.presFlow.points() > 0;
    const bool hammer = log.Blow_Max() != 0.0f && arrays.hammer.points() > 0;
    std::string out =
        "Depth\tSignal\tCh1\tCh2\tCh3\tCh4\tRate\tEC Depth\tEC Value\tHmr Depth\tHmr Value\tColor";
    if (presFlow) out += "\tHP Depth\tHP Time\tHP PresUp\tHP PresDown\tHP FlowUp\tHP K est.";
    out += "\r\n";
    const PointMatrix& c = arrays.columns;
    for (int p = 0; p < c.points(); ++p) {
        const float depth = listValue(c(point_column::Depth, p), list_decimals::Depth);
        out += formatNumber(depth, kDepthFormat);
        out += '\t' + field(c, columns.signal, p, kValueFormat);
        for (int ch : columns.channels)
            out += '\t' + field(c, ch, p, kValueFormat);
        out += '\t' + listField(c, point_column::Rate, p, list_decimals::Rate, kValueFormat);
        appendSensorPair(out, conductivityLogged, depth - log.CondOffset(), c, columns.conductivity, p,
                         list_decimals::Conductivity);
        appendSensorPair(out, hammer, depth - log.Blow_Offset(), arrays.hammer, hammer_column::BlowCount, p,
                         list_decimals::BlowCounts);
        out += '\t';
        if (presFlow) {
            const PointMatrix& h = arrays.presFlow;
            out += '\t' + listField(h, presflow_column::Depth, p, list_decimals::Depth, kDepthFormat);
            out += '\t' + listField(h, presflow_column::Time, p, list_decimals::PresFlow, kDepthFormat);
            for (int col :
                 {presflow_column::PressureUp, presflow_column::PressureDown, presflow_column::FlowUp})
                out += '\t' + listField(h, col, p, list_decimals::PresFlow, kValueFormat);
            out += '\t' + field(h, presflow_column::KEstimate, p, kValueFormat);
        }
        out += "\r\n";
    }
    return out;
}

std::string colourExportText(const cZEL_Data& log, const LogArrays& arrays, bool conductivityLogged) {
    const bool hammer = log.Blow_Max() != 0.0f && arrays.hammer.points() > 0;
    std::string out = "Depth\tRate\tRGB\tM_Hue\tM_Val\tM_Chr\tCnd_Depth\tCnd_Val\tHmr_Depth\tHmr_Rate\r\n";
    const PointMatrix& c = arrays.columns;
    for (int p = 0; p < c.points(); ++p) {
        const float depth = listValue(c(point_column::Depth, p), list_decimals::Depth);
        out += formatNumber(depth, kDepthFormat);
        out += '\t' + listField(c, point_column::Rate, p, list_decimals::Rate, kValueFormat);
        out += "\t\t\t\t"; // RGB and the Munsell hue, value and chroma
        appendSensorPair(out, conductivityLogged, depth - log.CondOffset(), c, point_column::Conductivity, p,
                         list_decimals::Conductivity);
        appendSensorPair(out, hammer, depth - log.Blow_Offset(), arrays.hammer, hammer_column::BlowCount, p,
                         list_decimals::BlowCounts);
        out += "\r\n";
    }
    return out;
}

std::string dataExportPath(const cZEL_Data& log, LogFamily family, const std::string& targetFolder) {
    const std::string ext =
        std::string(familyTag(family == LogFamily::Colour, family == LogFamily::O2)) + ".dat.txt";
    if (!targetFolder.empty()) {
        std::string folder = targetFolder;
        if (folder.back() != '/' && folder.back() != '\\') folder += '/';
        return folder + log.File_Title_NoExt() + ext;
    }
    return replaceEndingNoCase(log.File_FullPath(), rawLogExtension(family), ext);
}

std::optional<std::string> ExportDataText(const cZEL_Data& log, const LogArrays& arrays,
                                          const RawLogContext& ctx, const std::string& targetFolder,
                                          Host& host, bool withPointValues) {
    const std::string path = dataExportPath(log, ctx.family, targetFolder);
    if (path == log.File_FullPath()) {
        // A path that is not a raw log name would otherwise be overwritten by its own export.
        host.message("Error in Export_Data: not a raw log path: " + path, MsgButtons::Ok, MsgIcon::Critical);
        return std::nullopt;
    }
    ExportColumns columns;
    if (ctx.birchMode) columns.conductivity = point_column::ConductivityBirch;
    if (!withPointValues) {
        // No column has a negative index, so these fields stay empty rather than showing zeros as data.
        columns.signal = -1;
        columns.channels.fill(-1);
    }
    const std::string text = ctx.family == LogFamily::Colour
                                 ? colourExportText(log, arrays, ctx.conductivity)
                                 : dataExportText(log, arrays, ctx.conductivity, columns);
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out << text;
    out.close();
    if (!out) {
        host.message("Error in Export_Data: cannot write " + path, MsgButtons::Ok, MsgIcon::Critical);
        return std::nullopt;
    }
    return path;
}

} // namespace zel
