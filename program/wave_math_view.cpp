#include "program/wave_math_view.h"

#include "common/number_text.h"

namespace zel::program {

WaveMathOptions ReadWaveMathOptions(const SettingsModel& model) {
    using namespace control;
    WaveMathOptions o;
    o.average = model.checked(kWaveMath, kAvgInterval);
    if (const auto v = model.number(kWaveMath, kAvgIntervalDepth); v && *v > 0.0 && *v < 1e6) o.interval = *v;
    o.difference = model.checked(kWaveMath, kWaveDiff);
    o.differenceWith = model.text(kWaveMath, kWaveDiffWith);
    o.baseline = model.checked(kWaveMath, kBaseline);
    o.normalise = model.checked(kWaveMath, kNormalise);
    o.customLabels = model.checked(kWaveMath, kCustomLabels);
    for (int i = 0; i < 4; ++i)
        o.units[static_cast<std::size_t>(i)] = model.value(kWaveMath, kCustomUnit, i).value_or("");
    for (int i = 0; i < 2; ++i)
        o.legends[static_cast<std::size_t>(i)] = model.value(kWaveMath, kCustomLegend, i).value_or("");
    return o;
}

std::optional<ShownWave> ShownWaveform(const WaveMathOptions& o, const cZEL_Data& log,
                                       const LogArrays& arrays, int point, const std::string& depthUnit) {
    if (point < 0 || point >= arrays.points()) return std::nullopt;
    ShownWave s;
    const double depth = arrays.columns(point_column::Depth, point);
    std::string error;
    const auto note = [&s](const std::string& what) { s.problem += (s.problem.empty() ? "" : "; ") + what; };
    std::optional<wave_math::Curve> c;
    if (o.average) {
        wave_math::Selection range{wave_math::Selection::Kind::Range, depth - o.interval / 2,
                                   depth + o.interval / 2};
        c = wave_math::select(arrays, range, depthUnit, error);
        if (!c) return std::nullopt; // the point itself always lies in its interval
        s.operation = "avg " + c->legend;
    } else {
        c.emplace();
        const auto w = arrays.waves.wave(point);
        c->samples.assign(w.begin(), w.end());
        c->points = 1;
        c->firstDepth = c->lastDepth = depth;
        c->legend = formatNumber(depth, "#0.00") + " " + depthUnit;
    }
    if (o.difference) {
        const auto with = wave_math::parseSelection(o.differenceWith);
        std::optional<wave_math::Curve> other;
        if (!with)
            error = "\"" + o.differenceWith + "\" is neither a depth, a range FROM-TO nor bg";
        else
            other = wave_math::select(arrays, *with, depthUnit, error);
        auto d = other ? wave_math::difference(*c, *other, error) : std::nullopt;
        if (d) {
            c = std::move(d);
            // The RE and background beside a difference would read as differences too.
            s.millivolts = false;
            s.operation += std::string(s.operation.empty() ? "" : "; ") + "minus " + other->legend;
        } else {
            note("no difference: " + error);
        }
    }
    if (o.baseline && !arrays.baseline.empty()) {
        if (wave_math::subtractBaseline(*c, arrays.baseline, error))
            s.operation += std::string(s.operation.empty() ? "" : "; ") + "baseline off";
        else
            note(error);
    }
    if (o.customLabels) {
        s.labels.applyCustom(o.units[0], o.units[1], o.units[2], o.units[3]);
        for (const std::string& l : o.legends)
            s.labels.legends.push_back(l);
    }
    if (o.normalise) {
        if (wave_math::normalise(*c, log.RE_Area(), log.Wave_DeltaX(), error)) {
            s.operation += std::string(s.operation.empty() ? "" : "; ") + "normalised to the RE";
            s.millivolts = false;
            if (!o.customLabels || o.units[3].find_first_not_of(' ') == std::string::npos)
                s.labels.yUnit = wave_math::kNormalisedUnit;
        } else {
            note("not normalised: " + error);
        }
    }
    s.curve = std::move(*c);
    return s;
}

} // namespace zel::program
