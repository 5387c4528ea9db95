#include "app/plot/log_page.h"
#include "app/plot/pdf_facts.h"
#include "app/plot/synthetic_log.h"

#include "common/clock.h"
#include "common/testing/recording_host.h"

#include <QImage>

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <optional>
#include <sstream>

namespace zel::plot {
namespace {

namespace fs = std::filesystem;
using synthetic::PdfFacts;

std::string readFile(const fs::path& p) {
    std::ifstream in(p, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

PdfFacts pdfFacts(const fs::path& p) {
    return synthetic::readPdfFacts(readFile(p));
}

class LogPageTest : public ::testing::Test {
protected:
    void SetUp() override {
        dir = fs::temp_directory_path() / ("zel_page_test_" + std::to_string(::getpid()));
        fs::create_directories(dir);
        synthetic::fillSyntheticLog(log, arrays, 201, 60);
        log.Callout_Index(1, 0, 40);
        log.Callout_Index(1, 1, 80);
        log.Callout_Caption(1, "Plume");
    }
    void TearDown() override { fs::remove_all(dir); }

    PageInput input(const PlotModel& m) {
        PageInput in{log, m, logCallouts(log, arrays, m.channelColours())};
        in.modelName = "Alder";
        in.creator = "ZEL test";
        return in;
    }

    fs::path dir;
    zel::testing::RecordingHost host;
    FakeClock clock;
    cZEL_Data log{host, clock};
    LogArrays arrays;
};

// The log's 8-bit texts reach the page as the characters they stand for (the record holds UTF-8).
TEST_F(LogPageTest, EightBitTextsOfTheLogAreShownAsTheirCharacters) {
    log.Site("S\xE3o Jos\xE9");
    const PlotModel m = PlotModel::build({log, arrays}, PlotSettings{});
    PageInput in = input(m);
    in.modelName = "Alder\xAE";
    PageRecord record;
    std::string error;
    ASSERT_TRUE(writePdfPage((dir / "enc.pdf").string(), in, error, &record)) << error;
    EXPECT_TRUE(std::any_of(record.texts.begin(), record.texts.end(),
                            [](const std::string& t) { return t.starts_with("Alder\xC2\xAE probe"); }));
    EXPECT_TRUE(record.contains("S\xC3\xA3o Jos\xC3\xA9"));
    for (const std::string& t : record.texts)
        EXPECT_EQ(t.find("\xEF\xBF\xBD"), std::string::npos) << t; // no replacement character
}

TEST_F(LogPageTest, PdfHasOnePageOfTheSettingsSizeWithEveryEnabledTrack) {
    PlotSettings s;
    s.rate.shown = true;
    s.conductivity.shown = true;
    s.presFlow[0].shown = true;
    s.watermark = "CONFIDENTIAL";
    const PlotModel m = PlotModel::build({log, arrays}, s);
    const PageInput in = input(m);
    PageRecord record;
    std::string error;
    const fs::path out = dir / "page.pdf";
    ASSERT_TRUE(writePdfPage(out.string(), in, error, &record)) << error;
    const PdfFacts f = pdfFacts(out);
    EXPECT_EQ(f.pages, 1);
    EXPECT_EQ(f.mediaBox, (std::vector<double>{0, 0, 612, 792})); // Letter, portrait
    EXPECT_EQ(record.pages, 1);
    for (const char* title : {"%RE", "Rate (in/s)", "EC (mS/m)", "Pressure (PSI)", "est. K (ft/day) log",
                              "Depth (ft)", "CONFIDENTIAL", "Plume", "Synthetic site", "Page 1 of 1"})
        EXPECT_TRUE(record.contains(title)) << title;
    EXPECT_FALSE(record.contains("Scatter (mV)")); // not enabled
    EXPECT_FALSE(record.contains("DRAFT"));
}

TEST_F(LogPageTest, HeaderShowsTheReferenceTestsAndTheWaterTable) {
    log.PresFlow(true);
    log.HPT1ft(19.033f);
    log.HPT0ft(18.8f); // 0.233 PSI: the check fails
    log.DisDepth(0, 20.0f);
    log.DisWT(0, 6.5f);
    log.DisInclude(0, true);
    log.DisWT(1, 7.5f);
    log.DisInclude(1, true);
    const PlotModel m = PlotModel::build({log, arrays}, PlotSettings{});
    PageRecord record;
    std::string error;
    ASSERT_TRUE(writePdfPage((dir / "hp.pdf").string(), input(m), error, &record)) << error;
    EXPECT_TRUE(record.contains(
        "HP tests: 1 ft 19.033, 0 ft 18.800 PSI (failed)   Water table 7.00 ft (2 dissipation tests)"));
}

TEST_F(LogPageTest, FixedPrintedScaleRunsOverSeveralPagesInPdfAndJpg) {
    PlotSettings s;
    s.perInch = true;
    s.depthPerInch = 0.5; // 10 ft of log at half a foot an inch: several landscape pages
    s.landscape = true;
    s.pageSize = PageSize::Legal;
    s.draft = true;
    const PlotModel m = PlotModel::build({log, arrays}, s);
    const PageInput in = input(m);
    const int pages = logPageCount(in, pageLayoutFor(s));
    ASSERT_GT(pages, 1);

    PageRecord record;
    std::string error;
    ASSERT_TRUE(writePdfPage((dir / "long.pdf").string(), in, error, &record)) << error;
    const PdfFacts f = pdfFacts(dir / "long.pdf");
    EXPECT_EQ(f.pages, pages);
    EXPECT_EQ(f.mediaBox, (std::vector<double>{0, 0, 1008, 612})); // Legal, landscape
    EXPECT_TRUE(record.contains("Page " + std::to_string(pages) + " of " + std::to_string(pages)));
    EXPECT_TRUE(record.contains("DRAFT"));

    ASSERT_TRUE(writeJpgPage((dir / "long.jpg").string(), in, error, 50)) << error;
    const QImage first(QString::fromStdString((dir / "long.jpg").string()));
    EXPECT_EQ(first.size(), QSize(700, 425));
    EXPECT_TRUE(fs::exists(dir / ("long_" + std::to_string(pages) + ".jpg")));
    EXPECT_FALSE(fs::exists(dir / ("long_" + std::to_string(pages + 1) + ".jpg")));
}

TEST_F(LogPageTest, FixedPrintedScaleSetsTheReRangeFromTheTracksWidth) {
    // The %RE track's scale ends follow its title in the record (its unit is its title, so it has no unit
    // line).
    const auto reMax = [&](double rePerInch) {
        PlotSettings s;
        s.perInch = true;
        s.rePerInch = rePerInch;
        const PlotModel m = PlotModel::build({log, arrays}, s);
        PageRecord record;
        std::string error;
        EXPECT_TRUE(writePdfPage((dir / "scale.pdf").string(), input(m), error, &record)) << error;
        const auto it = std::find(record.texts.begin(), record.texts.end(), "%RE");
        if (std::distance(it, record.texts.end()) < 3) {
            ADD_FAILURE() << "no %RE scale on the page";
            return 0.0;
        }
        EXPECT_EQ(*(it + 1), "0");
        return std::stod(*(it + 2));
    };
    const double ten = reMax(10);
    EXPECT_GT(ten, 20); // the track is several inches wide
    EXPECT_NEAR(reMax(20), 2 * ten, 0.01 * ten);
}

TEST_F(LogPageTest, AnUnwritablePathIsAnErrorNotACrash) {
    const PlotModel m = PlotModel::build({log, arrays}, PlotSettings{});
    const PageInput in = input(m);
    std::string error;
    EXPECT_FALSE(writePdfPage((dir / "missing" / "x.pdf").string(), in, error));
    EXPECT_FALSE(error.empty());
    error.clear();
    EXPECT_FALSE(writeJpgPage((dir / "missing" / "x.jpg").string(), in, error));
    EXPECT_FALSE(error.empty());
}

// Values from a damaged or odd file: not numbers, infinities, huge values, depths out of order.
TEST_F(LogPageTest, GarbageValuesDrawWithoutHarm) {
    const float nan = std::numeric_limits<float>::quiet_NaN(), inf = std::numeric_limits<float>::infinity();
    const float garbage[] = {nan, inf, -inf, 3e38f, -3e38f, 0.0f};
    for (int p = 0; p < arrays.points(); ++p) {
        auto row = arrays.columns.row(p);
        for (std::size_t c = 0; c < row.size(); ++c)
            if ((p + int(c)) % 3 == 0) row[c] = garbage[(p + c) % std::size(garbage)];
        arrays.waves.row(p)[static_cast<std::size_t>(p % 60)] = garbage[p % std::size(garbage)];
    }
    log.Callout_Range(2, 0, nan);
    log.Callout_Range(2, 1, inf);
    log.Callout_Index(3, 0, 30000); // beyond the log
    log.Callout_Index(3, 1, -5);
    PlotSettings s;
    s.rate.shown = s.conductivity.shown = s.scatter.shown = s.fluorescence.shown = true;
    s.rate.logScale = true;
    s.presFlow[0].shown = true;
    s.referenceRe = 1e300;
    s.depthMin = -1e300;
    const PlotModel m = PlotModel::build({log, arrays}, s);
    (void)m.valuesAt(3.0);
    (void)m.valuesAt(std::numeric_limits<double>::quiet_NaN());
    PageRecord record;
    std::string error;
    ASSERT_TRUE(writePdfPage((dir / "garbage.pdf").string(), input(m), error, &record)) << error;
    // A depth of 3e38 stretches the log: the page count stops at its limit rather than running away.
    EXPECT_GE(record.pages, 1);
    EXPECT_LE(record.pages, 200);
    EXPECT_TRUE(record.contains("Rate (in/s) log"));
}

TEST_F(LogPageTest, AnEmptyLogStillMakesAPage) {
    LogArrays none;
    const PlotModel m = PlotModel::build({log, none}, PlotSettings{});
    const PageInput in{log, m};
    PageRecord record;
    std::string error;
    ASSERT_TRUE(writePdfPage((dir / "empty.pdf").string(), in, error, &record)) << error;
    EXPECT_EQ(pdfFacts(dir / "empty.pdf").pages, 1);
    EXPECT_TRUE(record.contains("%RE"));
}

// Texts whose centre lies in area on page, with their boxes.
std::vector<std::pair<std::string, QRectF>> textsIn(const PageRecord& r, int page, const QRectF& area) {
    std::vector<std::pair<std::string, QRectF>> out;
    for (std::size_t i = 0; i < r.texts.size(); ++i)
        if (r.textPages[i] == page && area.contains(r.boxes[i].center()))
            out.emplace_back(r.texts[i], r.boxes[i]);
    return out;
}

// Track titles and scale labels, on every page of every layout: none overlaps another (so that no two
// neighbouring scale ends read as one number) and none leaves the tracks (titles are never cut short, so
// a title too long for its track would show there).
TEST_F(LogPageTest, TrackTitlesAndScaleLabelsNeverCollide) {
    struct Case {
        const char* name;
        bool landscape;
        bool everyTrack;
        bool metric;
        int font;
    };
    const Case cases[] = {
        {"portrait, %RE and rate", false, false, false, 11},
        {"portrait, every track", false, true, false, 11},
        {"landscape, every track, metric", true, true, true, 11},
        {"portrait, every track, large font", false, true, false, 16},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        log.Metric(c.metric);
        PlotSettings s;
        s.landscape = c.landscape;
        s.rate.shown = true;
        if (c.everyTrack) {
            s.zoom.shown = s.conductivity.shown = s.scatter.shown = s.fluorescence.shown = true;
            for (auto& pf : s.presFlow)
                pf.shown = true;
        }
        const PlotModel m = PlotModel::build({log, arrays}, s);
        PageInput in = input(m);
        in.fontPoints = c.font;
        PageRecord record;
        std::string error;
        ASSERT_TRUE(writeJpgPage((dir / "heads.jpg").string(), in, error, 100, 90, &record)) << error;
        ASSERT_EQ(record.trackHeads.size(), static_cast<std::size_t>(record.pages));
        for (int page = 0; page < record.pages; ++page) {
            const QRectF heads = record.trackHeads[static_cast<std::size_t>(page)];
            const auto texts = textsIn(record, page, heads);
            ASSERT_GE(texts.size(), 3 * m.tracks().size()); // a title and two scale ends a track
            for (std::size_t i = 0; i < texts.size(); ++i) {
                const QRectF& a = texts[i].second;
                EXPECT_GE(a.left(), heads.left() - 0.5) << texts[i].first;
                EXPECT_LE(a.right(), heads.right() + 0.5) << texts[i].first;
                for (std::size_t j = i + 1; j < texts.size(); ++j) {
                    const QRectF overlap = a.intersected(texts[j].second);
                    EXPECT_FALSE(overlap.width() > 0.5 && overlap.height() > 0.5)
                        << "\"" << texts[i].first << "\" and \"" << texts[j].first << "\"";
                }
            }
        }
    }
}

// A longer log: pad it to points with the synthetic profile repeated.
void lengthen(cZEL_Data& log, LogArrays& arrays, int points) {
    synthetic::fillSyntheticLog(log, arrays, points, 60);
}

// The depth scale is fixed: each page shows the same depth an inch, the pages follow each other without
// gap or overlap and together hold the whole log, and a log too long for one page at the coarsest
// automatic scale runs on over pages rather than being squeezed.
TEST_F(LogPageTest, PagesKeepOneDepthScaleAndTogetherHoldTheWholeLog) {
    struct Case {
        const char* name;
        int points; // 0.05 ft apart
        bool metric;
        std::optional<double> perInch;
        bool landscape;
    };
    const Case cases[] = {
        {"5 ft, automatic", 101, false, std::nullopt, false},
        {"60 ft, automatic", 1201, false, std::nullopt, false},
        {"60 m, automatic", 1201, true, std::nullopt, false},
        {"30 ft at 1 ft an inch, landscape", 601, false, 1.0, true},
        {"20 ft at 10 ft an inch", 401, false, 10.0, false},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        lengthen(log, arrays, c.points);
        log.Metric(c.metric);
        PlotSettings s;
        s.landscape = c.landscape;
        if (c.perInch) {
            s.perInch = true;
            s.depthPerInch = *c.perInch;
        }
        const PlotModel m = PlotModel::build({log, arrays}, s);
        const PageInput in = input(m);
        constexpr int dpi = 60;
        PageRecord record;
        std::string error;
        ASSERT_TRUE(writeJpgPage((dir / "scale.jpg").string(), in, error, dpi, 90, &record)) << error;
        ASSERT_EQ(record.pages, logPageCount(in, pageLayoutFor(s)));
        ASSERT_EQ(record.windows.size(), static_cast<std::size_t>(record.pages));
        if (c.perInch) {
            EXPECT_EQ(record.depthPerInch, *c.perInch);
        }
        for (int p = 0; p < record.pages; ++p) {
            const DepthWindow& w = record.windows[static_cast<std::size_t>(p)];
            const double inches = record.dataAreas[static_cast<std::size_t>(p)].height() / dpi;
            EXPECT_NEAR(w.span() / inches, record.depthPerInch, 0.02 * record.depthPerInch) << "page " << p;
            if (p > 0) {
                EXPECT_NEAR(w.top, record.windows[static_cast<std::size_t>(p - 1)].bottom, 1e-9);
            }
        }
        EXPECT_LE(record.windows.front().top, m.dataTop());
        EXPECT_GE(record.windows.back().bottom, m.dataBottom());
        // The last page holds some of the log (no empty page at the end).
        EXPECT_LT(record.windows.back().top, m.dataBottom());
        if (!c.perInch) {
            // The finest scale that fits; only a log longer than a page at the coarsest runs on.
            const double coarsest = c.metric ? 1.5 : 5.0;
            if (record.pages > 1) {
                EXPECT_EQ(record.depthPerInch, coarsest);
            } else {
                EXPECT_LE(record.depthPerInch, coarsest);
            }
            const double firstInches = record.dataAreas.front().height() / dpi;
            EXPECT_GT(m.dataBottom() - m.dataTop(), firstInches * record.depthPerInch / 2.5 - 1e-9)
                << "a finer standard scale would have fitted";
        }
        EXPECT_TRUE(
            record.contains("Page " + std::to_string(record.pages) + " of " + std::to_string(record.pages)));
    }
}

// The settings' depth range decides the page, the log's extent bounds it.
TEST_F(LogPageTest, ThePageShowsTheSettingsRangeWithinTheLog) {
    struct Case {
        std::optional<double> from, to;
        double top, bottom; // the depths the page must show; it starts less than an inch above top
    };
    const Case cases[] = {
        {std::nullopt, std::nullopt, 0.0, 10.0},
        {2.5, 6.0, 2.5, 6.0},
        {-50.0, 500.0, 0.0, 10.0},
    };
    for (const Case& c : cases) {
        PlotSettings s;
        s.depthMin = c.from;
        s.depthMax = c.to;
        const PlotModel m = PlotModel::build({log, arrays}, s);
        PageRecord record;
        std::string error;
        ASSERT_TRUE(writeJpgPage((dir / "range.jpg").string(), input(m), error, 40, 90, &record)) << error;
        ASSERT_EQ(record.pages, 1);
        EXPECT_LE(record.windows[0].top, c.top + 1e-9);
        EXPECT_GT(record.windows[0].top, c.top - record.depthPerInch);
        EXPECT_GE(record.windows[0].bottom, c.bottom - 1e-9);
        EXPECT_LT(record.windows[0].bottom, c.bottom + record.depthPerInch * 10);
    }
}

// The wave-mathematics option colours a callout by its fluorescence channels alone: its legend's fill is
// then the colour of its mean shares with CH1 left out, and (CH1 carrying light here) not the one with it.
TEST_F(LogPageTest, CalloutsTakeTheirFluorescenceColourWhenAsked) {
    LogPageRequest request;
    const LogPage all(log, arrays, request);
    request.calloutFluorColour = true;
    const LogPage fluorescence(log, arrays, request);
    ASSERT_EQ(all.input().callouts.size(), 1u);
    ASSERT_EQ(fluorescence.input().callouts.size(), 1u);
    const CalloutWave& c = all.input().callouts[0];
    std::array<float, kMaxChannels> mean{};
    for (int p = c.firstPoint; p <= c.lastPoint; ++p)
        for (int k = 0; k < kMaxChannels; ++k)
            mean[static_cast<std::size_t>(k)] += arrays.columns.at(point_column::Ch1 + k, p).value_or(0.0f);
    ASSERT_GT(mean[0], 0.0f);
    mean[0] = 0.0f;
    const ChannelColours colours = channelColours(request.labels, false);
    EXPECT_EQ(fluorescence.input().callouts[0].colour, pointColour(colours, mean));
    EXPECT_NE(fluorescence.input().callouts[0].colour, c.colour);
}

} // namespace
} // namespace zel::plot
