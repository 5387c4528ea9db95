// zel-cli tau, nnls and basis: the waveform analyses of logs, in batch like export. tau fits every point's
// channel decay times, nnls fits every point to a basis library, basis keeps the library.
#include "app/cli/command.h"
#include "app/cli/log_callouts.h"
#include "app/jobs/batch.h"
#include "app/jobs/quiet_log.h"

#include "analysis/waveform_fits.h"
#include "common/console_host.h"
#include "common/number_text.h"
#include "common/windows1252.h"

#include <nlohmann/json.hpp>

#include <functional>
#include <iostream>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

namespace zel::cli {

namespace {

// ---- tau

struct TauArgs {
    std::vector<std::string> files;
    double cutoff = 0.0;
    bool json = false;
    bool callouts = false;
};

// A number as the files print it, for JSON.
double rounded(double v, const char* pattern) {
    return val(formatNumber(v, pattern));
}

// The callout bands of every log, each fitted by fit(band, loaded log): one JSON entry a band, naming its
// log, slot, caption, depths and points, then what fit adds. Progress on stderr; nothing is written.
int runCalloutBatch(const char* command, const std::vector<std::string>& files, Host& host,
                    const std::function<bool(const plot::CalloutWave&, jobs::QuietLog&,
                                             nlohmann::ordered_json&, std::string&)>& fit) {
    nlohmann::ordered_json all = nlohmann::json::array();
    const int code =
        jobs::runBatch(command, files, std::cerr, [&](const std::string& file, std::string& text) {
            const auto l = jobs::loadQuietly(file, host);
            if (!l) return false;
            const auto bands = calloutBands(*l);
            for (const auto& band : bands) {
                nlohmann::ordered_json j;
                j["file"] = file;
                j["slot"] = band.slot;
                j["caption"] = windows1252ToUtf8(band.caption);
                j["top"] = rounded(band.top, "#0.000");
                j["bottom"] = rounded(band.bottom, "#0.000");
                j["points"] = band.lastPoint - band.firstPoint + 1;
                j["mean_pct_re"] = rounded(band.meanSignal, "#0.000");
                if (!fit(band, *l, j, text)) return false;
                all.push_back(j);
            }
            text = std::to_string(bands.size()) + (bands.size() == 1 ? " callout" : " callouts");
            return true;
        });
    std::cout << all.dump() << std::endl;
    return code;
}

int runCalloutTau(const TauArgs& a, Host& host) {
    return runCalloutBatch(
        "tau", a.files, host,
        [&](const plot::CalloutWave& band, jobs::QuietLog& l, nlohmann::ordered_json& j, std::string&) {
            analysis::LifetimeSettings s;
            s.cutoffArea = a.cutoff;
            const analysis::LifetimeFitter fitter(l.log, l.arrays, l.ctx.channels, s, host);
            nlohmann::ordered_json tau = nlohmann::json::array(), rms = tau;
            for (const auto& f : fitter.fit(band.average)) {
                tau.push_back(f.weak ? nlohmann::ordered_json()
                                     : nlohmann::ordered_json(rounded(f.tauNs, "#0.000")));
                rms.push_back(f.weak ? nlohmann::ordered_json()
                                     : nlohmann::ordered_json(rounded(f.residual, "#0.0000")));
            }
            j["tau_ns"] = tau;
            j["rms_mv"] = rms;
            return true;
        });
}

int runTau(const TauArgs& a) {
    ConsoleHost host(std::cerr);
    if (a.callouts) return runCalloutTau(a, host);
    nlohmann::ordered_json all = nlohmann::json::array();
    std::ostringstream progress;
    const int code = jobs::runBatch(
        "tau", a.files, a.json ? progress : std::cout, [&](const std::string& file, std::string& text) {
            const auto l = jobs::loadQuietly(file, host);
            if (!l) return false;
            analysis::LifetimeSettings s;
            s.cutoffArea = a.cutoff;
            const auto fits = analysis::fitLogLifetimes(l->log, l->arrays, l->ctx.channels, s, host);
            const std::string path = analysis::lifetimePath(file);
            if (!jobs::writeWholeFile(path, analysis::lifetimeText(fits), text)) return false;
            text = path;
            nlohmann::ordered_json j;
            j["file"] = file;
            j["tau_file"] = path;
            j["points"] = fits.points.size();
            nlohmann::ordered_json median = nlohmann::json::array();
            for (int c = 0; c < fits.channels; ++c) {
                std::vector<double> taus;
                for (const auto& p : fits.points)
                    if (!p[static_cast<std::size_t>(c)].weak)
                        taus.push_back(p[static_cast<std::size_t>(c)].tauNs);
                if (taus.empty()) {
                    median.push_back(nullptr);
                    continue;
                }
                std::nth_element(taus.begin(), taus.begin() + static_cast<long>(taus.size() / 2), taus.end());
                median.push_back(val(formatNumber(taus[taus.size() / 2], "#0.000")));
            }
            j["median_tau_ns"] = median;
            all.push_back(j);
            return true;
        });
    if (a.json) std::cout << all.dump() << std::endl;
    return code;
}

// ---- nnls

struct NnlsArgs {
    std::vector<std::string> files;
    std::string library;
    std::vector<std::string> names;
    bool json = false;
    bool callouts = false;
};

std::optional<analysis::BasisLibrary> loadLibrary(const std::string& path, std::string& error) {
    const auto text = jobs::readWholeFile(path, error);
    if (!text) return std::nullopt;
    auto lib = analysis::parseBasisLibrary(*text, error);
    if (!lib) error = path + ": " + error;
    return lib;
}

int runNnls(const NnlsArgs& a) {
    ConsoleHost host(std::cerr);
    std::string error;
    const auto lib = loadLibrary(a.library, error);
    if (!lib) {
        std::cerr << "zel-cli nnls: " << error << '\n';
        return 1;
    }
    std::vector<const analysis::BasisWaveform*> chosen;
    for (const auto& utf8 : a.names) {
        const std::string name = utf8ToWindows1252(utf8);
        const auto* b = lib->find(name);
        if (!b) {
            std::cerr << "zel-cli nnls: the library " << a.library << " holds no basis \"" << utf8 << "\"\n";
            return 1;
        }
        chosen.push_back(b);
    }
    if (a.names.empty())
        for (const auto& b : lib->bases)
            chosen.push_back(&b);
    if (a.callouts)
        return runCalloutBatch("nnls", a.files, host,
                               [&](const plot::CalloutWave& band, jobs::QuietLog& l,
                                   nlohmann::ordered_json& j, std::string& text) {
                                   const auto fitter =
                                       analysis::NnlsFitter::make(l.log, l.arrays, chosen, text);
                                   if (!fitter) return false;
                                   const analysis::NnlsPoint r = fitter->fit(band.average);
                                   j["bases"] = nlohmann::json::array();
                                   for (const auto& name : fitter->names())
                                       j["bases"].push_back(windows1252ToUtf8(name));
                                   nlohmann::ordered_json shares = nlohmann::json::array();
                                   for (const float x : r.shares)
                                       shares.push_back(rounded(x, "#0.0000"));
                                   j["shares"] = shares;
                                   j["generic"] = rounded(r.generic, "#0.0000");
                                   j["residual"] = rounded(r.residual, "#0.0000");
                                   return true;
                               });
    nlohmann::ordered_json all = nlohmann::json::array();
    std::ostringstream progress;
    const int code = jobs::runBatch(
        "nnls", a.files, a.json ? progress : std::cout, [&](const std::string& file, std::string& text) {
            const auto l = jobs::loadQuietly(file, host);
            if (!l) return false;
            const auto fits = analysis::fitLogNnls(l->log, l->arrays, chosen, text);
            if (!fits) return false;
            const std::string path = analysis::nnlsPath(file);
            if (!jobs::writeWholeFile(path, analysis::nnlsText(*fits), text)) return false;
            text = path;
            nlohmann::ordered_json j;
            j["file"] = file;
            j["nnls_file"] = path;
            j["bases"] = nlohmann::json::array();
            for (const auto& name : fits->names)
                j["bases"].push_back(windows1252ToUtf8(name));
            nlohmann::ordered_json points = nlohmann::json::array();
            for (std::size_t p = 0; p < fits->depth.size(); ++p) {
                nlohmann::ordered_json pt;
                pt["depth"] = val(formatNumber(fits->depth[p], "#0.000"));
                nlohmann::ordered_json shares = nlohmann::json::array();
                for (const float s : fits->shares[p])
                    shares.push_back(val(formatNumber(s, "#0.0000")));
                pt["shares"] = shares;
                pt["generic"] = val(formatNumber(fits->generic[p], "#0.0000"));
                pt["residual"] = val(formatNumber(fits->residual[p], "#0.0000"));
                points.push_back(pt);
            }
            j["points"] = points;
            all.push_back(j);
            return true;
        });
    if (a.json) std::cout << all.dump() << std::endl;
    return code;
}

// ---- basis

struct BasisArgs {
    std::string library;
    std::string name;
    std::string log;
    double from = 0, to = 0;
};

// An absent library file is an empty library (the first "add" makes it).
std::optional<analysis::BasisLibrary> libraryOrEmpty(const std::string& path, std::string& error) {
    std::ifstream probe(path, std::ios::binary);
    if (!probe) return analysis::BasisLibrary{};
    return loadLibrary(path, error);
}

int runBasis(const std::string& verb, BasisArgs a) {
    // Names come from the command line as UTF-8; the library keeps the files' 8-bit text.
    a.name = utf8ToWindows1252(a.name);
    ConsoleHost host(std::cerr);
    std::string error;
    auto lib = verb == "add" ? libraryOrEmpty(a.library, error) : loadLibrary(a.library, error);
    if (!lib) {
        std::cerr << "zel-cli basis: " << error << '\n';
        return 1;
    }
    if (verb == "list") {
        nlohmann::ordered_json all = nlohmann::json::array();
        for (const auto& b : lib->bases)
            all.push_back({{"name", windows1252ToUtf8(b.name)},
                           {"source", windows1252ToUtf8(b.source)},
                           {"from", b.fromDepth},
                           {"to", b.toDepth},
                           {"re_area", b.reArea},
                           {"samples", b.samples.size()}});
        std::cout << all.dump() << std::endl;
        return 0;
    }
    if (verb == "remove") {
        const auto before = lib->bases.size();
        std::erase_if(lib->bases, [&](const analysis::BasisWaveform& b) { return b.name == a.name; });
        if (lib->bases.size() == before) {
            std::cerr << "zel-cli basis: the library " << a.library << " holds no basis \"" << a.name
                      << "\"\n";
            return 1;
        }
    } else {
        if (lib->find(a.name)) {
            std::cerr << "zel-cli basis: the library " << a.library << " already holds \""
                      << windows1252ToUtf8(a.name) << "\" (remove it first)\n";
            return 1;
        }
        const auto l = jobs::loadQuietly(a.log, host);
        if (!l) {
            std::cerr << "zel-cli basis: " << a.log << " did not load\n";
            return 1;
        }
        auto b = analysis::basisFromLog(l->log, l->arrays, a.name, static_cast<float>(a.from),
                                        static_cast<float>(a.to), error);
        if (!b) {
            std::cerr << "zel-cli basis: " << a.log << ": " << error << '\n';
            return 1;
        }
        lib->bases.push_back(std::move(*b));
    }
    if (!jobs::writeWholeFile(a.library, analysis::basisLibraryText(*lib), error)) {
        std::cerr << "zel-cli basis: " << error << '\n';
        return 1;
    }
    std::cout << verb << (verb == "add" ? "ed " : "d ") << windows1252ToUtf8(a.name) << " ("
              << lib->bases.size() << " bases in " << a.library << ")" << std::endl;
    return 0;
}

} // namespace

void addAnalysisCommands(CLI::App& app, CommandRunner& run) {
    auto tau = std::make_shared<TauArgs>();
    auto* t =
        app.add_subcommand("tau", "Fit every point's channel decay times; write <name>.lif.tau.txt beside "
                                  "each raw log");
    t->add_option("FILE", tau->files, "raw logs")->required();
    t->add_option("--cutoff", tau->cutoff,
                  "A channel whose summed signal (mV x samples) is below this is not fitted")
        ->capture_default_str();
    t->add_flag("--json", tau->json, "One JSON array on stdout instead of progress lines");
    t->add_flag(
        "--callouts", tau->callouts,
        "Fit each callout band's averaged waveform instead (JSON, one entry a band; no file written)");
    t->callback([tau, &run] { run = [tau] { return runTau(*tau); }; });

    auto nnls = std::make_shared<NnlsArgs>();
    auto* n =
        app.add_subcommand("nnls", "Fit every point to the basis waveforms of a library (non-negative least "
                                   "squares); write <name>.lif.nnls.txt beside each raw log");
    n->add_option("FILE", nnls->files, "raw logs")->required();
    n->add_option("--basis", nnls->library, "The basis library file")->required();
    n->add_option("--use", nnls->names, "Bases to fit with (default: all of the library)")->delimiter(',');
    n->add_flag("--json", nnls->json, "One JSON array on stdout instead of progress lines");
    n->add_flag(
        "--callouts", nnls->callouts,
        "Fit each callout band's averaged waveform instead (JSON, one entry a band; no file written)");
    n->callback([nnls, &run] { run = [nnls] { return runNnls(*nnls); }; });

    auto b = std::make_shared<BasisArgs>();
    auto* basis = app.add_subcommand("basis", "Keep a library of basis waveforms (averaged depth ranges of "
                                              "reference logs, normalised by their RE)");
    basis->require_subcommand(1);
    auto* add = basis->add_subcommand("add", "Add the average of a log's points between two depths");
    add->add_option("LIBRARY", b->library, "The library file (made when missing)")->required();
    add->add_option("--name", b->name, "Name of the new basis")->required();
    add->add_option("--log", b->log, "The reference raw log")->required();
    add->add_option("--from", b->from, "Top of the depth range, in the log's unit")->required();
    add->add_option("--to", b->to, "Bottom of the depth range")->required();
    add->callback([b, &run] { run = [b] { return runBasis("add", *b); }; });
    auto* list = basis->add_subcommand("list", "List the library's bases as JSON");
    list->add_option("LIBRARY", b->library, "The library file")->required();
    list->callback([b, &run] { run = [b] { return runBasis("list", *b); }; });
    auto* remove = basis->add_subcommand("remove", "Remove a basis by name");
    remove->add_option("LIBRARY", b->library, "The library file")->required();
    remove->add_option("--name", b->name, "The basis to remove")->required();
    remove->callback([b, &run] { run = [b] { return runBasis("remove", *b); }; });
}

} // namespace zel::cli
