#include "log/log_data.h"

namespace zel {

void cZEL_Data::ZeroHPT() {
    hpt_ = HptValues{};
}

void cZEL_Data::ZeroData() {
    ZeroHPT();
    stats_ = Statistics{};
}

void cZEL_Data::Clear() {
    ZeroData();
    GPS_Clear();
    ident_ = Identification{};
    callouts_ = {};
    dis_ = {};
    calloutCount_ = 0;
    disCount_ = 0;
}

void cZEL_Data::copyIdentification(const LogInfo& info) {
    ident_.site = info.site;
    ident_.client = info.client;
    ident_.jobNumber = info.jobNumber;
    ident_.mode = info.mode;
    ident_.unit = info.unit;
    ident_.operatorName = info.operatorName;
    ident_.note = info.note;
    version_ = info.version;
    timeZone_ = info.timeZone;
}

void cZEL_Data::Fill_Info() {
    timeStop_ = clock_->now();
    if (infoSource_) copyIdentification(infoSource_());
}

void cZEL_Data::Fill_Info_Start() {
    timeStart_ = clock_->now();
    timeStop_ = timeStart_;
    if (!infoSource_) return;
    const LogInfo info = infoSource_();
    copyIdentification(info);
    metric_ = info.metric;
    emulate_ = info.emulate;
}

void cZEL_Data::GPS_Fill() {
    if (!gpsSource_) return;
    gps_ = gpsSource_();
    coordSystem_ = "WGS-84";
}

void cZEL_Data::GPS_Clear() {
    gps_ = GpsFix{};
    coordSystem_.clear();
}

} // namespace zel
