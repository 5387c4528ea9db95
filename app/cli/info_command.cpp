#include "app/cli/info_command.h"

#include "analysis/dissipation.h"
#include "analysis/k_estimate.h"
#include "common/clock.h"
#include "common/console_host.h"
#include "common/windows1252.h"
#include "log/data_lists.h"
#include "log/log_arrays.h"
#include "log/log_data.h"
#include "log/raw_log_reader.h"
#include "program/settings_model.h"

#include <nlohmann/json.hpp>

#include <charconv>
#include <iostream>
#include <memory>
#include <ostream>
#include <sstream>

namespace zel::cli {

namespace {

using Json = nlohmann::ordered_json;

// A float as the double whose shortest text is the float's own (449.6f prints 449.6).
double plain(float v) {
    char buf[32];
    const auto res = std::to_chars(buf, buf + sizeof buf, v);
    double d = 0.0;
    std::from_chars(buf, res.ptr, d);
    return d;
}

Json plain(std::span<const float> values) {
    Json a = Json::array();
    for (float v : values)
        a.push_back(plain(v));
    return a;
}

// The header's texts are the file's 8-bit Windows text (the registered sign of the model names is the single
// byte AE); JSON needs UTF-8.
std::string utf8(std::string_view s) {
    return windows1252ToUtf8(s);
}

Json header(const RawLogText& text) {
    Json h = Json::object();
    for (std::string_view section : text.document().sectionNames()) {
        const std::string name = utf8(section);
        if (h.contains(name)) continue; // a repeated section is never read
        Json keys = Json::object();
        for (std::string_view key : text.document().keyNames(section))
            if (!keys.contains(utf8(key))) keys[utf8(key)] = utf8(text.value(section, key));
        h[name] = std::move(keys);
    }
    return h;
}

Json lists(const RawLogText& text) {
    Json l = Json::object();
    for (std::string_view key : text.document().keyNames("DATA")) {
        if (key == "DATA" || l.contains(utf8(key))) continue;
        const auto v = text.unlimitedValue("DATA", key);
        std::vector<float> values;
        if (v && parseDataList(*v, v->size() + 1, values).ok) l[utf8(key)] = plain(values);
    }
    return l;
}

// The hydraulic profiling of a log that carries pressure and flow: the reference tests and the dissipation
// tests, with the number of readings of each test's curve in the side file beside the log.
Json hydraulic(const cZEL_Data& log, const std::string& rawPath) {
    Json h;
    h["hpt1ft"] = plain(log.HPT1ft());
    h["hpt0ft"] = plain(log.HPT0ft());
    h["reference_test"] = log.HPT1ft() == 0.0f && log.HPT0ft() == 0.0f      ? "not taken"
                          : referenceTestPasses(log.HPT1ft(), log.HPT0ft()) ? "passed"
                                                                            : "failed";
    h["water_table_ft"] = log.DisWTavg() > 0.0f ? Json(plain(log.DisWTavg())) : Json(nullptr);
    std::string error;
    const auto curves = readDissipationFile(dissipationFilePath(rawPath), error);
    Json tests = Json::array();
    for (int i = 0; i < cZEL_Data::kDissipationTests; ++i) {
        if (log.DisDepth(i) == 0.0f && log.DisPres(i) == 0.0f && log.DisWT(i) == 0.0f && !log.DisInclude(i))
            continue;
        std::size_t readings = 0;
        if (curves)
            for (const DissipationCurve& c : *curves)
                if (c.test == i) readings = c.timeS.size();
        tests.push_back({{"test", i},
                         {"depth", plain(log.DisDepth(i))},
                         {"static_psi", plain(log.DisPres(i))},
                         {"water_table_ft", plain(log.DisWT(i))},
                         {"included", log.DisInclude(i)},
                         {"readings", readings}});
    }
    h["dissipation_tests"] = std::move(tests);
    if (!curves) h["dissipation_file_error"] = utf8(error);
    return h;
}

} // namespace

int runInfo(const InfoArgs& args, std::ostream& out, std::ostream& err) {
    std::ostringstream shownStream;
    ConsoleHost host(shownStream, ConsoleHost::Policy::Default);
    SystemClock clock;
    cZEL_Data log(host, clock);
    LogArrays arrays;
    RawLogContext ctx;
    RawLogLoadOptions options;
    options.repair = !args.noRepair;
    options.processing = program::OptionsFileLoadProcessing();
    const RawLogLoadResult r = LoadRawLog(args.path, log, arrays, ctx, host, options);
    if (!r.ok) {
        err << "zel-cli info: " << args.path << " could not be loaded:\n" << shownStream.str();
        return 1;
    }
    if (args.wave && (*args.wave < 0 || *args.wave >= arrays.waves.points())) {
        err << "zel-cli info: --wave " << *args.wave << " is not a point of this log (0.."
            << arrays.waves.points() - 1 << ")\n";
        return 1;
    }
    const RawLogText text(r.text);
    Json j;
    j["header"] = header(text);
    j["data_points"] = log.DataPoints();
    j["wave_points"] = log.WavePoints();
    j["signal_max"] = {{"value", plain(log.Signal_MaxValue())},
                       {"depth_ft", plain(log.Signal_MaxDepth_Ft())},
                       {"depth_m", plain(log.Signal_MaxDepth_M())}};
    j["depth_max"] = {{"ft", plain(log.Depth_Max_Ft())}, {"m", plain(log.Depth_Max_M())}};
    j["dogwood"] = log.Dogwood();
    j["repaired"] = r.repaired;
    j["trailer_mismatch"] = r.trailerMismatch;
    Json messages = Json::array();
    for (const std::string& m : host.shown())
        messages.push_back(utf8(m));
    j["messages"] = std::move(messages);
    if (log.PresFlow()) j["hydraulic"] = hydraulic(log, args.path);
    if (args.lists) j["lists"] = lists(text);
    if (args.wave) j["wave"] = {{"point", *args.wave}, {"samples", plain(arrays.waves.wave(*args.wave))}};
    out << j.dump(2) << '\n';
    if (r.repaired)
        err << "zel-cli info: " << args.path
            << ": the trailer did not match the text part and was rewritten to " << r.textLength
            << " (the text part is unchanged)\n";
    else if (r.trailerMismatch)
        err << "zel-cli info: " << args.path << ": the trailer does not match the text part (" << r.textLength
            << " found); the file was left as it is\n";
    return 0;
}

void addInfoCommand(CLI::App& app, CommandRunner& run) {
    auto args = std::make_shared<InfoArgs>();
    auto* cmd = app.add_subcommand("info", "Load a raw log and print its header and summary as JSON");
    cmd->add_option("FILE", args->path, "raw log (.lif.raw.bin, .o2.raw.bin, .clr.raw.bin)")->required();
    cmd->add_flag("--lists", args->lists, "also print every DATA list in full");
    cmd->add_option("--wave", args->wave, "also print the waveform of point N");
    cmd->add_flag("--no-repair", args->noRepair,
                  "leave a trailer that does not match the text part as it is (the file is not written)");
    cmd->callback([args, &run] { run = [args] { return runInfo(*args, std::cout, std::cerr); }; });
}

} // namespace zel::cli
