#pragma once
// The log of one push as the program holds it: everything the raw log's text sections carry and the per-log
// maxima the display scales by. The bulk data (waveforms and per-point columns) lives beside it in LogArrays.
//
// Every member has a reader and a writer named after it (Site() reads, Site("x") writes). Indexed members
// take the index first; an index outside its range is reported through the Host, reads then give 0, false or
// an empty text and writes are dropped, so a bad index from a file or a form never touches memory it should
// not.
//
// Counts follow the raw log: DataPoints and WavePoints are the highest point and sample index (a log of
// DataPoints + 1 points, waveforms of WavePoints + 1 samples), DataSets is the number of per-point columns.
// Depths are in the log's unit (Metric) unless the member name says otherwise.

#include "common/clock.h"
#include "common/date_time.h"
#include "common/host.h"
#include "log/log_sources.h"

#include <array>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

namespace zel {

class cZEL_Data {
public:
    static constexpr int kFlowCalCount = 2;
    static constexpr int kDissipationTests = 5;
    static constexpr int kCalloutSlots = 5;
    static constexpr int kCondConstants = 3;
    static constexpr int kPresFlowCurves = 6; // the pressure/flow columns: depth, time, pressures, flow, K
    static constexpr int kCutoffIndices = 3;

    using InfoSource = std::function<LogInfo()>;
    using GpsSource = std::function<GpsFix()>;

    // The host shows the index errors; the clock stamps the start and stop of a push. Both must outlive the
    // log.
    cZEL_Data(Host& host, const Clock& clock);

    // Where Fill_Info_Start and Fill_Info read the operator's texts, and GPS_Fill the current fix. Without a
    // source those operations leave the members they would copy unchanged.
    void setInfoSource(InfoSource source) { infoSource_ = std::move(source); }
    void setGpsSource(GpsSource source) { gpsSource_ = std::move(source); }

    bool TimeMode() const { return timeMode_; }
    void TimeMode(bool v) { timeMode_ = v; }
    float NNLS_max() const { return stats_.nnlsMax; }
    void NNLS_max(float v) { stats_.nnlsMax = v; }
    float FlowCal(int i) const;
    void FlowCal(int i, float v);
    const std::array<float, kPresFlowCurves>& PresFlow_Maxes() const { return hpt_.presFlowMaxes; }
    void PresFlow_Maxes(const std::array<float, kPresFlowCurves>& v) { hpt_.presFlowMaxes = v; }
    float CurrentPresDwn() const { return hpt_.currentPresDwn; }
    void CurrentPresDwn(float v) { hpt_.currentPresDwn = v; }
    float CurrentFlow() const { return hpt_.currentFlow; }
    void CurrentFlow(float v) { hpt_.currentFlow = v; }

    bool DisInclude(int i) const;
    void DisInclude(int i, bool v);
    float DisDepth(int i) const;
    void DisDepth(int i, float v);
    float DisPres(int i) const;
    void DisPres(int i, float v);
    float DisWT(int i) const;
    void DisWT(int i, float v);
    // Mean of DisWT over the tests whose DisInclude is set; 0 when none is included.
    float DisWTavg() const;
    // The highest-numbered included test (the latest one the operator kept); -1 when none is included.
    int DisWTindex() const;

    float HPT1ft() const { return hpt_.hpt1ft; }
    void HPT1ft(float v) { hpt_.hpt1ft = v; }
    float HPT0ft() const { return hpt_.hpt0ft; }
    void HPT0ft(float v) { hpt_.hpt0ft = v; }
    bool Dogwood() const { return dogwood_; }
    void Dogwood(bool v) { dogwood_ = v; }
    float PF_Offset() const { return pfOffset_; }
    void PF_Offset(float v) { pfOffset_ = v; }
    float Spec_WaveMin() const { return spectrumWaveMin_; }
    void Spec_WaveMin(float v) { spectrumWaveMin_ = v; }
    float Spec_WaveMax() const { return spectrumWaveMax_; }
    void Spec_WaveMax(float v) { spectrumWaveMax_ = v; }
    int IntegrationTime() const { return integrationTime_; } // ms
    void IntegrationTime(int v) { integrationTime_ = v; }
    bool Emulate() const { return emulate_; }
    void Emulate(bool v) { emulate_ = v; }
    bool PresFlow() const { return presFlow_; }
    void PresFlow(bool v) { presFlow_ = v; }
    float TotalFlow() const { return hpt_.totalFlow; }
    void TotalFlow(float v) { hpt_.totalFlow = v; }

    float Depth_Max_Ft() const { return stats_.depthMaxFt; }
    void Depth_Max_Ft(float v) { stats_.depthMaxFt = v; }
    float Depth_Max_M() const { return stats_.depthMaxM; }
    void Depth_Max_M(float v) { stats_.depthMaxM = v; }
    float Signal_MaxValue() const { return stats_.signalMaxValue; } // %RE
    void Signal_MaxValue(float v) { stats_.signalMaxValue = v; }
    float Signal_MaxDepth_Ft() const { return stats_.signalMaxDepthFt; }
    void Signal_MaxDepth_Ft(float v) { stats_.signalMaxDepthFt = v; }
    float Signal_MaxDepth_M() const { return stats_.signalMaxDepthM; }
    void Signal_MaxDepth_M(float v) { stats_.signalMaxDepthM = v; }

    int DataPoints() const { return dataPoints_; }
    void DataPoints(int v) { dataPoints_ = v; }
    int WavePoints() const { return wavePoints_; }
    void WavePoints(int v) { wavePoints_ = v; }
    int DataSets() const { return dataSets_; }
    void DataSets(int v) { dataSets_ = v; }

    float Rate_Max() const { return stats_.rateMax; }
    void Rate_Max(float v) { stats_.rateMax = v; }
    float Blow_Max() const { return stats_.blowMax; }
    void Blow_Max(float v) { stats_.blowMax = v; }
    float Blow_Offset() const { return blowOffset_; }
    void Blow_Offset(float v) { blowOffset_ = v; }
    float Scatter_Max() const { return stats_.scatterMax; }
    void Scatter_Max(float v) { stats_.scatterMax = v; }
    float Fluor_Max() const { return stats_.fluorMax; }
    void Fluor_Max(float v) { stats_.fluorMax = v; }
    float Cond_Max() const { return stats_.condMax; }
    void Cond_Max(float v) { stats_.condMax = v; }

    // Writing File_Title also sets File_Title_NoExt from it; writing File_Title_NoExt stores the given name
    // with its log extension removed (stripLogExtension), so both stay log names without extension.
    const std::string& File_Title() const { return fileTitle_; }
    void File_Title(std::string v);
    const std::string& File_Title_NoExt() const { return fileTitleNoExt_; }
    void File_Title_NoExt(std::string_view v);
    const std::string& File_FullPath() const { return fileFullPath_; }
    void File_FullPath(std::string v) { fileFullPath_ = std::move(v); }
    // Empty when File_FullPath is not a raw log path (plotSettingsPath).
    std::string File_FullPath_Plt() const;

    bool Metric() const { return metric_; }
    void Metric(bool v) { metric_ = v; }
    const DateTime& Time_Start() const { return timeStart_; }
    void Time_Start(const DateTime& v) { timeStart_ = v; }
    const DateTime& Time_Stop() const { return timeStop_; }
    void Time_Stop(const DateTime& v) { timeStop_ = v; }
    float RE_Area() const { return stats_.reArea; }
    void RE_Area(float v) { stats_.reArea = v; }
    const std::string& TimeZone() const { return timeZone_; }
    void TimeZone(std::string v) { timeZone_ = std::move(v); }
    float Blank_Area() const { return stats_.blankArea; }
    void Blank_Area(float v) { stats_.blankArea = v; }
    // The raw log carries three cutoff indices (DATA_INFO Cutoff_Index "a,b,c"); they travel together.
    const std::array<int, kCutoffIndices>& Cutoff_Index() const { return cutoffIndex_; }
    void Cutoff_Index(const std::array<int, kCutoffIndices>& v) { cutoffIndex_ = v; }
    float Wave_DeltaX() const { return waveDeltaX_; } // seconds
    void Wave_DeltaX(float v) { waveDeltaX_ = v; }
    const std::string& Version() const { return version_; }
    void Version(std::string v) { version_ = std::move(v); }

    const std::string& Site() const { return ident_.site; }
    void Site(std::string v) { ident_.site = std::move(v); }
    const std::string& Client() const { return ident_.client; }
    void Client(std::string v) { ident_.client = std::move(v); }
    const std::string& JobNumber() const { return ident_.jobNumber; }
    void JobNumber(std::string v) { ident_.jobNumber = std::move(v); }
    const std::string& mode() const { return ident_.mode; }
    void mode(std::string v) { ident_.mode = std::move(v); }
    const std::string& ZEL_Unit() const { return ident_.unit; }
    void ZEL_Unit(std::string v) { ident_.unit = std::move(v); }
    const std::string& Operator() const { return ident_.operatorName; }
    void Operator(std::string v) { ident_.operatorName = std::move(v); }
    const std::string& Note() const { return ident_.note; }
    void Note(std::string v) { ident_.note = std::move(v); }

    const std::string& CoordSystem() const { return coordSystem_; }
    void CoordSystem(std::string v) { coordSystem_ = std::move(v); }
    const std::string& UTC() const { return gps_.utc; }
    void UTC(std::string v) { gps_.utc = std::move(v); }
    const std::string& Latitude() const { return gps_.latitude; }
    void Latitude(std::string v) { gps_.latitude = std::move(v); }
    const std::string& Longitude() const { return gps_.longitude; }
    void Longitude(std::string v) { gps_.longitude = std::move(v); }
    double Latitude_Dec() const { return gps_.latitudeDec; }
    void Latitude_Dec(double v) { gps_.latitudeDec = v; }
    double Longitude_Dec() const { return gps_.longitudeDec; }
    void Longitude_Dec(double v) { gps_.longitudeDec = v; }
    const std::string& QualityIndicator() const { return gps_.qualityIndicator; }
    void QualityIndicator(std::string v) { gps_.qualityIndicator = std::move(v); }
    const std::string& Satellites() const { return gps_.satellites; }
    void Satellites(std::string v) { gps_.satellites = std::move(v); }
    const std::string& HDOP() const { return gps_.hdop; }
    void HDOP(std::string v) { gps_.hdop = std::move(v); }
    double Altitude_Ft() const { return gps_.altitudeFt; }
    void Altitude_Ft(double v) { gps_.altitudeFt = v; }
    double Altitude_M() const { return gps_.altitudeM; }
    void Altitude_M(double v) { gps_.altitudeM = v; }
    double Geoidal_Ft() const { return gps_.geoidalFt; }
    void Geoidal_Ft(double v) { gps_.geoidalFt = v; }
    double Geoidal_M() const { return gps_.geoidalM; }
    void Geoidal_M(double v) { gps_.geoidalM = v; }
    const std::string& DGPS_Age() const { return gps_.dgpsAge; }
    void DGPS_Age(std::string v) { gps_.dgpsAge = std::move(v); }
    const std::string& BaseStationID() const { return gps_.baseStationId; }
    void BaseStationID(std::string v) { gps_.baseStationId = std::move(v); }

    // Callout slot 0..4; end 0 is the top, 1 the bottom (depth in the display unit, first/last point index).
    float Callout_Range(int slot, int end) const;
    void Callout_Range(int slot, int end, float v);
    std::int16_t Callout_Index(int slot, int end) const;
    void Callout_Index(int slot, int end, std::int16_t v);
    const std::string& Callout_Caption(int slot) const;
    void Callout_Caption(int slot, std::string v);
    const std::string& Callout_Note(int slot) const;
    void Callout_Note(int slot, std::string v);

    float WindowOffset() const { return windowOffset_; } // feet
    float CondOffset() const { return condOffset_; }
    void CondOffset(float v) { condOffset_ = v; }
    float Cond_Constant(int i) const;

    // The probe's window offset and the conductivity constants come from the probe's settings, not from the
    // operator: only the raw-log reader may put the values a file carries.
    void setLoadedWindowOffset(float v) { windowOffset_ = v; }
    void setLoadedCond_Constant(int i, float v);

    // Bookkeeping of the callout and dissipation forms, kept with the log so Clear can reset it.
    const std::string& DisLabel(int i) const;
    void DisLabel(int i, std::string v);
    int DisCount() const { return disCount_; }
    void DisCount(int v) { disCount_ = v; }
    int CalloutCount() const { return calloutCount_; }
    void CalloutCount(int v) { calloutCount_ = v; }

    // Clears HPT1ft, HPT0ft, CurrentPresDwn, CurrentFlow, TotalFlow and PresFlow_Maxes. The flow calibration
    // and the pressure/flow offset are settings of the probe and stay.
    void ZeroHPT();
    // ZeroHPT, then the statistics and maxima: Signal_MaxValue and its depths, Depth_Max_*, RE_Area,
    // Blank_Area, Rate_Max, Blow_Max, Scatter_Max, Fluor_Max, Cond_Max and NNLS_max. Offsets and dimensions
    // stay.
    void ZeroData();
    // ZeroData, GPS_Clear, then the identification texts (Site .. Note), the five callouts and the five
    // dissipation tests (with their labels); CalloutCount and DisCount become 0.
    void Clear();
    // At the end of a push: Time_Stop from the clock, and the identification texts, Version and TimeZone
    // again from the info source, since the operator may correct them while the push runs. Metric and
    // Emulate are not taken again: the points were recorded under the values of the start.
    void Fill_Info();
    // At the start of a push: Time_Start from the clock, Time_Stop set to the same moment (so a log saved
    // without Fill_Info, as after a crash, never carries the stop time of an earlier push), and from the
    // info source the identification texts, Version, TimeZone, Metric and Emulate.
    void Fill_Info_Start();
    // Copies the source's current fix; CoordSystem becomes "WGS-84", the datum of the receiver's sentences.
    void GPS_Fill();
    // Empties every GPS member, CoordSystem included.
    void GPS_Clear();

private:
    struct Statistics {
        float nnlsMax = 0.0f;
        float depthMaxFt = 0.0f;
        float depthMaxM = 0.0f;
        float signalMaxValue = 0.0f;
        float signalMaxDepthFt = 0.0f;
        float signalMaxDepthM = 0.0f;
        float rateMax = 0.0f;
        float blowMax = 0.0f;
        float scatterMax = 0.0f;
        float fluorMax = 0.0f;
        float condMax = 0.0f;
        float reArea = 0.0f;
        float blankArea = 0.0f;
    };
    struct HptValues {
        std::array<float, kPresFlowCurves> presFlowMaxes{};
        float currentPresDwn = 0.0f;
        float currentFlow = 0.0f;
        float hpt1ft = 0.0f;
        float hpt0ft = 0.0f;
        float totalFlow = 0.0f;
    };
    struct Identification {
        std::string site, client, jobNumber, mode, unit, operatorName, note;
    };
    struct DissipationTest {
        bool include = false;
        float depth = 0.0f;
        float pres = 0.0f;
        float wt = 0.0f;
        std::string label;
    };
    struct Callout {
        std::array<float, 2> range{};
        std::array<std::int16_t, 2> index{};
        std::string caption;
        std::string note;
    };

    // True when 0 <= i < count; otherwise reports "Error in cZEL_Data.<member>: ..." and gives false.
    bool indexOk(const char* member, int i, int count) const;
    bool indexOk(const char* member, int i, int count, int j, int count2) const;
    void copyIdentification(const LogInfo& info);

    Host* host_;
    const Clock* clock_;
    InfoSource infoSource_;
    GpsSource gpsSource_;

    bool timeMode_ = false;
    std::array<float, kFlowCalCount> flowCal_{};
    std::array<DissipationTest, kDissipationTests> dis_{};
    bool dogwood_ = false;
    float pfOffset_ = 0.0f;
    float spectrumWaveMin_ = 0.0f;
    float spectrumWaveMax_ = 0.0f;
    int integrationTime_ = 0;
    bool emulate_ = false;
    bool presFlow_ = false;
    int dataPoints_ = 0;
    int wavePoints_ = 0;
    int dataSets_ = 0;
    float blowOffset_ = 0.0f;
    std::string fileTitle_;
    std::string fileTitleNoExt_;
    std::string fileFullPath_;
    bool metric_ = false;
    DateTime timeStart_{};
    DateTime timeStop_{};
    std::string timeZone_;
    std::array<int, kCutoffIndices> cutoffIndex_{};
    float waveDeltaX_ = 0.0f;
    std::string version_;
    Identification ident_;
    std::string coordSystem_;
    GpsFix gps_;
    std::array<Callout, kCalloutSlots> callouts_{};
    float windowOffset_ = 0.0f;
    float condOffset_ = 0.0f;
    std::array<float, kCondConstants> condConstant_{};
    int disCount_ = 0;
    int calloutCount_ = 0;
    Statistics stats_;
    HptValues hpt_;
};

} // namespace zel
