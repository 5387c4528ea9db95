#pragma once
// The HD board's points as the push streams them into the side file and as a loaded log holds them; the
// layout is described once, in common/hd_layout.h. The push fills its arrays through DistributeHdRecord
// too, so what is plotted live is what the log shows when it is loaded again.

#include "common/hd_layout.h"

#include <array>
#include <cstdint>
#include <span>
#include <vector>

namespace zel {

// The board's columns of one record, scaled, indexed by board column (unselected ones are ignored).
using HdBoardValues = std::array<float, hd_layout::kBoardColumns>;
using HdChannels = std::array<float, hd_layout::kSignalColumns>;

// One record of the side file under the log's mask: the selected board columns in bit order, then the
// push's four values when the mask has kPushValuesBit.
std::vector<float> HdStreamRecord(std::uint32_t mask, const HdBoardValues& board,
                                  const std::array<float, hd_layout::kPushValues>& push);

// %RE of a point from its four channel values: their sum less the background's over the RE's sum less the
// background's, x 100; 0 when the RE is no brighter than the background.
float HdPercentRE(const HdChannels& point, const HdChannels& re, const HdChannels& background);

// Spreads one record (recordValues(mask) floats) over a point: columns needs kPointColumns values, wave
// kSignalColumns samples. Columns and samples the mask does not carry are left as they are.
void DistributeHdRecord(std::uint32_t mask, std::span<const float> record, const HdChannels& background,
                        std::span<float> columns, std::span<float> wave);

} // namespace zel
