// zel-cli map and section: the site's pictures for a report, as PDF or PNG.
#include "app/cli/command.h"
#include "app/cli/offscreen_gui.h"
#include "app/jobs/site_borings.h"
#include "app/jobs/site_jobs.h"

#include "app/plot/site_picture.h"
#include "common/console_host.h"
#include "common/number_text.h"

#include <nlohmann/json.hpp>

#include <iostream>
#include <memory>

namespace zel::cli {

namespace {

struct PictureArgs {
    std::vector<std::string> inputs;
    std::string out;
    std::vector<double> line; // easting, northing pairs
    std::string title;
    int dpi = 150;
    bool json = false;
    double width = 0, scale = 0, layer = 0.1;
};

plot::SiteLine lineOf(const std::vector<double>& v) {
    plot::SiteLine line;
    for (std::size_t i = 0; i + 1 < v.size(); i += 2)
        line.points.emplace_back(v[i], v[i + 1]);
    return line;
}

// With --json one object on stdout: the picture, its zone and where its data frame lies in the PNG's pixels
// (data x, y in metres: easting and northing on the map, distance and elevation on a section).
void printJson(const PictureArgs& a, const jobs::SiteBorings& site, const plot::PictureRecord& r) {
    nlohmann::ordered_json j;
    j["out"] = a.out;
    j["zone"] = site.zone();
    j["borings"] = site.borings.size();
    j["frame"] = {{"x0", r.x0},
                  {"y0", r.y0},
                  {"px_per_x", r.pxPerX},
                  {"px_per_y", r.pxPerY},
                  {"origin_x", r.origin.x()},
                  {"origin_y", r.origin.y()}};
    std::cout << j.dump() << std::endl;
}

using Writer = bool (*)(const jobs::SiteBorings&, const jobs::PictureOptions&, const std::string&,
                        plot::PictureRecord*, std::string&);

int draw(const char* command, const PictureArgs& a, Writer write) {
    OffscreenGui gui;
    const jobs::SiteBorings site = jobs::loadSiteBorings(command, a.inputs);
    if (site.borings.empty()) {
        std::cerr << "zel-cli " << command << ": no located boring\n";
        return 1;
    }
    jobs::PictureOptions o;
    o.title = a.title;
    o.line = lineOf(a.line);
    o.widthM = a.width;
    o.scalePctRe = a.scale;
    o.layerM = a.layer;
    o.dpi = a.dpi;
    // The borings shown go to the progress stream, so that --json's stdout stays one object.
    if (write == &jobs::writeSection)
        std::cerr << jobs::sectionBoringsText(jobs::sectionInput(site, o)) << '\n';
    std::string error;
    plot::PictureRecord record;
    if (!write(site, o, a.out, &record, error)) {
        std::cerr << "zel-cli " << command << ": " << error << '\n';
        return 1;
    }
    if (a.json)
        printJson(a, site, record);
    else
        std::cout << a.out << '\n';
    return site.code;
}

int runMap(const PictureArgs& a) {
    return draw("map", a, &jobs::writeSiteMap);
}

int runSection(const PictureArgs& a) {
    return draw("section", a, &jobs::writeSection);
}

void common(CLI::App* cmd, PictureArgs& a) {
    cmd->add_option("INPUT", a.inputs, "raw logs or folders of them")->required();
    cmd->add_option("--out", a.out, "the picture: FILE.pdf, or FILE.png")->required();
    cmd->add_option("--line", a.line, "section line as easting,northing pairs (UTM metres), e.g. E1,N1,E2,N2")
        ->delimiter(',')
        ->expected(4, 200);
    cmd->add_option("--title", a.title, "title (default: the site's name)");
    cmd->add_flag("--json", a.json,
                  "One JSON object on stdout: the picture and where its data frame lies in pixels");
    cmd->add_option("--dpi", a.dpi, "resolution of a PNG")->capture_default_str()->check(CLI::Range(36, 600));
}

} // namespace

void addSitePictureCommands(CLI::App& app, CommandRunner& run) {
    auto m = std::make_shared<PictureArgs>();
    auto* map = app.add_subcommand("map", "The site map: borings on the UTM grid coloured by maximum %RE, "
                                          "scale bar, north arrow, section line");
    common(map, *m);
    map->callback([m, &run] { run = [m] { return runMap(*m); }; });

    auto s = std::make_shared<PictureArgs>();
    auto* section = app.add_subcommand(
        "section",
        "A cross-section: the borings near a line at true distance and elevation, %RE interpolated "
        "between them");
    common(section, *s);
    section->add_option("--width", s->width, "leave out borings farther than this from the line, m (0: none)")
        ->check(CLI::Range(0.0, 1e6));
    section->add_option("--scale", s->scale, "%RE at full bar and colour (0: the greatest shown)")
        ->check(CLI::Range(0.0, 1e6));
    section->add_option("--layer", s->layer, "thickness of the interpolation layers, m")
        ->capture_default_str()
        ->check(CLI::Range(0.01, 100.0));
    section->callback([s, &run] { run = [s] { return runSection(*s); }; });
}

} // namespace zel::cli
