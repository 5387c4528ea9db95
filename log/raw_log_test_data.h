#pragma once
// A small log with every field set to a value that shows in the file, shared by the raw log tests.

#include "log/log_arrays.h"
#include "log/log_data.h"
#include "log/raw_log_format.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <unistd.h>

namespace zel::testdata {

// Two points (Data_Points 1) of three samples (Wave_Points 2), two channels.
inline void fillSmallLog(cZEL_Data& log, LogArrays& a, RawLogContext& ctx) {
    ::setenv("HOSTNAME", "FIELD-PC", 1);
    ::setenv("USER", "pat", 1);
    log.Time_Start(DateTime{2016, 4, 12, 15, 45, 10});
    log.Time_Stop(DateTime{2016, 4, 12, 16, 5, 0});
    log.TimeZone("MST");
    log.Site("Site A");
    log.Client("");
    log.JobNumber("J-17");
    log.mode("Fir 2");
    log.ZEL_Unit("Alder1000");
    log.Operator("Pat");
    log.Metric(true);
    log.Emulate(true);
    log.Version("1.2.3");
    log.Note("line one\r\nline two");
    log.Signal_MaxValue(12.5f);
    log.Signal_MaxDepth_M(0.05f);
    log.Depth_Max_M(0.1f);
    log.RE_Area(449.6f);
    log.Blank_Area(-1.5f);
    log.CoordSystem("WGS-84");
    log.UTC("154510.00");
    log.Latitude("4807.038,N");
    log.Longitude("01131.000,E");
    log.Latitude_Dec(48.1173);
    log.Longitude_Dec(11.516666666666667);
    log.QualityIndicator("1");
    log.Satellites("08");
    log.HDOP("0.9");
    log.Altitude_M(545.4);
    log.Altitude_Ft(1789.37);
    log.Geoidal_M(46.9);
    log.DGPS_Age("");
    log.BaseStationID("");
    log.DataPoints(1);
    log.DataSets(8);
    log.WavePoints(2);
    log.Wave_DeltaX(8e-10f);
    log.Cutoff_Index({100, 160, 220});
    log.setLoadedWindowOffset(0.5f);
    log.CondOffset(0.25f);
    log.setLoadedCond_Constant(0, 1.0f);
    log.setLoadedCond_Constant(2, -0.5f);
    log.Blow_Offset(2.0f);
    log.PresFlow(true);
    log.PF_Offset(0.75f);
    log.FlowCal(1, 3.5f);
    log.HPT1ft(10.0f);
    log.DisDepth(1, 12.5f);
    log.DisInclude(4, true);
    log.Blow_Max(7.0f);
    log.Dogwood(true);

    ctx.modeId = 66;
    ctx.phsph = 0.5f;
    ctx.baselineInUse = true;
    ctx.reAreaCh = {100.0f, 200.0f};
    ctx.blankAreaCh = {1.0f, 2.0f};
    ctx.reRatio = 0.75f;
    ctx.reFluorSum = {1.0f, 2.0f, 3.25f};
    ctx.channels = 2;
    ctx.waveDelay = 6e-7;
    ctx.fiberLength = 30.5f;
    ctx.depthMode = 2;
    ctx.stringCal = 0.125f;
    ctx.rodLengthFt = 4.0f;
    ctx.ad4CountsPerFt = 100.0f;
    ctx.scatterMin = 1.0f;
    ctx.conductivity = true;
    ctx.condV = {0.0f, 0.5f, 1.5f, 3.0f};
    ctx.condMS = {0.0f, 25.0f, 266.0f, 560.0f};
    ctx.hdInt = 10;
    ctx.hdAvg = 4;

    a.resize(3, 8, 2, true);
    a.re.samples = {1.0f, 2.5f, -0.125f};
    a.blank.samples = {0.5f, 0.25f, 0.0f};
    a.baseline = {0.1f, 0.2f, 0.3f};
    const float wave[2][3] = {{1.5f, -2.0f, 3.25f}, {0.0f, 100.0f, -0.5f}};
    for (int p = 0; p < 2; ++p) {
        for (int s = 0; s < 3; ++s)
            a.waves(s, p) = wave[p][s];
        a.columns(point_column::Depth, p) = 0.05f * static_cast<float>(p);
        a.columns(point_column::Rate, p) = 1.25f + static_cast<float>(p);
        a.columns(point_column::Conductivity, p) = 10.0f * static_cast<float>(p + 1);
        a.columns(point_column::O2, p) = 21.0f;
        a.hammer(hammer_column::BlowCount, p) = static_cast<float>(3 + p);
        a.counter(0, p) = 2.5f + static_cast<float>(p);
        a.presFlow(presflow_column::Time, p) = 0.5f * static_cast<float>(p);
        a.presFlow(presflow_column::PressureUp, p) = 1.0f;
        a.presFlow(presflow_column::PressureDown, p) = 2.0f;
        a.presFlow(presflow_column::FlowUp, p) = 3.0f;
    }
}

inline std::string readAll(const std::filesystem::path& p) {
    std::ifstream in(p, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

inline void writeAll(const std::filesystem::path& p, const std::string& bytes) {
    std::ofstream(p, std::ios::binary | std::ios::trunc) << bytes;
}

// Little-endian bytes of floats and of a 32-bit word, spelled out.
inline std::string le32(std::uint32_t v) {
    std::string s(4, '\0');
    for (int i = 0; i < 4; ++i)
        s[static_cast<std::size_t>(i)] = static_cast<char>((v >> (8 * i)) & 0xFF);
    return s;
}

struct TempFolder {
    std::filesystem::path path;
    TempFolder() {
        static int n = 0;
        path = std::filesystem::temp_directory_path() /
               ("zel_rawlog_" + std::to_string(::getpid()) + "_" + std::to_string(n++));
        std::filesystem::create_directories(path);
    }
    ~TempFolder() {
        std::error_code ec;
        std::filesystem::remove_all(path, ec);
    }
    std::string file(const std::string& name) const { return (path / name).string(); }
};

} // namespace zel::testdata
