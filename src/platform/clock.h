// Time: the tick count, waits and the local calendar.
#pragma once

#include <cstdint>

namespace nelto::platform {

/// Milliseconds since some fixed moment, wrapping after 2^32.
[[nodiscard]] std::uint32_t TickMilliseconds();

void SleepMilliseconds(std::uint32_t milliseconds);

struct CalendarTime {
    std::uint32_t year   = 0;  // with century
    std::uint32_t month  = 0;  // 1 to 12
    std::uint32_t day    = 0;
    std::uint32_t hour   = 0;
    std::uint32_t minute = 0;
    std::uint32_t second = 0;
};

[[nodiscard]] CalendarTime LocalTime();

/// By how many minutes local time is ahead of universal time now.
[[nodiscard]] std::int32_t MinutesAheadOfUniversalTime();

}  // namespace nelto::platform
