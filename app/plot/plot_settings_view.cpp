#include "app/plot/plot_settings_view.h"

#include "settings/basic_convert.h"
#include "settings/ini_file.h"

#include <charconv>
#include <cmath>
#include <filesystem>

namespace zel::plot {
namespace {

std::string_view trimmed(std::string_view s) {
    while (!s.empty() && (s.front() == ' ' || s.front() == '\t'))
        s.remove_prefix(1);
    while (!s.empty() && (s.back() == ' ' || s.back() == '\t'))
        s.remove_suffix(1);
    return s;
}

// Reads the values of one lookup; each getter leaves the target alone when the key is absent or bad.
class Reader {
public:
    explicit Reader(const SettingLookup& lookup) : lookup_(lookup) {}

    std::optional<std::string> text(std::string_view key) const {
        auto v = lookup_(key);
        if (!v) return std::nullopt;
        // An empty value is stored as one blank, so that the key exists: it is still an absent value.
        if (trimmed(*v).empty()) return std::nullopt;
        return v;
    }
    std::optional<double> number(std::string_view key) const {
        const auto v = text(key);
        if (!v) return std::nullopt;
        const std::string_view s = trimmed(*v);
        double out = 0.0;
        const auto [end, ec] = std::from_chars(s.data(), s.data() + s.size(), out);
        if (ec != std::errc{} || end != s.data() + s.size() || !std::isfinite(out)) return std::nullopt;
        return out;
    }
    std::optional<bool> check(std::string_view key) const {
        const auto v = text(key);
        if (!v) return std::nullopt;
        const auto i = basicInteger(trimmed(*v));
        if (!i) return std::nullopt;
        return *i == 1; // 2 is a greyed box: not ticked
    }
    std::optional<bool> option(std::string_view key) const {
        const auto v = text(key);
        if (!v) return std::nullopt;
        return basicBoolean(trimmed(*v));
    }

    void get(std::string_view key, double& out) const {
        if (auto v = number(key)) out = *v;
    }
    void getCheck(std::string_view key, bool& out) const {
        if (auto v = check(key)) out = *v;
    }
    // A reference line or clip depth: its switch and its value.
    std::optional<double> switched(std::string_view checkKey, std::string_view valueKey) const {
        if (!check(checkKey).value_or(false)) return std::nullopt;
        return number(valueKey);
    }

private:
    const SettingLookup& lookup_;
};

void readTrack(const Reader& r, TrackSwitches& t, std::string_view plotKey, std::string_view name) {
    const std::string n(name);
    r.getCheck(plotKey, t.shown);
    r.getCheck("FTchk2ndLog_" + n, t.logScale);
    r.getCheck("FTchk2ndScale_" + n, t.manual);
    r.get("FTtxt2ndScale_" + n + "0", t.min);
    r.get("FTtxt2ndScale_" + n + "1", t.max);
}

const char* formOfTag(std::string_view tag) {
    if (tag == "FT") return "frmTab";
    if (tag == "FA") return "frmAdvOptions";
    if (tag == "FC") return "frmCallout";
    if (tag == "FW") return "frmWaveMath";
    return nullptr;
}

} // namespace

PlotSettings plotSettingsFrom(const SettingLookup& lookup) {
    const Reader r(lookup);
    PlotSettings s;
    s.depthMin = r.number("FTtxtDepthMin");
    s.depthMax = r.number("FTtxtDepthMax");

    r.getCheck("FTchkManualScaleLog0", s.signalManual);
    r.getCheck("FTchkRElog", s.signalLog);
    r.get("FTtxtSignalMin", s.signalMin);
    r.get("FTtxtSignalMax", s.signalMax);
    r.get("FTtxtSignalFloor", s.signalFloor);

    r.getCheck("FTchkPlotZoom", s.zoom.shown);
    r.getCheck("FTchk2ndLog_Zoom", s.zoom.logScale);
    r.get("FTtxt2ndScale_Zoom0", s.zoom.min);
    r.get("FTtxt2ndScale_Zoom1", s.zoom.max);
    readTrack(r, s.rate, "FTchkPlotRate", "Rate");
    readTrack(r, s.conductivity, "FTchkPlotCond", "Cond");
    readTrack(r, s.scatter, "FTchkPlotScat", "Sctr");
    readTrack(r, s.fluorescence, "FTchkPlotFluor", "Fluor");
    readTrack(r, s.nnls, "FTchkPlotNNLS", "NNLS");
    for (int i = 0; i < 4; ++i) {
        TrackSwitches& t = s.presFlow[static_cast<std::size_t>(i)];
        const std::string n = std::to_string(i);
        r.getCheck("FTchkPresFlowPlot" + n, t.shown);
        if (auto autoScale = r.check("FTchkPresFlowAuto" + n)) t.manual = !*autoScale;
        r.get("FTtxtPFscale" + std::to_string(2 * i), t.min);
        r.get("FTtxtPFscale" + std::to_string(2 * i + 1), t.max);
    }

    r.getCheck("FAchkGrid", s.grid);
    r.getCheck("FAchkPrint_Black", s.printBlack);
    r.getCheck("FAchkDraft", s.draft);
    if (auto w = r.text("FAtxtWatermark")) s.watermark = std::string(trimmed(*w));
    r.getCheck("FAchkHideInfo", s.hideInfo);
    r.getCheck("FAchkBare_Scale", s.bareScale);
    r.getCheck("FAchkDepthScale_Hide", s.hideDepthScale);

    s.referenceRe = r.switched("FAchkReferenceLineRE", "FAtxtReferenceLineRE");
    s.referenceDepth = r.switched("FAchkReferenceLineDepth", "FAtxtReferenceLineDepth");
    s.referenceCond = r.switched("FAchkReferenceLineCond", "FAtxtReferenceLineCond");
    s.clipMin = r.switched("FAchkDepth_ClipMIN", "FAtxtDepth_ClipMIN_Value");
    s.clipMax = r.switched("FAchkDepth_Clip", "FAtxtDepth_Clip_Value");

    r.getCheck("FAchkPerInch", s.perInch);
    // A printed scale of 0 or less units per inch cannot be laid out; keep the default then.
    if (auto v = r.number("FAtxtFtPerInch"); v && *v > 0) s.depthPerInch = *v;
    if (auto v = r.number("FAtxtRePerInch"); v && *v > 0) s.rePerInch = *v;

    for (int i = 0; i <= 4; ++i)
        if (r.option("FAoptDepth_Secondary" + std::to_string(i)).value_or(false)) s.secondaryDepth = i;
    if (r.option("FAoptOrientation1").value_or(false))
        s.landscape = true;
    else if (r.option("FAoptOrientation0").value_or(false))
        s.landscape = false;
    if (r.option("FAoptPrintSize1").value_or(false))
        s.pageSize = PageSize::Legal;
    else if (r.option("FAoptPrintSize0").value_or(false))
        s.pageSize = PageSize::Letter;

    r.getCheck("FTchkRealColor", s.realColour);
    r.getCheck("FCchkCalloutWaves", s.calloutWaves);
    r.getCheck("FWchkLifetime", s.lifetime);
    s.lifetimeCutoff = r.switched("FCchkCutoffTau", "FCtxtCutoffTau");
    r.getCheck("FTchkCluster", s.classes);
    return s;
}

PlotSettings plotSettingsFromForms(FormSet& forms) {
    return plotSettingsFrom([&forms](std::string_view key) -> std::optional<std::string> {
        if (key.size() < 3) return std::nullopt;
        const char* formName = formOfTag(key.substr(0, 2));
        Form* form = formName ? forms.form(formName) : nullptr;
        if (!form) return std::nullopt;
        std::string_view name = key.substr(2);
        FormControl* c = findControl(*form, name, std::nullopt);
        // Keys of control arrays end in the element's index (no array has more than ten elements).
        if (!c && name.size() > 1 && name.back() >= '0' && name.back() <= '9')
            c = findControl(*form, name.substr(0, name.size() - 1), name.back() - '0');
        if (!c) return std::nullopt;
        try {
            const std::string_view prefix = name.substr(0, 3);
            if (prefix == "chk") return std::to_string(c->checkValue());
            if (prefix == "opt") return std::string(c->optionValue() ? "True" : "False");
            return c->text();
        } catch (const std::exception&) {
            return std::nullopt;
        }
    });
}

PlotSettings plotSettingsFromIni(const std::string& path, const std::string& section) {
    std::error_code ec;
    if (!std::filesystem::is_regular_file(path, ec)) return PlotSettings{};
    cInifile ini;
    ini.Path = path;
    ini.Section = section;
    return plotSettingsFrom([&ini](std::string_view key) -> std::optional<std::string> {
        ini.Key = std::string(key);
        std::string v = ini.Value();
        if (v.empty()) return std::nullopt;
        return v;
    });
}

} // namespace zel::plot
