#pragma once
// The network data board's columns and where they go in a log: one description for the board's driver and
// simulator (the wire record, instruments/hd_board/hd_protocol.h), the push that streams the records into
// the side file, and the raw-log reader that spreads them over the log's arrays.
//
// Board columns (12, what one record can carry):
//   0        time since the board started streaming, seconds
//   1 .. 4   the integrated detector signals CH1 .. CH4 (the four channels of the probe)
//   5 .. 10  analogue inputs on the 5-volt reference; 5 is the conductivity circuit
//   11       the analogue input on the 3-volt reference
// Data-select mask: bit i selects one column; bits 0 .. 6 are columns 0 .. 6, bit 7 is column 11, bits 8 ..
// 11 are columns 7 .. 10. A record holds the selected columns in the order of their bits.
//
// The side file ("x.lif.raw.hd" beside "x.lif.raw.bin") and the binary part of an HD-board log:
//   one 32-bit little-endian word, the log's mask: the board's mask in bits 0 .. 11, bit 14 set when each
//   record carries the push's four values behind the board's;
//   then one record a point: C 4-byte little-endian floats, the selected board columns in bit order, scaled
//   to their units, then (bit 14) the four push values. C = set bits among 0 .. 11, plus 4 with bit 14.
// The push's four values (bit 14), in this order: the point's depth in the log's unit, its %RE, its
// conductivity and its push rate (in/s or cm/s). With them the side file alone holds a whole push, so a
// crashed one is recovered from it.
//
// In the log (per-point columns as every log has them, then the board's):
//   per-point columns 0, 2, 4, 3: depth, %RE, conductivity and rate from the push's four values (a saved
//   log's DATA list RATE holds the same rates and is read over them);
//   per-point columns 8 .. 11 (the channel values of every log) and the point's four-sample waveform
//   (Wave_Points 3): board columns 1 .. 4 less the background's four values (the DATA list BLANK);
//   per-point column kFirstBoardPointColumn + c: board column c as the board sent it.
// The RE and BLANK lists of an HD-board log are the RE's and the background's four channel values as the
// board read them, the same values the RE reference file keeps as "HD-RE" and "HD-BK".

#include <cstdint>

namespace zel::hd_layout {

inline constexpr int kBoardColumns = 12;
inline constexpr int kMaxBoardMask = 4095;
inline constexpr int kTimeColumn = 0;
inline constexpr int kFirstSignalColumn = 1;
inline constexpr int kSignalColumns = 4;
inline constexpr int kConductivityColumn = 5;
inline constexpr int kThreeVoltColumn = 11;

inline constexpr std::uint32_t kPushValuesBit = 1u << 14;
inline constexpr int kPushValues = 4;
enum PushValue { PushDepth = 0, PushSignal = 1, PushConductivity = 2, PushRate = 3 };

// The log's per-point columns: the push's own 13, then board columns 0 .. 11.
inline constexpr int kFirstBoardPointColumn = 13;
inline constexpr int kPointColumns = kFirstBoardPointColumn + kBoardColumns;

// The board column a mask bit selects.
constexpr int columnOfBit(int bit) {
    return bit <= 6 ? bit : bit == 7 ? 11 : bit - 1;
}

// Floats a record of the side file holds under the log's mask.
constexpr int recordValues(std::uint32_t mask) {
    int n = 0;
    for (int bit = 0; bit < kBoardColumns; ++bit)
        n += static_cast<int>(mask >> bit & 1u);
    return n + ((mask & kPushValuesBit) != 0 ? kPushValues : 0);
}

} // namespace zel::hd_layout
