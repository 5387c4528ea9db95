#include "app/sim/scope_model.h"

#include "app/sim/scope_waveform.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cmath>
#include <cstdio>

namespace zel::sim {

namespace {

// Long forms; the capital letters are the short form. Any prefix of the long form at least as long as
// the short form is accepted, as the scope itself does.
constexpr const char* kMnemonics[] = {
    "ABSolute",  "ACQuire",  "BACKLight",  "BANdwidth",   "BOX",           "BY",           "CH",
    "CLEARMenu", "CLEar",    "CLOCk",      "COLor",       "COMMunication", "CONTROl",      "COUNt",
    "COUPling",  "CURSor",   "CURVe",      "DATE",        "DATa",          "DELay",        "DESE",
    "DESKew",    "DISplay",  "DOTsonly",   "EDGe",        "ENCdg",         "ETHERnet",     "EVENTS",
    "FIELD",     "FORMat",   "FUNCtion",   "GATing",      "GRAticule",     "HBArs",        "HEADer",
    "HIGH",      "HOLDoff",  "HORizontal", "IMMed",       "IMPedance",     "INTENSITy",    "INVert",
    "LEVel",     "LOCk",     "LOW",        "MAIn",        "MATH",          "MEAS",         "MEASUrement",
    "MESSage",   "METHod",   "MID",        "MODe",        "NAMe",          "NUMACq",       "NUMAVg",
    "OFFSet",    "PALEtte",  "PERCent",    "PERSistence", "POSition",      "RECOrdlength", "REF",
    "REFLevel",  "REGular",  "RESOlution", "SAVe",        "SCAle",         "SELect",       "SETLevel",
    "SHOW",      "SLOpe",    "SOUrce",     "STANdard",    "STARt",         "STATE",        "STOP",
    "STOPAfter", "STYle",    "TIMe",       "TRIGger",     "TYPe",          "UNIts",        "VBArs",
    "VIDeo",     "WAVEform", "WFMPre",     "WIDth",       "XINcr",         "XY",           "YCHannel",
    "YMUlt",     "YOFf",     "YREF",       "YUNit",       "YZEro",         "ZOOm",
};

std::string upper(std::string_view s) {
    std::string u(s);
    std::transform(u.begin(), u.end(), u.begin(), [](unsigned char c) { return std::toupper(c); });
    return u;
}

std::string canonicalNode(std::string_view node) {
    std::string u = upper(node);
    std::size_t digits = u.size();
    while (digits > 0 && std::isdigit(static_cast<unsigned char>(u[digits - 1])))
        --digits;
    const std::string base = u.substr(0, digits), suffix = u.substr(digits);
    for (const char* m : kMnemonics) {
        const std::string_view mn(m);
        const std::size_t shortLen =
            std::find_if(mn.begin(), mn.end(),
                         [](char c) { return std::islower(static_cast<unsigned char>(c)); }) -
            mn.begin();
        const std::string longForm = upper(mn);
        if (base.size() >= shortLen && base.size() <= longForm.size() && longForm.rfind(base, 0) == 0)
            return longForm + suffix;
    }
    return u;
}

std::string trim(std::string_view s) {
    const auto b = s.find_first_not_of(" \t\r\n");
    if (b == std::string_view::npos) return {};
    const auto e = s.find_last_not_of(" \t\r\n");
    return std::string(s.substr(b, e - b + 1));
}

// Splits at ";" outside double quotes.
std::vector<std::string> splitUnits(std::string_view message) {
    std::vector<std::string> units;
    std::string cur;
    bool quoted = false;
    for (char c : message) {
        if (c == '"') quoted = !quoted;
        if (c == ';' && !quoted) {
            units.push_back(cur);
            cur.clear();
        } else {
            cur += c;
        }
    }
    units.push_back(cur);
    return units;
}

bool parseNumber(std::string_view text, double& v) {
    const std::string t = trim(text);
    const char* b = t.data();
    if (!t.empty() && *b == '+') ++b;
    const auto r = std::from_chars(b, t.data() + t.size(), v);
    return r.ec == std::errc() && r.ptr == t.data() + t.size();
}

std::string nr3(double v) {
    char buf[32];
    std::snprintf(buf, sizeof buf, "%.4E", v);
    return buf;
}

// Settings whose replies are integers (NR1); the rest are NR3.
bool integerSetting(const std::string& path) {
    static const char* const keys[] = {
        "DATA:START", "DATA:STOP", "DATA:WIDTH", "ACQUIRE:NUMAVG", "HORIZONTAL:RECORDLENGTH",
        "DESE",       "*ESE",      "*SRE"};
    return std::find(std::begin(keys), std::end(keys), path) != std::end(keys);
}

constexpr int kOpc = 0x01;
constexpr int kExecutionError = 0x10;
constexpr int kCommandError = 0x20;
constexpr double kTriggerPulseV = 0.8; // the laser photodiode's pulse on channel 1

} // namespace

std::string canonicalPath(std::string_view header) {
    std::string path;
    std::size_t pos = header.front() == ':' ? 1 : 0;
    while (pos <= header.size()) {
        const std::size_t at = std::min(header.find(':', pos), header.size());
        if (!path.empty()) path += ':';
        path += canonicalNode(header.substr(pos, at - pos));
        pos = at + 1;
    }
    return path;
}

ScopeModel::ScopeModel(const SiteModel& site, ScopeSimOptions options, NowMs now)
    : site_(site), options_(std::move(options)), now_(std::move(now)), rng_(options_.seed) {
    // Power-on state (a factory default scope).
    settings_ = {
        {"CH1:SCALE", "1"},
        {"CH2:SCALE", "0.1"},
        {"CH2:POSITION", "0"},
        {"CH2:OFFSET", "0"},
        {"HORIZONTAL:MAIN:SCALE", "4E-6"},
        {"HORIZONTAL:DELAY:TIME", "0"},
        {"HORIZONTAL:RECORDLENGTH", "10000"},
        {"DATA:START", "1"},
        {"DATA:STOP", "10000"},
        {"DATA:WIDTH", "1"},
        {"DATA:ENCDG", "RIBINARY"},
        {"DATA:SOURCE", "CH1"},
        {"ACQUIRE:MODE", "SAMPLE"},
        {"ACQUIRE:NUMAVG", "16"},
        {"ACQUIRE:STATE", "1"},
        {"TRIGGER:A:LEVEL", "0"},
        {"DESE", "255"},
        {"*ESE", "0"},
        {"*SRE", "0"},
    };
}

std::string ScopeModel::setting(const std::string& path) const {
    const auto it = settings_.find(path);
    return it == settings_.end() ? std::string() : it->second;
}

double ScopeModel::number(const std::string& path) const {
    double v = 0.0;
    return parseNumber(setting(path), v) && std::isfinite(v) ? v : 0.0;
}

int ScopeModel::integer(const std::string& path, int lo, int hi) const {
    // Whatever a client sent: clamped before it becomes an int.
    return static_cast<int>(
        std::clamp(std::round(number(path)), static_cast<double>(lo), static_cast<double>(hi)));
}

double ScopeModel::yMult() const {
    return number("CH2:SCALE") / 6400.0;
}
double ScopeModel::yOff() const {
    return number("CH2:POSITION") * 6400.0;
}
double ScopeModel::yZero() const {
    return number("CH2:OFFSET");
}
double ScopeModel::xIncr() const {
    const double points = std::max(number("HORIZONTAL:RECORDLENGTH"), 1.0);
    return 10.0 * number("HORIZONTAL:MAIN:SCALE") / points;
}

int ScopeModel::sweepsPerAcquisition() const {
    if (upper(setting("ACQUIRE:MODE")).rfind("AVE", 0) != 0) return 1;
    return integer("ACQUIRE:NUMAVG", 1, 512);
}

void ScopeModel::event(int bits) {
    esr_ |= bits & integer("DESE", 0, 255);
}

void ScopeModel::update() {
    if (opcPending_ && now_() >= opcDueMs_) {
        opcPending_ = false;
        acquire();
        event(kOpc);
    }
}

void ScopeModel::acquire() {
    const int recordLength = integer("HORIZONTAL:RECORDLENGTH", 1, 10000);
    SampleTimes t;
    t.count = recordLength;
    t.stepS = xIncr();
    t.firstS = number("HORIZONTAL:DELAY:TIME");
    const int sweeps = sweepsPerAcquisition();
    const bool dark = records_ < options_.darkAcquisitions;
    const bool onEmitter = !dark && records_ < options_.darkAcquisitions + options_.reAcquisitions;
    // Each record's noise has its own seed, so the same commands give the same records whatever else the
    // scope was asked in between.
    rng_.seed(options_.seed * 2654435761u + static_cast<std::uint32_t>(records_));
    ++records_;
    if (probeDepth) depthFt_ = probeDepth();
    const Fluorescence light = dark        ? Fluorescence{}
                               : onEmitter ? referenceEmitter(options_.reScale, site_.channels())
                                           : site_.fluorescenceAt(depthFt_, t);
    const std::vector<double> volts = lifSignal(light, t, sweeps, rng_);
    record_.resize(volts.size());
    // The digitiser sees five divisions either side of the screen's centre and no more: what lies
    // beyond is clipped, as on the real screen.
    constexpr double kScreenLevels = 5.0 * 6400.0;
    for (std::size_t k = 0; k < volts.size(); ++k) {
        const double level = std::round((volts[k] - yZero()) / yMult() + yOff());
        record_[k] = std::isfinite(level)
                         ? static_cast<std::int16_t>(std::clamp(level, -kScreenLevels, kScreenLevels))
                         : 0;
    }
    acquisitions_ += sweeps;
}

std::string ScopeModel::curveBlock() {
    if (record_.empty()) acquire();
    const int n = static_cast<int>(record_.size());
    const int start = integer("DATA:START", 1, n);
    const int stop = integer("DATA:STOP", start, n);
    const bool wide = number("DATA:WIDTH") >= 2;
    std::string bytes;
    CurveSent sent;
    for (int i = start - 1; i < stop; ++i) {
        const std::int16_t level = record_[static_cast<std::size_t>(i)];
        const auto v = static_cast<std::uint16_t>(level);
        bytes += static_cast<char>(v >> 8);
        if (wide) bytes += static_cast<char>(v & 0xFF);
        if (onCurve) sent.values.push_back(wide ? level : static_cast<std::int8_t>(v >> 8));
    }
    if (onCurve) {
        sent.record = records_;
        sent.yMult = nr3(yMult());
        sent.yOff = nr3(yOff());
        sent.yZero = nr3(yZero());
        onCurve(sent);
    }
    const std::string count = std::to_string(bytes.size());
    return "#" + std::to_string(count.size()) + count + bytes;
}

std::string ScopeModel::queryValue(const std::string& path) {
    if (path == "*IDN") return options_.idn;
    if (path == "*ESR") {
        const int v = esr_;
        esr_ = 0;
        return std::to_string(v);
    }
    if (path == "*OPC") return opcPending_ ? "0" : "1";
    if (path == "CURVE") return curveBlock();
    if (path == "WFMPRE:YMULT") return nr3(yMult());
    if (path == "WFMPRE:YOFF") return nr3(yOff());
    if (path == "WFMPRE:YZERO") return nr3(yZero());
    if (path == "WFMPRE:XINCR") return nr3(xIncr());
    if (path == "ETHERNET:NAME") return options_.networkName;
    if (path == "ACQUIRE:NUMACQ") return std::to_string(acquisitions_);
    if (path == "HEADER") return headers_ ? "1" : "0";
    const auto it = settings_.find(path);
    if (it == settings_.end()) return {};
    double v = 0.0;
    if (!parseNumber(it->second, v)) return it->second;
    return integerSetting(path) ? std::to_string(static_cast<long long>(std::llround(v))) : nr3(v);
}

void ScopeModel::command(const std::string& path, bool query, std::string_view args, std::string& reply) {
    if (query) {
        std::string value = queryValue(path);
        if (value.empty()) {
            event(kExecutionError);
            return;
        }
        if (!reply.empty()) reply += ';';
        const bool bare = !headers_ || path.front() == '*' || path == "CURVE";
        reply += bare ? value : ":" + path + " " + value;
        return;
    }
    const std::string a = trim(args);
    if (path == "*CLS") {
        esr_ = 0;
        opcPending_ = false;
    } else if (path == "*OPC") {
        opcPending_ = true;
        opcDueMs_ = now_() + static_cast<std::int64_t>(sweepsPerAcquisition()) * options_.sweepMs;
        if (options_.stallRecord > 0 && records_ + 1 == options_.stallRecord && !stalled_) {
            stalled_ = true;
            opcDueMs_ += options_.stallMs;
        }
    } else if (path == "*RST") {
        headers_ = true;
    } else if (path == "HEADER") {
        headers_ = !(upper(a) == "OFF" || a == "0");
    } else if (path == "SAVE:WAVEFORM") {
        // A push's start keeps the last record in REF1 and REF2 and sets the scope running; an RE keeps it
        // there too but goes on to REF4 (and a background to REF3), and the crew may push much later.
        const std::string memory = upper(a.substr(a.find(',') + 1));
        referencesKept_ = memory == "REF1" || memory == "REF2";
    } else if (path == "ACQUIRE:STATE" && referencesKept_ && (upper(a) == "RUN" || a == "1")) {
        referencesKept_ = false;
        settings_[path] = "1";
        if (onPushStart) onPushStart();
    } else if (path == "TRIGGER:A:SETLEVEL") {
        settings_["TRIGGER:A:LEVEL"] = nr3(kTriggerPulseV / 2);
    } else if (!a.empty()) {
        settings_[path] = a;
    }
}

std::string ScopeModel::handle(std::string_view message) {
    update();
    std::string reply;
    std::string subtree; // the path a relative header continues from
    for (const std::string& rawUnit : splitUnits(message)) {
        const std::string unit = trim(rawUnit);
        if (unit.empty()) continue;
        const std::size_t sp = unit.find_first_of(" \t");
        std::string header = unit.substr(0, sp);
        const std::string_view args =
            sp == std::string::npos ? std::string_view() : std::string_view(unit).substr(sp + 1);
        const bool query = header.back() == '?';
        if (query) header.pop_back();
        if (header.empty() || header.back() == ':' || header == ":") {
            event(kCommandError);
            continue;
        }
        std::string path;
        if (header.front() == '*') {
            path = upper(header);
        } else {
            path = canonicalPath(header);
            if (header.front() != ':' && !subtree.empty()) path = subtree + ":" + path;
            const std::size_t last = path.rfind(':');
            subtree = last == std::string::npos ? std::string() : path.substr(0, last);
        }
        command(path, query, args, reply);
    }
    return reply.empty() ? reply : reply + "\n";
}

std::string curveJsonLine(const CurveSent& c) {
    nlohmann::ordered_json j;
    j["record"] = c.record;
    j["ymult"] = c.yMult;
    j["yoff"] = c.yOff;
    j["yzero"] = c.yZero;
    j["values"] = c.values;
    return j.dump();
}

} // namespace zel::sim
