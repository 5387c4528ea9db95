#include "log/hd_stream.h"

#include "log/log_arrays.h"

namespace zel {

using namespace hd_layout;

static_assert(kFirstBoardPointColumn == point_column::PushCount,
              "the board's columns follow the push's own per-point columns");

std::vector<float> HdStreamRecord(std::uint32_t mask, const HdBoardValues& board,
                                  const std::array<float, kPushValues>& push) {
    std::vector<float> record;
    record.reserve(static_cast<std::size_t>(recordValues(mask)));
    for (int bit = 0; bit < kBoardColumns; ++bit)
        if (mask >> bit & 1u) record.push_back(board[static_cast<std::size_t>(columnOfBit(bit))]);
    if (mask & kPushValuesBit) record.insert(record.end(), push.begin(), push.end());
    return record;
}

float HdPercentRE(const HdChannels& point, const HdChannels& re, const HdChannels& background) {
    double signal = 0.0, reference = 0.0;
    for (std::size_t k = 0; k < point.size(); ++k) {
        signal += static_cast<double>(point[k]) - background[k];
        reference += static_cast<double>(re[k]) - background[k];
    }
    if (!(reference > 0.0)) return 0.0f;
    return static_cast<float>(signal / reference * 100.0);
}

void DistributeHdRecord(std::uint32_t mask, std::span<const float> record, const HdChannels& background,
                        std::span<float> columns, std::span<float> wave) {
    if (record.size() < static_cast<std::size_t>(recordValues(mask)) ||
        columns.size() < static_cast<std::size_t>(kPointColumns) ||
        wave.size() < static_cast<std::size_t>(kSignalColumns))
        return;
    std::size_t at = 0;
    for (int bit = 0; bit < kBoardColumns; ++bit) {
        if (!(mask >> bit & 1u)) continue;
        const int column = columnOfBit(bit);
        const float v = record[at++];
        columns[static_cast<std::size_t>(kFirstBoardPointColumn + column)] = v;
        const int channel = column - kFirstSignalColumn;
        if (channel >= 0 && channel < kSignalColumns) {
            const auto k = static_cast<std::size_t>(channel);
            wave[k] = v - background[k];
            columns[static_cast<std::size_t>(point_column::Ch1) + k] = wave[k];
        }
    }
    if (mask & kPushValuesBit) {
        columns[point_column::Depth] = record[at + PushDepth];
        columns[point_column::Signal] = record[at + PushSignal];
        columns[point_column::Conductivity] = record[at + PushConductivity];
        columns[point_column::Rate] = record[at + PushRate];
    }
}

} // namespace zel
