#include "log/raw_log_writer.h"

#include "common/number_text.h"
#include "log/binary_block.h"
#include "log/data_lists.h"
#include "settings/ini_file.h"
#include "settings/ini_text.h"

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

namespace zel {
namespace {

// One section being written: every value goes through the one-line encoding of cInifile, so an empty text
// is stored as one blank, exactly as the field's files have it.
class SectionWriter {
public:
    SectionWriter(ini::IniDocument& doc, std::string_view section) : doc_(doc), section_(section) {
        doc_.deleteSection(section_);
    }
    void text(std::string_view key, std::string_view value) {
        doc_.writeString(section_, key, encodeIniValue(value));
    }
    void num(std::string_view key, float v) { text(key, shortestText(v)); }
    void num(std::string_view key, double v) { text(key, shortestText(v)); }
    void integer(std::string_view key, long long v) { text(key, std::to_string(v)); }
    void flag(std::string_view key, bool v) { text(key, boolText(v)); }
    // A list's text holds only digits, signs, points and commas, so the one-line encoding would change
    // nothing but an empty list; skipping it saves a pass over 90,000 characters.
    void list(std::string_view key, std::span<const float> values, int decimals) {
        const std::string t = formatDataList(values, decimals);
        if (t.empty())
            text(key, t);
        else
            doc_.writeString(section_, key, t);
    }

private:
    ini::IniDocument& doc_;
    std::string_view section_;
};

// One column of a point table over the log's points; a column or point the table lacks is 0.
std::vector<float> columnOf(const PointMatrix& m, int column, int points) {
    std::vector<float> out(static_cast<std::size_t>(std::max(points, 0)), 0.0f);
    if (column < 0 || column >= m.width()) return out;
    const int n = std::min(points, m.points());
    for (int p = 0; p < n; ++p)
        out[static_cast<std::size_t>(p)] = m(column, p);
    return out;
}

float at(const std::vector<float>& v, int i) {
    return i >= 0 && static_cast<std::size_t>(i) < v.size() ? v[static_cast<std::size_t>(i)] : 0.0f;
}

void writeInfo(ini::IniDocument& doc, const cZEL_Data& log, const RawLogContext& ctx) {
    SectionWriter s(doc, raw_log::kInfo);
    s.text("Warning", raw_log::kWarning);
    s.text("Time_Start", generalDateText(log.Time_Start()));
    s.text("Time_Stop", generalDateText(log.Time_Stop()));
    s.text("Time_Zone", log.TimeZone());
    s.text("Site", log.Site());
    s.text("Client", log.Client());
    s.text("Job_Number", log.JobNumber());
    s.text("Mode", log.mode());
    s.integer("ModeID", ctx.modeId);
    s.num("Phsph", ctx.phsph);
    s.text("ZEL_Unit", log.ZEL_Unit());
    s.text("Operator", log.Operator());
    s.text("Units", log.Metric() ? "M" : "Ft");
    s.flag("Emulate", log.Emulate());
    s.text("Version", log.Version());
    s.text("ComputerName", environmentComputerName());
    s.text("UserName", environmentUserName());
    s.text("Notes", log.Note());
}

void writeStats(ini::IniDocument& doc, const cZEL_Data& log, const RawLogContext& ctx) {
    SectionWriter s(doc, raw_log::kStats);
    if (ctx.family == LogFamily::Colour) {
        s.num("Depth_Max_Ft", log.Depth_Max_Ft());
        s.num("Depth_Max_M", log.Depth_Max_M());
        return;
    }
    s.num("Signal_MaxValue", log.Signal_MaxValue());
    s.num("Signal_MaxDepth_Ft", log.Signal_MaxDepth_Ft());
    s.num("Signal_MaxDepth_M", log.Signal_MaxDepth_M());
    s.num("Depth_Max_Ft", log.Depth_Max_Ft());
    s.num("Depth_Max_M", log.Depth_Max_M());
    s.num("RE_Area", log.RE_Area());
    s.num("Background_Area", log.Blank_Area());
    for (int n = 1; n <= ctx.channels; ++n) {
        s.num("RE_Area_Ch" + std::to_string(n), at(ctx.reAreaCh, n - 1));
        s.num("Blank_Area_Ch" + std::to_string(n), at(ctx.blankAreaCh, n - 1));
    }
    s.num("RE_Ratio", ctx.reRatio);
    // Three writes of one key: the file keeps the last value. The sequence is that of every log in the
    // field and stays as it is.
    for (float v : ctx.reFluorSum)
        s.num("RE_FluorSum", v);
}

void writeGps(ini::IniDocument& doc, const cZEL_Data& log) {
    SectionWriter s(doc, raw_log::kGps);
    s.text("UTC", log.UTC());
    s.text("Latitude", log.Latitude());
    s.text("Longitude", log.Longitude());
    s.text("CoordSystem", log.CoordSystem());
    s.num("Latitude_Dec", log.Latitude_Dec());
    s.num("Longitude_Dec", log.Longitude_Dec());
    s.text("Fix", log.QualityIndicator());
    s.text("Satellites", log.Satellites());
    s.text("HDOP", log.HDOP());
    s.num("Altitude_Ft", log.Altitude_Ft());
    s.num("Altitude_M", log.Altitude_M());
    s.num("Geoidal_Ft", log.Geoidal_Ft());
    s.num("Geoidal_M", log.Geoidal_M());
    s.text("DGPS_Age", log.DGPS_Age());
    s.text("BaseStationID", log.BaseStationID());
}

void writeConductivityConstants(SectionWriter& s, const cZEL_Data& log) {
    for (int i = 0; i < cZEL_Data::kCondConstants; ++i)
        s.num("Conductivity_Constant(" + std::to_string(i) + ")", log.Cond_Constant(i));
}

void writeDataInfo(ini::IniDocument& doc, const cZEL_Data& log, const RawLogContext& ctx) {
    SectionWriter s(doc, raw_log::kDataInfo);
    if (ctx.family == LogFamily::Colour) {
        s.integer("Data_Points", log.DataPoints());
        s.integer("Data_Cols", log.DataSets());
        s.integer("Wave_Points", log.WavePoints());
        s.num("Wave_DeltaX", log.Wave_DeltaX());
        s.flag("Conductivity", ctx.conductivity);
        s.num("Conductivity_Offset", log.CondOffset());
        writeConductivityConstants(s, log);
        s.num("Hammer_Offset", log.Blow_Offset());
        s.integer("IntegrationTime(ms)", log.IntegrationTime());
        s.num("Spec_WaveMax", log.Spec_WaveMax());
        s.num("Spec_WaveMin", log.Spec_WaveMin());
        return;
    }
    s.integer("Channels", ctx.channels);
    s.integer("Data_Points", log.DataPoints());
    s.integer("Data_Cols", log.DataSets());
    s.integer("Wave_Points", log.WavePoints());
    s.num("Wave_DeltaX", log.Wave_DeltaX());
    s.num("Wave_Delay", ctx.waveDelay);
    s.num("Fiber_Length", ctx.fiberLength);
    const auto& cut = log.Cutoff_Index();
    s.text("Cutoff_Index",
           std::to_string(cut[0]) + "," + std::to_string(cut[1]) + "," + std::to_string(cut[2]));
    s.integer("DepthMode", ctx.depthMode);
    s.flag("TimeMode", log.TimeMode());
    s.num("StringCal", ctx.stringCal);
    s.num("WindowOffsetFt", log.WindowOffset());
    s.num("RodLengthFt", ctx.rodLengthFt);
    s.num("AD4CountsPerFt", ctx.ad4CountsPerFt);
    s.num("ScatterMin", ctx.scatterMin);
    s.flag("Conductivity", ctx.conductivity);
    s.num("Conductivity_Offset", log.CondOffset());
    writeConductivityConstants(s, log);
    static constexpr const char* kCalPoints[] = {"0", "25", "266", "560"};
    for (int i = 0; i < 4; ++i)
        s.num(std::string("Conductivity_V") + kCalPoints[i], ctx.condV[static_cast<std::size_t>(i)]);
    for (int i = 0; i < 4; ++i)
        s.num(std::string("Conductivity_mS") + kCalPoints[i], ctx.condMS[static_cast<std::size_t>(i)]);
    s.num("Hammer_Offset", log.Blow_Offset());
    s.flag("PresFlow", log.PresFlow());
    s.num("PF_Offset", log.PF_Offset());
    s.num("FlowCal0", log.FlowCal(0));
    s.num("FlowCal1", log.FlowCal(1));
    s.num("HPT1ft", log.HPT1ft());
    s.num("HPT0ft", log.HPT0ft());
    const int tests = cZEL_Data::kDissipationTests;
    for (int i = 0; i < tests; ++i)
        s.num("DisDepth" + std::to_string(i), log.DisDepth(i));
    for (int i = 0; i < tests; ++i)
        s.num("DisPres" + std::to_string(i), log.DisPres(i));
    for (int i = 0; i < tests; ++i)
        s.num("DisWT" + std::to_string(i), log.DisWT(i));
    for (int i = 0; i < tests; ++i)
        s.flag("DisInclude" + std::to_string(i), log.DisInclude(i));
    s.flag("Dogwood", log.Dogwood());
    s.integer("HD_Int", ctx.hdInt);
    s.integer("HD_Avg", ctx.hdAvg);
}

void writeData(ini::IniDocument& doc, const cZEL_Data& log, const LogArrays& arrays,
               const RawLogContext& ctx) {
    SectionWriter s(doc, raw_log::kData);
    const int points = log.DataPoints() + 1;
    const int condColumn = ctx.birchMode ? point_column::ConductivityBirch : point_column::Conductivity;

    if (ctx.family == LogFamily::Colour) {
        s.list("Cal_Spec", ctx.spectra.calSpec, list_decimals::Wave);
        s.list("Cal_White", ctx.spectra.calWhite, list_decimals::Wave);
        s.list("Ref_White", ctx.spectra.refWhite, list_decimals::Wave);
        s.list("Ref_Black", ctx.spectra.refBlack, list_decimals::Wave);
        s.list("Ref_Mid", ctx.spectra.refMid, list_decimals::Wave);
        s.list("DEPTH", columnOf(arrays.columns, point_column::Depth, points), list_decimals::Depth);
        s.list("RATE", columnOf(arrays.columns, point_column::Rate, points), list_decimals::Rate);
        s.list("COND", columnOf(arrays.columns, condColumn, points), list_decimals::Conductivity);
        s.list("BLOWCOUNTS", columnOf(arrays.hammer, hammer_column::BlowCount, points),
               list_decimals::BlowCounts);
        s.text("DATA", raw_log::kBinaryAppended);
        return;
    }

    s.list("RE", arrays.re.samples, list_decimals::Wave);
    // The baseline belongs to DATA_INFO; it is added at that section's end while DATA is being written.
    if (ctx.baselineInUse)
        doc.writeString(raw_log::kDataInfo, "BASELINE",
                        encodeIniValue(formatDataList(arrays.baseline, list_decimals::Wave)));
    if (!arrays.blank.empty()) s.list("BLANK", arrays.blank.samples, list_decimals::Wave);
    s.list("RATE", columnOf(arrays.columns, point_column::Rate, points), list_decimals::Rate);
    if (!ctx.hdBoardMode) {
        s.list("DEPTH", columnOf(arrays.columns, point_column::Depth, points), list_decimals::Depth);
        if (ctx.conductivity)
            s.list("COND", columnOf(arrays.columns, condColumn, points), list_decimals::Conductivity);
        if (log.Blow_Max() != 0.0f)
            s.list("BLOWCOUNTS", columnOf(arrays.hammer, hammer_column::BlowCount, points),
                   list_decimals::BlowCounts);
        if (ctx.depthMode == 2)
            s.list("COUNTER", columnOf(arrays.counter, 0, points), list_decimals::Counter);
        if (ctx.family == LogFamily::O2)
            s.list("O2", columnOf(arrays.columns, point_column::O2, points), list_decimals::O2);
    }
    if (log.PresFlow()) {
        s.list("TIME", columnOf(arrays.presFlow, presflow_column::Time, points), list_decimals::PresFlow);
        s.list("PRES_UP", columnOf(arrays.presFlow, presflow_column::PressureUp, points),
               list_decimals::PresFlow);
        s.list("PRES_DOWN", columnOf(arrays.presFlow, presflow_column::PressureDown, points),
               list_decimals::PresFlow);
        s.list("FLOW_UP", columnOf(arrays.presFlow, presflow_column::FlowUp, points),
               list_decimals::PresFlow);
    }
    s.text("DATA", raw_log::kBinaryAppended);
}

bool fail(Host& host, const std::string& what) {
    host.message("Error in SaveRawLog: " + what, MsgButtons::Ok, MsgIcon::Critical);
    return false;
}

// Mask and records of the HD board's side file, copied word for word behind the text part.
bool appendSideFile(BinaryFile& out, const std::string& sidePath, Host& host) {
    BinaryFile side(sidePath, "rb");
    const auto size = side.size();
    if (!side.isOpen() || !size || *size < 4 || !side.seek(0))
        return fail(host, "the HD board data file " + sidePath + " cannot be read.");
    const std::uint64_t words = (*size - 4) / 4;
    std::vector<unsigned char> buf(std::size_t{1} << 16);
    std::uint64_t left = 4 + words * 4;
    while (left > 0) {
        const std::size_t n = static_cast<std::size_t>(std::min<std::uint64_t>(left, buf.size()));
        if (!side.read(buf.data(), n) || !out.write(buf.data(), n))
            return fail(host, "the HD board data could not be copied from " + sidePath + ".");
        left -= n;
    }
    side.close();
    std::error_code ec;
    std::filesystem::remove(sidePath, ec);
    return true;
}

struct BusyPointer {
    explicit BusyPointer(Host& h) : host(h) { host.setBusy(true); }
    ~BusyPointer() { host.setBusy(false); }
    Host& host;
};

} // namespace

std::string rawLogText(const cZEL_Data& log, const LogArrays& arrays, const RawLogContext& ctx) {
    ini::IniDocument doc;
    writeInfo(doc, log, ctx);
    writeStats(doc, log, ctx);
    writeGps(doc, log);
    writeDataInfo(doc, log, ctx);
    writeData(doc, log, arrays, ctx);
    return doc.bytes();
}

RawLogSaveResult SaveRawLog(std::string_view path, const cZEL_Data& log, const LogArrays& arrays,
                            const RawLogContext& ctx, Host& host) {
    RawLogSaveResult r;
    r.path = withRawLogExtension(path, ctx.family);
    if (!ctx.hdBoardMode && (arrays.waves.points() != log.DataPoints() + 1 ||
                             arrays.waves.samplesPerWave() != log.WavePoints() + 1)) {
        fail(host, "the waveform matrix holds " + std::to_string(arrays.waves.points()) + " points of " +
                       std::to_string(arrays.waves.samplesPerWave()) +
                       " samples, but the log has Data_Points " + std::to_string(log.DataPoints()) +
                       " and Wave_Points " + std::to_string(log.WavePoints()) + ".");
        return r;
    }
    BusyPointer busy(host);
    // The INI service must start from an empty file, or keys of an earlier save would survive.
    std::error_code ec;
    std::filesystem::remove(r.path, ec);

    std::string text;
    try {
        text = rawLogText(log, arrays, ctx);
    } catch (const std::exception& e) {
        fail(host, std::string("the text part could not be built (") + e.what() + ").");
        return r;
    }
    BinaryFile out(r.path, "wb");
    if (!out.isOpen()) {
        fail(host, "cannot create " + r.path + ".");
        return r;
    }
    if (!out.write(text.data(), text.size())) {
        fail(host, "cannot write " + r.path + ".");
        return r;
    }
    r.textLength = text.size();
    if (ctx.hdBoardMode) {
        if (!appendSideFile(out, hdSideFilePath(r.path), host)) return r;
    } else {
        unsigned char trailer[4];
        putLe32(trailer, static_cast<std::uint32_t>(r.textLength));
        if (!writeFloatsLe(out, arrays.waves.values()) || !out.write(trailer, 4)) {
            fail(host, "cannot write the data block of " + r.path + ".");
            return r;
        }
    }
    if (!out.close()) {
        fail(host, "cannot complete " + r.path + ".");
        return r;
    }
    r.ok = true;
    return r;
}

} // namespace zel
