#include "CalendarTime.h"

#include <ctime>

namespace {

constexpr std::int64_t SECONDS_PER_DAY = 86400;
constexpr std::int64_t SECONDS_PER_HOUR = 3600;
constexpr std::int64_t SECONDS_PER_MINUTE = 60;
constexpr std::int64_t RECENT_SECONDS = 350 * SECONDS_PER_DAY;
constexpr std::int64_t DAYS_TO_MARCH_2000 = 11017;
constexpr std::int64_t DAYS_IN_4_YEARS = 1461;
constexpr std::int64_t DAYS_IN_100_YEARS = 36524;
constexpr std::int64_t DAYS_IN_400_YEARS = 146097;
constexpr int YEARS_TO_TRY = 100;

/// Sums, products and differences wrap around instead of overflowing.
std::int64_t sum(std::int64_t a, std::int64_t b)
{
    return static_cast<std::int64_t>(static_cast<std::uint64_t>(a) + static_cast<std::uint64_t>(b));
}

std::int64_t product(std::int64_t a, std::int64_t b)
{
    return static_cast<std::int64_t>(static_cast<std::uint64_t>(a) * static_cast<std::uint64_t>(b));
}

std::int64_t difference(std::int64_t a, std::int64_t b)
{
    return static_cast<std::int64_t>(static_cast<std::uint64_t>(a) - static_cast<std::uint64_t>(b));
}

/// gmtime() without its static buffer, which any other call in the process overwrites.
std::tm utc(std::time_t time)
{
    std::tm parts {};
#ifdef _WIN32
    gmtime_s(&parts, &time);
#else
    gmtime_r(&time, &parts);
#endif
    return parts;
}

/// The system's time at 1970-01-01 00:00 UTC; 0 on every system that counts from there.
std::int64_t base()
{
    static const std::int64_t sBase = [] {
        const std::tm parts = utc(0);
        const std::int64_t day = CalendarTime::ofDay(parts.tm_year + 1900, parts.tm_mon, parts.tm_mday);
        return -(day + parts.tm_hour * SECONDS_PER_HOUR + parts.tm_min * SECONDS_PER_MINUTE + parts.tm_sec);
    }();
    return sBase;
}

std::int64_t now()
{
    return difference(std::time(nullptr), base());
}

/// The year of a time. The computation counts years from March up to its last step.
std::int64_t yearOf(std::int64_t seconds)
{
    std::int64_t day = seconds / SECONDS_PER_DAY - (seconds % SECONDS_PER_DAY < 0 ? 1 : 0) - DAYS_TO_MARCH_2000;
    std::int64_t year = 5 + day / DAYS_IN_400_YEARS;
    day %= DAYS_IN_400_YEARS;
    if (day < 0) {
        day += DAYS_IN_400_YEARS;
        --year;
    }
    year *= 4;
    if (day == DAYS_IN_400_YEARS - 1) {
        year += 3;
        day = DAYS_IN_100_YEARS;
    } else {
        year += day / DAYS_IN_100_YEARS;
        day %= DAYS_IN_100_YEARS;
    }
    year = 25 * year + day / DAYS_IN_4_YEARS;
    day %= DAYS_IN_4_YEARS;
    year *= 4;
    if (day == DAYS_IN_4_YEARS - 1) {
        year += 3;
        day = 365;
    } else {
        year += day / 365;
        day %= 365;
    }
    const bool isAfterNewYear = day * 10 >= 3055;
    return isAfterNewYear ? year + 1 : year;
}

std::int64_t currentYear()
{
    // Deliberate: computed once per process, so that a listing that runs across New Year uses one year.
    static const std::int64_t sYear = yearOf(now());
    return sYear;
}

} // namespace

std::int64_t CalendarTime::ofDay(std::int64_t year, std::int64_t month, std::int64_t day)
{
    if (month >= 2) {
        month = difference(month, 2);
    } else {
        month = sum(month, 10);
        year = difference(year, 1);
    }
    std::int64_t result = sum(sum(product(difference(day, 1), 10), 5), product(306, month)) / 10;
    if (result == 365) {
        year = difference(year, 3);
        result = DAYS_IN_4_YEARS - 1;
    } else {
        result = sum(result, 365 * (year % 4));
    }
    year /= 4;
    result = sum(result, DAYS_IN_4_YEARS * (year % 25));
    year /= 25;
    if (result == DAYS_IN_100_YEARS) {
        year = difference(year, 3);
        result = DAYS_IN_400_YEARS - 1;
    } else {
        result = sum(result, DAYS_IN_100_YEARS * (year % 4));
    }
    year /= 4;
    result = sum(result, sum(product(DAYS_IN_400_YEARS, difference(year, 5)), DAYS_TO_MARCH_2000));
    return product(result, SECONDS_PER_DAY);
}

std::int64_t CalendarTime::ofDayWithoutYear(std::int64_t month, std::int64_t day)
{
    const std::int64_t today = now();
    const std::int64_t first = currentYear() - 1;
    for (std::int64_t year = first; year <= first + YEARS_TO_TRY; ++year) {
        const std::int64_t time = ofDay(year, month, day);
        if (difference(today, time) < RECENT_SECONDS) {
            return time;
        }
    }
    return 0;
}

std::int64_t CalendarTime::at(std::int64_t day, std::int64_t hour, std::int64_t minute)
{
    return exact(sum(day, sum(product(hour, SECONDS_PER_HOUR), product(minute, SECONDS_PER_MINUTE))));
}

std::int64_t CalendarTime::exact(std::int64_t seconds)
{
    return sum(base(), seconds);
}
