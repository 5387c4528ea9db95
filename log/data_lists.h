#pragma once
// The number lists of a raw log's DATA section (and the BASELINE of DATA_INFO): one value per element,
// elements joined with ",". A 10,001-point log makes lists of about 90,000 characters, so both directions
// work on whole lists at once and never go through a length-limited read.

#include <cstddef>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace zel {

// Each element through the pattern "#0." and decimals zeros ("#0" for none), every "," of an element made
// ".", elements joined with ","; a joined text that starts with "," loses that first character. An infinity
// is written as the largest float of its sign (to seven digits) and NaN as 0, so that every reader can load
// the list.
std::string formatDataList(std::span<const float> values, int decimals);

// One element as formatDataList writes it.
std::string formatListElement(float value, int decimals);

// Decimals of the DATA lists, fixed by the files in the field.
namespace list_decimals {
inline constexpr int Wave = 2; // RE, BLANK, BASELINE and the colour spectra
inline constexpr int Depth = 3;
inline constexpr int Rate = 2;
inline constexpr int Conductivity = 2;
inline constexpr int BlowCounts = 2;
inline constexpr int Counter = 0;
inline constexpr int O2 = 2;
inline constexpr int PresFlow = 3; // TIME, PRES_UP, PRES_DOWN, FLOW_UP
} // namespace list_decimals

// The value a list of that many decimals gives back when it is read: what the raw log keeps of value.
float listValue(float value, int decimals);
// Every value as the list keeps it. The RE and background are kept so from the moment they are taken,
// so that the points of a push and those of its log loaded later are processed against the same reference.
void keepAsListValues(std::span<float> values, int decimals);

struct ListParse {
    bool ok = true;
    std::size_t badElement = 0; // 0-based index of the first element that is not a number
    bool tooLong = false;       // more elements than the caller allows
};

// Splits at "," and converts each element with "." as the decimal separator (blanks around it ignored, an
// empty element is 0, as Basic's Val reads it). The elements must be plain numbers: a list from a damaged
// file is refused rather than read as zeros. At most maxElements are taken; the count is checked before
// anything is allocated. An empty text is an empty list.
ListParse parseDataList(std::string_view text, std::size_t maxElements, std::vector<float>& out);

} // namespace zel
