#include "settings/plot_settings.h"

#include "settings/basic_convert.h"
#include "settings/control_state.h"
#include "settings/profile.h"

#include <map>
#include <stdexcept>
#include <string_view>

namespace zel {
namespace {

enum class Slot { Control, PlotVisible, PlotChoice, PlotWidth, ClusterVisible };

// One row per control or control array; `first`..`last` are the array's indices (-1: not an array). For the
// window rows `window` is the extra plot window's number.
struct Row {
    const char* tag;
    const char* name;
    int first = -1;
    int last = -1;
    Slot slot = Slot::Control;
    int window = 0;
};

// The order is that of the files in the field; it is also the order in which loading assigns the controls,
// whose change handlers may depend on it.
constexpr Row kRows[] = {
    {"FT", "txtDepthMin"},
    {"FT", "txtDepthMax"},
    {"FT", "txtElevScale", 0, 1},
    {"FT", "chkManualScaleLog", 0, 2},
    {"FT", "txtSignalMin"},
    {"FT", "txtSignalMax"},
    {"FT", "txtSignalFloor"},
    {"FT", "chkRElog"},
    {"FT", "chkPlotZoom"},
    {"FT", "chkBlackCore"},
    {"FT", "chk2ndLog_Zoom"},
    {"FT", "txt2ndScale_Zoom", 0, 1},
    {"FT", "chkPlotRate"},
    {"FT", "chk2ndLog_Rate"},
    {"FT", "chk2ndScale_Rate"},
    {"FT", "txt2ndScale_Rate", 0, 1},
    {"FT", "chkPlotCond"},
    {"FT", "chk2ndLog_Cond"},
    {"FT", "chk2ndScale_Cond"},
    {"FT", "txt2ndScale_Cond", 0, 1},
    {"FT", "chkPlotScat"}, // the scatter track is "Scat" here and "Sctr" in the next four keys
    {"FT", "chk2ndLog_Sctr"},
    {"FT", "chk2ndScale_Sctr"},
    {"FT", "txt2ndScale_Sctr", 0, 1},
    {"FT", "chkPlotFluor"},
    {"FT", "chk2ndLog_Fluor"},
    {"FT", "chk2ndScale_Fluor"},
    {"FT", "txt2ndScale_Fluor", 0, 1},
    {"FT", "chkPlotNNLS"},
    {"FT", "chk2ndLog_NNLS"},
    {"FT", "chk2ndScale_NNLS"},
    {"FT", "txt2ndScale_NNLS", 0, 1},
    {"FT", "chkPresFlowPlot", 0, 3},
    {"FT", "chkPresFlowAuto", 0, 3},
    {"FT", "txtPFscale", 0, 7},
    {"FA", "chkGrid"},
    {"FA", "chkShowLog"},
    {"FA", "chkPrint_Black"},
    {"FA", "chkBare_Scale"},
    {"FA", "chkDraft"},
    {"FA", "txtWatermark"},
    {"FA", "chkCalloutRE"},
    {"FA", "chkHideInfo"},
    {"FA", "chkLegacyFill"},
    {"FA", "chk2nd_PlotFill"},
    {"FA", "chkReferenceLineRE"},
    {"FA", "txtReferenceLineRE"},
    {"FA", "chkReferenceLineDepth"},
    {"FA", "txtReferenceLineDepth"},
    {"FA", "chkReferenceLineCond"},
    {"FA", "txtReferenceLineCond"},
    {"FA", "chkPerInch"},
    {"FA", "txtFtPerInch"},
    {"FA", "txtRePerInch"},
    {"FA", "chkDepthScale_Hide"},
    {"FA", "optDepth_Secondary", 0, 4},
    {"FA", "chkDepth_ClipMIN"},
    {"FA", "txtDepth_ClipMIN_Value"},
    {"FA", "chkDepth_Clip"},
    {"FA", "txtDepth_Clip_Value"},
    {"FA", "optOrientation", 0, 1},
    {"FA", "optPrintSize", 0, 1},
    {"FC", "chkCutoff"},
    {"FC", "txtCutoff"},
    {"FC", "chkCutoffTau"},
    {"FC", "txtCutoffTau"},
    {"FC", "optCutoff_RE", 0, 2},
    {"FC", "chkCalloutPolygon"},
    {"FC", "optPlotFit", 0, 5},
    {"FC", "txtPlotFitMax"},
    {"FC", "chkGeneric"},
    {"FC", "chkResidual"},
    {"FW", "chkLifetime"},
    {"FW", "optFitCallouts", 0, 1},
    {"FW", "chkBaseline"},
    {"FW", "chkAvgInterval"},
    {"FW", "txtAvgInterval"},
    {"FW", "chkCustomLandU"},
    {"FW", "txtCustomUnit", 0, 3},
    {"FW", "txtCustomLegend", 0, 1},
    {"", "PlotVisible", 1, 3, Slot::PlotVisible},
    {"", "PlotChoice", 1, 3, Slot::PlotChoice},
    {"", "PlotWidth1", 0, 2, Slot::PlotWidth, 1},
    {"", "PlotWidth2", 0, 2, Slot::PlotWidth, 2},
    {"", "PlotWidth3", 0, 2, Slot::PlotWidth, 3},
    {"", "ClusterVisible", -1, -1, Slot::ClusterVisible},
    {"FC", "chkPlotFit"},
    {"FT", "chkCluster"},
    {"FT", "chkRealColor"},
    {"FT", "chkScatterFill"},
    {"FC", "chkCalloutWaves"},
};

const char* formOfTag(std::string_view tag) {
    if (tag == "FT") return "frmTab";
    if (tag == "FA") return "frmAdvOptions";
    if (tag == "FC") return "frmCallout";
    return "frmWaveMath";
}

struct Item {
    std::string key;
    const Row* row;
    int index; // array index, or the window row's element; -1 for none
};

const std::vector<Item>& items() {
    static const std::vector<Item> all = [] {
        std::vector<Item> out;
        for (const Row& r : kRows) {
            const std::string base = std::string(r.tag) + r.name;
            if (r.first < 0)
                out.push_back({base, &r, -1});
            else
                for (int i = r.first; i <= r.last; ++i)
                    out.push_back({base + std::to_string(i), &r, i});
        }
        return out;
    }();
    return all;
}

FormControl& controlOf(FormSet& forms, const Item& item) {
    Form* form = forms.form(formOfTag(item.row->tag));
    FormControl* c = form ? findControl(*form, item.row->name,
                                        item.index < 0 ? std::nullopt : std::optional<int>(item.index))
                          : nullptr;
    if (!c) throw std::invalid_argument(std::string("no control ") + item.row->name);
    return *c;
}

template <typename T> T converted(std::optional<T> v) {
    if (!v) throw std::invalid_argument("Type mismatch");
    return *v;
}

std::string savedValue(FormSet& forms, const PlotWindows& w, const Item& item) {
    const Row& r = *item.row;
    switch (r.slot) {
    case Slot::PlotVisible: return w.visible[item.index - 1] ? "True" : "False";
    case Slot::PlotChoice: return std::to_string(w.choice[item.index - 1]);
    case Slot::PlotWidth: return std::to_string(w.width[r.window - 1][item.index]);
    case Slot::ClusterVisible: return w.clusterVisible ? "True" : "False";
    case Slot::Control: break;
    }
    FormControl& c = controlOf(forms, item);
    const std::string_view prefix = std::string_view(r.name).substr(0, 3);
    if (prefix == "chk") return std::to_string(c.checkValue());
    if (prefix == "opt") return c.optionValue() ? "True" : "False";
    return c.text();
}

// Design defaults that are not the plain ones (check box "0", first option of an array "True", the others
// "False", text empty): the ranges and switches a new installation plots with, the same as the desktop's
// controls start with.
const std::map<std::string, std::string, std::less<>>& specialDefaults() {
    static const std::map<std::string, std::string, std::less<>> d = [] {
        std::map<std::string, std::string, std::less<>> m{
            {"FTtxtSignalMin", "0"},
            {"FTtxtSignalMax", "100"},
            {"FTtxtSignalFloor", "0"},
            {"FTtxt2ndScale_Zoom0", "0"},
            {"FTtxt2ndScale_Zoom1", "9"},
            {"FTchkPlotRate", "1"},
            {"FAchkGrid", "1"},
            {"FAchkShowLog", "1"},
            {"FAtxtReferenceLineRE", "100"},
            {"FAtxtReferenceLineDepth", "0"},
            {"FAtxtReferenceLineCond", "0"},
            {"FAtxtFtPerInch", "5"},
            {"FAtxtRePerInch", "50"},
            {"FAtxtDepth_ClipMIN_Value", "0"},
            {"FAtxtDepth_Clip_Value", "20"},
            {"FCtxtCutoff", "0"},
            {"FCtxtCutoffTau", "0"},
            {"FCtxtPlotFitMax", "100"},
            {"FWtxtAvgInterval", "1"},
            {"FCchkCalloutWaves", "1"},
            // A fit made beside a log is drawn unless the analyst turns it off; a log without one shows
            // nothing either way.
            {"FWchkLifetime", "1"},
            {"FTchkCluster", "1"},
        };
        for (const char* track : {"Rate", "Cond", "Sctr", "Fluor", "NNLS"}) {
            m[std::string("FTtxt2ndScale_") + track + "0"] = "0";
            m[std::string("FTtxt2ndScale_") + track + "1"] = "100";
        }
        for (int i = 0; i < 4; ++i) {
            m["FTchkPresFlowAuto" + std::to_string(i)] = "1";
            // Pressure and flow show wherever a log has them.
            m["FTchkPresFlowPlot" + std::to_string(i)] = i < 2 ? "1" : "0";
            m["FTtxtPFscale" + std::to_string(2 * i)] = "0";
            m["FTtxtPFscale" + std::to_string(2 * i + 1)] = "100";
        }
        return m;
    }();
    return d;
}

std::string defaultOf(const Item& item) {
    if (auto it = specialDefaults().find(item.key); it != specialDefaults().end()) return it->second;
    const std::string_view prefix = std::string_view(item.row->name).substr(0, 3);
    if (prefix == "chk") return "0";
    if (prefix == "opt") return item.index == item.row->first ? "True" : "False";
    return "";
}

// The control values the options file keeps, looked up by form, control name and array index; each form's
// section is listed once, on its first use.
class StoredControls {
public:
    explicit StoredControls(std::string path) : path_(std::move(path)) {}

    std::optional<std::string> value(const Item& item) {
        const std::string section = controlStateSection(formOfTag(item.row->tag));
        auto [it, added] = keys_.try_emplace(section);
        if (added) {
            cInifile ini;
            ini.Path = path_;
            ini.Section = section;
            for (const std::string& key : ini.EnumerateCurrentSection()) {
                // "ordinal,name" or "ordinal,name,index"; the first key of a control wins, as a read does.
                const std::size_t a = key.find(',');
                if (a == std::string::npos) continue;
                const std::size_t b = key.find(',', a + 1);
                const std::string name =
                    key.substr(a + 1, b == std::string::npos ? std::string::npos : b - a - 1);
                int index = -1;
                if (b != std::string::npos) {
                    const auto n = basicInteger(std::string_view(key).substr(b + 1));
                    if (!n) continue;
                    index = *n;
                }
                it->second.try_emplace({name, index}, key);
            }
        }
        const auto found = it->second.find({item.row->name, item.index});
        if (found == it->second.end()) return std::nullopt;
        cInifile ini;
        ini.Path = path_;
        ini.Section = section;
        ini.Key = found->second;
        std::string v = ini.Value();
        // Only a value the control itself could hold stands in for it.
        const std::string_view prefix = std::string_view(item.row->name).substr(0, 3);
        if (prefix == "chk" && !basicInteger(v)) return std::nullopt;
        if (prefix == "opt" && !basicBoolean(v)) return std::nullopt;
        if (prefix == "opt") v = *basicBoolean(v) ? "True" : "False";
        return v;
    }

private:
    std::string path_;
    std::map<std::string, std::map<std::pair<std::string, int>, std::string>> keys_;
};

void loadValue(FormSet& forms, PlotWindows& w, const Item& item, const std::string& value) {
    const Row& r = *item.row;
    switch (r.slot) {
    case Slot::PlotVisible: w.visible[item.index - 1] = converted(basicBoolean(value)); return;
    case Slot::PlotChoice: w.choice[item.index - 1] = converted(basicLong(value)); return;
    case Slot::PlotWidth: w.width[r.window - 1][item.index] = converted(basicLong(value)); return;
    case Slot::ClusterVisible: w.clusterVisible = value == "True"; return;
    case Slot::Control: break;
    }
    FormControl& c = controlOf(forms, item);
    const std::string_view prefix = std::string_view(r.name).substr(0, 3);
    if (prefix == "chk")
        c.setCheckValue(converted(basicInteger(value)));
    else if (prefix == "opt")
        c.setOptionValue(converted(basicBoolean(value)));
    else
        c.setText(value);
}

} // namespace

std::vector<std::string> plotSettingsKeys() {
    std::vector<std::string> keys;
    for (const Item& item : items())
        keys.push_back(item.key);
    return keys;
}

std::string plotSettingDefault(std::string_view key) {
    for (const Item& item : items())
        if (item.key == key) return defaultOf(item);
    return "";
}

void SavePlotSettings(cInifile& ini, FormSet& forms, const PlotWindows& windows,
                      const std::string& storedOptionsPath) {
    StoredControls stored(storedOptionsPath);
    ini::FileBatch batch(ini.Path);
    for (const Item& item : items()) {
        std::string value;
        try {
            value = savedValue(forms, windows, item);
        } catch (const std::exception&) {
            // a control this program lacks, or one that cannot be read
            value = stored.value(item).value_or(defaultOf(item));
        }
        ini.Key = item.key;
        ini.Value(value);
    }
}

void LoadPlotSettings(const cInifile& ini, FormSet& forms, PlotWindows& windows) {
    cInifile reader = ini;
    reader.Default.clear();
    reader.BigGetString = false;
    for (const Item& item : items()) {
        try {
            reader.Key = item.key;
            const std::string value = reader.Value();
            if (value.empty()) continue;
            loadValue(forms, windows, item, value);
        } catch (const std::exception&) {
            // values that do not convert and controls that do not exist are skipped
        }
    }
}

} // namespace zel
