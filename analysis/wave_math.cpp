#include "analysis/wave_math.h"

#include "common/number_text.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>

namespace zel::wave_math {

namespace {

std::optional<double> number(std::string_view t) {
    while (!t.empty() && t.front() == ' ')
        t.remove_prefix(1);
    while (!t.empty() && (t.back() == ' ' || t.back() == '\r'))
        t.remove_suffix(1);
    double v = 0.0;
    const auto [end, ec] = std::from_chars(t.data(), t.data() + t.size(), v);
    if (t.empty() || ec != std::errc() || end != t.data() + t.size() || !std::isfinite(v))
        return std::nullopt;
    return v;
}

std::string depthText(double d) {
    return formatNumber(d, "#0.00");
}

Curve meanOf(const LogArrays& arrays, int first, int last) {
    const int n = arrays.waves.samplesPerWave();
    std::vector<double> sum(static_cast<std::size_t>(n), 0.0);
    Curve c;
    c.firstDepth = std::numeric_limits<double>::max();
    c.lastDepth = std::numeric_limits<double>::lowest();
    for (int p = first; p <= last; ++p) {
        const auto w = arrays.waves.wave(p);
        for (std::size_t k = 0; k < sum.size() && k < w.size(); ++k)
            sum[k] += w[k];
        const double d = arrays.columns(point_column::Depth, p);
        c.firstDepth = std::min(c.firstDepth, d);
        c.lastDepth = std::max(c.lastDepth, d);
        ++c.points;
    }
    c.samples.reserve(sum.size());
    for (double s : sum)
        c.samples.push_back(static_cast<float>(s / c.points));
    return c;
}

std::vector<std::string_view> fields(std::string_view line) {
    std::vector<std::string_view> f;
    std::size_t at = 0;
    for (;;) {
        const auto tab = line.find('\t', at);
        f.push_back(line.substr(at, tab == std::string_view::npos ? std::string_view::npos : tab - at));
        if (tab == std::string_view::npos) return f;
        at = tab + 1;
    }
}

} // namespace

std::optional<Selection> parseSelection(std::string_view text) {
    if (text == "bg" || text == "BG" || text == "background") return Selection{Selection::Kind::Background};
    // The range's dash is the first one after the first character (a depth may be negative).
    const auto dash = text.size() > 1 ? text.find('-', 1) : std::string_view::npos;
    if (dash == std::string_view::npos) {
        const auto d = number(text);
        if (!d) return std::nullopt;
        return Selection{Selection::Kind::Nearest, *d, *d};
    }
    const auto a = number(text.substr(0, dash));
    const auto b = number(text.substr(dash + 1));
    if (!a || !b) return std::nullopt;
    return Selection{Selection::Kind::Range, std::min(*a, *b), std::max(*a, *b)};
}

std::optional<Curve> select(const LogArrays& arrays, const Selection& s, const std::string& depthUnit,
                            std::string& error) {
    const int n = arrays.waves.samplesPerWave();
    if (s.kind == Selection::Kind::Background) {
        if (n <= 0 || arrays.blank.samples.size() != static_cast<std::size_t>(n)) {
            error = "the log has no background of its waveforms' length";
            return std::nullopt;
        }
        Curve c;
        c.legend = "Background";
        c.samples = arrays.blank.samples;
        return c;
    }
    if (arrays.points() <= 0 || n <= 0) {
        error = "the log has no waveforms";
        return std::nullopt;
    }
    if (s.kind == Selection::Kind::Nearest) {
        int best = 0;
        for (int p = 1; p < arrays.points(); ++p)
            if (std::fabs(arrays.columns(point_column::Depth, p) - s.from) <
                std::fabs(arrays.columns(point_column::Depth, best) - s.from))
                best = p;
        Curve c = meanOf(arrays, best, best);
        c.legend = depthText(c.firstDepth) + " " + depthUnit;
        return c;
    }
    // The points of the range need not be consecutive (a push can come back up a little): each one counts.
    const int w = n;
    std::vector<double> sum(static_cast<std::size_t>(w), 0.0);
    Curve c;
    for (int p = 0; p < arrays.points(); ++p) {
        const double d = arrays.columns(point_column::Depth, p);
        if (d < s.from || d > s.to) continue;
        const auto wave = arrays.waves.wave(p);
        for (std::size_t k = 0; k < sum.size() && k < wave.size(); ++k)
            sum[k] += wave[k];
        c.firstDepth = c.points == 0 ? d : std::min(c.firstDepth, d);
        c.lastDepth = c.points == 0 ? d : std::max(c.lastDepth, d);
        ++c.points;
    }
    if (c.points == 0) {
        error = "no point of the log lies between " + depthText(s.from) + " and " + depthText(s.to) + " " +
                depthUnit;
        return std::nullopt;
    }
    for (double v : sum)
        c.samples.push_back(static_cast<float>(v / c.points));
    c.legend = depthText(s.from) + "-" + depthText(s.to) + " " + depthUnit;
    return c;
}

std::vector<Curve> averageEvery(const LogArrays& arrays, int n, const std::string& depthUnit) {
    std::vector<Curve> out;
    if (n <= 0 || arrays.waves.samplesPerWave() <= 0) return out;
    for (int first = 0; first < arrays.points(); first += n) {
        const int last = std::min(arrays.points(), first + n) - 1;
        Curve c = meanOf(arrays, first, last);
        c.legend = depthText(c.firstDepth) + "-" + depthText(c.lastDepth) + " " + depthUnit;
        out.push_back(std::move(c));
    }
    return out;
}

std::optional<Curve> difference(const Curve& a, const Curve& b, std::string& error) {
    if (a.samples.size() != b.samples.size()) {
        error = "the two waveforms have " + std::to_string(a.samples.size()) + " and " +
                std::to_string(b.samples.size()) + " samples";
        return std::nullopt;
    }
    Curve d;
    d.legend = a.legend + " - " + b.legend;
    d.samples.resize(a.samples.size());
    for (std::size_t k = 0; k < a.samples.size(); ++k)
        d.samples[k] = a.samples[k] - b.samples[k];
    d.firstDepth = a.firstDepth;
    d.lastDepth = a.lastDepth;
    return d;
}

bool subtractBaseline(Curve& c, const std::vector<float>& baseline, std::string& error) {
    if (baseline.empty()) {
        error = "the log has no stored baseline";
        return false;
    }
    if (baseline.size() != c.samples.size()) {
        error = "the log's baseline has " + std::to_string(baseline.size()) + " samples, its waveforms " +
                std::to_string(c.samples.size());
        return false;
    }
    for (std::size_t k = 0; k < c.samples.size(); ++k)
        c.samples[k] -= baseline[k];
    return true;
}

bool normalise(Curve& c, double reArea, double deltaX, std::string& error) {
    if (!(reArea > 0.0) || !std::isfinite(reArea)) {
        error = "the log has no RE area to normalise by";
        return false;
    }
    if (!(deltaX > 0.0) || !std::isfinite(deltaX)) {
        error = "the log has no time step";
        return false;
    }
    const double f = deltaX * 1e9 * 100.0 / reArea;
    for (float& v : c.samples)
        v = static_cast<float>(v * f);
    return true;
}

void Labels::applyCustom(const std::string& xl, const std::string& xu, const std::string& yl,
                         const std::string& yu) {
    const auto blank = [](const std::string& s) { return s.find_first_not_of(' ') == std::string::npos; };
    if (!blank(xl)) xLabel = xl;
    if (!blank(xu)) xUnit = xu;
    if (!blank(yl)) yLabel = yl;
    if (!blank(yu)) yUnit = yu;
}

std::string exportText(const std::vector<Curve>& curves, double deltaX, const Labels& labels,
                       const std::string& logName, const std::string& operation) {
    const auto clean = [](std::string s) {
        for (char& ch : s)
            if (ch == '\t' || ch == '\r' || ch == '\n') ch = ' ';
        return s;
    };
    std::string out = "# ZEL waveform mathematics\r\n";
    out += "# Log\t" + clean(logName) + "\r\n";
    out += "# Operation\t" + clean(operation) + "\r\n";
    out += "# Y\t" + clean(labels.yLabel) + "\t" + clean(labels.yUnit) + "\r\n";
    out += clean(labels.xLabel) + " (" + clean(labels.xUnit) + ")";
    std::size_t samples = 0;
    for (std::size_t i = 0; i < curves.size(); ++i) {
        const std::string& legend =
            i < labels.legends.size() && !labels.legends[i].empty() ? labels.legends[i] : curves[i].legend;
        out += "\t" + clean(legend);
        samples = std::max(samples, curves[i].samples.size());
    }
    out += "\r\n";
    for (std::size_t k = 0; k < samples; ++k) {
        out += formatNumber(static_cast<double>(k) * deltaX * 1e9, "#0.000");
        for (const Curve& c : curves) {
            out += '\t';
            if (k < c.samples.size()) out += formatNumber(c.samples[k], "#0.0000");
        }
        out += "\r\n";
    }
    return out;
}

std::optional<Table> readText(std::string_view text, std::string& error) {
    Table t;
    bool headings = false;
    std::size_t at = 0;
    int lineNo = 0;
    while (at < text.size()) {
        auto end = text.find('\n', at);
        if (end == std::string_view::npos) end = text.size();
        std::string_view line = text.substr(at, end - at);
        at = end + 1;
        ++lineNo;
        if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
        if (line.empty()) continue;
        const auto f = fields(line);
        if (line.front() == '#') {
            if (f.size() >= 2 && f[0] == "# Log") t.logName = f[1];
            if (f.size() >= 2 && f[0] == "# Operation") t.operation = f[1];
            if (f.size() >= 3 && f[0] == "# Y") {
                t.yLabel = f[1];
                t.yUnit = f[2];
            }
            continue;
        }
        if (!headings) {
            headings = true;
            t.xHeading = f[0];
            for (std::size_t i = 1; i < f.size(); ++i)
                t.legends.emplace_back(f[i]);
            t.values.resize(t.legends.size());
            continue;
        }
        if (f.size() != t.legends.size() + 1) {
            error = "line " + std::to_string(lineNo) + " has " + std::to_string(f.size()) + " fields, not " +
                    std::to_string(t.legends.size() + 1);
            return std::nullopt;
        }
        const auto time = number(f[0]);
        if (!time) {
            error = "line " + std::to_string(lineNo) + ": the time is not a number";
            return std::nullopt;
        }
        t.timeNs.push_back(*time);
        for (std::size_t i = 1; i < f.size(); ++i) {
            // A shorter curve leaves its field empty past its end.
            if (f[i].empty()) {
                t.values[i - 1].push_back(std::numeric_limits<double>::quiet_NaN());
                continue;
            }
            const auto v = number(f[i]);
            if (!v) {
                error = "line " + std::to_string(lineNo) + ", field " + std::to_string(i + 1) +
                        " is not a number";
                return std::nullopt;
            }
            t.values[i - 1].push_back(*v);
        }
    }
    if (!headings) {
        error = "no headings line";
        return std::nullopt;
    }
    return t;
}

} // namespace zel::wave_math
