#include "log/data_export.h"

#include "common/number_text.h"
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
        const float depth = c(point_column::Depth, p);
        out += formatNumber(depth, kDepthFormat);
        out += '\t' + field(c, columns.signal, p, kValueFormat);
        for (int ch : columns.channels)
            out += '\t' + field(c, ch, p, kValueFormat);
        out += '\t' + field(c, point_column::Rate, p, kValueFormat);
        if (conductivityLogged)
            out += '\t' + formatNumber(depth - log.CondOffset(), kDepthFormat) + '\t' +
                   field(c, columns.conductivity, p, kValueFormat);
        else
            out += "\t\t";
        if (hammer)
            out += '\t' + formatNumber(depth - log.Blow_Offset(), kDepthFormat) + '\t' +
                   field(arrays.hammer, hammer_column::BlowCount, p, kValueFormat);
        else
            out += "\t\t";
        out += '\t';
        if (presFlow) {
            const PointMatrix& h = arrays.presFlow;
            out += '\t' + field(h, presflow_column::Depth, p, kDepthFormat);
            out += '\t' + field(h, presflow_column::Time, p, kDepthFormat);
            for (int col : {presflow_column::PressureUp, presflow_column::PressureDown,
                            presflow_column::FlowUp, presflow_column::KEstimate})
                out += '\t' + field(h, col, p, kValueFormat);
        }
        out += "\r\n";
    }
    return out;
}

std::string dataExportPath(const cZEL_Data& log, LogFamily family, const std::string& targetFolder) {
    const std::string ext = std::string(familyTag(false, family == LogFamily::O2)) + ".dat.txt";
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
    if (ctx.family == LogFamily::Colour) {
        host.message(
            "Error in Export_Data: the colour export (.clr.dat.txt) is not available in this version.",
            MsgButtons::Ok, MsgIcon::Critical);
        return std::nullopt;
    }
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
    const std::string text = dataExportText(log, arrays, ctx.conductivity, columns);
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
