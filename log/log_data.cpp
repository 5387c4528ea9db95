#include "log/log_data.h"

#include "log/log_file_names.h"

#include <string>

namespace zel {

namespace {

// What an invalid read gives back for a text member: a reference must point somewhere that lives.
const std::string& emptyText() {
    static const std::string empty;
    return empty;
}

std::string rangeText(int count) {
    return "0.." + std::to_string(count - 1);
}

} // namespace

cZEL_Data::cZEL_Data(Host& host, const Clock& clock) : host_(&host), clock_(&clock) {}

bool cZEL_Data::indexOk(const char* member, int i, int count) const {
    if (i >= 0 && i < count) return true;
    host_->message(std::string("Error in cZEL_Data.") + member + ": index " + std::to_string(i) +
                       " out of range (" + rangeText(count) + ").",
                   MsgButtons::Ok, MsgIcon::Critical);
    return false;
}

bool cZEL_Data::indexOk(const char* member, int i, int count, int j, int count2) const {
    if (i >= 0 && i < count && j >= 0 && j < count2) return true;
    host_->message(std::string("Error in cZEL_Data.") + member + ": index (" + std::to_string(i) + ", " +
                       std::to_string(j) + ") out of range (" + rangeText(count) + ", " + rangeText(count2) +
                       ").",
                   MsgButtons::Ok, MsgIcon::Critical);
    return false;
}

float cZEL_Data::FlowCal(int i) const {
    return indexOk("FlowCal", i, kFlowCalCount) ? flowCal_[i] : 0.0f;
}

void cZEL_Data::FlowCal(int i, float v) {
    if (indexOk("FlowCal", i, kFlowCalCount)) flowCal_[i] = v;
}

bool cZEL_Data::DisInclude(int i) const {
    return indexOk("DisInclude", i, kDissipationTests) && dis_[i].include;
}

void cZEL_Data::DisInclude(int i, bool v) {
    if (indexOk("DisInclude", i, kDissipationTests)) dis_[i].include = v;
}

float cZEL_Data::DisDepth(int i) const {
    return indexOk("DisDepth", i, kDissipationTests) ? dis_[i].depth : 0.0f;
}

void cZEL_Data::DisDepth(int i, float v) {
    if (indexOk("DisDepth", i, kDissipationTests)) dis_[i].depth = v;
}

float cZEL_Data::DisPres(int i) const {
    return indexOk("DisPres", i, kDissipationTests) ? dis_[i].pres : 0.0f;
}

void cZEL_Data::DisPres(int i, float v) {
    if (indexOk("DisPres", i, kDissipationTests)) dis_[i].pres = v;
}

float cZEL_Data::DisWT(int i) const {
    return indexOk("DisWT", i, kDissipationTests) ? dis_[i].wt : 0.0f;
}

void cZEL_Data::DisWT(int i, float v) {
    if (indexOk("DisWT", i, kDissipationTests)) dis_[i].wt = v;
}

float cZEL_Data::DisWTavg() const {
    double sum = 0.0;
    int count = 0;
    for (const DissipationTest& test : dis_) {
        if (!test.include) continue;
        sum += test.wt;
        ++count;
    }
    // The K estimate treats 0 as "no water table", which is what a log without kept tests has.
    return count == 0 ? 0.0f : static_cast<float>(sum / count);
}

int cZEL_Data::DisWTindex() const {
    for (int i = kDissipationTests - 1; i >= 0; --i)
        if (dis_[i].include) return i;
    return -1;
}

const std::string& cZEL_Data::DisLabel(int i) const {
    return indexOk("DisLabel", i, kDissipationTests) ? dis_[i].label : emptyText();
}

void cZEL_Data::DisLabel(int i, std::string v) {
    if (indexOk("DisLabel", i, kDissipationTests)) dis_[i].label = std::move(v);
}

void cZEL_Data::File_Title(std::string v) {
    fileTitleNoExt_ = stripLogExtension(v);
    fileTitle_ = std::move(v);
}

void cZEL_Data::File_Title_NoExt(std::string_view v) {
    fileTitleNoExt_ = stripLogExtension(v);
}

std::string cZEL_Data::File_FullPath_Plt() const {
    return plotSettingsPath(fileFullPath_);
}

float cZEL_Data::Callout_Range(int slot, int end) const {
    return indexOk("Callout_Range", slot, kCalloutSlots, end, 2) ? callouts_[slot].range[end] : 0.0f;
}

void cZEL_Data::Callout_Range(int slot, int end, float v) {
    if (indexOk("Callout_Range", slot, kCalloutSlots, end, 2)) callouts_[slot].range[end] = v;
}

std::int16_t cZEL_Data::Callout_Index(int slot, int end) const {
    return indexOk("Callout_Index", slot, kCalloutSlots, end, 2) ? callouts_[slot].index[end]
                                                                 : std::int16_t{0};
}

void cZEL_Data::Callout_Index(int slot, int end, std::int16_t v) {
    if (indexOk("Callout_Index", slot, kCalloutSlots, end, 2)) callouts_[slot].index[end] = v;
}

const std::string& cZEL_Data::Callout_Caption(int slot) const {
    return indexOk("Callout_Caption", slot, kCalloutSlots) ? callouts_[slot].caption : emptyText();
}

void cZEL_Data::Callout_Caption(int slot, std::string v) {
    if (indexOk("Callout_Caption", slot, kCalloutSlots)) callouts_[slot].caption = std::move(v);
}

const std::string& cZEL_Data::Callout_Note(int slot) const {
    return indexOk("Callout_Note", slot, kCalloutSlots) ? callouts_[slot].note : emptyText();
}

void cZEL_Data::Callout_Note(int slot, std::string v) {
    if (indexOk("Callout_Note", slot, kCalloutSlots)) callouts_[slot].note = std::move(v);
}

float cZEL_Data::Cond_Constant(int i) const {
    return indexOk("Cond_Constant", i, kCondConstants) ? condConstant_[i] : 0.0f;
}

void cZEL_Data::setLoadedCond_Constant(int i, float v) {
    if (indexOk("Cond_Constant", i, kCondConstants)) condConstant_[i] = v;
}

} // namespace zel
