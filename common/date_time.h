#pragma once
// Calendar date and time of day as the log files carry them, with the serial-day arithmetic of the
// classic date type (days since 12/30/1899, time as the fraction of a day).

#include <compare>
#include <optional>
#include <string>
#include <string_view>

namespace zel {

struct DateTime {
    int year = 1899;
    int month = 12;
    int day = 30;
    int hour = 0;
    int minute = 0;
    int second = 0;

    // Days since 12/30/1899; the fraction is the time of day (negative serials count days backwards
    // with a positive time fraction, as the classic date type does).
    double toSerial() const;
    static DateTime fromSerial(double serial);
    // Whole seconds since 12/30/1899 00:00:00 (exact, for age and difference computations).
    long long toSeconds() const;
    static DateTime fromSeconds(long long seconds);

    DateTime addSeconds(long long seconds) const { return fromSeconds(toSeconds() + seconds); }
    int secondsOfDay() const { return hour * 3600 + minute * 60 + second; }
    bool hasDatePart() const { return !(year == 1899 && month == 12 && day == 30); }
    bool valid() const;

    friend auto operator<=>(const DateTime&, const DateTime&) = default;
};

// The US general date-time text: "4/12/2016 3:45:10 PM". Exactly midnight gives the date only
// ("12/30/1900"); a zero date part gives the time only ("3:45:10 PM").
std::string generalDateText(const DateTime& value);
// "2016-04-12 15:45:10".
std::string isoDateTimeText(const DateTime& value);
// Basic-style date pattern: "yyyy", "yy", "m"/"mm" (minutes when they follow an hour or precede seconds),
// "d"/"dd", "h"/"hh", "n"/"nn", "s"/"ss", "AM/PM"; letters in any case, other characters copied.
// "YYYY-MM-DD HH:mm:ss" -> "2016-04-12 15:45:10", "YYYYMMDD_HHMMSS" -> "20160412_154510".
std::string formatDateTime(const DateTime& value, std::string_view pattern);
// Reads the general form, date only, time only (12- or 24-hour), ISO 8601 with a blank or "T" between
// date and time, and two-digit years (30..99 -> 19xx, 00..29 -> 20xx). nullopt when the text is not a date.
std::optional<DateTime> parseDateTime(std::string_view text);

} // namespace zel
