#include "log/raw_log_reader.h"

#include "common/hd_layout.h"
#include "log/hd_stream.h"

#include "analysis/k_estimate.h"
#include "common/number_text.h"
#include "log/binary_block.h"
#include "log/data_lists.h"
#include "log/log_limits.h"
#include "waveform/waveform.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <filesystem>
#include <limits>
#include <stdexcept>

namespace zel {
namespace {

using namespace raw_log;

// Per-point columns a loaded log always has room for: the lists name columns up to 7 (Birch conductivity)
// and the recomputed point values go where the push keeps them.
constexpr int kMinDataColumns = point_column::PushCount;

std::string_view trimmed(std::string_view t) {
    while (!t.empty() && (t.front() == ' ' || t.front() == '\t'))
        t.remove_prefix(1);
    while (!t.empty() && (t.back() == ' ' || t.back() == '\t'))
        t.remove_suffix(1);
    return t;
}

float number(const RawLogText& t, std::string_view section, std::string_view key) {
    return static_cast<float>(val(t.value(section, key)));
}

double number64(const RawLogText& t, std::string_view section, std::string_view key) {
    return val(t.value(section, key));
}

int integer(std::string_view text) {
    const double d = val(text);
    if (!(d > std::numeric_limits<int>::min() && d < std::numeric_limits<int>::max())) return 0;
    return static_cast<int>(std::lround(d));
}

int integer(const RawLogText& t, std::string_view section, std::string_view key) {
    return integer(t.value(section, key));
}

// "True" in any case, or a number other than 0, as Basic converts a text to a Boolean.
bool flag(const RawLogText& t, std::string_view section, std::string_view key) {
    const std::string v = t.value(section, key);
    const std::string_view s = trimmed(v);
    if (s.size() == 4 && (s[0] == 'T' || s[0] == 't') && (s[1] == 'R' || s[1] == 'r') &&
        (s[2] == 'U' || s[2] == 'u') && (s[3] == 'E' || s[3] == 'e'))
        return true;
    return val(s) != 0.0;
}

// A size from DATA_INFO: a missing key is 0, anything but a plain whole number is refused.
std::optional<long long> size(const RawLogText& t, std::string_view key) {
    const std::string v = t.value(kDataInfo, key);
    std::string_view s = trimmed(v);
    if (s.empty()) return 0;
    bool negative = false;
    if (s.front() == '-' || s.front() == '+') {
        negative = s.front() == '-';
        s.remove_prefix(1);
    }
    if (s.empty() || s.size() > 12) return std::nullopt;
    long long n = 0;
    for (char c : s) {
        if (c < '0' || c > '9') return std::nullopt;
        n = n * 10 + (c - '0');
    }
    return negative ? -n : n;
}

// The file is named on a line of its own: a batch of loads must say which log failed.
bool report(Host& host, const std::string& path, const std::string& what) {
    host.message("Error in LoadRawLog: " + what + "\r\nFile: " + path, MsgButtons::Ok, MsgIcon::Critical);
    return false;
}

// The file's length, the text part found by the block search and its bytes.
struct Located {
    TrailerState state;
    std::string text;
};

std::optional<Located> locate(const std::string& path, std::string& error) {
    const auto st = inspectTrailer(path);
    if (!st) {
        error = "cannot open " + path + ".";
        return std::nullopt;
    }
    if (!st->marker) {
        error = "the file holds no \"" + std::string(kMarker) +
                "\": it is not a raw log, or its text part is damaged.";
        return std::nullopt;
    }
    if (st->textLength > st->fileSize) {
        error = "the text part runs to the end of the file: there is no data block.";
        return std::nullopt;
    }
    if (st->keysEnd > ini::kMaxDocumentBytes) {
        error = "the text part is too large for a raw log.";
        return std::nullopt;
    }
    Located loc{*st, std::string(static_cast<std::size_t>(st->keysEnd), '\0')};
    BinaryFile f(path, "rb");
    if (!f.isOpen() || !f.read(loc.text.data(), loc.text.size())) {
        error = "cannot read the text part of " + path + ".";
        return std::nullopt;
    }
    return loc;
}

// Where the waveform block starts. The block search's L stands unless the trailer says otherwise and is
// provably right: it points just past the writer's own marker line and exactly the block the header
// describes (and the trailer) lies behind it. Then the "Appended" the search found stands in an earlier
// value, and the trailer is trusted as it is.
struct BlockPlace {
    std::uint64_t offset = 0;
    bool mend = false; // the trailer is to be rewritten with offset
};

BlockPlace placeBlock(const std::string& path, const TrailerState& st, std::uint64_t blockBytes) {
    if (st.matches()) return {st.textLength, false};
    if (st.stored && *st.stored >= 0) {
        const auto stored = static_cast<std::uint64_t>(*st.stored);
        BinaryFile f(path, "rb");
        if (stored + blockBytes + 4 == st.fileSize && f.isOpen() && endsMarkerLine(f, stored))
            return {stored, false};
    }
    return {st.textLength, true};
}

// The trailer rewritten with the L the search found; the message first, as the program always showed it.
bool mendTrailer(const std::string& path, std::uint64_t textLength, bool quiet, Host& host) {
    if (!quiet) host.message(kAlteredMessage, MsgButtons::Ok, MsgIcon::Exclamation);
    return rewriteTrailer(path, static_cast<std::uint32_t>(textLength));
}

struct ListReader {
    const RawLogText& text;
    Host& host;
    const std::string& path;

    // false (with the message shown) when the list is damaged; an absent list leaves out empty.
    bool read(std::string_view section, std::string_view key, std::size_t maxElements,
              std::vector<float>& out, bool* present = nullptr) {
        out.clear();
        const auto v = text.unlimitedValue(section, key);
        if (present) *present = v.has_value();
        if (!v) return true;
        const ListParse r = parseDataList(*v, maxElements, out);
        if (r.ok) return true;
        if (r.tooLong)
            return report(host, path,
                          "the list " + std::string(key) + " holds more than " + std::to_string(maxElements) +
                              " values.");
        return report(host, path,
                      "element " + std::to_string(r.badElement + 1) + " of the list " + std::string(key) +
                          " is not a number.");
    }

    // A per-point list into one column of a point table: one value for each point, or the load fails.
    bool column(std::string_view key, PointMatrix& m, int column, int points) {
        std::vector<float> values;
        bool present = false;
        if (!read(kData, key, static_cast<std::size_t>(points), values, &present)) return false;
        if (!present) return true;
        if (values.size() != static_cast<std::size_t>(points))
            return report(host, path,
                          "the list " + std::string(key) + " holds " + std::to_string(values.size()) +
                              " values for " + std::to_string(points) + " points.");
        for (int p = 0; p < points; ++p)
            m(column, p) = values[static_cast<std::size_t>(p)];
        return true;
    }
};

bool readBaseline(ListReader& lists, LogArrays& arrays, RawLogContext& ctx,
                  const RawLogLoadOptions& options) {
    const auto stored = lists.text.unlimitedValue(kDataInfo, "BASELINE");
    if (!options.baselineFeature || !stored || trimmed(*stored).empty()) return true;
    if (!options.quiet &&
        lists.host.message(kBaselineQuestion, MsgButtons::YesNo, MsgIcon::Question) != MsgResult::Yes)
        return true;
    std::vector<float> baseline;
    if (!lists.read(kDataInfo, "BASELINE", kMaxSamplesPerWave, baseline)) return false;
    arrays.baseline = std::move(baseline);
    ctx.baselineInUse = true;
    return true;
}

bool readWaveLists(ListReader& lists, cZEL_Data& log, LogArrays& arrays, RawLogLoadResult& result) {
    if (!lists.read(kData, "RE", kMaxSamplesPerWave, arrays.re.samples)) return false;
    if (arrays.re.samples.empty()) {
        arrays.re.samples.assign(static_cast<std::size_t>(log.WavePoints() + 1), 0.0f);
        result.reMissing = true;
        // Unlike the repair message this one is shown in quiet loads too: a batch must not pass over a log
        // whose processing has no reference.
        lists.host.message(kMissingReMessage, MsgButtons::Ok, MsgIcon::Exclamation);
    }
    arrays.re.deltaX = log.Wave_DeltaX();
    if (!lists.read(kData, "BLANK", kMaxSamplesPerWave, arrays.blank.samples)) return false;
    arrays.blank.deltaX = log.Wave_DeltaX();
    return true;
}

bool readPointLists(ListReader& lists, cZEL_Data& log, LogArrays& a, const RawLogContext& ctx, int points) {
    const int condColumn = ctx.birchMode ? point_column::ConductivityBirch : point_column::Conductivity;
    bool ok = lists.column("DEPTH", a.columns, point_column::Depth, points) &&
              lists.column("RATE", a.columns, point_column::Rate, points) &&
              lists.column("COND", a.columns, condColumn, points);
    // An O2 column in a log opened outside O2 mode is not the program's to show.
    if (ok && ctx.family == LogFamily::O2) ok = lists.column("O2", a.columns, point_column::O2, points);
    ok = ok && lists.column("BLOWCOUNTS", a.hammer, hammer_column::BlowCount, points) &&
         lists.column("COUNTER", a.counter, 0, points);
    // Blow_Max is not stored, but it decides whether BLOWCOUNTS is written: without it a log loaded and
    // saved again would lose its blow counts.
    float blowMax = 0.0f;
    for (int p = 0; ok && p < points; ++p)
        blowMax = std::max(blowMax, a.hammer(hammer_column::BlowCount, p));
    log.Blow_Max(blowMax);
    if (ok && a.presFlow.width() > 0)
        ok = lists.column("PRES_UP", a.presFlow, presflow_column::PressureUp, points) &&
             lists.column("TIME", a.presFlow, presflow_column::Time, points) &&
             lists.column("PRES_DOWN", a.presFlow, presflow_column::PressureDown, points) &&
             lists.column("FLOW_UP", a.presFlow, presflow_column::FlowUp, points);
    return ok;
}

bool readSpectra(ListReader& lists, RawLogContext& ctx) {
    auto& s = ctx.spectra;
    return lists.read(kData, "Cal_Spec", kMaxSamplesPerWave, s.calSpec) &&
           lists.read(kData, "Cal_White", kMaxSamplesPerWave, s.calWhite) &&
           lists.read(kData, "Ref_White", kMaxSamplesPerWave, s.refWhite) &&
           lists.read(kData, "Ref_Black", kMaxSamplesPerWave, s.refBlack) &&
           lists.read(kData, "Ref_Mid", kMaxSamplesPerWave, s.refMid);
}

bool hasPresFlowLists(const RawLogText& t) {
    for (const char* k : {"TIME", "PRES_UP", "PRES_DOWN", "FLOW_UP"})
        if (t.has(kData, k)) return true;
    return false;
}

// Normal mode: the waveform matrix of exactly Data_Points + 1 points from offset L. With processing, each
// run of points is processed as soon as it is read, while its samples are still in the cache: a whole log
// is 20 MB, and going through it a second time would cost as much as reading it.
bool readWaveBlock(const std::string& path, std::uint64_t offset, LogArrays& arrays, Host& host,
                   LogPointProcessing* processing, bool& processed) {
    constexpr std::size_t kFloatsPerRun = std::size_t{1} << 16; // 256 KB
    BinaryFile f(path, "rb");
    if (!f.isOpen() || !f.seek(offset)) return report(host, path, "the data block is cut short.");
    const int points = arrays.waves.points();
    const auto width = static_cast<std::size_t>(arrays.waves.width());
    const int run =
        static_cast<int>(std::max<std::size_t>(1, kFloatsPerRun / std::max<std::size_t>(width, 1)));
    processed = processing != nullptr;
    for (int p = 0; p < points; p += run) {
        const int n = std::min(run, points - p);
        const auto values = arrays.waves.values().subspan(static_cast<std::size_t>(p) * width,
                                                          static_cast<std::size_t>(n) * width);
        if (!readFloatsLe(f, values)) return report(host, path, "the data block is cut short.");
        if (processed) processed = processing->points(arrays, p, p + n);
    }
    return true;
}

// HD-board mode: the mask and N records of C floats from offset L, spread over the log's arrays.
// pointValues: the records carry the push's %RE and every channel, so the log's point values are whole.
bool readHdBlock(const std::string& path, const Located& loc, cZEL_Data& log, LogArrays& arrays, Host& host,
                 bool& pointValues) {
    const std::uint64_t L = loc.state.textLength;
    if (loc.state.fileSize < L + 4) return report(host, path, "the HD board block has no column mask.");
    BinaryFile f(path, "rb");
    unsigned char word[4];
    if (!f.isOpen() || !f.seek(L) || !f.read(word, 4))
        return report(host, path, "cannot read the HD board block.");
    const std::uint32_t mask = getLe32(word);
    const int c = hdColumnCount(mask);
    if (c == 0) return report(host, path, "the HD board column mask selects no column.");
    const std::uint64_t floats = (loc.state.fileSize - L - 4) / 4;
    const double exact = static_cast<double>(loc.state.fileSize - L - 4) / c / 4.0;
    const long long n = std::llround(exact);
    if (n < 1) return report(host, path, "the HD board block holds no record.");
    if (n > kMaxPoints)
        return report(host, path,
                      "the HD board block holds more than " + std::to_string(kMaxPoints) + " records.");

    // Rounding to the nearest record may ask for a few values more than the file holds; those stay 0.
    std::vector<float> records(static_cast<std::size_t>(n) * static_cast<std::size_t>(c), 0.0f);
    const std::size_t available = static_cast<std::size_t>(std::min<std::uint64_t>(floats, records.size()));
    if (!readFloatsLe(f, std::span<float>(records.data(), available)))
        return report(host, path, "the HD board block is cut short.");
    f.close();

    const int points = static_cast<int>(n);
    const int columns = std::clamp(log.DataSets(), hd_layout::kPointColumns, kMaxDataColumns);
    if (const ArrayStatus st = arrays.resize(kHdWavePoints + 1, columns, points, log.PresFlow());
        st != ArrayStatus::Ok)
        return report(host, path, "the log's arrays cannot be sized (" + std::string(describe(st)) + ").");
    // The channel values are the board's less the background's, as the push computed them.
    HdChannels background{};
    for (std::size_t k = 0; k < background.size() && k < arrays.blank.samples.size(); ++k)
        background[k] = arrays.blank.samples[k];
    for (int p = 0; p < points; ++p) {
        const auto record = std::span<const float>(records).subspan(
            static_cast<std::size_t>(p) * static_cast<std::size_t>(c), static_cast<std::size_t>(c));
        DistributeHdRecord(mask, record, background, arrays.columns.row(p), arrays.waves.row(p));
    }
    log.DataPoints(points - 1);
    bool everyChannel = true;
    for (int bit = 0; bit < hd_layout::kBoardColumns; ++bit) {
        const int channel = hd_layout::columnOfBit(bit) - hd_layout::kFirstSignalColumn;
        if (channel >= 0 && channel < hd_layout::kSignalColumns)
            everyChannel = everyChannel && (mask >> bit & 1u);
    }
    pointValues = everyChannel && (mask & hd_layout::kPushValuesBit) != 0;
    return true;
}

} // namespace

void ReadInfo(const RawLogText& t, cZEL_Data& log, RawLogContext& ctx) {
    log.Time_Start(parseDateTime(t.value(kInfo, "Time_Start")).value_or(DateTime{}));
    log.Time_Stop(parseDateTime(t.value(kInfo, "Time_Stop")).value_or(DateTime{}));
    log.TimeZone(t.value(kInfo, "Time_Zone"));
    log.Site(t.value(kInfo, "Site"));
    log.Client(t.value(kInfo, "Client"));
    log.JobNumber(t.value(kInfo, "Job_Number"));
    log.mode(t.value(kInfo, "Mode"));
    ctx.modeFamily = modeFamilyOf(log.mode());
    ctx.birchMode = ctx.modeFamily == ModeFamily::Birch;
    ctx.modeId = integer(t, kInfo, "ModeID");
    ctx.phsph = number(t, kInfo, "Phsph");
    log.ZEL_Unit(t.value(kInfo, "ZEL_Unit"));
    log.Operator(t.value(kInfo, "Operator"));
    log.Metric(t.value(kInfo, "Units") == "M");
    log.Emulate(flag(t, kInfo, "Emulate"));
    log.Version(t.value(kInfo, "Version"));
    ctx.computerName = t.value(kInfo, "ComputerName");
    ctx.userName = t.value(kInfo, "UserName");
    log.Note(t.value(kInfo, "Notes"));
}

void ReadStats(const RawLogText& t, cZEL_Data& log, RawLogContext& ctx) {
    log.Signal_MaxValue(number(t, kStats, "Signal_MaxValue"));
    log.Signal_MaxDepth_Ft(number(t, kStats, "Signal_MaxDepth_Ft"));
    log.Signal_MaxDepth_M(number(t, kStats, "Signal_MaxDepth_M"));
    log.Depth_Max_Ft(number(t, kStats, "Depth_Max_Ft"));
    log.Depth_Max_M(number(t, kStats, "Depth_Max_M"));
    log.RE_Area(number(t, kStats, "RE_Area"));
    log.Blank_Area(number(t, kStats, "Background_Area"));
    // The channel keys run from 1 to the channel count of DATA_INFO, which is read later; they are taken
    // while they are there.
    ctx.reAreaCh.clear();
    ctx.blankAreaCh.clear();
    for (int n = 1; n <= 7 && t.has(kStats, "RE_Area_Ch" + std::to_string(n)); ++n) {
        ctx.reAreaCh.push_back(number(t, kStats, "RE_Area_Ch" + std::to_string(n)));
        ctx.blankAreaCh.push_back(number(t, kStats, "Blank_Area_Ch" + std::to_string(n)));
    }
    ctx.reRatio = number(t, kStats, "RE_Ratio");
    // Only the last of the three writes stands in the file.
    ctx.reFluorSum.fill(number(t, kStats, "RE_FluorSum"));
}

void ReadGps(const RawLogText& t, cZEL_Data& log) {
    log.UTC(t.value(kGps, "UTC"));
    log.Latitude(t.value(kGps, "Latitude"));
    log.Longitude(t.value(kGps, "Longitude"));
    log.CoordSystem(t.value(kGps, "CoordSystem", "WGS-84"));
    log.Latitude_Dec(number64(t, kGps, "Latitude_Dec"));
    log.Longitude_Dec(number64(t, kGps, "Longitude_Dec"));
    log.QualityIndicator(t.value(kGps, "Fix"));
    log.Satellites(t.value(kGps, "Satellites"));
    log.HDOP(t.value(kGps, "HDOP"));
    log.Altitude_Ft(number64(t, kGps, "Altitude_Ft"));
    log.Altitude_M(number64(t, kGps, "Altitude_M"));
    log.Geoidal_Ft(number64(t, kGps, "Geoidal_Ft"));
    log.Geoidal_M(number64(t, kGps, "Geoidal_M"));
    log.DGPS_Age(t.value(kGps, "DGPS_Age"));
    log.BaseStationID(t.value(kGps, "BaseStationID"));
}

void ReadDataInfo(const RawLogText& t, cZEL_Data& log, RawLogContext& ctx) {
    const auto d = kDataInfo;
    // A count out of range is kept as -1, which the load refuses: clamping it would hide a damaged file.
    const double channels = number64(t, d, "Channels");
    ctx.channels = channels >= 0 && channels <= kMaxChannels ? static_cast<int>(std::lround(channels)) : -1;
    log.Wave_DeltaX(number(t, d, "Wave_DeltaX"));
    ctx.waveDelay = number64(t, d, "Wave_Delay");
    ctx.fiberLength = number(t, d, "Fiber_Length");
    std::array<int, cZEL_Data::kCutoffIndices> cut{};
    const std::string cutText = t.value(d, "Cutoff_Index");
    std::size_t pos = 0;
    for (int& c : cut) {
        if (pos > cutText.size()) break;
        std::size_t end = cutText.find(',', pos);
        if (end == std::string::npos) end = cutText.size();
        c = integer(std::string_view(cutText).substr(pos, end - pos));
        pos = end + 1;
    }
    log.Cutoff_Index(cut);
    ctx.depthMode = integer(t, d, "DepthMode");
    log.TimeMode(t.value(d, "TimeMode") == "True");
    ctx.stringCal = number(t, d, "StringCal");
    log.setLoadedWindowOffset(number(t, d, "WindowOffsetFt"));
    ctx.rodLengthFt = number(t, d, "RodLengthFt");
    ctx.ad4CountsPerFt = number(t, d, "AD4CountsPerFt");
    ctx.scatterMin = number(t, d, "ScatterMin");
    ctx.conductivity = flag(t, d, "Conductivity");
    log.CondOffset(number(t, d, "Conductivity_Offset"));
    for (int i = 0; i < cZEL_Data::kCondConstants; ++i)
        log.setLoadedCond_Constant(i, number(t, d, "Conductivity_Constant(" + std::to_string(i) + ")"));
    static constexpr const char* kCalPoints[] = {"0", "25", "266", "560"};
    for (std::size_t i = 0; i < 4; ++i) {
        ctx.condV[i] = number(t, d, std::string("Conductivity_V") + kCalPoints[i]);
        ctx.condMS[i] = number(t, d, std::string("Conductivity_mS") + kCalPoints[i]);
    }
    log.Blow_Offset(number(t, d, "Hammer_Offset"));
    log.PresFlow(flag(t, d, "PresFlow"));
    log.PF_Offset(number(t, d, "PF_Offset"));
    log.FlowCal(0, number(t, d, "FlowCal0"));
    log.FlowCal(1, number(t, d, "FlowCal1"));
    log.HPT1ft(number(t, d, "HPT1ft"));
    log.HPT0ft(number(t, d, "HPT0ft"));
    for (int i = 0; i < cZEL_Data::kDissipationTests; ++i) {
        const std::string n = std::to_string(i);
        log.DisDepth(i, number(t, d, "DisDepth" + n));
        log.DisPres(i, number(t, d, "DisPres" + n));
        log.DisWT(i, number(t, d, "DisWT" + n));
        log.DisInclude(i, flag(t, d, "DisInclude" + n));
    }
    if (t.has(d, "Dogwood")) log.Dogwood(flag(t, d, "Dogwood"));
    if (log.Time_Start() < DateTime{2015, 10, 10, 0, 0, 0}) log.Dogwood(log.PresFlow());
    ctx.hdInt = integer(t, d, "HD_Int");
    ctx.hdAvg = integer(t, d, "HD_Avg");
    log.IntegrationTime(integer(t, d, "IntegrationTime(ms)"));
    log.Spec_WaveMax(number(t, d, "Spec_WaveMax"));
    log.Spec_WaveMin(number(t, d, "Spec_WaveMin"));
}

RawLogLoadResult LoadRawLog(const std::string& path, cZEL_Data& log, LogArrays& arrays, RawLogContext& ctx,
                            Host& host, const RawLogLoadOptions& options) {
    RawLogLoadResult result;
    // The current baseline belongs to the program, not to the log being replaced.
    std::vector<float> baseline = std::move(arrays.baseline);
    arrays.clear();
    arrays.baseline = std::move(baseline);
    std::string error;
    auto loc = locate(path, error);
    if (!loc) {
        report(host, path, error);
        return result;
    }
    result.textLength = loc->state.textLength;

    RawLogText text;
    try {
        text = RawLogText(loc->text);
    } catch (const std::exception&) {
        report(host, path, "the text part is too large for a raw log.");
        return result;
    }

    log.Clear();
    ctx = RawLogContext{};
    ctx.family = options.family.value_or(familyOfPath(path));
    log.File_FullPath(path);
    log.File_Title(std::filesystem::path(path).filename().string());

    const auto pause = [&] {
        if (options.stepPauseMs > 0) host.sleepMs(options.stepPauseMs);
    };
    ReadInfo(text, log, ctx);
    pause();
    ReadGps(text, log);
    pause();
    ReadDataInfo(text, log, ctx);
    pause();

    const auto dataPoints = size(text, "Data_Points");
    const auto wavePoints = size(text, "Wave_Points");
    const auto dataCols = size(text, "Data_Cols");
    if (!dataPoints || *dataPoints < 0 || *dataPoints > kMaxPointIndex) {
        report(host, path,
               "Data_Points is not a point count from 0 to " + std::to_string(kMaxPointIndex) + ".");
        return result;
    }
    if (!wavePoints || *wavePoints < 0 || *wavePoints >= kMaxSamplesPerWave) {
        report(host, path,
               "Wave_Points is not a sample count from 0 to " + std::to_string(kMaxSamplesPerWave - 1) + ".");
        return result;
    }
    if (ctx.channels < 0 || ctx.channels > kMaxChannels) {
        report(host, path, "Channels is not a channel count from 0 to " + std::to_string(kMaxChannels) + ".");
        return result;
    }
    if (!dataCols || *dataCols < 0 || *dataCols > kMaxDataColumns) {
        report(host, path,
               "Data_Cols is not a column count from 0 to " + std::to_string(kMaxDataColumns) + ".");
        return result;
    }
    log.DataPoints(static_cast<int>(*dataPoints));
    log.WavePoints(static_cast<int>(*wavePoints));
    log.DataSets(static_cast<int>(*dataCols));

    LogPointProcessing processing(host, options.processing);
    processing.prepare(log, ctx);
    pause();

    ListReader lists{text, host, path};
    BlockPlace place;
    const bool withPresFlow = log.PresFlow() || hasPresFlowLists(text);
    result.hdBoard = ctx.family != LogFamily::Colour && *wavePoints == kHdWavePoints;
    ctx.hdBoardMode = result.hdBoard;
    bool ok = false;
    if (result.hdBoard) {
        // The lists first: the background's channel values are taken off the board's.
        ok = readBaseline(lists, arrays, ctx, options) && readWaveLists(lists, log, arrays, result) &&
             readHdBlock(path, *loc, log, arrays, host, result.pointValues);
        if (ok && withPresFlow && arrays.presFlow.width() == 0)
            ok = arrays.presFlow.resize(kPresFlowColumns, arrays.points()) == ArrayStatus::Ok;
        if (ok) {
            std::vector<float> rate;
            ok = lists.read(kData, "RATE", static_cast<std::size_t>(kMaxPoints) * 2, rate);
            const int n = std::min(static_cast<int>(rate.size()), arrays.points());
            for (int p = 0; ok && p < n; ++p)
                arrays.columns(point_column::Rate, p) = rate[static_cast<std::size_t>(p)];
        }
        if (ok && arrays.presFlow.width() > 0) {
            const int points = arrays.points();
            ok = lists.column("PRES_UP", arrays.presFlow, presflow_column::PressureUp, points) &&
                 lists.column("TIME", arrays.presFlow, presflow_column::Time, points) &&
                 lists.column("PRES_DOWN", arrays.presFlow, presflow_column::PressureDown, points) &&
                 lists.column("FLOW_UP", arrays.presFlow, presflow_column::FlowUp, points);
        }
    } else {
        const std::uint64_t points = static_cast<std::uint64_t>(*dataPoints) + 1;
        const std::uint64_t samples = static_cast<std::uint64_t>(*wavePoints) + 1;
        const std::uint64_t blockBytes = 4 * points * samples;
        place = placeBlock(path, loc->state, blockBytes);
        const std::uint64_t room = loc->state.fileSize - place.offset;
        if (blockBytes + 4 > room) {
            report(host, path,
                   "Data_Points " + std::to_string(*dataPoints) + " and Wave_Points " +
                       std::to_string(*wavePoints) + " need " + std::to_string(blockBytes + 4) +
                       " bytes behind the text part, but the file has " + std::to_string(room) + ".");
            return result;
        }
        result.trailer = loc->state.stored;
        result.trailerMismatch = place.mend;
        // The message where the program always showed it; the file itself is only mended once the whole
        // load has succeeded, so a load that fails leaves the file as it found it.
        if (place.mend && options.repair && !options.quiet)
            host.message(kAlteredMessage, MsgButtons::Ok, MsgIcon::Exclamation);
        const int columns = std::clamp(static_cast<int>(*dataCols), kMinDataColumns, kMaxDataColumns);
        // Every sample comes from the block, whose size was checked against the file above; a read that
        // fails anyway clears the arrays below, so no unset sample is ever seen.
        if (const ArrayStatus s = arrays.resize(static_cast<int>(samples), columns, static_cast<int>(points),
                                                withPresFlow, false);
            s != ArrayStatus::Ok) {
            report(host, path, "the log's arrays cannot be sized (" + std::string(describe(s)) + ").");
        } else {
            // The lists first: the RE and background are the reference the points are processed against
            // while the block is read. An HD board's four values a point and a colour spectrum are not
            // fluorescence waveforms, and without an RE there is nothing to process against.
            ok = readBaseline(lists, arrays, ctx, options) &&
                 (ctx.family == LogFamily::Colour ? readSpectra(lists, ctx)
                                                  : readWaveLists(lists, log, arrays, result)) &&
                 readPointLists(lists, log, arrays, ctx, static_cast<int>(points));
            const bool process =
                ok && ctx.family != LogFamily::Colour && !result.reMissing && processing.reference(arrays);
            ok = ok && readWaveBlock(path, place.offset, arrays, host, process ? &processing : nullptr,
                                     result.pointValues);
        }
    }
    if (!ok) {
        baseline = std::move(arrays.baseline);
        arrays.clear();
        arrays.baseline = std::move(baseline);
        return result;
    }
    if (arrays.presFlow.width() > 0) {
        // The pressure/flow rows carry no depth of their own in the file: it is the point's depth, moved by
        // the pressure port's offset (PF_Offset, feet) as the push recorded it.
        const float offset = log.Metric() ? log.PF_Offset() * 0.3048f : log.PF_Offset();
        for (int p = 0; p < arrays.presFlow.points(); ++p)
            arrays.presFlow(presflow_column::Depth, p) = arrays.columns(point_column::Depth, p) + offset;
        estimateK(log, arrays.presFlow);
    }
    pause();
    ReadStats(text, log, ctx);
    if (place.mend && options.repair) {
        if (rewriteTrailer(path, static_cast<std::uint32_t>(place.offset)))
            result.repaired = true;
        else
            report(host, path, "the trailer could not be rewritten.");
    }
    result.ok = true;
    result.text = std::move(loc->text);
    return result;
}

TrailerRepairReport CheckAndRepairTrailer(const std::string& path, Host& host, bool quiet) {
    TrailerRepairReport r;
    auto loc = locate(path, r.error);
    if (!loc) return r;
    r.fileSize = loc->state.fileSize;
    r.textLength = loc->state.textLength;
    r.trailer = loc->state.stored;
    std::optional<long long> dataPoints, wavePoints;
    try {
        const RawLogText text(loc->text);
        dataPoints = size(text, "Data_Points");
        wavePoints = size(text, "Wave_Points");
        r.hdBoard = familyOfPath(path) != LogFamily::Colour && wavePoints && *wavePoints == kHdWavePoints;
    } catch (const std::exception&) {
        r.error = "the text part is too large for a raw log.";
        return r;
    }
    if (r.hdBoard) {
        r.ok = true;
        return r;
    }
    if (!dataPoints || *dataPoints < 0 || *dataPoints > kMaxPointIndex || !wavePoints || *wavePoints < 0 ||
        *wavePoints >= kMaxSamplesPerWave) {
        r.error = "Data_Points and Wave_Points do not give the size of a data block.";
        return r;
    }
    const std::uint64_t blockBytes =
        4 * static_cast<std::uint64_t>(*dataPoints + 1) * static_cast<std::uint64_t>(*wavePoints + 1);
    const BlockPlace place = placeBlock(path, loc->state, blockBytes);
    r.blockOffset = place.offset;
    r.mismatch = place.mend;
    if (!place.mend) {
        r.ok = true;
        return r;
    }
    if (r.fileSize < place.offset + blockBytes + 4) {
        r.error = "Data_Points and Wave_Points need " + std::to_string(blockBytes) +
                  " bytes of data block and a trailer behind the text part, but the file has " +
                  std::to_string(r.fileSize - std::min(r.fileSize, place.offset)) +
                  ": it is cut short, and a trailer written now would overwrite a sample.";
        return r;
    }
    r.repaired = mendTrailer(path, r.textLength, quiet, host);
    r.ok = r.repaired;
    if (!r.repaired) r.error = "the trailer could not be rewritten.";
    return r;
}

} // namespace zel
