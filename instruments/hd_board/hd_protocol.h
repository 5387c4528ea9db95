#pragma once
// The network data board's wire format, in one place for the driver and the simulator.
//
// Ports: commands go to 5000 as text ended by a carriage return; records stream from 5001 (5002 is
// connected too, the board's second data stream, but the program reads no records from it).
// Records: one little-endian 32-bit signed integer per selected column, in record-position order (the
// column map below; the columns and their mask bits are described in common/hd_layout.h), nothing else; a
// record of n selected columns is 4n bytes. The scaling turns each raw integer into its unit. The board
// streams records from "SetDS" with a non-zero mask until "Stop".
//
// Replies: only "Stat <mode>" is answered, on the command port, with one CR-ended line of blank-separated
// key=value fields after the word "Stat":
//   "Stat FW=1.4.2 DS=387 IT=100 ICF=16 SI=250 CNT=12"
// FW the firmware version (major.minor.patch), DS the data-select mask, IT the integration time, ICF the
// integrations per cycle, SI the sample interval, CNT the counter. Fields may come in any order; unknown
// ones are skipped and missing ones keep their defaults. A reply longer than kMaxReplyLine is not a reply.
// Every other command is taken without an answer.

#include "common/hd_layout.h"

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace zel::hd_protocol {

// The board's ports by role; a simulator may put them elsewhere.
struct Ports {
    std::uint16_t command = 5000;
    std::uint16_t record = 5001;
    std::uint16_t second = 5002;
};
constexpr const char* kDefaultAddress = "192.168.250.253";

constexpr int kColumns = hd_layout::kBoardColumns;
constexpr int kMaxMask = hd_layout::kMaxBoardMask;
constexpr std::size_t kBytesPerValue = 4;
constexpr int kThreeVoltColumn = hd_layout::kThreeVoltColumn;

using ColumnMap = std::array<int, kColumns>;

// The record position of every column, -1 when the mask does not select it.
ColumnMap columnMap(int mask);
int selectedColumns(const ColumnMap& map);
// A raw record value in the column's unit: seconds, integrated signal, volts.
float scaleColumn(int column, std::int32_t raw);
// The 4 bytes of one raw value.
std::string encodeValue(std::int32_t raw);
std::int32_t decodeValue(const unsigned char* bytes);

constexpr std::size_t kMaxReplyLine = 256;

struct Status {
    int firmwareMajor = 0, firmwareMinor = 0, firmwarePatch = 0;
    int mask = 0;
    int intTime = 1;
    int icf = 0;
    int sampleInterval = 0;
    long long counter = 0;
};
// The reply line to "Stat" without its carriage return; nullopt when the line is not one.
std::optional<Status> parseStatus(std::string_view line);
std::string formatStatus(const Status& status);

} // namespace zel::hd_protocol
