#pragma once

#include <cstdint>

/// Times of listings, in seconds since 1970-01-01 00:00 UTC. Months, days and hours are not checked, as they come from
/// a server; the arithmetic wraps around.
namespace CalendarTime {

/// The start of a day in the Gregorian calendar; month 0 is January.
std::int64_t ofDay(std::int64_t year, std::int64_t month, std::int64_t day);

/// The start of a day for which the server gave no year; see ftpparser() for the guess.
std::int64_t ofDayWithoutYear(std::int64_t month, std::int64_t day);

/// The time of an hour and minute of a day, which is given by its start; relative to the time base of this system.
std::int64_t at(std::int64_t day, std::int64_t hour, std::int64_t minute);

/// A time given in seconds since 1970-01-01 00:00 UTC, relative to the time base of this system.
std::int64_t exact(std::int64_t seconds);

} // namespace CalendarTime
