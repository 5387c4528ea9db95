// zel-cli wave-math: waveform mathematics on a raw log (analysis/wave_math.h): the mean waveform of a depth
// range or of every N points, a difference of two, the stored baseline off, normalised to the RE, written
// as the documented tab-separated text. zel-cli wave processes single waveforms from sample files; this
// works on a whole log's points, so it is a command of its own.

#include "analysis/wave_math.h"
#include "app/cli/command.h"
#include "app/jobs/quiet_log.h"
#include "common/console_host.h"
#include "common/windows1252.h"
#include "program/settings_model.h"
#include "settings/data_root.h"

#include <nlohmann/json.hpp>

#include <iostream>

namespace zel::cli {

namespace {

struct WaveMathArgs {
    std::string file;
    std::string avg;
    int every = 0;
    std::vector<std::string> diff;
    std::string point;
    bool baseline = false;
    bool normalise = false;
    std::string out;
    bool json = false;
    std::optional<std::string> xLabel, xUnit, yLabel, yUnit;
    std::vector<std::string> legends;
};

int fail(const std::string& text) {
    std::cerr << "zel-cli wave-math: " << text << '\n';
    return 1;
}

// The custom labels of the wave-mathematics page ("FWchkCustomLandU", "FWtxtCustomUnit0..3",
// "FWtxtCustomLegend0..1") as the desktop left them in the options file.
wave_math::Labels optionsFileLabels() {
    wave_math::Labels labels;
    program::SettingsModel model;
    model.readOptionsFile(optionsFilePath());
    using namespace program::control;
    if (!model.checked(kWaveMath, kCustomLabels)) return labels;
    const auto at = [&](const char* name, int i) { return model.value(kWaveMath, name, i).value_or(""); };
    labels.applyCustom(at(kCustomUnit, 0), at(kCustomUnit, 1), at(kCustomUnit, 2), at(kCustomUnit, 3));
    for (int i = 0; i < 2; ++i)
        labels.legends.push_back(at(kCustomLegend, i));
    return labels;
}

int runWaveMath(const WaveMathArgs& a) {
    const int chosen = !a.avg.empty() + (a.every > 0) + !a.diff.empty() + !a.point.empty();
    if (chosen != 1) return fail("give one of --avg, --every, --diff or --point");
    ConsoleHost host(std::cerr);
    const auto l = jobs::loadQuietly(a.file, host);
    if (!l) return fail(a.file + " did not load");
    const std::string unit = l->log.Metric() ? "m" : "ft";
    std::string error;
    std::vector<wave_math::Curve> curves;
    std::string operation;
    const auto selected = [&](const std::string& text) -> std::optional<wave_math::Curve> {
        const auto s = wave_math::parseSelection(text);
        if (!s) {
            error = "\"" + text + "\" is neither a depth, a range FROM-TO nor bg";
            return std::nullopt;
        }
        return wave_math::select(l->arrays, *s, unit, error);
    };
    if (!a.avg.empty() || !a.point.empty()) {
        const std::string& text = a.avg.empty() ? a.point : a.avg;
        if (!a.avg.empty() && text.find('-', 1) == std::string::npos)
            return fail("--avg takes a range FROM-TO, not \"" + text + "\"");
        auto c = selected(text);
        if (!c) return fail(error);
        operation = (a.avg.empty() ? "point " : "avg ") + c->legend;
        curves.push_back(std::move(*c));
    } else if (a.every > 0) {
        curves = wave_math::averageEvery(l->arrays, a.every, unit);
        if (curves.empty()) return fail("the log has no waveforms");
        operation = "every " + std::to_string(a.every) + " points";
    } else {
        const auto first = selected(a.diff[0]);
        if (!first) return fail(error);
        const auto second = selected(a.diff[1]);
        if (!second) return fail(error);
        auto d = wave_math::difference(*first, *second, error);
        if (!d) return fail(error);
        operation = "diff " + d->legend;
        curves.push_back(std::move(*d));
    }
    if (a.baseline) {
        for (auto& c : curves)
            if (!wave_math::subtractBaseline(c, l->arrays.baseline, error)) return fail(error);
        operation += "; baseline";
    }
    wave_math::Labels labels = optionsFileLabels();
    if (a.normalise) {
        for (auto& c : curves)
            if (!wave_math::normalise(c, l->log.RE_Area(), l->log.Wave_DeltaX(), error)) return fail(error);
        operation += "; normalised";
        labels.yLabel = "Signal";
        labels.yUnit = wave_math::kNormalisedUnit;
    }
    // The command line's labels are the system's text; the file's are 8-bit.
    const auto eight = [](const std::optional<std::string>& s) { return s ? utf8ToWindows1252(*s) : ""; };
    labels.applyCustom(eight(a.xLabel), eight(a.xUnit), eight(a.yLabel), eight(a.yUnit));
    for (std::size_t i = 0; i < a.legends.size(); ++i) {
        if (labels.legends.size() <= i) labels.legends.resize(i + 1);
        labels.legends[i] = utf8ToWindows1252(a.legends[i]);
    }
    const std::string text =
        wave_math::exportText(curves, l->log.Wave_DeltaX(), labels, l->log.File_Title_NoExt(), operation);
    if (!jobs::writeWholeFile(a.out, text, error)) return fail(error);
    if (!a.json) {
        std::cout << a.out << " (" << curves.size() << (curves.size() == 1 ? " curve, " : " curves, ")
                  << curves.front().samples.size() << " samples)" << std::endl;
        return 0;
    }
    nlohmann::ordered_json j;
    j["log"] = a.file;
    j["out"] = a.out;
    j["operation"] = windows1252ToUtf8(operation);
    j["x"] = windows1252ToUtf8(labels.xLabel + " (" + labels.xUnit + ")");
    j["y"] = windows1252ToUtf8(labels.yLabel + " (" + labels.yUnit + ")");
    auto& list = j["curves"] = nlohmann::json::array();
    for (std::size_t i = 0; i < curves.size(); ++i) {
        const auto& c = curves[i];
        const std::string legend =
            i < labels.legends.size() && !labels.legends[i].empty() ? labels.legends[i] : c.legend;
        list.push_back({{"legend", windows1252ToUtf8(legend)},
                        {"points", c.points},
                        {"first_depth", c.firstDepth},
                        {"last_depth", c.lastDepth},
                        {"samples", c.samples}});
    }
    std::cout << j.dump() << std::endl;
    return 0;
}

} // namespace

void addWaveMathCommand(CLI::App& app, CommandRunner& run) {
    auto a = std::make_shared<WaveMathArgs>();
    CLI::App* sc = app.add_subcommand(
        "wave-math",
        "Waveform mathematics on a raw log: averages, differences, baseline, normalisation to the RE");
    sc->add_option("FILE", a->file, "The raw log")->required();
    sc->add_option("--avg", a->avg, "FROM-TO: the mean waveform of the points in that depth range");
    sc->add_option("--every", a->every, "N: the mean of every N consecutive points, one curve each")
        ->check(CLI::Range(1, 10001));
    sc->add_option("--diff", a->diff,
                   "A B: A minus B, each a depth (the nearest point), a range FROM-TO or bg (the background)")
        ->expected(2);
    sc->add_option("--point", a->point, "D: the waveform of the point nearest depth D");
    sc->add_flag("--baseline", a->baseline, "Take the log's stored baseline (BASELINE) off");
    sc->add_flag("--normalise", a->normalise,
                 "Normalise to the RE: each sample as a percentage of the RE's area (%RE a sample)");
    sc->add_option("--out", a->out, "The text file to write")->required();
    sc->add_flag("--json", a->json, "Print the curves as JSON");
    sc->add_option("--x-label", a->xLabel, "The time axis's title (default Time)");
    sc->add_option("--x-unit", a->xUnit, "The time axis's unit (default ns)");
    sc->add_option("--y-label", a->yLabel, "The value axis's title (default Signal)");
    sc->add_option("--y-unit", a->yUnit, "The value axis's unit (default mV)");
    sc->add_option("--legend", a->legends, "The curves' legends, in order")
        ->expected(1)
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
    sc->callback([a, &run] { run = [a] { return runWaveMath(*a); }; });
}

} // namespace zel::cli
