#include "log/load_file.h"
#include "log/re_reference.h"
#include "log/stored_baseline.h"

#include "common/testing/recording_host.h"
#include "log/plot_companion.h"
#include "log/raw_log_reader.h"
#include "log/raw_log_test_data.h"
#include "log/raw_log_writer.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <stdexcept>

namespace zel {
namespace {

namespace fs = std::filesystem;
using testing::HostEvent;

struct LoadFixture : ::testing::Test {
    testing::RecordingHost host;
    FakeClock clock;
    cZEL_Data log{host, clock};
    LogArrays arrays;
    RawLogContext ctx;
    LoadSession session;
    fs::path dir = fs::temp_directory_path() / ("zel_load_" + std::to_string(::getpid()));
    std::string logPath;

    void SetUp() override {
        fs::create_directories(dir);
        cZEL_Data source{host, clock};
        LogArrays a;
        RawLogContext c;
        testdata::fillSmallLog(source, a, c);
        logPath = SaveRawLog((dir / "001-UV").string(), source, a, c, host).path;
        session.baselineFeature = true;
        host.clear();
    }
    void TearDown() override { fs::remove_all(dir); }

    LoadResult load(const std::string& path, bool quiet = false, const std::string& target = {}) {
        LoadRequest r;
        r.path = path;
        r.quiet = quiet;
        r.exportTarget = target;
        return Load_File(r, session, {log, arrays, ctx}, host);
    }
};

TEST_F(LoadFixture, RefusalsShowTheirMessageAndReadNothing) {
    struct Case {
        LogFamily mode;
        std::string path;
        LoadOutcome outcome;
        std::string message;
        bool colourLoader = false;
    };
    const std::string missing = (dir / "gone.lif.raw.bin").string();
    const Case cases[] = {
        {LogFamily::Lif, "/x/a.clr.raw.bin", LoadOutcome::Refused,
         "Open the software in color mode prior to attempting to load this file"},
        {LogFamily::Colour, "/x/a.LIF.raw.bin", LoadOutcome::Refused,
         "Open the software in LIF mode prior to attempting to load this file", true},
        {LogFamily::Lif, missing, LoadOutcome::Refused, "File does not exist:\r\n" + missing},
        {LogFamily::O2, logPath, LoadOutcome::Refused, "Invalid file:\r\n" + logPath},
        {LogFamily::Lif, "/x/old.FVD", LoadOutcome::FvdNotAvailable,
         std::string(kFvdNotAvailable) + "/x/old.FVD"},
    };
    for (const Case& c : cases) {
        host.clear();
        session.family = c.mode;
        LoadRequest request;
        request.path = c.path;
        request.quiet = true; // refusals are shown in quiet loads too
        const LoadResult r = c.colourLoader ? Load_Color_File(request, session, {log, arrays, ctx}, host)
                                            : Load_File(request, session, {log, arrays, ctx}, host);
        EXPECT_EQ(r.outcome, c.outcome) << c.path;
        EXPECT_EQ(host.messages(), std::vector<std::string>{c.message});
        EXPECT_EQ(log.DataPoints(), 0);
    }
}

TEST_F(LoadFixture, DialogTitleFiltersAndRememberedChoice) {
    session.initialDir = "/start";
    EXPECT_EQ(load("").outcome, LoadOutcome::Cancelled);
    EXPECT_TRUE(host.messages().empty());
    host.answerDialog(FileDialogResult{logPath, 1});
    EXPECT_EQ(load("").outcome, LoadOutcome::Loaded);
    session.family = LogFamily::O2;
    load("");
    const auto& events = host.events();
    std::vector<FileDialogRequest> dialogs;
    for (const auto& e : events)
        if (e.kind == HostEvent::Kind::OpenDialog) dialogs.push_back(e.dialog);
    ASSERT_EQ(dialogs.size(), 3u);
    EXPECT_EQ(dialogs[0].title, "Load raw log data...");
    EXPECT_EQ(dialogs[0].filter, "Raw Data|*.lif.raw.bin|FVD Data|*.fvd");
    EXPECT_EQ(dialogs[0].initialDir, "/start");
    EXPECT_EQ(dialogs[2].initialDir, dir.string());
    EXPECT_EQ(dialogs[2].filter, "Raw Data|*.o2.raw.bin");
}

// Sleeps and boxes in the order the load makes them.
struct SequenceHost : testing::RecordingHost {
    std::vector<std::string> sequence;
    void sleepMs(int ms) override {
        sequence.push_back("sleep " + std::to_string(ms));
        RecordingHost::sleepMs(ms);
    }
    MsgResult message(std::string_view text, MsgButtons b, MsgIcon i, std::string_view t) override {
        sequence.push_back(std::string(text));
        return RecordingHost::message(text, b, i, t);
    }
};

TEST_F(LoadFixture, InteractiveLoadPausesBetweenTheReadersAndQuietLoadDoesNot) {
    // The baseline question is asked by the DATA reader: after INFO, GPS, DATA_INFO and the preparation,
    // before the pause that follows DATA.
    const std::string s = "sleep 50", q(raw_log::kBaselineQuestion);
    for (const bool quiet : {false, true}) {
        SequenceHost seq;
        seq.answerMessage(MsgResult::No);
        LoadRequest request;
        request.path = logPath;
        request.quiet = quiet;
        ASSERT_EQ(Load_File(request, session, {log, arrays, ctx}, seq).outcome, LoadOutcome::Loaded);
        const std::vector<std::string> expected =
            quiet ? std::vector<std::string>{} : std::vector<std::string>{s, s, s, s, q, s};
        EXPECT_EQ(seq.sequence, expected) << quiet;
    }
}

TEST_F(LoadFixture, InteractiveLoadAsksAboutTheBaseline) {
    host.answerMessage(MsgResult::No);
    const LoadResult r = load(logPath);
    ASSERT_EQ(r.outcome, LoadOutcome::Loaded);
    EXPECT_EQ(host.messages(), std::vector<std::string>{std::string(raw_log::kBaselineQuestion)});
    EXPECT_TRUE(arrays.baseline.empty());
    EXPECT_FALSE(session.quiet); // the program-wide flag is back to what it was
    EXPECT_EQ(log.DataPoints(), 1);
    EXPECT_EQ(r.calloutSchemes, 0);

    // The companion's callout schemes are counted for the display; a quiet load does not look at them.
    SaveCalloutScheme(log.File_FullPath_Plt(), log, CalloutDisplay{}, host, clock);
    SaveCalloutScheme(log.File_FullPath_Plt(), log, CalloutDisplay{}, host, clock);
    host.answerMessage(MsgResult::No);
    EXPECT_EQ(load(logPath).calloutSchemes, 2);
    EXPECT_EQ(load(logPath, true).calloutSchemes, 0);
}

TEST_F(LoadFixture, ARunTimeErrorIsReportedWithTheFailingStep) {
    // A pause between the readers fails (step 7).
    struct FailingPauseHost : testing::RecordingHost {
        void sleepMs(int) override { throw std::runtime_error("Out of memory"); }
    } failing;
    failing.answerMessage(MsgResult::No);
    LoadRequest request;
    request.path = logPath;
    EXPECT_EQ(Load_File(request, session, {log, arrays, ctx}, failing).outcome, LoadOutcome::Failed);
    EXPECT_EQ(failing.messages().back(), "Out of memory\r\nLoad_File. Line of error: 7");
}

TEST_F(LoadFixture, QuietLoadTakesTheStoredBaselineSilentlyAndExports) {
    const fs::path out = dir / "out";
    fs::create_directories(out);
    const LoadResult r = load(logPath, true, out.string());
    ASSERT_EQ(r.outcome, LoadOutcome::Loaded);
    EXPECT_TRUE(host.messages().empty());
    EXPECT_EQ(host.sleptMs(), 0);
    EXPECT_EQ(arrays.baseline, (std::vector<float>{0.1f, 0.2f, 0.3f}));
    EXPECT_EQ(r.exportPath, (out / "001-UV.lif.dat.txt").string());
    // The %RE and channel fields are recomputed from the waveforms; without an RE they would stay empty.
    EXPECT_TRUE(r.pointValues);
    const std::string text = testdata::readAll(r.exportPath);
    EXPECT_NE(text.find("\r\n0.050\t100.0000\t0.0000\t0.0000\t0.0000\t0.0000\t2.2500\t"), std::string::npos)
        << text;
}

TEST_F(LoadFixture, StoredBaselineKeepsTheReadersPlace) {
    cInifile ini;
    ini.Path = "/elsewhere.ini";
    ini.Section = "Mine";
    EXPECT_TRUE(HasStoredBaseline(logPath, ini));
    EXPECT_TRUE(LoadStoredBaseline(logPath, ini, arrays));
    EXPECT_EQ(arrays.baseline, (std::vector<float>{0.1f, 0.2f, 0.3f}));
    arrays.baseline = {1.5f, -2.25f};
    SaveBaseline(logPath, ini, arrays);
    arrays.baseline.clear();
    EXPECT_TRUE(LoadStoredBaseline(logPath, ini, arrays));
    EXPECT_EQ(arrays.baseline, (std::vector<float>{1.5f, -2.25f}));
    EXPECT_EQ(ini.Path, "/elsewhere.ini");
    EXPECT_EQ(ini.Section, "Mine");
    // The edit moved the block; the next load mends the trailer and still reads the log.
    const LoadResult r = load(logPath, true);
    EXPECT_EQ(r.outcome, LoadOutcome::Loaded);
    EXPECT_TRUE(r.repaired);
    EXPECT_EQ(arrays.waves(1, 1), 100.0f);

    arrays.baseline.clear();
    EXPECT_FALSE(HasStoredBaseline((dir / "none.lif.raw.bin").string(), ini));
    EXPECT_FALSE(LoadStoredBaseline((dir / "none.lif.raw.bin").string(), ini, arrays));
}

TEST_F(LoadFixture, ReReferenceFile) {
    EXPECT_FALSE(ReadReReference(dir.string(), false));
    cZEL_Waveform wave{host, WaveformOptions{}};
    wave.RE_AreaCH[0] = 100.0f;
    wave.RE_AreaCH[1] = 2.5f;
    wave.RE_AreaCH[3] = -1.0f;
    WriteReReference(dir.string(), false, wave, clock);
    clock.set(DateTime{2016, 4, 13, 8, 0, 0});
    WriteReReference(dir.string(), true, {1.0f, 2.0f, 3.0f, 4.0f}, clock);
    EXPECT_EQ(testdata::readAll(dir / "ref" / "RE.lif.ref.txt"),
              "[HD-RE]\r\nTime=2016-04-12 15:45:10\r\nCH1=100\r\nCH2=2.5\r\nCH3=0\r\nCH4=-1\r\n"
              "[HD-BK]\r\nTime=2016-04-13 08:00:00\r\nCH1=1\r\nCH2=2\r\nCH3=3\r\nCH4=4\r\n");
    const auto re = ReadReReference(dir.string(), false);
    ASSERT_TRUE(re);
    EXPECT_EQ(re->time, "2016-04-12 15:45:10");
    EXPECT_EQ(re->channels, (std::array<float, 4>{100.0f, 2.5f, 0.0f, -1.0f}));
}

} // namespace
} // namespace zel
