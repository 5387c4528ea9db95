// zel-cli summary and las over a site of logs pushed with the rig at three positions: the summary against
// zel-cli info, the GeoJSON's coordinate order, and the LAS files read back by an independent reader.

#include "tests/e2e/site_logs.h"

#include "common/number_text.h"

#include <QImage>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <array>
#include <cmath>
#include <fstream>
#include <map>
#include <sstream>

namespace zel::e2e {
namespace {

const std::string kCli = ZEL_CLI;

constexpr const auto& kBorings = kSiteBorings;

TEST(CliSite, SummaryAgreesWithInfoAndMapsTheBorings) {
    const SiteLogs& logs = siteLogs();
    const std::string geojson = (logs.dir.path / "borings.geojson").string();
    const std::string kml = (logs.dir.path / "borings.kml").string();
    const RunResult r =
        runProgram(kCli + " summary " + quote(logs.dir.path.string()) + " --threshold 5 --json --geojson " +
                   quote(geojson) + " --kml " + quote(kml));
    ASSERT_EQ(r.exitCode, 0) << r.err;
    const auto j = nlohmann::json::parse(r.out);
    ASSERT_EQ(j["logs"].size(), 3u);
    double footage = 0;
    for (std::size_t i = 0; i < 3; ++i) {
        const auto& s = j["logs"][i];
        EXPECT_EQ(s["name"], kBorings[i].name);
        const auto info =
            nlohmann::json::parse(runProgram(kCli + " info " + quote(s["file"].get<std::string>())).out);
        EXPECT_NEAR(s["max_pct_re"].get<double>(), info["signal_max"]["value"].get<double>(), 0.005);
        EXPECT_NEAR(s["max_pct_re_depth"].get<double>(), info["signal_max"]["depth_ft"].get<double>(),
                    0.0005);
        EXPECT_NEAR(s["total_depth"].get<double>(), info["depth_max"]["ft"].get<double>(), 0.0005);
        EXPECT_EQ(s["points"], 25);
        EXPECT_EQ(s["probe"], "Alder\u00ae"); // the log's 8-bit "Alder" + AE, as UTF-8 in JSON
        EXPECT_NEAR(s["lat"].get<double>(), kBorings[i].lat, 1e-4);
        EXPECT_NEAR(s["lon"].get<double>(), kBorings[i].lon, 1e-4);
        EXPECT_EQ(s["utm_zone"], "18N");
        // The plume stands above 5 %RE between 1 and 2 ft only where it is brighter than that.
        const auto& above = s["above_threshold"];
        if (kBorings[i].pct < 5) {
            EXPECT_TRUE(above.empty()) << above;
        } else {
            ASSERT_EQ(above.size(), 1u) << above;
            EXPECT_NEAR(above[0][0].get<double>(), 1.0, 0.25);
            EXPECT_NEAR(above[0][1].get<double>(), 2.0, 0.25);
        }
        footage += s["footage"].get<double>();
    }
    EXPECT_NEAR(j["footage_ft"].get<double>(), footage, 0.01);

    const auto g = nlohmann::json::parse(slurp(geojson));
    EXPECT_EQ(g["type"], "FeatureCollection");
    ASSERT_EQ(g["features"].size(), 3u);
    for (std::size_t i = 0; i < 3; ++i) {
        const auto& c = g["features"][i]["geometry"]["coordinates"];
        EXPECT_NEAR(c[0].get<double>(), kBorings[i].lon, 1e-4); // longitude first
        EXPECT_NEAR(c[1].get<double>(), kBorings[i].lat, 1e-4);
    }

    // The KML read by Python's XML parser: longitude first, the brightest boring in its colour class.
    const RunResult k = runProgram(
        "python3 -c \"import sys, xml.etree.ElementTree as E; n='{http://www.opengis.net/kml/2.2}'; "
        "[print(p.find(n+'name').text, p.find(n+'styleUrl').text, p.find(n+'Point/'+n+'coordinates').text) "
        "for p in E.parse(sys.argv[1]).iter(n+'Placemark')]\" " +
        quote(kml));
    ASSERT_EQ(k.exitCode, 0) << k.err;
    std::istringstream placemarks(k.out);
    for (const auto& b : kBorings) {
        std::string name, style, coords;
        placemarks >> name >> style >> coords;
        EXPECT_EQ(name, b.name);
        EXPECT_EQ(style, b.pct >= 10 ? "#reff0080ff" : b.pct >= 1 ? "#reff00ffff" : "#reff00c000") << name;
        EXPECT_NEAR(val(coords.substr(0, coords.find(','))), b.lon, 1e-4);
    }
}

// The site in 3D: every point at its UTM position, and a volume that holds each boring's own %RE where it
// stands and values between the borings' between them.
TEST(CliSite, ModelPlacesThePointsAndInterpolatesBetweenBorings) {
    const SiteLogs& logs = siteLogs();
    const auto csv = logs.dir.path / "points.csv", grid = logs.dir.path / "grid.vtk";
    const RunResult r = runProgram(kCli + " model " + quote(logs.dir.path.string()) + " --csv " +
                                   quote(csv.string()) + " --grid " + quote(grid.string()) + " --layer 0.1");
    ASSERT_EQ(r.exitCode, 0) << r.err;
    EXPECT_NE(r.out.find("UTM zone 18N, 3 borings"), std::string::npos) << r.out;
    // Per boring: its easting and northing, and its mean %RE in the plume (1.2 to 1.8 ft).
    std::map<std::string, std::array<double, 4>> borings; // easting, northing, sum, n
    std::istringstream rows(slurp(csv.string()));
    std::string line;
    std::getline(rows, line);
    int points = 0;
    while (std::getline(rows, line)) {
        std::vector<std::string> cells;
        std::istringstream cs(line);
        for (std::string c; std::getline(cs, c, ',');)
            cells.push_back(c);
        ASSERT_GE(cells.size(), 6u) << line;
        auto& b = borings[cells[0].substr(1, cells[0].size() - 2)];
        b[0] = val(cells[1]), b[1] = val(cells[2]);
        const double depthFt = val(cells[4]) / 0.3048;
        if (depthFt > 1.2 && depthFt < 1.8) b[2] += val(cells[5]), b[3] += 1;
        ++points;
    }
    EXPECT_EQ(points, 75);
    ASSERT_EQ(borings.size(), 3u);

    // The volume's header and the node columns standing on B2 and midway between B1 and B2.
    std::istringstream vtk(slurp(grid.string()));
    std::string word;
    int nx = 0, ny = 0, nz = 0;
    double x0 = 0, y0 = 0, z0 = 0, dx = 0, dy = 0, dz = 0;
    while (vtk >> word && word != "LOOKUP_TABLE") {
        if (word == "DIMENSIONS") vtk >> nx >> ny >> nz;
        if (word == "ORIGIN") vtk >> x0 >> y0 >> z0;
        if (word == "SPACING") vtk >> dx >> dy >> dz;
    }
    vtk >> word; // "default"
    ASSERT_GT(nx * ny * nz, 0);
    std::vector<double> values(static_cast<std::size_t>(nx) * ny * nz);
    for (auto& v : values)
        ASSERT_TRUE(vtk >> v);
    const auto columnMax = [&](double x, double y) {
        const int i = static_cast<int>(std::lround((x - x0) / dx)),
                  j = static_cast<int>(std::lround((y - y0) / dy));
        double best = 0;
        for (int k = 0; k < nz; ++k)
            best = std::max(best, values[(static_cast<std::size_t>(k) * ny + j) * nx + i]);
        return best;
    };
    const auto& b1 = borings["B1"];
    const auto& b2 = borings["B2"];
    const double plume2 = b2[2] / b2[3], plume1 = b1[2] / b1[3];
    EXPECT_GT(plume2, 25.0);
    // B2 does not stand exactly on a node: the node's value leans to B2's, well above the others'.
    EXPECT_GT(columnMax(b2[0], b2[1]), 0.8 * plume2);
    const double mid = columnMax((b1[0] + b2[0]) / 2, (b1[1] + b2[1]) / 2);
    EXPECT_GT(mid, plume1 + 0.2 * (plume2 - plume1));
    EXPECT_LT(mid, plume2);
}

// The map puts each boring at its own position in its %RE class; the section of B2 and B3 (B1 left out by
// its distance from the line) shows the plume at the depth the logs hold it, brighter near the brighter log.
TEST(CliSite, MapAndSectionShowThePlumeWhereTheLogsDo) {
    const SiteLogs& logs = siteLogs();
    const auto csv = logs.dir.path / "pictures.csv";
    ASSERT_EQ(runProgram(kCli + " model " + quote(logs.dir.path.string()) + " --csv " + quote(csv.string()))
                  .exitCode,
              0);
    std::map<std::string, std::pair<double, double>> at; // easting, northing
    double ground = 0;                                   // elevation of the borings' tops, m
    std::istringstream rows(slurp(csv.string()));
    std::string line;
    std::getline(rows, line);
    while (std::getline(rows, line)) {
        std::istringstream cs(line);
        std::string name, e, n, z, d;
        std::getline(cs, name, ',');
        std::getline(cs, e, ',');
        std::getline(cs, n, ',');
        std::getline(cs, z, ',');
        std::getline(cs, d, ',');
        at[name.substr(1, name.size() - 2)] = {val(e), val(n)};
        ground = val(z) + val(d);
    }
    const auto picture = [&](const std::string& command, const std::string& file, nlohmann::json& frame) {
        const RunResult r = runProgram(kCli + " " + command + " --json --out " + quote(file));
        EXPECT_EQ(r.exitCode, 0) << r.err;
        frame = nlohmann::json::parse(r.out)["frame"];
        QImage image(QString::fromStdString(file));
        EXPECT_FALSE(image.isNull()) << file;
        return image;
    };
    const auto pixel = [](const QImage& image, const nlohmann::json& f, double x, double y) {
        const double px =
            f["origin_x"].get<double>() + (x - f["x0"].get<double>()) * f["px_per_x"].get<double>();
        const double py =
            f["origin_y"].get<double>() - (y - f["y0"].get<double>()) * f["px_per_y"].get<double>();
        return image.pixelColor(static_cast<int>(std::lround(px)), static_cast<int>(std::lround(py)));
    };

    nlohmann::json frame;
    const std::string mapFile = (logs.dir.path / "map.png").string();
    const QImage map = picture("map " + quote(logs.dir.path.string()), mapFile, frame);
    ASSERT_FALSE(map.isNull());
    const QColor expected[] = {QColor(0, 160, 0), QColor(255, 128, 0), QColor(235, 205, 0)}; // B1, B2, B3
    for (int i = 0; i < 3; ++i) {
        const auto& [e, n] = at[kBorings[i].name];
        EXPECT_EQ(pixel(map, frame, e, n), expected[i]) << kBorings[i].name;
    }

    // The line through B2 and B3; B1 is some 70 m off it.
    const auto& [e2, n2] = at["B2"];
    const auto& [e3, n3] = at["B3"];
    std::ostringstream lineArg;
    lineArg.precision(10);
    lineArg << e2 << ',' << n2 << ',' << e3 << ',' << n3;
    const std::string sectionFile = (logs.dir.path / "section.png").string();
    const QImage section =
        picture("section " + quote(logs.dir.path.string()) + " --line " + lineArg.str() + " --width 10",
                sectionFile, frame);
    ASSERT_FALSE(section.isNull());
    const double length = std::hypot(e3 - e2, n3 - n2);
    const auto darkness = [](const QColor& c) { return 765 - c.red() - c.green() - c.blue(); };
    const auto plumeAt = [&](double t) { return pixel(section, frame, t * length, ground - 1.5 * 0.3048); };
    const auto cleanAt = [&](double t) { return pixel(section, frame, t * length, ground - 0.5 * 0.3048); };
    EXPECT_GT(darkness(plumeAt(0.3)), darkness(plumeAt(0.8)) + 60);
    EXPECT_GT(darkness(plumeAt(0.8)), darkness(cleanAt(0.8)) + 40);
    EXPECT_LT(darkness(cleanAt(0.5)), 40);
    // Nothing is drawn beyond the deepest point.
    EXPECT_EQ(pixel(section, frame, 0.5 * length, ground - 3.6 * 0.3048), QColor(Qt::white));
}

// The batch file utility's choices in the options file drive the summary's table and the batch pages' names;
// a flag overrides them.
TEST(CliSite, FileUtilityOptionsDriveTheSummaryAndPageNames) {
    const SiteLogs& logs = siteLogs();
    TempDir root, pages;
    std::filesystem::create_directories(root.path / "ini");
    root.write("ini/ZEL_Options.ini", "[FileUtilities]\r\noptSummary_NameFormat=1\r\noptBatchJPGName=1\r\n"
                                      "chkSummary_Area=0\r\nchkSummary_Total=1\r\n");
    const std::string env = "ZEL_DATA_ROOT=" + quote(root.path.string()) + " ";
    const RunResult table = runProgram(env + kCli + " summary " + quote(logs.dir.path.string()));
    ASSERT_EQ(table.exitCode, 0) << table.err;
    EXPECT_NE(table.out.find("\r\nB1.lif.raw.bin,"), std::string::npos) << table.out;
    EXPECT_EQ(table.out.find("RE area"), std::string::npos);
    EXPECT_NE(table.out.find("\r\nTotal (3 logs),"), std::string::npos);
    const RunResult withArea =
        runProgram(env + kCli + " summary " + quote(logs.dir.path.string()) + " --area true --name-format 0");
    EXPECT_NE(withArea.out.find("RE area (pVs)"), std::string::npos);
    EXPECT_NE(withArea.out.find("\r\nB1,"), std::string::npos);

    const std::string b1 = (logs.dir.path / "B1.lif.raw.bin").string();
    const auto summary = nlohmann::json::parse(runProgram(kCli + " summary " + quote(b1) + " --json").out);
    const std::string date = summary["logs"][0]["date"];
    ASSERT_EQ(
        runProgram(env + kCli + " page " + quote(b1) + " --jpg --to " + quote(pages.path.string())).exitCode,
        0);
    EXPECT_TRUE(std::filesystem::exists(pages.path / (date + "_B1.jpg"))) << date;
    ASSERT_EQ(runProgram(env + kCli + " page " + quote(b1) + " --jpg --page-name 0 --to " +
                         quote(pages.path.string()))
                  .exitCode,
              0);
    EXPECT_TRUE(std::filesystem::exists(pages.path / "B1.jpg"));
}

// The LAS file of a log, read by las-js: the depth range in the header is the data's, one row a point, and
// the %RE curve is the data export's "Signal".
TEST(CliSite, LasReadBackByAnIndependentReader) {
    const std::string checker = std::string(ZEL_SOURCE_DIR) + "/tools/las-check";
    if (std::system(("node -e \"require('" + checker + "/node_modules/las-js')\" 2>/dev/null").c_str()) != 0)
        GTEST_SKIP() << "node with las-js is not installed (./zel.sh setup installs it)";
    const SiteLogs& logs = siteLogs();
    const RunResult r = runProgram(kCli + " las " + quote(logs.dir.path.string()));
    ASSERT_EQ(r.exitCode, 0) << r.err;
    for (const auto& b : kBorings) {
        const std::string las = (logs.dir.path / (std::string(b.name) + ".lif.las")).string();
        const RunResult read = runProgram("node " + quote(checker + "/check.js") + " " + quote(las));
        ASSERT_EQ(read.exitCode, 0) << read.err;
        const auto j = nlohmann::json::parse(read.out);
        EXPECT_EQ(j["version"], 2);
        EXPECT_EQ(j["rows"], 25);
        const auto& data = j["data"];
        ASSERT_EQ(data.size(), 25u);
        EXPECT_EQ(j["curves"][0], "DEPT");
        EXPECT_EQ(j["curves"][1], "PRE");
        EXPECT_DOUBLE_EQ(val(j["strt"].get<std::string>()), data[0][0].get<double>());
        EXPECT_DOUBLE_EQ(val(j["stop"].get<std::string>()), data[24][0].get<double>());
        EXPECT_EQ(val(j["null"].get<std::string>()), -999.25);
        // The data export of the same log, loaded by zel-cli export.
        std::istringstream exported(slurp((logs.dir.path / (std::string(b.name) + ".lif.dat.txt")).string()));
        std::string line;
        std::getline(exported, line);
        for (int p = 0; p < 25 && std::getline(exported, line); ++p) {
            const double depth = val(line.substr(0, line.find('\t')));
            const double signal = val(line.substr(line.find('\t') + 1));
            EXPECT_NEAR(data[p][0].get<double>(), depth, 1e-4) << b.name << " point " << p;
            EXPECT_NEAR(data[p][1].get<double>(), signal, 2e-4) << b.name << " point " << p;
        }
    }
}

} // namespace
} // namespace zel::e2e
