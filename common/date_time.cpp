#include "common/date_time.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstdio>
#include <vector>

namespace zel {
namespace {

// Days from 1970-01-01 of a proleptic Gregorian date (H. Hinnant's algorithm).
long long daysFromCivil(long long y, unsigned m, unsigned d) {
    y -= m <= 2;
    const long long era = (y >= 0 ? y : y - 399) / 400;
    const unsigned yoe = static_cast<unsigned>(y - era * 400);
    const unsigned doy = (153 * (m + (m > 2 ? -3 : 9)) + 2) / 5 + d - 1;
    const unsigned doe = yoe * 365 + yoe / 4 - yoe / 100 + doy;
    return era * 146097 + static_cast<long long>(doe) - 719468;
}

void civilFromDays(long long z, int& y, int& m, int& d) {
    z += 719468;
    const long long era = (z >= 0 ? z : z - 146096) / 146097;
    const unsigned doe = static_cast<unsigned>(z - era * 146097);
    const unsigned yoe = (doe - doe / 1460 + doe / 36524 - doe / 146096) / 365;
    const unsigned doy = doe - (365 * yoe + yoe / 4 - yoe / 100);
    const unsigned mp = (5 * doy + 2) / 153;
    d = static_cast<int>(doy - (153 * mp + 2) / 5 + 1);
    m = static_cast<int>(mp < 10 ? mp + 3 : mp - 9);
    y = static_cast<int>(static_cast<long long>(yoe) + era * 400 + (m <= 2));
}

const long long kEpochDays = daysFromCivil(1899, 12, 30);

int daysInMonth(int year, int month) {
    static const int days[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    if (month == 2 && ((year % 4 == 0 && year % 100 != 0) || year % 400 == 0)) return 29;
    return days[month - 1];
}

long long floorDiv(long long a, long long b) {
    return a / b - ((a % b != 0) && ((a < 0) != (b < 0)));
}

// A small cursor over the text being parsed.
struct Cursor {
    std::string_view s;
    size_t i = 0;
    void skipBlanks() {
        while (i < s.size() && (s[i] == ' ' || s[i] == '\t'))
            ++i;
    }
    bool atEnd() const { return i >= s.size(); }
    bool eat(char c) {
        if (i < s.size() && s[i] == c) {
            ++i;
            return true;
        }
        return false;
    }
    // Reads 1..maxDigits digits; returns -1 when there is none.
    int number(int maxDigits, int* digitsRead = nullptr) {
        int v = 0, n = 0;
        while (i < s.size() && n < maxDigits && std::isdigit(static_cast<unsigned char>(s[i]))) {
            v = v * 10 + (s[i] - '0');
            ++i;
            ++n;
        }
        if (digitsRead) *digitsRead = n;
        return n ? v : -1;
    }
};

int expandYear(int year, int digits) {
    if (digits > 2) return year;
    return year < 30 ? 2000 + year : 1900 + year;
}

// "h:mm[:ss] [AM|PM]" at the cursor. Returns false when the text is not a time.
bool parseTime(Cursor& c, int& h, int& mi, int& se) {
    h = c.number(2);
    if (h < 0 || !c.eat(':')) return false;
    mi = c.number(2);
    if (mi < 0) return false;
    se = 0;
    if (c.eat(':')) {
        se = c.number(2);
        if (se < 0) return false;
        if (c.eat('.')) // fractional seconds of ISO texts are dropped
            while (!c.atEnd() && std::isdigit(static_cast<unsigned char>(c.s[c.i])))
                ++c.i;
    }
    c.skipBlanks();
    if (c.i + 1 < c.s.size() + 0 && c.i + 2 <= c.s.size()) {
        char a = static_cast<char>(std::toupper(static_cast<unsigned char>(c.s[c.i])));
        char b = static_cast<char>(std::toupper(static_cast<unsigned char>(c.s[c.i + 1])));
        if ((a == 'A' || a == 'P') && b == 'M') {
            if (h < 1 || h > 12) return false;
            if (a == 'A' && h == 12) h = 0;
            if (a == 'P' && h != 12) h += 12;
            c.i += 2;
        }
    }
    c.eat('Z');
    return h <= 23 && mi <= 59 && se <= 59;
}

} // namespace

bool DateTime::valid() const {
    return month >= 1 && month <= 12 && day >= 1 && day <= daysInMonth(year, month) && hour >= 0 &&
           hour <= 23 && minute >= 0 && minute <= 59 && second >= 0 && second <= 59;
}

long long DateTime::toSeconds() const {
    return (daysFromCivil(year, static_cast<unsigned>(month), static_cast<unsigned>(day)) - kEpochDays) *
               86400LL +
           secondsOfDay();
}

DateTime DateTime::fromSeconds(long long seconds) {
    DateTime r;
    const long long days = floorDiv(seconds, 86400);
    long long rest = seconds - days * 86400;
    civilFromDays(days + kEpochDays, r.year, r.month, r.day);
    r.hour = static_cast<int>(rest / 3600);
    r.minute = static_cast<int>(rest / 60 % 60);
    r.second = static_cast<int>(rest % 60);
    return r;
}

double DateTime::toSerial() const {
    const long long days =
        daysFromCivil(year, static_cast<unsigned>(month), static_cast<unsigned>(day)) - kEpochDays;
    const double frac = secondsOfDay() / 86400.0;
    // Before the epoch the whole part counts back and the time fraction still counts forward.
    return days >= 0 ? static_cast<double>(days) + frac : static_cast<double>(days) - frac;
}

DateTime DateTime::fromSerial(double serial) {
    if (!std::isfinite(serial)) return DateTime{};
    const double whole = std::trunc(serial);
    const double frac = std::fabs(serial - whole);
    long long secs = std::llround(frac * 86400.0);
    long long days = static_cast<long long>(whole);
    if (secs >= 86400) { // a fraction that rounds up to the next day
        secs -= 86400;
        days += serial >= 0 ? 1 : -1;
    }
    return fromSeconds(days * 86400 + secs);
}

std::string generalDateText(const DateTime& v) {
    char date[32] = "", time[32] = "";
    std::snprintf(date, sizeof date, "%d/%d/%d", v.month, v.day, v.year);
    const int h12 = v.hour % 12 == 0 ? 12 : v.hour % 12;
    std::snprintf(time, sizeof time, "%d:%02d:%02d %s", h12, v.minute, v.second, v.hour < 12 ? "AM" : "PM");
    const bool midnight = v.secondsOfDay() == 0;
    if (!v.hasDatePart()) return time; // includes the zero date-time: "12:00:00 AM"
    if (midnight) return date;
    return std::string(date) + " " + time;
}

std::string isoDateTimeText(const DateTime& v) {
    char buf[40];
    std::snprintf(buf, sizeof buf, "%04d-%02d-%02d %02d:%02d:%02d", v.year, v.month, v.day, v.hour, v.minute,
                  v.second);
    return buf;
}

std::string formatDateTime(const DateTime& v, std::string_view pattern) {
    auto lower = [](char c) { return static_cast<char>(std::tolower(static_cast<unsigned char>(c))); };
    struct Token {
        char letter; // y m d h n s, or 0 for a literal
        size_t count;
        std::string_view text;
    };
    std::vector<Token> tokens;
    for (size_t i = 0; i < pattern.size();) {
        if (pattern.substr(i, 5) == "AM/PM" || pattern.substr(i, 5) == "am/pm") {
            tokens.push_back({'a', 5, pattern.substr(i, 5)});
            i += 5;
            continue;
        }
        const char c = lower(pattern[i]);
        size_t j = i;
        while (j < pattern.size() && lower(pattern[j]) == c)
            ++j;
        const bool field = c == 'y' || c == 'm' || c == 'd' || c == 'h' || c == 'n' || c == 's';
        tokens.push_back({field ? c : '\0', j - i, pattern.substr(i, j - i)});
        i = j;
    }
    const bool twelveHour =
        std::any_of(tokens.begin(), tokens.end(), [](const Token& t) { return t.letter == 'a'; });
    std::string out;
    char prevField = 0;
    for (size_t k = 0; k < tokens.size(); ++k) {
        const Token& t = tokens[k];
        char letter = t.letter;
        if (letter == 'm') { // minutes after an hour or before seconds, month otherwise
            char nextField = 0;
            for (size_t q = k + 1; q < tokens.size() && !nextField; ++q)
                nextField = tokens[q].letter;
            if (prevField == 'h' || nextField == 's') letter = 'n';
        }
        auto num = [&](int value, size_t width) {
            char buf[16];
            std::snprintf(buf, sizeof buf, width >= 2 ? "%02d" : "%d", value);
            out += buf;
        };
        switch (letter) {
        case 'y':
            if (t.count >= 3)
                num(v.year, 4);
            else
                num(v.year % 100, 2);
            break;
        case 'm': num(v.month, t.count); break;
        case 'd': num(v.day, t.count); break;
        case 'h': num(twelveHour ? (v.hour % 12 == 0 ? 12 : v.hour % 12) : v.hour, t.count); break;
        case 'n': num(v.minute, t.count); break;
        case 's': num(v.second, t.count); break;
        case 'a':
            out += v.hour < 12 ? (t.text[0] == 'a' ? "am" : "AM") : (t.text[0] == 'a' ? "pm" : "PM");
            break;
        default: out += t.text; break;
        }
        if (t.letter) prevField = letter;
    }
    return out;
}

std::optional<DateTime> parseDateTime(std::string_view text) {
    Cursor c{text};
    c.skipBlanks();
    while (!text.empty() &&
           (text.back() == ' ' || text.back() == '\t' || text.back() == '\r' || text.back() == '\n'))
        text.remove_suffix(1);
    c.s = text;
    if (c.atEnd()) return std::nullopt;

    DateTime r;
    const size_t start = c.i;
    int digits = 0;
    const int first = c.number(4, &digits);
    if (first < 0) return std::nullopt;

    bool haveDate = false;
    if (digits == 4 && c.eat('-')) { // ISO 8601: yyyy-mm-dd[( |T)hh:mm[:ss]]
        r.year = first;
        r.month = c.number(2);
        if (r.month < 0 || !c.eat('-')) return std::nullopt;
        r.day = c.number(2);
        if (r.day < 0) return std::nullopt;
        haveDate = true;
        if (!c.eat('T')) c.skipBlanks();
    } else if (c.eat('/')) { // M/d/yyyy
        r.month = first;
        r.day = c.number(2);
        if (r.day < 0 || !c.eat('/')) return std::nullopt;
        int yd = 0;
        const int y = c.number(4, &yd);
        if (y < 0 || yd == 3) return std::nullopt;
        r.year = expandYear(y, yd);
        haveDate = true;
        c.skipBlanks();
    } else {
        c.i = start; // time only
    }
    if (haveDate && !r.valid()) return std::nullopt;
    if (!c.atEnd()) {
        int h = 0, mi = 0, se = 0;
        if (!parseTime(c, h, mi, se)) return std::nullopt;
        c.skipBlanks();
        if (!c.atEnd()) return std::nullopt;
        r.hour = h;
        r.minute = mi;
        r.second = se;
    } else if (!haveDate) {
        return std::nullopt;
    }
    return r;
}

} // namespace zel
