// zel-cli classify: a log's points sorted into the analyst's named classes by k-means over their channel
// shares or decay times, written beside the log as "<name>.lif.class.txt", with a cross-plot on request.
#include "app/cli/command.h"
#include "app/cli/offscreen_gui.h"
#include "app/jobs/quiet_log.h"

#include "analysis/classify.h"
#include "analysis/waveform_fits.h"
#include "app/plot/class_plot.h"
#include "common/console_host.h"
#include "common/number_text.h"
#include "common/windows1252.h"

#include <nlohmann/json.hpp>

#include <filesystem>
#include <iostream>
#include <memory>
#include <string>
#include <vector>

namespace zel::cli {

namespace {

struct ClassifyArgs {
    std::string file;
    std::vector<std::string> seeds;
    std::string by = "shares";
    double floor = 0.0;
    bool json = false;
    std::string plot;
};

double rounded(double v, const char* pattern) {
    return val(formatNumber(v, pattern));
}

int runClassify(const ClassifyArgs& a) {
    ConsoleHost host(std::cerr);
    std::vector<analysis::ClassSeed> seeds;
    for (const auto& text : a.seeds) {
        std::string error;
        auto seed = analysis::parseSeed(utf8ToWindows1252(text), error);
        if (!seed) {
            std::cerr << "zel-cli classify: " << windows1252ToUtf8(error) << '\n';
            return 1;
        }
        seeds.push_back(std::move(*seed));
    }
    const auto l = jobs::loadQuietly(a.file, host);
    if (!l) {
        std::cerr << "zel-cli classify: " << a.file << " did not load\n";
        return 1;
    }
    const bool byTau = a.by == "tau";
    analysis::FeatureRows features;
    std::vector<std::string> axes;
    if (byTau) {
        // The decay times the log already has beside it (its load read them), else fitted now.
        std::vector<std::vector<float>> rows = l->arrays.tau;
        if (rows.empty()) {
            const auto fits = analysis::fitLogLifetimes(l->log, l->arrays, l->ctx.channels, {}, host);
            if (auto r = analysis::lifetimeRows(fits, l->arrays.columns)) rows = std::move(*r);
        }
        features = analysis::tauFeatures(l->arrays, rows, a.floor);
        for (std::size_t c = 0; c < rows.size(); ++c)
            axes.push_back("Tau" + std::to_string(c + 1) + " (ns)");
    } else {
        features = analysis::shareFeatures(l->arrays, l->ctx.channels, a.floor);
        for (int c = 0; c < 4; ++c)
            axes.push_back("CH" + std::to_string(c + 1) + " share");
    }
    std::vector<float> depth;
    for (int p = 0; p < l->arrays.points(); ++p)
        depth.push_back(l->arrays.columns(point_column::Depth, p));
    std::string error;
    const auto result = analysis::classify(
        features, depth, seeds, byTau ? analysis::ClassFeature::Tau : analysis::ClassFeature::Shares, error);
    if (!result) {
        std::cerr << "zel-cli classify: " << a.file << ": " << windows1252ToUtf8(error) << '\n';
        return 1;
    }
    const std::string path = analysis::classPath(a.file);
    if (!jobs::writeWholeFile(path, analysis::classText(*result), error)) {
        std::cerr << "zel-cli classify: " << error << '\n';
        return 1;
    }
    if (!a.plot.empty()) {
        OffscreenGui gui;
        plot::ClassPlotInput input{features, *result, axes, l->log.File_Title_NoExt()};
        if (!plot::writeClassPlot(a.plot, input, error)) {
            std::cerr << "zel-cli classify: " << error << '\n';
            return 1;
        }
    }

    std::vector<int> counts(result->names.size(), 0);
    int unclassified = 0;
    for (const int k : result->pointClass)
        k >= 0 ? ++counts[static_cast<std::size_t>(k)] : ++unclassified;
    if (!a.json) {
        std::cout << "classified " << a.file << " -> " << path << " (";
        for (std::size_t k = 0; k < counts.size(); ++k)
            std::cout << (k ? ", " : "") << windows1252ToUtf8(result->names[k]) << " " << counts[k];
        std::cout << ", unclassified " << unclassified << ")" << std::endl;
        return 0;
    }
    nlohmann::ordered_json j;
    j["file"] = a.file;
    j["class_file"] = path;
    j["feature"] = byTau ? "tau" : "shares";
    j["iterations"] = result->iterations;
    j["classes"] = nlohmann::json::array();
    for (std::size_t k = 0; k < result->names.size(); ++k) {
        nlohmann::ordered_json c;
        c["name"] = windows1252ToUtf8(result->names[k]);
        c["points"] = counts[k];
        c["centre"] = nlohmann::json::array();
        for (const double v : result->centres[k])
            c["centre"].push_back(rounded(v, "#0.0000"));
        j["classes"].push_back(c);
    }
    j["unclassified"] = unclassified;
    j["points"] = nlohmann::json::array();
    for (std::size_t p = 0; p < result->pointClass.size(); ++p) {
        const int k = result->pointClass[p];
        j["points"].push_back(
            {{"depth", rounded(result->depth[p], "#0.000")},
             {"class", k >= 0 ? nlohmann::json(windows1252ToUtf8(result->names[static_cast<std::size_t>(k)]))
                              : nlohmann::json()}});
    }
    if (!a.plot.empty()) j["plot"] = a.plot;
    std::cout << j.dump() << std::endl;
    return 0;
}

} // namespace

void addClassifyCommand(CLI::App& app, CommandRunner& run) {
    auto args = std::make_shared<ClassifyArgs>();
    auto* c =
        app.add_subcommand("classify", "Sort a log's points into named classes (k-means from the analyst's "
                                       "seeds); write <name>.lif.class.txt beside the raw log");
    c->add_option("FILE", args->file, "the raw log")->required();
    c->add_option("--seed", args->seeds,
                  "A class: NAME:FROM-TO (its start is the mean of the log's points between two depths) or "
                  "NAME=V1,V2,... (its start given); once a class, in order")
        ->required();
    c->add_option("--by", args->by,
                  "What the points are compared by: shares (channel shares) or tau (decay times)")
        ->check(CLI::IsMember({"shares", "tau"}))
        ->capture_default_str();
    c->add_option("--floor", args->floor, "Points below this %RE are left unclassified")
        ->capture_default_str();
    c->add_flag("--json", args->json, "One JSON object on stdout (the classes and each point's class)");
    c->add_option("--plot", args->plot,
                  "Write the cross-plot of the points' features coloured by class (PNG)");
    c->callback([args, &run] { run = [args] { return runClassify(*args); }; });
}

} // namespace zel::cli
