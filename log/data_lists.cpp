#include "log/data_lists.h"

#include "common/number_text.h"

#include <algorithm>
#include <charconv>

namespace zel {
namespace {

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

// Strict form of what Val accepts from a list element: [sign] digits [. digits] [E|D [sign] digits].
bool parseElement(std::string_view e, float& out) {
    while (!e.empty() && (e.front() == ' ' || e.front() == '\t'))
        e.remove_prefix(1);
    while (!e.empty() && (e.back() == ' ' || e.back() == '\t'))
        e.remove_suffix(1);
    if (e.empty()) {
        out = 0.0f;
        return true;
    }
    char buf[64];
    std::size_t n = 0, i = 0;
    if (e.size() >= sizeof buf) return false;
    if (e[i] == '+' || e[i] == '-') {
        if (e[i] == '-') buf[n++] = '-';
        ++i;
    }
    bool digits = false;
    while (i < e.size() && isDigit(e[i])) {
        buf[n++] = e[i++];
        digits = true;
    }
    if (i < e.size() && e[i] == '.') {
        buf[n++] = e[i++];
        while (i < e.size() && isDigit(e[i])) {
            buf[n++] = e[i++];
            digits = true;
        }
    }
    if (!digits) return false;
    if (i < e.size() && (e[i] == 'E' || e[i] == 'e' || e[i] == 'D' || e[i] == 'd')) {
        buf[n++] = 'e';
        ++i;
        if (i < e.size() && (e[i] == '+' || e[i] == '-')) buf[n++] = e[i++];
        if (i == e.size() || !isDigit(e[i])) return false;
        while (i < e.size() && isDigit(e[i]))
            buf[n++] = e[i++];
    }
    if (i != e.size()) return false;
    double d = 0.0;
    const auto r = std::from_chars(buf, buf + n, d);
    if (r.ec == std::errc::result_out_of_range) {
        // Val overflows to an error and the list is unusable; underflow is just 0.
        return false;
    }
    if (r.ec != std::errc() || r.ptr != buf + n) return false;
    // Val gives a double and the array holds 4-byte floats; a value beyond the float range is no sample.
    if (d > 3.4028234663852886e38 || d < -3.4028234663852886e38) return false;
    out = static_cast<float>(d);
    return true;
}

} // namespace

std::string formatDataList(std::span<const float> values, int decimals) {
    std::string pattern = "#0";
    if (decimals > 0) pattern += "." + std::string(static_cast<std::size_t>(decimals), '0');
    std::string out;
    out.reserve(values.size() * static_cast<std::size_t>(8 + decimals));
    for (std::size_t i = 0; i < values.size(); ++i) {
        if (i) out += ',';
        std::string e = formatNumber(values[i], pattern);
        std::replace(e.begin(), e.end(), ',', '.');
        out += e;
    }
    if (!out.empty() && out.front() == ',') out.erase(0, 1);
    return out;
}

ListParse parseDataList(std::string_view text, std::size_t maxElements, std::vector<float>& out) {
    ListParse r;
    out.clear();
    if (text.empty()) return r;
    const std::size_t count = static_cast<std::size_t>(std::count(text.begin(), text.end(), ',')) + 1;
    if (count > maxElements) {
        r.ok = false;
        r.tooLong = true;
        return r;
    }
    out.resize(count);
    std::size_t pos = 0;
    for (std::size_t k = 0; k < count; ++k) {
        std::size_t end = text.find(',', pos);
        if (end == std::string_view::npos) end = text.size();
        if (!parseElement(text.substr(pos, end - pos), out[k])) {
            r.ok = false;
            r.badElement = k;
            out.clear();
            return r;
        }
        pos = end + 1;
    }
    return r;
}

} // namespace zel
