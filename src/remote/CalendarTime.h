#pragma once

#include <cstdint>

/// Times of listings, in seconds since 1970-01-01 00:00 UTC. Any number may stand for a month, a day or an hour: the
/// sums wrap around, as a server may send what it likes.
namespace CalendarTime {

/// The start of a day in the Gregorian calendar; month 0 is January.
std::int64_t ofDay(std::int64_t year, std::int64_t month, std::int64_t day);

/// The start of a day of which the server did not tell the year.
std::int64_t ofDayWithoutYear(std::int64_t month, std::int64_t day);

/// A time of day added to its start, on the clock of this system.
std::int64_t at(std::int64_t day, std::int64_t hour, std::int64_t minute);

/// seconds since 1970-01-01 00:00 UTC, on the clock of this system.
std::int64_t exact(std::int64_t seconds);

} // namespace CalendarTime
