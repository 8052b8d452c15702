// Local time as one number, so that seconds can be added to it.
#pragma once

#include <chrono>
#include <cstdint>

#include "platform/clock.h"

namespace nelto {

/// Seconds of the local calendar since the beginning of 1970.
using LocalSecond = std::int64_t;

[[nodiscard]] inline LocalSecond ToLocalSecond(const platform::CalendarTime& time) {
    const std::chrono::year_month_day date{std::chrono::year(static_cast<int>(time.year)),
                                           std::chrono::month(time.month), std::chrono::day(time.day)};
    const auto days = std::chrono::sys_days(date).time_since_epoch().count();
    return LocalSecond{days} * 86400 + LocalSecond{time.hour} * 3600 + LocalSecond{time.minute} * 60 + time.second;
}

/// For moments since 1970.
[[nodiscard]] inline platform::CalendarTime ToCalendarTime(LocalSecond moment) {
    const std::chrono::year_month_day date{std::chrono::sys_days(std::chrono::days(moment / 86400))};
    const auto second_of_day = static_cast<std::uint32_t>(moment % 86400);
    return {.year   = static_cast<std::uint32_t>(static_cast<int>(date.year())),
            .month  = static_cast<unsigned>(date.month()),
            .day    = static_cast<unsigned>(date.day()),
            .hour   = second_of_day / 3600,
            .minute = second_of_day / 60 % 60,
            .second = second_of_day % 60};
}

}  // namespace nelto
